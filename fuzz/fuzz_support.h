// What the fuzz harnesses share: a core logger that drops every line, fresh
// namespaces from the provider, MOF loaded without touching the file system,
// a small schema whose classes type every kind of key, and the report of a
// broken round trip.
//
// The harnesses read the first input byte as a mode (which loader options,
// with or without a namespace) and the rest as text; the datetime harness
// reads every byte as text.

#ifndef INMEM_FUZZ_FUZZ_SUPPORT_H_
#define INMEM_FUZZ_FUZZ_SUPPORT_H_

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <string>

#include <boost/shared_ptr.hpp>

#include "core/tyl_exception.h"
#include "include/cim_namespace.h"
#include "mof/mof_loader.h"

// Puts a logger in place that keeps nothing, once per process: the
// repository logs every refusal, and a fuzzer makes millions of them.
void SilenceCoreLogger();

// The bytes of one input: the mode byte (0 for an empty input) and the text.
struct TFuzzInput {
  uint8_t mode = 0;
  std::string text;
};
// What a harness does first: silences the core logger and splits the input.
TFuzzInput BeginInput(const uint8_t* data, size_t size);

// The text of the server tests' fixture repository (tests/server/fixture.mof),
// read once per process.
const std::string& ServerFixtureText();

// A new, empty repository from the provider, as a host gets one.
boost::shared_ptr<ICIMNamespace> FreshNamespace(bool allowRedefinition);

// MOF files held in memory, for "#pragma include" without a file system.
// The text is cut at lines "--- NAME": what comes before the first such line
// is the main file (named kMainFile), each part after one is the file NAME.
// The reader finds a file by its exact name and finds nothing else; a name
// is its own identity, so a file that includes itself closes a cycle.
class TMemoryFiles {
 public:
  static constexpr const char* kMainFile = "fuzz.mof";

  explicit TMemoryFiles(const std::string& text);

  const std::string& MainText() const { return files_.at(kMainFile); }
  // Reads from this object, which must outlive the loader using the reader.
  TMofFileReader Reader() const;

 private:
  std::map<std::string, std::string> files_;
};

// Loader options from a mode byte: bit 0 keep going after errors, bit 1
// redefinition allowed; files are read from `files`.
TMofLoadOptions LoadOptions(uint8_t mode, const TMemoryFiles& files);

// The namespace as the writer exports it.
std::string ExportMof(ICIMNamespace& ns);

// A namespace, loaded once per process, whose classes declare keys of every
// type (each integer width, reals, boolean, char16, string, datetime, a
// reference, an association whose keys are references), for paths that are
// read with their keys typed. The harnesses only read it.
const boost::shared_ptr<ICIMNamespace>& KeySchema();
// For the path harnesses: no namespace, or KeySchema when bit 0 of the mode
// byte is set.
boost::shared_ptr<ICIMNamespace> PathNamespace(uint8_t mode);

// Aborts unless a reader that throws (`parse`, e.g. TCIMReference::Parse)
// agrees with its TryParse, which gave `read` and `tried`: the same value
// when TryParse read one, TTYLException(kStatusInvalidParameter) otherwise.
template <typename T, typename Parse>
void CheckParseAgrees(bool read, const T& tried, Parse parse) {
  try {
    T parsed = parse();
    if (!read || parsed != tried) std::abort();
  } catch (const TTYLException& e) {
    if (read || e.GetStatusCode() != kStatusInvalidParameter) std::abort();
  }
}

// Reports a broken round-trip property with the two texts that differ,
// then aborts so that the fuzzer keeps the input.
[[noreturn]] void RoundTripBroken(const std::string& what, const std::string& first,
                                  const std::string& second);

#endif  // INMEM_FUZZ_FUZZ_SUPPORT_H_
