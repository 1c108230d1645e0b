// Letter case of ASCII text, the way names and object paths compare.
//
// Names of classes, properties and keys are ASCII; their letter case is
// folded by these functions alone, never by the C library's, whose answers
// depend on the process's locale (in a Latin-1 locale it would fold
// bytes above 0x7F as well, and two processes would file the same path
// under different texts).

#ifndef INMEM_CORE_ASCII_H_
#define INMEM_CORE_ASCII_H_

#include <cstddef>
#include <string>
#include <string_view>

inline bool IsAsciiUpper(char c) { return c >= 'A' && c <= 'Z'; }
inline bool IsAsciiLetter(char c) { return IsAsciiUpper(c) || (c >= 'a' && c <= 'z'); }
inline bool IsAsciiDigit(char c) { return c >= '0' && c <= '9'; }
inline char ToLowerAscii(char c) { return IsAsciiUpper(c) ? static_cast<char>(c - 'A' + 'a') : c; }

// `text` with its ASCII letters in lower case: how names that compare
// without letter case are kept as keys.
inline std::string LowerAscii(std::string text) {
  for (char& c : text) c = ToLowerAscii(c);
  return text;
}

// Whether `a` and `b` are equal once ASCII letters are folded to lower case.
inline bool EqualsFoldingAscii(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (ToLowerAscii(a[i]) != ToLowerAscii(b[i])) return false;
  }
  return true;
}

// Whether `a` comes before `b` once both are folded, byte by byte as
// std::string compares (bytes as unsigned), the shorter first on a tie.
inline bool LessFoldingAscii(std::string_view a, std::string_view b) {
  const size_t common = a.size() < b.size() ? a.size() : b.size();
  for (size_t i = 0; i < common; ++i) {
    const unsigned char x = static_cast<unsigned char>(ToLowerAscii(a[i]));
    const unsigned char y = static_cast<unsigned char>(ToLowerAscii(b[i]));
    if (x != y) return x < y;
  }
  return a.size() < b.size();
}

#endif  // INMEM_CORE_ASCII_H_
