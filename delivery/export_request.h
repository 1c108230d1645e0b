// The HTTP side of one CIM-XML export request (DSP0200): the POST that
// carries an indication to a listener, and what its answer means.
//
// The request shares the indication's body rather than copying it (one
// body goes to every destination). A request is made once per indication
// and written again as is for each retry; its head is plain text, so that
// several requests in a row go to the listener in one gather write.
//
// Plain functions; any thread.

#ifndef INMEM_DELIVERY_EXPORT_REQUEST_H_
#define INMEM_DELIVERY_EXPORT_REQUEST_H_

#include <memory>
#include <string>
#include <string_view>

#include <boost/beast/http.hpp>

#include "delivery/export_body.h"
#include "delivery/listener_url.h"

// One export request as written: its head (request line and headers, up
// to and with the blank line) and its body, of the length the head gives.
struct TExportPost {
  std::string head;
  std::shared_ptr<const TExportBody> body;
};
typedef boost::beast::http::response<boost::beast::http::string_body> TExportAnswer;

// POST over HTTP/1.1 (so the connection stays open) to the URL's target,
// with a Host header, the export headers, HTTP Basic credentials when
// `user` is not empty, and the body's Content-Length.
TExportPost MakeExportPost(const TListenerUrl& url, const std::string& user, const std::string& password,
                           std::shared_ptr<const TExportBody> body);

// Whether the listener took the indication: a 200 whose body carries no
// CIM ERROR element. Otherwise *problem says what it answered (status, and
// the error's code and description, shown safely).
bool ExportAccepted(const TExportAnswer& answer, std::string* problem);

// RFC 4648 base64 with padding, as HTTP Basic credentials are written.
std::string Base64(std::string_view bytes);

#endif  // INMEM_DELIVERY_EXPORT_REQUEST_H_
