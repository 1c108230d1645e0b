// Bad MOF text: each error names its position and what was expected.

#include <chrono>

#include <gtest/gtest.h>

#include "core/tyl_exception.h"
#include "mof/mof_loader.h"
#include "tests/support/capturing_logger.h"
#include "tests/support/schema_builder.h"

namespace {

// The first diagnostic of loading `text`, formatted.
std::string FirstError(const std::string& text) {
  TSchemaBuilder s;
  TCapturingLogger quiet;
  TMofLoader loader(s.Namespace());
  EXPECT_FALSE(loader.LoadText("t.mof", text)) << text;
  for (const TMofDiagnostic& d : loader.Diagnostics()) {
    if (d.severity == TMofDiagnostic::kError) return d.Format();
  }
  return "(no error)";
}

TEST(MofSyntaxTest, ErrorsNameThePositionAndTheExpectation) {
  const std::pair<std::string, const char*> rows[] = {
      {"class A { string Name }", "t.mof:1:23: error: expected ';' after the declaration, found '}'"},
      {"class A : { };", "t.mof:1:11: error: expected the superclass name, found '{'"},
      {"Qualifier Q boolean;", "t.mof:1:13: error: expected ':' and the qualifier's type, found 'boolean'"},
      {"Qualifier Q : boolean, Scope(any), Flavor(Sticky);",
       "t.mof:1:43: error: expected a flavor (EnableOverride"},
      {"class A {\n  string s = \"open;\n};", "t.mof:2:14: error: unterminated string literal"},
      {"class A { string s = \"\\q\"; };", "t.mof:1:23: error: unknown escape \"\\q\""},
      {"class A { string s = \"\\x\"; };", "t.mof:1:23: error: expected 1 to 4 hexadecimal digits"},
      {"/* never closed", "t.mof:1:1: error: unterminated comment"},
      {"instance A { };", "t.mof:1:10: error: expected \"of\", found 'A'"},
      {"class A { B x; };", "t.mof:1:11: error: expected a data type or \"ClassName REF\""},
      {"[Key(] class A {};", "t.mof:1:6: error: expected a value"},
      {"class A { uint8 a[; };", "t.mof:1:19: error: expected ']' to close the array size"},
      {"#pragma include (foo)", "t.mof:1:18: error: expected a string, found 'foo'"},
      {"class A { string s; } ", "t.mof:1:23: error: expected ';' after the class body, found the end"},
      {"@", "t.mof:1:1: error: unexpected character '@'"},
      {std::string("class A {\0};", 12), "t.mof:1:10: error: unexpected character '\\x00'"},
      {"class A { string s = \"ok \xC3\xA9 \xFF\"; };",
       "t.mof:1:29: error: invalid UTF-8 in a string literal: byte \\xFF"},
      {"class A { char16 c = '\xED\xA0\x80'; };", "t.mof:1:23: error: invalid UTF-8 in a character"},
  };
  for (const auto& row : rows) {
    std::string error = FirstError(row.first);
    EXPECT_EQ(error.compare(0, std::string(row.second).size(), row.second), 0)
        << "for: " << row.first << "\ngot: " << error;
  }
}

TEST(MofSyntaxTest, TheErrorShowsTheLineWithACaret) {
  EXPECT_EQ(FirstError("class A {\n\tuint8 x = 0x1G;\n};"),
            "t.mof:2:12: error: \"0x1G\" is not an integer\n"
            "    \tuint8 x = 0x1G;\n"
            "    \t          ^");
}

TEST(MofSyntaxTest, TheErrorShowsAWindowOfTheLineWithControlBytesEscaped) {
  // An unterminated string of a megabyte: the message stays short.
  std::string longLine = "class A { string s = \"" + std::string(1 << 20, 'x');
  std::string error = FirstError(longLine);
  EXPECT_LT(error.size(), 600u);
  EXPECT_NE(error.find("t.mof:1:22: error: unterminated string literal"), std::string::npos) << error;
  // Escapes count in the window: a line of control bytes gives no longer a
  // message, and the caret still stands under the bad escape.
  const std::string controls(1000, '\x01');
  error = FirstError("class A { string s = \"" + controls + "\\q" + controls + "\"; };");
  EXPECT_LT(error.size(), 600u);
  const size_t line = error.find('\n') + 1, caret = error.find('\n', line) + 1;
  EXPECT_EQ(error.find("\\q", line) - line, error.size() - caret - 1) << error;
  // The caret stands under the quote, after the escaped NUL and the tab.
  EXPECT_EQ(FirstError(std::string("\0\tclass", 7)),
            "t.mof:1:1: error: unexpected character '\\x00'\n    \\x00\tclass\n    ^");
  EXPECT_EQ(FirstError(std::string("/*\x01*/\t\x7F", 7)),
            "t.mof:1:7: error: unexpected character '\\x7F'\n    /*\\x01*/\t\\x7F\n            \t^");
}

TEST(MofSyntaxTest, KeepGoingAlwaysMovesOnAndResumesAfterTheFailedProduction) {
  std::string garbage;
  for (int i = 0; i < 4096; ++i) garbage += static_cast<char>((i * 7919) % 256);
  const struct {
    std::string text;
    int errors;           // -1: any number, as long as loading ends
    const char* loads;    // a class that must load after the error
    const char* skipped;  // a class of the failed production
  } rows[] = {
      // Stray bytes before a production cost it nothing.
      {"@@@ class A {};", 1, "A", ""},
      {std::string(1, '\0') + "[Abstract] class A {};", 1, "A", ""},
      {std::string("\0\0\0", 3), 1, "", ""},
      {garbage, -1, "", ""},
      // The bad literal is one error; the class after it loads.
      {"[Abstract] class A { string s = \"\xFF\\q\"; uint8 x; };\n[Abstract] class B {};", 1, "B", "A"},
      {"class A { uint8 x = 0x; };\n#pragma include (\"nowhere\")", 2, "", "A"},
      // A qualifier list belongs to the class it qualifies; a word inside
      // parentheses or a '[' after a type starts nothing.
      {"[Abstract] @ class A {};\n[Abstract] class B {};", 1, "B", "A"},
      {"[Abstract(@)] class A {};\n[Abstract] class B {};", 1, "B", "A"},
      {"Qualifier Q : boolean = @, Scope(class);\n[Abstract] class B {};", 1, "B", ""},
      {"Qualifier Q : @ string[], Scope(any);\n[Abstract] class B {};", 1, "B", ""},
  };
  for (const auto& row : rows) {
    TSchemaBuilder s;
    TCapturingLogger quiet;
    TMofLoadOptions options;
    options.keepGoing = true;
    TMofLoader loader(s.Namespace(), options);
    EXPECT_FALSE(loader.LoadText("t.mof", row.text));
    if (row.errors >= 0) {
      EXPECT_EQ(loader.ErrorCount(), row.errors) << row.text;
    }
    if (*row.loads != '\0') {
      EXPECT_NO_THROW(s.Namespace()->GetClass(row.loads, TContext())) << row.text;
    }
    if (*row.skipped != '\0') {
      EXPECT_THROW(s.Namespace()->GetClass(row.skipped, TContext()), TTYLException) << row.text;
    }
  }
}

// MOF of some megabytes can hold millions of errors. Keeping going or not,
// loading stops at the error after the thousandth, and a later load at its
// first error.
TEST(MofSyntaxTest, AFloodOfErrorsEndsTheLoad) {
  std::string flood;
  for (int i = 0; i < 5000; ++i) flood += "@;\n";
  TSchemaBuilder s;
  TCapturingLogger quiet;
  TMofLoadOptions options;
  options.keepGoing = true;
  TMofLoader loader(s.Namespace(), options);
  EXPECT_FALSE(loader.LoadText("flood.mof", flood + "[Abstract] class Late {};"));
  EXPECT_EQ(loader.ErrorCount(), 1001);
  EXPECT_EQ(loader.Diagnostics().back().Format().substr(0, 58),
            "flood.mof:1001:1: error: more than 1000 errors: loading st");
  EXPECT_THROW(s.Namespace()->GetClass("Late", TContext()), TTYLException);
  EXPECT_TRUE(loader.LoadText("good.mof", "[Abstract] class Good {};"));
  EXPECT_FALSE(loader.LoadText("bad.mof", "@; [Abstract] class Other {};"));
  EXPECT_EQ(loader.ErrorCount(), 1002);
  EXPECT_THROW(s.Namespace()->GetClass("Other", TContext()), TTYLException);
}

// A thousand errors on a line of 16 MB are shown from windows of it, in a
// moment, not in the seconds that copying the line for each would take.
TEST(MofSyntaxTest, ErrorsOnALongLineAreShownWithoutCopyingIt) {
  std::string line;
  for (int i = 0; i < 1000; ++i) line += "@;";
  line += std::string(16 << 20, ' ');
  TSchemaBuilder s;
  TCapturingLogger quiet;
  TMofLoadOptions options;
  options.keepGoing = true;
  TMofLoader loader(s.Namespace(), options);
  EXPECT_FALSE(loader.LoadText("t.mof", line));
  ASSERT_EQ(loader.ErrorCount(), 1000);
  const auto start = std::chrono::steady_clock::now();
  size_t shown = 0;
  for (const TMofDiagnostic& d : loader.Diagnostics()) shown += d.Format().size();
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
  EXPECT_LT(took.count(), 1.0);
  EXPECT_LT(shown, 1000 * 600u);
}

TEST(MofSyntaxTest, KeepGoingReportsEveryErrorAndResumesAfterEach) {
  TSchemaBuilder s;
  TCapturingLogger quiet;
  TMofLoadOptions options;
  options.keepGoing = true;
  TMofLoader loader(s.Namespace(), options);
  EXPECT_FALSE(loader.LoadText("t.mof",
                               "class A { string x }; [ABSTRACT] class B {};\n"
                               "class C { uint8 y = -1; }; [ABSTRACT] class D : B {};\n"
                               "class E : Missing {};"));
  EXPECT_EQ(loader.ErrorCount(), 3);
  EXPECT_EQ(loader.Counts().classes, 2);  // B and D
  EXPECT_TRUE(s.Namespace()->GetClass("D", TContext()));
  EXPECT_THROW(s.Namespace()->GetClass("C", TContext()), TTYLException);
}

}  // namespace
