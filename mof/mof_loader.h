// TMofLoader: enters MOF into a repository namespace through the element
// interfaces, in the order a host must: qualifier declarations; for each
// class, the class under its superclass, its qualifiers, its property and
// method declarations (each with its qualifiers, added before AddToClass),
// then Validate and AddToNamespace; for each instance, AllocateInstance,
// SetPropertyValue, a validation, then AddToNamespace.
//
// Every problem becomes a diagnostic that names the file, line and column:
// errors (the element is not entered: nothing of it reaches the namespace),
// warnings (the repository logged a refusal but went on, e.g. a property
// declared again without OVERRIDE) and notes (pragmas that change nothing,
// the keyless-class policy below). An error names what was expected, or
// which repository rule refused the element: its status text and the log
// line that came with it. The lines the repository logs while an element
// loads are kept in these diagnostics and not passed on to the core's
// logger, so that each problem reaches the user once.
//
// A property that overrides an inherited one takes over the inherited
// declaration's to-subclass qualifiers that its MOF does not give again
// (KEY above all), as CIM means it; the repository itself looks qualifiers up
// on each declaration alone.
//
// Policy for concrete classes without a key (the repository refuses them
// with status 7): they are entered all the same, without the key check, with
// a note. The schema has many (indications, for one) and they are needed as
// superclasses and association ends; their instances can still be filed.
//
// Bounds, since MOF may come from anyone: includes nest at most 64 files
// deep, one load reads at most 16384 files (a file included again is read
// again and counts again, so that a few small files including each other
// twice over cannot make a load run for ever; reaching the bound ends the
// load, keepGoing or not), a class has at most 256 ancestors (besides the
// root class), and a file has at most 256 MiB. Aliases are bounded too: a
// use of `$name` copies the path of the instance it names, and a path with
// an alias as its key holds that path quoted and escaped, so a chain of
// instances keyed by the one before doubles its backslashes at every link:
// a kilobyte of MOF could ask for gigabytes. The path texts that alias uses
// bring (counted as quoted) may take at most kAliasTextFactor times the
// bytes of MOF read so far, and kAliasTextFloor more; a use past that is an
// error.
//
// What MOF says of a class's methods that the repository does not keep
// (the class of a reference parameter, the order of the parameters) goes
// to the schema notes of the namespace, when the options name them, once
// the class is entered.
//
// By default loading stops at the first error; with `keepGoing` it skips
// the element and goes on, to report every error.

#ifndef INMEM_MOF_MOF_LOADER_H_
#define INMEM_MOF_MOF_LOADER_H_

#include <functional>
#include <map>
#include <string>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "include/cim_namespace.h"
#include "include/cim_named_element.h"
#include "mof/mof_ast.h"
#include "mof/schema_notes.h"

// One MOF file as a reader hands it to the loader.
struct TMofFile {
  // The same for every path that leads to this file (include cycles are
  // found by it): the real path of a file on disk.
  std::string identity;
  std::string text;
};

// Reads the MOF file at `path`. False when it cannot: with an empty *error
// when there is no such file (an include then looks in the next place),
// otherwise with the reason (a folder, too large, not readable).
typedef std::function<bool(const std::string& path, TMofFile* file, std::string* error)>
    TMofFileReader;

// The largest MOF file the loader reads from disk.
constexpr size_t kMaxMofFileBytes = 256u << 20;

// Reads a regular file (or a pipe) of at most `maxBytes` from disk.
bool ReadMofFile(const std::string& path, TMofFile* file, std::string* error,
                 size_t maxBytes = kMaxMofFileBytes);

struct TMofLoadOptions {
  // Where "#pragma include" looks after the including file's own folder.
  std::vector<std::string> includePaths;
  // How files are read; empty: ReadMofFile, from disk.
  TMofFileReader readFile;
  bool keepGoing = false;
  // Classes already in the namespace may be given again (for a namespace
  // created with redefinition allowed); otherwise that is an error.
  bool allowRedefinition = false;
  // A qualifier declaration whose name the namespace declares already is
  // left out (with a note) and the namespace's stays; otherwise that is an
  // error. For a schema that brings its own declarations and is loaded
  // beside another (the inventory schema beside the CIM schema).
  bool keepDeclaredQualifiers = false;
  // The same for classes: a class the namespace defines already is left out
  // (with a note). For a schema bundled as a fallback, loaded after what
  // the user gave.
  bool keepDefinedClasses = false;
  // Where `#pragma namespace("name")` sends the productions that follow it
  // (up to the next such pragma; each load starts in the loader's own
  // namespace): the namespace of that name, or empty with the reason in
  // *why. Without it, the pragma changes nothing (a note).
  std::function<boost::shared_ptr<ICIMNamespace>(const std::string& name, std::string* why)> namespaceFor;
  // Where the loader notes, for each class it enters, what the repository
  // does not keep of its methods (mof/schema_notes.h): the notes of the
  // loader's own namespace, and `notesFor` those of a namespace a pragma
  // chose (by the name the pragma gave). Nothing is noted where either
  // gives nullptr.
  TSchemaNotes* notes = nullptr;
  std::function<TSchemaNotes*(const std::string& name)> notesFor;
  // Which productions are entered: all when empty. The others are read (a
  // syntax error is still an error) and left out without a word; pragmas
  // always act. Loading a file twice, classes first and instances after,
  // lets another file's classes come in between.
  std::function<bool(const TMofProduction&)> only;
};

