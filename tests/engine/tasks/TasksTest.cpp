#include <gmock/gmock.h>

#include "engine/EngineFixture.h"

namespace torvik::engine {
namespace {

using testing::AllOf;
using testing::HasSubstr;

class TasksTest : public EngineTest {
 protected:
  TasksTest() { warehouse_->Execute("CREATE TABLE t (id INTEGER PRIMARY KEY, name VARCHAR(5))"); }

  /// A step that loads the file a.txt into t, with further properties and keys.
  static std::string LoadFile(const std::string& properties, const std::string& keys = "") {
    return "[[connections]]\nname = \"file\"\nprovider = \"DTSFlatFile\"\n"
           "[connections.properties]\n\"Data Source\" = \"${ExceptionFilePath}a.txt\"\n" +
           properties + "\n" +
           Step("s", "DataPump", "source = \"file\"\ndestination = \"dw\"\ntable = \"t\"\n" + keys);
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
      {"SELECT 'x' AS Text, 2 AS Counter", "no global variable \"Counter\"; name the column",
       "text False 0 0.5"},
      {"SELECT 'x' AS Text, 'many' AS Count", "\"Count\" does not fit", "text False 0 0.5"},
      {"SELECT 2 AS Flag", "declared as a Boolean", "text False 0 0.5"},
      {"SELECT 1.5 AS Count", "declared as a whole number", "text False 0 0.5"},
  };
  warehouse_->Execute("CREATE TABLE seen (v TEXT)");
  for (const auto& c : cases) {
    warehouse_->Execute("DELETE FROM seen");
    const RunResult result = Run(
        "P",
        Head("P") +
            Step("s", "SetVariables", std::string("connection = \"dw\"\nsql = \"") + c.sql + "\"") +
            Sql("look", "INSERT INTO seen VALUES ('${Text} ${Flag} ${Count} ${Ratio}')",
                "after = [{ step = \"s\", on = \"completion\" }]"));
    EXPECT_EQ(result.ends, *c.error ? "FS" : "SS") << c.sql << result.events.errors;
    EXPECT_THAT(result.events.errors, HasSubstr(c.error)) << c.sql;
    EXPECT_EQ(Query("SELECT v FROM seen"), c.values) << c.sql;
  }
}

TEST_F(TasksTest, SetVariablesTakesFilesAndTexts) {
  const std::string file = "file = '${ExceptionFilePath}v.ini'\n";
  const std::string assign = "[[steps.assignments]]\n";
  setenv("TORVIK_TEST_FLAG", "True", 1);
  const struct {
    const char* text;  // of the file
    std::string keys;
    const char* error;   // empty: none
    const char* values;  // of Text, Flag, Count and Ratio after the step
  } cases[] = {
      {"# c\r\n\r\nTEXT = a=b\r\nflag=-1\n;c\n[x]\n Count\t= 7 ", file, "", "a=b True 7 0.5"},
      {"Text = \xE9 \x80\n", file, "", "\u00e9 \u20ac False 0 0.5"},
      {"\xEF\xBB\xBFText = '\u6f22 '\n", file, "", "\u6f22  False 0 0.5"},
      {"Count = 1\n[ Mine ]\nCount = 2\n[other]\nCount = x", file + "section = 'mine'", "",
       "text False 2 0.5"},
      {"Count = 1\n", file + "section = 'mine'", "has no section [mine]", "text False 0 0.5"},
      {"Text = x\nCount = 1.5\n", file, "v.ini, line 2 does not fit the global variable",
       "text False 0 0.5"},
      {"Text = x\nCounter = 1\n", file, "v.ini, line 2: there is no global variable",
       "text False 0 0.5"},
      {"Text = x\ntext = y\n", file, "v.ini, line 2: \"text\" is given already in line 1",
       "text False 0 0.5"},
      {"Text\n", file, "v.ini, line 1: this is not NAME = VALUE", "text False 0 0.5"},
      {"\xEF\xBB\xBFText = x\nText = \xE9\n", file, "v.ini, line 2: a byte is no character",
       "text False 0 0.5"},
      {"\n", file, "there is no line NAME = VALUE", "text False 0 0.5"},
      {"", "file = '/dev/zero'", "/dev/zero: ", "text False 0 0.5"},
      {"", "file = '/no/such'", "/no/such: No such file", "text False 0 0.5"},
      {"", "values = { text = '${Count}${Text}', Count = 5, Flag = true, Ratio = 2.5 }", "",
       "0text True 5 2.5"},
      {"text = x\nCount = 3\n",
       assign + "variable = 'Text'\n" + file + "key = 'TEXT'\n" + assign +
           "variable = 'Count'\nconnection = 'dw'\nsql = 'SELECT 41, 42'\n" + assign +
           "variable = 'Ratio'\nvalue = '${Count}.5'\n" + assign +
           "variable = 'Flag'\nenvironment = 'TORVIK_TEST_FLAG'\n",
       "", "x True 41 0.5"},
      {"SELECT 1\r\n-- \xE9\r\n", assign + "variable = 'Text'\ntext_" + file, "",
       "SELECT 1\r -- \u00e9 False 0 0.5"},
      {"a = 1\n",
       assign + "variable = 'Text'\nvalue = 'x'\n" + assign + "variable = 'Count'\n" + file +
           "key = 'b'\n",
       "v.ini: there is no line b = VALUE", "text False 0 0.5"},
      {"", assign + "variable = 'Text'\nenvironment = 'TORVIK_TEST_NONE'\n",
       "the environment has no variable \"TORVIK_TEST_NONE\"", "text False 0 0.5"},
      {"", assign + "variable = 'Text'\nconnection = 'dw'\nsql = 'SELECT 1 WHERE 1 = 0'\n",
       "has no row to take a value from", "text False 0 0.5"},
      {"", assign + "disables = 'look'\nvalue = 'maybe'\n", "is to say whether step \"look\"",
       "text False 0 0.5"},
      {"", assign + "disables = 'look'\nvalue = '-1'\n", "", ""},
      {"", "values = { Text = 'x', Count = '${Text}' }", "the text for \"Count\" does not fit",
       "text False 0 0.5"},
  };
  warehouse_->Execute("CREATE TABLE seen (v TEXT)");
  for (const auto& c : cases) {
    warehouse_->Execute("DELETE FROM seen");
    disk_.Write("v.ini", c.text);
    const RunResult result =
        Run("P", Head("P") + Step("s", "SetVariables", c.keys) +
                     Sql("look", "INSERT INTO seen VALUES ('${Text} ${Flag} ${Count} ${Ratio}')",
                         "after = [{ step = \"s\", on = \"completion\" }]"));
    EXPECT_EQ(result.ends, *c.error    ? "FS"
                           : *c.values ? "SS"
                                       : "SI")
        << c.text << c.keys << result.events.errors;
    EXPECT_THAT(result.events.errors, HasSubstr(c.error)) << c.text << c.keys;
    EXPECT_EQ(Query("SELECT v FROM seen"), c.values) << c.text << c.keys;
  }
}

TEST_F(TasksTest, ExecuteSqlTakesParametersAndGivesResults) {
  const std::string one = "parameters = ['Text', 'Count']\n";
  const struct {
    const char* sql;
    std::string keys;
    const char* error;   // empty: none
    const char* values;  // of Text, Flag, Count and Ratio after the step
  } cases[] = {
      {"INSERT INTO t VALUES (9, ?); SELECT name || '?', ? + 1 FROM t",
       one + "results = ['Text', 'Count']", "", "it's ?? False 2 0.5"},
      {"SELECT 7 AS Seven, NULL AS none, 1 AS yes",
       "results = { SEVEN = 'Count', none = 'Text', yes = 'Flag' }", "", " True 7 0.5"},
      {"SELECT ?", one, "parameters", "it's ? False 1 0.5"},
      {"SELECT ?, ?, ?", one, "parameters", "it's ? False 1 0.5"},
      {"SELECT 'x', 'many'", "results = ['Text', 'Count']",
       "the result's column \"'many'\" does not fit", "it's ? False 1 0.5"},
      {"SELECT 1 AS a", "results = ['Count', 'Text']",
       "names 2 variables, and the statement gives 1", "it's ? False 1 0.5"},
      {"SELECT 1 AS total", "results = { totl = 'Count' }", "did you mean \"total\"?",
       "it's ? False 1 0.5"},
      {"SELECT 5 WHERE 1 = 0", "results = ['Count']", "gave none to set variables from",
       "it's ? False 1 0.5"},
      {"SELECT 5 WHERE 1 = 0", "results = ['Count']\nno_row = 'keep'", "", "it's ? False 1 0.5"},
      {"DELETE FROM t", "results = ['Count']", "no statement of \"sql\" gives rows",
       "it's ? False 1 0.5"},
  };
  warehouse_->Execute("CREATE TABLE seen (v TEXT)");
  for (const auto& c : cases) {
    warehouse_->Execute("DELETE FROM seen; DELETE FROM t");
    const RunResult result = Run(
        "P", Head("P") + Step("set", "SetVariables", "values = { Text = \"it's ?\", Count = 1 }") +
                 Sql("s", c.sql, c.keys) +
                 Step("look", "ExecuteSQL",
                      "after = [{ step = 's', on = 'completion' }]\nconnection = 'dw'\n"
                      "parameters = ['Text', 'Flag', 'Count', 'Ratio']\n"
                      "sql = \"INSERT INTO seen VALUES (? || CASE ? WHEN 0 THEN ' False ' ELSE "
                      "' True ' END || ? || ' ' || ?)\""));
    EXPECT_EQ(result.ends, *c.error ? "SFS" : "SSS") << c.sql << result.events.errors;
    EXPECT_THAT(result.events.errors, HasSubstr(c.error)) << c.sql;
    EXPECT_EQ(Query("SELECT v FROM seen"), c.values) << c.sql;
  }
}

TEST_F(TasksTest, ATransactionOfSqlTextIsEndedByALaterStepOrFailsThePackage) {
  const std::string begin = Sql("begin", "BEGIN; INSERT INTO t VALUES (1, 'a')");
  const std::string after = "after = [ { step = \"begin\", on = \"completion\" } ]";
  const std::string insert = "INSERT INTO t VALUES (2, 'b')";
  const struct {
    std::string steps;
    const char *ends, *error, *rows;
  } cases[] = {{begin + Sql("end", insert + "; COMMIT", after), "SS", "", "1 2"},
               {begin + Sql("end", "ROLLBACK", after), "SS", "", ""},
               {begin + Sql("next", insert, after), "SS",
                "behind step \"next\" a transaction is open on the connection \"dw\"", ""},
               {Sql("begin", "BEGIN; " + insert, "connection = \"dw\"\nclose_connection = true"),
                "F", "nothing of it is kept", ""},
               {Sql("ends", "ROLLBACK", "join_transaction = true"), "F",
                "ends the package's transaction", ""},
               {begin + LoadFile("", after), "SF", "has begun a transaction", ""}};
  disk_.Write("a.txt", "id,name\n2,b\n");
  for (const auto& c : cases) {
    SCOPED_TRACE(c.steps);
    warehouse_->Execute("DELETE FROM t");
    const RunResult result = Run("P", Head("P") + c.steps);
    EXPECT_EQ(c.ends, result.ends);
    EXPECT_THAT(result.events.errors, HasSubstr(c.error));
    EXPECT_EQ(*c.error == '\0', result.events.errors.empty());
    EXPECT_EQ(c.rows, Query("SELECT id FROM t ORDER BY id"));
  }
}

TEST_F(TasksTest, DataPumpReadsTextFilesByTheirProperties) {
  const struct {
    const char* text;
    const char* properties;
    const char* keys;
    const char* rows;
    const char* error;
  } cases[] = {
      {"made by hand\r\nNo;'Its name'\r\n1;'a;b'\r\n2;\r\n",
       "'Column Delimiter' = ';'\n'Text Qualifier' = \"'\"\n'Skip Rows' = 1\n"
       "'First Row Column Name' = true",
       "columns = { No = \"id\", 'Its name' = \"name\" }", "1:a;b 2:-", ""},
      {"7,\xE9|",
       "'Column Names' = 'id, name'\n'Row Delimiter' = '|'\n'Skip Rows' = '${Count}'\n"
       "'First Row Column Name' = '${Flag}'\n'Encoding' = 'windows-1252'",
       "", "7:\u00e9", ""},
      {"", "'Skip Rows' = '${Text}'", "", "", "\"Skip Rows\" is \"text\"; it must be"},
      {"", "'First Row Column Name' = '${Text}'", "", "", "it must be True or False"},
  };
  for (const auto& c : cases) {
    warehouse_->Execute("DELETE FROM t");
    disk_.Write("a.txt", c.text);
    const RunResult result = Run("P", Head("P") + LoadFile(c.properties, c.keys));
    EXPECT_THAT(result.events.errors, HasSubstr(c.error)) << c.properties;
    EXPECT_EQ(result.ends, *c.error ? "F" : "S") << c.properties << result.events.errors;
    EXPECT_EQ(Query("SELECT id || ':' || coalesce(name, '-') FROM t"), c.rows) << c.properties;
  }
  EXPECT_THAT(disk_.Read("P.log"), HasSubstr("\"s\" succeeded: 2 rows,"));
}

TEST_F(TasksTest, DataPumpLeavesNothingOfAFailure) {
  disk_.Write("a.txt", "id,name\n1,one\n2,two\n1,again\n");
  for (const char* keys : {"", "rollback_failure = true\njoin_transaction = true"}) {
    warehouse_->Execute("DELETE FROM t");
    const RunResult result = Run("P", Head("P") + LoadFile("'First Row Column Name' = true", keys) +
                                          Sql("next", "INSERT INTO t VALUES (9, 'next')",
                                              "after = [{ step = \"s\", on = \"completion\" }]"));
    EXPECT_EQ(result.ends, "FS") << keys;
    EXPECT_THAT(result.events.errors, AllOf(HasSubstr("a.txt, line 4"), HasSubstr("UNIQUE")))
        << keys;
    EXPECT_EQ(Query("SELECT id FROM t"), "9") << "the next step is not part of it: " << keys;
  }
}

TEST_F(TasksTest, DataPumpReadsWhatItsTransactionWrote) {
  warehouse_->Execute("CREATE TABLE staging (id INTEGER, name TEXT)");
  for (const std::string source :
       {"source_sql = \"SELECT id, name FROM staging\"", "source_table = \"staging\""}) {
    warehouse_->Execute("DELETE FROM t; DELETE FROM staging");
    const RunResult result =
        Run("P", Head("P") +
                     Sql("fill", "INSERT INTO staging VALUES (1, 'x'), (2, NULL)",
                         "join_transaction = true") +
                     Step("s", "DataPump",
                          "source = \"dw again\"\ndestination = \"dw\"\ntable = \"t\"\n"
                          "join_transaction = true\n" +
                              source));
    EXPECT_EQ(result.events.errors, "") << source;
    EXPECT_EQ(Query("SELECT id FROM t"), "1 2") << source;
  }
}

TEST_F(TasksTest, ExecuteProcessJudgesTheExitCode) {
  const struct {
    const char* keys;
    const char* ends;
    const char* told;  // in an event or the log
  } cases[] = {
      {"program = \"printf\"\narguments = [ \"%s|\", \"a b\", \"${Text}\", \"$${HOME}\" ]", "S",
       "Step \"s\": a b|text|${HOME}|\r\n"},
      {"program = \"pwd\"\nworking_directory = \"/usr\"", "S", "Step \"s\": /usr\r\n"},
      {"program = \"false\"", "F", "\"false\" ended with exit code 1"},
      {"program = \"false\"\nsuccess_codes = [ 0, 1 ]", "S", ""},
      {"program = \"/no/such/program\"", "F", "\"/no/such/program\" cannot be started"},
  };
  for (const auto& c : cases) {
    const RunResult result = Run("P", Head("P") + Step("s", "ExecuteProcess", c.keys));
    EXPECT_EQ(result.ends, c.ends) << c.keys;
    EXPECT_THAT(result.events.errors + disk_.Read("P.log"), HasSubstr(c.told)) << c.keys;
  }
}

TEST_F(TasksTest, ExecutePackageHandsItsVariablesDown) {
  Put("Child", Head("Child") + Sql("c", "INSERT INTO t VALUES (${Count}, '${Text}')"));
  Put("P", Head("P") + Step("s", "ExecutePackage", "package = \"Child\""));
  const auto package = Load("P");
  package->GlobalVariables().SetValue("Text", std::string("here"));
  package->GlobalVariables().SetValue("Count", std::int64_t{5});
  EXPECT_EQ(Run(*package).ends, "S");
  EXPECT_EQ(Query("SELECT name FROM t WHERE id = 5"), "here");
  EXPECT_THAT(disk_.Read("Child.log"), HasSubstr("Package \"Child\" succeeded"));
}

TEST_F(TasksTest, ExecutePackageHandsTextsDownAndTakesValuesBack) {
  const std::string child = Head("Child") + Sql("c", "INSERT INTO t VALUES (${Count}, '${Text}')") +
                            Step("set", "SetVariables", "values = { Text = 'back', Count = 8 }");
  Put("Child", child);
  std::string other = Head("Other") + Sql("c", "SELECT 1");
  other.replace(other.find("Ratio = 0.5"), 11, "Flag2 = ''");
  Put("Other", other);
  const struct {
    const char* keys;
    const char* error;
    const char* rows;
  } cases[] = {
      {"package = 'Child'\nvariables = { Text = 'd-${Count}', Count = 3 }\nreturn = ['text']", "",
       "0:back 3:d-0"},
      {"package = 'Child'\nvariables = { Count = '${Text}' }", "the text for \"Count\" of package",
       "0:text"},
      {"package = 'Other'\nvariables = { Ratio = 2 }", "no global variable \"Ratio\"; declare it",
       "0:text"},
      {"package = 'Other'\nreturn = ['Ratio']",
       "package \"Other\" has no global variable \"Ratio\"", "0:text"},
  };
  for (const auto& c : cases) {
    warehouse_->Execute("DELETE FROM t");
    const RunResult result = Run("P", Head("P") + Step("s", "ExecutePackage", c.keys) +
                                          Sql("look", "INSERT INTO t VALUES (${Count}, '${Text}')",
                                              "after = [{ step = \"s\", on = \"completion\" }]"));
    EXPECT_THAT(result.events.errors, HasSubstr(c.error)) << c.keys;
    EXPECT_EQ(result.ends, *c.error ? "FS" : "SS") << c.keys << result.events.errors;
    EXPECT_EQ(Query("SELECT id || ':' || name FROM t ORDER BY id"), c.rows) << c.keys;
  }
}

TEST_F(TasksTest, SendMailHandsTheMailToTheMailer) {
  const RunResult result = Run(
      "P", Head("P") + Step("s", "SendMail",
                            "to = '${Text}@example.com'\ncc = ['c', 'd']\nsubject = 'S ${Count}'\n"
                            "text = 'T'\nattachments = ['${ExceptionFilePath}P.log']\n"
                            "server = 'mail'\ntls = 'smtps'\nport = 26\nuser = 'u'\n"
                            "password_file = '/p'"));
  EXPECT_EQ(result.ends, "S") << result.events.errors;
  ASSERT_EQ(mail_.messages.size(), 1u);
  const MailMessage& mail = mail_.messages[0];
  EXPECT_EQ(
      mail.from + mail.to.at(0) + mail.cc.at(1) + mail.subject + mail.text + mail.attachments.at(0),
      "text@example.comdS 0T" + disk_.PathOf("P.log"));
  const MailServer& server = mail_.servers[0];
  EXPECT_EQ(server.server + std::to_string(server.port) + server.user + server.passwordFile,
            "mail26u/p");
  EXPECT_EQ(server.tls, MailTls::Smtps);
  EXPECT_THAT(disk_.Read("P.log"), HasSubstr("the mail server has taken the mail: 250 kept"));
}

TEST_F(TasksTest, ExecutePackageFailsWithItsPackage) {
  const std::string bad = Sql("c", "SELECT nothing") + Sql("d", "SELECT 1");
  Put("Bad", Head("Bad") + bad);
  Put("Raising", Head("Raising", "fail_on_error = true") + bad);
  Put("Faulty", "name = 1");
  Put("Loop", Head("Loop") + Step("s", "ExecutePackage", "package = \"Middle\""));
  Put("Middle", Head("Middle") + Step("s", "ExecutePackage", "package = \"P\""));
  const struct {
    std::string package;
    const char* error;
  } cases[] = {
      {"Bad", "package \"Bad\": step \"c\" failed: "},
      {"Raising", "package \"Raising\" failed because step \"c\" failed: "},
      {"Faulty", "Faulty, line 1, column 8: "},
      {"Missing", "the server \"(local)\" has no package \"Missing\""},
      {"Loop", "would run inside itself: \"P\" > \"Loop\" > \"Middle\" > \"P\";"},
  };
  for (const auto& c : cases) {
    const RunResult result =
        Run("P", Head("P") + Step("s", "ExecutePackage", "package = \"" + c.package + "\""));
    EXPECT_EQ(result.ends, "F") << c.package;
    EXPECT_EQ(result.raised, "") << c.package;
    EXPECT_THAT(result.events.errors, HasSubstr(c.error)) << c.package;
  }
}

}  // namespace
}  // namespace torvik::engine
