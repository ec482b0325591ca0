#include "engine/PackageDocument.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "engine/RunnerVariables.h"
#include "platform/PlatformError.h"

namespace torvik::engine {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

/// Twelve lines that every case stands on; the case begins in line 13.
constexpr const char* kBase = R"toml(name = "Sales_LoadDW"
[global_variables]
Directory = "/data/"
LoginPassword = "secret"
[[connections]]
name = "warehouse"
provider = "SQLOLEDB"
properties = { "Data Source" = "(local)" }
[[connections]]
name = "file"
provider = "DTSFlatFile"
properties = { "Data Source" = "${Directory}a.csv" }
)toml";

std::string ErrorOf(const std::string& text) {
  try {
    ReadPackageDocument(text, "sales.toml");
  } catch (const PlatformError& error) {
    return error.Description();
  }
  return "no error";
}

TEST(PackageDocument, ReadsEveryKey) {
  const PackageModel package = ReadPackageDocument(R"(
name = "Sales"
description = "All of it"
max_concurrent_steps = 2
fail_on_error = true
use_transaction = false
auto_commit_transaction = false
[global_variables]
Text = "t"
Flag = true
Count = 7
Ratio = 0.5
[[connections]]
name = "w"
provider = "sqloledb"
properties = { "User ID" = "${Text}", "data source" = "s", "Connect Timeout" = 5 }
[[steps]]
name = "second"
description = "d"
after = [ { step = "first", on = "failure" }, { step = "third" } ]
task = "ExecuteSQL"
connection = "w"
sql = "SELECT 1"
disabled = true
join_transaction = true
commit_success = true
rollback_failure = true
fail_package_on_error = true
[[steps]]
name = "first"
task = "ExecuteProcess"
program = "/bin/true"
arguments = [ "${Count}" ]
working_directory = "/"
success_codes = [ 0, 3 ]
[[steps]]
name = "third"
task = "SetVariables"
connection = "w"
sql = "SELECT 1 AS Count"
)",
                                                   "sales.toml");
  EXPECT_EQ(package.description, "All of it");
  EXPECT_EQ(package.maxConcurrentSteps, 2);
  EXPECT_TRUE(package.failOnError && !package.useTransaction && !package.autoCommitTransaction);
  ASSERT_EQ(package.variables.size(), 4u);
  EXPECT_EQ(package.variables[2].value, dts::Variant(std::int64_t{7}));
  EXPECT_EQ(package.variables[3].value, dts::Variant(0.5));

  const auto& properties = package.connections.at(0).properties;
  ASSERT_EQ(properties.size(), 3u) << "in the order of the document, in the provider's spelling";
  EXPECT_EQ(properties[0].name + "=" + properties[0].value.text, "User ID=${Text}");
  EXPECT_EQ(properties[1].name + "=" + properties[1].value.text, "Data Source=s");
  EXPECT_EQ(properties[2].name + "=" + properties[2].value.text, "Connect Timeout=5");

  const StepModel& step = package.steps.at(0);
  EXPECT_TRUE(step.disabled && step.joinTransaction && step.commitSuccess && step.rollbackFailure &&
              step.failPackageOnError);
  ASSERT_EQ(step.after.size(), 2u);
  EXPECT_EQ(step.after[0].step, 1u);
  EXPECT_EQ(step.after[0].outcome, Outcome::Failure);
  EXPECT_EQ(step.after[1].step, 2u);
  EXPECT_EQ(step.after[1].outcome, Outcome::Success);
}

