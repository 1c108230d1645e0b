// THttpRequestReader: the requests of one HTTP/1.x connection, read from
// its bytes one after the other and framed by the book (RFC 9112 section 6).
//
// It does no I/O. The connection hands it the bytes it has received and
// not yet handed over; the reader takes what belongs to the request under
// way and says what comes next. So the same code frames requests for the
// server, for its tests and for the fuzzer, a byte at a time or all at once.
//
// The header is read by Boost.Beast's parser once it is all in (at most
// `maxHeaderBytes`, its empty line included: 431 past it). How the body is delimited is then decided here, and only
// one way is taken:
//   - Transfer-Encoding whose last coding is chunked, and no other coding
//     (a coding the server does not apply, such as gzip before chunked, is
//     501); the body is decoded by TChunkedBodyDecoder, with its bounds;
//   - else Content-Length, at most `maxBodyBytes` (413 before any of the
//     body is read);
//   - else no body.
// Everything else is refused with 400, because its length cannot be known
// and a second request could hide in what the server would take as this
// one's body: a Transfer-Encoding whose last coding is not chunked, chunked
// applied twice, Transfer-Encoding beside Content-Length, Transfer-Encoding
// in an HTTP/1.0 request, differing Content-Length values. After any
// refusal the connection must close: the reader takes no more from it.
//
// Not thread-safe; one per connection.

#ifndef INMEM_SERVER_HTTP_REQUEST_READER_H_
#define INMEM_SERVER_HTTP_REQUEST_READER_H_

#include <cstdint>
#include <optional>
#include <string_view>

#include <boost/beast/http.hpp>

#include "server/chunked_body_decoder.h"
#include "server/http_refusal.h"

typedef boost::beast::http::request<boost::beast::http::string_body> THttpRequest;

struct THttpReadLimits {
  size_t maxHeaderBytes = 16u << 10;
  size_t maxBodyBytes = 16u << 20;
};

class THttpRequestReader {
 public:
  enum class EStep {
    kMore,     // took all it could: hand it more bytes
    kHeader,   // the header is in and the framing accepted: Request()
               // has the header (a client may wait for 100 Continue now)
    kRequest,  // a whole request: TakeRequest
    kRefused,  // Refusal(); the connection must close
  };

  explicit THttpRequestReader(THttpReadLimits limits);

  // Reads from the front of `input`, which begins with the first byte not
  // yet taken; *used is how much it took (it may take nothing while a
  // header is incomplete: hand the same bytes again with more after them).
  // Call again after kHeader to read the body.
  EStep Read(std::string_view input, size_t* used);

  // The request under way: its header after kHeader, whole after kRequest.
  const THttpRequest& Request() const { return request_; }
  // Whether a body follows the header that has been read.
  bool ExpectsBody() const { return phase_ == EPhase::kLengthBody || phase_ == EPhase::kChunkedBody; }
  // The request read (after kRequest); the reader then waits for the next.
  THttpRequest TakeRequest();
  const THttpRefusal& Refusal() const { return refusal_; }

 private:
  enum class EPhase { kHeader, kLengthBody, kChunkedBody, kComplete, kRefused };

  void StartRequest();
  // Reads the header with Beast's parser.
  EStep ReadHeader(std::string_view input, size_t* used);
  // Decides how the body is delimited, given the header's Content-Length;
  // false (refused) when it cannot be told for certain.
  bool Frame(std::optional<uint64_t> length);
  EStep Refuse(THttpRefusal refusal);

  const THttpReadLimits limits_;
  EPhase phase_ = EPhase::kHeader;
  std::optional<boost::beast::http::request_parser<boost::beast::http::empty_body>> parser_;
  THttpRequest request_;
  size_t headerScanned_ = 0;  // of the input, found to hold no CRLFCRLF
  uint64_t lengthLeft_ = 0;
  std::optional<TChunkedBodyDecoder> chunked_;
  THttpRefusal refusal_;
};

#endif  // INMEM_SERVER_HTTP_REQUEST_READER_H_
