// Text from outside (MOF source, object paths, what a machine reports) shown
// inside a message or a one-line report.
//
// Such text may be huge, hold control bytes or NUL, or not be UTF-8 at all.
// What these functions return is always one line of valid UTF-8 of bounded
// length: a tab stays a tab, every other control byte (below 0x20, and 0x7F)
// and every byte that is not part of a valid UTF-8 sequence is written as
// \xHH, and a text longer than the limit is cut to a window marked with
// "..." on the side (or sides) where something was left out. The limit is
// on the text as shown, escapes included, so that a window of control bytes
// is no longer than any other.

#ifndef INMEM_CORE_PRINTABLE_TEXT_H_
#define INMEM_CORE_PRINTABLE_TEXT_H_

#include <cstddef>
#include <string>
#include <string_view>

#include "core/utf8.h"

// How many bytes of outside text a message shows by default.
constexpr size_t kPrintableLimit = 240;

struct TExcerpt {
  // The window of the text, escaped.
  std::string text;
  // What to print under `text` before a caret so that the caret stands
  // under the byte the excerpt was made around: blanks, and tabs where the
  // text has tabs.
  std::string padding;
};

// A window of `text` around byte `at` (clamped to the text), escaped as
// above, of at most `maxBytes` bytes as shown (besides the "..." marks).
TExcerpt ExcerptAround(std::string_view text, size_t at, size_t maxBytes = kPrintableLimit);

// The start of `text`, escaped and cut to `maxBytes` bytes as shown.
std::string Printable(std::string_view text, size_t maxBytes = kPrintableLimit);

#endif  // INMEM_CORE_PRINTABLE_TEXT_H_
