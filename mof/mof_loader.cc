#include "mof/mof_loader.h"

#include <strings.h>

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <limits>
#include <sstream>
#include <string_view>

#include "core/ascii.h"
#include "core/log_capture.h"
#include "core/printable_text.h"
#include "core/root_object.h"
#include "core/tyl_exception.h"
#include "core/utf8.h"
#include "include/cim_class.h"
#include "include/cim_instance.h"
#include "include/cim_method_decl.h"
#include "include/cim_parameter_decl.h"
#include "include/cim_property_decl.h"
#include "include/cim_qualifier.h"
#include "mof/mof_parser.h"

namespace {

bool Is(const std::string& word, const char* keyword) {
  return strcasecmp(word.c_str(), keyword) == 0;
}

std::string Folder(const std::string& path) {
  size_t slash = path.rfind('/');
  return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

// The bits of flavor names, applied over `flavor`.
uint32_t ApplyFlavors(uint32_t flavor, const std::vector<std::string>& names) {
  for (const std::string& name : names) {
    if (Is(name, "EnableOverride")) {
      flavor = (flavor | ICIMQualifierDecl::kFlavorEnableOverride) &
               ~static_cast<uint32_t>(ICIMQualifierDecl::kFlavorDisableOverride);
    } else if (Is(name, "DisableOverride")) {
      flavor = (flavor | ICIMQualifierDecl::kFlavorDisableOverride) &
               ~static_cast<uint32_t>(ICIMQualifierDecl::kFlavorEnableOverride);
    } else if (Is(name, "ToSubclass")) {
      flavor = (flavor | ICIMQualifierDecl::kFlavorToSubclass) &
               ~static_cast<uint32_t>(ICIMQualifierDecl::kFlavorRestricted);
    } else if (Is(name, "Restricted")) {
      flavor = (flavor | ICIMQualifierDecl::kFlavorRestricted) &
               ~static_cast<uint32_t>(ICIMQualifierDecl::kFlavorToSubclass);
    } else if (Is(name, "Translatable")) {
      flavor |= ICIMQualifierDecl::kFlavorTranslatable;
    } else if (Is(name, "ToInstance")) {
      flavor |= ICIMQualifierDecl::kFlavorToInstance;
    }
  }
  return flavor;
}

bool ScopeBits(const std::string& name, uint32_t* bits) {
  static const std::pair<const char*, uint32_t> kScopes[] = {
      {"class", ICIMQualifierDecl::kScopeClass},
      {"association", ICIMQualifierDecl::kScopeAssociation},
      {"indication", ICIMQualifierDecl::kScopeIndication},
      {"property", ICIMQualifierDecl::kScopeProperty},
      {"reference", ICIMQualifierDecl::kScopeReference},
      {"method", ICIMQualifierDecl::kScopeMethod},
      {"parameter", ICIMQualifierDecl::kScopeParameter},
      {"qualifier", ICIMQualifierDecl::kScopeQualifier},
      {"any", ICIMQualifierDecl::kScopeAny},
  };
  for (const auto& scope : kScopes) {
    if (Is(name, scope.first)) {
      *bits |= scope.second;
      return true;
    }
  }
  return false;
}

enum class EIntegerText { kRead, kNotAnInteger, kTooLarge };

// Reads an integer literal: decimal, 0x hexadecimal, leading-0 octal or
// binary with a b suffix, with an optional sign. kTooLarge for a literal
// whose magnitude needs more than 64 bits.
EIntegerText ReadInteger(const std::string& text, bool* negative, uint64_t* magnitude) {
  std::string_view s = text;
  *negative = false;
  if (!s.empty() && (s[0] == '-' || s[0] == '+')) {
    *negative = s[0] == '-';
    s.remove_prefix(1);
  }
  int base = 10;
  if (s.size() > 1 && (s.back() == 'b' || s.back() == 'B') &&
      s.find_first_not_of("01", 0) == s.size() - 1) {
    base = 2;
    s.remove_suffix(1);
  } else if (s.size() > 2 && s[0] == '0' && (s[1] == 'x' || s[1] == 'X')) {
    base = 16;
    s.remove_prefix(2);
  } else if (s.size() > 1 && s[0] == '0') {
    base = 8;
    s.remove_prefix(1);
  }
  if (s.empty()) return EIntegerText::kNotAnInteger;
  std::from_chars_result r = std::from_chars(s.data(), s.data() + s.size(), *magnitude, base);
  if (r.ptr != s.data() + s.size()) return EIntegerText::kNotAnInteger;
  return r.ec == std::errc() ? EIntegerText::kRead : EIntegerText::kTooLarge;
}

TMofError OutOfRange(const TMofValue& value, ECIMType type) {
  return TMofError(value.location, Printable(value.text) + " is out of range for " + CIMTypeName(type));
}

// A real literal ("1.5e3", "-0.0", "INF", "-INF", "NaN", or decimal digits)
// as a value of `type` (real32 or real64). A number beyond the type's range
// is refused, never made infinite.
TCIMValue ReadReal(const TMofValue& value, ECIMType type) {
  std::string_view s = value.text;
  if (!s.empty() && s[0] == '+') s.remove_prefix(1);
  std::from_chars_result r;
  TCIMValue result;
  if (type == kCIMTypeReal32) {
    float real = 0;
    r = std::from_chars(s.data(), s.data() + s.size(), real);
    result = TCIMValue(real);
  } else {
    double real = 0;
    r = std::from_chars(s.data(), s.data() + s.size(), real);
    result = TCIMValue(real);
  }
  if (r.ptr != s.data() + s.size() || s.empty()) {
    throw TMofError(value.location, "\"" + Printable(value.text) + "\" is not a number");
  }
  if (r.ec != std::errc()) throw OutOfRange(value, type);
  return result;
}

}  // namespace

const char* TMofDiagnostic::SeverityName() const {
  switch (severity) {
    case kError: return "error";
    case kWarning: return "warning";
    default: return "note";
  }
}

std::string TMofDiagnostic::Format() const {
  std::string text;
  if (location.source) {
    text = Printable(location.source->path) + ":" + std::to_string(location.line) + ":" +
           std::to_string(location.column) + ": ";
  }
  text += std::string(SeverityName()) + ": " + message;
  if (location.source && location.line > 0) {
    // A window of the line around the column: a line may be megabytes long
    // and hold any byte.
    TExcerpt excerpt = ExcerptAround(location.source->Line(location.line),
                                     static_cast<size_t>(std::max(location.column, 1) - 1));
    text += "\n    " + excerpt.text + "\n    " + excerpt.padding + "^";
  }
  return text;
}

bool ReadMofFile(const std::string& path, TMofFile* file, std::string* error, size_t maxBytes) {
  error->clear();
  struct stat status;
  if (stat(path.c_str(), &status) != 0) {
    if (errno != ENOENT && errno != ENOTDIR) *error = path + ": " + std::strerror(errno);
    return false;
  }
  if (S_ISDIR(status.st_mode)) {
    *error = path + " is a folder, not a MOF file";
    return false;
  }
  if (!S_ISREG(status.st_mode) && !S_ISFIFO(status.st_mode)) {
    *error = path + " is not a regular file";
    return false;
  }
  std::string tooLarge = maxBytes >= (1u << 20)
                             ? path + " is larger than " + std::to_string(maxBytes >> 20) + " MiB"
                             : path + " is larger than " + std::to_string(maxBytes) + " bytes";
  if (static_cast<uint64_t>(status.st_size) > maxBytes) {
    *error = tooLarge;
    return false;
  }
  std::ifstream in(path, std::ios::binary);
  if (!in) {
    *error = path + ": " + std::strerror(errno);
    return false;
  }
  // A pipe says nothing of its size: read in pieces, up to the limit. A
  // file's text takes its room at once (a snapshot can be a gigabyte or two).
  std::string text;
  if (S_ISREG(status.st_mode)) text.reserve(static_cast<size_t>(status.st_size));
  char buffer[1 << 16];
  while (in.read(buffer, sizeof buffer) || in.gcount() > 0) {
    text.append(buffer, static_cast<size_t>(in.gcount()));
    if (text.size() > maxBytes) {
      *error = tooLarge;
      return false;
    }
  }
  if (in.bad()) {
    *error = path + ": read error";
    return false;
  }
  char* real = realpath(path.c_str(), nullptr);
  file->identity = real != nullptr ? real : path;
  std::free(real);
  file->text = std::move(text);
  return true;
}

TMofLoader::TMofLoader(boost::shared_ptr<ICIMNamespace> ns, TMofLoadOptions options)
    : ns_(ns), home_(std::move(ns)), options_(std::move(options)) {}

int TMofLoader::ErrorCount() const {
  int errors = 0;
  for (const TMofDiagnostic& d : diagnostics_) errors += d.severity == TMofDiagnostic::kError;
  return errors;
}

void TMofLoader::Report(TMofDiagnostic::ESeverity severity, const TMofLocation& where,
                        const std::string& message) {
  if (severity != TMofDiagnostic::kError) {
    diagnostics_.push_back(TMofDiagnostic{severity, where, message});
    return;
  }
  if (errors_ == kMaxErrors) {
    diagnostics_.push_back(TMofDiagnostic{
        severity, where, "more than " + std::to_string(kMaxErrors) + " errors: loading stops here"});
    throw TLoadStopped();
  }
  ++errors_;
  diagnostics_.push_back(TMofDiagnostic{severity, where, message});
  if (!options_.keepGoing) throw TLoadStopped();
}

bool TMofLoader::ReadFile(const std::string& path, TMofFile* file, std::string* error) {
  return options_.readFile ? options_.readFile(path, file, error) : ReadMofFile(path, file, error);
}

template <typename F>
bool TMofLoader::Load(F load) {
  int before = ErrorCount();
  filesLeft_ = kMaxFilesPerLoad;
  ns_ = home_;
  notes_ = options_.notes;
  try {
    load();
  } catch (const TLoadStopped&) {
  }
  return ErrorCount() == before;
}

bool TMofLoader::LoadFile(const std::string& path) {
  return Load([&] {
    TMofFile file;
    std::string error;
    if (ReadFile(path, &file, &error)) {
      LoadSource(file, path, TMofLocation());
    } else {
      Report(TMofDiagnostic::kError, TMofLocation(),
             error.empty() ? "cannot read " + Printable(path) + ": no such file" : Printable(error));
    }
  });
}

bool TMofLoader::LoadText(const std::string& name, const std::string& text) {
  return Load([&] { LoadSource(TMofFile{name, text}, name, TMofLocation()); });
}

bool TMofLoader::Enter(const TMofProduction& production) {
  return Load([&] {
    if (production.kind != TMofProduction::kPragma) LoadProduction(production);
  });
}

void TMofLoader::LoadProduction(const TMofProduction& production) {
  if (options_.only && production.kind != TMofProduction::kPragma && !options_.only(production)) return;
  switch (production.kind) {
    case TMofProduction::kPragma:
      Pragma(production.pragma);
      break;
    case TMofProduction::kQualifierDecl:
      LoadQualifierDecl(production.qualifierDecl);
      break;
    case TMofProduction::kClass:
      LoadClass(production.cls);
      break;
    case TMofProduction::kInstance:
      LoadInstance(production.instance);
      break;
  }
}

void TMofLoader::LoadSource(const TMofFile& file, const std::string& path,
                            const TMofLocation& includedAt) {
  ++counts_.files;
  --filesLeft_;
  sourceBytes_ += file.text.size();
  auto source = std::make_shared<const TMofSource>(path, file.text);
  includes_.push_back(TOpenFile{file.identity, source, includedAt});
  // Popped however the load ends, a stopped load included.
  struct TPop {
    std::vector<TOpenFile>* files;
    ~TPop() { files->pop_back(); }
  } pop{&includes_};
  TMofParser parser(source);
  TMofProduction production;
  while (true) {
    try {
      if (!parser.Next(&production)) return;
    } catch (const TMofError& e) {
      Report(TMofDiagnostic::kError, e.location, e.what());
      parser.Recover();
      continue;
    }
    LoadProduction(production);
  }
}

namespace {

std::string Where(const TMofLocation& location) {
  return Printable(location.source->path) + ":" + std::to_string(location.line) + ":" +
         std::to_string(location.column);
}

}  // namespace

void TMofLoader::Pragma(const TMofPragma& pragma) {
  if (Is(pragma.name, "include")) return Include(pragma);
  if (Is(pragma.name, "namespace") && options_.namespaceFor) {
    std::string why;
    boost::shared_ptr<ICIMNamespace> ns = options_.namespaceFor(pragma.parameter, &why);
    if (!ns) {
      Report(TMofDiagnostic::kError, pragma.location,
             "#pragma namespace (\"" + Printable(pragma.parameter) + "\"): " + Printable(why));
      return;
    }
    ns_ = std::move(ns);
    notes_ = options_.notesFor ? options_.notesFor(pragma.parameter) : nullptr;
    return;
  }
  const bool known = Is(pragma.name, "locale") || Is(pragma.name, "namespace");
  Report(TMofDiagnostic::kNote, pragma.location,
         "#pragma " + Printable(pragma.name) + " (\"" + Printable(pragma.parameter) + "\") " +
             (known ? "is accepted and changes nothing" : "is not known and is ignored"));
}

void TMofLoader::Include(const TMofPragma& pragma) {
  if (includes_.size() > kMaxIncludeDepth) {
    Report(TMofDiagnostic::kError, pragma.location,
           "includes nest deeper than " + std::to_string(kMaxIncludeDepth) + " files");
    return;
  }
  if (filesLeft_ <= 0) {
    Report(TMofDiagnostic::kError, pragma.location,
           "one load reads at most " + std::to_string(kMaxFilesPerLoad) +
               " files (a file included again counts again); the load ends here");
    throw TLoadStopped();
  }
  std::vector<std::string> candidates;
  if (!pragma.parameter.empty() && pragma.parameter[0] == '/') {
    candidates.push_back(pragma.parameter);
  } else {
    candidates.push_back(Folder(pragma.location.source->path) + pragma.parameter);
    for (const std::string& dir : options_.includePaths) {
      candidates.push_back(dir + (dir.empty() || dir.back() == '/' ? "" : "/") + pragma.parameter);
    }
  }
  const std::string included = "included file \"" + Printable(pragma.parameter) + "\"";
  for (const std::string& candidate : candidates) {
    TMofFile file;
    std::string error;
    if (!ReadFile(candidate, &file, &error)) {
      if (error.empty()) continue;  // not there: the next place
      Report(TMofDiagnostic::kError, pragma.location,
             "cannot read " + included + ": " + Printable(error));
      return;
    }
    for (size_t first = 0; first < includes_.size(); ++first) {
      if (includes_[first].identity != file.identity) continue;
      // The chain of includes from that file back to itself.
      std::string chain;
      for (size_t i = first + 1; i < includes_.size(); ++i) {
        chain += Where(includes_[i].includedAt) + " includes " +
                 Printable(includes_[i].source->path) + ", ";
      }
      Report(TMofDiagnostic::kError, pragma.location,
             "include cycle: " + chain + Where(pragma.location) + " includes " +
                 Printable(includes_[first].source->path) + " again");
      return;
    }
    LoadSource(file, candidate, pragma.location);
    return;
  }
  std::string searched;
  for (const std::string& candidate : candidates) searched += "\n      " + Printable(candidate);
  Report(TMofDiagnostic::kError, pragma.location, "cannot read " + included + "; looked for:" + searched);
}

template <typename F>
void TMofLoader::Guard(const TMofLocation& where, const std::string& what, F load) {
  TLogCapture capture;
  std::string failure;
  TMofLocation failureAt = where;
  try {
    load();
  } catch (const TMofError& e) {
    failure = e.what();
    failureAt = e.location;
  } catch (const TTYLException& e) {
    failure = what + " refused by the repository: " + e.what() + " (status " +
              std::to_string(e.GetStatusCode()) + ")";
    for (const TLogCapture::TLine& line : capture.Lines()) {
      failure += "; logged: \"" + Printable(line.second) + "\"";
    }
  }
  if (failure.empty()) {
    for (const TLogCapture::TLine& line : capture.Lines()) {
      diagnostics_.push_back(
          TMofDiagnostic{TMofDiagnostic::kWarning, where, what + ": " + Printable(line.second)});
    }
    return;
  }
  Report(TMofDiagnostic::kError, failureAt, failure);
}

void TMofLoader::LoadQualifierDecl(const TMofQualifierDecl& decl) {
  bool declared = false;
  try {
    declared = options_.keepDeclaredQualifiers && ns_->GetQualifierDecl(decl.name, TContext());
  } catch (const TTYLException&) {
    // not a name: refused below
  }
  if (declared) {
    Report(TMofDiagnostic::kNote, decl.location,
           "qualifier " + Printable(decl.name) + " is declared already; that declaration stays");
    return;
  }
  Guard(decl.location, "qualifier " + Printable(decl.name), [&] {
    ECIMType type = decl.type.isArray ? ArrayTypeOf(decl.type.type) : decl.type.type;
    TCIMValue value = decl.defaultValue ? Convert(*decl.defaultValue, type, {})
                                        : TCIMValue::Null(type);
    uint32_t scope = 0;
    for (const std::string& name : decl.scopes) {
      if (!ScopeBits(name, &scope)) throw TMofError(decl.location, "unknown scope " + Printable(name));
    }
    uint32_t flavor = ApplyFlavors(
        ICIMQualifierDecl::kFlavorEnableOverride | ICIMQualifierDecl::kFlavorToSubclass,
        decl.flavors);
    ns_->AllocateQualifierDecl(decl.name, value, static_cast<ICIMQualifierDecl::EScope>(scope),
                               static_cast<ICIMQualifierDecl::EFlavor>(flavor), TContext())
        ->AddToNamespace(TContext());
    ++counts_.qualifierDecls;
  });
}

boost::shared_ptr<ICIMClass> TMofLoader::FindClass(const std::string& name,
                                                   const TMofLocation& where,
                                                   const std::string& role) {
  try {
    return ns_->GetClass(name, TContext());
  } catch (const TTYLException&) {
    throw TMofError(where, role + " " + Printable(name) + " is not defined (define it earlier in the MOF)");
  }
}

void TMofLoader::Qualify(ICIMNamedElement& element, const std::vector<TMofQualifier>& qualifiers) {
  // Given twice, the second would silently take the first's place.
  RefuseRepeatedNames(qualifiers, "one qualifier list",
                      [](const TMofQualifier&) { return "qualifier "; });
  for (const TMofQualifier& q : qualifiers) {
    boost::shared_ptr<ICIMQualifierDecl> decl = ns_->GetQualifierDecl(q.name, TContext());
    if (!decl) {
      throw TMofError(q.location, "qualifier " + Printable(q.name) +
                                      " is not declared (declare it with \"Qualifier " + Printable(q.name) +
                                      " : ...\" first)");
    }
    ECIMType type = decl->GetType(TContext());
    TCIMValue value;
    if (q.value) {
      value = Convert(*q.value, type, {});
    } else if (type == kCIMTypeBoolean) {
      value = TCIMValue(true);  // a boolean qualifier named alone means TRUE
    } else {
      value = decl->GetValue(TContext());
    }
    boost::shared_ptr<ICIMQualifier> qualifier =
        q.flavors.empty()
            ? element.AllocateQualifier(decl, value, TContext())
            : element.AllocateQualifier(decl, value,
                                        ApplyFlavors(decl->GetFlavor(TContext()), q.flavors),
                                        TContext());
    try {
      element.AddQualifier(qualifier, TContext());
    } catch (const TTYLException& e) {
      throw TMofError(q.location, "qualifier " + Printable(q.name) + " refused by the repository: " +
                                      e.what() + " (status " + std::to_string(e.GetStatusCode()) +
                                      ")");
    }
  }
}

template <typename Item, typename KindOf>
void TMofLoader::RefuseRepeatedNames(const std::vector<Item>& items, const std::string& where,
                                     KindOf kindOf) {
  // Names compare in any letter case, as the repository's do; a property
  // and a method may share one.
  std::map<std::pair<std::string, std::string>, const Item*> seen;
  for (const Item& item : items) {
    std::string key = item.name;
    for (char& ch : key) ch = ToLowerAscii(ch);
    auto first = seen.emplace(std::make_pair(std::string(kindOf(item)), key), &item);
    if (first.second) continue;
    const TMofLocation& at = first.first->second->location;
    throw TMofError(item.location, kindOf(item) + Printable(item.name) + " is given twice in " +
                                       where + " (first at line " + std::to_string(at.line) +
                                       ", column " + std::to_string(at.column) + ")");
  }
}

void TMofLoader::LoadClass(const TMofClass& c) {
  Guard(c.location, "class " + Printable(c.name), [&] {
    boost::shared_ptr<ICIMClass> existing;
    try {
      existing = ns_->GetClass(c.name, TContext());
    } catch (const TTYLException&) {
      // not there yet (or an invalid name, refused below)
    }
    if (existing && options_.keepDefinedClasses) {
      Report(TMofDiagnostic::kNote, c.location,
             "class " + Printable(c.name) + " is defined already; the namespace's own stays");
      return;
    }
    if (existing && !options_.allowRedefinition) {
      throw TMofError(c.location, "class " + Printable(c.name) + " is already defined");
    }
    if (existing) {
      // Defined again, the class may replace declarations (a key declared
      // again does), and its instances would keep properties whose
      // declarations are gone.
      bool hasInstances = false;
      existing->EnumerateInstances([&](boost::shared_ptr<ICIMInstance>) { return !(hasInstances = true); },
                                   false, TContext());
      if (hasInstances) {
        throw TMofError(c.location, "class " + Printable(c.name) +
                                        " has instances and cannot be defined again");
      }
    }
    RefuseRepeatedNames(c.features, "class " + Printable(c.name),
                        [](const TMofFeature& f) {
                          return f.kind == TMofFeature::kMethod ? "method " : "property ";
                        });
    boost::shared_ptr<ICIMClass> super;
    if (!c.superName.empty()) {
      super = FindClass(c.superName, c.location, "superclass");
      // Walks over the classes (a tree of them, a class's ancestors) follow
      // the chain, and a host may walk it recursively: it stays short.
      size_t depth = 1;
      for (boost::shared_ptr<ICIMClass> above = super; above && !above->IsTopLevel(TContext());
           above = above->GetSuperClass(TContext())) {
        if (++depth > kMaxInheritanceDepth) {
          throw TMofError(c.location, "class " + Printable(c.name) + ": inheritance deeper than " +
                                          std::to_string(kMaxInheritanceDepth) + " levels");
        }
      }
    }
    boost::shared_ptr<ICIMClass> cls = ns_->AllocateClass(c.name, super, TContext());
    Qualify(*cls, c.qualifiers);
    for (const TMofFeature& feature : c.features) AddFeature(cls, feature);
    bool hasKey = false;
    cls->EnumerateKeys([&](const std::string&) { return !(hasKey = true); }, TContext());
    if (hasKey || cls->IsAbstract(TContext())) {
      cls->Validate(TContext());
    } else {
      ++counts_.keylessClasses;
      diagnostics_.push_back(TMofDiagnostic{
          TMofDiagnostic::kNote, c.location,
          "class " + Printable(c.name) + " is concrete and has no key property; entered as it is"});
    }
    cls->AddToNamespace(TContext());
    ++counts_.classes;
    NoteMethods(c);
  });
}

void TMofLoader::NoteMethods(const TMofClass& c) {
  if (notes_ == nullptr) return;
  notes_->ForgetClass(c.name);
  for (const TMofFeature& feature : c.features) {
    if (feature.kind != TMofFeature::kMethod) continue;
    std::vector<TSchemaNotes::TParameter> parameters;
    for (const TMofParameter& p : feature.parameters) {
      std::string referenceClass;
      if (p.type.type == kCIMTypeReference && !p.type.refClass.empty()) {
        // As the repository spells the class; AddFeature found it (or it is
        // the class itself). A reference read from CIM-XML may name none.
        referenceClass = strcasecmp(p.type.refClass.c_str(), c.name.c_str()) == 0
                             ? c.name
                             : ns_->GetClass(p.type.refClass, TContext())->GetName(TContext());
      }
      parameters.push_back(TSchemaNotes::TParameter{p.name, referenceClass});
    }
    notes_->NoteMethod(c.name, feature.name, std::move(parameters));
  }
}

void TMofLoader::AddFeature(const boost::shared_ptr<ICIMClass>& owner, const TMofFeature& feature) {
  ICIMClass& cls = *owner;
  boost::shared_ptr<ICIMClass> refClass;
  if (feature.type.type == kCIMTypeReference) {
    // A class may reference itself before it is entered.
    refClass = strcasecmp(feature.type.refClass.c_str(), cls.GetName(TContext()).c_str()) == 0
                   ? owner
                   : FindClass(feature.type.refClass, feature.location, "class");
  }
  ECIMType type = feature.type.isArray ? ArrayTypeOf(feature.type.type) : feature.type.type;
  if (feature.kind == TMofFeature::kMethod) {
    boost::shared_ptr<ICIMMethodDecl> method =
        cls.AllocateMethodDecl(feature.name, type, TContext());
    Qualify(*method, feature.qualifiers);
    for (const TMofParameter& p : feature.parameters) {
      if (p.type.type == kCIMTypeReference &&
          strcasecmp(p.type.refClass.c_str(), cls.GetName(TContext()).c_str()) != 0) {
        FindClass(p.type.refClass, p.location, "class");
      }
      ECIMType parameterType = p.type.isArray ? ArrayTypeOf(p.type.type) : p.type.type;
      boost::shared_ptr<ICIMParameterDecl> parameter =
          method->DefineParameter(p.name, parameterType, TContext());
      Qualify(*parameter, p.qualifiers);
    }
    method->AddToClass(TContext());
    return;
  }
  TCIMValue prototype;
  if (feature.defaultValue) {
    prototype = Convert(*feature.defaultValue, type, refClass);
  } else {
    prototype = type == kCIMTypeReference ? TCIMValue::NullReference(refClass)
                                          : TCIMValue::Null(type);
  }
  boost::shared_ptr<ICIMPropertyDecl> decl =
      cls.AllocatePropertyDecl(feature.name, prototype, TContext());
  Qualify(*decl, feature.qualifiers);
  InheritQualifiers(cls, feature, *decl);
  decl->AddToClass(TContext());
}

// A property that overrides an inherited one takes over the inherited
// declaration's to-subclass qualifiers (KEY among them) that the MOF does not
// give again: the repository looks qualifiers up on the declaration alone, so
// without them an overriding key would stop being a key.
void TMofLoader::InheritQualifiers(ICIMClass& cls, const TMofFeature& feature,
                                   ICIMPropertyDecl& decl) {
  bool found = false;
  boost::shared_ptr<const ICIMQualifier> override = decl.GetQualifier("Override", found, TContext());
  if (!override || override->GetValue(TContext()).IsNull() ||
      override->GetValue(TContext()).GetType() != kCIMTypeString) {
    return;
  }
  boost::shared_ptr<ICIMPropertyDecl> inherited;
  try {
    inherited = cls.GetPropertyDecl(override->GetValue(TContext()).GetString(), TContext());
  } catch (const TTYLException&) {
    return;  // nothing to take over; the repository reports the override
  }
  inherited->EnumerateQualifiers(
      [&](boost::shared_ptr<ICIMQualifier> q) {
        uint32_t flavor = q->GetFlavor(TContext());
        if ((flavor & ICIMQualifierDecl::kFlavorToSubclass) == 0) return true;
        for (const TMofQualifier& given : feature.qualifiers) {
          if (strcasecmp(given.name.c_str(), q->GetName(TContext()).c_str()) == 0) return true;
        }
        decl.AddQualifier(decl.AllocateQualifier(q->GetDecl(TContext()), q->GetValue(TContext()),
                                                 flavor, TContext()),
                          TContext());
        return true;
      },
      TContext());
}

void TMofLoader::LoadInstance(const TMofInstance& instance) {
  Guard(instance.location, "instance of " + Printable(instance.className), [&] {
    boost::shared_ptr<ICIMClass> cls = FindClass(instance.className, instance.location, "class");
    if (cls->IsAbstract(TContext())) {
      throw TMofError(instance.location,
                      "class " + Printable(instance.className) + " is abstract: it has no instances");
    }
    RefuseRepeatedNames(instance.values, "this instance",
                        [](const TMofPropertyValue&) { return "property "; });
    boost::shared_ptr<ICIMInstance> created = cls->AllocateInstance(TContext());
    for (const TMofPropertyValue& v : instance.values) {
      boost::shared_ptr<ICIMPropertyDecl> decl;
      try {
        decl = cls->GetPropertyDecl(v.name, TContext());
      } catch (const TTYLException&) {
        throw TMofError(v.location, "class " + Printable(instance.className) + " has no property " + Printable(v.name));
      }
      const TCIMValue& prototype = decl->GetDefaultValue(TContext());
      boost::shared_ptr<ICIMClass> refClass =
          prototype.IsReference() ? prototype.GetReferencedClass() : boost::shared_ptr<ICIMClass>();
      created->SetPropertyValue(v.name, Convert(v.value, decl->GetType(TContext()), refClass),
                                TContext());
    }
    created->Validate(TContext());  // a refusal here names its reason
    TCIMReference path = created->GetReference(TContext());
    if (ns_->GetInstance(path, TContext())) {
      throw TMofError(instance.location, "an instance " + path.GetPath() + " is already there");
    }
    created->AddToNamespace(TContext());
    if (!instance.alias.empty()) aliases_[instance.alias] = path;
    ++counts_.instances;
  });
}

TCIMValue TMofLoader::Convert(const TMofValue& value, ECIMType type,
                              const boost::shared_ptr<ICIMClass>& refClass) {
  if (value.kind == TMofValue::kNull) {
    return type == kCIMTypeReference ? TCIMValue::NullReference(refClass) : TCIMValue::Null(type);
  }
  if (!IsArrayType(type)) {
    if (value.kind == TMofValue::kArray) {
      throw TMofError(value.location, "expected a single " + CIMTypeName(type) + " value, found an array");
    }
    return ConvertScalar(value, type, refClass);
  }
  ECIMType element = ElementTypeOf(type);
  std::vector<TCIMValue> elements;
  if (value.kind == TMofValue::kArray) {
    for (const TMofValue& e : value.elements) elements.push_back(Convert(e, element, refClass));
  } else {
    elements.push_back(ConvertScalar(value, element, refClass));  // one value for an array
  }
  return TCIMValue(element, std::move(elements));
}

TCIMValue TMofLoader::ConvertScalar(const TMofValue& value, ECIMType type,
                                    const boost::shared_ptr<ICIMClass>& refClass) {
  auto mismatch = [&](const char* found) {
    return TMofError(value.location, "expected a " + CIMTypeName(type) + " value, found " + found);
  };
  switch (value.kind) {
    case TMofValue::kNull:
      return Convert(value, type, refClass);
    case TMofValue::kArray:
      throw mismatch("an array");
    case TMofValue::kBoolean:
      if (type != kCIMTypeBoolean) throw mismatch("a boolean");
      return TCIMValue(value.boolean);
    case TMofValue::kAlias: {
      if (type != kCIMTypeReference) throw mismatch("an alias");
      auto it = aliases_.find(value.text);
      if (it == aliases_.end()) {
        throw TMofError(value.location, "alias $" + Printable(value.text) + " is not defined (an instance "
                                        "\"as $" + Printable(value.text) + "\" must come first)");
      }
      const size_t budget = kAliasTextFloor + kAliasTextFactor * sourceBytes_;
      const size_t text = it->second.QuotedPathLength();
      if (text > budget - aliasTextBytes_) {
        throw TMofError(value.location, "alias $" + Printable(value.text) +
                                            ": the paths that aliases bring would take more than " +
                                            std::to_string(budget) + " bytes (aliases nested in keys double at "
                                            "every level)");
      }
      aliasTextBytes_ += text;
      return TCIMValue(it->second);
    }
    case TMofValue::kReal:
      if (!IsRealType(type)) throw mismatch("a real number");
      return ReadReal(value, type);
    case TMofValue::kInteger: {
      bool negative = false;
      uint64_t magnitude = 0;
      EIntegerText read = ReadInteger(value.text, &negative, &magnitude);
      if (read == EIntegerText::kNotAnInteger) {
        throw TMofError(value.location, "\"" + Printable(value.text) + "\" is not an integer");
      }
      if (IsRealType(type)) {
        // Decimal digits beyond 64 bits still make a real.
        if (read == EIntegerText::kTooLarge) return ReadReal(value, type);
        double real = negative ? -static_cast<double>(magnitude) : static_cast<double>(magnitude);
        return type == kCIMTypeReal32 ? TCIMValue(static_cast<float>(real)) : TCIMValue(real);
      }
      if (!IsUnsignedIntegerType(type) && !IsSignedIntegerType(type)) throw mismatch("an integer");
      if (read == EIntegerText::kTooLarge) throw OutOfRange(value, type);
      TCIMValue wide;
      if (IsUnsignedIntegerType(type) && !negative) {
        wide = TCIMValue(static_cast<unsigned long long>(magnitude));
      } else if (IsSignedIntegerType(type) &&
                 magnitude <= (negative ? 9223372036854775808ull : 9223372036854775807ull)) {
        wide = TCIMValue(negative ? static_cast<long long>(0 - magnitude)
                                  : static_cast<long long>(magnitude));
      } else {
        throw OutOfRange(value, type);
      }
      try {
        return TCIMValue::OfIntegerType(wide, type);
      } catch (const TTYLException&) {
        throw OutOfRange(value, type);
      }
    }
    case TMofValue::kString:
    case TMofValue::kChar:
      break;
  }
  switch (type) {
    case kCIMTypeString:
      return TCIMValue(value.text);
    case kCIMTypeChar16: {
      char16_t c = 0;
      if (!DecodeChar16(value.text, &c)) {
        throw TMofError(value.location, "a char16 value is exactly one character");
      }
      return TCIMValue(c);
    }
    case kCIMTypeDateTime: {
      TCIMDateTime dateTime;
      std::string why;
      if (!TCIMDateTime::TryParse(value.text, &dateTime, &why)) {
        throw TMofError(value.location, "\"" + Printable(value.text) +
                                            "\" is not a CIM datetime (" + why +
                                            "; the forms are yyyymmddhhmmss.mmmmmmsutc and "
                                            "ddddddddhhmmss.mmmmmm:000)");
      }
      return TCIMValue(dateTime);
    }
    case kCIMTypeReference: {
      TCIMReference path;
      std::string why;
      if (!TCIMReference::TryParse(value.text, ns_, &path, &why)) {
        throw TMofError(value.location,
                        "\"" + Printable(value.text) + "\" is not an object path (" + why + ")");
      }
      return TCIMValue(path);
    }
    default:
      throw mismatch(value.kind == TMofValue::kString ? "a string" : "a character");
  }
}
