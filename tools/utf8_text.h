// Text from outside the tool (what a machine reports, strings a repository
// was given by other hosts) made valid UTF-8 before it is shown or written
// as JSON: every byte that is not part of a valid UTF-8 sequence becomes the
// replacement character U+FFFD; everything else is kept as it is.

#ifndef INMEM_TOOLS_UTF8_TEXT_H_
#define INMEM_TOOLS_UTF8_TEXT_H_

#include <string>
#include <string_view>

// U+FFFD REPLACEMENT CHARACTER in UTF-8.
constexpr char kReplacementCharacter[] = "\xEF\xBF\xBD";

std::string WithValidUtf8(std::string_view text);

#endif  // INMEM_TOOLS_UTF8_TEXT_H_
