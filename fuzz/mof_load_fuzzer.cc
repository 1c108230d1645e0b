// Fuzzes the MOF loader: any text, loaded into a fresh namespace.
//
// The first byte picks the loader's options: bit 0 keep going after errors,
// bit 1 redefinition allowed, bit 2 the main file read through the reader
// (LoadFile) rather than given as text. "#pragma include" reads the files
// the input itself carries (TMemoryFiles) and never the file system.
//
// Besides any fault on the way, the harness checks what a caller relies on:
// the result says whether an error was reported, a load that stops at its
// first error reports exactly one, and every diagnostic can be shown.

#include <cstdlib>

#include "fuzz/fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  TFuzzInput input = BeginInput(data, size);
  TMemoryFiles files(input.text);
  TMofLoadOptions options = LoadOptions(input.mode, files);
  TMofLoader loader(FreshNamespace(options.allowRedefinition), options);
  bool loaded = (input.mode & 4) != 0
                    ? loader.LoadFile(TMemoryFiles::kMainFile)
                    : loader.LoadText(TMemoryFiles::kMainFile, files.MainText());
  int errors = loader.ErrorCount();
  if (loaded != (errors == 0)) std::abort();
  if (!options.keepGoing && errors > 1) std::abort();
  for (const TMofDiagnostic& diagnostic : loader.Diagnostics()) {
    if (diagnostic.Format().empty()) std::abort();
  }
  return 0;
}
