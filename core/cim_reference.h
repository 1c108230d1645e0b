// TCIMReference: a CIM object path.
//
// A path names a class, optionally the namespace it is seen in, and one
// binding per key property. The class and the namespace are held weakly:
// references live inside property values, and a value must never keep a
// class or a namespace alive. The class name is kept as text as well, so a
// path still names its class after that class is gone, and a path can name a
// class that is not at hand at all (SetClassName).
//
// Path text (GetPath) is canonical, so that two paths to the same object give
// the same text whatever the letter case of the names and the order of keys:
//   [namespace:]classname[.key1=value1,key2=value2]
// Class and key names are lower-cased, keys sorted by that lower-cased name;
// strings, char16 values and datetimes are double-quoted with '"' and '\'
// escaped by a backslash; booleans are TRUE / FALSE, integers decimal, reals
// in their shortest exact text with a point or an exponent always present
// (so that a real never reads back as an integer: "-0.0", "1e+20", "nan"),
// a null key NULL, a reference key its own path quoted and escaped, an array
// key "{v1,v2}". The namespace name keeps its letter case. Parse reads this
// text back to an equal path, with or without the classes to type the keys.
//
// Key bindings keep the order in which they were added; adding a key whose
// name equals an existing one in any letter case replaces its value.

#ifndef INMEM_CORE_CIM_REFERENCE_H_
#define INMEM_CORE_CIM_REFERENCE_H_

#include <string>
#include <utility>
#include <vector>

#include <boost/shared_ptr.hpp>
#include <boost/weak_ptr.hpp>

#include "core/cim_value.h"
#include "core/context.h"

class ICIMClass;
class ICIMElement;
class ICIMNamespace;

class TCIMReference {
 public:
  typedef std::pair<std::string, TCIMValue> TKeyBinding;

  TCIMReference() = default;
  // A path resolved through `ns` (may be empty) with the key bindings of
  // `keys`, in the map's order.
  TCIMReference(const boost::shared_ptr<ICIMNamespace>& ns, const TContext& keys);
  // A path to an instance of `cls` (may be empty) seen in the namespace
  // named `namespaceName`, with `keys` in their order; no two key names may
  // be equal in any letter case. The same path as SetClass,
  // SetNameSpaceName and one AddKeyValue per key give, made in one step.
  TCIMReference(const boost::shared_ptr<ICIMClass>& cls, const std::string& namespaceName,
                std::vector<TKeyBinding> keys);

  // Names the class by object (weakly) and by its current name.
  void SetClass(const boost::shared_ptr<ICIMClass>& cls);
  // Names a class by text only, dropping any class object.
  void SetClassName(const std::string& name);
  void SetNameSpaceName(const std::string& name);
  void AddKeyValue(const std::string& name, const TCIMValue& value);

  const std::string& GetClassName() const { return className_; }
  const std::string& GetNameSpaceName() const { return namespaceName_; }
  const std::vector<TKeyBinding>& GetKeyBindings() const { return keys_; }
  // The value bound to `name` in any letter case, or nullptr.
  const TCIMValue* FindKeyValue(const std::string& name) const;

  // The class: the object given to SetClass while it lives, else the class
  // of that name in the reference's namespace (the one its namespace name
  // names in TNamespaceDirectory, else the one it was made with); empty when
  // neither is found.
  boost::shared_ptr<ICIMClass> GetClass() const;
  // The namespace given at construction; empty when none was or it is gone.
  boost::shared_ptr<ICIMNamespace> GetNamespace() const { return namespace_.lock(); }

  std::string GetPath() const { return path_; }
  // The same text without a copy, for lookups.
  const std::string& PathText() const { return path_; }

  // The namespace GetCIMElement asks: the one the reference's namespace name
  // names in TNamespaceDirectory, else the reference's own, else its class's
  // (empty when none is at hand).
  boost::shared_ptr<ICIMNamespace> ResolvingNamespace() const;

  // The instance this path names, looked up with GetInstance of the
  // reference's namespace, or without one of its class's namespace; in a
  // namespace TNamespaceDirectory knows by the path's namespace name, under
  // the path without that name, as instances are filed there. A path
  // without a class, without a namespace to ask, or naming no instance throws
  // TTYLException(kStatusNotFound). The flag is accepted for the interface's
  // sake and not used.
  boost::shared_ptr<ICIMElement> GetCIMElement(bool flag) const;

  // Reads path text as GetPath writes it; names in any letter case, keys in
  // any order. With `ns`, the reference resolves through it, a class found
  // there is attached, and key values take the types of that class's key
  // declarations (a quoted text becomes a datetime, a char16 or a nested
  // reference where the key is declared so). Malformed text logs where and
  // why at level 3 and throws TTYLException(kStatusInvalidParameter).
  static TCIMReference Parse(const std::string& text,
                             const boost::shared_ptr<ICIMNamespace>& ns);
  // The same without a log line: false, with where and why in *error
  // ("at position 8: expected a key value").
  static bool TryParse(const std::string& text, const boost::shared_ptr<ICIMNamespace>& ns,
                       TCIMReference* path, std::string* error);

  // One key binding seen from outside a path: the key's name and value.
  typedef std::pair<const std::string*, const TCIMValue*> TKeyView;
  // The text GetPath would give for a path with these parts, for a caller
  // that needs only the text: no path is built. Reorders `keys`.
  static std::string PathTextOf(const std::string& namespaceName, const std::string& className,
                                TKeyView* keys, size_t count);

  // The length of the text GetPath would give for a path with these parts,
  // counted without building it. Path texts grow with nesting (each level
  // quotes and escapes the text of the path it holds as a key), so a caller
  // that builds paths from untrusted input checks their length first.
  static size_t PathTextLength(const std::string& namespaceName, const std::string& className,
                               const std::vector<TKeyBinding>& keys);
  // The length of this path's text as a key value of another path: quoted,
  // with its quotes and backslashes escaped.
  size_t QuotedPathLength() const;

  friend bool operator==(const TCIMReference& a, const TCIMReference& b) {
    return a.path_ == b.path_;
  }
  friend bool operator<(const TCIMReference& a, const TCIMReference& b) {
    return a.path_ < b.path_;
  }

 private:
  boost::weak_ptr<ICIMNamespace> namespace_;
  boost::weak_ptr<ICIMClass> class_;
  std::string className_;
  std::string namespaceName_;
  std::vector<TKeyBinding> keys_;
  // The canonical text, rebuilt by every change so that reading it (lookups
  // read it all the time) costs nothing and stays safe for concurrent readers.
  std::string path_;

  void UpdatePath();
};

inline bool operator!=(const TCIMReference& a, const TCIMReference& b) { return !(a == b); }

#endif  // INMEM_CORE_CIM_REFERENCE_H_
