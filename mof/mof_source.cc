#include "mof/mof_source.h"

TMofSource::TMofSource(std::string sourcePath, std::string sourceText)
    : path(std::move(sourcePath)), text(std::move(sourceText)) {
  lineStarts.push_back(0);
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\n') lineStarts.push_back(i + 1);
  }
}

std::string TMofSource::Line(int line) const {
  if (line < 1 || static_cast<size_t>(line) > lineStarts.size()) return std::string();
  size_t start = lineStarts[static_cast<size_t>(line) - 1];
  size_t end = text.find('\n', start);
  if (end == std::string::npos) end = text.size();
  if (end > start && text[end - 1] == '\r') --end;
  return text.substr(start, end - start);
}
