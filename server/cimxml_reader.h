// TCimXmlReader: the parameters of a CIM request read into the repository's
// terms: values of a declared type, instance names typed by their class's
// keys, instances, and classes and qualifier declarations as the MOF loader
// takes them (so that what a client defines passes the same rules as MOF).
//
// Text of values follows DSP0201: integers in decimal or 0x hexadecimal,
// reals in decimal or exponent form or INF, -INF, NaN, booleans TRUE or
// FALSE in any letter case, datetimes in their 25 characters, a char16 as
// one character; leading and trailing blanks are ignored but in strings.
// Anything that does not fit throws TCimError (kCimInvalidParameter, or
// kCimTypeMismatch where the element's type differs from the declared one,
// kCimInvalidClass for an unknown class) naming the element at fault.
//
// The object paths a reader builds share one budget of text, given by the
// size of the request (PathTextBudget). A path holds the text of a path
// that is one of its keys quoted and escaped, so nesting doubles the
// backslashes of the innermost key at every level: a few kilobytes of XML
// could ask for gigabytes. Each path's length is counted before it is
// built, and a path past what is left of the budget is kCimInvalidParameter.

#ifndef INMEM_SERVER_CIMXML_READER_H_
#define INMEM_SERVER_CIMXML_READER_H_

#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "core/cim_reference.h"
#include "core/cim_value.h"
#include "mof/mof_ast.h"
#include "server/xml_document.h"

class ICIMClass;
class ICIMNamespace;
class ICIMPropertyDecl;

// The text of a scalar value as a value of `type` (neither a reference nor
// an array); false with the reason in *why when it does not fit.
bool ReadScalarText(std::string_view text, ECIMType type, TCIMValue* value, std::string* why);

// A value as a MOF literal of the loader's productions, which it reads back
// to an equal value for a declaration of the same type.
TMofValue MofValueOf(const TCIMValue& value);

// One property of an INSTANCE element: its name and the element holding it.
struct TCimPropertyElement {
  std::string name;
  const TXmlElement* element;
};

// The bytes of path text a request of `requestBytes` may make the server
// build: eight times its size, and 64 KiB more. Honest paths nest two or
// three deep at most, and their texts are smaller than the XML that names
// them.
size_t PathTextBudget(size_t requestBytes);

class TCimXmlReader {
 public:
  // `servedNamespace`: a path inside this namespace is a path of this
  // repository and loses its namespace part. `pathTextBudget`: the bytes of
  // path text the reader may build, in all.
  TCimXmlReader(boost::shared_ptr<ICIMNamespace> ns, std::string servedNamespace, size_t pathTextBudget)
      : ns_(std::move(ns)),
        served_(std::move(servedNamespace)),
        pathTextBudget_(pathTextBudget),
        pathTextLeft_(pathTextBudget) {}

  // The parameters of the intrinsic methods. `parameter` is the IPARAMVALUE
  // element or nullptr when the request leaves it out; a null value (an
  // IPARAMVALUE without content) reads as left out.
  bool Boolean(const TXmlElement* parameter, bool byDefault) const;
  std::optional<uint32_t> Uint32(const TXmlElement* parameter) const;
  std::optional<std::string> String(const TXmlElement* parameter) const;
  // A CLASSNAME parameter; empty when left out.
  std::string ClassName(const TXmlElement* parameter) const;
  // A PropertyList: the property names in lower case; none when left out.
  std::optional<std::set<std::string>> PropertyList(const TXmlElement* parameter) const;
  // The one element the parameter `name` holds, which must be a `kind`.
  const TXmlElement& Content(const TXmlElement* parameter, const char* name, const char* kind) const;

  // An INSTANCENAME, with key values typed by the class's key declarations.
  TCIMReference InstanceName(const TXmlElement& element) const;
  // A value element (VALUE, VALUE.ARRAY, VALUE.REFERENCE, VALUE.NULL, or
  // none for a null) as a value of `type`; `refClass` is the class a
  // reference of that declaration refers to.
  TCIMValue Value(const TXmlElement* element, ECIMType type,
                  const boost::shared_ptr<ICIMClass>& refClass) const;
  // The value a PROPERTY, PROPERTY.ARRAY or PROPERTY.REFERENCE element
  // gives for the property `decl` declares; an element of another kind or
  // type than the declaration is a type mismatch.
  TCIMValue PropertyValue(const TXmlElement& property, const ICIMPropertyDecl& decl) const;
  // A value element (as for Value) for the property `decl` declares.
  TCIMValue DeclaredValue(const TXmlElement* element, const ICIMPropertyDecl& decl) const;
  // The class named by an INSTANCE element and its property elements.
  std::string InstanceProperties(const TXmlElement& element,
                                 std::vector<TCimPropertyElement>* properties) const;
  // CLASS and QUALIFIER.DECLARATION elements as productions of the loader;
  // elements marked PROPAGATED (taken over from a superclass) are left out.
  TMofProduction Class(const TXmlElement& element) const;
  TMofProduction QualifierDecl(const TXmlElement& element) const;

 private:
  TCIMReference Reference(const TXmlElement& element) const;
  // An INSTANCENAME whose class is a class of `ns`.
  TCIMReference InstanceNameIn(const TXmlElement& element, ICIMNamespace& ns) const;
  TCIMValue KeyValue(const TXmlElement& element, const TCIMValue* prototype) const;
  std::vector<TMofQualifier> Qualifiers(const TXmlElement& element, TMofLocation where) const;
  TMofType TypeOf(const TXmlElement& element) const;
  // The value of a typed element (a qualifier, a property default).
  std::optional<TMofValue> TypedValue(const TXmlElement& element, const TMofType& type) const;

  // Takes `bytes` of path text from the budget, or refuses the path.
  void SpendPathText(size_t bytes) const;

  boost::shared_ptr<ICIMNamespace> ns_;
  std::string served_;
  const size_t pathTextBudget_;
  // What is left of it. The reads that spend it are const (they change
  // nothing a caller sees), hence mutable.
  mutable size_t pathTextLeft_;
};

#endif  // INMEM_SERVER_CIMXML_READER_H_
