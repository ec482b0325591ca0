#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "engine/PackageDocument.h"
#include "import/PackageImport.h"
#include "platform/PlatformError.h"

namespace torvik::importing {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

const std::filesystem::path kSamples = TORVIK_TEST_DATA "/import";

std::string ReadFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  EXPECT_TRUE(file.good()) << path;
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

std::string NotesOf(const Translation& package) {
  std::string notes;
  for (const Note& note : package.notes)
    notes += std::to_string(note.line) + ": " + note.text + "\n";
  return notes;
}

/// Every document that comes out can be loaded.
Translation Import(const std::string& text, const KnownValues& known = {}) {
  const Translation package = ImportPackage("sample", text, known);
  EXPECT_NO_THROW(engine::ReadPackageDocument(package.document, "sample")) << package.document;
  return package;
}

TEST(Import, FilesOfManyStylesGiveTheirDocuments) {
  const struct {
    const char* file;
    KnownValues known;
    const char* expected;
  } cases[] = {
      {"wizard.bas", {}, "wizard"},
      {"designer.bas", {}, "designer"},
      {"literals.bas", {}, "literals"},
      {"files.bas", {}, "files"},
      {"dotnet.vb", {}, "dotnet"},
      {"script.vbs", {}, "script"},
      {"form.frm", {}, "form"},
      {"form.frm", {{"TXTSERVER", "DB1"}, {"chkTruncate_Value", "1"}}, "form-known"},
      {"loader.cls", {}, "loader"},
      {"dynamic.bas", {}, "dynamic"},
      {"query.bas", {}, "query"},
      {"loader.cls",
       {{"daily", "False"}, {"mMode", "2"}, {"Parts", "9"}, {"Server", "DB9"}, {"none", "3"}},
       "loader-known"},
  };
  for (const auto& c : cases) {
    const Translation package = Import(ReadFile(kSamples / c.file), c.known);
    const std::string expected = c.expected;
    EXPECT_EQ(ReadFile(kSamples / (expected + ".toml")), package.document) << expected;
    EXPECT_EQ(ReadFile(kSamples / (expected + ".notes")), NotesOf(package)) << expected;
    // The samples' passwords are dragons.
    EXPECT_THAT(package.document + NotesOf(package), Not(HasSubstr("dragon"))) << c.file;
  }
}

/// A package of one step with the SQL that these lines leave in `s`.
std::string WithSql(const std::string& lines) {
  return "Dim p As New DTS.Package2\np.Name = \"P\"\nSet c = p.Connections.New(\"SQLOLEDB\")\n"
         "c.ID = 1 : c.Name = \"db\" : c.DataSource = \"srv\"\np.Connections.Add c\n" +
         lines +
         "\nSet t = p.Tasks.New(\"DTSExecuteSQLTask\")\nSet k = t.CustomTask\nk.Name = \"t\"\n"
         "k.ConnectionID = 1\nk.SQLStatement = s\np.Tasks.Add t\nSet st = p.Steps.New\n"
         "st.Name = \"one\"\nst.TaskName = \"t\"\np.Steps.Add st\n";
}

TEST(Import, ExpressionsHaveTheirValues) {
  const struct {
    const char* lines;
    const char* sql;
  } cases[] = {
      {R"(s = "a ""b"" 'c'")", R"("a \"b\" 'c'")"},
      {R"(s = "a" & 1 & 2.5 & True & Null)", R"("a12.5True")"},
      {R"(s = "x" + "y" + CStr(3) & (1 + 2))", R"("xy33")"},
      {R"(s = "7" * 2 & "/" & 7 \ 2 & "/" & 7 Mod 4 & "/" & 2 ^ 3 & "/" & -3)", R"("14/3/3/8/-3")"},
      {R"(s = Left("abc", 2) & Right("abc", 1) & Mid("abc", 2) & Len("abc") & Space(2) & "|")",
       R"("abcbc3  |")"},
      {R"(s = Trim("  a ") & LTrim(" b ") & RTrim(" c ") & UCase("d") & LCase("E") & String(2, "f"))",
       R"("ab  cDeff")"},
      {R"(s = Chr(13) & Chr(10) & "x" & vbTab & ChrW(8364))", "'''\n\nx\t€'''"},
      {R"(s = IIf(1 < 2, "yes", "no") & IIf("a" = "b", 1, 0))", R"("yes0")"},
      {"s = CLng(\"5\") Or 2\ns = s And 6 ' bits", R"("6")"},
      {"s = \"a\"\ns &= \"b\"\ns += \"c\"", R"("abc")"},
      {"Const k = \"x\"\ns = k & k", R"("xx")"},
      {"s = \"a\" & _\n  \"b\" & _\n  \"c\"", R"("abc")"},
      {"s = \"a\" &\n  \"b\"", R"("ab")"},
      {"s = f(2, \"z\")\nFunction f(n, t)\n  f = t & n\nEnd Function", R"("z2")"},
      {"s = f(1) & f(1, 2) & f(1, , \"z\")\nFunction f(a, Optional b As Integer = 7, Optional c As "
       "String)\n f = a & b & c\nEnd Function",
       R"("171217z")"},
      {"a(1) = \"one\" : a(2) = \"two\"\ns = a(2) & a(1)", R"("twoone")"},
      {"s = \"\"\nn = Array(\"a\", \"b\", 3)\nFor Each one In n\n s = s & one\nNext", R"("ab3")"},
      {"s = \"\"\nn = Array(\"a\", \"b\")\nFor i = LBound(n) To UBound(n)\n s = s & n(i) & i\nNext",
       R"("a0b1")"},
      {"Option Base 1\nn = Array(\"a\", \"b\")\ns = n(1) & UBound(n) & UBound(Split(\"x;y\", "
       "\";\"))",
       R"("a21")"},
      {"n = Array(\"a\", \"b\")\nn(1) = \"c\" & n(1)\ns = Join(n, \"/\") & Join(n)",
       R"("a/cba cb")"},
      {"s = \"\"\nn = Array(Array(\"a\", \"b\"), Array(\"c\", \"d\"))\nFor Each r In n\n s = s & "
       "r(1)\nNext\n"
       "s = s & n(1)(0)",
       R"("bdc")"},
      {"s = f(Split(\"a,,b\", \",\"))\nFunction f(n)\n f = n(0) & UBound(n) & n(2)\nEnd Function",
       R"("a2b")"},
      {"n = Array(\"a\") : n = \"text\"\ns = n", R"("text")"},
      {"s = Join(Split(server, \",\"), \"+\")", R"("${Join_Split_server}")"},
      {"If 1 > 2 Then s = \"a\" Else s = \"b\"", R"("b")"},
      {"If 1 > 2 Then\n s = \"a\"\nElseIf 2 > 1 Then\n s = \"c\"\nElse\n s = \"b\"\nEnd If",
       R"("c")"},
      {"s = \"\"\nFor i = 3 To 1 Step -1\n s = s & i\nNext", R"("321")"},
      {"s = \"\"\nDo\n s = s & \"x\"\nLoop Until Len(s) = 4", R"("xxxx")"},
      {"Select Case 5\nCase 1, 2\n s = \"low\"\nCase 5\n s = \"five\"\nEnd Select", R"("five")"},
      {"s = \"c:\\\" & System.IO.Path.Combine(\"a\", \"b\")", R"('c:\a\b')"},
      {"s = \"${x} $y\"", R"("$${x} $y")"},
      {"s = who & \"!\"", R"("${who}!")"},
      {"s = App.Path & \"\\\" & Format(Now, \"yyyy\")", R"('${App_Path}\${Format_Now_yyyy}')"},
      {"10 s = \"numbered\"", R"("numbered")"},
      {"s = \"\xE4\xF6\x80\"", "\"äö€\""},
  };
  for (const auto& c : cases)
    EXPECT_THAT(Import(WithSql(c.lines)).document,
                HasSubstr("\nsql = " + std::string(c.sql) + "\n"))
        << c.lines;
}

TEST(Import, WhatIsNotTakenOverIsTold) {
  const struct {
    const char* lines;
    const char* note;
  } cases[] = {
      {"s = server", "11: server is not known (line 11)"},
      {"If server = \"x\" Then\n s = 1\nEnd If",
       "6: whether this part of the package is made "
       "depends on what is not known (server)"},
      {"If server = \"x\" Then Other\nSub Other()\n Set q = p.Steps.New\nEnd Sub",
       "6: whether this part of the package is made depends"},
      {"While More()\n s = s & 1\nWend", "6: whether this part"},
      {"n = Array(1, 2)\ns = 1 & n(2)", "7: the array has no element 2"},
      {"For Each n In Array(1, 2)\n Set q = p.Steps.New\nNext", "6: parts of the package are made"},
      {"For Each n In Split(server)\n Set q = p.Steps.New\nNext", "6: whether this part"},
      {"s = \"x\" : p.Connections(\"gone\").DataSource = 1",
       "6: the package has no \"gone\" among "
       "its connections"},
      {"s = \"x\" )", "6: not understood, and left out: s = \"x\" )"},
      {"s = \"open", "6: not understood"},
      {"Other p", "6: what Other does with the package is not known"},
      {"p.Steps.New", "6: one of the steps is made and not added to the package"},
      {"p.Steps.Remove 1", "6: a removal is left out"},
      {"Set x = p.Tasks.New(\"DTSOther\") : p.Tasks.Add x", "6: the task (DTSOther) belongs to no"},
      {"Sub Other()\n Set q = p.Steps.New\nEnd Sub", "6: Other makes parts of a package as well"},
      {"c.Password = \"tiger\"", "6: the password of the connection \"db\" is not written down"},
      {"Do\n s = 1\nLoop", "6: the loop runs on and on"},
      {"Call f()\nSub f()\n Call f()\nEnd Sub", "f is called too often"},
      {"Call f(c)\nSub f(c)\nc.DataSource = sPackageServer\nEnd Sub",
       "8: sPackageServer is not known (line 8)"},
      {"Sub f(sPackageName, q As DTS.Step)\nSet q = p.Steps.New\nEnd Sub", "imports it"},
      {"sPwd = \"tiger\" : s = \"EXEC go '\" & sPwd & \"'\"",
       "6: the password in sPwd is not written down: where it is used, it is the global variable "
       "sPwdPassword"},
      {"p.TransactionIsolationLevel = 256", "6: the package has TransactionIsolationLevel = 256"},
      {"p.Execute\nSet q = CreateObject(\"DTS.Package\")", "7: another package is made behind"},
      {"Set q = CreateObject(\"DTS.Package\")\nq.Steps.Add q.Steps.New",
       "6: another package is built from this line on"},
      {"Set f = p.Connections.New(\"DTSFlatFile\") : f.ConnectionProperties(\"File Format\") = 2\n"
       "f.ConnectionProperties(\"First Row Column Name\") = True : p.Connections.Add f",
       "7: the file of the connection \"connection\" has columns of fixed widths, and names"},
      {"c.ConnectionTimeout = \"soon\"", "6: Connect Timeout is soon, which is not known to be a"},
  };
  for (const auto& c : cases) {
    const std::string notes = NotesOf(Import(WithSql(c.lines)));
    EXPECT_THAT(notes, AllOf(HasSubstr(c.note), Not(HasSubstr("tiger")))) << c.lines;
  }
}

TEST(Import, TasksKeepTheNamesThatScriptsCallThemBy) {
  for (const char* script : {"x = DTSGlobalVariables.Parent.Tasks(1).Name", "x = 1"}) {
    const std::string document =
        Import(WithSql("s = 1\nSet q = p.Steps.New : q.Name = \"two\" : q.TaskName = \"t\"\n"
                       "q.ActiveXScript = \"Function Main()\" & vbCrLf & \"" +
                       std::string(script) + "\" & vbCrLf & \"End Function\" : p.Steps.Add q"))
            .document;
    const bool isThere = document.find("name = \"two\"\ntask_name = \"t\"\n") != document.npos;
    EXPECT_EQ(std::string_view(script).ends_with("Name"), isThere) << document;
  }
}

TEST(Import, HowRowsAreLoadedBecomesKeys) {
  const struct {
    const char* task;
    const char* lines;
    const char* keys;
  } cases[] = {
      {"DataPump", "", ""},
      {"DataPump", "k.UseFastLoad = True : k.FastLoadOptions = 2", ""},
      {"DataPump", "k.FastLoadOptions = 0", "check_constraints = false\n"},
      {"DataPump", "k.FastLoadOptions = DTSFastLoad_KeepNulls Or DTSFastLoad_CheckConstraints",
       "keep_nulls = true\n"},
      {"DataPump", "k.FastLoadOptions = 4 : k.AllowIdentityInserts = True",
       "check_constraints = false\ntable_lock = true\nidentity_insert = true\n"},
      {"DataPump", "k.UseFastLoad = False : k.FastLoadOptions = 4", "keep_nulls = true\n"},
      {"DataPump", "k.DestinationConnectionID = 2 : k.FastLoadOptions = 5", ""},
      {"BulkInsert", "k.CheckConstraints = True : k.KeepNulls = False", ""},
      {"BulkInsert",
       "k.KeepIdentity = True : k.KeepNulls = True : k.CheckConstraints = False : "
       "k.TableLock = True",
       "identity_insert = true\nkeep_nulls = true\ncheck_constraints = false\n"
       "table_lock = true\n"},
  };
  for (const auto& c : cases) {
    const std::string document =
        Import(
            "Dim p As New DTS.Package2\np.Name = \"P\"\nSet c = p.Connections.New(\"SQLOLEDB\")\n"
            "c.ID = 1 : c.Name = \"db\" : c.DataSource = \"srv\"\np.Connections.Add c\n"
            "Set c = p.Connections.New(\"DTSFlatFile\")\nc.ID = 2 : c.Name = \"file\"\n"
            "c.DataSource = \"f.txt\"\np.Connections.Add c\n"
            "Set t = p.Tasks.New(\"DTS" +
            std::string(c.task) +
            "Task\")\nSet k = t.CustomTask\nk.Name = \"t\" : k.ConnectionID = 1\n"
            "k.SourceSQLStatement = \"SELECT 1 AS a\" : k.SourceConnectionID = 1 : "
            "k.DestinationConnectionID = 1\n"
            "k.DestinationTableName = \"d\" : k.DataFile = \"f.txt\" : k.DestinationObjectName = "
            "\"d\"\n" +
            c.lines +
            "\np.Tasks.Add t\nSet st = p.Steps.New\nst.Name = \"one\"\nst.TaskName = \"t\"\n"
            "p.Steps.Add st\n")
            .document;
    std::string keys;
    std::istringstream lines(document);
    for (std::string line; std::getline(lines, line);)
      for (const char* key : {"identity_", "keep_nulls", "check_", "table_", "UseFast", "FastLoad"})
        if (line.starts_with(key)) keys += line + "\n";
    EXPECT_EQ(c.keys, keys) << c.lines << "\n" << document;
  }
}

TEST(Import, APumpsScriptsHaveTheirColumnsAndPhases) {
  const auto pump = [](const std::string& lines) {
    return WithSql(
        "s = 1\nSet u = p.Tasks.New(\"DTSDataPumpTask\") : Set d = u.CustomTask\n"
        "d.Name = \"pump\" : d.SourceConnectionID = 1 : d.DestinationConnectionID = 1\n"
        "d.SourceSQLStatement = \"SELECT 1\" : d.DestinationObjectName = \"t\"\n"
        "p.Tasks.Add u : Set v = p.Steps.New : v.Name = \"two\" : v.TaskName = \"pump\"\n"
        "p.Steps.Add v\nSet x = d.Transformations.New(\"DTS.DataPumpTransformScript\")\n"
        "d.Transformations.Add x : Set y = x.TransformServerProperties\n" +
        lines);
  };
  const struct {
    const char* lines;
    std::vector<const char*> document, notes;
  } cases[] = {
      {"y(\"Text\") = \"Function Main()\" & vbCrLf & \"DTSDestination(\"\"a\"\") = 1\" & vbCrLf & "
       "\"DTSDestination.Item(\"\"b\"\") = DTSDestination(\"\"A\"\")\" & vbCrLf & \"End Function\"",
       {"type = \"script\"\ndestinations = [\"a\", \"b\"]\nscript = "},
       {}},
      {"y(\"Text\") = \"Function Main()\" & vbCrLf & \"DTSDestination(1) = 1\" & vbCrLf & "
       "\"End Function\"",
       {"type = \"script\"\nscript = "},
       {"lists no destination columns and names some by numbers"}},
      {"x.TransformPhases = 2 : y(\"Text\") = \"Function After()\" & vbCrLf & \"End Function\"\n"
       "y(\"FunctionEntry\") = \"After\"",
       {"phase = \"post_source\"\nfunction = \"After\""},
       {"works in the phase post_source (After), which pumps here do not have"}},
      {"x.TransformPhases = 36 : y(\"InsertFailureFunctionEntry\") = \"Bad\"\n"
       "y(\"Text\") = \"Function Main()\" & vbCrLf & \"End Function\" & vbCrLf & \"Function "
       "Bad()\" & "
       "vbCrLf & \"End Function\"",
       {"type = \"script\"\nscript = ", "phase = \"insert_failure\"\nfunction = \"Bad\""},
       {"works in the phase insert_failure (Bad)"}},
      {"y(\"Text\") = \"Function Main()\" & vbCrLf & \"c = \"\"DSN=x;PWD=tiger\"\"\" & vbCrLf & "
       "\"End Function\"",
       {},
       {"the script of \"script\" holds a password (line 2 of it)"}},
      {"y(\"Text\") = \"Function Main()\" & vbCrLf & \"d = CDate(t)\" & vbCrLf & \"End Function\"",
       {},
       {"the script of \"script\" takes dates as its machine's settings had them (line 2 of it)"}},
      {"x.SourceColumns.AddColumn \"a\", 1 : x.DestinationColumns.AddColumn \"b\", 1\n"
       "Set z = d.Transformations.New(\"DTS.DataPumpTransformCopy\") : d.Transformations.Add z\n"
       "z.SourceColumns.AddColumn \"day\", 1 : z.DestinationColumns.AddColumn \"sold\", 1\n"
       "z.SourceColumns(1).DataType = 129 : z.DestinationColumns(1).DataType = 135\n"
       "z.DestinationColumns(1).Size = 16 : y(\"Text\") = \"Function Main()\" & vbCrLf & \"End "
       "Function\"",
       {"\"destination column sold\" = \"DataType 135, Size 16\""},
       {"texts go into dates as they are (sold)"}},
  };
  for (const auto& c : cases) {
    const Translation package = Import(pump(c.lines));
    for (const char* part : c.document) EXPECT_THAT(package.document, HasSubstr(part)) << c.lines;
    for (const char* note : c.notes) EXPECT_THAT(NotesOf(package), HasSubstr(note)) << c.lines;
    EXPECT_EQ(c.notes.empty(), NotesOf(package).empty()) << c.lines << NotesOf(package);
  }
}

TEST(Import, AFileOfSeveralPackagesGivesTheOneThatIsWanted) {
  const std::string text =
      "Sub Big()\n" + WithSql("s = 1") + "End Sub\nSub Small()\n" + WithSql("s = 2") + "End Sub\n";
  EXPECT_THAT(PackageProcedures("f", text), testing::ElementsAre("Big", "Small"));
  EXPECT_THAT(PackageProcedures("f", "Sub Main()\nBig\nSmall\nEnd Sub\n" + text),
              testing::ElementsAre("Big", "Small"));
  EXPECT_THAT(PackageProcedures("f", "Sub Main()\nSmall\nEnd Sub\nSub Small()\n" +
                                         WithSql("s = 2") + "End Sub\n"),
              testing::ElementsAre("Main"));
  EXPECT_THAT(ImportPackage("f", text, {}).document, HasSubstr("sql = \"1\""));
  const Translation small = ImportPackage("f", text, {}, {"small", "Other name"});
  EXPECT_EQ("Other name", small.name);
  EXPECT_THAT(small.document, AllOf(HasSubstr("name = \"Other name\""), HasSubstr("sql = \"2\"")));
  EXPECT_THROW(ImportPackage("f", text, {}, {"None", ""}), PlatformError);
}

TEST(Import, ManyStepsKeepTheirOrder) {
  std::string text =
      "Set p = CreateObject(\"DTS.Package\")\np.Name = \"Many\"\n"
      "Set c = p.Connections.New(\"SQLOLEDB\")\nc.ID = 1\nc.Name = \"db\"\n"
      "c.DataSource = \"srv\"\np.Connections.Add c\n";
  const auto n = [](int i) { return std::to_string(i); };
  for (int i = 1; i <= 28; ++i)
    text += "Set s = p.Steps.New\ns.Name = \"s" + n(i) + "\"\ns.TaskName = \"t" + n(i) +
            "\"\np.Steps.Add s\nTask" + n(i) + "\n";
  // Each waits for the next one.
  for (int i = 1; i < 28; ++i)
    text += "Set o = p.Steps(\"s" + n(i) + "\").PrecedenceConstraints.New(\"s" + n(i + 1) +
            "\")\np.Steps(\"s" + n(i) + "\").PrecedenceConstraints.Add o\n";
  for (int i = 1; i <= 28; ++i)
    text += "Sub Task" + n(i) +
            "()\nSet t = p.Tasks.New(\"DTSExecuteSQLTask\")\nt.CustomTask.Name "
            "= \"t" +
            n(i) +
            "\"\nt.CustomTask.ConnectionID = 1\nt.CustomTask.SQLStatement = "
            "\"EXEC p" +
            n(i) + "\"\np.Tasks.Add t\nEnd Sub\n";
  const Translation package = Import(text);
  EXPECT_EQ(28, package.steps);
  EXPECT_EQ("", NotesOf(package));
  // A person reads from the first to run to the last.
  std::size_t at = 0;
  for (int i = 28; i >= 1; --i) {
    const std::size_t found = package.document.find("sql = \"EXEC p" + n(i) + "\"", at);
    ASSERT_NE(package.document.npos, found) << i;
    at = found;
  }
}

TEST(Import, OtherFilesAreRefused) {
  const struct {
    std::string bytes;
    const char* words;
  } cases[] = {
      {"", "no package is built in this text"},
      {"<html><body>Not found</body></html>", "no package is built in this text"},
      {"Sub Main()\n MsgBox \"hello\"\nEnd Sub\n", "no package is built in this text"},
      {"\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1" + std::string(512, '\0'), "structured storage file"},
      {std::string("Dim x\0\1\2", 8), "this is no text"},
      {"Set p = CreateObject(\"DTS.Package\")\nIf More() Then\n"
       " p.LoadFromSQLServer \"S\", , , , , , , \"P\"\nEnd If\np.Execute\n",
       "it takes one that is stored (line 3)"},
  };
  for (const auto& c : cases) {
    try {
      ImportPackage("in.bas", c.bytes, {});
      ADD_FAILURE() << c.words;
    } catch (const PlatformError& error) {
      EXPECT_THAT(error.Description(), AllOf(HasSubstr("in.bas: "), HasSubstr(c.words)));
    }
  }
}

/// Why the text is refused.
std::string Refusal(const std::string& text) {
  try {
    return "imported:\n" + ImportPackage("run.vbs", text, {}).document;
  } catch (const PlatformError& error) {
    return error.Description();
  }
}

TEST(Import, ATextThatRunsAStoredPackageSaysWhichAndWhatItSets) {
  constexpr const char* kText = R"vb(Set p = CreateObject("DTS.Package2")
p.LoadFromSQLServer ServerName:="PROD", ServerUserName:="sa", ServerPassword:="dragon", PackageName:="Night" & "ly", Flags:=(1 + 2)
p.GlobalVariables("Region").Value = "EMEA's"
p.Connections("Target").DataSource = "SRV2"
p.Connections("Target").Password = "dragon"
With p.Tasks("DTSTask_DTSDataPumpTask_1").CustomTask
  .SourceSQLStatement = "SELECT 1"
End With
p.GlobalVariables("ShopPassword") = "dragon"
For Each c In p.Connections
c.ConnectionTimeout = 30
Next
p.Execute
p.UnInitialize
)vb";
  constexpr const char* kExpected =
      R"vb(run.vbs: this text builds no package: it runs package "Nightly" of server "PROD" (line 2), after it has set
  line 4: connections("Target").DataSource = "SRV2"
  line 5: connections("Target").Password = (a password, not shown)
  line 11: connections("Target").ConnectionTimeout = "30"
  line 11: connections("(each)").ConnectionTimeout = "30"
  line 3: globalvariables("Region").Value = "EMEA's"
  line 9: globalvariables("ShopPassword").Value = (a password, not shown)
  line 7: tasks("DTSTask_DTSDataPumpTask_1").customtask.SourceSQLStatement = "SELECT 1"
Import that package: open it in its designer and save it as a Visual Basic file (Package, Save As). A job file for it then does the same by
  torvik-admin run JOB.etl --var 'Region=EMEA'\''s'
What is set besides variables: write ${Name} of a variable there in the document, and give its value by --var Name=VALUE)vb";
  EXPECT_EQ(kExpected, Refusal(kText));
  EXPECT_THAT(Refusal("Sub RunIt(ByVal oPkg As DTS.Package)\n oPkg.LoadFromStorageFile "
                      "\"C:\\p.dts\", \"dragon\"\n oPkg.Execute\nEnd Sub\n"),
              AllOf(HasSubstr("it runs the package of the file \"C:\\p.dts\" (line 2)\n"),
                    HasSubstr("torvik-admin run JOB.etl"), Not(HasSubstr("dragon"))));
}

