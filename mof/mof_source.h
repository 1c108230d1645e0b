// Where a piece of MOF text comes from, and the error raised where the text
// cannot be read.

#ifndef INMEM_MOF_MOF_SOURCE_H_
#define INMEM_MOF_MOF_SOURCE_H_

#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

// The text of one MOF file, split into lines for error messages.
struct TMofSource {
  std::string path;
  std::string text;
  std::vector<size_t> lineStarts;  // offset of each line's first character

  TMofSource(std::string path, std::string text);
  // The text of line `line` (1-based), without its end of line: a view of
  // `text`, since a line may be megabytes long and shown for every error on
  // it.
  std::string_view Line(int line) const;
};

struct TMofLocation {
  std::shared_ptr<const TMofSource> source;
  int line = 0;    // 1-based
  int column = 0;  // 1-based, in bytes
};

// An error in MOF text: where, and what is wrong or was expected.
class TMofError : public std::runtime_error {
 public:
  TMofError(const TMofLocation& where, const std::string& message)
      : std::runtime_error(message), location(where) {}
  TMofLocation location;
};

#endif  // INMEM_MOF_MOF_SOURCE_H_
