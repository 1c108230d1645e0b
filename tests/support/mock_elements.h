// GoogleMock stand-ins for the interfaces that tests need to script: an
// instance (the repository's own come later) and a namespace provider.
// Operators compare object identity.

#ifndef INMEM_TESTS_SUPPORT_MOCK_ELEMENTS_H_
#define INMEM_TESTS_SUPPORT_MOCK_ELEMENTS_H_

#include <map>
#include <string>

#include <gmock/gmock.h>

#include "include/cim_instance.h"
#include "include/namespace_provider.h"

typedef std::map<std::string, TCIMValue> TValueMap;

class MockInstance : public ICIMInstance {
 public:
  MOCK_METHOD(void, Validate, (TContext), (const, override));
  MOCK_METHOD(void, AddToNamespace, (TContext), (override));
  MOCK_METHOD(void, ModifyInstance, (boost::shared_ptr<ICIMInstance>, TContext), (override));
  MOCK_METHOD(void, Delete, (TContext), (override));
  MOCK_METHOD(TCIMReference, GetReference, (TContext), (override));
  MOCK_METHOD(TCIMReference, GetElementReference, (TContext), (override));
  MOCK_METHOD(boost::shared_ptr<ICIMClass>, GetClass, (TContext), (const, override));
  MOCK_METHOD(void, EnumerateAssociatedInstances,
              (const TInstanceCallback&, const std::string&, const std::string&,
               const std::string&, const std::string&, TContext),
              (override));
  MOCK_METHOD(void, EnumerateAssociationInstances,
              (const TInstanceCallback&, const std::string&, const std::string&, TContext),
              (override));
  MOCK_METHOD(boost::shared_ptr<ICIMProperty>, GetProperty, (const std::string&, TContext),
              (override));
  MOCK_METHOD(void, SetPropertyValue, (const std::string&, const TCIMValue&, TContext),
              (override));
  MOCK_METHOD(void, EnumerateProperties, (const TPropertyCallback&, TContext), (override));
  MOCK_METHOD(TCIMValue, InvokeMethod, (const std::string&, const TValueMap&, TContext),
              (override));
  bool operator==(const ICIMInstance& other) const override { return this == &other; }
  bool operator<(const ICIMInstance& other) const override { return this < &other; }
  ICIMInstance& operator=(const ICIMInstance&) override { return *this; }
};

class MockProvider : public INamespaceProvider {
 public:
  MOCK_METHOD(const std::string&, GetName, (TContext), (override));
  MOCK_METHOD(boost::shared_ptr<ICIMNamespace>, CreateNamespace,
              (TValueMap, bool, std::string), (override));
  MOCK_METHOD(int, GetProviderKind, (TContext), (override));
  MOCK_METHOD(bool, GetProviderFlag, (TContext), (override));
};

#endif  // INMEM_TESTS_SUPPORT_MOCK_ELEMENTS_H_
