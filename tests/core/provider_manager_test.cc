#include "core/namespace_provider_manager.h"

#include <boost/make_shared.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "core/root_object.h"
#include "core/tyl_exception.h"
#include "include/namespace_provider.h"
#include "tests/support/schema_builder.h"
#include "tests/support/status_of.h"

namespace {

using testing::_;
using testing::NiceMock;
using testing::Return;

class MockProvider : public INamespaceProvider {
 public:
  MOCK_METHOD(const std::string&, GetName, (TContext), (override));
  MOCK_METHOD(boost::shared_ptr<ICIMNamespace>, CreateNamespace,
              ((std::map<std::string, TCIMValue>), bool, std::string), (override));
  MOCK_METHOD(int, GetProviderKind, (TContext), (override));
  MOCK_METHOD(bool, GetProviderFlag, (TContext), (override));
};

boost::shared_ptr<MockProvider> Provider(const std::string& name) {
  auto provider = boost::make_shared<NiceMock<MockProvider>>();
  auto kept = boost::make_shared<std::string>(name);
  ON_CALL(*provider, GetName(_)).WillByDefault([kept](TContext) -> const std::string& { return *kept; });
  return provider;
}

TEST(ProviderManagerTest, FindsRegisteredProvidersByExactName) {
  TNamespaceProviderManager manager;
  auto a = Provider("inmem"), b = Provider("other");
  manager.RegisterProvider(a);
  manager.RegisterProvider(b);
  EXPECT_EQ(manager.FindProvider("inmem"), a);
  EXPECT_EQ(manager.FindProvider("other"), b);
  EXPECT_FALSE(manager.FindProvider("INMEM"));
  auto replacement = Provider("inmem");
  manager.RegisterProvider(replacement);
  EXPECT_EQ(manager.FindProvider("inmem"), replacement);
}

TEST(ProviderManagerTest, CreatesNamespacesThroughTheNamedProvider) {
  TNamespaceProviderManager manager;
  auto provider = Provider("inmem");
  manager.RegisterProvider(provider);
  TSchemaBuilder repository;
  boost::shared_ptr<ICIMNamespace> ns = repository.Namespace();
  TContext parameters{{"k", TCIMValue("v")}};
  EXPECT_CALL(*provider, CreateNamespace(parameters, true, std::string("NOKRTYL20")))
      .WillOnce(Return(ns));
  EXPECT_EQ(manager.CreateNamespace("inmem", parameters, true, "NOKRTYL20"), ns);
  EXPECT_EQ(OutcomeOf([&] { manager.CreateNamespace("missing", TContext(), false, ""); }),
            TOutcome({kStatusNotFound, {{0, "TYL: no namespace provider named 'missing'"}}}));
}

TEST(ProviderManagerTest, ALibraryThatCannotBeLoadedIsReported) {
  TNamespaceProviderManager manager;
  TOutcome outcome = OutcomeOf([&] { manager.LoadProviderLibrary("/nonexistent/libnothing.so"); });
  EXPECT_EQ(outcome.status, kStatusLoadFailed);
  EXPECT_TRUE(outcome.LoggedOnce("TYL: cannot load provider library '/nonexistent/libnothing.so': "))
      << outcome;
  EXPECT_EQ(outcome.lines.at(0).first, 0);
}

TEST(ProviderManagerTest, HostsMayInstallTheirOwnManager) {
  boost::shared_ptr<INamespaceProviderManager> core = TRootObject::GetNamespaceProviderManager();
  ASSERT_TRUE(core);
  auto own = boost::make_shared<TNamespaceProviderManager>();
  TRootObject::SetNamespaceProviderManager(own);
  EXPECT_EQ(TRootObject::GetNamespaceProviderManager(), own);
  TRootObject::SetNamespaceProviderManager(boost::shared_ptr<INamespaceProviderManager>());
  EXPECT_EQ(TRootObject::GetNamespaceProviderManager(), core);
}

}  // namespace
