// UTF-8, as the system reads and writes it.
//
// Text in the system is UTF-8. A char16 value is one 16-bit code unit; it is
// written, and read back, as the UTF-8 form of that unit, which for the
// surrogates (D800-DFFF) is a three-byte sequence that strict UTF-8 does not
// allow. Strict validation (IsValidUtf8) rejects those; the char16 functions
// accept them, so that every char16 value has a text form that reads back.

#ifndef INMEM_CORE_UTF8_H_
#define INMEM_CORE_UTF8_H_

#include <cstddef>
#include <string>
#include <string_view>

// The length of the valid UTF-8 sequence at the start of `text`, or 0 when
// it does not start with one (a stray continuation byte, an overlong form,
// a surrogate, a value above U+10FFFF, or a sequence cut short).
size_t Utf8SequenceLength(std::string_view text);

// Whether `text` is valid UTF-8 throughout; when not, *badByte (if given)
// is the offset of the first byte that is not.
bool IsValidUtf8(std::string_view text, size_t* badByte = nullptr);

// `text` with every byte that is not part of a valid UTF-8 sequence
// replaced by U+FFFD; valid text comes back unchanged.
std::string WithValidUtf8(std::string_view text);

// Appends the UTF-8 form of one 16-bit code unit (1 to 3 bytes).
void AppendChar16(std::string* out, char16_t unit);

// Reads `text` as exactly one 16-bit code unit in the form AppendChar16
// writes; false for anything else (empty, two characters, a character
// beyond U+FFFF, bytes that are not UTF-8).
bool DecodeChar16(std::string_view text, char16_t* unit);

// The length of the sequence at the start of `text` that DecodeChar16 would
// read as one code unit (a strict UTF-8 character of at most three bytes, or
// a surrogate in three bytes), or 0.
size_t Char16SequenceLength(std::string_view text);

#endif  // INMEM_CORE_UTF8_H_
