// The frame every page of the browser shares, and the answers that carry
// pages: the HTML head and header, the security headers, the 404 page.

#ifndef INMEM_BROWSER_PAGE_FRAME_H_
#define INMEM_BROWSER_PAGE_FRAME_H_

#include <string>

#include "server/cim_http_exchange.h"

// The Content-Security-Policy of every answer: only this server's own
// stylesheet, script and pictures; no frames, no forms elsewhere.
extern const char kContentSecurityPolicy[];

// A page: `title` (plain text, escaped here) and `body` (HTML, escaped by
// whoever made it) in the frame, with `namespaceName` in the header.
std::string FramedPage(const std::string& namespaceName, const std::string& title, const std::string& body);

// An answer of `status` with `body` of `contentType`, with the security
// headers.
THttpAnswer PageAnswer(boost::beast::http::status status, std::string body, const char* contentType,
                       const std::string& what);

// "Not found" as a page that says what was not there (`what`, plain text).
THttpAnswer NotFoundPage(const std::string& namespaceName, const std::string& what);
// A request that cannot be answered as asked (a malformed path, a page
// number that is no number), as a page that says why.
THttpAnswer BadRequestPage(const std::string& namespaceName, const std::string& why);

// The stylesheet and the class tree's search script.
extern const char kStyleSheet[];
extern const char kTreeScript[];

#endif  // INMEM_BROWSER_PAGE_FRAME_H_
