// THttpRefusal: a request the HTTP layer will not take, as the answer to
// give: a status and a plain-text reason. The connection closes after it,
// since whatever follows on it can no longer be told apart from this
// request's bytes.

#ifndef INMEM_SERVER_HTTP_REFUSAL_H_
#define INMEM_SERVER_HTTP_REFUSAL_H_

#include <ostream>  // Boost 1.74's status.hpp needs it and does not include it
#include <string>

#include <boost/beast/http/status.hpp>

struct THttpRefusal {
  boost::beast::http::status status = boost::beast::http::status::bad_request;
  std::string text;
};

// A body past the limit, `--max-body`.
inline THttpRefusal BodyTooLarge(size_t maxBodyBytes) {
  return THttpRefusal{boost::beast::http::status::payload_too_large,
                      "the request body is larger than " + std::to_string(maxBodyBytes) + " bytes"};
}

#endif  // INMEM_SERVER_HTTP_REFUSAL_H_
