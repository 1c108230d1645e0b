// The element interfaces must keep their virtual slot order: the core and
// every plug-in are compiled separately and call each other through these
// tables. Under the Itanium C++ ABI (g++ on Linux) a pointer to a virtual
// member holds 1 + its byte offset in the vtable, and a virtual destructor
// declared first takes entries 0 and 1; so slot n (n >= 1) is entry n + 1.

#include <cstdint>
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "core/logger.h"
#include "core/namespace_provider_manager.h"
#include "include/cim_class.h"
#include "include/cim_instance.h"
#include "include/cim_method_decl.h"
#include "include/cim_namespace.h"
#include "include/cim_parameter_decl.h"
#include "include/cim_property.h"
#include "include/cim_property_decl.h"
#include "include/cim_qualifier.h"
#include "include/cim_qualifier_decl.h"
#include "include/namespace_consumer.h"
#include "include/namespace_provider.h"

namespace {

template <typename Member>
long EntryOf(Member member) {
  struct {
    uintptr_t ptr;
    ptrdiff_t adjustment;
  } repr;
  static_assert(sizeof(Member) == sizeof(repr), "Itanium member pointer layout");
  std::memcpy(&repr, &member, sizeof repr);
  if ((repr.ptr & 1) == 0) return -1;  // not virtual
  return static_cast<long>((repr.ptr - 1) / sizeof(void*));
}

// entries[i] must be the entry of slot i + 1.
void ExpectSlotsInOrder(const std::vector<long>& entries) {
  for (size_t i = 0; i < entries.size(); ++i) {
    EXPECT_EQ(entries[i], static_cast<long>(i) + 2) << "slot " << i + 1;
  }
}

typedef boost::shared_ptr<const ICIMQualifier> TConstQualifier;

TEST(InterfaceLayoutTest, NamedElement) {
  ExpectSlotsInOrder({
      EntryOf(&ICIMNamedElement::AddQualifier),
      EntryOf(static_cast<boost::shared_ptr<ICIMQualifier> (ICIMNamedElement::*)(
                  boost::shared_ptr<ICIMQualifierDecl>, const TCIMValue&, uint32_t, TContext)>(
          &ICIMNamedElement::AllocateQualifier)),
      EntryOf(static_cast<boost::shared_ptr<ICIMQualifier> (ICIMNamedElement::*)(
                  boost::shared_ptr<ICIMQualifierDecl>, const TCIMValue&, TContext)>(
          &ICIMNamedElement::AllocateQualifier)),
      EntryOf(static_cast<TConstQualifier (ICIMNamedElement::*)(const std::string&, bool&,
                                                                TContext) const>(
          &ICIMNamedElement::GetQualifier)),
      EntryOf(static_cast<TConstQualifier (ICIMNamedElement::*)(const std::string&, TContext)
                              const>(&ICIMNamedElement::GetQualifier)),
      EntryOf(&ICIMNamedElement::EnumerateQualifiers),
  });
}

TEST(InterfaceLayoutTest, Namespace) {
  ExpectSlotsInOrder({
      EntryOf(&ICIMNamespace::GetNamespaceProvider), EntryOf(&ICIMNamespace::SetUpcallNamespace),
      EntryOf(&ICIMNamespace::AddUnderlyingNamespace), EntryOf(&ICIMNamespace::AllocateClass),
      EntryOf(&ICIMNamespace::GetClass), EntryOf(&ICIMNamespace::EnumerateRootClasses),
      EntryOf(&ICIMNamespace::EnumerateProviders), EntryOf(&ICIMNamespace::AllocateQualifierDecl),
      EntryOf(&ICIMNamespace::GetQualifierDecl), EntryOf(&ICIMNamespace::EnumerateQualifierDecls),
      EntryOf(&ICIMNamespace::Subscribe), EntryOf(&ICIMNamespace::GetInstance),
      EntryOf(&ICIMNamespace::DeleteInstance), EntryOf(&ICIMNamespace::ModifyInstance),
      EntryOf(&ICIMNamespace::ExecuteQuery), EntryOf(&ICIMNamespace::ClearInstances),
  });
}

TEST(InterfaceLayoutTest, ClassPrimaryTable) {
  ExpectSlotsInOrder({
      EntryOf(&ICIMClass::Validate), EntryOf(&ICIMClass::AddToNamespace),
      EntryOf(&ICIMClass::RemoveFromNamespace), EntryOf(&ICIMClass::SetElementLink),
      EntryOf(&ICIMClass::GetName), EntryOf(&ICIMClass::GetNamespace),
      EntryOf(&ICIMClass::IsAssociation), EntryOf(&ICIMClass::IsAbstract),
      EntryOf(&ICIMClass::IsTopLevel), EntryOf(&ICIMClass::GetSuperClass),
      EntryOf(&ICIMClass::EnumerateSubclasses), EntryOf(&ICIMClass::IsSubclassOf),
      EntryOf(&ICIMClass::MatchAssociations), EntryOf(&ICIMClass::EnumerateAssociationClasses),
      EntryOf(&ICIMClass::EnumerateKeys), EntryOf(&ICIMClass::AllocatePropertyDecl),
      EntryOf(&ICIMClass::GetPropertyDecl), EntryOf(&ICIMClass::EnumeratePropertyDecls),
      EntryOf(&ICIMClass::GetProperty), EntryOf(&ICIMClass::SetPropertyValue),
      EntryOf(&ICIMClass::EnumerateProperties), EntryOf(&ICIMClass::AllocateInstance),
      EntryOf(&ICIMClass::EnumerateInstances), EntryOf(&ICIMClass::AllocateMethodDecl),
      EntryOf(&ICIMClass::GetMethodDecl), EntryOf(&ICIMClass::EnumerateMethodDecls),
      EntryOf(&ICIMClass::InvokeMethod), EntryOf(&ICIMClass::operator==),
      EntryOf(&ICIMClass::operator<), EntryOf(&ICIMClass::operator=),
      EntryOf(&ICIMClass::GetCollectFlag), EntryOf(&ICIMClass::SetCollectFlag),
      EntryOf(&ICIMClass::AddSubclass), EntryOf(&ICIMClass::RemoveSubclass),
      EntryOf(&ICIMClass::AddInstance), EntryOf(&ICIMClass::RemoveInstance),
      EntryOf(&ICIMClass::AddAssociationClass), EntryOf(&ICIMClass::RemoveAssociationClass),
      EntryOf(&ICIMClass::AddProperty), EntryOf(&ICIMClass::RemovePropertyDecl),
      EntryOf(&ICIMClass::AddMethod), EntryOf(&ICIMClass::RemoveMethodDecl),
  });
}

TEST(InterfaceLayoutTest, Instance) {
  ExpectSlotsInOrder({
      EntryOf(&ICIMInstance::Validate), EntryOf(&ICIMInstance::AddToNamespace),
      EntryOf(&ICIMInstance::ModifyInstance), EntryOf(&ICIMInstance::Delete),
      EntryOf(&ICIMInstance::GetReference), EntryOf(&ICIMInstance::GetElementReference),
      EntryOf(&ICIMInstance::GetClass), EntryOf(&ICIMInstance::EnumerateAssociatedInstances),
      EntryOf(&ICIMInstance::EnumerateAssociationInstances), EntryOf(&ICIMInstance::GetProperty),
      EntryOf(&ICIMInstance::SetPropertyValue), EntryOf(&ICIMInstance::EnumerateProperties),
      EntryOf(&ICIMInstance::InvokeMethod), EntryOf(&ICIMInstance::operator==),
      EntryOf(&ICIMInstance::operator<), EntryOf(&ICIMInstance::operator=),
  });
}

TEST(InterfaceLayoutTest, Property) {
  ExpectSlotsInOrder({
      EntryOf(&ICIMProperty::GetType), EntryOf(&ICIMProperty::IsArray),
      EntryOf(&ICIMProperty::UsesDefaultValue), EntryOf(&ICIMProperty::GetValue),
      EntryOf(&ICIMProperty::SetValue), EntryOf(&ICIMProperty::IsUnset),
      EntryOf(&ICIMProperty::GetDecl), EntryOf(&ICIMProperty::operator==),
      EntryOf(&ICIMProperty::operator<), EntryOf(&ICIMProperty::operator=),
      EntryOf(&ICIMProperty::GetPrevValue), EntryOf(&ICIMProperty::ResetPrevValue),
      EntryOf(&ICIMProperty::SetPrevValue), EntryOf(&ICIMProperty::HasPrevValue),
      EntryOf(&ICIMProperty::GetDisplayValue), EntryOf(&ICIMProperty::GetPrevDisplayValue),
      EntryOf(&ICIMProperty::GetDisplayValues),
  });
}

// Declarations continue the named-element table at slot 7.
std::vector<long> WithNamedElementSlots(std::vector<long> own) {
  std::vector<long> entries(6);
  for (size_t i = 0; i < 6; ++i) entries[i] = static_cast<long>(i) + 2;
  entries.insert(entries.end(), own.begin(), own.end());
  return entries;
}

TEST(InterfaceLayoutTest, PropertyDecl) {
  ExpectSlotsInOrder(WithNamedElementSlots({
      EntryOf(&ICIMPropertyDecl::Validate), EntryOf(&ICIMPropertyDecl::AddToClass),
      EntryOf(&ICIMPropertyDecl::RemoveFromClass), EntryOf(&ICIMPropertyDecl::GetName),
      EntryOf(&ICIMPropertyDecl::GetClass), EntryOf(&ICIMPropertyDecl::GetType),
      EntryOf(&ICIMPropertyDecl::IsArray), EntryOf(&ICIMPropertyDecl::GetDefaultValue),
      EntryOf(&ICIMPropertyDecl::SetDefaultValue), EntryOf(&ICIMPropertyDecl::operator==),
      EntryOf(&ICIMPropertyDecl::operator<), EntryOf(&ICIMPropertyDecl::operator=),
  }));
}

TEST(InterfaceLayoutTest, MethodDecl) {
  ExpectSlotsInOrder(WithNamedElementSlots({
      EntryOf(&ICIMMethodDecl::Validate), EntryOf(&ICIMMethodDecl::AddToClass),
      EntryOf(&ICIMMethodDecl::GetName), EntryOf(&ICIMMethodDecl::GetClass),
      EntryOf(&ICIMMethodDecl::GetReturnType), EntryOf(&ICIMMethodDecl::DefineParameter),
      EntryOf(&ICIMMethodDecl::GetParameter), EntryOf(&ICIMMethodDecl::EnumerateParameters),
      EntryOf(&ICIMMethodDecl::operator==), EntryOf(&ICIMMethodDecl::operator<),
      EntryOf(&ICIMMethodDecl::operator=),
  }));
}

TEST(InterfaceLayoutTest, ParameterDecl) {
  ExpectSlotsInOrder(WithNamedElementSlots({
      EntryOf(&ICIMParameterDecl::Validate), EntryOf(&ICIMParameterDecl::AddToMethod),
      EntryOf(&ICIMParameterDecl::GetName), EntryOf(&ICIMParameterDecl::GetMethod),
      EntryOf(&ICIMParameterDecl::GetType), EntryOf(&ICIMParameterDecl::IsArray),
      EntryOf(&ICIMParameterDecl::operator==), EntryOf(&ICIMParameterDecl::operator<),
      EntryOf(&ICIMParameterDecl::operator=),
  }));
}

TEST(InterfaceLayoutTest, QualifierDecl) {
  ExpectSlotsInOrder({
      EntryOf(&ICIMQualifierDecl::Validate), EntryOf(&ICIMQualifierDecl::AddToNamespace),
      EntryOf(&ICIMQualifierDecl::RemoveFromNamespace), EntryOf(&ICIMQualifierDecl::GetName),
      EntryOf(&ICIMQualifierDecl::GetNamespace), EntryOf(&ICIMQualifierDecl::GetType),
      EntryOf(&ICIMQualifierDecl::IsArray), EntryOf(&ICIMQualifierDecl::GetValue),
      EntryOf(&ICIMQualifierDecl::SetValue), EntryOf(&ICIMQualifierDecl::GetScope),
      EntryOf(&ICIMQualifierDecl::AddFlavor), EntryOf(&ICIMQualifierDecl::RemoveFlavor),
      EntryOf(&ICIMQualifierDecl::GetFlavor), EntryOf(&ICIMQualifierDecl::operator==),
      EntryOf(&ICIMQualifierDecl::operator<), EntryOf(&ICIMQualifierDecl::operator=),
  });
}

TEST(InterfaceLayoutTest, Qualifier) {
  ExpectSlotsInOrder({
      EntryOf(&ICIMQualifier::Validate), EntryOf(&ICIMQualifier::AddToNamespace),
      EntryOf(&ICIMQualifier::RemoveFromNamespace), EntryOf(&ICIMQualifier::GetName),
      EntryOf(&ICIMQualifier::GetOwner), EntryOf(&ICIMQualifier::GetType),
      EntryOf(&ICIMQualifier::IsArray), EntryOf(&ICIMQualifier::GetDecl),
      EntryOf(&ICIMQualifier::GetValue), EntryOf(&ICIMQualifier::SetValue),
      EntryOf(&ICIMQualifier::AddFlavor), EntryOf(&ICIMQualifier::RemoveFlavor),
      EntryOf(&ICIMQualifier::GetFlavor), EntryOf(&ICIMQualifier::operator==),
      EntryOf(&ICIMQualifier::operator<), EntryOf(&ICIMQualifier::IsPropagated),
      EntryOf(&ICIMQualifier::operator=),
  });
}

TEST(InterfaceLayoutTest, ProviderManagerConsumerAndLogger) {
  ExpectSlotsInOrder({
      EntryOf(&INamespaceProvider::GetName), EntryOf(&INamespaceProvider::CreateNamespace),
      EntryOf(&INamespaceProvider::GetProviderKind), EntryOf(&INamespaceProvider::GetProviderFlag),
  });
  ExpectSlotsInOrder({
      EntryOf(&INamespaceProviderManager::RegisterProvider),
      EntryOf(&INamespaceProviderManager::FindProvider),
      EntryOf(&INamespaceProviderManager::LoadProviderLibrary),
      EntryOf(&INamespaceProviderManager::CreateNamespace),
  });
  ExpectSlotsInOrder({
      EntryOf(&INamespaceConsumer::NamespaceAdded), EntryOf(&INamespaceConsumer::NamespaceRemoved),
      EntryOf(&INamespaceConsumer::ProviderRegistered),
  });
  ExpectSlotsInOrder({EntryOf(&ILogger::Log)});
}

}  // namespace
