// The Interop and indication classes bundled with inmem serve
// (server/interop_schema.mof): they load alone into a fresh repository, the
// server's description of itself can be filed in them and walked, and each
// one is the DMTF class of its name (when INMEM_CIM_SCHEMA names the DMTF
// schema), so that the file cannot drift from what clients expect.

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "core/ascii.h"
#include "core/cim_reference.h"
#include "core/tyl_exception.h"
#include "include/cim_class.h"
#include "include/cim_instance.h"
#include "include/cim_property.h"
#include "include/cim_property_decl.h"
#include "include/cim_qualifier.h"
#include "include/cim_qualifier_decl.h"
#include "mof/mof_loader.h"
#include "tests/support/capturing_logger.h"
#include "tests/support/provider_namespace.h"

namespace {

const TContext kNone;
typedef boost::shared_ptr<ICIMNamespace> TNamespace;
typedef boost::shared_ptr<ICIMClass> TClass;
typedef boost::shared_ptr<ICIMInstance> TInstance;

// Every class of the file: those the server files or clients use, and the
// superclasses they stand on.
const std::set<std::string> kClasses = {
    // under everything
    "CIM_ManagedElement", "CIM_ManagedSystemElement", "CIM_LogicalElement",
    "CIM_EnabledLogicalElement", "CIM_System", "CIM_ComputerSystem", "CIM_Service",
    "CIM_ServiceAccessPoint", "CIM_Dependency", "CIM_HostedDependency", "CIM_HostedService",
    "CIM_ServiceAccessBySAP",
    // the object manager (DSP1071)
    "CIM_WBEMService", "CIM_ObjectManager", "CIM_ObjectManagerCommunicationMechanism",
    "CIM_CIMXMLCommunicationMechanism", "CIM_CommMechanismForManager", "CIM_Namespace",
    "CIM_NamespaceInManager",
    // profiles (DSP1033)
    "CIM_RegisteredProfile", "CIM_RegisteredSubProfile", "CIM_ReferencedProfile",
    "CIM_SubProfileRequiresProfile", "CIM_ElementConformsToProfile",
    // indications (DSP1054)
    "CIM_Indication", "CIM_ClassIndication", "CIM_InstIndication", "CIM_InstCreation",
    "CIM_InstModification", "CIM_InstDeletion", "CIM_IndicationFilter",
    "CIM_ListenerDestination", "CIM_ListenerDestinationCIMXML", "CIM_IndicationHandler",
    "CIM_IndicationHandlerCIMXML", "CIM_AbstractIndicationSubscription",
    "CIM_IndicationSubscription", "CIM_Collection", "CIM_FilterCollection",
    "CIM_FilterCollectionSubscription", "CIM_IndicationService", "CIM_Capabilities",
    "CIM_IndicationServiceCapabilities", "CIM_ElementCapabilities",
};

// Qualifiers that only document: the file leaves them out, and the
// comparison with the DMTF schema does not look at them.
const std::set<std::string> kDocumentationQualifiers = {
    "description", "version", "umlpackagepath", "modelcorrespondence", "mappingstrings",
};

std::string FileText(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

// A namespace loaded with `text`, and what its loader reported.
struct TLoaded {
  TNamespace ns;
  std::vector<TMofDiagnostic> diagnostics;
  TMofLoadCounts counts;
  bool ok = false;
};

TLoaded LoadMof(const std::string& name, const std::string& text) {
  TLoaded loaded;
  loaded.ns = NewProviderNamespace();
  TMofLoader loader(loaded.ns);
  TCapturingLogger quiet;
  loaded.ok = loader.LoadText(name, text);
  loaded.diagnostics = loader.Diagnostics();
  loaded.counts = loader.Counts();
  return loaded;
}

const std::string& InteropText() {
  static const std::string text = FileText(INMEM_INTEROP_SCHEMA);
  return text;
}

std::string Errors(const TLoaded& loaded) {
  std::string text;
  for (const TMofDiagnostic& d : loaded.diagnostics) {
    if (d.severity != TMofDiagnostic::kNote) text += d.Format() + "\n";
  }
  return text;
}

std::vector<TClass> AllClasses(ICIMNamespace& ns) {
  std::vector<TClass> classes;
  ns.GetClass("", kNone)->EnumerateSubclasses([&](TClass c) { return classes.push_back(c), true; },
                                              true, kNone);
  return classes;
}

std::set<std::string> KeysOf(ICIMClass& cls) {
  std::set<std::string> keys;
  cls.EnumerateKeys([&](const std::string& key) { return keys.insert(LowerAscii(key)), true; }, kNone);
  return keys;
}

// ---------------------------------------------------------------------------
// A class reduced to what the comparison looks at, each aspect as text.

// A value as text that tells values apart: strings quoted, arrays braced.
std::string Text(const TCIMValue& value) {
  if (value.IsNull()) return "null";
  if (value.IsArray()) {
    std::string text = "{";
    for (const TCIMValue& element : value.GetElements()) {
      text += (text.size() > 1 ? ", " : "") + Text(element);
    }
    return text + "}";
  }
  if (value.GetType() == kCIMTypeString) return "\"" + value.GetString() + "\"";
  return value.ToString();
}

typedef std::map<std::string, std::string> TAspects;

struct TFeatureView {
  std::string name;
  TAspects aspects;
};

struct TClassView {
  TAspects aspects;
  std::map<std::string, TFeatureView> properties;  // by lower-case name
};

void AddQualifiers(const ICIMNamedElement& element, TAspects* aspects) {
  element.EnumerateQualifiers(
      [&](boost::shared_ptr<ICIMQualifier> q) {
        std::string name = q->GetName(kNone);
        if (kDocumentationQualifiers.count(LowerAscii(name)) == 0) {
          (*aspects)["qualifier " + name] = Text(q->GetValue(kNone));
        }
        return true;
      },
      kNone);
}

TClassView ViewOf(ICIMClass& cls) {
  TClassView view;
  TClass super = cls.GetSuperClass(kNone);
  view.aspects["superclass"] = cls.IsTopLevel(kNone) || !super ? "(none)" : super->GetName(kNone);
  view.aspects["abstract"] = cls.IsAbstract(kNone) ? "yes" : "no";
  view.aspects["association"] = cls.IsAssociation(kNone) ? "yes" : "no";
  bool found = false;
  boost::shared_ptr<const ICIMQualifier> indication = cls.GetQualifier("Indication", found, kNone);
  view.aspects["indication"] =
      indication && !indication->GetValue(kNone).IsNull() &&
              static_cast<bool>(indication->GetValue(kNone))
          ? "yes"
          : "no";
  AddQualifiers(cls, &view.aspects);
  std::set<std::string> keys = KeysOf(cls);
  cls.EnumeratePropertyDecls(
      [&](boost::shared_ptr<ICIMPropertyDecl> decl) {
        TFeatureView& p = view.properties[LowerAscii(decl->GetName(kNone))];
        p.name = decl->GetName(kNone);
        const TCIMValue& prototype = decl->GetDefaultValue(kNone);
        p.aspects["type"] = CIMTypeName(decl->GetType(kNone));
        p.aspects["key"] = keys.count(LowerAscii(p.name)) ? "yes" : "no";
        p.aspects["declared in"] = decl->GetClass(kNone)->GetName(kNone);
        if (prototype.IsReference()) {
          TClass target = prototype.GetReferencedClass();
          p.aspects["refers to"] = target ? target->GetName(kNone) : "(unknown)";
        } else {
          p.aspects["default"] = Text(prototype);
        }
        AddQualifiers(*decl, &p.aspects);
        return true;
      },
      kNone);
  return view;
}

// One difference between a class (or qualifier declaration) of ours and the
// reference one of the same name.
struct TMismatch {
  std::string where;    // class name, or "qualifier declaration"
  std::string element;  // property or qualifier name; empty for the class
  std::string aspect;
  std::string ours;
  std::string theirs;
};

void CompareAspects(const std::string& where, const std::string& element, const TAspects& ours,
                    const TAspects& theirs, std::vector<TMismatch>* out) {
  std::set<std::string> names;
  for (const auto& a : ours) names.insert(a.first);
  for (const auto& a : theirs) names.insert(a.first);
  for (const std::string& name : names) {
    auto o = ours.find(name);
    auto t = theirs.find(name);
    std::string oursText = o == ours.end() ? "(absent)" : o->second;
    std::string theirText = t == theirs.end() ? "(absent)" : t->second;
    if (oursText != theirText) out->push_back({where, element, name, oursText, theirText});
  }
}

TAspects DeclAspects(const ICIMQualifierDecl& decl) {
  return {
      {"type", CIMTypeName(decl.GetType(kNone))},
      {"default", Text(decl.GetValue(kNone))},
      {"scope", std::to_string(decl.GetScope(kNone))},
      {"flavor", std::to_string(decl.GetFlavor(kNone))},
  };
}

// Every difference between each class and qualifier declaration of `ours`
// and the one of the same name in `reference`.
std::vector<TMismatch> Compare(ICIMNamespace& ours, ICIMNamespace& reference) {
  std::vector<TMismatch> mismatches;
  ours.EnumerateQualifierDecls(
      [&](boost::shared_ptr<ICIMQualifierDecl> decl) {
        const std::string& name = decl->GetName(kNone);
        boost::shared_ptr<ICIMQualifierDecl> theirs = reference.GetQualifierDecl(name, kNone);
        if (!theirs) {
          mismatches.push_back({"qualifier declaration", name, "declared", "yes", "no"});
        } else {
          CompareAspects("qualifier declaration", name, DeclAspects(*decl), DeclAspects(*theirs),
                         &mismatches);
        }
        return true;
      },
      kNone);
  for (const TClass& cls : AllClasses(ours)) {
    const std::string& name = cls->GetName(kNone);
    TClass theirs;
    try {
      theirs = reference.GetClass(name, kNone);
    } catch (const TTYLException&) {
    }
    if (!theirs) {
      mismatches.push_back({name, "", "defined", "yes", "no"});
      continue;
    }
    TClassView o = ViewOf(*cls);
    TClassView t = ViewOf(*theirs);
    CompareAspects(name, "", o.aspects, t.aspects, &mismatches);
    for (const auto& p : t.properties) {
      if (o.properties.count(p.first) == 0) {
        mismatches.push_back({name, p.second.name, "property", "(absent)", "present"});
      }
    }
    for (const auto& p : o.properties) {
      auto other = t.properties.find(p.first);
      if (other == t.properties.end()) {
        mismatches.push_back({name, p.second.name, "property", "present", "(absent)"});
      } else {
        CompareAspects(name, p.second.name, p.second.aspects, other->second.aspects, &mismatches);
      }
    }
  }
  return mismatches;
}

// The mismatches as a table, one line each.
std::string Table(const std::vector<TMismatch>& mismatches, const std::string& theirName) {
  size_t widths[3] = {5, 7, 6};
  for (const TMismatch& m : mismatches) {
    widths[0] = std::max(widths[0], m.where.size());
    widths[1] = std::max(widths[1], m.element.size());
    widths[2] = std::max(widths[2], m.aspect.size());
  }
  auto pad = [](const std::string& text, size_t width) {
    return text + std::string(width - text.size() + 2, ' ');
  };
  std::string table = pad("where", widths[0]) + pad("element", widths[1]) +
                      pad("aspect", widths[2]) + "ours | " + theirName + "\n";
  for (const TMismatch& m : mismatches) {
    table += pad(m.where, widths[0]) + pad(m.element, widths[1]) + pad(m.aspect, widths[2]) +
             m.ours + " | " + m.theirs + "\n";
  }
  return table;
}

// ---------------------------------------------------------------------------

TEST(InteropSchemaTest, LoadsAloneIntoAFreshRepository) {
  TLoaded loaded = LoadMof(INMEM_INTEROP_SCHEMA, InteropText());
  ASSERT_TRUE(loaded.ok) << Errors(loaded);
  EXPECT_EQ(Errors(loaded), "") << "no errors and no warnings";

  std::set<std::string> names;
  for (const TClass& cls : AllClasses(*loaded.ns)) names.insert(cls->GetName(kNone));
  EXPECT_EQ(names, kClasses);
  EXPECT_EQ(loaded.counts.classes, static_cast<int>(kClasses.size()));

  // A concrete class without a key is entered by the loader's keyless policy
  // and could never be addressed: only indications, which are delivered and
  // never filed, may be that way.
  int keyless = 0;
  for (const TClass& cls : AllClasses(*loaded.ns)) {
    if (cls->IsAbstract(kNone) || !KeysOf(*cls).empty()) continue;
    ++keyless;
    bool found = false;
    boost::shared_ptr<const ICIMQualifier> indication = cls->GetQualifier("Indication", found, kNone);
    EXPECT_TRUE(indication && static_cast<bool>(indication->GetValue(kNone)))
        << cls->GetName(kNone) << " is concrete, has no key and is no indication";
  }
  EXPECT_EQ(loaded.counts.keylessClasses, keyless);
}

// The description of itself the server files in the Interop namespace, and
// a subscription as a client creates one; alias names stand for the paths.
const char kInteropModel[] = R"(
instance of CIM_ComputerSystem as $System {
  CreationClassName = "CIM_ComputerSystem"; Name = "host.example";
};
instance of CIM_ObjectManager as $Manager {
  SystemCreationClassName = "CIM_ComputerSystem"; SystemName = "host.example";
  CreationClassName = "CIM_ObjectManager"; Name = "inmem"; ElementName = "inmem";
};
instance of CIM_HostedService { Antecedent = $System; Dependent = $Manager; };
instance of CIM_CIMXMLCommunicationMechanism as $Http {
  SystemCreationClassName = "CIM_ComputerSystem"; SystemName = "host.example";
  CreationClassName = "CIM_CIMXMLCommunicationMechanism"; Name = "http";
  FunctionalProfilesSupported = {2, 3, 4, 5, 6, 8, 10}; MultipleOperationsSupported = false;
  AuthenticationMechanismsSupported = {3}; Version = "1.2"; AdvertiseTypes = {2};
  CIMXMLProtocolVersion = 1; CIMValidated = false;
};
instance of CIM_CommMechanismForManager { Antecedent = $Manager; Dependent = $Http; };
instance of CIM_Namespace as $Interop {
  SystemCreationClassName = "CIM_ComputerSystem"; SystemName = "host.example";
  ObjectManagerCreationClassName = "CIM_ObjectManager"; ObjectManagerName = "inmem";
  CreationClassName = "CIM_Namespace"; Name = "root/interop"; ClassInfo = 0; ClassType = 2;
};
instance of CIM_NamespaceInManager { Antecedent = $Manager; Dependent = $Interop; };
instance of CIM_RegisteredProfile as $Server {
  InstanceID = "inmem:DSP1071"; RegisteredOrganization = 2; RegisteredName = "WBEM Server";
  RegisteredVersion = "1.0.0"; AdvertiseTypes = {2};
};
instance of CIM_RegisteredProfile as $Registration {
  InstanceID = "inmem:DSP1033"; RegisteredOrganization = 2;
  RegisteredName = "Profile Registration"; RegisteredVersion = "1.0.0"; AdvertiseTypes = {2};
};
instance of CIM_ReferencedProfile { Antecedent = $Registration; Dependent = $Server; };
instance of CIM_ElementConformsToProfile { ConformantStandard = $Server; ManagedElement = $Manager; };
instance of CIM_IndicationService as $Service {
  SystemCreationClassName = "CIM_ComputerSystem"; SystemName = "host.example";
  CreationClassName = "CIM_IndicationService"; Name = "indications";
};
instance of CIM_IndicationServiceCapabilities as $Capabilities {
  InstanceID = "inmem:indications"; ElementName = "indications";
};
instance of CIM_ElementCapabilities { ManagedElement = $Service; Capabilities = $Capabilities; };
instance of CIM_IndicationFilter as $Filter {
  SystemCreationClassName = "CIM_ComputerSystem"; SystemName = "host.example";
  CreationClassName = "CIM_IndicationFilter"; Name = "created";
  Query = "SELECT * FROM CIM_InstCreation"; QueryLanguage = "DMTF:CQL";
  SourceNamespaces = {"root/cimv2"};
};
instance of CIM_ListenerDestinationCIMXML as $Listener {
  SystemCreationClassName = "CIM_ComputerSystem"; SystemName = "host.example";
  CreationClassName = "CIM_ListenerDestinationCIMXML"; Name = "listener";
  Destination = "http://127.0.0.1:5990"; PersistenceType = 2;
};
instance of CIM_IndicationHandlerCIMXML as $OldHandler {
  SystemCreationClassName = "CIM_ComputerSystem"; SystemName = "host.example";
  CreationClassName = "CIM_IndicationHandlerCIMXML"; Name = "handler";
  Destination = "http://127.0.0.1:5991";
};
instance of CIM_IndicationSubscription {
  Filter = $Filter; Handler = $Listener; SubscriptionState = 2; OnFatalErrorPolicy = 2;
};
instance of CIM_IndicationSubscription { Filter = $Filter; Handler = $OldHandler; };
instance of CIM_FilterCollection as $Collection { InstanceID = "inmem:all"; };
instance of CIM_FilterCollectionSubscription { Filter = $Collection; Handler = $Listener; };
)";

const char kSystem[] = R"(CIM_ComputerSystem.CreationClassName="CIM_ComputerSystem",Name="host.example")";
const char kManager[] =
    R"(CIM_ObjectManager.SystemCreationClassName="CIM_ComputerSystem",SystemName="host.example",)"
    R"(CreationClassName="CIM_ObjectManager",Name="inmem")";
const char kHttp[] =
    R"(CIM_CIMXMLCommunicationMechanism.SystemCreationClassName="CIM_ComputerSystem",)"
    R"(SystemName="host.example",CreationClassName="CIM_CIMXMLCommunicationMechanism",Name="http")";
const char kInterop[] =
    R"(CIM_Namespace.SystemCreationClassName="CIM_ComputerSystem",SystemName="host.example",)"
    R"(ObjectManagerCreationClassName="CIM_ObjectManager",ObjectManagerName="inmem",)"
    R"(CreationClassName="CIM_Namespace",Name="root/interop")";
const char kServer[] = R"(CIM_RegisteredProfile.InstanceID="inmem:DSP1071")";
const char kRegistration[] = R"(CIM_RegisteredProfile.InstanceID="inmem:DSP1033")";
const char kService[] =
    R"(CIM_IndicationService.SystemCreationClassName="CIM_ComputerSystem",SystemName="host.example",)"
    R"(CreationClassName="CIM_IndicationService",Name="indications")";
const char kCapabilities[] = R"(CIM_IndicationServiceCapabilities.InstanceID="inmem:indications")";
const char kFilter[] =
    R"(CIM_IndicationFilter.SystemCreationClassName="CIM_ComputerSystem",SystemName="host.example",)"
    R"(CreationClassName="CIM_IndicationFilter",Name="created")";
const char kListener[] =
    R"(CIM_ListenerDestinationCIMXML.SystemCreationClassName="CIM_ComputerSystem",)"
    R"(SystemName="host.example",CreationClassName="CIM_ListenerDestinationCIMXML",Name="listener")";
const char kOldHandler[] =
    R"(CIM_IndicationHandlerCIMXML.SystemCreationClassName="CIM_ComputerSystem",)"
    R"(SystemName="host.example",CreationClassName="CIM_IndicationHandlerCIMXML",Name="handler")";
const char kCollection[] = R"(CIM_FilterCollection.InstanceID="inmem:all")";

struct TWalk {
  const char* from;
  const char* assocClass;
  std::vector<const char*> to;
};

TEST(InteropSchemaTest, TheServersModelFilesAndWalks) {
  TLoaded loaded = LoadMof("interop+model", InteropText() + kInteropModel);
  ASSERT_TRUE(loaded.ok) << Errors(loaded);
  TNamespace ns = loaded.ns;
  // Each instance is found at the path its class's keys make; a key the
  // class lost or gained would leave it elsewhere.
  auto find = [&](const std::string& path) -> TInstance {
    TInstance found;
    try {
      found = ns->GetInstance(TCIMReference::Parse(path, ns), kNone);
    } catch (const TTYLException& e) {
      ADD_FAILURE() << path << ": " << e.what();
      return nullptr;
    }
    if (!found) ADD_FAILURE() << path << ": no such instance";
    return found;
  };
  const TWalk walks[] = {
      {kManager, "CIM_HostedService", {kSystem}},
      {kManager, "CIM_CommMechanismForManager", {kHttp}},
      {kManager, "CIM_NamespaceInManager", {kInterop}},
      {kManager, "CIM_Dependency", {kSystem, kHttp, kInterop}},
      {kManager, "CIM_ElementConformsToProfile", {kServer}},
      {kServer, "CIM_ReferencedProfile", {kRegistration}},
      {kService, "CIM_ElementCapabilities", {kCapabilities}},
      {kFilter, "CIM_IndicationSubscription", {kListener, kOldHandler}},
      {kListener, "CIM_AbstractIndicationSubscription", {kFilter, kCollection}},
      {kCollection, "CIM_IndicationSubscription", {}},
  };
  for (const TWalk& walk : walks) {
    SCOPED_TRACE(std::string(walk.from) + " through " + walk.assocClass);
    TInstance from = find(walk.from);
    if (!from) continue;
    std::set<std::string> expected, seen;
    for (const char* path : walk.to) {
      if (TInstance to = find(path)) expected.insert(to->GetReference(kNone).PathText());
    }
    from->EnumerateAssociatedInstances(
        [&](TInstance i) { return seen.insert(i->GetReference(kNone).PathText()), true; },
        walk.assocClass, "", "", "", kNone);
    EXPECT_EQ(seen, expected);
  }

  // The numbers clients read come with their meaning.
  struct TShown {
    const char* path;
    const char* property;
    std::vector<std::string> display;
  };
  const TShown shown[] = {
      {kHttp, "CommunicationMechanism", {"CIM-XML"}},
      {kHttp, "AuthenticationMechanismsSupported", {"Basic"}},
      {kHttp, "FunctionalProfilesSupported",
       {"Basic Read", "Basic Write", "Schema Manipulation", "Instance Manipulation",
        "Association Traversal", "Qualifier Declaration", "Pulled Read"}},
      {kManager, "EnabledState", {"Not Applicable"}},
      {kServer, "RegisteredOrganization", {"DMTF"}},
      {kListener, "Protocol", {"CIM-XML"}},
      {kListener, "PersistenceType", {"Permanent"}},
  };
  for (const TShown& s : shown) {
    TInstance instance = find(s.path);
    if (!instance) continue;
    boost::shared_ptr<ICIMProperty> property = instance->GetProperty(s.property, kNone);
    std::vector<std::string> display = property->IsArray(kNone)
                                           ? property->GetDisplayValues()
                                           : std::vector<std::string>{property->GetDisplayValue()};
    EXPECT_EQ(display, s.display) << s.path << " " << s.property;
  }
}

// The comparison finds what it is there to find: each change to the file is
// reported against the unchanged file, where it shows.
TEST(InteropSchemaTest, TheComparisonReportsEachKindOfDrift) {
  TLoaded original = LoadMof("original", InteropText());
  ASSERT_TRUE(original.ok) << Errors(original);
  EXPECT_EQ(Table(Compare(*original.ns, *original.ns), "same"), Table({}, "same"));

  struct TDrift {
    const char* from;
    const char* to;
    const char* where;
    const char* element;
    const char* aspect;
  };
  const TDrift drifts[] = {
      // an inherited property drifts in every subclass too
      {"uint16 EnabledState = 5;", "uint32 EnabledState = 5;", "CIM_ObjectManager", "EnabledState",
       "type"},
      {"string CorrelatedIndications[];", "string CorrelatedIndications;", "CIM_InstCreation",
       "CorrelatedIndications", "type"},
      {"[Key, Override(\"InstanceID\")] string InstanceID;\n   [Required,\n",
       "[Override(\"InstanceID\")] string InstanceID;\n   [Required,\n", "CIM_RegisteredProfile",
       "InstanceID", "key"},
      {"CIM_Namespace REF Dependent", "CIM_ManagedElement REF Dependent", "CIM_NamespaceInManager",
       "Dependent", "refers to"},
      {"class CIM_ObjectManager : CIM_WBEMService", "class CIM_ObjectManager : CIM_Service",
       "CIM_ObjectManager", "", "superclass"},
      {"[Abstract]\nclass CIM_ListenerDestination ", "class CIM_ListenerDestination ",
       "CIM_ListenerDestination", "", "abstract"},
      {"[Indication, Abstract]\nclass CIM_Indication ", "[Abstract]\nclass CIM_Indication ",
       "CIM_Indication", "", "indication"},
      {"   string SourceInstanceHost;\n", "", "CIM_InstModification", "SourceInstanceHost",
       "property"},
      {"uint16 Protocol = 2;", "uint16 Protocol;", "CIM_ListenerDestinationCIMXML", "Protocol",
       "default"},
      {"\"CIM-XML\", \"SM-CLP\"", "\"CIM-XML\", \"SM CLP\"", "CIM_ObjectManagerCommunicationMechanism",
       "CommunicationMechanism", "qualifier Values"},
      {"[EmbeddedObject] string PreviousInstance;", "string PreviousInstance;",
       "CIM_InstModification", "PreviousInstance", "qualifier EmbeddedObject"},
      {"   [Required, Override(\"Version\"), ValueMap{\"1.0\", \"1.1\", \"1.2\"}]\n   string Version;\n",
       "", "CIM_CIMXMLCommunicationMechanism", "Version", "declared in"},
      {"Qualifier Write : boolean = false, Scope(property);",
       "Qualifier Write : boolean = false, Scope(property, reference);", "qualifier declaration",
       "Write", "scope"},
  };
  for (const TDrift& drift : drifts) {
    SCOPED_TRACE(drift.from);
    const std::string& text = InteropText();
    size_t at = text.find(drift.from);
    ASSERT_NE(at, std::string::npos);
    ASSERT_EQ(text.find(drift.from, at + 1), std::string::npos) << "given more than once";
    std::string changed = text;
    changed.replace(at, std::string(drift.from).size(), drift.to);
    TLoaded drifted = LoadMof("drifted", changed);
    ASSERT_TRUE(drifted.ok) << Errors(drifted);
    std::vector<TMismatch> mismatches = Compare(*drifted.ns, *original.ns);
    bool reported = std::any_of(mismatches.begin(), mismatches.end(), [&](const TMismatch& m) {
      return m.where == drift.where && m.element == drift.element && m.aspect == drift.aspect;
    });
    EXPECT_TRUE(reported) << Table(mismatches, "file");
  }
}

TEST(InteropSchemaTest, EachClassIsTheDMTFClass) {
  const char* schema = std::getenv("INMEM_CIM_SCHEMA");
  if (schema == nullptr || *schema == '\0') {
    GTEST_SKIP() << "INMEM_CIM_SCHEMA is not set: name the DMTF schema's top MOF file "
                    "(cim_schema_2.25.0.mof) to compare the classes with it";
  }
  TLoaded ours = LoadMof(INMEM_INTEROP_SCHEMA, InteropText());
  ASSERT_TRUE(ours.ok) << Errors(ours);
  TNamespace dmtf = NewProviderNamespace();
  TMofLoader loader(dmtf);
  TCapturingLogger quiet;
  ASSERT_TRUE(loader.LoadFile(schema)) << "the DMTF schema does not load from " << schema;

  std::vector<TMismatch> mismatches = Compare(*ours.ns, *dmtf);
  EXPECT_TRUE(mismatches.empty()) << mismatches.size() << " differences from the DMTF schema:\n"
                                  << Table(mismatches, "DMTF");
}

}  // namespace
