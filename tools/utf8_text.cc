#include "tools/utf8_text.h"

#include "core/printable_text.h"

std::string WithValidUtf8(std::string_view text) {
  if (IsValidUtf8(text)) return std::string(text);
  std::string out;
  out.reserve(text.size() + 8);
  for (size_t i = 0; i < text.size();) {
    const size_t length = Utf8SequenceLength(text.substr(i));
    if (length == 0) {
      out += kReplacementCharacter;
      ++i;
    } else {
      out.append(text, i, length);
      i += length;
    }
  }
  return out;
}
