#include "include/inmem_instance.h"

#include <boost/make_shared.hpp>
#include <gtest/gtest.h>

#include "core/os_specific.h"
#include "include/cim_property.h"
#include "include/processor_cache_state.h"
#include "schema/inmem_class.h"
#include "tests/support/capturing_logger.h"
#include "tests/support/schema_builder.h"
#include "tests/support/status_of.h"

namespace {

typedef boost::shared_ptr<ICIMInstance> TInstance;

class InstanceTest : public testing::Test {
 protected:
  void SetUp() override {
    port_ = s_.Class("Port");
    s_.Key(port_, "SystemName");
    s_.Key(port_, "DeviceID");
    s_.Property(port_, "Speed", TCIMValue::Null(kCIMTypeUint64));
    s_.Enter(port_);
  }

  TInstance NewPort(const std::string& system, const std::string& device) {
    return s_.Instance("Port", {{"SystemName", TCIMValue(system)}, {"deviceid", TCIMValue(device)}},
                       false);
  }

  TSchemaBuilder s_;
  boost::shared_ptr<ICIMClass> port_;
};

TEST_F(InstanceTest, PathsNameTheKeysAndTheContextNamespace) {
  TInstance port = NewPort("host", "eth0");
  EXPECT_EQ(port->GetReference(TContext()).GetPath(),
            "port.deviceid=\"eth0\",systemname=\"host\"");
  TContext inNamespace{{"ProvNSP", TCIMValue("NOKRTYL20")}};
  EXPECT_EQ(port->GetElementReference(inNamespace).GetPath(),
            "NOKRTYL20:port.deviceid=\"eth0\",systemname=\"host\"");
  // Keys come in the class's key order, as declared names.
  TCIMReference path = port->GetReference(TContext());
  ASSERT_EQ(path.GetKeyBindings().size(), 2u);
  EXPECT_EQ(path.GetKeyBindings()[0].first, "DeviceID");
  auto singleton = s_.AbstractClass("Singleton");
  EXPECT_EQ(singleton->AllocateInstance(TContext())->GetReference(inNamespace).GetPath(),
            "NOKRTYL20:singleton");
}

TEST_F(InstanceTest, AnInstanceIsFiledUnderItsPathUntilDeletedOrCleared) {
  TInstance port = NewPort("host", "eth0");
  auto ns = s_.Namespace();
  TCIMReference path = port->GetReference(TContext());
  EXPECT_FALSE(ns->GetInstance(path, TContext()));
  port->AddToNamespace(TContext());
  auto spelled = TCIMReference::Parse("PORT.DeviceID=\"eth0\",SystemName=\"host\"", ns);
  EXPECT_EQ(ns->GetInstance(spelled, TContext()), port);
  port->Delete(TContext());
  EXPECT_FALSE(ns->GetInstance(path, TContext()));
  port->AddToNamespace(TContext());
  ns->ClearInstances();
  EXPECT_FALSE(ns->GetInstance(path, TContext()));
  EXPECT_EQ(ns->GetClass("Port", TContext()), port_);
}

TEST_F(InstanceTest, ValidationFollowsTheFlags) {
  auto link = s_.Class("Link", "", {{"ASSOCIATION", TCIMValue(true)}});
  s_.Reference(link, "To", port_, {{"KEY", TCIMValue(true)}});
  s_.Enter(link);
  TCIMReference nowhere = NewPort("host", "gone")->GetReference(TContext());
  const std::string danglingLine =
      "Inmem: Reference " + nowhere.GetPath() + " doesn't point to anything!";
  struct Row {
    const char* what;
    boost::shared_ptr<ICIMClass> cls;
    int flags;
    bool nullKey;
    TLines lines;  // logged by AddToNamespace, all at level 0
  };
  const Row rows[] = {
      {"no checks", port_, 0, true, {}},
      {"references only, not an association", port_, 2, true, {}},
      {"null key", port_, 1, true,
       {{0, "Inmem: Instance Port: key property DeviceID is NULL"},
        {0, "Inmem: Instance Port: invalid references"}}},
      {"keys set", port_, 3, false, {}},
      {"dangling reference", link, 2, false,
       {{0, danglingLine}, {0, "Inmem: Instance Link: invalid references"}}},
      {"dangling reference, keys only", link, 1, false, {}},
  };
  for (const Row& row : rows) {
    auto instance = boost::make_shared<TInmemInstance>(row.cls, row.flags);
    if (row.cls == port_) {
      instance->SetPropertyValue("SystemName", TCIMValue("host"), TContext());
      if (!row.nullKey) instance->SetPropertyValue("DeviceID", TCIMValue("eth9"), TContext());
    } else {
      instance->SetPropertyValue("To", TCIMValue(nowhere), TContext());
    }
    TCapturingLogger log;
    instance->AddToNamespace(TContext());  // never throws the validation error
    EXPECT_EQ(log.Lines(), row.lines) << row.what;
    bool filed = static_cast<bool>(
        s_.Namespace()->GetInstance(instance->GetReference(TContext()), TContext()));
    EXPECT_EQ(filed, row.lines.empty()) << row.what;
    s_.Namespace()->ClearInstances();
  }
  auto strict = boost::make_shared<TInmemInstance>(link, 2);
  strict->SetPropertyValue("To", TCIMValue(nowhere), TContext());
  TCapturingLogger log;
  EXPECT_EQ(StatusOf([&] { strict->Validate(TContext()); }), kStatusNotFound);
}

TEST_F(InstanceTest, WellKnownPropertiesAreMadeOnDemand) {
  TInstance port = NewPort("host", "eth0");
  // Asked, declared as, value: a status name is served under the name asked.
  const std::tuple<const char*, const char*, TCIMValue> rows[] = {
      {"PortHealthStateEx", "PortHealthStateEx", TCIMValue(static_cast<unsigned short>(0))},
      {"LongDescription", "Description", TCIMValue(" ")},
      {"speedDuplexMode", "speedDuplex", TCIMValue("Unknown")},
  };
  for (const auto& [asked, declared, value] : rows) {
    boost::shared_ptr<ICIMProperty> first = port->GetProperty(asked, TContext());
    EXPECT_EQ(first->GetValue(TContext()), value) << asked;
    EXPECT_EQ(first->GetDecl(TContext())->GetName(TContext()), declared);
    EXPECT_NE(port->GetProperty(asked, TContext()), first);  // fresh each time
    EXPECT_TRUE(port_->GetPropertyDecl(declared, TContext()));
  }
  EXPECT_EQ(StatusOf([&] { port->GetProperty("healthstate_x", TContext()); }), kStatusNotFound);
  EXPECT_EQ(StatusOf([&] { port->SetPropertyValue("Nope", TCIMValue(1), TContext()); }),
            kStatusNotFound);
  port->SetPropertyValue("speedDuplex", TCIMValue("Full"), TContext());  // dropped silently
  // Instances made later hold the new declarations like any other.
  TInstance later = NewPort("host", "eth1");
  EXPECT_EQ(later->GetProperty("description", TContext())->GetValue(TContext()), TCIMValue(" "));
  EXPECT_EQ(later->GetProperty("PORTHEALTHSTATEEX", TContext()),
            later->GetProperty("PortHealthStateEx", TContext()));
}

TEST_F(InstanceTest, EnumeratingPropertiesVisitsAllAndLogsFailures) {
  TInstance port = NewPort("host", "eth0");
  std::vector<std::string> seen;
  TCapturingLogger log;
  port->EnumerateProperties(
      [&](boost::shared_ptr<ICIMProperty> p) -> bool {
        seen.push_back(p->GetDecl(TContext())->GetName(TContext()));
        if (seen.size() == 1) throw TTYLException(kStatusTypeMismatch);
        return false;
      },
      TContext());
  EXPECT_EQ(seen, std::vector<std::string>({"DeviceID", "Speed", "SystemName"}));
  EXPECT_EQ(log.Lines(), TLines({{3, "TInmemInstance::EnumerateProperties: Failed in Enumerate the "
                                     "Property \"DeviceID\" of Class Port"}}));
}

TEST_F(InstanceTest, AHandedOutPropertyStaysUsableAfterItsInstanceGoes) {
  TInstance port = NewPort("host", "eth0");
  port->AddToNamespace(TContext());
  boost::shared_ptr<ICIMProperty> speed = port->GetProperty("Speed", TContext());
  boost::weak_ptr<ICIMInstance> watched = port;
  port->Delete(TContext());
  port.reset();
  speed->SetValue(TCIMValue(static_cast<unsigned long long>(10)), TContext());
  EXPECT_EQ(speed->GetValue(TContext()), TCIMValue(static_cast<unsigned long long>(10)));
  EXPECT_FALSE(watched.expired());
  speed.reset();
  EXPECT_TRUE(watched.expired());
}

TEST_F(InstanceTest, ADeclarationThatBecomesAReferenceIsIndexedInLaterInstances) {
  auto link = s_.Class("Link", "", {{"ASSOCIATION", TCIMValue(true)}});
  s_.Reference(link, "To", port_, {{"KEY", TCIMValue(true)}});
  boost::shared_ptr<ICIMPropertyDecl> peer = s_.Property(link, "Peer", TCIMValue::Null(kCIMTypeString));
  s_.Enter(link);
  std::vector<TInstance> ports;
  for (const char* device : {"eth0", "eth1", "eth2"}) {
    ports.push_back(NewPort("host", device));
    ports.back()->AddToNamespace(TContext());
  }
  link->AllocateInstance(TContext());  // built while "Peer" is a string
  peer->SetDefaultValue(TCIMValue::NullReference(port_), TContext());
  TInstance later = link->AllocateInstance(TContext());
  later->SetPropertyValue("To", TCIMValue(ports[0]->GetReference(TContext())), TContext());
  later->SetPropertyValue("Peer", TCIMValue(ports[1]->GetReference(TContext())), TContext());
  later->AddToNamespace(TContext());
  later->SetPropertyValue("Peer", TCIMValue(ports[2]->GetReference(TContext())), TContext());
  std::vector<size_t> referrers;
  for (const TInstance& port : ports) {
    size_t seen = 0;
    port->EnumerateAssociationInstances([&](TInstance) { return ++seen > 0; }, "", "", TContext());
    referrers.push_back(seen);
  }
  EXPECT_EQ(referrers, std::vector<size_t>({1, 0, 1}));
}

// Another implementation of the class: its lookup of "DateTimeOfCollection"
// fails with `status`, whatever the class declares.
class TFailingLookupClass : public TInmemClass {
 public:
  TFailingLookupClass(const boost::shared_ptr<TInmemNamespace>& ns, ETYLStatusCode status)
      : TInmemClass(ns, "Odd", boost::static_pointer_cast<TInmemClass>(ns->GetClass("", TContext()))),
        status_(status) {}

