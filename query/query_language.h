// The query languages the engine reads, and their names as clients send them.
//
//   kWql  "WQL": SELECT ... FROM ... WHERE ..., the subset management tools
//         send;
//   kCql  "DMTF:CQL" (also "CQL"): the CIM Query Language (DMTF DSP0202);
//   kFql  "DMTF:FQL": the Filter Query Language (DMTF DSP0212), a condition
//         alone, applied to each instance of an enumeration.
// docs/query.md gives the grammar of each as the engine reads it.

#ifndef INMEM_QUERY_QUERY_LANGUAGE_H_
#define INMEM_QUERY_QUERY_LANGUAGE_H_

#include <string_view>

enum class EQueryLanguage { kWql, kCql, kFql };

// The language a client names, in any letter case; false for a name the
// engine does not read (what a server answers with
// CIM_ERR_QUERY_LANGUAGE_NOT_SUPPORTED).
bool QueryLanguageNamed(std::string_view name, EQueryLanguage* language);

// The name a client sends for `language`: "WQL", "DMTF:CQL", "DMTF:FQL".
const char* QueryLanguageName(EQueryLanguage language);

#endif  // INMEM_QUERY_QUERY_LANGUAGE_H_
