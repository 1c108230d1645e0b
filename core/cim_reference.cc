#include "core/cim_reference.h"

#include <algorithm>
#include <string_view>

#include <boost/make_shared.hpp>

#include "core/ascii.h"
#include "core/namespace_directory.h"
#include "core/tyl_exception.h"
#include "include/cim_class.h"
#include "include/cim_instance.h"
#include "include/cim_namespace.h"

namespace {

// Where path text goes: a string, or a count of the bytes it would take, so
// that a path's text is allocated once, at its final length.
class TTextLength {
 public:
  void Put(char) { ++size; }
  void Put(std::string_view text) { size += text.size(); }
  size_t size = 0;
};

// Writes into room made beforehand, of the length TTextLength counted.
class TTextWriter {
 public:
  explicit TTextWriter(char* at) : at_(at) {}
  void Put(char c) { *at_++ = c; }
  void Put(std::string_view text) { at_ = std::copy(text.begin(), text.end(), at_); }

 private:
  char* at_;
};

template <typename Sink>
void PutLower(Sink* out, std::string_view text) {
  for (char c : text) out->Put(ToLowerAscii(c));
}

// `text` in double quotes, '"' and '\' escaped by a backslash; the runs
// between them go out whole.
template <typename Sink>
void PutQuoted(Sink* out, std::string_view text) {
  out->Put('"');
  size_t run = 0;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '"' && text[i] != '\\') continue;
    out->Put(text.substr(run, i - run));
    out->Put('\\');
    run = i;
  }
  out->Put(text.substr(run));
  out->Put('"');
}

template <typename Sink>
void PutKeyValue(Sink* out, const TCIMValue& value) {
  if (value.IsNull()) {
    out->Put("NULL");
    return;
  }
  if (value.IsArray()) {
    out->Put('{');
    const std::vector<TCIMValue>& elements = value.GetElements();
    for (size_t i = 0; i < elements.size(); ++i) {
      if (i != 0) out->Put(',');
      PutKeyValue(out, elements[i]);
    }
    out->Put('}');
    return;
  }
  switch (value.GetType()) {
    case kCIMTypeString:
      PutQuoted(out, value.GetString());
      break;
    case kCIMTypeReference:
      PutQuoted(out, value.GetReference().PathText());
      break;
    case kCIMTypeChar16:
    case kCIMTypeDateTime:
      PutQuoted(out, value.ToString());
      break;
    case kCIMTypeReal32:
    case kCIMTypeReal64: {
      std::string text = value.ToString();
      out->Put(text);
      // Digits alone would read back as an integer.
      if (text.find_first_not_of("-0123456789") == std::string::npos) out->Put(".0");
      break;
    }
    default:  // booleans and integers are written bare
      out->Put(value.ToString());
      break;
  }
}

// The text of a path whose key bindings are in their order already.
template <typename Sink>
void PutPath(Sink* out, const std::string& namespaceName, const std::string& className,
             const TCIMReference::TKeyView* keys, size_t count) {
  if (!namespaceName.empty()) {
    out->Put(namespaceName);
    out->Put(':');
  }
  PutLower(out, className);
  for (size_t i = 0; i < count; ++i) {
    out->Put(i == 0 ? '.' : ',');
    PutLower(out, *keys[i].first);
    out->Put('=');
    PutKeyValue(out, *keys[i].second);
  }
}

// Views of a path's key bindings; a path rarely has more than a few, and
// then they stay on the stack.
class TKeyViews {
 public:
  explicit TKeyViews(const std::vector<TCIMReference::TKeyBinding>& keys)
      : count_(keys.size()), many_(count_ > kFew ? count_ : 0) {
    views_ = count_ > kFew ? many_.data() : few_;
    for (size_t i = 0; i < count_; ++i) views_[i] = TCIMReference::TKeyView(&keys[i].first, &keys[i].second);
  }
  TCIMReference::TKeyView* Data() { return views_; }
  size_t Count() const { return count_; }

 private:
  static constexpr size_t kFew = 8;
  size_t count_;
  TCIMReference::TKeyView few_[kFew];
  std::vector<TCIMReference::TKeyView> many_;
  TCIMReference::TKeyView* views_;
};

}  // namespace

namespace {

template <typename T>
bool SameObject(const boost::weak_ptr<T>& a, const boost::weak_ptr<T>& b) {
  return !a.owner_before(b) && !b.owner_before(a);
}

}  // namespace

