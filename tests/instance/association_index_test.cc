// The indexed association walks against the literal walk: on randomised
// repositories, every references and associators call must make the same
// callbacks, log the same lines and end the same way as a walk that examines
// every instance of every association class the class names.

#include <random>
#include <sstream>

#include <gtest/gtest.h>

#include "core/tyl_exception.h"
#include "include/cim_instance.h"
#include "include/cim_property.h"
#include "tests/support/capturing_logger.h"
#include "tests/support/schema_builder.h"

namespace {

typedef boost::shared_ptr<ICIMInstance> TInstance;
typedef std::vector<std::pair<std::string, boost::shared_ptr<ICIMProperty>>> TProperties;

template <typename F>
void UnlessNotFound(F examine) {
  try {
    examine();
  } catch (const TTYLException& e) {
    if (e.GetStatusCode() != kStatusNotFound) throw;
  }
}

// An instance's properties in its own order, by normalised name.
TProperties PropertiesOf(ICIMInstance& instance) {
  TProperties properties;
  instance.EnumerateProperties(
      [&](boost::shared_ptr<ICIMProperty> p) {
        properties.emplace_back(
            TInmemNamespace::NormalizeName(p->GetDecl(TContext())->GetName(TContext())), p);
        return true;
      },
      TContext());
  return properties;
}

boost::shared_ptr<ICIMElement> Resolve(const TCIMValue& reference) {
  if (reference.IsNull()) throw TTYLException(kStatusNotFound);
  return reference.GetReference().GetCIMElement(false);
}

// The walk as written down for the repository, through public interfaces
// only: every instance of each association class is examined.
class TLiteralWalk {
 public:
  TLiteralWalk(const TInstance& self, const TInstanceCallback& callback)
      : self_(self), callback_(callback) {}

  void References(const std::string& resultClass, const std::string& role) {
    References(resultClass, role, callback_);
  }

  void Associators(const std::string& assocClass, const std::string& resultClass,
                   const std::string& role, const std::string& resultRole) {
    boost::shared_ptr<ICIMClass> result;
    try {
      result = self_->GetClass(TContext())->GetNamespace(TContext())->GetClass(resultClass,
                                                                                TContext());
    } catch (const TTYLException& e) {
      if (e.GetStatusCode() == kStatusNotFound) return;
      throw;
    }
    References(assocClass, "", [&](TInstance association) {
      if (!resultRole.empty()) {
        UnlessNotFound([&] {
          TCIMValue value = association->GetProperty(resultRole, TContext())->GetValue(TContext());
          if (!value.IsReference()) return;
          boost::shared_ptr<ICIMClass> far = value.GetReferencedClass();
          if (far && far->IsSubclassOf(result, TContext())) {
            callback_(boost::dynamic_pointer_cast<ICIMInstance>(Resolve(value)));
          }
        });
        return true;
      }
      return FarEnd(association, result, TInmemNamespace::NormalizeName(role));
    });
  }

 private:
  bool IsThis(const boost::shared_ptr<ICIMElement>& element) const {
    return element.get() == static_cast<ICIMElement*>(self_.get());
  }

  void References(const std::string& resultClass, const std::string& role,
                  const TInstanceCallback& report) {
    self_->GetClass(TContext())->EnumerateAssociationClasses(
        [&](boost::shared_ptr<ICIMClass> assocClass) {
          assocClass->EnumerateInstances(
              [&](TInstance candidate) {
                if (role.empty()) {
                  for (const auto& property : PropertiesOf(*candidate)) {
                    TCIMValue value = property.second->GetValue(TContext());
                    if (!value.IsReference()) continue;
                    bool reported = false;
                    UnlessNotFound([&] {
                      if (IsThis(Resolve(value))) {
                        report(candidate);
                        reported = true;
                      }
                    });
                    if (reported) break;
                  }
                } else {
                  UnlessNotFound([&] {
                    TCIMValue value = candidate->GetProperty(role, TContext())->GetValue(TContext());
                    if (value.IsReference() && IsThis(Resolve(value))) report(candidate);
                  });
                }
                return true;
              },
              false, TContext());
          return true;
        },
        resultClass, role, TContext());
  }

  bool FarEnd(const TInstance& association, const boost::shared_ptr<ICIMClass>& result,
              const std::string& roleKey) {
    bool ownEndFound = false;
    for (const auto& property : PropertiesOf(*association)) {
      TCIMValue value = property.second->GetValue(TContext());
      if (!value.IsReference()) continue;
      bool done = false, answer = true;
      UnlessNotFound([&] {
        boost::shared_ptr<ICIMClass> far = value.GetReferencedClass();
        if (!ownEndFound) {
          if (!roleKey.empty() ? property.first == roleKey
                               : far == self_->GetClass(TContext()) && IsThis(Resolve(value))) {
            ownEndFound = true;
            return;
          }
        }
        if (!far || !far->IsSubclassOf(result, TContext())) return;
        answer = callback_(boost::dynamic_pointer_cast<ICIMInstance>(Resolve(value)));
        done = true;
      });
      if (done) return answer;
    }
    return true;
  }

