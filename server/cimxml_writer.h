// TCimXmlWriter: the repository's elements in the XML representation of CIM
// (DSP0201): values, instance names and paths, instances, classes and
// qualifier declarations, as the DTD of CIM-XML lays them out.
//
// It reads the repository through the element interfaces only, and writes
// into a TXmlOut, which the caller drains as it fills.
//
// Paths: an instance's own path is written as INSTANCENAME, or inside the
// namespace the server serves (LOCALNAMESPACEPATH, or NAMESPACEPATH with the
// host name the client used). A reference value is written as INSTANCENAME,
// or LOCALINSTANCEPATH when it names a namespace of its own.
//
// A class is written with what its namespace's schema notes add (the
// declared order of a method's parameters, the class of a reference
// parameter), and with PROPAGATED on every qualifier it took over from its
// superclass, on itself and on its properties, methods and parameters.
//
// Values the DTD has no room for are written as near as it allows: a
// reference-array property as an array of path texts, an array key as the
// text of the array, characters XML 1.0 cannot carry as U+FFFD (TXmlOut).

#ifndef INMEM_SERVER_CIMXML_WRITER_H_
#define INMEM_SERVER_CIMXML_WRITER_H_

#include <set>
#include <string>
#include <utility>
#include <vector>

#include "core/cim_reference.h"
#include "core/cim_value.h"
#include "server/xml_out.h"

class ICIMClass;
class ICIMInstance;
class ICIMNamedElement;
class ICIMPropertyDecl;
class ICIMQualifierDecl;
class TSchemaNotes;

// Which parts of a class or instance a request asked for.
struct TCimObjectOptions {
  // Only what the class itself declares or overrides (no inherited
  // properties, methods or qualifiers).
  bool localOnly = false;
  bool includeQualifiers = false;
  bool includeClassOrigin = false;
  // When set, only properties whose normalised (lower-case) names are in it.
  const std::set<std::string>* propertyList = nullptr;
  // When set (an enumeration without deep inheritance), only the properties
  // this class declares.
  ICIMClass* declaredBy = nullptr;
  // The schema notes of the namespace (mof/schema_notes.h): a class's
  // method parameters are written in their declared order, and a reference
  // parameter with its REFERENCECLASS, where they have them.
  const TSchemaNotes* notes = nullptr;
};

class TCimXmlWriter {
 public:
  // `host` and `namespaceName` make the full paths of the server's objects.
  TCimXmlWriter(TXmlOut& out, std::string host, std::string namespaceName)
      : out_(out), host_(std::move(host)), namespace_(std::move(namespaceName)) {}

  // An element around what follows (VALUE.NAMEDINSTANCE, OBJECTPATH, ...).
  void Open(const char* element) { out_.Open(element); }
  void Close() { out_.Close(); }

  // VALUE, VALUE.ARRAY or VALUE.REFERENCE; nothing for a null.
  void Value(const TCIMValue& value);
  void InstanceName(const TCIMReference& path);
  // INSTANCEPATH: NAMESPACEPATH and INSTANCENAME, in the namespace the path
  // names, else the response's own.
  void InstancePath(const TCIMReference& path);
  void LocalNamespacePath(const std::string& namespaceName);
  // CLASSPATH: NAMESPACEPATH and CLASSNAME.
  void ClassPath(const std::string& className);
  void ClassName(const std::string& className);
  void Instance(ICIMInstance& instance, const TCimObjectOptions& options);
  void Class(ICIMClass& cls, const TCimObjectOptions& options);
  void QualifierDecl(ICIMQualifierDecl& decl);

 private:
  void NamespacePath(const std::string& namespaceName);
  // Opens the element of a property of `decl`'s type with its NAME and
  // TYPE, or REFERENCECLASS, and EmbeddedObject for a string that holds an
  // embedded object or instance.
  void OpenProperty(const boost::shared_ptr<const ICIMPropertyDecl>& decl);
  // What OpenProperty writes as EmbeddedObject for a string declaration:
  // "instance", "object", or nullptr for neither.
  const char* EmbeddedKind(const boost::shared_ptr<const ICIMPropertyDecl>& decl);
  void KeyBinding(const std::string& name, const TCIMValue& value);
  void ReferenceValue(const TCIMReference& path);
  // How the qualifiers of a class's property, method or parameter came to
  // it, for PROPAGATED: an element inherited whole passes on its
  // to-subclass qualifiers (and not its restricted ones); an element the
  // class declares itself to override another holds, propagated, those of
  // the overridden element's to-subclass qualifiers it has unchanged (the
  // repository keeps no mark of them, and cannot tell them from ones the
  // subclass gave again with the same value, which mean the same).
  struct TQualifierOrigin {
    bool inherited;
    const ICIMNamedElement* overridden;  // or nullptr
  };
  // The qualifiers of `element`; with `localOnly`, not those taken over
  // unchanged from a base element.
  void Qualifiers(const ICIMNamedElement& element, bool localOnly, const TQualifierOrigin& origin = {false, nullptr});
  void ScalarText(const TCIMValue& value);

  TXmlOut& out_;
  std::string host_;
  std::string namespace_;
  // EmbeddedKind of the string declarations met so far, at most
  // kKnownEmbedded of them: an enumeration writes the same few again and
  // again, and each would take two qualifier lookups. Held, so that no
  // other declaration can take the address of one a write has dropped.
  static const size_t kKnownEmbedded = 64;
  std::vector<std::pair<boost::shared_ptr<const ICIMPropertyDecl>, const char*>> knownEmbedded_;
};

#endif  // INMEM_SERVER_CIMXML_WRITER_H_
