// The HTTP side of one CIM-XML export request (DSP0200): the POST that
// carries an indication to a listener, and what its answer means.
//
// The request points at the indication's body rather than copying it: the
// caller keeps the body alive until the request has been written. A
// request is made once per indication and written again as is for each
// retry.
//
// Plain functions; any thread.

#ifndef INMEM_DELIVERY_EXPORT_REQUEST_H_
#define INMEM_DELIVERY_EXPORT_REQUEST_H_

#include <string>
#include <string_view>

#include <boost/beast/http.hpp>

#include "delivery/listener_url.h"

typedef boost::beast::http::request<boost::beast::http::span_body<const char>> TExportRequest;
typedef boost::beast::http::response<boost::beast::http::string_body> TExportAnswer;

// POST to the URL's target with the export headers, a Host header, and
// HTTP Basic credentials when `user` is not empty; the connection is asked
// to stay open.
TExportRequest MakeExportRequest(const TListenerUrl& url, const std::string& user, const std::string& password,
                                 const std::string& body);

// Whether the listener took the indication: a 200 whose body carries no
// CIM ERROR element. Otherwise *problem says what it answered (status, and
// the error's code and description, shown safely).
bool ExportAccepted(const TExportAnswer& answer, std::string* problem);

// RFC 4648 base64 with padding, as HTTP Basic credentials are written.
std::string Base64(std::string_view bytes);

#endif  // INMEM_DELIVERY_EXPORT_REQUEST_H_
