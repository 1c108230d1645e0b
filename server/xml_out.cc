// TXmlOut: element bookkeeping and escaping.

#include "server/xml_out.h"

#include "core/utf8.h"

namespace {

const char kReplacement[] = "\xEF\xBF\xBD";  // U+FFFD

// Whether a byte stands for itself in text and in attribute values alike:
// printable ASCII other than the markup characters.
constexpr bool IsPlain(unsigned char c) { return c >= 0x20 && c < 0x80 && c != '&' && c != '<' && c != '>' && c != '"'; }

}  // namespace

void TXmlOut::Open(const char* name) {
  EndStartTag();
  out_ += '<';
  out_ += name;
  open_.push_back(name);
  startTagOpen_ = true;
}

void TXmlOut::Attr(const char* name, std::string_view value) {
  out_ += ' ';
  out_ += name;
  out_ += "=\"";
  Escape(value, true);
  out_ += '"';
}

void TXmlOut::Text(std::string_view text) {
  EndStartTag();
  Escape(text, false);
}

void TXmlOut::Close() {
  const char* name = open_.back();
  open_.pop_back();
  EndStartTag();
  out_ += "</";
  out_ += name;
  out_ += '>';
}

void TXmlOut::TextElement(const char* name, std::string_view text) {
  Open(name);
  Text(text);
  Close();
}

void TXmlOut::Raw(std::string_view text) {
  EndStartTag();
  out_.append(text.data(), text.size());
}

void TXmlOut::Rewind(const TMark& mark) {
  out_.resize(mark.size);
  open_.resize(mark.depth);
  startTagOpen_ = mark.startTagOpen;
}

std::string TXmlOut::Take() {
  std::string taken;
  taken.swap(out_);
  return taken;
}

void TXmlOut::TakeInto(std::string* out) {
  if (out->empty()) {
    out->swap(out_);
  } else {
    out->append(out_);
  }
  out_.clear();
}

void TXmlOut::EndStartTag() {
  if (!startTagOpen_) return;
  out_ += '>';
  startTagOpen_ = false;
}

void TXmlOut::Escape(std::string_view text, bool inAttribute) {
  size_t i = 0;
  while (i < text.size()) {
    // Most of any text is plain: it goes in runs, not byte by byte.
    size_t plain = i;
    while (plain < text.size() && IsPlain(static_cast<unsigned char>(text[plain]))) ++plain;
    out_.append(text.data() + i, plain - i);
    i = plain;
    if (i == text.size()) break;
    const unsigned char c = static_cast<unsigned char>(text[i]);
    if (c >= 0x80) {
      const size_t length = Utf8SequenceLength(text.substr(i));
      // U+FFFE and U+FFFF are valid UTF-8 but not XML 1.0 characters.
      const bool nonCharacter = length == 3 && c == 0xEF && text[i + 1] == '\xBF' &&
                                (text[i + 2] == '\xBE' || text[i + 2] == '\xBF');
      if (length == 0 || nonCharacter) {
        out_ += kReplacement;
        i += length == 0 ? 1 : length;
      } else {
        out_.append(text.data() + i, length);
        i += length;
      }
      continue;
    }
    switch (c) {
      case '&': out_ += "&amp;"; break;
      case '<': out_ += "&lt;"; break;
      case '>': out_ += "&gt;"; break;
      case '"': out_ += inAttribute ? "&quot;" : "\""; break;
      case '\r': out_ += "&#13;"; break;
      case '\n': out_ += inAttribute ? "&#10;" : "\n"; break;
      case '\t': out_ += inAttribute ? "&#9;" : "\t"; break;
      default:
        if (c < 0x20) {
          out_ += kReplacement;  // no way to write it in XML 1.0
        } else {
          out_ += static_cast<char>(c);
        }
    }
    ++i;
  }
}
