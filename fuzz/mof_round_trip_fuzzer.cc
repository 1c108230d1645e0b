// Round trip of MOF through the writer: MOF -> load -> export -> load into a
// fresh namespace -> export again must load without an error, enter as many
// qualifier declarations, classes and instances, and give byte-identical
// text. MOF that does not load is passed over, unless the first byte's bit
// 0 asks to keep going: then whatever did load must round-trip. Includes
// read the files the input carries (TMemoryFiles).

#include "fuzz/fuzz_support.h"

namespace {

std::string CountsText(const TMofLoadCounts& counts) {
  return std::to_string(counts.qualifierDecls) + " qualifiers, " +
         std::to_string(counts.classes) + " classes, " + std::to_string(counts.instances) +
         " instances";
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  SilenceCoreLogger();
  TFuzzInput input = SplitInput(data, size);
  TMemoryFiles files(input.text);
  TMofLoadOptions options;
  options.keepGoing = (input.mode & 1) != 0;
  options.readFile = files.Reader();
  boost::shared_ptr<ICIMNamespace> original = FreshNamespace(false);
  TMofLoader loader(original, options);
  if (!loader.LoadText(TMemoryFiles::kMainFile, files.MainText()) && !options.keepGoing) return 0;
  const std::string exported = ExportMof(*original);

  boost::shared_ptr<ICIMNamespace> reloaded = FreshNamespace(false);
  TMofLoader reload(reloaded);
  if (!reload.LoadText("export.mof", exported)) {
    RoundTripBroken("the export does not load: " + reload.Diagnostics().back().Format(),
                    input.text, exported);
  }
  const TMofLoadCounts& before = loader.Counts();
  const TMofLoadCounts& after = reload.Counts();
  if (before.qualifierDecls != after.qualifierDecls || before.classes != after.classes ||
      before.instances != after.instances) {
    RoundTripBroken("the export enters " + CountsText(after) + ", not " + CountsText(before),
                    input.text, exported);
  }
  const std::string again = ExportMof(*reloaded);
  if (again != exported) RoundTripBroken("a second export differs", exported, again);
  return 0;
}
