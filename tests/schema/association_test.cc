// Which association classes a class records, and which the walk from a
// class reports.

#include <gtest/gtest.h>

#include "tests/support/schema_builder.h"
#include "tests/support/status_of.h"

namespace {

// ManagedElement (abstract)
//   System (key Name)  <- ComputerSystem
//   Device (key Id)    <- Disk
// Component (association): GroupComponent -> System, PartComponent -> Device
//   SystemDevice : Component (inherits both references)
// Dependency (association): Antecedent -> ManagedElement, Dependent -> Device
//   (Device derives from ManagedElement, so only ManagedElement records it)
// Peer (association): Left -> System, Right -> System (recorded once)
class AssociationTest : public testing::Test {
 protected:
  void SetUp() override {
    element_ = s_.AbstractClass("ManagedElement");
    system_ = s_.KeyedClass("System", "ManagedElement", "Name");
    computer_ = s_.KeyedClass("ComputerSystem", "System", "");
    device_ = s_.KeyedClass("Device", "ManagedElement", "Id");
    disk_ = s_.KeyedClass("Disk", "Device", "");
    s_.Association("Component", "", {{"GroupComponent", system_}, {"PartComponent", device_}});
    s_.Association("SystemDevice", "Component", {});
    dependency_ =
        s_.Association("Dependency", "", {{"Antecedent", element_}, {"Dependent", device_}});
    peer_ = s_.Association("Peer", "", {{"Left", system_}, {"Right", system_}});
  }

  static TNames Match(ICIMClass& from, const std::string& assocClass,
                      const std::string& resultClass, const std::string& role,
                      const std::string& resultRole) {
    TNames names;
    from.MatchAssociations(
        [&](boost::shared_ptr<ICIMClass> c) {
          names.push_back(c->GetName(TContext()));
          return true;
        },
        assocClass, resultClass, role, resultRole, TContext());
    return names;
  }

  TSchemaBuilder s_;
  boost::shared_ptr<ICIMClass> element_, system_, computer_, device_, disk_, dependency_, peer_;
};

// Each class lists its own records, then its ancestors'; a descendant finds
// those of its ancestors, and nothing records an association twice.
TEST_F(AssociationTest, AClassReportsItsOwnRecordsThenItsAncestors) {
  EXPECT_EQ(AssociationClassNames(*element_, "", ""), TNames({"Dependency"}));
  EXPECT_EQ(AssociationClassNames(*system_, "", ""), TNames({"Component", "Peer", "SystemDevice", "Dependency"}));
  const TNames devices = {"Component", "SystemDevice", "Dependency"};
  EXPECT_EQ(AssociationClassNames(*device_, "", ""), devices);
  EXPECT_EQ(AssociationClassNames(*disk_, "", ""), devices);
  EXPECT_TRUE(AssociationClassNames(*s_.Namespace()->GetClass("", TContext()), "", "").empty());
  EXPECT_EQ(AssociationClassNames(*system_, "", "", 2), TNames({"Component", "Peer"}));
}

TEST_F(AssociationTest, TheAssociationClassNameSelectsItAndItsSubclasses) {
  EXPECT_EQ(AssociationClassNames(*computer_, "Component", ""),
            TNames({"Component", "SystemDevice"}));
  EXPECT_EQ(AssociationClassNames(*computer_, "systemdevice", ""), TNames({"SystemDevice"}));
  EXPECT_EQ(StatusOf([&] { AssociationClassNames(*computer_, "NoSuchAssociation", ""); }),
            kStatusNotFound);
}

TEST_F(AssociationTest, ARoleMustReferenceTheClassOfTheChainThatRecordedIt) {
  EXPECT_EQ(AssociationClassNames(*disk_, "", "partcomponent"),
            TNames({"Component", "SystemDevice"}));
  EXPECT_EQ(AssociationClassNames(*disk_, "", "Antecedent"), TNames({"Dependency"}));
  // Device never recorded Dependency, and at ManagedElement the Dependent
  // end references Device, not ManagedElement: nothing is found.
  EXPECT_TRUE(AssociationClassNames(*disk_, "", "Dependent").empty());
  EXPECT_TRUE(AssociationClassNames(*disk_, "", "NoSuchRole").empty());
}

TEST_F(AssociationTest, MatchAssociationsKeepsThoseLeadingToTheResultClass) {
  EXPECT_EQ(Match(*disk_, "", "System", "", ""), TNames({"Component", "SystemDevice"}));
  EXPECT_EQ(Match(*disk_, "", "", "", ""), AssociationClassNames(*disk_, "", ""));
  EXPECT_EQ(Match(*computer_, "", "Device", "", "PartComponent"),
            TNames({"Component", "SystemDevice"}));
  EXPECT_TRUE(Match(*computer_, "", "Device", "", "GroupComponent").empty());
  // The own end is not a way out: Peer leads from a system to a system only
  // through the other end.
  EXPECT_EQ(Match(*system_, "Peer", "System", "Left", ""), TNames({"Peer"}));
  EXPECT_TRUE(Match(*system_, "Peer", "Device", "", "").empty());
}

TEST_F(AssociationTest, RemovingAnAssociationUndoesItsRecords) {
  dependency_->RemoveFromNamespace(TContext());
  EXPECT_EQ(AssociationClassNames(*device_, "", ""), TNames({"Component", "SystemDevice"}));
  EXPECT_EQ(SubclassNames(*s_.Namespace()->GetClass("", TContext()), false),
            TNames({"ManagedElement", "Component", "Peer"}));
  // The namespace keeps every class it was given.
  EXPECT_EQ(s_.Namespace()->GetClass("Dependency", TContext()), dependency_);
  peer_->RemoveFromNamespace(TContext());
  EXPECT_EQ(AssociationClassNames(*system_, "", ""), TNames({"Component", "SystemDevice"}));
}

}  // namespace
