#include <gmock/gmock.h>

#include <string>

#include "engine/EngineFixture.h"
#include "engine/PackageDocument.h"

namespace torvik::engine {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

std::string StepOf(const std::string& name, const std::string& keys) {
  return "[[steps]]\nname = \"" + name + "\"\n" + keys + "\n";
}

/// The keys of a script task, or of a workflow script, that does `statements`.
std::string ScriptKey(const std::string& key, const std::string& statements) {
  return key + " = '''\nFunction Main()\n" + statements + "\nEnd Function\n'''\n";
}

class Scripts : public EngineTest {
 protected:
  /// Runs a package of these steps; answers each step's end, what was raised and the errors.
  std::string Ran(const std::string& steps) {
    Put("P", Head("P") + File() + steps);
    package_ = Load("P");
    const RunResult result = Run(*package_);
    return result.ends + result.raised + result.events.errors;
  }

  std::string File() const {
    return "[[connections]]\nname = \"file\"\nprovider = \"DTSFlatFile\"\n"
           "properties = { \"First Row Column Name\" = true, \"Data Source\" = '" +
           disk_.PathOf("in.csv") + "' }\n";
  }

  std::unique_ptr<dts::Package> package_;
};

TEST_F(Scripts, ATaskSaysHowItEndsAndSetsVariables) {
  const struct {
    const char* statements;
    const char* words;  ///< Of the failure; empty: none.
  } cases[] = {
      {"Main = DTSTaskExecResult_Success", ""},
      {"", ""},
      {"Main = DTSTaskExecResult_Failure", "the script answers that it has failed"},
      {"Main = DTSTaskExecResult_RetryStep", "the script asks to be run again"},
      {"Main = 7", "the script answers 7, which is no DTSTaskExecResult"},
      {"x = 1 / 0", "Division by zero (error 11) in line 2"},
      {"CreateObject(\"Word.Application\")", "'Word.Application'"},
      {"Do : Loop", "error 18"},
      {"DTSGlobalVariables(\"None\").Value = 1", "the package has no global variable \"None\""},
      {"DTSGlobalVariables(\"Count\").Value = \"x\"", "Type mismatch"},
      {"Set f = CreateObject(\"Scripting.FileSystemObject\") : f.DeleteFile \"/etc/passwd\"",
       "Permission denied"},
  };
  for (const auto& c : cases) {
    const std::string ended =
        Ran(StepOf("s", "task = \"Script\"\n" + ScriptKey("script", c.statements)));
    if (*c.words == '\0')
      EXPECT_EQ(std::string::npos, ended.find('F')) << c.statements << ended;
    else
      EXPECT_THAT(ended, HasSubstr(c.words)) << c.statements;
  }
  Ran(StepOf("s",
             "task = \"Script\"\n" +
                 ScriptKey("script",
                           "Set v = DTSGlobalVariables\n v(\"count\") = v(\"Count\") + \"42\"\n"
                           "n = \"Text\" : v(n).Value = v(n).Name & v.Count : v(\"Flag\") = -1")));
  const dts::GlobalVariables& variables = package_->GlobalVariables();
  EXPECT_EQ(dts::Variant(std::int64_t{42}), variables.Value("Count"));
  EXPECT_EQ(dts::Variant(std::string("Text10")), variables.Value("Text"));
  EXPECT_EQ(dts::Variant(true), variables.Value("Flag"));
}

TEST_F(Scripts, AWorkflowScriptDecidesWhetherItsStepRuns) {
  const std::string task =
      "task = \"Script\"\n" + ScriptKey("script", "DTSGlobalVariables(\"Text\").Value = \"ran\"");
  const struct {
    const char* statements;
    const char* word;     ///< "ran" when the task has run.
    const char* failure;  ///< Of the step.
  } cases[] = {
      {"Main = DTSStepScriptResult_ExecuteTask", "ran", ""},
      {"Main = DTSStepScriptResult_DontExecuteTask", "text", ""},
      {"Set n = DTSGlobalVariables(\"Count\") : n.Value = n.Value + 1\n"
       "If n.Value < 3 Then Main = DTSStepScriptResult_RetryLater",
       "ran", ""},
      {"Main = 9", "text", "the workflow script answers 9"},
      {"Err.Raise 1000, \"me\", \"no\"", "text", "the workflow script failed: no"},
  };
  for (const auto& c : cases) {
    const std::string ended = Ran(StepOf(
        "first", "retry_delay_seconds = 0\n" + ScriptKey("workflow_script", c.statements) + task));
    EXPECT_EQ(dts::Variant(std::string(c.word)), package_->GlobalVariables().Value("Text"))
        << c.statements << ended;
    EXPECT_THAT(ended, HasSubstr(c.failure)) << c.statements;
  }
  // What waits for a step that was left out does not run. Both are told.
  Ran(StepOf("first", ScriptKey("workflow_script", "Main = 1") + task) +
      StepOf("second", "after = [ { step = \"first\", on = \"completion\" } ]\n" + task));
  EXPECT_EQ(dts::StepExecutionStatus::Inactive, package_->Step(1).ExecutionStatus());
  EXPECT_EQ(dts::StepExecutionStatus::Waiting, package_->Step(2).ExecutionStatus());
  EXPECT_EQ(Run(*package_).events.notRun, "first second ");
}

TEST_F(Scripts, ARowScriptSaysWhatBecomesOfEachRow) {
  disk_.Write("in.csv", "a,b\n1,x\n2,\n3,z\n");
  warehouse_->Execute("CREATE TABLE t (id INTEGER NOT NULL, word VARCHAR(20))");
  const struct {
    const char* statements;
    const char* rows;   ///< Of the table.
    const char* words;  ///< Of the run.
  } cases[] = {
      {"DTSDestination(\"id\") = DTSSource(\"a\") * 2 : DTSDestination(2) = DTSSource(2) & \"!\"\n"
       "Main = DTSTransformStat_OK",
       "2|x!\n4|!\n6|z!", ""},
      {"DTSDestination(\"id\") = DTSSource(\"A\")\n"
       "If IsNull(DTSSource(\"b\")) Then Main = DTSTransformStat_SkipRow Else Main = 1",
       "1|-\n3|-", ""},
      {"DTSDestination(\"id\") = DTSSource(\"a\") : n = DTSGlobalVariables(\"Count\")\n"
       "DTSGlobalVariables(\"Count\").Value = n + 1 : DTSDestination(\"word\") = n\n"
       "If n Mod 2 = 1 Then Main = DTSTransformStat_SkipFetch Else Main = DTSTransformStat_OK",
       "1|0\n2|1\n2|2\n3|3\n3|4", ""},
      {"DTSDestination(\"id\") = 1 : Main = DTSTransformStat_SkipInsert", "", ""},
      {"If DTSSource(\"a\") = 3 Then Main = DTSTransformStat_NoMoreRows : Exit Function\n"
       "DTSDestination(\"id\") = 5 : Main = 1",
       "5|-\n5|-", ""},
      {"DTSDestination(\"id\") = 1\nIf DTSSource(\"a\") = 2 Then Main = DTSTransformStat_Error "
       "Else Main = 1",
       "1|-\n1|-", ""},
      {"DTSDestination(\"id\") = 10 / (DTSSource(\"a\") - 2) : Main = 1", "-10|-\n10|-", ""},
      {"DTSDestination(\"id\") = \"no number\" : Main = 1", "", "is not a whole number"},
      {"Main = DTSTransformStat_AbortPump", "", "the script has ended the pump"},
      {"Main = DTSTransformStat_InsertQuery", "", "only a data-driven query"},
      {"x = DTSSource(\"c\") : Main = 1", "", "DTSSource has no column \"c\""},
      {"DTSSource(\"a\") = 1 : Main = 1", "", "DTSSource cannot be assigned to"},
      {"DTSDestination(\"id\") = 1", "", "the script answers nothing"},
      {"Do : Loop", "", "error 18"},
  };
  for (const auto& c : cases) {
    warehouse_->Execute("DELETE FROM t");
    const std::string ended =
        Ran(StepOf("pump",
                   "task = \"DataPump\"\nsource = \"file\"\ndestination = \"dw\"\ntable = "
                   "\"t\"\nmaximum_error_count = 1\n[[steps.transformations]]\ntype = "
                   "\"script\"\ndestinations = [\"id\", \"word\"]\n" +
                       ScriptKey("script", c.statements)));
    EXPECT_EQ(c.rows, RowsOf(*warehouse_, "SELECT * FROM t")) << c.statements << ended;
    EXPECT_THAT(ended, HasSubstr(c.words)) << c.statements;
  }
}

TEST_F(Scripts, AScriptAsksLookupsAndSeesItsOwnSources) {
  disk_.Write("in.csv", "a,b\n1,x\n2,y\n");
  warehouse_->Execute(
      "CREATE TABLE t (id INTEGER, word VARCHAR(20), at DATETIME);"
      "CREATE TABLE known (k VARCHAR(3), w VARCHAR(9), n INTEGER);"
      "INSERT INTO known VALUES ('x', 'ex', 7)");
  const std::string ended = Ran(StepOf(
      "pump",
      R"(task = "DataPump"
source = "file"
destination = "dw"
table = "t"
[[steps.lookups]]
name = "one"
connection = "dw"
sql = "SELECT w -- ?, [?\n FROM known /* ? */ WHERE '?' <> '' AND k = ?"
[[steps.lookups]]
name = "both"
connection = "dw"
sql = "SELECT w, n FROM known WHERE k = ?"
[[steps.transformations]]
type = "script"
sources = ["b"]
destinations = ["word", "id"]
)" + ScriptKey("script", R"(
word = DTSLookups("one").Execute(DTSSource(1).Value, "one too many")
If IsEmpty(word) Then
  DTSDestination("word") = "none of " & DTSSource.Count
Else
  pair = DTSLookups("both").Execute(DTSSource("b"))
  DTSDestination("word") = pair(0) & pair(1)
End If
Main = DTSTransformStat_OK)") +
          R"([[steps.transformations]]
type = "script"
destinations = ["at"]
)" +
          ScriptKey("script",
                    "DTSDestination(\"at\") = #2/1/2024 10:30# : Main = DTSTransformStat_OK")));
  EXPECT_EQ("-|ex7|2024-02-01 10:30:00\n-|none of 1|2024-02-01 10:30:00",
            RowsOf(*warehouse_, "SELECT * FROM t"))
      << ended;
}

