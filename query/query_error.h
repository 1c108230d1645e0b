// TQueryError: why a query was refused, and where.
//
// Every refusal of the engine is one of these, thrown by parsing or binding:
//   kUnknownLanguage  the language name is none the engine reads (a server
//                     answers CIM_ERR_QUERY_LANGUAGE_NOT_SUPPORTED);
//   kSyntax           the text does not read as the language;
//   kLimit            the text is past one of the bounds of query_limits.h;
//   kSchema           the text reads, but does not fit the namespace: a class
//                     or property that is not there, a literal of the wrong
//                     type for its property, an operator the type has not.
// The last three are CIM_ERR_INVALID_QUERY to a client. what() is the whole
// message, "at position 23: expected a property name, found ')'", ready to be
// the error's description; Position() is the 1-based byte offset into the
// query text it is about (0 when it is about no place in the text), and
// Detail() the message without the position. An error is an immutable value.

#ifndef INMEM_QUERY_QUERY_ERROR_H_
#define INMEM_QUERY_QUERY_ERROR_H_

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

enum class EQueryErrorKind { kUnknownLanguage, kSyntax, kLimit, kSchema };

class TQueryError : public std::runtime_error {
 public:
  TQueryError(EQueryErrorKind kind, size_t position, const std::string& detail);

  EQueryErrorKind Kind() const { return kind_; }
  size_t Position() const { return position_; }
  const std::string& Detail() const { return detail_; }

 private:
  EQueryErrorKind kind_;
  size_t position_;
  std::string detail_;
};

// How a piece of query text is named in a message: quoted, escaped and cut
// (`'WHERE'`, `')'`; a short string literal as written, with its own
// quotes); "the end of the query" for an empty piece at the end.
std::string QuotedForMessage(std::string_view text);

#endif  // INMEM_QUERY_QUERY_ERROR_H_
