// References and associators over a small system-with-components model.

#include <functional>
#include <utility>

#include <gtest/gtest.h>

#include "include/cim_instance.h"
#include "include/cim_property.h"
#include "tests/support/schema_builder.h"

namespace {

typedef boost::shared_ptr<ICIMInstance> TInstance;

// ManagedElement (abstract) <- System (key Name), Device (key Id) <- Disk
// Component: GroupComponent -> System, PartComponent -> Device
//   SystemDevice : Component
// Peer: Left -> System, Right -> System
// Note: Descriptor -> ManagedElement, Text (key)
class AssociationWalkTest : public testing::Test {
 protected:
  void SetUp() override {
    auto element = s_.AbstractClass("ManagedElement");
    auto system = s_.KeyedClass("System", "ManagedElement", "Name");
    auto device = s_.KeyedClass("Device", "ManagedElement", "Id");
    s_.KeyedClass("Disk", "Device", "");
    s_.Association("Component", "", {{"GroupComponent", system}, {"PartComponent", device}});
    s_.Association("SystemDevice", "Component", {});
    s_.Association("Peer", "", {{"Left", system}, {"Right", system}});
    auto note = s_.Association("Note", "", {{"Descriptor", element}});
    s_.Key(note, "Text");

    sys1_ = s_.Instance("System", {{"Name", TCIMValue("sys1")}});
    sys2_ = s_.Instance("System", {{"Name", TCIMValue("sys2")}});
    disk1_ = s_.Instance("Disk", {{"Id", TCIMValue("disk1")}});
    disk2_ = s_.Instance("Disk", {{"Id", TCIMValue("disk2")}});
    first_ = Link("Component", "GroupComponent", sys1_, "PartComponent", disk1_);
    second_ = Link("Component", "GroupComponent", sys1_, "PartComponent", disk2_);
    Link("SystemDevice", "GroupComponent", sys1_, "PartComponent", disk1_);
    Link("Peer", "Left", sys1_, "Right", sys1_);
    Link("Peer", "Left", sys2_, "Right", sys1_);
    s_.Instance("Note", {{"Descriptor", Ref(sys2_)}, {"Text", TCIMValue("spare")}});
  }

  static TCIMValue Ref(const TInstance& to) { return TCIMValue(to->GetReference(TContext())); }

  TInstance Link(const std::string& cls, const std::string& a, const TInstance& to,
                 const std::string& b, const TInstance& other) {
    return s_.Instance(cls, {{a, Ref(to)}, {b, Ref(other)}});
  }

  // "Class(k1,k2)": the key values in key order; a reference key by the
  // first key value of the instance it points at.
  static std::string Label(const TInstance& instance) {
    std::string label;
    TCIMReference path = instance->GetReference(TContext());
    for (const auto& key : path.GetKeyBindings()) {
      const TCIMValue& v = key.second;
      label += "," + (v.IsReference() ? TCIMReference(v).GetKeyBindings().at(0).second : v).ToString();
    }
    return instance->GetClass(TContext())->GetName(TContext()) + "(" + label.substr(1) + ")";
  }

  // The labels a walk reports, with a callback that never stops it.
  TNames References(const TInstance& from, const std::string& resultClass, const std::string& role) {
    TNames seen;
    from->EnumerateAssociationInstances([&](TInstance i) { return seen.push_back(Label(i)), false; },
                                        resultClass, role, TContext());
    return seen;
  }
  TNames Associators(const TInstance& from, const std::string& assocClass, const std::string& resultClass,
                     const std::string& role, const std::string& resultRole) {
    TNames seen;
    from->EnumerateAssociatedInstances([&](TInstance i) { return seen.push_back(Label(i)), false; },
                                       assocClass, resultClass, role, resultRole, TContext());
    return seen;
  }

