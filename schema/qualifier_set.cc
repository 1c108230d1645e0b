#include "schema/qualifier_set.h"

#include <string_view>

#include <boost/assert.hpp>

#include "core/ascii.h"
#include "core/tyl_exception.h"
#include "include/inmem_namespace.h"
#include "schema/inmem_qualifier.h"
#include "schema/schema_generation.h"

void TQualifierSet::Add(const boost::shared_ptr<TInmemQualifier>& qualifier,
                        EHeldQualifierRule rule) {
  NoteSchemaChange();
  const TContext none;
  std::string key = TInmemNamespace::NormalizeName(qualifier->GetName(none));
  TMap::iterator held = qualifiers_.find(key);
  if (held != qualifiers_.end()) {
    const TInmemQualifier& old = *held->second;
    if ((old.GetFlavor(none) & ICIMQualifierDecl::kFlavorEnableOverride) != 0) {
      qualifiers_.erase(held);
    } else {
      bool sameValue = old.GetValue(none) == qualifier->GetValue(none);
      bool refused = false;
      switch (rule) {
        case EHeldQualifierRule::kRefuseOtherValueUnlessDontCollect:
          refused = !sameValue && qualifiers_.count("dontcollect") == 0;
          break;
        case EHeldQualifierRule::kRefuseOtherValueOrFlavor:
          refused = !sameValue || old.GetFlavor(none) != qualifier->GetFlavor(none);
          break;
      }
      if (refused) throw TTYLException(kStatusQualifierConflict);
      return;  // the held qualifier stays
    }
  }
  std::pair<TMap::iterator, bool> ret = qualifiers_.emplace(key, qualifier);
  BOOST_ASSERT(ret.second);
}

boost::shared_ptr<TInmemQualifier> TQualifierSet::Find(const std::string& name) const {
  // Qualifier names are short: normalised on the stack, a lookup (one of
  // the most frequent, as answers are written) allocates nothing. A name
  // that is not valid goes to NormalizeName, which refuses it.
  char key[64];
  bool valid = name.size() <= sizeof key;
  for (size_t i = 0; valid && i < name.size(); ++i) {
    const char c = name[i];
    valid = c == '_' || IsAsciiLetter(c) || (i != 0 && IsAsciiDigit(c));
    key[i] = ToLowerAscii(c);
  }
  TMap::const_iterator it = valid ? qualifiers_.find(std::string_view(key, name.size()))
                                  : qualifiers_.find(TInmemNamespace::NormalizeName(name));
  return it == qualifiers_.end() ? boost::shared_ptr<TInmemQualifier>() : it->second;
}

boost::shared_ptr<const ICIMQualifier> TQualifierSet::Lookup(const std::string& name,
                                                             bool& found,
                                                             const TQualifierRules& rules) const {
  if (!rules.lookupWithFlag) throw TTYLException(kStatusNotSupported);
  found = true;
  boost::shared_ptr<TInmemQualifier> qualifier = Find(name);
  if (!qualifier) found = false;
  return qualifier;
}

boost::shared_ptr<const ICIMQualifier> TQualifierSet::Lookup(const std::string& name,
                                                             const TQualifierRules& rules) const {
  boost::shared_ptr<TInmemQualifier> qualifier = Find(name);
  if (!qualifier && rules.absentLookupThrows) throw TTYLException(kStatusNotFound);
  return qualifier;
}

void TQualifierSet::Enumerate(const TQualifierCallback& callback) const {
  for (const TMap::value_type& entry : qualifiers_) {
    if (!callback(entry.second)) return;
  }
}

void TQualifierSet::InsertIfAbsent(const std::string& key,
                                   const boost::shared_ptr<TInmemQualifier>& qualifier) {
  NoteSchemaChange();
  qualifiers_.emplace(key, qualifier);
}

bool IsTrueQualifier(const boost::shared_ptr<const ICIMQualifier>& qualifier) {
  if (!qualifier) return false;
  const TCIMValue& value = qualifier->GetValue(TContext());
  return !value.IsNull() && value.GetType() == kCIMTypeBoolean && static_cast<bool>(value);
}
