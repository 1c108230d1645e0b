// Text in the browser's pages: escaped for HTML and for URLs.
//
// Everything the repository holds is shown through Html(): a class name, a
// string value or a path with "<script>" in it shows as that text, never as
// markup. Bytes that are not UTF-8 and control characters other than tab
// and line feed show as U+FFFD.

#ifndef INMEM_BROWSER_HTML_TEXT_H_
#define INMEM_BROWSER_HTML_TEXT_H_

#include <map>
#include <string>
#include <string_view>

// `text` for the content of an element or a quoted attribute value.
std::string Html(std::string_view text);

// `text` percent-encoded for a query value or a path segment (only
// letters, digits and -._~ stay as they are).
std::string UrlEncoded(std::string_view text);

// The values of a query string ("a=1&b=x%20y"), percent-decoded, '+' read
// as a blank; a name given twice keeps its first value.
std::map<std::string, std::string> QueryValues(std::string_view query);

// Percent-decoding of a path segment; false for a malformed escape.
bool UrlDecoded(std::string_view text, std::string* decoded);

#endif  // INMEM_BROWSER_HTML_TEXT_H_
