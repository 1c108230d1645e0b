// Round trip of object paths: text -> Parse -> GetPath -> Parse must give
// an equal path (the same class, namespace and keys, each key value equal
// and of the same type) and the same text again. Text that does not read is
// passed over. The first byte's bit 0 picks the namespace: none, or
// KeySchema, whose classes type the keys.

#include <strings.h>

#include "core/cim_reference.h"
#include "fuzz/fuzz_support.h"

namespace {

// Why `b` is not the path `a` is, or "" when it is.
std::string Difference(const TCIMReference& a, const TCIMReference& b) {
  if (strcasecmp(a.GetClassName().c_str(), b.GetClassName().c_str()) != 0) return "class";
  if (a.GetNameSpaceName() != b.GetNameSpaceName()) return "namespace";
  if (a.GetKeyBindings().size() != b.GetKeyBindings().size()) return "number of keys";
  for (const TCIMReference::TKeyBinding& key : a.GetKeyBindings()) {
    const TCIMValue* other = b.FindKeyValue(key.first);
    if (other == nullptr) return "key " + key.first + " is missing";
    if (!(*other == key.second)) return "key " + key.first + " differs";
  }
  return std::string();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  TFuzzInput input = BeginInput(data, size);
  boost::shared_ptr<ICIMNamespace> ns = PathNamespace(input.mode);

  TCIMReference first;
  std::string error;
  if (!TCIMReference::TryParse(input.text, ns, &first, &error)) return 0;
  const std::string text = first.GetPath();
  TCIMReference second;
  if (!TCIMReference::TryParse(text, ns, &second, &error)) {
    RoundTripBroken("path text does not read back: " + error, input.text, text);
  }
  std::string difference = Difference(first, second);
  if (!difference.empty()) {
    RoundTripBroken("path read back differs: " + difference, text, second.GetPath());
  }
  if (second.GetPath() != text) RoundTripBroken("path text differs", text, second.GetPath());
  return 0;
}
