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
//
// A path is a handle on shared, immutable parts: copying one (into a value,
// out of an instance) costs a reference count, and a change to a copy makes
// that copy's parts its own first. So the reference values of many
// association instances can share one path to their target. Copies
// of one path may be read and copied from several threads at once; a single
// path object is changed by one thread at a time, as any object is. The
// class, the namespace and their names are a head that paths to instances
// of one class share as well (each thread reuses one of the last few heads
// it made when the next path has the same), so a path's own bytes are its
// keys and text.

#ifndef INMEM_CORE_CIM_REFERENCE_H_
#define INMEM_CORE_CIM_REFERENCE_H_

#include <map>
#include <string>
#include <utility>
#include <vector>

#include <boost/shared_ptr.hpp>
#include <boost/weak_ptr.hpp>

class ICIMClass;
class ICIMElement;
class ICIMNamespace;
class TCIMValue;

class TCIMReference {
 public:
  typedef std::pair<std::string, TCIMValue> TKeyBinding;

  TCIMReference() = default;
  // A path resolved through `ns` (may be empty) with the key bindings of
  // `keys`, in the map's order.
  // (The map is a TContext, spelled out: values include this header for
  // their reference content before TContext can be named.)
  TCIMReference(const boost::shared_ptr<ICIMNamespace>& ns,
                const std::map<std::string, TCIMValue>& keys);
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

  const std::string& GetClassName() const;
  const std::string& GetNameSpaceName() const;
  const std::vector<TKeyBinding>& GetKeyBindings() const;
  // The value bound to `name` in any letter case, or nullptr.
  const TCIMValue* FindKeyValue(const std::string& name) const;

  // The class: the object given to SetClass while it lives, else the class
  // of that name in the reference's namespace (the one its namespace name
  // names in TNamespaceDirectory, else the one it was made with); empty when
  // neither is found.
  boost::shared_ptr<ICIMClass> GetClass() const;
  // The namespace given at construction; empty when none was or it is gone.
  boost::shared_ptr<ICIMNamespace> GetNamespace() const;

  std::string GetPath() const { return PathText(); }
  // The same text without a copy, for lookups.
  const std::string& PathText() const;
  // Whether `other` holds the very parts this path holds (a copy of it,
  // neither changed since), not only equal ones.
  bool SharesPartsWith(const TCIMReference& other) const { return rep_ == other.rep_; }
  // Whether `other` is this path in every respect a reader can tell: the
  // same text, class and namespace names and objects, and key bindings of
  // the same names (letter case included) and values (types included,
  // nested paths by this same test), in the same order. Such a path may
  // stand in for this one without anyone noticing.
  bool SameInEveryPart(const TCIMReference& other) const;
  // Hints for a reader about to go through many paths in memory that is
  // likely not in the processor's cache; they change nothing. The first asks
  // for the parts, the second (once those have arrived) for the text.
  void Prefetch() const { __builtin_prefetch(rep_.get()); }
  void PrefetchText() const;

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
    return a.PathText() == b.PathText();
  }
  friend bool operator<(const TCIMReference& a, const TCIMReference& b) {
    return a.PathText() < b.PathText();
  }

 private:
  // The parts of a path; never changed while two paths share them.
  struct THead;
  struct TRep;
  // The parts of a path made with no class, namespace or keys.
  static const TRep& EmptyRep();
  // A head with the parts of `wanted`: one of the last few this thread made
  // when it has the same parts, else a new one.
  static boost::shared_ptr<const THead> HeadLike(const THead& wanted);
  const THead& Head() const;
  // Gives this path's own parts a head like its head with `change` made.
  template <typename F>
  void ChangeHead(const F& change);
  const TRep& Rep() const;
  // The parts, made this path's own first when another path shares them.
  TRep& Mutable();
  void UpdatePath();

  // Null for an empty path, until its first change.
  boost::shared_ptr<TRep> rep_;
};

inline bool operator!=(const TCIMReference& a, const TCIMReference& b) { return !(a == b); }

#include "core/cim_value.h"

struct TCIMReference::THead {
  boost::weak_ptr<ICIMNamespace> ns;
  boost::weak_ptr<ICIMClass> cls;
  std::string className;
  std::string namespaceName;
};

struct TCIMReference::TRep {
  // Never null.
  boost::shared_ptr<const THead> head;
  std::vector<TKeyBinding> keys;
  // The canonical text, rebuilt by every change so that reading it (lookups
  // read it all the time) costs nothing.
  std::string path;
};

inline const TCIMReference::TRep& TCIMReference::Rep() const {
  if (rep_) return *rep_;
  return EmptyRep();
}
inline const TCIMReference::THead& TCIMReference::Head() const { return *Rep().head; }
inline const std::string& TCIMReference::GetClassName() const { return Head().className; }
inline const std::string& TCIMReference::GetNameSpaceName() const { return Head().namespaceName; }
inline const std::vector<TCIMReference::TKeyBinding>& TCIMReference::GetKeyBindings() const {
  return Rep().keys;
}
inline boost::shared_ptr<ICIMNamespace> TCIMReference::GetNamespace() const {
  return Head().ns.lock();
}
inline const std::string& TCIMReference::PathText() const { return Rep().path; }
inline void TCIMReference::PrefetchText() const {
  if (rep_) __builtin_prefetch(rep_->path.data());
}

#endif  // INMEM_CORE_CIM_REFERENCE_H_
