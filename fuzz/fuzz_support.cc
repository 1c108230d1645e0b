#include "fuzz/fuzz_support.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string_view>

#include "core/logger.h"
#include "core/root_object.h"
#include "mof/mof_writer.h"
#include "provider/inmem_namespace_provider.h"

namespace {

class TDroppingLogger : public ILogger {
 public:
  void Log(int, const std::string&) override {}
};

const char kKeySchema[] = R"(
Qualifier Key : boolean = false, Scope(property, reference), Flavor(DisableOverride, ToSubclass);
Qualifier Association : boolean = false, Scope(association), Flavor(DisableOverride, ToSubclass);
Qualifier Abstract : boolean = false, Scope(class, association), Flavor(Restricted);
class Fz_Named { [Key] string Name; };
class Fz_Integers {
  [Key] uint8 U8; [Key] sint8 S8; [Key] uint16 U16; [Key] sint16 S16;
  [Key] uint32 U32; [Key] sint32 S32; [Key] uint64 U64; [Key] sint64 S64;
};
class Fz_Others {
  [Key] boolean Flag; [Key] real32 R32; [Key] real64 R64; [Key] char16 Letter;
  [Key] datetime When;
};
class Fz_Derived : Fz_Named { string Extra; };
[Association] class Fz_Link { [Key] Fz_Named REF Left; [Key] Fz_Link REF Nested; };
instance of Fz_Named { Name = "a"; };
instance of Fz_Derived { Name = "b"; Extra = "x"; };
instance of Fz_Integers { U8 = 1; S8 = -1; U16 = 2; S16 = -2; U32 = 3; S32 = -3; U64 = 4; S64 = -4; };
)";

}  // namespace

TFuzzInput BeginInput(const uint8_t* data, size_t size) {
  SilenceCoreLogger();
  TFuzzInput input;
  if (size == 0) return input;
  input.mode = data[0];
  input.text.assign(reinterpret_cast<const char*>(data) + 1, size - 1);
  return input;
}

void SilenceCoreLogger() {
  static TDroppingLogger* logger = [] {
    auto* dropping = new TDroppingLogger;  // lives as long as the process
    TRootObject::SetCoreLogger(dropping);
    return dropping;
  }();
  (void)logger;
}

const std::string& ServerFixtureText() {
  static const std::string text = [] {
    std::ifstream in(INMEM_SERVER_FIXTURE);
    std::ostringstream all;
    all << in.rdbuf();
    return all.str();
  }();
  return text;
}

boost::shared_ptr<ICIMNamespace> FreshNamespace(bool allowRedefinition) {
  TInmemNamespaceProvider provider;
  return provider.CreateNamespace({}, allowRedefinition, "");
}

TMemoryFiles::TMemoryFiles(const std::string& text) {
  static const std::string_view kMarker = "--- ";
  std::string* current = &files_[kMainFile];
  size_t pos = 0;
  while (pos < text.size()) {
    size_t end = text.find('\n', pos);
    if (end == std::string::npos) end = text.size();
    std::string_view line(text.data() + pos, end - pos);
    if (line.substr(0, kMarker.size()) == kMarker) {
      current = &files_[std::string(line.substr(kMarker.size()))];
    } else {
      current->append(text, pos, end + 1 - pos);  // with its end of line, if any
    }
    pos = end + 1;
  }
}

TMofFileReader TMemoryFiles::Reader() const {
  return [this](const std::string& path, TMofFile* file, std::string* error) {
    error->clear();
    auto found = files_.find(path);
    if (found == files_.end()) return false;  // no such file: the loader looks further
    file->identity = found->first;
    file->text = found->second;
    return true;
  };
}

TMofLoadOptions LoadOptions(uint8_t mode, const TMemoryFiles& files) {
  TMofLoadOptions options;
  options.keepGoing = (mode & 1) != 0;
  options.allowRedefinition = (mode & 2) != 0;
  options.readFile = files.Reader();
  return options;
}

std::string ExportMof(ICIMNamespace& ns) {
  std::ostringstream out;
  TMofWriter(out).WriteNamespace(ns);
  return out.str();
}

const boost::shared_ptr<ICIMNamespace>& KeySchema() {
  static const boost::shared_ptr<ICIMNamespace> schema = [] {
    SilenceCoreLogger();
    boost::shared_ptr<ICIMNamespace> ns = FreshNamespace(false);
    TMofLoader loader(ns);
    if (!loader.LoadText("key_schema.mof", kKeySchema)) {
      for (const TMofDiagnostic& d : loader.Diagnostics()) {
        std::fprintf(stderr, "%s\n", d.Format().c_str());
      }
      std::abort();
    }
    return ns;
  }();
  return schema;
}

boost::shared_ptr<ICIMNamespace> PathNamespace(uint8_t mode) {
  return (mode & 1) != 0 ? KeySchema() : boost::shared_ptr<ICIMNamespace>();
}

void RoundTripBroken(const std::string& what, const std::string& first, const std::string& second) {
  // Written whole: the texts may hold NUL bytes.
  std::fprintf(stderr, "round trip broken: %s\n--- first (%zu bytes):\n", what.c_str(), first.size());
  std::fwrite(first.data(), 1, first.size(), stderr);
  std::fprintf(stderr, "\n--- second (%zu bytes):\n", second.size());
  std::fwrite(second.data(), 1, second.size(), stderr);
  std::fprintf(stderr, "\n");
  std::abort();
}
