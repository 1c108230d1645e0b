#include "core/printable_text.h"

#include <algorithm>
#include <cstdio>

namespace {

const char kCut[] = "...";

bool IsContinuation(unsigned char c) { return (c & 0xC0) == 0x80; }

// Appends the escape of one byte; returns the columns it takes.
size_t AppendEscaped(std::string* out, unsigned char c) {
  char buffer[8];
  std::snprintf(buffer, sizeof buffer, "\\x%02X", c);
  *out += buffer;
  return 4;
}

}  // namespace

TExcerpt ExcerptAround(std::string_view text, size_t at, size_t maxBytes) {
  at = std::min(at, text.size());
  size_t start = 0;
  size_t end = text.size();
  if (end > maxBytes) {
    // Two thirds of the window before the byte, the rest after it.
    start = at > maxBytes * 2 / 3 ? at - maxBytes * 2 / 3 : 0;
    end = std::min(text.size(), start + maxBytes);
    start = end - std::min(end, maxBytes);
    // Cut between characters, not inside one.
    for (int i = 0; i < 3 && start < at && IsContinuation(text[start]); ++i) ++start;
    for (int i = 0; i < 3 && end > at && end < text.size() && IsContinuation(text[end]); ++i) --end;
  }
  TExcerpt excerpt;
  if (start > 0) {
    excerpt.text = kCut;
    excerpt.padding.assign(sizeof kCut - 1, ' ');
  }
  for (size_t i = start; i < end;) {
    const unsigned char c = static_cast<unsigned char>(text[i]);
    size_t length = Utf8SequenceLength(text.substr(i, end - i));
    std::string shown;
    size_t columns = 1;
    if (c == '\t') {
      shown = "\t";
    } else if (length == 0 || c < 0x20 || c == 0x7F) {
      columns = AppendEscaped(&shown, c);
      length = 1;
    } else {
      shown.assign(text.substr(i, length));
    }
    excerpt.text += shown;
    if (i < at) excerpt.padding += c == '\t' ? std::string("\t") : std::string(columns, ' ');
    i += length;
  }
  if (end < text.size()) excerpt.text += kCut;
  return excerpt;
}

std::string Printable(std::string_view text, size_t maxBytes) {
  return ExcerptAround(text, 0, maxBytes).text;
}
