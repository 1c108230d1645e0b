// The tool's commands over a small repository loaded from MOF.

#include "tools/repository_commands.h"

#include <algorithm>
#include <sstream>

#include <gtest/gtest.h>

#include "include/cim_instance.h"
#include "include/cim_property.h"
#include "mof/mof_loader.h"
#include "tests/support/capturing_logger.h"
#include "tests/support/provider_namespace.h"
#include "display/json_text.h"

namespace {

class RepositoryCommandsTest : public testing::Test {
 protected:
  void SetUp() override {
    TCapturingLogger quiet;
    TMofLoader loader(ns_);
    ASSERT_TRUE(loader.LoadFile(INMEM_TOOL_FIXTURE));
    // A previous value, as a second collection leaves it.
    auto disk = ns_->GetInstance(TCIMReference::Parse("Disk.Id=\"sda\"", ns_), TContext());
    disk->GetProperty("Size", TContext())->SetPrevValue(TCIMValue(1024ull));
  }

  // Runs `command` in text or JSON; returns (status, output, errors).
  template <typename F>
  std::tuple<int, std::string, std::string> Run(bool json, F command) {
    std::ostringstream out, err;
    TRepositoryCommands commands(ns_, json, out, err);
    int status = command(commands);
    return {status, out.str(), err.str()};
  }