struct TMofDiagnostic {
  enum ESeverity { kError, kWarning, kNote };
  ESeverity severity = kError;
  TMofLocation location;
  std::string message;

  // "file:line:column: error: message", then the line and a caret under the
  // column.
  std::string Format() const;
  // "error", "warning" or "note".
  const char* SeverityName() const;
};

struct TMofLoadCounts {
  int qualifierDecls = 0;
  int classes = 0;
  int keylessClasses = 0;  // entered by the keyless-class policy
  int instances = 0;
  int files = 0;
};

class TMofLoader {
 public:
  TMofLoader(boost::shared_ptr<ICIMNamespace> ns, TMofLoadOptions options = TMofLoadOptions());

  // The most errors a loader reports. The next one ends the load that
  // meets it, and every later load at its first error: MOF of some
  // megabytes can hold millions of errors.
  static constexpr int kMaxErrors = 1000;
  // The bound on the path texts that alias uses bring (above).
  static constexpr size_t kAliasTextFactor = 16;
  static constexpr size_t kAliasTextFloor = 1u << 20;

  // Loads a file and what it includes; true when no error was reported.
  bool LoadFile(const std::string& path);
  // Loads MOF text as if read from a file named `name`.
  bool LoadText(const std::string& name, const std::string& text);
  // Enters one qualifier declaration, class or instance that a host read
  // from another representation than MOF text, by the same rules and with
  // the same diagnostics (a pragma is ignored). Its locations must name a
  // source.
  bool Enter(const TMofProduction& production);

  const std::vector<TMofDiagnostic>& Diagnostics() const { return diagnostics_; }
  int ErrorCount() const;
  const TMofLoadCounts& Counts() const { return counts_; }

 private:
  class TLoadStopped {};  // unwinds a load that stops at its first error

  // A file being loaded: the chain of them is the chain of includes.
  struct TOpenFile {
    std::string identity;
    std::shared_ptr<const TMofSource> source;
    TMofLocation includedAt;  // the pragma that included it; none for the first
  };
  static constexpr size_t kMaxIncludeDepth = 64;
  static constexpr int kMaxFilesPerLoad = 16384;
  static constexpr size_t kMaxInheritanceDepth = 256;

  // Runs one load (LoadFile, LoadText); true when it reported no error.
  template <typename F>
  bool Load(F load);
  bool ReadFile(const std::string& path, TMofFile* file, std::string* error);
  void LoadSource(const TMofFile& file, const std::string& path, const TMofLocation& includedAt);
  // Enters one production of either kind (a pragma may include a file).
  void LoadProduction(const TMofProduction& production);
  // A pragma: include reads a file, namespace may switch namespaces, the
  // rest change nothing.
  void Pragma(const TMofPragma& pragma);
  void Include(const TMofPragma& pragma);
  void LoadQualifierDecl(const TMofQualifierDecl& decl);
  void LoadClass(const TMofClass& cls);
  // Throws for the second of two items (features of a class, values of an
  // instance) of one kind whose names differ at most in letter case.
  template <typename Item, typename KindOf>
  void RefuseRepeatedNames(const std::vector<Item>& items, const std::string& where, KindOf kindOf);
  void LoadInstance(const TMofInstance& instance);
  void AddFeature(const boost::shared_ptr<ICIMClass>& owner, const TMofFeature& feature);
  void Qualify(ICIMNamedElement& element, const std::vector<TMofQualifier>& qualifiers);
  void InheritQualifiers(ICIMClass& cls, const TMofFeature& feature, ICIMPropertyDecl& decl);
  boost::shared_ptr<ICIMClass> FindClass(const std::string& name, const TMofLocation& where,
                                         const std::string& role);
  TCIMValue Convert(const TMofValue& value, ECIMType type,
                    const boost::shared_ptr<ICIMClass>& refClass);
  TCIMValue ConvertScalar(const TMofValue& value, ECIMType type,
                          const boost::shared_ptr<ICIMClass>& refClass);
  void Report(TMofDiagnostic::ESeverity severity, const TMofLocation& where,
              const std::string& message);
  // Runs one element's load; a TMofError or refusal becomes an error.
  template <typename F>
  void Guard(const TMofLocation& where, const std::string& what, F load);

  // Notes what the class `c`, just entered, declared of its methods in
  // place of what was noted of that class before.
  void NoteMethods(const TMofClass& c);

  // The namespace productions go to: home_, or the one a namespace pragma
  // chose; and its notes (none when nullptr).
  boost::shared_ptr<ICIMNamespace> ns_;
  boost::shared_ptr<ICIMNamespace> home_;
  TSchemaNotes* notes_ = nullptr;
  TMofLoadOptions options_;
  std::vector<TMofDiagnostic> diagnostics_;
  int errors_ = 0;  // reported, up to kMaxErrors
  TMofLoadCounts counts_;
  std::map<std::string, TCIMReference> aliases_;
  std::vector<TOpenFile> includes_;
  int filesLeft_ = 0;  // of the load under way
  size_t sourceBytes_ = 0;     // of MOF read by this loader
  size_t aliasTextBytes_ = 0;  // brought in by alias uses
};

#endif  // INMEM_MOF_MOF_LOADER_H_