TEST(Import, EncodingsAreKnownByTheirBytes) {
  const std::string text = WithSql("s = \"\xC3\xA4\xE2\x82\xAC\"");
  std::string wide = "\xFF\xFE";
  for (const char c : WithSql("s = \"x\"")) wide += {c, '\0'};
  EXPECT_THAT(Import(text).document, HasSubstr("sql = \"\xC3\xA4\xE2\x82\xAC\""));
  EXPECT_THAT(Import("\xEF\xBB\xBF" + text).document, HasSubstr("sql = \"\xC3\xA4\xE2\x82\xAC\""));
  EXPECT_THAT(Import(wide).document, HasSubstr("sql = \"x\""));
  // The mark alone makes no UTF-8.
  EXPECT_THAT(Import("\xEF\xBB\xBF" + WithSql("s = \"\xE4\"")).document,
              HasSubstr("sql = \"\xC3\xA4\""));
  // A character of two units, and half of one.
  const std::string plain = WithSql("s = \"@~\"");
  std::string pairs = "\xFF\xFE";
  for (const char c : plain)
    pairs += c == '@'   ? std::string("\x3D\xD8\x00\xDE", 4)
             : c == '~' ? std::string("\x3D\xD8", 2)
                        : std::string{c, '\0'};
  EXPECT_THAT(Import(pairs).document, HasSubstr("sql = \"\xF0\x9F\x98\x80\xEF\xBF\xBD\""));
}

}  // namespace
}  // namespace torvik::importing
