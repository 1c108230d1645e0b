// Fuzzes object path reading (TCIMReference::TryParse and Parse) on any text.
//
// The first byte's bit 0 picks the namespace: none, or KeySchema, whose
// classes type the keys (and whose few instances a path may name). Parse
// and TryParse must agree: the same path, or a refusal with a reason from
// TryParse and status kStatusInvalidParameter from Parse. A path read is
// then used as a caller would: its text, its keys, its class, its instance.

#include <cstdlib>

#include "core/cim_reference.h"
#include "core/tyl_exception.h"
#include "fuzz/fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  TFuzzInput input = BeginInput(data, size);
  boost::shared_ptr<ICIMNamespace> ns = PathNamespace(input.mode);

  TCIMReference path;
  std::string error;
  bool read = TCIMReference::TryParse(input.text, ns, &path, &error);
  CheckParseAgrees(read, path, [&] { return TCIMReference::Parse(input.text, ns); });
  if (!read) {
    if (error.empty()) std::abort();
    return 0;
  }

  if (path.PathText().empty()) std::abort();
  for (const TCIMReference::TKeyBinding& key : path.GetKeyBindings()) {
    const TCIMValue* value = path.FindKeyValue(key.first);
    if (value == nullptr || !(*value == key.second)) std::abort();
    value->ToString();
  }
  path.GetClass();
  try {
    path.GetCIMElement(false);
  } catch (const TTYLException& e) {
    if (e.GetStatusCode() != kStatusNotFound) std::abort();
  }
  return 0;
}