  TInstance self_;
  const TInstanceCallback& callback_;
};

// Hosts and parts, the associations between them, and random changes.
//   Element (abstract) <- Host (key Name) <- BigHost;  Element <- Part (key Id)
//   Link: A -> Host, B -> Part;  SubLink : Link;  Peer: Left, Right -> Host
//   Tag: Target -> Element, key Label, Extra -> Host (not a key; may stay on
//        its declaration's default, which the test changes)
//   PELXA_CPU: Owner -> Host, CPUStatus (the processor correction logs)
class TRandomRepository {
 public:
  explicit TRandomRepository(unsigned seed) : random_(seed) {
    s_.Enter(s_.Class("Element", "", {{"ABSTRACT", TCIMValue(true)}}));
    auto host = s_.KeyedClass("Host", "Element", "Name");
    s_.KeyedClass("BigHost", "Host", "");
    auto part = s_.KeyedClass("Part", "Element", "Id");
    s_.Association("Link", "", {{"A", host}, {"B", part}});
    s_.Association("SubLink", "Link", {});
    s_.Association("Peer", "", {{"Left", host}, {"Right", host}});
    auto tag = s_.Association("Tag", "", {{"Target", s_.Namespace()->GetClass("Element", TContext())}});
    s_.Key(tag, "Label");
    s_.Reference(tag, "Extra", host);
    auto cpu = s_.Association("PELXA_CPU", "", {{"Owner", host}});
    s_.Property(cpu, "CPUStatus", TCIMValue(static_cast<unsigned short>(0)));

    for (int i = 0; i < 4; ++i) ends_.push_back(NewEnd("Host", "Name", "h" + std::to_string(i)));
    for (int i = 0; i < 2; ++i) ends_.push_back(NewEnd("BigHost", "Name", "b" + std::to_string(i)));
    for (int i = 0; i < 4; ++i) ends_.push_back(NewEnd("Part", "Id", "p" + std::to_string(i)));
    ends_.push_back(Make("Host", {{"Name", TCIMValue("ghost")}}));  // never filed
  }

  // One random change of the repository.
  void Change() {
    const size_t dice = Pick(100);
    if (dice < 50) {
      NewAssociation();
    } else if (dice < 58) {
      Any()->Delete(TContext());
    } else if (dice < 72) {
      (Pick(2) == 0 ? AnyEnd() : Any())->AddToNamespace(TContext());
    } else if (dice < 86) {
      ChangeReference();
    } else if (dice < 92) {
      ChangeKey();
    } else if (dice < 98) {
      Class("Tag")->GetPropertyDecl("Extra", TContext())->SetDefaultValue(RefTo(AnyEnd()), TContext());
    } else if (Pick(4) == 0) {
      s_.Namespace()->ClearInstances();
      for (const TInstance& end : ends_) end->AddToNamespace(TContext());
    }
  }

  // What one walk made (callbacks, how it ended, log lines): the walk and
  // its instance and names drawn from `walkSeed`, run literally or by the
  // repository. `what` tells which walk it was.
  std::string Walk(bool literal, unsigned walkSeed, std::string* what) {
    std::mt19937 r(walkSeed);
    auto pick = [&](const std::vector<std::string>& names) { return names[r() % names.size()]; };
    const TInstance from = r() % 3 == 0 && !associations_.empty()
                               ? associations_[r() % associations_.size()]
                               : ends_[r() % ends_.size()];
    const bool references = r() % 2 == 0;
    const std::string a = pick({"", "", "", "Link", "SubLink", "Peer", "Tag", "PELXA_CPU", "Element"});
    const std::string b = pick({"", "", "Host", "BigHost", "Part", "Element", "Nowhere"});
    const std::string role =
        pick({"", "", "", "", "A", "B", "Left", "Right", "Target", "Extra", "Owner", "Nope"});
    const std::string resultRole =
        pick({"", "", "", "", "", "A", "B", "Left", "Right", "Target", "Extra"});
    *what = (references ? "references " : "associators ") + Label(from) + " [" + a + "|" + b +
            "|" + role + "|" + resultRole + "]";

    std::ostringstream events;
    TCapturingLogger logger;
    int calls = 0;
    TInstanceCallback callback = [&](TInstance reached) {
      ++calls;
      events << "call " << Label(reached) << "\n";
      if (calls % 7 == 0) throw TTYLException(kStatusNotFound);  // swallowed like a dangling end
      if (calls == 12) throw TTYLException(kStatusTypeMismatch);  // ends the walk
      return calls % 2 == 0;  // ignored either way
    };
    try {
      TLiteralWalk oracle(from, callback);
      if (references) {
        literal ? oracle.References(a, role) : from->EnumerateAssociationInstances(callback, a, role, TContext());
      } else if (literal) {
        oracle.Associators(a, b, role, resultRole);
      } else {
        from->EnumerateAssociatedInstances(callback, a, b, role, resultRole, TContext());
      }
    } catch (const TTYLException& e) {
      events << "threw " << e.GetStatusCode() << "\n";
    }
    for (const auto& line : logger.Lines()) events << "log " << line.first << " " << line.second << "\n";
    return events.str();
  }

