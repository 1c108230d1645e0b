// ReadXmlDocument: expat's callbacks build the tree; every refusal stops
// the parser at once.

#include "server/xml_document.h"

#include <expat.h>

#include <algorithm>
#include <random>

const std::string* TXmlElement::Attribute(std::string_view attribute) const {
  for (const auto& a : attributes) {
    if (a.first == attribute) return &a.second;
  }
  return nullptr;
}

const TXmlElement* TXmlElement::Child(std::string_view child) const {
  for (const auto& c : children) {
    if (c->name == child) return c.get();
  }
  return nullptr;
}

namespace {

struct TBuilder {
  XML_Parser parser;
  const TXmlLimits& limits;
  std::unique_ptr<TXmlElement> root;
  std::vector<TXmlElement*> open;
  size_t elements = 0;
  std::string refusal;  // why the builder stopped the parser
  bool tooLarge = false;

  void Refuse(std::string why, bool limit) {
    if (!refusal.empty()) return;
    refusal = std::move(why);
    tooLarge = limit;
    XML_StopParser(parser, XML_FALSE);
  }
};

void XMLCALL OnStart(void* data, const XML_Char* name, const XML_Char** attributes) {
  TBuilder& b = *static_cast<TBuilder*>(data);
  if (!b.refusal.empty()) return;
  if (b.open.size() >= b.limits.maxDepth) {
    b.Refuse("elements nest deeper than " + std::to_string(b.limits.maxDepth), true);
    return;
  }
  if (++b.elements > b.limits.maxElements) {
    b.Refuse("more than " + std::to_string(b.limits.maxElements) + " elements", true);
    return;
  }
  auto element = std::make_unique<TXmlElement>();
  element->name = name;
  element->line = static_cast<int>(XML_GetCurrentLineNumber(b.parser));
  for (size_t i = 0; attributes[i] != nullptr; i += 2) {
    if (element->attributes.size() >= b.limits.maxAttributes) {
      b.Refuse("more than " + std::to_string(b.limits.maxAttributes) + " attributes on one element",
               true);
      return;
    }
    element->attributes.emplace_back(attributes[i], attributes[i + 1]);
  }
  TXmlElement* raw = element.get();
  if (b.open.empty()) {
    b.root = std::move(element);
  } else {
    b.open.back()->children.push_back(std::move(element));
  }
  b.open.push_back(raw);
}

void XMLCALL OnEnd(void* data, const XML_Char*) {
  TBuilder& b = *static_cast<TBuilder*>(data);
  if (!b.open.empty()) b.open.pop_back();
}

void XMLCALL OnText(void* data, const XML_Char* text, int length) {
  TBuilder& b = *static_cast<TBuilder*>(data);
  if (!b.refusal.empty() || b.open.empty()) return;
  std::string& into = b.open.back()->text;
  if (into.size() + static_cast<size_t>(length) > b.limits.maxTextBytes) {
    b.Refuse("text of an element longer than " + std::to_string(b.limits.maxTextBytes) + " bytes",
             true);
    return;
  }
  into.append(text, static_cast<size_t>(length));
}

void XMLCALL OnDoctype(void* data, const XML_Char*, const XML_Char*, const XML_Char*, int) {
  static_cast<TBuilder*>(data)->Refuse("a document type declaration is not accepted", false);
}

void XMLCALL OnEntityDecl(void* data, const XML_Char*, int, const XML_Char*, int, const XML_Char*,
                          const XML_Char*, const XML_Char*, const XML_Char*) {
  static_cast<TBuilder*>(data)->Refuse("an entity declaration is not accepted", false);
}

// expat salts its hash tables against names crafted to collide, and draws
// the salt from the kernel for each parser: a system call per request.
// Each thread draws a secret from the system's source once and makes a
// new salt from it for each parser.
unsigned long HashSalt() {
  thread_local const unsigned long secret = [] {
    std::random_device source;
    return (static_cast<unsigned long>(source()) << 32) ^ source();
  }();
  thread_local unsigned long parsers = 0;
  return (secret + 0x9E3779B97F4A7C15ul * ++parsers) | 1;  // never 0, which asks expat for its own
}

// Each thread keeps one parser and resets it for the next document:
// making one costs a dozen allocations per request. One that has read a
// large document is let go, so that no thread keeps what it grew to.
const size_t kKeptParserBytes = 64u << 10;

class TThreadParser {
 public:
  ~TThreadParser() { Drop(); }
  // A parser as new, or nullptr when memory ran out.
  XML_Parser Take() {
    if (parser_ != nullptr && XML_ParserReset(parser_, nullptr) == XML_TRUE) return parser_;
    Drop();
    parser_ = XML_ParserCreate(nullptr);
    return parser_;
  }
  void Release(size_t bytesRead) {
    if (bytesRead > kKeptParserBytes) Drop();
  }

 private:
  void Drop() {
    if (parser_ != nullptr) XML_ParserFree(parser_);
    parser_ = nullptr;
  }
  XML_Parser parser_ = nullptr;
};

}  // namespace

std::unique_ptr<TXmlElement> ReadXmlDocument(std::string_view bytes, const TXmlLimits& limits,
                                             std::string* error, bool* tooLarge) {
  *tooLarge = false;
  thread_local TThreadParser threadParser;
  XML_Parser parser = threadParser.Take();
  if (parser == nullptr) {
    *error = "out of memory";
    return nullptr;
  }
  XML_SetHashSalt(parser, HashSalt());
  TBuilder builder{parser, limits, nullptr, {}, 0, {}, false};
  XML_SetUserData(parser, &builder);
  XML_SetElementHandler(parser, OnStart, OnEnd);
  XML_SetCharacterDataHandler(parser, OnText);
  XML_SetStartDoctypeDeclHandler(parser, OnDoctype);
  XML_SetEntityDeclHandler(parser, OnEntityDecl);
  XML_SetParamEntityParsing(parser, XML_PARAM_ENTITY_PARSING_NEVER);

  // expat takes lengths as int: the document goes in pieces.
  const size_t kPiece = 1u << 20;
  bool ok = true;
  size_t at = 0;
  do {
    const size_t length = std::min(kPiece, bytes.size() - at);
    const bool last = at + length == bytes.size();
    ok = XML_Parse(parser, bytes.data() + at, static_cast<int>(length), last) == XML_STATUS_OK;
    at += length;
  } while (ok && at < bytes.size());

  std::unique_ptr<TXmlElement> root;
  if (!builder.refusal.empty()) {
    *error = "line " + std::to_string(XML_GetCurrentLineNumber(parser)) + ": " + builder.refusal;
    *tooLarge = builder.tooLarge;
  } else if (!ok) {
    *error = "line " + std::to_string(XML_GetCurrentLineNumber(parser)) + ", column " +
             std::to_string(XML_GetCurrentColumnNumber(parser) + 1) + ": " +
             XML_ErrorString(XML_GetErrorCode(parser));
  } else {
    root = std::move(builder.root);
  }
  threadParser.Release(bytes.size());
  return root;
}
