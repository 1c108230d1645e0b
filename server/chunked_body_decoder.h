// TChunkedBodyDecoder: a request body sent with the chunked transfer coding
// (RFC 9112 section 7.1), decoded as its bytes arrive.
//
// It keeps the data and nothing else: chunk sizes, chunk extensions and
// trailer fields are checked and dropped as they pass, so a client's
// framing costs the server no memory. Its bounds, each met the moment it is
// passed, before more is read:
//   - every byte of the coded body (sizes, extensions, line ends, data,
//     trailers) counts against `maxBodyBytes`: 413 past it, and a chunk
//     size that alone would pass it is refused before its data arrives;
//   - a chunk size has at most kMaxSizeDigits hex digits, leading zeros
//     included (400), and one chunk's extensions at most `maxFieldBytes`
//     (400);
//   - the trailer section has at most `maxFieldBytes` (431).
// Lines end in CRLF and nothing else. A bare CR or LF, a control character,
// a folded or nameless trailer line, data not followed by CRLF: each is a
// 400, since two parsers that disagree on where a line or chunk ends are
// how a request is smuggled past one of them.
//
// Not thread-safe; one per request being read.

#ifndef INMEM_SERVER_CHUNKED_BODY_DECODER_H_
#define INMEM_SERVER_CHUNKED_BODY_DECODER_H_

#include <cstdint>
#include <string>
#include <string_view>

#include "server/http_refusal.h"

class TChunkedBodyDecoder {
 public:
  static constexpr size_t kMaxSizeDigits = 32;

  enum class EResult {
    kMore,     // took all of the input and needs more
    kDone,     // the body ended (after the trailer section)
    kRefused,  // see Refusal; nothing more may be read from the connection
  };

  TChunkedBodyDecoder(size_t maxBodyBytes, size_t maxFieldBytes)
      : maxBody_(maxBodyBytes), maxFields_(maxFieldBytes) {}

  // Decodes from the front of `input`, appending the data to *body. *used is
  // how much of `input` it took: all of it for kMore, up to the end of the
  // body for kDone (what follows belongs to the next request).
  EResult Decode(std::string_view input, std::string* body, size_t* used);

  const THttpRefusal& Refusal() const { return refusal_; }

 private:
  enum class EState {
    kSizeStart,      // the first hex digit of a chunk size
    kSize,           // more digits, or what ends the size
    kSizeSpace,      // blanks after the size: a ';' must come
    kExtension,      // after a ';', up to the CR
    kSizeLineEnd,    // the LF after the size line's CR
    kData,
    kDataCR,
    kDataLF,
    kTrailerStart,   // a trailer field line, or the CR of the empty line
    kTrailerName,
    kTrailerValue,
    kTrailerLineEnd, // the LF after a field line's CR
    kEndLF,          // the LF of the last, empty line
    kDone,
    kRefused,
  };

  // Takes one byte of a line (not data); false when refused.
  bool Step(char c);
  EResult Refuse(THttpRefusal refusal);

  const size_t maxBody_;
  const size_t maxFields_;
  EState state_ = EState::kSizeStart;
  size_t received_ = 0;       // bytes of the coded body so far
  uint64_t chunkLeft_ = 0;    // the size being read, then the data still due
  size_t digits_ = 0;         // of the size being read
  size_t extensionBytes_ = 0; // of the chunk being read
  size_t trailerBytes_ = 0;
  THttpRefusal refusal_;
};

#endif  // INMEM_SERVER_CHUNKED_BODY_DECODER_H_
