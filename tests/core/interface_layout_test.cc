// The largest element interfaces must keep their virtual slot order: the
// core and every plug-in are compiled separately and call each other through
// these tables. Under the Itanium C++ ABI (g++ on Linux) a pointer to a virtual
// member holds 1 + its byte offset in the vtable, and a virtual destructor
// declared first takes entries 0 and 1; so slot n (n >= 1) is entry n + 1.

#include <cstdint>
#include <cstring>
#include <vector>

#include <gtest/gtest.h>

#include "include/cim_class.h"
#include "include/cim_instance.h"
#include "include/cim_namespace.h"

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

}  // namespace