TEST_F(Scripts, ADocumentsScriptsAreCheckedWithIt) {
  const std::string head =
      "name = \"P\"\n[[connections]]\nname = \"as400\"\n"
      "provider = \"IBMDA400\"\nproperties = { \"Data Source\" = \"x\" }\n"
      "original = { \"Catalog Library List\" = \"L\", Flag = true, N = 1.5 }\n";
  const struct {
    const char* step;
    const char* problem;  ///< Empty: none.
  } cases[] = {
      {"script = 'Function Main() : End Function'\noriginal = { \"ExecuteInMainThread\" = 0 }", ""},
      {"script = 'Sub Other : End Sub'\nfunction = \"other\"", ""},
      {"script = 'Sub Other : End Sub'", "has no function \"Main\""},
      {"script = 'Function Main( : End Function'", "cannot be compiled: "},
      {"script = 'Sub Main : End Sub'\nworkflow_script = 'If'", "\"workflow_script\" cannot be"},
      {"script = 'Sub Main : End Sub'\noriginal = { a = [1] }", "original property \"a\" is "},
  };
  for (const auto& c : cases) {
    std::string problem;
    try {
      ReadPackageDocument(head + StepOf("s", std::string("task = \"Script\"\n") + c.step), "d");
    } catch (const PlatformError& error) {
      problem = error.Description();
    }
    if (*c.problem == '\0')
      EXPECT_EQ("", problem);
    else
      EXPECT_THAT(problem, HasSubstr(c.problem));
  }
}

