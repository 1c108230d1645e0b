// inmem query: the instances a query selects with the properties it names,
// in text and JSON, and its exit statuses.

#include <sstream>
#include <tuple>

#include <gtest/gtest.h>

#include "display/json_text.h"
#include "tests/query/query_test_support.h"
#include "tools/repository_commands.h"

namespace {

struct TRun {
  int status;
  std::string out;
  std::string err;
};

TRun RunQuery(bool json, const std::string& text, const std::string& language = "wql",
              const std::string& className = "") {
  static const boost::shared_ptr<ICIMNamespace> ns = QueryFixture();
  std::ostringstream out, err;
  TRepositoryCommands commands(ns, json, out, err);
  const int status = commands.Query(text, language, className);
  return {status, out.str(), err.str()};
}

TEST(QueryCommandTest, SelectedPropertiesOfEachMatch) {
  struct Row {
    bool json;
    const char* text;
    const char* language;
    const char* className;
    const char* out;
  };
  const Row rows[] = {
      {false, "SELECT Label, U8 FROM Q_Base WHERE U8 > 100", "wql", "",
       "q_base.id=\"a\"\n    Label = alpha\n    U8 = 200\n"},
      {false, "SELECT B.Extra FROM Q_Sub AS B", "cql", "",
       "q_sub.id=\"b\"\n    Extra = more\nq_subsub.id=\"c\"\n    Extra = null\n"},
      {false, "SELECT * FROM Q_Base WHERE Label = 'none'", "wql", "", ""},
      {true, "SELECT Label FROM Q_Base WHERE Label LIKE '%a'", "wql", "",
       "[{\"path\":\"q_base.id=\\\"a\\\"\",\"properties\":{\"Label\":{\"value\":\"alpha\",\"display\":\"alpha\"}}}"
       ","
       "{\"path\":\"q_sub.id=\\\"b\\\"\",\"properties\":{\"Label\":{\"value\":\"Beta\",\"display\":\"Beta\"}}}]"
       "\n"},
      {true, "SELECT Label FROM Q_Base WHERE Label = 'none'", "wql", "", "[]\n"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.text);
    TRun run = RunQuery(row.json, row.text, row.language, row.className);
    EXPECT_EQ(run.status, kExitOk) << run.err;
    EXPECT_EQ(run.out, row.out);
  }
  // FQL selects every property of each match.
  TRun filtered = RunQuery(false, "S8 = 7 AND EVERY Tags = \"x\"", "fql", "Q_Base");
  EXPECT_EQ(filtered.status, kExitOk) << filtered.err;
  EXPECT_EQ(filtered.out.substr(0, filtered.out.find('\n') + 1), "q_sub.id=\"b\"\n");
  EXPECT_NE(filtered.out.find("    Counts = {5, null}\n    Description = null\n"), std::string::npos)
      << filtered.out;
  EXPECT_EQ(filtered.out.find("q_base"), std::string::npos) << filtered.out;
}

TEST(QueryCommandTest, RefusalsAndTheirStatus) {
  struct Row {
    const char* text;
    const char* language;
    const char* className;
    int status;
    const char* error;
  };
  const Row rows[] = {
      {"SELECT * FROM Q_Base WHERE", "wql", "", kExitUsage,
       "query: at position 27: expected a property name or a value, found the end of the query"},
      {"SELECT * FROM Nope", "wql", "", kExitNotFound,
       "query: at position 15: no class named 'Nope' in the namespace"},
      {"SELECT * FROM Q_Base WHERE U8 = 'x'", "cql", "", kExitNotFound,
       "query: at position 33: expected a number to compare with uint8 property U8, found 'x'"},
      {"U8 = 1", "fql", "", kExitUsage, "query: --language fql filters the instances of a class: give --class"},
      {"SELECT * FROM Q_Base", "wql", "Q_Base", kExitUsage,
       "query: --class is for --language fql; wql and cql name their class after FROM"},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.text);
    TRun text = RunQuery(false, row.text, row.language, row.className);
    EXPECT_EQ(text.status, row.status);
    EXPECT_EQ(text.out, "");
    EXPECT_EQ(text.err, "inmem: " + std::string(row.error) + "\n");
    TRun json = RunQuery(true, row.text, row.language, row.className);
    EXPECT_EQ(json.status, row.status);
    EXPECT_EQ(json.out,
              "{\"error\":" + JsonString(row.error) + ",\"status\":" + std::to_string(row.status) + "}\n");
  }
}

}  // namespace
