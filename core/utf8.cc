#include "core/utf8.h"

namespace {

bool IsContinuation(unsigned char c) { return (c & 0xC0) == 0x80; }

// Decodes the sequence at the start of `text` without judging its value:
// its length (0 when the bytes do not form a sequence) and its code point.
size_t Decode(std::string_view text, unsigned* code) {
  if (text.empty()) return 0;
  const unsigned char c = static_cast<unsigned char>(text[0]);
  size_t length;
  if (c < 0x80) {
    *code = c;
    return 1;
  } else if ((c & 0xE0) == 0xC0) {
    length = 2;
    *code = c & 0x1F;
  } else if ((c & 0xF0) == 0xE0) {
    length = 3;
    *code = c & 0x0F;
  } else if ((c & 0xF8) == 0xF0) {
    length = 4;
    *code = c & 0x07;
  } else {
    return 0;
  }
  if (text.size() < length) return 0;
  for (size_t i = 1; i < length; ++i) {
    const unsigned char d = static_cast<unsigned char>(text[i]);
    if (!IsContinuation(d)) return 0;
    *code = (*code << 6) | (d & 0x3F);
  }
  static const unsigned kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
  if (*code < kSmallest[length]) return 0;  // overlong
  return length;
}

bool IsSurrogate(unsigned code) { return code >= 0xD800 && code <= 0xDFFF; }

}  // namespace

size_t Utf8SequenceLength(std::string_view text) {
  unsigned code = 0;
  size_t length = Decode(text, &code);
  if (length == 0 || code > 0x10FFFF || IsSurrogate(code)) return 0;
  return length;
}

bool IsValidUtf8(std::string_view text, size_t* badByte) {
  for (size_t i = 0; i < text.size();) {
    const size_t length = Utf8SequenceLength(text.substr(i));
    if (length == 0) {
      if (badByte != nullptr) *badByte = i;
      return false;
    }
    i += length;
  }
  return true;
}

std::string WithValidUtf8(std::string_view text) {
  if (IsValidUtf8(text)) return std::string(text);
  std::string out;
  out.reserve(text.size() + 8);
  for (size_t i = 0; i < text.size();) {
    const size_t length = Utf8SequenceLength(text.substr(i));
    if (length == 0) {
      out += "\xEF\xBF\xBD";  // U+FFFD
      ++i;
    } else {
      out.append(text, i, length);
      i += length;
    }
  }
  return out;
}

void AppendChar16(std::string* out, char16_t unit) {
  if (unit < 0x80) {
    *out += static_cast<char>(unit);
  } else if (unit < 0x800) {
    *out += static_cast<char>(0xC0 | (unit >> 6));
    *out += static_cast<char>(0x80 | (unit & 0x3F));
  } else {
    *out += static_cast<char>(0xE0 | (unit >> 12));
    *out += static_cast<char>(0x80 | ((unit >> 6) & 0x3F));
    *out += static_cast<char>(0x80 | (unit & 0x3F));
  }
}

size_t Char16SequenceLength(std::string_view text) {
  unsigned code = 0;
  size_t length = Decode(text, &code);
  return length <= 3 ? length : 0;
}

bool DecodeChar16(std::string_view text, char16_t* unit) {
  unsigned code = 0;
  size_t length = Decode(text, &code);
  if (length == 0 || length > 3 || length != text.size()) return false;
  *unit = static_cast<char16_t>(code);
  return true;
}
