#include "mof/mof_source.h"

TMofSource::TMofSource(std::string sourcePath, std::string sourceText)
    : path(std::move(sourcePath)), text(std::move(sourceText)) {
  lineStarts.push_back(0);
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\n') lineStarts.push_back(i + 1);
  }
}

std::string_view TMofSource::Line(int line) const {
  if (line < 1 || static_cast<size_t>(line) > lineStarts.size()) return std::string_view();
  size_t start = lineStarts[static_cast<size_t>(line) - 1];
  // Up to the next line's start, without searching: the line may be long.
  size_t end = static_cast<size_t>(line) < lineStarts.size()
                   ? lineStarts[static_cast<size_t>(line)] - 1
                   : text.size();
  if (end > start && text[end - 1] == '\r') --end;
  return std::string_view(text).substr(start, end - start);
}
