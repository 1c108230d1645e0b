// Class and qualifier writes the repository has no operation for
// (ModifyClass, DeleteClass, DeleteQualifier, SetQualifier over a
// declaration that exists), made by building the namespace again aside:
// what they change, and that a refused one changes nothing at all.

#include <cstdlib>

#include <gtest/gtest.h>

#include "core/tyl_exception.h"
#include "include/cim_class.h"
#include "include/cim_qualifier_decl.h"
#include "include/cim_property_decl.h"
#include "server/interop_namespace.h"
#include "tests/server/server_fixture.h"

namespace {

const TContext kNone;

std::string ClassName(const std::string& name) { return "<CLASSNAME NAME=\"" + name + "\"/>"; }
std::string Value(const std::string& text) { return "<VALUE>" + text + "</VALUE>"; }

// A CLASS element: `properties` inside, under `super` when given.
std::string ClassXml(const std::string& name, const std::string& super, const std::string& properties) {
  return "<CLASS NAME=\"" + name + "\"" + (super.empty() ? "" : " SUPERCLASS=\"" + super + "\"") + ">" +
         properties + "</CLASS>";
}
std::string Property(const std::string& name, const std::string& type, const std::string& qualifiers = "") {
  return "<PROPERTY NAME=\"" + name + "\" TYPE=\"" + type + "\">" + qualifiers + "</PROPERTY>";
}
std::string Qualifier(const std::string& name, const std::string& type, const std::string& value) {
  return "<QUALIFIER NAME=\"" + name + "\" TYPE=\"" + type + "\"><VALUE>" + value + "</VALUE></QUALIFIER>";
}
const std::string kKey = Qualifier("Key", "boolean", "TRUE");

// Test_Disk as the fixture declares it, with `extra` properties.
std::string DiskXml(const std::string& extra) {
  return ClassXml("Test_Disk", "Test_Element",
                  Property("Id", "string", kKey) + Property("Slot", "uint16", kKey) + Property("Temperature", "sint8") +
                      Property("S16", "sint16") + Property("S32", "sint32") + Property("S64", "sint64") +
                      Property("U8", "uint8") + Property("R32", "real32") + Property("R64", "real64") +
                      Property("Letter", "char16") + Property("Kind", "uint16") +
                      "<PROPERTY.ARRAY NAME=\"Codes\" TYPE=\"uint16\"></PROPERTY.ARRAY>" + extra);
}

// Test_Disk with its property Kind of `type`.
std::string KindAs(const std::string& type) {
  std::string xml = DiskXml("");
  const std::string kind = Property("Kind", "uint16");
  return xml.replace(xml.find(kind), kind.size(), Property("Kind", type));
}

class ClassWritesTest : public ::testing::Test, protected TServedWithInterop {
 protected:
  void SetUp() override { Serve(false); }

  std::string Call(const std::string& method, const std::string& parameters, const std::string& ns = "root/cimv2") {
    return client->Call(ns, method, parameters);
  }
  static int CodeOf(const std::string& document) { return CimCodeOf(document); }

  ICIMNamespace& Served() { return Repository("root/cimv2"); }

