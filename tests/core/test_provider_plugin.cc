// A plug-in library for the provider manager's tests: while it loads it
// registers one provider, named "test-plugin", whose namespaces are empty
// pointers.

#include <boost/make_shared.hpp>

#include "core/namespace_provider_manager.h"
#include "core/root_object.h"
#include "include/namespace_provider.h"

namespace {

class TTestPluginProvider : public INamespaceProvider {
 public:
  const std::string& GetName(TContext) override {
    static const std::string* const name = new std::string("test-plugin");
    return *name;
  }
  boost::shared_ptr<ICIMNamespace> CreateNamespace(std::map<std::string, TCIMValue>, bool,
                                                   std::string) override {
    return boost::shared_ptr<ICIMNamespace>();
  }
  int GetProviderKind(TContext) override { return 7; }
  bool GetProviderFlag(TContext) override { return true; }
};

__attribute__((constructor)) void RegisterOnLoad() {
  TRootObject::GetNamespaceProviderManager()->RegisterProvider(
      boost::make_shared<TTestPluginProvider>());
}

}  // namespace
