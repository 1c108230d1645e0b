// GoogleMock stand-ins for the element interfaces, for testing the core
// without a repository behind it. Operators compare object identity.

#ifndef INMEM_TESTS_SUPPORT_MOCK_ELEMENTS_H_
#define INMEM_TESTS_SUPPORT_MOCK_ELEMENTS_H_

#include <map>
#include <string>

#include <gmock/gmock.h>

#include "include/cim_class.h"
#include "include/cim_instance.h"
#include "include/cim_namespace.h"
#include "include/cim_property_decl.h"
#include "include/namespace_provider.h"

typedef std::map<std::string, TCIMValue> TValueMap;
typedef boost::shared_ptr<const ICIMQualifier> TConstQualifierPtr;

// The qualifier slots that every named element mock shares; `Base` is the
// interface (ICIMClass, ICIMPropertyDecl, ...) that brings ICIMNamedElement.
template <typename Base>
class MockNamedElement : public Base {
 public:
  MOCK_METHOD(void, AddQualifier, (boost::shared_ptr<ICIMQualifier>, TContext), (override));
  MOCK_METHOD(boost::shared_ptr<ICIMQualifier>, AllocateQualifier,
              (boost::shared_ptr<ICIMQualifierDecl>, const TCIMValue&, uint32_t, TContext),
              (override));
  MOCK_METHOD(boost::shared_ptr<ICIMQualifier>, AllocateQualifier,
              (boost::shared_ptr<ICIMQualifierDecl>, const TCIMValue&, TContext), (override));
  MOCK_METHOD(TConstQualifierPtr, GetQualifier, (const std::string&, bool&, TContext),
              (const, override));
  MOCK_METHOD(TConstQualifierPtr, GetQualifier, (const std::string&, TContext),
              (const, override));
  MOCK_METHOD(void, EnumerateQualifiers, (const TQualifierCallback&, TContext),
              (const, override));
};

class MockClass : public MockNamedElement<ICIMClass> {
 public:
  MOCK_METHOD(void, Validate, (TContext), (const, override));
  MOCK_METHOD(void, AddToNamespace, (TContext), (override));
  MOCK_METHOD(void, RemoveFromNamespace, (TContext), (override));
  MOCK_METHOD(void, SetElementLink, (boost::shared_ptr<ICIMElement>, TContext), (override));
  MOCK_METHOD(const std::string&, GetName, (TContext), (const, override));
  MOCK_METHOD(boost::shared_ptr<ICIMNamespace>, GetNamespace, (TContext), (const, override));
  MOCK_METHOD(bool, IsAssociation, (TContext), (const, override));
  MOCK_METHOD(bool, IsAbstract, (TContext), (const, override));
  MOCK_METHOD(bool, IsTopLevel, (TContext), (const, override));
  MOCK_METHOD(boost::shared_ptr<ICIMClass>, GetSuperClass, (TContext), (const, override));
  MOCK_METHOD(void, EnumerateSubclasses, (const TClassCallback&, bool, TContext), (override));
  MOCK_METHOD(bool, IsSubclassOf, (boost::shared_ptr<ICIMClass>, TContext), (const, override));
  MOCK_METHOD(void, MatchAssociations,
              (const TClassCallback&, const std::string&, const std::string&,
               const std::string&, const std::string&, TContext),
              (override));
  MOCK_METHOD(void, EnumerateAssociationClasses,
              (const TClassCallback&, const std::string&, const std::string&, TContext),
              (override));
  MOCK_METHOD(void, EnumerateKeys, (const TKeyCallback&, TContext), (override));
  MOCK_METHOD(boost::shared_ptr<ICIMPropertyDecl>, AllocatePropertyDecl,
              (const std::string&, const TCIMValue&, TContext), (override));
  MOCK_METHOD(boost::shared_ptr<ICIMPropertyDecl>, GetPropertyDecl,
              (const std::string&, TContext), (override));
  MOCK_METHOD(void, EnumeratePropertyDecls, (const TPropertyDeclCallback&, TContext),
              (override));
  MOCK_METHOD(boost::shared_ptr<ICIMProperty>, GetProperty, (const std::string&, TContext),
              (override));
  MOCK_METHOD(void, SetPropertyValue, (const std::string&, const TCIMValue&, TContext),
              (override));
  MOCK_METHOD(void, EnumerateProperties, (const TPropertyCallback&, TContext), (override));
  MOCK_METHOD(boost::shared_ptr<ICIMInstance>, AllocateInstance, (TContext), (override));
  MOCK_METHOD(void, EnumerateInstances, (const TInstanceCallback&, bool, TContext),
              (override));
  MOCK_METHOD(boost::shared_ptr<ICIMMethodDecl>, AllocateMethodDecl,
              (const std::string&, TCIMValue::TCIMType, TContext), (override));
  MOCK_METHOD(boost::shared_ptr<ICIMMethodDecl>, GetMethodDecl, (const std::string&, TContext),
              (override));
  MOCK_METHOD(void, EnumerateMethodDecls, (const TMethodDeclCallback&, TContext), (override));
  MOCK_METHOD(TCIMValue, InvokeMethod, (const std::string&, const TValueMap&, TContext),
              (override));
  MOCK_METHOD(bool, GetCollectFlag, (TContext), (const, override));
  MOCK_METHOD(void, SetCollectFlag, (TContext), (override));
  MOCK_METHOD(void, AddSubclass, (boost::shared_ptr<ICIMClass>, TContext), (override));
  MOCK_METHOD(void, RemoveSubclass, (boost::shared_ptr<ICIMClass>, TContext), (override));
  MOCK_METHOD(void, AddInstance, (boost::shared_ptr<ICIMInstance>, TContext), (override));
  MOCK_METHOD(void, RemoveInstance, (boost::shared_ptr<ICIMInstance>, TContext), (override));
  MOCK_METHOD(void, AddAssociationClass, (boost::shared_ptr<ICIMClass>, TContext), (override));
  MOCK_METHOD(void, RemoveAssociationClass, (boost::shared_ptr<ICIMClass>, TContext),
              (override));
  MOCK_METHOD(void, AddProperty, (boost::shared_ptr<ICIMPropertyDecl>, TContext), (override));
  MOCK_METHOD(void, RemovePropertyDecl, (boost::shared_ptr<ICIMPropertyDecl>, TContext),
              (override));
  MOCK_METHOD(void, AddMethod, (boost::shared_ptr<ICIMMethodDecl>, TContext), (override));
  MOCK_METHOD(void, RemoveMethodDecl, (boost::shared_ptr<ICIMMethodDecl>, TContext),
              (override));
  bool operator==(const ICIMClass& other) const override { return this == &other; }
  bool operator<(const ICIMClass& other) const override { return this < &other; }
  ICIMClass& operator=(const ICIMClass&) override { return *this; }
};