  boost::shared_ptr<ICIMNamespace> ns_ = NewProviderNamespace();
};

TEST_F(RepositoryCommandsTest, OutputInTextAndJson) {
  struct Row {
    const char* what;
    bool json;
    std::function<int(TRepositoryCommands&)> command;
    const char* output;
  };
  TWalkFilters toDisks;
  toDisks.resultClass = "Disk";
  const Row rows[] = {
      {"tree", false, [](TRepositoryCommands& c) { return c.Classes(true); }, "Sys\nDisk\nSysDisk\n"},
      {"get", false, [](TRepositoryCommands& c) { return c.Get("disk.ID=\"sda\""); },
       "disk.id=\"sda\"\n    Dedicated = {Other, Storage}\n    Health = OK\n    Id = sda\n"
       "    Label = null\n    Size = 1.5 Kilobytes (was 1024 Bytes)\n"},
      {"get json", true, [](TRepositoryCommands& c) { return c.Get("Disk.Id=\"sda\""); },
       "{\"path\":\"disk.id=\\\"sda\\\"\",\"properties\":{\"Dedicated\":{\"value\":[2,3],\"display\":"
       "[\"Other\",\"Storage\"]},\"Health\":{\"value\":5,\"display\":\"OK\"},"
       "\"Id\":{\"value\":\"sda\",\"display\":\"sda\"},\"Label\":{\"value\":null,\"display\":null},"
       "\"Size\":{\"value\":1536,\"display\":\"1.5 Kilobytes\",\"previous\":\"1024 Bytes\"}}}\n"},
      {"associators", false,
       [&](TRepositoryCommands& c) { return c.Associators("Sys.Name=\"host1\"", toDisks); },
       "disk.id=\"sda\"\n"},
      {"references json", true,
       [](TRepositoryCommands& c) { return c.References("Disk.Id=\"sda\"", TWalkFilters()); },
       "[\"sysdisk.group=\\\"sys.name=\\\\\\\"host1\\\\\\\"\\\",part=\\\"disk.id=\\\\\\\"sda\\\\\\\"\\\"\"]\n"},
      {"instances deep names", false,
       [](TRepositoryCommands& c) { return c.Instances("Sys", true, true); }, "sys.name=\"host1\"\n"},
  };
  for (const Row& row : rows) {
    auto result = Run(row.json, row.command);
    EXPECT_EQ(std::get<0>(result), kExitOk) << row.what;
    EXPECT_EQ(std::get<1>(result), row.output) << row.what;
    EXPECT_EQ(std::get<2>(result), "") << row.what;
  }
}

// Each failure is one line on the error stream; in JSON the output is still
// one document, which carries the same line.
TEST_F(RepositoryCommandsTest, FailuresAreOneLineAndOneJsonDocument) {
  TWalkFilters unknownResult, unknownAssoc;
  unknownResult.resultClass = "Nope";
  unknownAssoc.assocClass = "Nope";
  const std::tuple<std::function<int(TRepositoryCommands&)>, int, const char*> rows[] = {
      {[](TRepositoryCommands& c) { return c.Class("Nope"); }, kExitNotFound, "no class named Nope"},
      {[](TRepositoryCommands& c) { return c.Get("Disk.Id=\"nope\""); }, kExitNotFound,
       "no instance Disk.Id=\"nope\""},
      // The parser's account of a malformed path, not the bare status text.
      {[](TRepositoryCommands& c) { return c.Get("Disk.Id="); }, kExitUsage,
       "cannot look up Disk.Id=: invalid object path at position 9: expected"},
      {[](TRepositoryCommands& c) { return c.Get("Dis\nk.Id=1"); }, kExitUsage,
       "cannot look up Dis\\x0Ak.Id=1: invalid object path at position 4"},
      // However long the path, the reason is not cut off.
      {[](TRepositoryCommands& c) { return c.Get("Disk.Id=\"" + std::string(100000, 'x')); },
       kExitUsage, "cannot look up Disk.Id=\"xxx"},
      // An unknown filter class is named, not taken for "nothing associated".
      {[&](TRepositoryCommands& c) { return c.Associators("Sys.Name=\"host1\"", unknownResult); },
       kExitNotFound, "no class named Nope (--result-class)"},
      {[&](TRepositoryCommands& c) { return c.Associators("Sys.Name=\"host1\"", unknownAssoc); },
       kExitNotFound, "no class named Nope (--assoc-class)"},
      {[&](TRepositoryCommands& c) { return c.References("Disk.Id=\"sda\"", unknownResult); },
       kExitNotFound, "no class named Nope (--result-class)"},
  };
  for (const auto& row : rows) {
    TCapturingLogger quiet;
    auto text = Run(false, std::get<0>(row));
    const std::string& err = std::get<2>(text);
    EXPECT_EQ(std::get<0>(text), std::get<1>(row)) << err;
    EXPECT_EQ(std::get<1>(text), "");
    EXPECT_EQ(err.rfind(std::string("inmem: ") + std::get<2>(row), 0), 0u) << err;
    EXPECT_EQ(std::count(err.begin(), err.end(), '\n'), 1) << err;
    EXPECT_LT(err.size(), 600u);
    if (std::get<1>(row) == kExitUsage) {
      EXPECT_NE(err.find("at position "), std::string::npos) << err;
    }
    EXPECT_TRUE(quiet.Lines().empty()) << quiet.Lines().front().second;  // shown once, in the report
    auto json = Run(true, std::get<0>(row));
    EXPECT_EQ(std::get<1>(json), "{\"error\":" + JsonString(err.substr(7, err.size() - 8)) +
                                     ",\"status\":" + std::to_string(std::get<1>(row)) + "}\n");
  }
}

// JSON strings hold valid UTF-8 whatever the repository holds.
TEST(JsonTextTest, StringsAreEscapedAndValidUtf8) {
  const std::pair<std::string, std::string> rows[] = {
      {"a\"b\\c\n", "\"a\\\"b\\\\c\\n\""},
      {std::string("\x01\x7f\0", 3), "\"\\u0001\\u007f\\u0000\""},
      {"caf\xC3\xA9 \xE2\x82\xAC", "\"caf\xC3\xA9 \xE2\x82\xAC\""},      // kept
      {"a\xFF" "b", "\"a\xEF\xBF\xBD" "b\""},                            // stray byte
      {"\xC3", "\"\xEF\xBF\xBD\""},                                  // cut short
      {"\xC0\xAF", "\"\xEF\xBF\xBD\xEF\xBF\xBD\""},                    // overlong '/'
      {"\xED\xA0\x80", "\"\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\""},    // a surrogate
  };
  for (const auto& row : rows) EXPECT_EQ(JsonString(row.first), row.second) << row.first;
}

}  // namespace