TEST(PackageDocument, TellsPlaceReasonAndRemedy) {
  const std::string step = "[[steps]]\nname = 's'\n";
  const std::string sql = step + "task = 'ExecuteSQL'\nconnection = 'warehouse'\nsql = 'x'\n";
  const std::string pump = step + "task = 'DataPump'\ndestination = 'warehouse'\ntable = 't'\n";
  const std::string process = step + "task = 'ExecuteProcess'\n";
  const struct {
    std::string text;
    const char* place;
    const char* words;
  } cases[] = {
      {"[[steps]\n", "line 13, column", "; correct the document"},
      {"[[stepz]]\n", "line 13, column", "unknown key \"stepz\"; did you mean \"steps\"?"},
      {sql + "qqqqqqqqqq = 1\n", "line 18, column 1", "use one of \"after\""},
      {sql + "disabled = 'no'\n", "line 18, column 12", "\"disabled\" is a text; write a Boolean"},
      {sql + "description = 2024-01-01\n", "line 18, column 15", "is a date or time; write a text"},
      {step + "connection = 'warehouse'\n", "line 13, column 1", "the key \"task\" is missing"},
      {step + "task = 'ExecuteSql'\n", "line 15, column 8", "did you mean \"ExecuteSQL\"?"},
      {step + "task = 'Wait'\n", "line 15, column 8", "use one of \"ExecuteSQL\", \"DataPump\""},
      {step + "task = ''\n", "line 15, column 8", "\"task\" is empty"},
      {"[[steps]]\nname = 's'\ntask = 'ExecuteSQL'\nafter = [ 's' ]\n", "line 16, column 11",
       "write it as a table"},
      {sql + sql, "line 19, column 8", "a second step is called \"s\", as the one of line 13"},
      {"[[connections]]\nname = 'file'\nprovider = 'DTSFlatFile'\n", "line 14, column 8",
       "a second connection is called \"file\", as the one of line 9"},
      {"[[connections]]\nname = 'c'\nprovider = 'SQLOLEBD'\n", "line 15, column 12",
       "unknown provider \"SQLOLEBD\"; did you mean \"SQLOLEDB\"?"},
      {"[[connections]]\nname = 'c'\nprovider = 'SQLOLEDB'\n", "line 13, column 1",
       "no property \"Data Source\""},
      {"[[connections]]\nname = 'c'\nprovider = 'SQLOLEDB'\n[connections.properties]\n"
       "'Data Source' = 'x'\n'Initial Catalogue' = 'y'\n",
       "line 18, column 1", "did you mean \"Initial Catalog\"?"},
      {"[[connections]]\nname = 'c'\nprovider = 'DTSFlatFile'\n[connections.properties]\n"
       "'Data Source' = 'x'\n'Skip Rows' = -1\n",
       "line 18, column 15", "write a whole number or a ${Name}"},
      {"[[connections]]\nname = 'c'\nprovider = 'DTSFlatFile'\n[connections.properties]\n"
       "'Data Source' = '${Nowhere}'\n'First Row Column Name' = 'yes'\n",
       "line 17, column 17", "no global variable for ${Nowhere}"},
      {sql + "after = [ { step = 'other' } ]\n", "line 18, column 20", "no step \"other\""},
      {sql + "after = [ { step = 's', on = 'end' } ]\n", "line 18, column 30",
       "use one of \"success\", \"failure\", \"completion\""},
      {sql + "after = [ { step = 's' } ]\n", "line 13, column 1", "\"s\" after \"s\""},
      {sql + "after = [ { step = 't' } ]\n[[steps]]\nname = 't'\ntask = 'ExecuteSQL'\n"
             "connection = 'warehouse'\nsql = 'x'\nafter = [ { step = 's' } ]\n",
       "line 13, column 1", "\"s\" after \"t\" after \"s\"; remove one"},
      {step + "task = 'ExecuteSQL'\nconnection = 'warehose'\nsql = 'x'\n", "line 16, column 14",
       "no connection \"warehose\"; did you mean \"warehouse\"?"},
      {step + "task = 'ExecuteSQL'\nconnection = 'file'\nsql = 'x'\n", "line 16, column 14",
       "is a text file; name a database"},
      {step + "task = 'ExecuteSQL'\nconnection = 'warehouse'\nsql = '''\n\n ${Dir}'''\n",
       "line 17, column 7", "no global variable for ${Dir}"},
      {step + "task = 'ExecuteSQL'\nconnection = 'warehouse'\nsql = '${Directory'\n",
       "line 17, column 7", "\"${\" without \"}\""},
      {pump + "source = 'file'\nsource_table = 'x'\n", "line 19, column 16", "is a text file"},
      {pump + "source = 'warehouse'\n", "line 13, column 1",
       "give one of \"source_sql\" and \"source_table\""},
      {pump + "source = 'file'\ncolumns = { a = 1 }\n", "line 19, column 17", "write a text"},
      {process + "program = 'p'\narguments = [ '-p', '${LoginPassword}' ]\n", "line 17, column 21",
       "${LoginPassword} would show in the process list"},
      {process + "program = 'p'\narguments = [ 1 ]\n", "line 17, column 15", "write a text"},
      {process + "program = 'p'\nsuccess_codes = [ '0' ]\n", "line 17, column 19",
       "write an integer"},
      {process + "program = 'p'\njoin_transaction = true\n", "line 17, column 20",
       "\"ExecuteProcess\" cannot join a transaction"},
      {step + "task = 'ExecutePackage'\npackage = 'p'\n", "line 13, column 1",
       "needs the global variable \"DTSServerLoginPassword\""},
  };
  for (const auto& c : cases)
    EXPECT_THAT(ErrorOf(kBase + c.text),
                AllOf(HasSubstr(std::string("sales.toml, ") + c.place), HasSubstr(c.words)))
        << c.text;
}

