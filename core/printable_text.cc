#include "core/printable_text.h"

#include <algorithm>
#include <cstdio>
#include <vector>

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
  // What is shown is at least as long as the text it shows, so the window
  // comes from at most maxBytes of text on either side of the byte.
  size_t from = at > maxBytes ? at - maxBytes : 0;
  for (int i = 0; i < 3 && from > 0 && from < at && IsContinuation(text[from]); ++i) ++from;
  const size_t to = std::min(text.size(), at + maxBytes);
  // The text as shown, a character (or an escaped byte) at a time.
  struct TPiece {
    std::string shown;
    std::string padding;  // what stands under it
  };
  std::vector<TPiece> pieces;
  size_t atPiece = 0;  // the first piece at or after `at`
  size_t i = from;
  while (i < to) {
    if (i < at) atPiece = pieces.size() + 1;
    const unsigned char c = static_cast<unsigned char>(text[i]);
    size_t length = Utf8SequenceLength(text.substr(i, 4));
    TPiece piece;
    if (c == '\t') {
      piece.shown = piece.padding = "\t";
    } else if (length == 0 || c < 0x20 || c == 0x7F) {
      piece.padding.assign(AppendEscaped(&piece.shown, c), ' ');
      length = 1;
    } else {
      piece.shown.assign(text.substr(i, length));
      piece.padding = " ";
    }
    pieces.push_back(std::move(piece));
    i += length;
  }
  // Two thirds of the window before the byte, the rest after it; what one
  // side does not use goes to the other. The window is measured as shown,
  // so escapes do not stretch it.
  size_t begin = atPiece, end = atPiece, used = 0;
  auto fits = [&](size_t piece, size_t limit) { return used + pieces[piece].shown.size() <= limit; };
  while (begin > 0 && fits(begin - 1, maxBytes * 2 / 3)) used += pieces[--begin].shown.size();
  while (end < pieces.size() && fits(end, maxBytes)) used += pieces[end++].shown.size();
  while (begin > 0 && fits(begin - 1, maxBytes)) used += pieces[--begin].shown.size();
  TExcerpt excerpt;
  if (begin > 0 || from > 0) {
    excerpt.text = kCut;
    excerpt.padding.assign(sizeof kCut - 1, ' ');
  }
  for (size_t piece = begin; piece < end; ++piece) {
    excerpt.text += pieces[piece].shown;
    if (piece < atPiece) excerpt.padding += pieces[piece].padding;
  }
  if (end < pieces.size() || i < text.size()) excerpt.text += kCut;
  return excerpt;
}

std::string Printable(std::string_view text, size_t maxBytes) {
  // Most text is short plain ASCII, shown as it is.
  if (text.size() <= maxBytes &&
      std::all_of(text.begin(), text.end(), [](char c) { return (c >= 0x20 && c < 0x7F) || c == '\t'; })) {
    return std::string(text);
  }
  return ExcerptAround(text, 0, maxBytes).text;
}
