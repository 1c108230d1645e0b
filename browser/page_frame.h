// The frame every page of the browser shares, and the answers that carry
// pages: the HTML head and header (the namespace the page is of, and a list
// of the served ones to switch to), the security headers, the 404 page.

#ifndef INMEM_BROWSER_PAGE_FRAME_H_
#define INMEM_BROWSER_PAGE_FRAME_H_

#include <string>
#include <vector>

#include "server/cim_http_exchange.h"

// The Content-Security-Policy of every answer: only this server's own
// stylesheet, script and pictures; no frames, no forms elsewhere.
extern const char kContentSecurityPolicy[];

// What a page's header shows of the namespaces: the one the page is of,
// with the addresses of its overview and class tree (none for a page about
// a namespace that is not served), and every namespace served, each with
// the address of its overview, to switch to. Names are plain text, escaped
// where they are shown; addresses are made by TNamespaceLinks.
struct TFrameNamespaces {
  struct TServed {
    std::string name;
    std::string overview;
    bool interop = false;
    bool current = false;
  };
  std::vector<TServed> served;
  std::string current;  // empty for none
  std::string overview = "/";
  std::string classes;  // empty for none
};

// A page: `title` (plain text, escaped here) and `body` (HTML, escaped by
// whoever made it) in the frame.
std::string FramedPage(const TFrameNamespaces& where, const std::string& title, const std::string& body);

// A served namespace's name linked to its overview, marked when it is the
// Interop namespace, and with `markCurrent` when it is the page's.
std::string NamespaceLink(const TFrameNamespaces::TServed& ns, bool markCurrent = false);

// An answer of `status` with `body` of `contentType`, with the security
// headers.
THttpAnswer PageAnswer(boost::beast::http::status status, std::string body, const char* contentType,
                       const std::string& what);

// "Not found" as a page that says what was not there (`what`, plain text).
THttpAnswer NotFoundPage(const TFrameNamespaces& where, const std::string& what);
// A request that cannot be answered as asked (a malformed path, a page
// number that is no number), as a page that says why.
THttpAnswer BadRequestPage(const TFrameNamespaces& where, const std::string& why);

// The stylesheet and the class tree's search script.
extern const char kStyleSheet[];
extern const char kTreeScript[];

#endif  // INMEM_BROWSER_PAGE_FRAME_H_