  boost::shared_ptr<ICIMPropertyDecl> GetPropertyDecl(const std::string& name,
                                                      TContext context) override {
    if (name == "DateTimeOfCollection") throw TTYLException(status_);
    return TInmemClass::GetPropertyDecl(name, context);
  }

 private:
  ETYLStatusCode status_;
};

// The class's own lookup decides the stamp: absent (status 15) means no
// stamp, and any other failure of the lookup ends the construction.
TEST_F(InstanceTest, CollectionTimeIsStampedWhenTheClassLookupFindsIt) {
  auto declaring = [&](boost::shared_ptr<ICIMClass> cls) {
    s_.Property(cls, "DateTimeOfCollection", TCIMValue::Null(kCIMTypeDateTime));
    return cls;
  };
  auto otherClass = [&](ETYLStatusCode status) {
    auto cls = boost::make_shared<TFailingLookupClass>(s_.Namespace(), status);
    cls->Define();
    return declaring(cls);
  };
  const struct {
    const char* what;
    boost::shared_ptr<ICIMClass> cls;
    ETYLStatusCode status;  // of the construction
    bool stamped;
  } rows[] = {
      {"declared", declaring(s_.Class("Stamped")), kStatusOk, true},
      {"not declared", port_, kStatusOk, false},
      {"lookup says absent", otherClass(kStatusNotFound), kStatusOk, false},
      {"lookup fails", otherClass(kStatusInvalidParameter), kStatusInvalidParameter, false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    TCIMDateTime before = TOSSpecific::GetLocalTime();
    TInstance instance;
    EXPECT_EQ(StatusOf([&] { instance = row.cls->AllocateInstance(TContext()); }), row.status);
    if (!instance) continue;
    TCIMValue stamp;  // null unless the instance holds a stamp
    StatusOf([&] {
      stamp = instance->GetProperty("DateTimeOfCollection", TContext())->GetValue(TContext());
    });
    EXPECT_EQ(!stamp.IsNull(), row.stamped);
    EXPECT_FALSE(row.stamped && static_cast<TCIMDateTime>(stamp) < before);
  }
}

TEST_F(InstanceTest, InstancesCompareByClassOnly) {
  TInstance a = NewPort("h", "1"), b = NewPort("h", "2");
  auto other = s_.Class("Other", "", {{"ABSTRACT", TCIMValue(true)}});
  TInstance c = other->AllocateInstance(TContext());
  EXPECT_TRUE(*a == *b);
  EXPECT_FALSE(*a < *b || *b < *a);
  EXPECT_FALSE(*a == *c);
  EXPECT_NE(*a < *c, *c < *a);
  EXPECT_TRUE(a->InvokeMethod("Reset", {}, TContext()).IsNull());
}

// An instance never keeps a declaration alive: once one leaves its class
// (removed, or replaced under a rule that lets a class declare a name again)
// and the host lets go of it, it is gone, and reaching it through an
// instance built before is a programming fault. Instances built afterwards
// hold what the class declares now.
TEST(InstanceDeathTest, AnInstanceNeverKeepsADeclarationItsClassDropped) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  const struct {
    const char* name;
    TQualifierSpecs qualifiers;
    bool removed;  // else declared again
  } rows[] = {
      {"Speed", {}, true},
      {"Id", {{"KEY", TCIMValue(true)}}, false},
      {"PortType", {}, false},
      {"speedDuplex", {}, false},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    TSchemaBuilder s;
    auto port = s.Class("Port");
    for (const char* name : {"Speed", "PortType", "speedDuplex"}) {
      s.Property(port, name, TCIMValue::Null(kCIMTypeString));
    }
    s.Key(port, "Id");
    TInstance before = port->AllocateInstance(TContext());
    boost::weak_ptr<ICIMPropertyDecl> old = port->GetPropertyDecl(row.name, TContext());
    if (row.removed) {
      port->RemovePropertyDecl(old.lock(), TContext());
    } else {
      s.Property(port, row.name, TCIMValue::Null(kCIMTypeString), row.qualifiers);
    }
    EXPECT_TRUE(old.expired());
    TInstance after = port->AllocateInstance(TContext());
    if (row.removed) {
      EXPECT_EQ(StatusOf([&] { after->GetProperty(row.name, TContext()); }), kStatusNotFound);
    } else {
      EXPECT_EQ(after->GetProperty(row.name, TContext())->GetDecl(TContext()),
                port->GetPropertyDecl(row.name, TContext()));
    }
    boost::shared_ptr<ICIMProperty> stale = before->GetProperty(row.name, TContext());
    EXPECT_DEATH(stale->GetDecl(TContext()), "Assertion failed: px != 0");
  }
}

// Deleting an instance reads only what it holds itself: a reference
// property left on its default whose declaration is gone is not reached.
TEST(InstanceDeleteTest, AnInstanceWhoseUnsetReferenceLostItsDeclarationCanBeDeleted) {
  TSchemaBuilder s;
  auto target = s.KeyedClass("Target", "", "Id");
  TInstance end = s.Instance("Target", {{"Id", TCIMValue("t")}});
  auto link = s.Class("Link", "", {{"ASSOCIATION", TCIMValue(true)}});
  s.Key(link, "Id");
  s.Reference(link, "Extra", target)->SetDefaultValue(TCIMValue(end->GetReference(TContext())), TContext());
  s.Enter(link);
  TInstance filed = s.Instance("Link", {{"Id", TCIMValue("l")}});
  ASSERT_TRUE(s.Namespace()->GetInstance(filed->GetReference(TContext()), TContext()));
  link->RemovePropertyDecl(link->GetPropertyDecl("Extra", TContext()), TContext());
  filed->Delete(TContext());
  EXPECT_FALSE(s.Namespace()->GetInstance(filed->GetReference(TContext()), TContext()));
}

// A host may bind the validation flags by reference or take their
// addresses, so the library must define them, not only name them. The
// addresses pass through volatile storage so that the compiler cannot fold
// them away: this binary must find both symbols in the library to link.
TEST(InstanceFlagsTest, TheValidationFlagsAreDefinedInTheLibrary) {
  const int32_t& keys = TInmemInstance::kValidateKeysNonNull;
  const int32_t& references = TInmemInstance::kValidateReferences;
  const int32_t* volatile addresses[] = {&keys, &references};
  EXPECT_EQ(*addresses[0], 1);
  EXPECT_EQ(*addresses[1], 2);
}

// The processor correction: enumerating PELXA_CPU or PELXA_Processor logs
// each processor's status, and gives those of status 1 the cache states that
// are known (0 or 1).
class ProcessorRuleTest : public testing::Test {
 protected:
  void TearDown() override { g_L1Enabled = g_L2Enabled = g_L3Enabled = -1; }
};

TEST_F(ProcessorRuleTest, StatusOneTakesTheKnownCacheStates) {
  const TCIMValue one(static_cast<unsigned short>(1));
  const std::string unset, yes = "TRUE", no = "FALSE";
  struct Row {
    const char* cls;
    TCIMValue status;
    int l1, l2, l3;
    std::vector<std::string> caches;  // the flags' text: "" while null
    TLines lines;
  };
  const Row rows[] = {
      {"PELXA_CPU", one, -1, -1, -1, {unset, unset, unset}, {{3, "cpuStatus is 1"}}},
      {"PELXA_Processor", one, 1, 0, 1, {yes, no, yes}, {{3, "cpuStatus is 1"}}},
      {"PELXA_CPU", one, 1, 0, 7, {yes, no, unset}, {{3, "cpuStatus is 1"}}},
      {"PELXA_CPU", TCIMValue(uint16_t{2}), 1, 1, 1, {unset, unset, unset}, {{3, "cpuStatus is 2"}}},
      {"PELXA_CPU", TCIMValue("01"), 1, 1, 1, {unset, unset, unset}, {{3, "cpuStatus is 01"}}},
      {"pelxa_cpu", one, 1, 1, 1, {unset, unset, unset}, {}},
  };
  const char* const kCaches[] = {"L1Enabled", "L2Enabled", "L3Enabled"};
  for (const Row& row : rows) {
    SCOPED_TRACE(std::string(row.cls) + " status " + row.status.ToString());
    g_L1Enabled = row.l1, g_L2Enabled = row.l2, g_L3Enabled = row.l3;
    TSchemaBuilder s;
    auto cpu = s.Class(row.cls);
    s.Key(cpu, "DeviceID");
    s.Property(cpu, "CPUStatus", TCIMValue::Null(row.status.GetType()));
    for (const char* cache : kCaches) s.Property(cpu, cache, TCIMValue::Null(kCIMTypeBoolean));
    s.Enter(cpu);
    TInstance processor =
        s.Instance(row.cls, {{"DeviceID", TCIMValue("CPU0")}, {"CPUStatus", row.status}});
    TCapturingLogger log;
    int seen = 0;
    cpu->EnumerateInstances([&](TInstance) { return ++seen < 0; }, false, TContext());
    EXPECT_EQ(seen, 1);
    EXPECT_EQ(log.Lines(), row.lines);
    std::vector<std::string> caches;
    for (const char* cache : kCaches) {
      caches.push_back(processor->GetProperty(cache, TContext())->GetValue(TContext()).ToString());
    }
    EXPECT_EQ(caches, row.caches);
  }
}

}  // namespace