  size_t InstanceCount(const std::string& className) {
    size_t count = 0;
    Served().GetClass(className, kNone)->EnumerateInstances(
        [&](boost::shared_ptr<ICIMInstance>) { return ++count > 0; }, true, kNone);
    return count;
  }

};

// Each refusal names the rule the change breaks, and leaves the namespace
// exactly as it was (its MOF is the same).
TEST_F(ClassWritesTest, RefusedChangesLeaveTheNamespaceAsItWas) {
  // A subclass that overrides what its parent would lose.
  ASSERT_EQ(CodeOf(Call("CreateClass", Param("NewClass", ClassXml("Test_BigDisk", "Test_Disk",
                                                                   Property("Kind", "uint16",
                                                                            Qualifier("Override", "string", "Kind")))))),
            0);
  const std::string before = Exported(Served());
  const std::string unit = "<QUALIFIER.DECLARATION NAME=\"Units\" TYPE=\"uint32\"><SCOPE PROPERTY=\"true\" "
                           "METHOD=\"true\" PARAMETER=\"true\"/></QUALIFIER.DECLARATION>";
  const struct {
    const char* what;
    const char* method;
    std::string parameters;
    int code;
    const char* says;
  } cases[] = {
      {"a class that is not there", "ModifyClass", Param("ModifiedClass", ClassXml("Test_Nope", "", "")), 6,
       "no class named Test_Nope"},
      {"a superclass that is not there", "ModifyClass",
       Param("ModifiedClass", ClassXml("Test_Disk", "Test_Nowhere", Property("Id", "string", kKey))), 10,
       "no superclass named Test_Nowhere"},
      {"a property a subclass overrides, of another type", "ModifyClass", Param("ModifiedClass", KindAs("string")),
       8, "subclass Test_BigDisk"},
      {"a property instances hold, of another type", "ModifyClass",
       Param("ModifiedClass", ClassXml("Test_System", "Test_Element",
                                       Property("Name", "string", kKey) + Property("Cores", "string"))),
       9, "an instance of Test_System"},
      {"a key that instances leave null", "ModifyClass",
       Param("ModifiedClass", DiskXml(Property("Serial", "string", kKey))), 9, "an instance of Test_Disk"},
      {"a class another one refers to", "DeleteClass", Param("ClassName", ClassName("Test_Disk")), 1,
       "class Test_SystemDisk refers to Test_Disk"},
      {"a class whose subclass is referred to", "DeleteClass", Param("ClassName", ClassName("Test_Element")), 1,
       "refers to"},
      {"a class that is not there", "DeleteClass", Param("ClassName", ClassName("Test_Nope")), 6, "Test_Nope"},
      {"a qualifier classes use", "DeleteQualifier", Param("QualifierName", Value("Units")), 1,
       "qualifier Units is still used by class Test_System"},
      {"a qualifier that is not declared", "DeleteQualifier", Param("QualifierName", Value("Nope")), 6, "Nope"},
      {"a declaration its uses no longer fit", "SetQualifier", Param("QualifierDeclaration", unit), 1,
       "would not fit class Test_System"},
  };
  for (const auto& c : cases) {
    const std::string document = Call(c.method, c.parameters);
    EXPECT_EQ(CodeOf(document), c.code) << c.what << ": " << document;
    EXPECT_NE(document.find(c.says), std::string::npos) << c.what << ": " << document;
    EXPECT_EQ(Exported(Served()), before) << c.what;
  }
  // The server's own classes in the Interop namespace hold its instances.
  EXPECT_EQ(CodeOf(Call("DeleteClass", Param("ClassName", ClassName("CIM_ObjectManager")), "interop")), 2);
  // A read-only server refuses them all before looking.
  Serve(true);
  EXPECT_EQ(CodeOf(Call("DeleteClass", Param("ClassName", ClassName("Test_SystemDisk")))), 2);
  EXPECT_EQ(CodeOf(Call("DeleteQualifier", Param("QualifierName", Value("Units")))), 2);
}

TEST_F(ClassWritesTest, AModifiedClassKeepsItsInstancesAndSubclasses) {
  ASSERT_EQ(CodeOf(Call("CreateClass", Param("NewClass", ClassXml("Test_BigDisk", "Test_Disk", "")))), 0);
  const std::string document = Call("ModifyClass", Param("ModifiedClass", DiskXml(Property("Vendor", "string"))));
  ASSERT_EQ(CodeOf(document), 0) << document;
  boost::shared_ptr<ICIMClass> disk = Served().GetClass("Test_Disk", kNone);
  EXPECT_TRUE(disk->GetPropertyDecl("Vendor", kNone));
  EXPECT_TRUE(Served().GetClass("Test_BigDisk", kNone)->GetPropertyDecl("Vendor", kNone));
  EXPECT_EQ(InstanceCount("Test_Disk"), 2u);
  EXPECT_EQ(InstanceCount("Test_SystemDisk"), 2u);  // the associations still stand
  // A request sees the new class at once.
  EXPECT_NE(Call("GetClass", Param("ClassName", ClassName("Test_Disk"))).find("NAME=\"Vendor\""), std::string::npos);
  // What the repository does not keep (the class of a reference parameter)
  // comes through a rebuild.
  ASSERT_EQ(CodeOf(Call("CreateClass",
                        Param("NewClass", ClassXml("Test_Tool", "", Property("Id", "string", kKey) +
                                                                      "<METHOD NAME=\"Check\" TYPE=\"uint32\">"
                                                                      "<PARAMETER.REFERENCE NAME=\"Target\" "
                                                                      "REFERENCECLASS=\"Test_Disk\"/></METHOD>")))),
            0);
  ASSERT_EQ(CodeOf(Call("ModifyClass", Param("ModifiedClass", DiskXml(Property("Model", "string"))))), 0);
  EXPECT_NE(Call("GetClass", Param("ClassName", ClassName("Test_Tool")))
                .find("<PARAMETER.REFERENCE NAME=\"Target\" REFERENCECLASS=\"Test_Disk\""),
            std::string::npos);
  // A changed qualifier declaration that its uses still fit.
  const std::string units = "<QUALIFIER.DECLARATION NAME=\"Units\" TYPE=\"string\"><SCOPE PROPERTY=\"true\" "
                            "METHOD=\"true\" PARAMETER=\"true\"/><VALUE>none</VALUE></QUALIFIER.DECLARATION>";
  ASSERT_EQ(CodeOf(Call("SetQualifier", Param("QualifierDeclaration", units))), 0);
  EXPECT_EQ(Served().GetQualifierDecl("Units", kNone)->GetValue(kNone).GetString(), "none");
}

// A deleted class takes its subclasses, their instances and the
// associations that point at them along, in every namespace.
TEST_F(ClassWritesTest, ADeletedClassTakesWhatStandsOnItAlong) {
  // alpha conforms to a profile registered in the Interop namespace.
  ASSERT_EQ(CodeOf(Call("CreateInstance",
                        Param("NewInstance", "<INSTANCE CLASSNAME=\"CIM_RegisteredProfile\"><PROPERTY "
                                             "NAME=\"InstanceID\" TYPE=\"string\"><VALUE>p</VALUE></PROPERTY>"
                                             "</INSTANCE>"),
                        "interop")),
            0);
  ASSERT_EQ(CodeOf(Call("CreateInstance",
                        Param("NewInstance",
                              "<INSTANCE CLASSNAME=\"CIM_ElementConformsToProfile\"><PROPERTY.REFERENCE "
                              "NAME=\"ConformantStandard\"><VALUE.REFERENCE><INSTANCENAME "
                              "CLASSNAME=\"CIM_RegisteredProfile\"><KEYBINDING NAME=\"InstanceID\"><KEYVALUE>p"
                              "</KEYVALUE></KEYBINDING></INSTANCENAME></VALUE.REFERENCE></PROPERTY.REFERENCE>"
                              "<PROPERTY.REFERENCE NAME=\"ManagedElement\"><VALUE.REFERENCE><LOCALINSTANCEPATH>"
                              "<LOCALNAMESPACEPATH><NAMESPACE NAME=\"root\"/><NAMESPACE NAME=\"cimv2\"/>"
                              "</LOCALNAMESPACEPATH><INSTANCENAME CLASSNAME=\"Test_System\"><KEYBINDING "
                              "NAME=\"Name\"><KEYVALUE>alpha</KEYVALUE></KEYBINDING></INSTANCENAME>"
                              "</LOCALINSTANCEPATH></VALUE.REFERENCE></PROPERTY.REFERENCE></INSTANCE>"),
                        "interop")),
            0);
  ICIMNamespace& interop = *namespaces->Find("interop")->ns;
  auto conforming = [&] {
    size_t count = 0;
    interop.GetClass("CIM_ElementConformsToProfile", kNone)->EnumerateInstances(
        [&](boost::shared_ptr<ICIMInstance>) { return ++count > 0; }, true, kNone);
    return count;
  };
  const size_t serversOwn = conforming() - 1;
  ASSERT_EQ(CodeOf(Call("DeleteClass", Param("ClassName", ClassName("Test_SystemDisk")))), 0);
  EXPECT_THROW(Served().GetClass("Test_SystemDisk", kNone), TTYLException);
  EXPECT_EQ(InstanceCount("Test_Disk"), 2u);
  ASSERT_EQ(CodeOf(Call("DeleteClass", Param("ClassName", ClassName("Test_Element")))), 0);
  for (const char* gone : {"Test_Element", "Test_System", "Test_Disk"}) {
    EXPECT_THROW(Served().GetClass(gone, kNone), TTYLException) << gone;
  }
  EXPECT_EQ(conforming(), serversOwn);
  // What is left loads again as it is.
  boost::shared_ptr<ICIMNamespace> again = NewProviderNamespace();
  ASSERT_TRUE(TMofLoader(again).LoadText("left.mof", Exported(Served())));
  EXPECT_EQ(Exported(*again), Exported(Served()));
  // An unused declaration goes.
  ASSERT_EQ(CodeOf(Call("DeleteQualifier", Param("QualifierName", Value("Units")))), 0);
  EXPECT_FALSE(Served().GetQualifierDecl("Units", kNone));
}

}  // namespace
