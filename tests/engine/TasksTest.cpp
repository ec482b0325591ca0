#include <gmock/gmock.h>

#include "EngineFixture.h"

namespace torvik::engine {
namespace {

using testing::AllOf;
using testing::HasSubstr;

class TasksTest : public EngineTest {
 protected:
  TasksTest() { warehouse_->Execute("CREATE TABLE t (id INTEGER PRIMARY KEY, name VARCHAR(5))"); }

  static std::string Step(const std::string& task, const std::string& keys,
                          const std::string& name = "s") {
    return "[[steps]]\nname = \"" + name + "\"\ntask = \"" + task + "\"\n" + keys + "\n";
  }

  static std::string File(const std::string& properties) {
    return "[[connections]]\nname = \"file\"\nprovider = \"DTSFlatFile\"\n"
           "[connections.properties]\n" +
           properties + "\n";
  }

  std::string Source(const std::string& file) const {
    return "\"Data Source\" = \"" + PathOf(file) + "\"\n";
  }
};

TEST_F(TasksTest, SetVariablesKeepsTheDeclaredTypes) {
  const struct {
    const char* sql;
    const char* error;   // empty: none
    const char* values;  // of Text, Flag, Count and Ratio after the step
  } cases[] = {
      {"SELECT 'new' AS TEXT", "", "new False 0 0.5"},
      {"SELECT 12 AS Text, -1 AS Flag, '7' AS Count, 2 AS Ratio", "", "12 True 7 2"},
      {"SELECT 'true' AS Flag, 1.25 AS Ratio", "", "text True 0 1.25"},
      {"SELECT 1 AS Count UNION ALL SELECT 2 ORDER BY 1", "", "text False 1 0.5"},
      {"SELECT NULL AS Text, NULL AS Flag, NULL AS Ratio", "", " False 0 0"},
      {"SELECT 1 AS Count WHERE 1 = 0", "the query has no row", "text False 0 0.5"},
      {"SELECT 'x' AS Text, 2 AS Counter", "\"Counter\" is no global variable", "text False 0 0.5"},
      {"SELECT 'x' AS Text, 'many' AS Count", "\"Count\" does not fit", "text False 0 0.5"},
      {"SELECT 2 AS Flag", "declared as a Boolean", "text False 0 0.5"},
      {"SELECT 1.5 AS Count", "declared as a whole number", "text False 0 0.5"},
  };
  warehouse_->Execute("CREATE TABLE seen (v TEXT)");
  for (const auto& c : cases) {
    warehouse_->Execute("DELETE FROM seen");
    const std::string query = std::string("connection = \"dw\"\nsql = \"") + c.sql + "\"";
    const RunResult result =
        Run("P", Head("P") + Step("SetVariables", query) +
                     Sql("look", "INSERT INTO seen VALUES ('${Text} ${Flag} ${Count} ${Ratio}')",
                         "after = [{ step = \"s\", on = \"completion\" }]"));
    EXPECT_EQ(result.ends, *c.error ? "FS" : "SS") << c.sql << result.events.errors;
    EXPECT_THAT(result.events.errors, HasSubstr(c.error)) << c.sql;
    EXPECT_EQ(Query("SELECT v FROM seen"), std::string(c.values) + " ") << c.sql;
  }
}

TEST_F(TasksTest, DataPumpLoadsATextFile) {
  Write("a.txt", "made by hand\r\nNo;'Its name'\r\n1;'a;b'\r\n2;\r\n");
  const RunResult result = Run(
      "P", Head("P") +
               File(Source("a.txt") + "\"Column Delimiter\" = \";\"\n\"Text Qualifier\" = \"'\"\n"
                                      "\"Skip Rows\" = 1\n\"First Row Column Name\" = true") +
               Step("DataPump",
                    "source = \"file\"\ndestination = \"dw\"\ntable = \"t\"\n"
                    "columns = { No = \"id\", 'Its name' = \"name\" }"));
  EXPECT_EQ(result.events.errors, "");
  EXPECT_EQ(Query("SELECT id || ':' || coalesce(name, 'NULL') FROM t"), "1:a;b 2:NULL ");
  EXPECT_THAT(Read("P.log"), HasSubstr("\"s\" succeeded: 2 rows,"));
}

TEST_F(TasksTest, DataPumpTakesItsFileFromVariables) {
  Write("b.txt", "7,seven\n");
  Put("P", Head("P") +
               File("\"Data Source\" = \"${ExceptionFilePath}${Text}\"\n"
                    "\"Column Names\" = \"id, name\"\n\"First Row Column Name\" = \"${Flag}\"\n"
                    "\"Skip Rows\" = \"${Count}\"") +
               Step("DataPump", "source = \"file\"\ndestination = \"dw\"\ntable = \"t\""));
  const auto package = Load("P");
  package->GlobalVariables().SetValue("Text", std::string("b.txt"));
  EXPECT_EQ(Run(*package).events.errors, "");
  EXPECT_EQ(Query("SELECT name FROM t"), "seven ");
  package->GlobalVariables().SetValue("Count", std::string("some"));
  EXPECT_THAT(Run(*package).events.errors, HasSubstr("\"Skip Rows\" is \"some\"; it must be"));
}

TEST_F(TasksTest, DataPumpLeavesNothingOfAFailure) {
  Write("c.csv", "id,name\n1,one\n2,two\nthree,x\n");
  const std::string pump = "source = \"file\"\ndestination = \"dw\"\ntable = \"t\"\n";
  const std::string head = Head("P") + File(Source("c.csv") + "\"First Row Column Name\" = true");
  const std::string next = Sql("next", "INSERT INTO other VALUES (1)",
                               "after = [{ step = \"s\", on = \"completion\" }]");
  warehouse_->Execute("CREATE TABLE other (n INTEGER)");
  for (const char* keys : {"", "rollback_failure = true\njoin_transaction = true"}) {
    warehouse_->Execute("DELETE FROM other");
    const RunResult result = Run("P", head + Step("DataPump", pump + keys) + next);
    EXPECT_EQ(result.ends, "FS") << keys;
    EXPECT_EQ(Query("SELECT n FROM other"), "1 ") << "the next step is not part of it: " << keys;
    EXPECT_THAT(result.events.errors, AllOf(HasSubstr("c.csv, line 4"), HasSubstr("three")))
        << keys;
    EXPECT_EQ(Query("SELECT id FROM t"), "") << keys;
  }
}

TEST_F(TasksTest, DataPumpReadsWhatItsTransactionWrote) {
  warehouse_->Execute("CREATE TABLE staging (id INTEGER, name TEXT)");
  for (const char* source :
       {"source_sql = \"SELECT id, name FROM staging\"", "source_table = \"staging\""}) {
    warehouse_->Execute("DELETE FROM t; DELETE FROM staging");
    const RunResult result =
        Run("P", Head("P") +
                     Sql("fill", "INSERT INTO staging VALUES (1, 'x'), (2, NULL)",
                         "join_transaction = true") +
                     Step("DataPump", std::string("source = \"dw again\"\ndestination = \"dw\"\n"
                                                  "table = \"t\"\njoin_transaction = true\n") +
                                          source));
    EXPECT_EQ(result.events.errors, "") << source;
    EXPECT_EQ(Query("SELECT id FROM t"), "1 2 ") << source;
  }
}

TEST_F(TasksTest, ExecuteProcessJudgesTheExitCode) {
  const struct {
    const char* keys;
    const char* ends;
    const char* error;
    const char* log;
  } cases[] = {
      {"program = \"printf\"\narguments = [ \"%s|\", \"a b\", \"${Text}\", \"$${HOME}\" ]", "S", "",
       "Step \"s\": a b|text|${HOME}|\r\n"},
      {"program = \"pwd\"\nworking_directory = \"/usr\"", "S", "", "Step \"s\": /usr\r\n"},
      {"program = \"false\"", "F", "\"false\" ended with exit code 1", ""},
      {"program = \"false\"\nsuccess_codes = [ 0, 1 ]", "S", "", ""},
      {"program = \"/no/such/program\"", "F", "\"/no/such/program\" cannot be started", ""},
  };
  for (const auto& c : cases) {
    const RunResult result = Run("P", Head("P") + Step("ExecuteProcess", c.keys));
    EXPECT_EQ(result.ends, c.ends) << c.keys;
    EXPECT_THAT(result.events.errors, HasSubstr(c.error)) << c.keys;
    EXPECT_THAT(Read("P.log"), HasSubstr(c.log)) << c.keys;
  }
}

TEST_F(TasksTest, ExecutePackageHandsItsVariablesDown) {
  Put("Child", Head("Child") + Sql("c", "INSERT INTO t VALUES (${Count}, '${Text}')"));
  Put("P", Head("P") + Step("ExecutePackage", "package = \"Child\""));
  const auto package = Load("P");
  package->GlobalVariables().SetValue("Text", std::string("here"));
  package->GlobalVariables().SetValue("Count", std::int64_t{5});
  EXPECT_EQ(Run(*package).ends, "S");
  EXPECT_EQ(Query("SELECT name FROM t WHERE id = 5"), "here ");
  EXPECT_THAT(Read("Child.log"), HasSubstr("Package \"Child\" succeeded"));
}

TEST_F(TasksTest, ExecutePackageFailsWithItsPackage) {
  const std::string bad = Sql("c", "SELECT nothing") + Sql("d", "SELECT 1");
  Put("Bad", Head("Bad") + bad);
  Put("Raising", Head("Raising", "fail_on_error = true") + bad);
  Put("Faulty", "name = 1");
  Put("Loop", Head("Loop") + Step("ExecutePackage", "package = \"P\""));
  const struct {
    const char* package;
    const char* error;
  } cases[] = {
      {"Bad", "package \"Bad\": step \"c\" failed: "},
      {"Raising", "package \"Raising\" failed because step \"c\" failed: "},
      {"Faulty", "Faulty, line 1, column 8: "},
      {"Missing", "the server \"(local)\" has no package \"Missing\""},
      {"Loop", "would run inside itself: \"P\" > \"Loop\" > \"P\""},
      {"P", "would run inside itself: \"P\" > \"P\""},
  };
  for (const auto& c : cases) {
    const RunResult result = Run(
        "P", Head("P") + Step("ExecutePackage", std::string("package = \"") + c.package + "\""));
    EXPECT_EQ(result.ends, "F") << c.package;
    EXPECT_EQ(result.raised, "") << c.package;
    EXPECT_THAT(result.events.errors, HasSubstr(c.error)) << c.package;
  }
}

}  // namespace
}  // namespace torvik::engine