class MockPropertyDecl : public MockNamedElement<ICIMPropertyDecl> {
 public:
  MOCK_METHOD(void, Validate, (TContext), (const, override));
  MOCK_METHOD(void, AddToClass, (TContext), (override));
  MOCK_METHOD(void, RemoveFromClass, (TContext), (override));
  MOCK_METHOD(const std::string&, GetName, (TContext), (const, override));
  MOCK_METHOD(boost::shared_ptr<ICIMClass>, GetClass, (TContext), (const, override));
  MOCK_METHOD(TCIMValue::TCIMType, GetType, (TContext), (const, override));
  MOCK_METHOD(bool, IsArray, (TContext), (const, override));
  MOCK_METHOD(const TCIMValue&, GetDefaultValue, (TContext), (const, override));
  MOCK_METHOD(void, SetDefaultValue, (const TCIMValue&, TContext), (override));
  bool operator==(const ICIMPropertyDecl& other) const override { return this == &other; }
  bool operator<(const ICIMPropertyDecl& other) const override { return this < &other; }
  ICIMPropertyDecl& operator=(const ICIMPropertyDecl&) override { return *this; }
};

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

class MockNamespace : public ICIMNamespace {
 public:
  MOCK_METHOD(boost::shared_ptr<INamespaceProvider>, GetNamespaceProvider, (TContext),
              (const, override));
  MOCK_METHOD(void, SetUpcallNamespace, (boost::shared_ptr<ICIMNamespace>, TContext),
              (override));
  MOCK_METHOD(void, AddUnderlyingNamespace, (boost::shared_ptr<ICIMNamespace>, TContext),
              (override));
  MOCK_METHOD(boost::shared_ptr<ICIMClass>, AllocateClass,
              (const std::string&, boost::shared_ptr<ICIMClass>, TContext), (override));
  MOCK_METHOD(boost::shared_ptr<ICIMClass>, GetClass, (const std::string&, TContext),
              (override));
  MOCK_METHOD(void, EnumerateRootClasses, (const TClassCallback&, TContext), (override));
  MOCK_METHOD(void, EnumerateProviders, (const TProviderCallback&, TContext), (override));
  MOCK_METHOD(boost::shared_ptr<ICIMQualifierDecl>, AllocateQualifierDecl,
              (const std::string&, const TCIMValue&, ICIMQualifierDecl::EScope,
               ICIMQualifierDecl::EFlavor, TContext),
              (override));
  MOCK_METHOD(boost::shared_ptr<ICIMQualifierDecl>, GetQualifierDecl,
              (const std::string&, TContext), (const, override));
  MOCK_METHOD(void, EnumerateQualifierDecls, (const TQualifierDeclCallback&, TContext),
              (const, override));
  MOCK_METHOD(boost::shared_ptr<ICIMSubscription>, Subscribe,
              (boost::shared_ptr<ICIMIndicationFilter>, const TInstanceCallback&, TContext),
              (override));
  MOCK_METHOD(boost::shared_ptr<ICIMInstance>, GetInstance, (const TCIMReference&, TContext),
              (const, override));
  MOCK_METHOD(void, DeleteInstance, (const TCIMReference&, TContext), (override));
  MOCK_METHOD(void, ModifyInstance, (const TCIMReference&, TValueMap, TContext), (override));
  MOCK_METHOD(void, ExecuteQuery,
              (const TInstanceCallback&, std::string&, std::string&, TContext), (override));
  MOCK_METHOD(void, ClearInstances, (), (override));
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
