// Round trip of MOF through the writer: MOF -> load -> export -> load into a
// fresh namespace -> export again must load without an error, give a
// namespace holding as many qualifier declarations, classes and instances,
// and give byte-identical text. The first byte picks the loader's options
// (LoadOptions). MOF that does not load is passed over, unless the loader
// keeps going: then whatever did load must round-trip. Includes read the
// files the input carries (TMemoryFiles).

#include "fuzz/fuzz_support.h"
#include "include/cim_class.h"
#include "include/cim_instance.h"
#include "include/cim_qualifier_decl.h"

namespace {

// How many qualifier declarations, classes and instances a namespace holds.
std::string Contents(ICIMNamespace& ns) {
  const TContext none;
  int qualifierDecls = 0, classes = 0, instances = 0;
  ns.EnumerateQualifierDecls(
      [&](boost::shared_ptr<ICIMQualifierDecl>) {
        ++qualifierDecls;
        return true;
      },
      none);
  ns.GetClass("", none)->EnumerateSubclasses(
      [&](boost::shared_ptr<ICIMClass> cls) {
        ++classes;
        cls->EnumerateInstances(
            [&](boost::shared_ptr<ICIMInstance>) {
              ++instances;
              return true;
            },
            false, none);
        return true;
      },
      true, none);
  return std::to_string(qualifierDecls) + " qualifiers, " + std::to_string(classes) +
         " classes, " + std::to_string(instances) + " instances";
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  TFuzzInput input = BeginInput(data, size);
  TMemoryFiles files(input.text);
  TMofLoadOptions options = LoadOptions(input.mode, files);
  boost::shared_ptr<ICIMNamespace> original = FreshNamespace(options.allowRedefinition);
  TMofLoader loader(original, options);
  if (!loader.LoadText(TMemoryFiles::kMainFile, files.MainText()) && !options.keepGoing) return 0;
  const std::string exported = ExportMof(*original);

  boost::shared_ptr<ICIMNamespace> reloaded = FreshNamespace(false);
  TMofLoader reload(reloaded);
  if (!reload.LoadText("export.mof", exported)) {
    RoundTripBroken("the export does not load: " + reload.Diagnostics().back().Format(),
                    input.text, exported);
  }
  if (Contents(*original) != Contents(*reloaded)) {
    RoundTripBroken("the export holds " + Contents(*reloaded) + ", not " + Contents(*original),
                    input.text, exported);
  }
  const std::string again = ExportMof(*reloaded);
  if (again != exported) RoundTripBroken("a second export differs", exported, again);
  return 0;
}
