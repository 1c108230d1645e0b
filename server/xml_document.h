// TXmlElement and ReadXmlDocument: a request body read into a small tree of
// elements, with limits on everything the sender controls.
//
// The bytes come from anyone on the network, so the reader (expat) is told
// to refuse a document type declaration outright: with no DTD there are no
// entities to expand (only the five predefined ones and character
// references), no external files to fetch, and nothing for an entity to
// multiply. The tree is bounded by the limits below; a document that exceeds
// one is refused as a whole, before anything acts on it.
//
// Text is kept only as it appears directly inside an element, all of its
// pieces joined; the reader hands out UTF-8 whatever the document's declared
// encoding.

#ifndef INMEM_SERVER_XML_DOCUMENT_H_
#define INMEM_SERVER_XML_DOCUMENT_H_

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

struct TXmlElement {
  std::string name;
  std::vector<std::pair<std::string, std::string>> attributes;
  std::vector<std::unique_ptr<TXmlElement>> children;
  std::string text;
  int line = 0;  // where the start tag stands, for error messages

  // The value of the attribute `attribute` (exact name), or nullptr.
  const std::string* Attribute(std::string_view attribute) const;
  // The first child element named `child` (exact name), or nullptr.
  const TXmlElement* Child(std::string_view child) const;
};

struct TXmlLimits {
  size_t maxDepth = 64;           // elements nested inside each other
  size_t maxElements = 250000;    // in the whole document
  size_t maxAttributes = 32;      // on one element
  size_t maxTextBytes = 16u << 20;  // of one element's text
};

// Reads `bytes` as one XML document. On success returns the root element;
// otherwise an empty pointer, with the reason (and line) in *error and
// *tooLarge set when a limit was what stopped it.
std::unique_ptr<TXmlElement> ReadXmlDocument(std::string_view bytes, const TXmlLimits& limits,
                                             std::string* error, bool* tooLarge);

#endif  // INMEM_SERVER_XML_DOCUMENT_H_