TEST(PackageDocument, NamesEveryProblemInOrder) {
  const std::string error = ErrorOf(
      "name = 7\nmax_concurrent_steps = 0\n[global_variables]\nA = ''\na = ''\nB = "
      "[]\n[[steps]]\nname = 's'\n"
      "task = 'ExecuteSQL'\nconnection = 'c'\n");
  EXPECT_EQ(error,
            "sales.toml, line 1, column 8: \"name\" is an integer; write a text\n"
            "sales.toml, line 2, column 24: \"max_concurrent_steps\" is less than 1; write 1 or "
            "more\n"
            "sales.toml, line 5, column 1: the global variable \"a\" is declared twice (letter "
            "case does not matter); remove one of them\n"
            "sales.toml, line 6, column 5: the global variable \"B\" is an array; write a text, a "
            "Boolean or a number\n"
            "sales.toml, line 7, column 1: the key \"sql\" is missing; add it here\n"
            "sales.toml, line 10, column 14: the package has no connection \"c\"; add it to "
            "[[connections]]");
}

TEST(PackageDocument, ACycleHasItsOwnNumber) {
  try {
    ReadPackageDocument(std::string(kBase) +
                            "[[steps]]\nname = 's'\ntask = 'ExecuteSQL'\nconnection = 'warehouse'\n"
                            "sql = 'x'\nafter = [ { step = 's' } ]\n",
                        "x");
    FAIL() << "no error";
  } catch (const PlatformError& error) {
    EXPECT_EQ(error.number, 1015);
  }
}

TEST(RunnerVariables, AreMissedOneByOne) {
  const PackageModel package = ReadPackageDocument(
      "name = 'x'\n[global_variables]\nexceptionfilepath = ''\nDTSServer = ''\n"
      "DTSServerTrustedLogin = 'True'\nDTSServerLoginUserName = ''\nDTSServerLoginPassword = ''\n"
      "DestinationServer = ''\nDestServerTrustedLogin = true\nDestServerLoginUserName = ''\n"
      "DestServerLoginPassword = ''\nWriteCompletionStatusToNT = false\n"
      "OverwriteGlobalSettings = false\n",
      "x.toml");
  EXPECT_THAT(CheckTwelve(package),
              ElementsAre(AllOf(HasSubstr("x.toml, line 2, column 1"),
                                HasSubstr("\"DestServerDatabaseName\""), HasSubstr("is missing")),
                          AllOf(HasSubstr("x.toml, line 5, column 1"),
                                HasSubstr("write DTSServerTrustedLogin = false"))));
}

TEST(RunnerVariables, AFirstDocumentIsComplete) {
  const std::string name = "Sales \"new\"\\\t_Init";
  const PackageModel package = ReadPackageDocument(NewPackageDocument(name), "new.toml");
  EXPECT_EQ(package.name, name);
  EXPECT_THAT(CheckTwelve(package), ElementsAre());
  EXPECT_EQ(package.steps.size(), 1u);
}

TEST(PackageDocument, EveryWholeExampleOfTheManualIsRight) {
  const auto manual =
      std::filesystem::path(__FILE__).parent_path() / ".." / ".." / "docs" / "packages.md";
  std::ifstream stream(manual);
  const std::string text(std::istreambuf_iterator<char>(stream), {});
  const std::string fence = "```toml\nname = ";
  int examples = 0;
  for (auto at = text.find(fence); at != std::string::npos; at = text.find(fence, at + 1)) {
    const auto begin = text.find("name = ", at);
    const std::string example = text.substr(begin, text.find("```", begin) - begin);
    EXPECT_NO_THROW(ReadPackageDocument(example, manual)) << example;
    if (++examples == 1) {
      EXPECT_THAT(CheckTwelve(ReadPackageDocument(example, manual)), ElementsAre());
    }
  }
  EXPECT_GE(examples, 4);
}

}  // namespace
}  // namespace torvik::engine