 private:
  boost::shared_ptr<ICIMClass> Class(const std::string& name) {
    return s_.Namespace()->GetClass(name, TContext());
  }

  TInstance Make(const std::string& cls, const std::vector<std::pair<std::string, TCIMValue>>& values) {
    TInstance instance = Class(cls)->AllocateInstance(TContext());
    for (const auto& v : values) instance->SetPropertyValue(v.first, v.second, TContext());
    return instance;
  }

  TInstance NewEnd(const std::string& cls, const std::string& key, const std::string& value) {
    TInstance end = Make(cls, {{key, TCIMValue(value)}});
    end->AddToNamespace(TContext());
    return end;
  }

  size_t Pick(size_t n) { return random_() % n; }
  const TInstance& AnyEnd() { return ends_[Pick(ends_.size())]; }
  // Mostly a host (the first six ends), else any end, the ghost included.
  const TInstance& AnyHost() { return Pick(8) == 0 ? AnyEnd() : ends_[Pick(6)]; }
  // Mostly a part (the four after the hosts), else any end.
  const TInstance& AnyPart() { return Pick(8) == 0 ? AnyEnd() : ends_[6 + Pick(4)]; }
  const TInstance& Any() {
    return associations_.empty() || Pick(2) == 0 ? AnyEnd() : associations_[Pick(associations_.size())];
  }

  // A reference to `to`: by object, or read back from its text through the
  // namespace.
  TCIMValue RefTo(const TInstance& to) {
    TCIMReference path = to->GetReference(TContext());
    if (Pick(3) == 0) return TCIMValue(TCIMReference::Parse(path.GetPath(), s_.Namespace()));
    return TCIMValue(path);
  }

  void NewAssociation() {
    static const char* const kClasses[] = {"Link", "SubLink", "Peer", "Tag", "PELXA_CPU"};
    const std::string cls = kClasses[Pick(5)];
    TInstance association;
    if (cls == "Peer") {
      association = Make(cls, {{"Left", RefTo(AnyHost())}, {"Right", RefTo(AnyHost())}});
    } else if (cls == "Tag") {
      association = Make(cls, {{"Target", RefTo(AnyEnd())}, {"Label", TCIMValue("l" + std::to_string(Pick(4)))}});
      if (Pick(2) == 0) association->SetPropertyValue("Extra", RefTo(AnyHost()), TContext());
    } else if (cls == "PELXA_CPU") {
      association = Make(cls, {{"Owner", RefTo(AnyHost())},
                               {"CPUStatus", TCIMValue(static_cast<unsigned short>(1 + Pick(2)))}});
    } else {
      association = Make(cls, {{"A", RefTo(AnyHost())}, {"B", RefTo(AnyPart())}});
    }
    association->AddToNamespace(TContext());
    associations_.push_back(association);
  }

  // A reference of a (perhaps filed) association points elsewhere, nowhere
  // or at nothing.
  void ChangeReference() {
    if (associations_.empty()) return;
    TInstance association = associations_[Pick(associations_.size())];
    std::vector<std::string> ends;
    for (const auto& p : PropertiesOf(*association)) {
      if (p.second->GetValue(TContext()).IsReference()) ends.push_back(p.first);
    }
    const std::string& end = ends[Pick(ends.size())];
    TCIMValue value = Pick(5) == 0 ? TCIMValue::NullReference(Class("Host")) : RefTo(AnyEnd());
    try {
      association->SetPropertyValue(end, value, TContext());
    } catch (const TTYLException&) {
      // A reference of another declared type is refused; nothing changed.
    }
  }

  // A key of a (perhaps filed) host or part changes under its filed path.
  void ChangeKey() {
    TInstance end = AnyEnd();
    const bool host = end->GetClass(TContext())->IsSubclassOf(Class("Host"), TContext());
    end->SetPropertyValue(host ? "Name" : "Id", TCIMValue((host ? "h" : "p") + std::to_string(Pick(6))),
                          TContext());
  }

  static std::string Label(const TInstance& instance) {
    std::ostringstream label;
    label << instance->GetReference(TContext()).GetPath() << "@" << instance.get();
    return label.str();
  }

  TSchemaBuilder s_;
  std::mt19937 random_;
  std::vector<TInstance> ends_;
  std::vector<TInstance> associations_;
};

TEST(AssociationIndexTest, IndexedWalksMatchTheLiteralWalk) {
  TCapturingLogger quiet;  // instances refused on entry are logged
  for (unsigned seed = 1; seed <= 4; ++seed) {
    TRandomRepository repository(seed);
    std::mt19937 walkSeeds(seed * 7919);
    for (int step = 0; step < 250; ++step) {
      repository.Change();
      for (int walk = 0; walk < 12; ++walk) {
        const unsigned walkSeed = walkSeeds();
        std::string what;
        const std::string expected = repository.Walk(true, walkSeed, &what);
        const std::string actual = repository.Walk(false, walkSeed, &what);
        ASSERT_EQ(expected, actual) << "seed " << seed << ", step " << step << ": " << what;
      }
    }
  }
}

}  // namespace