/// The way in which packages go through a folder: a step that looks for the next file, one that
/// loads it, and one that lets both run again.
TEST_F(Scripts, AScriptLetsStepsRunAgainForEachFileOfAFolder) {
  for (const char* name : {"b.csv", "a.csv", "note.txt"})
    disk_.Write(std::string("in/") + name, std::string("a\n") + name + "\n");
  warehouse_->Execute("CREATE TABLE t (id VARCHAR(9))");
  EngineServices services = Services();
  services.scriptDirectories = {disk_.PathOf("")};
  host_ = NewPackageHost(services);
  const std::string ended = Ran(
      StepOf("look", "task = \"Script\"\n" + ScriptKey("script", R"(
Set package = DTSGlobalVariables.Parent
Set loads = package.Steps("load")
Set folder = CreateObject("Scripting.FileSystemObject").GetFolder(")" +
                                                                     disk_.PathOf("in/") + R"(")
found = ""
For Each file In folder.Files
  If Right(file.Name, 4) = ".csv" And InStr(DTSGlobalVariables("Text").Value, file.Name) = 0 And found = "" Then found = file.Path
Next
loads.DisableStep = (found = "")
package.Steps("end").DisableStep = Not loads.DisableStep
If found <> "" Then
  package.Connections("file").DataSource = found
  DTSGlobalVariables("Text").Value = DTSGlobalVariables("Text").Value & folder.Files(Mid(found, Len(folder.Path) + 2)).Name
  DTSPackageLog.WriteStringToLog "next is " & package.Connections("file").DataSource
End If
Main = DTSTaskExecResult_Success)")) +
      StepOf("load",
             "after = [{ step = \"look\" }]\ntask = \"DataPump\"\nsource = \"file\"\n"
             "destination = \"dw\"\ntable = \"t\"\ncolumns = { a = \"id\" }") +
      StepOf("again", "after = [{ step = \"load\" }]\ntask = \"Script\"\n" + ScriptKey("script", R"(
DTSGlobalVariables.Parent.Steps("look").ExecutionStatus = DTSStepExecStat_Waiting
Main = DTSTaskExecResult_Success)")) +
      StepOf("end",
             "after = [{ step = \"look\" }]\ntask = \"ExecuteSQL\"\nconnection = \"dw\"\n"
             "sql = \"INSERT INTO t VALUES ('end')\""));
  EXPECT_EQ("a.csv\nb.csv\nend", RowsOf(*warehouse_, "SELECT * FROM t ORDER BY rowid")) << ended;
  EXPECT_THAT(disk_.Read("P.log"), HasSubstr("next is " + disk_.PathOf("in/a.csv")));
}

TEST_F(Scripts, AScriptChangesTheTasksOfItsPackage) {
  warehouse_->Execute("CREATE TABLE t (v VARCHAR(99))");
  const std::string tasks = Sql("insert", "INSERT INTO t VALUES ('${Text}')",
                                "after = [{ step = \"s\" }]\ntask_name = \"DTSTask_1\"") +
                            Sql("insert again", "INSERT INTO t VALUES ('${Text}')",
                                "after = [{ step = \"insert\" }]\ntask_name = \"DTSTask_1\"") +
                            Step("program", "ExecuteProcess",
                                 "program = \"/bin/false\"\nafter = [{ step = \"insert again\" }]");
  const struct {
    const char* statements;
    const char* error;  ///< Of the script; empty: none.
    const char* rows;
  } cases[] = {
      {"t.Tasks(\"dtstask_1\").CustomTask.SQLStatement = \"INSERT INTO t VALUES ('${Text}1')\"", "",
       "${Text}1\n${Text}1"},
      {"Set one = t.Tasks(t.Steps(\"insert again\").TaskName).Properties(\"SQLStatement\")\n"
       "one.Value = Replace(one.Value, \"text\", one.Name)",
       "", "SQLStatement\nSQLStatement"},
      {"For Each task In t.Tasks\n  ids = ids & task.Name & \" \" & task.CustomTaskID & \" "
       "\"\nNext\n"
       "t.Tasks(2).CustomTask.SQLStatement = \"INSERT INTO t VALUES ('\" & ids & t.Tasks.Count & "
       "\"')\"",
       "",
       "s DTSActiveScriptTask DTSTask_1 DTSExecuteSQLTask program DTSCreateProcessTask 3\n"
       "s DTSActiveScriptTask DTSTask_1 DTSExecuteSQLTask program DTSCreateProcessTask 3"},
      {"Set p = t.Tasks(\"program\").CustomTask\np.ProcessCommandLine = \"/bin/sh -c \"\"exit "
       "0\"\"\"\n"
       "If p.ProcessCommandLine <> \"/bin/sh -c exit 0\" Then Err.Raise 5",
       "", "text\ntext"},
      {"On Error Resume Next\nt.Tasks(2).CustomTask.SQLStatement = \"\"\nfailed = Err.Description\n"
       "On Error Goto 0\nIf InStr(failed, \"\"\"sql\"\" is empty\") = 0 Then Err.Raise 5, , failed",
       "", "text\ntext"},
      {"For Each name In Array(\"DTSTask_1\", \"program\")\n"
       "  If name = \"program\" Then x = t.Tasks(name).CustomTask.ProcessCommandLine\n"
       "  t.Tasks(name).CustomTask.SQLStatement = \"INSERT INTO t VALUES (1)\"\nNext",
       "scripts cannot reach a property \"SQLStatement\" of the task \"program\", a ExecuteProcess",
       ""},
      {"t.Tasks(\"DTSTask_1\").CustomTask.CommandTimeout = 5",
       "Object doesn't support this property or method", ""},
      {"t.Tasks(\"DTSTask_9\").CustomTask.SQLStatement = 5",
       "the package has no task \"DTSTask_9\"", ""},
  };
  for (const auto& c : cases) {
    warehouse_->Execute("DELETE FROM t");
    const std::string ended =
        Ran(StepOf("s", "task = \"Script\"\n" +
                            ScriptKey("script", "Set t = DTSGlobalVariables.Parent\n" +
                                                    std::string(c.statements) +
                                                    "\nMain = DTSTaskExecResult_Success")) +
            tasks);
    const bool ends = std::string(c.statements).find("ProcessCommandLine") != std::string::npos;
    EXPECT_THAT(ended, StartsWith(*c.error ? "FWWW" : ends ? "SSSS" : "SSSF")) << c.statements;
    EXPECT_THAT(ended, HasSubstr(c.error)) << c.statements;
    EXPECT_EQ(c.rows, RowsOf(*warehouse_, "SELECT * FROM t")) << c.statements << ended;
  }
}

TEST_F(Scripts, AScriptWorksOnTheDatabasesOfItsPackage) {
  const std::string open = "Set con = CreateObject(\"ADODB.Connection\")\ncon.Open \"DW\"\n";
  const std::string rows = open + "Set rs = con.Execute(\"SELECT id, name FROM t ORDER BY id\")\n";
  const std::string command =
      "Set c = CreateObject(\"ADODB.Command\")\nc.ActiveConnection = \"dw\"\n";
  const struct {
    std::string statements;
    const char* error;  ///< Of the script; empty: none.
    const char* rows;   ///< Of t afterwards, whose name at 9 the script may set.
  } cases[] = {
      {rows + "Do While Not rs.EOF\n  s = s & rs(\"id\") & rs.Fields(1).Value & \";\" & "
              "rs.Fields.Count\n"
              "  rs.MoveNext\nLoop\ncon.Execute \"INSERT INTO t VALUES (9, '\" & s & \"')\"",
       "", "1|one 2|- 9|1one;22;2"},
      {rows + "For Each f In rs.Fields\n  s = s & f.Name & \"=\" & f & \" \"\nNext\nrs.MoveFirst\n"
              "If Not IsNull(rs(\"NAME\")) Then con.Execute \"INSERT INTO t VALUES (9, '\" & s & "
              "\"')\"",
       "", "1|one 2|- 9|id=1 name=one "},
      {"Set rs = CreateObject(\"ADODB.Recordset\")\n"
       "rs.Open \"SELECT * FROM t WHERE id = 2\", \"Data Source=(LOCAL);Initial Catalog=dw\", 2, "
       "3\n"
       "rs(\"name\") = \"two\"\nrs.Update\nrs.Close\n"
       "If rs.State <> 0 Then Err.Raise 5",
       "", "1|one 2|two"},
      {open + "con.BeginTrans\ncon.Execute \"DELETE FROM t\"\ncon.RollbackTrans\ncon.BeginTrans\n"
              "con.Execute \"UPDATE t SET name = 'x' WHERE id = 1\"\ncon.CommitTrans\n"
              "con.BeginTrans\ncon.Execute \"DELETE FROM t\"",
       "", "1|x 2|-"},
      {open + "On Error Resume Next\ncon.Execute \"SELECT * FROM none\"\ns = "
              "Err.Description\nErr.Clear\n"
              "con.Execute \"INSERT INTO t VALUES (9, '\" & Replace(s, \"'\", \"\") & \"')\"",
       "", "1|one 2|- 9|line 1 of the SQL text: no such table: none"},
      {open + "Set rs = con.Execute(\"DELETE FROM t WHERE id = 2\")\nx = rs.EOF",
       "the recordset is closed", "1|one"},
      {rows + "rs.MoveNext\nrs.MoveNext\nx = rs(0)", "the recordset has no current row",
       "1|one 2|-"},
      {rows + "rs.MoveNext\nrs.MoveFirst", "the rows come one after the other", "1|one 2|-"},
      {rows + "Set f = rs.Fields(1)\nrs.Open \"SELECT id FROM t\", \"dw\"\nIf rs(0) <> 1 Then "
              "Err.Raise 5\n"
              "x = f.Value",
       "the recordset has no such field any more", "1|one 2|-"},
      {rows + "x = rs(\"nome\")", "the recordset has no field \"nome\"", "1|one 2|-"},
      {"CreateObject(\"ADODB.Connection\").Open \"wd\"", "the package has no connection \"wd\"",
       "1|one 2|-"},
      {"CreateObject(\"ADODB.Connection\").Open \"Data Source=(local);Database=dw;PWD='dragon'\"",
       "a script may not hold a password", "1|one 2|-"},
      {"CreateObject(\"ADODB.Connection\").Open \"Server=other;Database=dw\"",
       "no connection of the package leads to the database \"dw\" of \"other\"", "1|one 2|-"},
      {"CreateObject(\"ADODB.Connection\").Execute \"SELECT 1\"", "the connection is closed",
       "1|one 2|-"},
      {command + "c.CommandText = \"SELECT id, ? AS n FROM t WHERE id >= ? ORDER BY id\"\n"
                 "c.Parameters.Append c.CreateParameter(\"n\", 200, 1, 9, \"it's\")\n"
                 "c.Parameters.Append c.CreateParameter(\"from\", 3, 1)\n"
                 "c.Parameters(\"FROM\") = 1\n"
                 "Set rs = c.Execute\n"
                 "Do Until rs.EOF\n  s = s & rs(0) & rs(\"N\") & c.Parameters.Count\n"
                 "  rs.MoveNext\nLoop\n"
                 "c.CommandText = \"INSERT INTO t VALUES (?, ?)\"\n"
                 "If c.Execute(, Array(9, s)).State <> 0 Then Err.Raise 5",
       "", "1|one 2|- 9|1it's22it's2"},
      {command + "c.CommandText = \"t\"\nc.CommandType = 2\nIf c.Execute()(\"name\") <> \"one\" "
                 "Then Err.Raise 5\n"
                 "c.CommandType = 1\nc.CommandText = \"INSERT INTO t VALUES (9, ?)\"\n"
                 "c.Execute , Null",
       "", "1|one 2|- 9|-"},
      {command + "c.CommandText = \"SELECT ?\"\nc.Execute", "the SQL text", "1|one 2|-"},
      {command + "c.CreateParameter \"x\", 3, 2", "a parameter cannot bring a value back",
       "1|one 2|-"},
      {command + "c.Parameters.Append 5", "Type mismatch", "1|one 2|-"},
      {command + "c.CommandText = \"SELECT id AS n FROM t WHERE id < ?\"\n"
                 "Set rs = c.Execute(, 2)\nrs(\"n\") = 7",
       "the rows of a command cannot be changed", "1|one 2|-"},
      {"CreateObject(\"ADODB.Command\").Execute", "the command has no ActiveConnection",
       "1|one 2|-"},
  };
  warehouse_->Execute("CREATE TABLE t (id INTEGER PRIMARY KEY, name VARCHAR(99))");
  for (const auto& c : cases) {
    warehouse_->Execute("DELETE FROM t; INSERT INTO t VALUES (1, 'one'), (2, NULL)");
    const std::string ended =
        Ran(StepOf("s", "task = \"Script\"\n" + ScriptKey("script", c.statements)));
    EXPECT_THAT(ended, StartsWith(*c.error ? "F" : "S")) << c.statements;
    EXPECT_THAT(ended, HasSubstr(c.error)) << c.statements;
    EXPECT_THAT(ended + disk_.Read("P.log"), Not(HasSubstr("dragon"))) << c.statements;
    EXPECT_EQ(c.rows, Query("SELECT * FROM t ORDER BY id")) << c.statements << ended;
  }
}

TEST_F(Scripts, ARunThatIsToEndEndsTheStatementOfItsScript) {
  Put("P", Head("P") +
               StepOf("s", "task = \"Script\"\n" +
                               ScriptKey("script",
                                         "Set con = CreateObject(\"ADODB.Connection\")\n"
                                         "con.Open \"dw\"\nSet rs = con.Execute(\"WITH RECURSIVE "
                                         "n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n) SELECT "
                                         "COUNT(*) FROM n\")")));
  package_ = Load("P");
  Impatient events(*package_);
  EXPECT_THROW(package_->Execute(events), PlatformError);
  EXPECT_THAT(events.errors, HasSubstr("the execution was cancelled"));
}

TEST_F(Scripts, BoxesAreAnsweredByThemselvesAndLogged) {
  const struct {
    const char* box;
    const char* answer;
    const char* line;
  } cases[] = {
      {"MsgBox(\"done\")", "1", "MsgBox: done (answered by itself: OK)"},
      {"MsgBox(\"go on?\", vbYesNo + vbQuestion, \"title\")", "6",
       "go on? (answered by itself: Yes)"},
      {"MsgBox(\"delete?\", vbYesNoCancel + vbDefaultButton2)", "7",
       "delete? (answered by itself: No)"},
      {"MsgBox(\"\", vbAbortRetryIgnore + 512)", "5", "(answered by itself: Ignore)"},
      {"MsgBox(\"\", 7 + 768)", "1", "(answered by itself: OK)"},
      {"InputBox(\"name?\", , \"EMEA\")", "EMEA", "InputBox: name? (answered by itself: EMEA)"},
      {"InputBox(\"name?\")", "", "InputBox: name? (answered by itself: )"},
  };
  for (const auto& c : cases) {
    disk_.Write("P.log", "");
    Ran(StepOf("s",
               "task = \"Script\"\n" + ScriptKey("script", "DTSGlobalVariables(\"Text\").Value = " +
                                                               std::string(c.box))));
    EXPECT_EQ(c.answer, std::get<std::string>(package_->GlobalVariables().Value("Text"))) << c.box;
    EXPECT_THAT(disk_.Read("P.log"), HasSubstr(c.line)) << c.box;
  }
}

TEST_F(Scripts, WhatAScriptWillLackIsSaidBeforehand) {
  const struct {
    const char* statements;
    const char* lack;  ///< Empty: nothing.
  } cases[] = {
      {"Set o = CreateObject(\"Word.Application\")",
       "line 2 of its script makes Word.Application, which is not there"},
      {"Set o = CreateObject(\"ADODB.Connection\") : MsgBox 1", ""},
      {"Set o = CreateObject(\"scripting.dictionary\")\nSet p = CreateObject(name) ' MsgBox 1", ""},
  };
  for (const auto& c : cases) {
    const std::string keys =
        "script = '''\nFunction Main()\n" + std::string(c.statements) + "\nEnd Function\n'''";
    const PackageModel package =
        ReadPackageDocument("name = \"P\"\n" + StepOf("s", "task = \"Script\"\n" + keys), "d");
    const std::string lack = package.steps[0].task->WhyNot();
    if (*c.lack == '\0')
      EXPECT_EQ("", lack) << keys;
    else
      EXPECT_THAT(lack, HasSubstr(c.lack)) << keys;
  }
  // Scripts of other phases than rows are kept, and do not run.
  disk_.Write("in.csv", "a\n1\n");
  warehouse_->Execute("CREATE TABLE t (id INTEGER)");
  EXPECT_THAT(Ran(StepOf("pump",
                         "task = \"DataPump\"\nsource = \"file\"\ndestination = \"dw\"\n"
                         "table = \"t\"\ncolumns = { a = \"id\" }\n"
                         "[[steps.transformations]]\ntype = \"script\"\nphase = \"pump\"\n" +
                             ScriptKey("script", "Main = 1"))),
              HasSubstr("works in the phase \"pump\""));
  EXPECT_EQ("", RowsOf(*warehouse_, "SELECT * FROM t"));
}

}  // namespace
}  // namespace torvik::engine
