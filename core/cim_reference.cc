#include "core/cim_reference.h"

#include <algorithm>
#include <cctype>

#include "core/tyl_exception.h"
#include "include/cim_class.h"
#include "include/cim_instance.h"
#include "include/cim_namespace.h"

namespace {

std::string Lower(const std::string& text) {
  std::string out(text);
  for (char& c : out) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return out;
}

bool EqualsIgnoringCase(const std::string& a, const std::string& b) {
  return a.size() == b.size() &&
         std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           return std::tolower(static_cast<unsigned char>(x)) ==
                  std::tolower(static_cast<unsigned char>(y));
         });
}

void AppendQuoted(std::string* out, const std::string& text) {
  *out += '"';
  for (char c : text) {
    if (c == '"' || c == '\\') *out += '\\';
    *out += c;
  }
  *out += '"';
}

void AppendKeyValue(std::string* out, const TCIMValue& value) {
  if (value.IsNull()) {
    *out += "NULL";
    return;
  }
  if (value.IsArray()) {
    *out += '{';
    const std::vector<TCIMValue>& elements = value.GetElements();
    for (size_t i = 0; i < elements.size(); ++i) {
      if (i != 0) *out += ',';
      AppendKeyValue(out, elements[i]);
    }
    *out += '}';
    return;
  }
  switch (value.GetType()) {
    case kCIMTypeString:
      AppendQuoted(out, value.GetString());
      break;
    case kCIMTypeChar16:
    case kCIMTypeDateTime:
    case kCIMTypeReference:
      AppendQuoted(out, value.ToString());
      break;
    case kCIMTypeReal32:
    case kCIMTypeReal64: {
      std::string text = value.ToString();
      *out += text;
      // Digits alone would read back as an integer.
      if (text.find_first_not_of("-0123456789") == std::string::npos) *out += ".0";
      break;
    }
    default:  // booleans and integers are written bare
      *out += value.ToString();
      break;
  }
}

}  // namespace

TCIMReference::TCIMReference(const boost::shared_ptr<ICIMNamespace>& ns,
                             const TContext& keys)
    : namespace_(ns) {
  for (const auto& key : keys) keys_.push_back(key);
  UpdatePath();
}

void TCIMReference::SetClass(const boost::shared_ptr<ICIMClass>& cls) {
  class_ = cls;
  className_ = cls ? cls->GetName(TContext()) : std::string();
  UpdatePath();
}

void TCIMReference::SetClassName(const std::string& name) {
  class_.reset();
  className_ = name;
  UpdatePath();
}

void TCIMReference::SetNameSpaceName(const std::string& name) {
  namespaceName_ = name;
  UpdatePath();
}

void TCIMReference::AddKeyValue(const std::string& name, const TCIMValue& value) {
  for (TKeyBinding& key : keys_) {
    if (EqualsIgnoringCase(key.first, name)) {
      key.second = value;
      UpdatePath();
      return;
    }
  }
  keys_.emplace_back(name, value);
  UpdatePath();
}

const TCIMValue* TCIMReference::FindKeyValue(const std::string& name) const {
  for (const TKeyBinding& key : keys_) {
    if (EqualsIgnoringCase(key.first, name)) return &key.second;
  }
  return nullptr;
}

boost::shared_ptr<ICIMClass> TCIMReference::GetClass() const {
  boost::shared_ptr<ICIMClass> cls = class_.lock();
  if (cls || className_.empty()) return cls;
  boost::shared_ptr<ICIMNamespace> ns = namespace_.lock();
  if (!ns) return cls;
  try {
    return ns->GetClass(className_, TContext());
  } catch (const TTYLException&) {
    return boost::shared_ptr<ICIMClass>();  // unknown or invalid: no class
  }
}

void TCIMReference::UpdatePath() {
  std::string& path = path_;
  path.clear();
  if (!namespaceName_.empty()) path = namespaceName_ + ":";
  path += Lower(className_);
  if (keys_.empty()) return;

  std::vector<std::pair<std::string, const TCIMValue*>> sorted;
  sorted.reserve(keys_.size());
  for (const TKeyBinding& key : keys_) sorted.emplace_back(Lower(key.first), &key.second);
  std::sort(sorted.begin(), sorted.end(),
            [](const auto& a, const auto& b) { return a.first < b.first; });
  for (size_t i = 0; i < sorted.size(); ++i) {
    path += i == 0 ? '.' : ',';
    path += sorted[i].first;
    path += '=';
    AppendKeyValue(&path, *sorted[i].second);
  }
}

boost::shared_ptr<ICIMElement> TCIMReference::GetCIMElement(bool /*flag*/) const {
  if (className_.empty()) throw TTYLException(kStatusNotFound);
  boost::shared_ptr<ICIMNamespace> ns = namespace_.lock();
  if (!ns) {
    boost::shared_ptr<ICIMClass> cls = class_.lock();
    if (cls) ns = cls->GetNamespace(TContext());
  }
  if (!ns) throw TTYLException(kStatusNotFound);
  boost::shared_ptr<ICIMInstance> instance = ns->GetInstance(*this, TContext());
  if (!instance) throw TTYLException(kStatusNotFound);
  return instance;
}
