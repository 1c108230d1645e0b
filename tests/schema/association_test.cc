// Which association classes a class records, and which the walk from a
// class reports.

#include <gtest/gtest.h>

#include "tests/support/schema_builder.h"
#include "tests/support/status_of.h"

namespace {

typedef std::vector<std::string> TNames;

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
    element_ = s_.Class("ManagedElement", "", {{"ABSTRACT", TCIMValue(true)}});
    s_.Enter(element_);
    system_ = s_.Class("System", "ManagedElement");
    s_.Key(system_, "Name");
    s_.Enter(system_);
    computer_ = s_.Class("ComputerSystem", "System");
    s_.Enter(computer_);
    device_ = s_.Class("Device", "ManagedElement");
    s_.Key(device_, "Id");
    s_.Enter(device_);
    disk_ = s_.Class("Disk", "Device");
    s_.Enter(disk_);
    component_ = s_.Association("Component", "", {{"GroupComponent", system_}, {"PartComponent", device_}});
    systemDevice_ = s_.Association("SystemDevice", "Component", {});
    dependency_ = s_.Association("Dependency", "", {{"Antecedent", element_}, {"Dependent", device_}});
    peer_ = s_.Association("Peer", "", {{"Left", system_}, {"Right", system_}});
  }

  static TNames Walk(ICIMClass& from, const std::string& assocClass, const std::string& role) {
    TNames names;
    from.EnumerateAssociationClasses(
        [&](boost::shared_ptr<ICIMClass> c) {
          names.push_back(c->GetName(TContext()));
          return true;
        },
        assocClass, role, TContext());
    return names;
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
  boost::shared_ptr<ICIMClass> element_, system_, computer_, device_, disk_;
  boost::shared_ptr<ICIMClass> component_, systemDevice_, dependency_, peer_;
};

TEST_F(AssociationTest, EachReferencedClassRecordsTheAssociationOnceUnlessCovered) {
  // Own records only: a walk started on a class whose superclass is the root.
  EXPECT_EQ(Walk(*element_, "", ""), TNames({"Dependency"}));
  // System: its own records, then ManagedElement's.
  EXPECT_EQ(Walk(*system_, "", ""), TNames({"Component", "Peer", "SystemDevice", "Dependency"}));
  EXPECT_EQ(Walk(*device_, "", ""), TNames({"Component", "SystemDevice", "Dependency"}));
}

TEST_F(AssociationTest, DescendantsFindTheAssociationsOfTheirAncestors) {
  EXPECT_EQ(Walk(*computer_, "", ""), Walk(*system_, "", ""));
  EXPECT_EQ(Walk(*disk_, "", ""), Walk(*device_, "", ""));
  auto root = s_.Namespace()->GetClass("", TContext());
  EXPECT_TRUE(Walk(*root, "", "").empty());
}

TEST_F(AssociationTest, TheAssociationClassNameSelectsItAndItsSubclasses) {
  EXPECT_EQ(Walk(*computer_, "Component", ""), TNames({"Component", "SystemDevice"}));
  EXPECT_EQ(Walk(*computer_, "systemdevice", ""), TNames({"SystemDevice"}));
  EXPECT_EQ(StatusOf([&] { Walk(*computer_, "NoSuchAssociation", ""); }), kStatusNotFound);
}

TEST_F(AssociationTest, ARoleMustReferenceTheClassOfTheChainThatRecordedIt) {
  EXPECT_EQ(Walk(*computer_, "", "GroupComponent"), TNames({"Component", "SystemDevice"}));
  EXPECT_EQ(Walk(*disk_, "", "partcomponent"), TNames({"Component", "SystemDevice"}));
  EXPECT_EQ(Walk(*disk_, "", "Antecedent"), TNames({"Dependency"}));
  // Device never recorded Dependency, and at ManagedElement the Dependent
  // end references Device, not ManagedElement: nothing is found.
  EXPECT_TRUE(Walk(*disk_, "", "Dependent").empty());
  EXPECT_TRUE(Walk(*disk_, "", "NoSuchRole").empty());
}

TEST_F(AssociationTest, FalseFromTheCallbackStopsTheWholeWalk) {
  TNames names;
  system_->EnumerateAssociationClasses(
      [&](boost::shared_ptr<ICIMClass> c) {
        names.push_back(c->GetName(TContext()));
        return names.size() < 2;
      },
      "", "", TContext());
  EXPECT_EQ(names, TNames({"Component", "Peer"}));
}

TEST_F(AssociationTest, MatchAssociationsKeepsThoseLeadingToTheResultClass) {
  EXPECT_EQ(Match(*disk_, "", "System", "", ""), TNames({"Component", "SystemDevice"}));
  EXPECT_EQ(Match(*disk_, "", "", "", ""), Walk(*disk_, "", ""));
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
  EXPECT_EQ(Walk(*device_, "", ""), TNames({"Component", "SystemDevice"}));
  EXPECT_EQ(SubclassNames(*s_.Namespace()->GetClass("", TContext()), false),
            TNames({"ManagedElement", "Component", "Peer"}));
  // The namespace keeps every class it was given.
  EXPECT_EQ(s_.Namespace()->GetClass("Dependency", TContext()), dependency_);
  peer_->RemoveFromNamespace(TContext());
  EXPECT_EQ(Walk(*system_, "", ""), TNames({"Component", "SystemDevice"}));
}

TEST_F(AssociationTest, ReferencePropertiesNeedAnAssociationClass) {
  auto plain = s_.Class("Plain");
  EXPECT_EQ(StatusOf([&] { s_.Reference(plain, "To", system_); }),
            kStatusReferenceOnNonAssociation);
}

}  // namespace
