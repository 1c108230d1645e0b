#include "query/query_language.h"

#include "core/ascii.h"

bool QueryLanguageNamed(std::string_view name, EQueryLanguage* language) {
  struct TName {
    const char* name;
    EQueryLanguage language;
  };
  static const TName kNames[] = {
      {"WQL", EQueryLanguage::kWql},
      {"DMTF:CQL", EQueryLanguage::kCql},
      {"CQL", EQueryLanguage::kCql},
      {"DMTF:FQL", EQueryLanguage::kFql},
  };
  for (const TName& known : kNames) {
    if (EqualsFoldingAscii(name, known.name)) {
      *language = known.language;
      return true;
    }
  }
  return false;
}

const char* QueryLanguageName(EQueryLanguage language) {
  switch (language) {
    case EQueryLanguage::kWql:
      return "WQL";
    case EQueryLanguage::kCql:
      return "DMTF:CQL";
    case EQueryLanguage::kFql:
      return "DMTF:FQL";
  }
  return "WQL";
}