const TCIMReference::TRep& TCIMReference::EmptyRep() {
  static const TRep kEmpty{boost::make_shared<const THead>(), {}, {}};
  return kEmpty;
}

boost::shared_ptr<const TCIMReference::THead> TCIMReference::HeadLike(const THead& wanted) {
  // A few per thread, so that no lock is taken: a loader or a walk builds
  // paths to instances of a few classes, over and over.
  static constexpr size_t kKept = 8;
  thread_local boost::shared_ptr<const THead> kept[kKept];
  thread_local size_t next = 0;
  for (const boost::shared_ptr<const THead>& head : kept) {
    if (head && head->className == wanted.className && head->namespaceName == wanted.namespaceName &&
        SameObject(head->cls, wanted.cls) && SameObject(head->ns, wanted.ns)) {
      return head;
    }
  }
  boost::shared_ptr<const THead>& replaced = kept[next];
  next = (next + 1) % kKept;
  replaced = boost::make_shared<const THead>(wanted);
  return replaced;
}

TCIMReference::TRep& TCIMReference::Mutable() {
  if (!rep_) {
    rep_ = boost::make_shared<TRep>(EmptyRep());
  } else if (rep_.use_count() != 1) {
    rep_ = boost::make_shared<TRep>(*rep_);
  }
  return *rep_;
}

template <typename F>
void TCIMReference::ChangeHead(const F& change) {
  TRep& rep = Mutable();
  THead next = *rep.head;
  change(next);
  rep.head = HeadLike(next);
}

TCIMReference::TCIMReference(const boost::shared_ptr<ICIMNamespace>& ns,
                             const std::map<std::string, TCIMValue>& keys) {
  ChangeHead([&](THead& head) { head.ns = ns; });
  for (const auto& key : keys) rep_->keys.push_back(key);
  UpdatePath();
}

TCIMReference::TCIMReference(const boost::shared_ptr<ICIMClass>& cls,
                             const std::string& namespaceName, std::vector<TKeyBinding> keys) {
  ChangeHead([&](THead& head) {
    head.cls = cls;
    if (cls) head.className = cls->GetName(TContext());
    head.namespaceName = namespaceName;
  });
  rep_->keys = std::move(keys);
  UpdatePath();
}

void TCIMReference::SetClass(const boost::shared_ptr<ICIMClass>& cls) {
  ChangeHead([&](THead& head) {
    head.cls = cls;
    head.className = cls ? cls->GetName(TContext()) : std::string();
  });
  UpdatePath();
}

void TCIMReference::SetClassName(const std::string& name) {
  ChangeHead([&](THead& head) {
    head.cls.reset();
    head.className = name;
  });
  UpdatePath();
}

void TCIMReference::SetNameSpaceName(const std::string& name) {
  ChangeHead([&](THead& head) { head.namespaceName = name; });
  UpdatePath();
}

void TCIMReference::AddKeyValue(const std::string& name, const TCIMValue& value) {
  TRep& rep = Mutable();
  for (TKeyBinding& key : rep.keys) {
    if (EqualsFoldingAscii(key.first, name)) {
      key.second = value;
      UpdatePath();
      return;
    }
  }
  rep.keys.emplace_back(name, value);
  UpdatePath();
}

const TCIMValue* TCIMReference::FindKeyValue(const std::string& name) const {
  for (const TKeyBinding& key : Rep().keys) {
    if (EqualsFoldingAscii(key.first, name)) return &key.second;
  }
  return nullptr;
}

namespace {

// Values equal as operator== has it and, for paths at any depth, the same in
// every part.
bool SameValue(const TCIMValue& a, const TCIMValue& b) {
  if (!(a == b)) return false;
  if (a.IsNull()) return true;
  if (a.IsArray()) {
    const std::vector<TCIMValue>& left = a.GetElements();
    const std::vector<TCIMValue>& right = b.GetElements();
    for (size_t i = 0; i < left.size(); ++i) {
      if (!SameValue(left[i], right[i])) return false;
    }
    return true;
  }
  return !a.IsReference() || a.GetReference().SameInEveryPart(b.GetReference());
}

}  // namespace

