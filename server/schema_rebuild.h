// TSchemaRebuild: a change to a namespace's schema that the repository has
// no operation for (a class changed or deleted, a qualifier declaration
// changed or deleted), made by building the namespace again aside.
//
// The namespace is written out as MOF (through TMofWriter, the classes and
// instances the filters keep), read back into productions, changed, and
// entered production by production into a new, empty repository. Only when
// every production enters does the caller swap the new repository in, so a
// refused change leaves the namespace exactly as it was; when one does not
// enter, Build names it and why, for the caller to say which rule the
// change breaks (a subclass that no longer fits, an instance, a use of a
// qualifier).
//
// A rebuild costs a whole reload of the namespace (docs/server.md gives the
// figure for the DMTF schema). Not thread-safe; one per change.

#ifndef INMEM_SERVER_SCHEMA_REBUILD_H_
#define INMEM_SERVER_SCHEMA_REBUILD_H_

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "include/cim_class.h"
#include "include/cim_instance.h"
#include "include/cim_namespace.h"
#include "mof/mof_ast.h"
#include "mof/mof_loader.h"

class TSchemaRebuild {
 public:
  // Reads `ns` (with `notes`, its schema notes): every qualifier
  // declaration, and the classes and instances the filters keep (all when
  // a filter is empty).
  TSchemaRebuild(ICIMNamespace& ns, const TSchemaNotes& notes, const std::function<bool(ICIMClass&)>& keepClass,
                 const std::function<bool(ICIMInstance&)>& keepInstance);

  // Puts `cls` (a class production) in place of the class of its name;
  // false when there is none.
  bool ReplaceClass(const TMofProduction& cls);
  // Puts `decl` in place of the qualifier declaration of its name, or takes
  // that declaration out (RemoveQualifierDecl); false when there is none.
  bool ReplaceQualifierDecl(const TMofProduction& decl);
  bool RemoveQualifierDecl(const std::string& name);

  // The production that did not enter, and the loader's reason.
  struct TFailure {
    TMofProduction production;
    std::string reason;
  };
  // Enters every production into `fresh` (empty), noting in `freshNotes`
  // what the repository does not keep, classes each after the
  // classes it needs; the first that does not enter ends the build, and so
  // does the first warning that `refuses` (when given) holds against the
  // production it came with (the repository enters a subclass whose
  // overrides no longer match, with a warning).
  std::optional<TFailure> Build(
      const boost::shared_ptr<ICIMNamespace>& fresh, TSchemaNotes* freshNotes,
      const std::function<bool(const TMofProduction&, const std::string& warning)>& refuses = nullptr);

 private:
  // Orders the class productions so that each comes after its superclass
  // and the classes its references and reference parameters name.
  void OrderClasses();

  std::vector<TMofProduction> productions_;
};

#endif  // INMEM_SERVER_SCHEMA_REBUILD_H_