  TSchemaBuilder s_;
  TInstance sys1_, sys2_, disk1_, disk2_;
  TInstance first_, second_;  // Component(sys1,disk1), Component(sys1,disk2)
};

TEST_F(AssociationWalkTest, ReferencesReportEveryAssociationThatPointsHere) {
  // Association class order, then instance (path) order; the self-association once.
  EXPECT_EQ(References(sys1_, "", ""),
            TNames({"Component(sys1,disk1)", "Component(sys1,disk2)", "Peer(sys1,sys1)",
                    "Peer(sys2,sys1)", "SystemDevice(sys1,disk1)"}));
  EXPECT_EQ(References(sys1_, "", "Right"), TNames({"Peer(sys1,sys1)", "Peer(sys2,sys1)"}));
  EXPECT_EQ(References(sys1_, "Component", "GroupComponent"),
            TNames({"Component(sys1,disk1)", "Component(sys1,disk2)", "SystemDevice(sys1,disk1)"}));
  EXPECT_TRUE(References(sys1_, "", "NoSuchRole").empty());
  // An association declared against an ancestor class is found too, after
  // those of the instance's own class.
  EXPECT_EQ(References(sys2_, "", ""), TNames({"Peer(sys2,sys1)", "Note(sys2,spare)"}));
}

TEST_F(AssociationWalkTest, AssociatorsReportTheFarEnds) {
  // Two associations lead to disk1: it is reported twice. The self-peer
  // yields sys1 itself; the other peer yields sys2.
  EXPECT_EQ(Associators(sys1_, "", "", "", ""),
            TNames({"Disk(disk1)", "Disk(disk2)", "System(sys1)", "System(sys2)", "Disk(disk1)"}));
  EXPECT_EQ(Associators(sys1_, "Peer", "", "", ""), TNames({"System(sys1)", "System(sys2)"}));
  EXPECT_EQ(Associators(disk2_, "", "System", "", ""), TNames({"System(sys1)"}));
  EXPECT_TRUE(Associators(disk2_, "", "NoSuchClass", "", "").empty());
  // With the role named, that end is the own end even where it is not this instance.
  EXPECT_EQ(Associators(sys1_, "Peer", "", "Right", ""), TNames({"System(sys1)", "System(sys2)"}));
  EXPECT_EQ(Associators(sys1_, "Peer", "", "Left", ""), TNames({"System(sys1)", "System(sys1)"}));
}

TEST_F(AssociationWalkTest, AResultRoleNamesTheFarEndAndOverridesTheRole) {
  EXPECT_EQ(Associators(sys1_, "Peer", "", "", "Left"), TNames({"System(sys1)", "System(sys2)"}));
  EXPECT_EQ(Associators(sys1_, "Peer", "", "NoSuchRole", "Left"), Associators(sys1_, "Peer", "", "", "Left"));
  EXPECT_TRUE(Associators(sys1_, "", "System", "", "PartComponent").empty());
}

// The associations that point at one instance hold one path to it once
// filed, unless theirs differs in a part a reader sees.
TEST_F(AssociationWalkTest, ReferrersOfOneTargetShareOnePath) {
  auto group = [](const TInstance& association) {
    return association->GetProperty("GroupComponent", TContext())->GetValue(TContext()).GetReference();
  };
  EXPECT_TRUE(group(first_).SharesPartsWith(group(second_)));
  EXPECT_FALSE(group(first_).SharesPartsWith(sys1_->GetReference(TContext())));
  // The same text, but the key named in another letter case: kept apart,
  // spelling and all.
  TCIMReference spelled(s_.Namespace()->GetClass("System", TContext()), "",
                        {{"NAME", TCIMValue("sys1")}});
  auto disk3 = s_.Instance("Disk", {{"Id", TCIMValue("disk3")}});
  auto third = s_.Instance("Component", {{"GroupComponent", TCIMValue(spelled)},
                                         {"PartComponent", Ref(disk3)}});
  EXPECT_EQ(group(third).GetPath(), group(first_).GetPath());
  EXPECT_FALSE(group(third).SharesPartsWith(group(first_)));
  EXPECT_EQ(group(third).GetKeyBindings().at(0).first, "NAME");
  EXPECT_EQ(References(sys1_, "Component", "GroupComponent"),
            TNames({"Component(sys1,disk1)", "Component(sys1,disk2)", "Component(sys1,disk3)",
                    "SystemDevice(sys1,disk1)"}));
}

// A walk goes on from where it stood whatever its callback changes: what
// was dropped meanwhile is not reported, what was added after it is.
TEST_F(AssociationWalkTest, WalksFollowChangesTheirCallbacksMake) {
  const std::pair<std::function<void()>, TNames> rows[] = {
      {[&] { first_->Delete(TContext()); },  // the association just reported
       {"Component(sys1,disk1)", "Component(sys1,disk2)", "SystemDevice(sys1,disk1)"}},
      {[&] { second_->Delete(TContext()); }, {"Component(sys1,disk1)", "SystemDevice(sys1,disk1)"}},
      {[&] {
         auto disk3 = s_.Instance("Disk", {{"Id", TCIMValue("disk3")}});
         Link("Component", "GroupComponent", sys1_, "PartComponent", disk3);
       },
       {"Component(sys1,disk1)", "Component(sys1,disk2)", "Component(sys1,disk3)",
        "SystemDevice(sys1,disk1)"}},
      {[&] { sys1_->Delete(TContext()); }, {"Component(sys1,disk1)"}},  // the walk's own instance
      {[&] { s_.Namespace()->ClearInstances(); }, {"Component(sys1,disk1)"}},
  };
  for (const auto& row : rows) {
    s_ = TSchemaBuilder();  // a fresh repository for each row
    SetUp();
    TNames seen;
    sys1_->EnumerateAssociationInstances(
        [&](TInstance i) {
          seen.push_back(Label(i));
          if (seen.size() == 1) row.first();
          return true;
        },
        "Component", "", TContext());
    EXPECT_EQ(seen, row.second);
  }
}

}  // namespace