bool TCIMReference::SameInEveryPart(const TCIMReference& other) const {
  if (rep_ == other.rep_) return true;
  const TRep& a = Rep();
  const TRep& b = other.Rep();
  if (a.path != b.path || a.keys.size() != b.keys.size()) return false;
  if (a.head != b.head) {
    const THead& x = *a.head;
    const THead& y = *b.head;
    if (x.className != y.className || x.namespaceName != y.namespaceName || !SameObject(x.cls, y.cls) ||
        !SameObject(x.ns, y.ns)) {
      return false;
    }
  }
  for (size_t i = 0; i < a.keys.size(); ++i) {
    if (a.keys[i].first != b.keys[i].first || !SameValue(a.keys[i].second, b.keys[i].second)) {
      return false;
    }
  }
  return true;
}

boost::shared_ptr<ICIMClass> TCIMReference::GetClass() const {
  const THead& head = Head();
  boost::shared_ptr<ICIMClass> cls = head.cls.lock();
  if (cls || head.className.empty()) return cls;
  boost::shared_ptr<ICIMNamespace> ns;
  if (!head.namespaceName.empty()) ns = TNamespaceDirectory::Find(head.namespaceName);
  if (!ns) ns = head.ns.lock();
  if (!ns) return cls;
  try {
    return ns->GetClass(head.className, TContext());
  } catch (const TTYLException&) {
    return boost::shared_ptr<ICIMClass>();  // unknown or invalid: no class
  }
}

std::string TCIMReference::PathTextOf(const std::string& namespaceName,
                                      const std::string& className, TKeyView* keys,
                                      size_t count) {
  // The bindings in the order of their lower-cased names.
  std::sort(keys, keys + count, [](const TKeyView& a, const TKeyView& b) {
    return LessFoldingAscii(*a.first, *b.first);
  });
  TTextLength length;
  PutPath(&length, namespaceName, className, keys, count);
  std::string text(length.size, '\0');
  TTextWriter out(&text[0]);
  PutPath(&out, namespaceName, className, keys, count);
  return text;
}

size_t TCIMReference::PathTextLength(const std::string& namespaceName, const std::string& className,
                                     const std::vector<TKeyBinding>& keys) {
  TKeyViews views(keys);
  TTextLength length;
  PutPath(&length, namespaceName, className, views.Data(), views.Count());
  return length.size;
}

size_t TCIMReference::QuotedPathLength() const {
  TTextLength length;
  PutQuoted(&length, Rep().path);
  return length.size;
}

void TCIMReference::UpdatePath() {
  TRep& rep = *rep_;  // every change has made the parts this path's own
  TKeyViews views(rep.keys);
  rep.path = PathTextOf(rep.head->namespaceName, rep.head->className, views.Data(), views.Count());
}

boost::shared_ptr<ICIMNamespace> TCIMReference::ResolvingNamespace() const {
  const THead& head = Head();
  if (!head.namespaceName.empty()) {
    boost::shared_ptr<ICIMNamespace> named = TNamespaceDirectory::Find(head.namespaceName);
    if (named) return named;
  }
  boost::shared_ptr<ICIMNamespace> ns = head.ns.lock();
  if (!ns) {
    boost::shared_ptr<ICIMClass> cls = head.cls.lock();
    if (cls) ns = cls->GetNamespace(TContext());
  }
  return ns;
}

boost::shared_ptr<ICIMElement> TCIMReference::GetCIMElement(bool /*flag*/) const {
  const THead& head = Head();
  if (head.className.empty()) throw TTYLException(kStatusNotFound);
  if (!head.namespaceName.empty()) {
    // A namespace the host serves files its instances under their paths
    // within it: looked up there, the path leaves its namespace name off.
    if (boost::shared_ptr<ICIMNamespace> named = TNamespaceDirectory::Find(head.namespaceName)) {
      TCIMReference local(*this);
      local.SetNameSpaceName("");
      boost::shared_ptr<ICIMInstance> instance = named->GetInstance(local, TContext());
      if (!instance) throw TTYLException(kStatusNotFound);
      return instance;
    }
  }
  boost::shared_ptr<ICIMNamespace> ns = ResolvingNamespace();
  if (!ns) throw TTYLException(kStatusNotFound);
  boost::shared_ptr<ICIMInstance> instance = ns->GetInstance(*this, TContext());
  if (!instance) throw TTYLException(kStatusNotFound);
  return instance;
}
