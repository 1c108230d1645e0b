// libinmem.so as a host meets it: loaded through the core's provider
// manager, used through the interfaces only. This program does not link the
// plug-in.

#include <dlfcn.h>

#include <exception>

#include <boost/make_shared.hpp>
#include <gtest/gtest.h>

#include "core/namespace_provider_manager.h"
#include "core/root_object.h"
#include "include/cim_class.h"
#include "include/cim_namespace.h"
#include "include/namespace_provider.h"

namespace {

// The core's manager, counting registrations.
class TCountingManager : public TNamespaceProviderManager {
 public:
  void RegisterProvider(boost::shared_ptr<INamespaceProvider> provider) override {
    ++registrations;
    TNamespaceProviderManager::RegisterProvider(provider);
  }
  int registrations = 0;
};

class PluginLoadTest : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    manager_ = new boost::shared_ptr<TCountingManager>(boost::make_shared<TCountingManager>());
    TRootObject::SetNamespaceProviderManager(*manager_);
    // A failed load here would only skip the tests; SetUp makes it fail them.
    try {
      (*manager_)->LoadProviderLibrary(INMEM_PLUGIN_PATH);
    } catch (const std::exception&) {
    }
  }
  void SetUp() override { ASSERT_TRUE(Manager().FindProvider("inmem")) << "the plug-in did not load"; }
  static void TearDownTestSuite() {
    TRootObject::SetNamespaceProviderManager({});
    delete manager_;
  }

  TCountingManager& Manager() { return **manager_; }
  boost::shared_ptr<ICIMNamespace> NewNamespace() {
    return Manager().CreateNamespace("inmem", TContext(), false, "NOKRTYL20");
  }

  static boost::shared_ptr<TCountingManager>* manager_;
};

boost::shared_ptr<TCountingManager>* PluginLoadTest::manager_ = nullptr;

TEST_F(PluginLoadTest, LoadingRegistersTheProviderOnce) {
  EXPECT_EQ(Manager().registrations, 1);
  boost::shared_ptr<INamespaceProvider> provider = Manager().FindProvider("inmem");
  ASSERT_TRUE(provider);
  EXPECT_EQ(provider->GetName(TContext()), "inmem");
  EXPECT_EQ(provider->GetProviderKind(TContext()), 2);
  EXPECT_FALSE(provider->GetProviderFlag(TContext()));
  Manager().LoadProviderLibrary(INMEM_PLUGIN_PATH);  // already loaded: no second attach
  EXPECT_EQ(Manager().registrations, 1);
}

TEST_F(PluginLoadTest, OnlyTheAttachReasonRegisters) {
  void* library = dlopen(INMEM_PLUGIN_PATH, RTLD_NOW | RTLD_NOLOAD);
  ASSERT_NE(library, nullptr);
  auto entry = reinterpret_cast<int (*)(void*, unsigned long, void*)>(dlsym(library, "DllMain"));
  ASSERT_NE(entry, nullptr);
  int before = Manager().registrations;
  for (unsigned long reason : {0ul, 2ul, 3ul, 99ul}) EXPECT_EQ(entry(library, reason, nullptr), 1);
  EXPECT_EQ(Manager().registrations, before);
  EXPECT_EQ(entry(library, 1, nullptr), 1);
  EXPECT_EQ(Manager().registrations, before + 1);
  dlclose(library);
}

// Each namespace is a new one of this provider; that they share nothing is
// seen wherever tests build the same schema in namespaces of their own.
TEST_F(PluginLoadTest, NamespacesAreFresh) {
  boost::shared_ptr<ICIMNamespace> a = NewNamespace(), b = NewNamespace();
  ASSERT_TRUE(a && b);
  EXPECT_NE(a->GetClass("", TContext()), b->GetClass("", TContext()));
  EXPECT_EQ(a->GetNamespaceProvider(TContext()), Manager().FindProvider("inmem"));
  EXPECT_FALSE(b->GetQualifierDecl("ABSTRACT", TContext()));
}

}  // namespace
