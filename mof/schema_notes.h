// TSchemaNotes: what MOF declares about the methods of a namespace's classes
// that the repository does not keep, held beside that repository: the class
// each reference parameter refers to (a parameter declaration keeps only its
// type) and the order in which a method's parameters were declared (the
// repository lists them by lower-cased name).
//
// The MOF loader writes the notes of every class it enters
// (TMofLoadOptions::notes); whatever writes classes (MOF, CIM-XML, the
// browser's pages) reads them through DeclaredParameters, which falls back
// to the repository's order, with no reference class, for a method the
// notes do not know (a class made in code rather than from MOF).
//
// Invariant: the notes of a class describe the class the repository holds
// under that name now. Whatever deletes a class, or defines it again other
// than through the loader, must call ForgetClass for it: stale notes would
// give a method the parameter order and reference classes of a definition
// that is gone. (The loader forgets a class itself before it notes it
// again.) DeclaredParameters never lists a parameter the method does not
// have, whatever the notes say.
//
// Class and method names compare in any letter case, as the repository's do.
//
// Not thread-safe: like the repository it sits beside, one thread uses it.

#ifndef INMEM_MOF_SCHEMA_NOTES_H_
#define INMEM_MOF_SCHEMA_NOTES_H_

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include <boost/shared_ptr.hpp>

class ICIMMethodDecl;
class ICIMParameterDecl;

class TSchemaNotes {
 public:
  // One parameter as MOF declared it.
  struct TParameter {
    std::string name;
    // For a reference parameter, the class it refers to; empty otherwise.
    std::string referenceClass;
  };

  // Notes the parameters of `className`.`methodName`, in declared order, in
  // place of what was noted for that method before.
  void NoteMethod(const std::string& className, const std::string& methodName,
                  std::vector<TParameter> parameters);
  // The parameters noted for the method, in declared order; nullptr when
  // nothing is noted for it.
  const std::vector<TParameter>* Method(std::string_view className, std::string_view methodName) const;
  // The classes that the noted reference parameters of `className` refer to.
  std::vector<std::string> ReferencedClasses(std::string_view className) const;
  // Drops every note of `className`: it was deleted or is defined again.
  void ForgetClass(std::string_view className);

 private:
  struct TFolded {
    using is_transparent = void;
    bool operator()(std::string_view a, std::string_view b) const;
  };
  typedef std::map<std::string, std::vector<TParameter>, TFolded> TMethods;
  std::map<std::string, TMethods, TFolded> classes_;
};

// A parameter of a method as the writers of classes show it.
struct TDeclaredParameter {
  boost::shared_ptr<ICIMParameterDecl> decl;
  // The class a reference parameter refers to; empty when not known (or
  // not a reference).
  std::string referenceClass;
};

// The parameters of `method` in the order its MOF declared them, with the
// classes its reference parameters refer to, as `notes` (of the method's
// namespace) have them; the parameters the notes do not name follow in the
// repository's order. Without notes for the method: the repository's
// order, no reference classes.
std::vector<TDeclaredParameter> DeclaredParameters(const ICIMMethodDecl& method, const TSchemaNotes* notes);

#endif  // INMEM_MOF_SCHEMA_NOTES_H_
