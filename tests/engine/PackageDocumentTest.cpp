#include "engine/PackageDocument.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include "engine/model/RunnerVariables.h"
#include "platform/PlatformError.h"

namespace torvik::engine {
namespace {

using namespace std::string_literals;
using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::SizeIs;

/// Twelve lines that every case stands on; the case begins in line 13.
const std::string kBase = R"toml(name = "Sales_LoadDW"
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

PlatformError Refusal(const std::string& text) {
  try {
    ReadPackageDocument(text, "p.toml");
  } catch (const PlatformError& error) {
    return error;
  }
  return PlatformError(0, "no error", "");
}

TEST(PackageDocument, KeepsOrderSpellingAndDefaults) {
  const PackageModel package = ReadPackageDocument(R"(
name = "Sales"
description = "All of it"
max_concurrent_steps = 2
global_variables = { Text = "t" }
[[connections]]
name = "w"
provider = "sqloledb"
properties = { "User ID" = "${Text}", "data source" = "s", "Connect Timeout" = 5 }
[[steps]]
name = "second"
description = "d"
timeout_seconds = 7
after = [ { step = "first", on = "failure" }, { step = "first" } ]
task = "ExecuteSQL"
connection = "w"
sql = "SELECT 1"
[[steps]]
name = "first"
task = "ExecuteProcess"
program = "/bin/true"
)",
                                                   "p.toml");
  EXPECT_EQ(package.description + package.steps.at(0).description, "All of itd");
  EXPECT_EQ(package.maxConcurrentSteps, 2);
  std::string properties;
  for (const auto& one : package.connections.at(0).properties)
    properties += one.name + "=" + one.value.text + ";";
  EXPECT_EQ(properties, "User ID=${Text};Data Source=s;Connect Timeout=5;")
      << "in the order of the document, in the provider's spelling";
  const auto& after = package.steps.at(0).after;
  ASSERT_EQ(after.size(), 2u);
  EXPECT_TRUE(after[0].step == 1 && after[0].outcome == Outcome::Failure);
  EXPECT_TRUE(after[1].step == 1 && after[1].outcome == Outcome::Success);
  EXPECT_EQ(package.steps[0].timeout, std::chrono::seconds(7));
  EXPECT_FALSE(package.steps[1].timeout);
}

TEST(PackageDocument, TellsPlaceReasonAndRemedy) {
  const std::string step = "[[steps]]\nname = 's'\n", execute = "task = 'ExecuteSQL'\n";
  const std::string task = execute + "connection = 'warehouse'\n",
                    waitForS = "after = [ { step = 's' } ]\n";
  const std::string noSql = step + task, sql = noSql + "sql = 'x'\n";
  const std::string pump = step + "task = 'DataPump'\ndestination = 'warehouse'\ntable = 't'\n";
  const std::string process = step + "task = 'ExecuteProcess'\nprogram = 'p'\n";
  const std::string driven =
      step + "task = 'DataDrivenQuery'\nsource = 'file'\ndestination = 'warehouse'\n";
  const std::string query = "[[steps.queries]]\non = 'insert'\nsql = 'x'\n";
  const std::string assign = "[[steps.assignments]]\n";
  const std::string set = step + "task = 'SetVariables'\n", mail = step + "task = 'SendMail'\n";
  const std::string fileTask = step + "task = 'File'\naction = ";
  const std::string connection = "[[connections]]\nname = 'c'\nprovider = ";
  const std::string source = "[connections.properties]\n'Data Source' = 'x'\n";
  const std::string database = connection + "'SQLOLEDB'\n" + source;
  const std::string file = connection + "'DTSFlatFile'\n" + source;
  const struct {
    std::string text;
    int line, column;
    const char* words;
  } cases[] = {
      {"[[steps]\n", 13, 9, "; correct the document"},
      {"[[stepz]]\n", 13, 3, "unknown key \"stepz\"; did you mean \"steps\"?"},
      {sql + "qqqqqqqqqq = 1\n", 18, 1, "use one of \"after\""},
      {sql + "disabled = 'no'\n", 18, 12, "\"disabled\" is a text; write a Boolean"},
      {sql + "description = 2024-01-01\n", 18, 15, "is a date or time; write a text"},
      {step + "task = 'ExecuteSql'\n", 15, 8, "did you mean \"ExecuteSQL\"?"},
      {step + "task = 'Wait'\n", 15, 8, "use one of \"ExecuteSQL\", \"DataPump\""},
      {step + "task = ''\n", 15, 8, "\"task\" is empty"},
      {sql + "after = [ 's' ]\n", 18, 11, "write it as a table"},
      {sql + sql, 19, 8, "a second step is called \"s\", as the one of line 13"},
      {database + database, 19, 8, "a second connection is called \"c\", as the one of line 13"},
      {connection + "'SQLOLEBD'\n", 15, 12, "\"SQLOLEBD\"; did you mean \"SQLOLEDB\"?"},
      {connection + "'SQLOLEDB'\n", 13, 1, "no property \"Data Source\""},
      {database + "'Initial Catalogue' = 'y'\n", 18, 1, "did you mean \"Initial Catalog\"?"},
      {file + "'Skip Rows' = -1\n", 18, 15, "write a whole number or a ${Name}"},
      {file + "'Column Names' = '${Nowhere}'\n", 18, 18, "no global variable for ${Nowhere}"},
      {file + "'First Row Column Name' = 'yes'\n", 18, 27, "write true, false or a ${Name}"},
      {sql + "after = [ { step = 'other' } ]\n", 18, 20, "no step \"other\""},
      {sql + "after = [ { step = 's', on = 'end' } ]\n", 18, 30,
       "use one of \"success\", \"failure\""},
      {sql + waitForS, 13, 1, "\"s\" after \"s\""},
      {sql + "after = [ { step = 't' } ]\n[[steps]]\nname = 't'\n" + task + "sql = 'x'\n" +
           waitForS,
       13, 1, "\"s\" after \"t\" after \"s\"; remove one"},
      {step + execute + "connection = 'warehose'\n", 16, 14,
       "\"warehose\"; did you mean \"warehouse\"?"},
      {step + execute + "connection = 'file'\n", 16, 14, "is a text file; name a database"},
      {noSql + "sql = '''\n\n ${Dir}'''\n", 17, 7, "no global variable for ${Dir}"},
      {noSql + "sql = '${Directory'\n", 17, 7, "\"${\" without \"}\""},
      {pump + "source = 'file'\nsource_table = 'x'\n", 19, 16, "is a text file"},
      {pump + "source = 'warehouse'\n", 13, 1, "one of \"source_sql\" and \"source_table\""},
      {pump + "source = 'file'\ncolumns = { a = 1 }\n", 19, 17, "write a text"},
      {driven, 13, 1, "there is no query that a row could choose"},
      {driven + query + query, 21, 1, "a second query is for \"insert\""},
      {driven + "join_transaction = true\nmaximum_error_count = 1\n" + query, 18, 20,
       "cannot be undone alone"},
      {process + "arguments = [ '-p', '${LoginPassword}' ]\n", 17, 21, "in the process list"},
      {process + "arguments = [ 1 ]\n", 17, 15, "write a text"},
      {process + "success_codes = [ '0' ]\n", 17, 19, "write an integer"},
      {process + "join_transaction = true\n", 17, 20, "cannot join a transaction"},
      {sql + "priority = 6\n", 18, 12, "\"priority\" is 6; write a whole number from 1 to 5"},
      {sql + "retries = -1\n", 18, 11, "\"retries\" is -1; write a whole number from 0"},
      {sql + "retry_delay_seconds = -1\n", 18, 23, "from 0"},
      {sql + "timeout_seconds = 0\n", 18, 19, "from 1"},
      {sql + "timeout_seconds = 0.5\n", 18, 19, "is a real number; write an integer"},
      {sql + "parameters = [ 'Direct' ]\n", 18, 16, "\"Direct\"; did you mean \"Directory\"?"},
      {sql + "results = { a = 1 }\n", 18, 17, "write the name of a global variable"},
      {sql + "results = []\n", 18, 11, "names no variable"},
      {sql + "no_row = 'keep'\n", 18, 10, "belongs to \"results\""},
      {set + "file = 'x'\nsql = 'x'\n", 13, 1, "give one of \"sql\", \"file\", \"values\" and"},
      {set + "file = 'x'\nconnection = 'warehouse'\n", 17, 14, "only \"sql\" needs"},
      {set + "values = { x = '' }\n", 16, 16, "no global variable \"x\""},
      {set + "values = { Directory = '${LoginPassword}' }\n", 16, 24, "is a password"},
      {set + assign + "variable = 'Directory'\nvalue = '${LoginPassword}'\n", 18, 9,
       "is a password"},
      {set + assign + "variable = 'Direct'\nvalue = 'x'\n", 17, 12,
       "no global variable \"Direct\""},
      {set + assign + "variable = 'Directory'\nkey = 'x'\n", 16, 1,
       "give one of \"value\", \"file\""},
      {set + assign + "value = 'x'\n", 16, 1, "give one of \"variable\""},
      {set + assign + "disables = 'other'\nvalue = 'x'\n", 17, 12, "no step \"other\""},
      {mail + "to = 'a'\nsubject = '${LoginPassword}'\n", 17, 11, "would show in the mail"},
      {mail + "subject = 's'\n", 13, 1, "the mail goes to nobody"},
      {mail + "subject = 's'\nto = 'a'\nport = 0\n", 18, 8, "from 1 to 65535"},
      {mail + "subject = 's'\nto = 'a'\ntls = 'yes'\n", 18, 7, "use one of \"off\", \"try\""},
      {fileTask + "'mov'\nto = 't'\n", 16, 10, "did you mean \"move\"?"},
      {fileTask + "'wait'\n", 13, 1, "needs \"timeout_seconds\", 1 or more"},
      {fileTask + "'archive'\nto = 't'\nnew_name = '{x}'\n", 18, 12, "correct what stands between"},
      {fileTask + "'remove'\nto = 't'\n", 17, 1, "unknown key \"to\""},
      {step + "task = 'ExecutePackage'\npackage = 'p'\n", 13, 1, "\"DTSServerLoginPassword\""},
      {pump + "source = 'file'\n[[steps.transformations]]\ndestination = 'a'\ntype = "
              "'constant'\nvalue = '${LoginPassword}'\n",
       22, 9, "would show in exception files"},
  };
  for (const auto& c : cases) {
    const std::string place =
        "p.toml, line " + std::to_string(c.line) + ", column " + std::to_string(c.column) + ": ";
    EXPECT_THAT(Refusal(kBase + c.text).Description(), AllOf(HasSubstr(place), HasSubstr(c.words)))
        << c.text;
  }
  EXPECT_EQ(Refusal(kBase + sql + waitForS).number, 1015);
}

TEST(PackageDocument, WhatIsNoDocumentSaysWhatItIs) {
  std::string deep = "name = 'p'\n";
  for (int part = 0; part < 20'000; ++part) deep += "a.";
  const struct {
    std::string text, words;
  } cases[] = {
      {deep + "a = 1\n", "line 2, column 64: a key of more than 32 parts"},
      {"name = 'p' # a.b\ntext = \"\"\"\na." + deep.substr(11) + "\"\"\"\n[" + deep.substr(11) +
           "b]",
       "column 65: a key of more than 32 parts"},
      {"\xFF\xFEn\0a\0"s,
       "line 1, column 1: the document is UTF-16 text; save the document as UTF-8"},
      {"n\0a\0"s, "the document is UTF-16 text; save the document as UTF-8"},
      {"name = 'p'\n[steps]\nname = 's'\n",
       "line 2, column 1: [steps] is one table; write [[steps]]"},
  };
  for (const auto& c : cases)
    EXPECT_THAT(Refusal(c.text).Description(), HasSubstr(c.words)) << c.text.substr(0, 100);
  EXPECT_THAT(Refusal("name = 'p'\nx" + std::string(33, '[')).Description(), HasSubstr("line 2"));
  const std::string dots = "a.b.c.d.e.f.g.h.i.j.k.l.m.n.o.p.q.r.s.t.u.v.w.x.y.z";
  EXPECT_THAT(Refusal("name = '" + dots + dots + "'\n# " + dots + dots + "\n").Description(),
              "no error");
}

TEST(PackageDocument, ALongCircleIsFoundAndCutShort) {
  constexpr int kSteps = 30000;
  std::string text = "name = 'p'\n";
  for (int i = 0; i < kSteps; ++i)
    text += "[[steps]]\nname = '" + std::to_string(i) +
            "'\ntask = 'ExecuteProcess'\nprogram = 'p'\nafter = [ { step = '" +
            std::to_string((i + 1) % kSteps) + "' } ]\n";
  EXPECT_THAT(Refusal(text).Description(),
              AllOf(HasSubstr("line 2, column 1: steps wait for each other: \"0\" after \"1\""),
                    HasSubstr("\"19\" after ... after \"0\"; remove"), Not(HasSubstr("\"20\""))));
}

TEST(PackageDocument, NamesEveryProblemInOrder) {
  const PlatformError error = Refusal(R"(name = 7
max_concurrent_steps = 0
[global_variables]
A = ''
a = ''
B = []
[[steps]]
name = 's'
task = 'ExecuteSQL'
connection = 'c'
)");
  EXPECT_EQ(error.Description(), R"(p.toml, line 1, column 8: "name" is an integer; write a text
p.toml, line 2, column 24: "max_concurrent_steps" is less than 1; write 1 or more
p.toml, line 5, column 1: the global variable "a" is declared twice (letter case does not matter); remove one of them
p.toml, line 6, column 5: the global variable "B" is an array; write a text, a Boolean or a number
p.toml, line 7, column 1: the key "sql" is missing; add it here
p.toml, line 10, column 14: the package has no connection "c"; add it to [[connections]])");
}

TEST(RunnerVariables, AreMissedOneByOneAndCompleteInAFirstDocument) {
  const PackageModel package = ReadPackageDocument(
      "name = 'x'\n[global_variables]\nexceptionfilepath = ''\nDTSServerTrustedLogin = 'True'\n",
      "x.toml");
  EXPECT_THAT(CheckTwelve(package),
              AllOf(SizeIs(11), Not(Contains(HasSubstr("\"ExceptionFilePath\""))),
                    Contains(AllOf(HasSubstr("x.toml, line 2, column 1"),
                                   HasSubstr("\"DTSServer\""), HasSubstr("is missing"))),
                    Contains(AllOf(HasSubstr("line 4, column 1"),
                                   HasSubstr("DTSServerTrustedLogin = false")))));

  const std::string name = "Sales \"new\"\\\t_Init";
  const PackageModel first = ReadPackageDocument(NewPackageDocument(name), "new.toml");
  EXPECT_EQ(first.name, name);
  EXPECT_THAT(CheckTwelve(first), ElementsAre());
}

}  // namespace
}  // namespace torvik::engine
