// TMofWriter: writes what a namespace holds as MOF that the loader reads
// back to the same repository: qualifier declarations, classes (each after
// its superclass and the classes it references) and instances (plain ones
// before associations, which point at them).
//
// Only what a class declares itself is written: inherited declarations and
// qualifiers taken over unchanged from the superclass come back on reload.
// The repository keeps only the type of a reference parameter, not its
// class, and lists a method's parameters by name: with the namespace's
// schema notes (mof/schema_notes.h) parameters are written in their
// declared order, each reference with its class (which is then written
// before the class that refers to it); a method the notes do not know
// keeps the repository's order, and its reference parameters are written
// as references to the method's own class, which reloads to the same
// declaration.

#ifndef INMEM_MOF_MOF_WRITER_H_
#define INMEM_MOF_MOF_WRITER_H_

#include <functional>
#include <ostream>
#include <string>

#include <boost/shared_ptr.hpp>

#include "include/cim_class.h"
#include "include/cim_instance.h"
#include "include/cim_namespace.h"
#include "mof/schema_notes.h"

// A value as a MOF literal: "text" with escapes, 'c', TRUE, NULL, {a, b},
// 1.5, INF. Every value of every type has a literal that the loader reads
// back to an equal value, except strings holding bytes that are not UTF-8
// (each such byte is written as U+FFFD).
std::string MofLiteral(const TCIMValue& value);

class TMofWriter {
 public:
  // `notes`, when given, are those of the namespace written.
  explicit TMofWriter(std::ostream& out, const TSchemaNotes* notes = nullptr) : out_(out), notes_(notes) {}

  // Everything: qualifier declarations, classes and instances (those
  // `keep` and `keepClass` accept, when they are given; a class left out
  // takes its instances along).
  void WriteNamespace(ICIMNamespace& ns, const std::function<bool(ICIMInstance&)>& keep = nullptr,
                      const std::function<bool(ICIMClass&)>& keepClass = nullptr);
  void WriteQualifierDecl(ICIMQualifierDecl& decl);
  // With `showInherited`, inherited members are written too, each marked
  // with a comment naming the class that declares it (for people; the
  // loader would refuse them).
  void WriteClass(ICIMClass& cls, bool showInherited = false);
  void WriteInstance(ICIMInstance& instance);

 private:
  std::ostream& out_;
  const TSchemaNotes* notes_;
};

#endif  // INMEM_MOF_MOF_WRITER_H_
