// The characters of HTTP/1.1's grammar (RFC 9110 section 5.6, RFC 9112),
// for the parts of a request the server reads itself.

#ifndef INMEM_SERVER_HTTP_SYNTAX_H_
#define INMEM_SERVER_HTTP_SYNTAX_H_

#include <cstring>

// The value of a hex digit, or -1.
inline int HexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

// Optional whitespace: a space or a horizontal tab.
inline bool IsHttpBlank(char c) { return c == ' ' || c == '\t'; }

// A character of a token: field names, transfer coding names.
inline bool IsTokenChar(char c) {
  if ((c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z')) return true;
  return c != '\0' && std::strchr("!#$%&'*+-.^_`|~", c) != nullptr;
}

// A character a field value may hold: visible ASCII, blanks and bytes
// above 0x7F; never a control character.
inline bool IsFieldValueChar(char c) {
  const unsigned char u = static_cast<unsigned char>(c);
  return u == '\t' || (u >= 0x20 && u != 0x7F);
}

#endif  // INMEM_SERVER_HTTP_SYNTAX_H_
