// TXmlOut: writes an XML document into a string, element by element.
//
// It is the bottom of the server's responses: the CIM-XML writer calls it
// for every element, and the response is sent in pieces as the string
// fills (the caller takes the text with Take and sends it), so a large
// answer never has to be held whole.
//
// Text and attribute values are escaped, and made into what XML 1.0 can
// carry: bytes that are not valid UTF-8, and characters XML 1.0 does not
// allow at all (the control characters other than tab, line feed and
// carriage return, and U+FFFE and U+FFFF), become U+FFFD. Carriage returns, and line ends and tabs
// in attribute values, are written as character references, so that a
// reader gets them back as they were.
//
// Invariant: Open and Close pair up; an attribute is written only right
// after Open, before any text or child.

#ifndef INMEM_SERVER_XML_OUT_H_
#define INMEM_SERVER_XML_OUT_H_

#include <string>
#include <string_view>
#include <vector>

class TXmlOut {
 public:
  // Starts `<name`.
  void Open(const char* name);
  // Adds ` name="value"` to the element just opened.
  void Attr(const char* name, std::string_view value);
  // Writes text inside the innermost open element.
  void Text(std::string_view text);
  // Ends the innermost open element, always with an end tag: some CIM
  // clients read `<PROPERTY .../>` as a property left open.
  void Close();
  // An element with only text inside (`<name>text</name>`).
  void TextElement(const char* name, std::string_view text);
  // Writes `text` as it is (a declaration, a line break between elements).
  void Raw(std::string_view text);

  // A point to come back to: Rewind drops what was written since, so that
  // an element that fails halfway leaves nothing behind. Valid until the
  // next Take.
  struct TMark {
    size_t size;
    size_t depth;
    bool startTagOpen;
  };
  TMark Mark() const { return TMark{out_.size(), open_.size(), startTagOpen_}; }
  void Rewind(const TMark& mark);

  // How many bytes are waiting to be taken.
  size_t Size() const { return out_.size(); }
  // The text written since the last Take.
  std::string Take();
  // Appends the text written since the last Take to *out. When *out is
  // empty the two trade buffers instead, so that pieces written one after
  // the other reuse each other's room rather than copy and grow.
  void TakeInto(std::string* out);

 private:
  // Ends a start tag that is still open (`>`).
  void EndStartTag();
  void Escape(std::string_view text, bool inAttribute);

  std::string out_;
  std::vector<const char*> open_;
  bool startTagOpen_ = false;
};

#endif  // INMEM_SERVER_XML_OUT_H_
