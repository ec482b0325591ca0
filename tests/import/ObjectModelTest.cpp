// The table of docs/importing.md: what it says of each property is what an import does.
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <sstream>

#include "engine/PackageDocument.h"
#include "import/PackageImport.h"

namespace torvik::importing {
namespace {

/// A package with each kind of part; "'@X" is where a property of the object X is set.
constexpr const char* kPackage = R"vb(Dim t, x, n : n = 0
Set p = CreateObject("DTS.Package2")
p.Name = "All" : p.TransactionIsolationLevel = 4096
'@Package2
Set g = p.GlobalVariables.New("Region")
g.Value = "none"
'@GlobalVariable
p.GlobalVariables.Add g
Set c = p.Connections.New("SQLOLEDB")
c.Name = "dw" : c.ID = 1 : c.DataSource = "SRV"
'@Connection2
p.Connections.Add c
Set f = p.Connections.New("DTSFlatFile")
f.Name = "file" : f.ID = 2 : f.ConnectionProperties("Data Source") = "C:\in.txt"
'@DTSFlatFile
p.Connections.Add f
Set s = p.Steps.New
s.Name = "zero" : s.TaskName = "ExecuteSQLTask2"
p.Steps.Add s
Set s = p.Steps.New
s.Name = "one" : s.TaskName = "ExecuteSQLTask2"
'@Step2
Set pc = s.PrecedenceConstraints.New("zero")
'@PrecedenceConstraint
s.PrecedenceConstraints.Add pc
p.Steps.Add s
Make "ExecuteSQLTask2", "DTSExecuteSQLTask"
t.CustomTask.ConnectionID = 1 : t.CustomTask.SQLStatement = "SELECT 1"
'@ExecuteSQLTask2
Make "DataPumpTask2", "DTSDataPumpTask"
Set d = t.CustomTask
d.SourceConnectionID = 2 : d.DestinationConnectionID = 1 : d.DestinationObjectName = "t"
'@DataPumpTask2
Set l = d.Lookups.New("look")
l.Name = "look" : l.ConnectionID = 1 : l.Query = "SELECT 1"
'@Lookup
d.Lookups.Add l
Set x = d.Transformations.New("DTS.DataPumpTransformCopy")
Set o = x.SourceColumns.New("a", 1)
'@Column
x.SourceColumns.Add o
x.DestinationColumns.AddColumn "a", 1
'@DataPumpTransformCopy
d.Transformations.Add x
Column "DTS.DataPumpTransformScript"
x.TransformServerProperties("Text") = "Function Main()" & vbCrLf & "Main = 1" & vbCrLf & "End Function" & vbCrLf & "Function Other()" & vbCrLf & "End Function"
x.TransformServerProperties("FunctionEntry") = "Main"
'@DTSTransformScriptProperties2
'@DataPumpTransformScript
Column "DTSPump.DataPumpTransformWriteFile"
x.SourceColumns.AddColumn "b", 2
x.TransformServerProperties("FilePath") = "C:\"
'@DataPumpTransformWriteFile
Column "DTSPump.DataPumpTransformReadFile"
x.TransformServerProperties("FilePath") = "C:\"
'@DataPumpTransformReadFile
Column "DTSPump.DataPumpTransformDateTimeString"
x.TransformServerProperties("InputFormat") = "yyyy" : x.TransformServerProperties("OutputFormat") = "yyyy"
'@DataPumpTransformDateTimeString
Column "DTSPump.DataPumpTransformMidString"
'@DataPumpTransformMidString
Column "DTSPump.DataPumpTransformTrimString"
'@DataPumpTransformTrimString
Column "DTSPump.DataPumpTransformUpperString"
'@DataPumpTransformUpperString
Column "DTSPump.DataPumpTransformLowerString"
'@DataPumpTransformLowerString
Make "DataDrivenQueryTask", "DTSDataDrivenQueryTask"
Set q = t.CustomTask
q.SourceConnectionID = 1 : q.SourceSQLStatement = "SELECT a FROM s"
q.DestinationConnectionID = 1 : q.DestinationObjectName = "t"
q.InsertQuery = "INSERT INTO t VALUES (?)"
q.InsertQueryColumns.AddColumn "a", 1
'@DataDrivenQueryTask
Make "ActiveScriptTask", "DTSActiveScriptTask"
t.CustomTask.ActiveXScript = "Function Main()" & vbCrLf & "Main = 0" & vbCrLf & "End Function" & vbCrLf & "Function Other()" & vbCrLf & "End Function"
'@ActiveScriptTask
Make "CreateProcessTask2", "DTSCreateProcessTask"
t.CustomTask.ProcessCommandLine = "a.exe"
'@CreateProcessTask2
Make "SendMailTask", "DTSSendMailTask"
t.CustomTask.ToLine = "a@example.org" : t.CustomTask.Subject = "S" : t.CustomTask.MessageText = "T"
'@SendMailTask
Make "FTPTask", "DTSFTPTask"
t.CustomTask.SourceSite = "ftp.example.org" : t.CustomTask.SourceFilename = "'a.csv';'in';'12';" : t.CustomTask.DestSite = "C:\in"
'@FTPTask
Make "BulkInsertTask", "DTSBulkInsertTask"
t.CustomTask.ConnectionID = 1 : t.CustomTask.DataFile = "C:\a.txt" : t.CustomTask.DestinationTableName = "t"
'@BulkInsertTask
Make "ExecutePackageTask", "DTSExecutePackageTask"
t.CustomTask.PackageName = "P"
'@ExecutePackageTask
Make "DynamicPropertiesTask", "DTSDynamicPropertiesTask"
Set a = t.CustomTask.Assignments.New
a.SourceType = 4 : a.SourceConstantValue = "v" : a.DestinationPropertyID = "Global Variables;Region;Properties;Value"
'@DynamicPropertiesTaskAssignment
t.CustomTask.Assignments.Add a
p.Execute
Sub Make(name, kind)
  If name <> "ExecuteSQLTask2" Then
    Set st = p.Steps.New
    st.Name = name : st.TaskName = name
    p.Steps.Add st
  End If
  Set t = p.Tasks.New(kind)
  t.CustomTask.Name = name
  p.Tasks.Add t
End Sub
Sub Column(kind)
  n = n + 1
  Set x = d.Transformations.New(kind)
  x.SourceColumns.AddColumn "c" & n, 1
  x.DestinationColumns.AddColumn "c" & n, 1
  d.Transformations.Add x
End Sub
)vb";

/// How the code says that a property of the object is set.
std::string Assignment(const std::string& object, const std::string& property,
                       const std::string& value) {
  static const std::map<std::string, std::string> kVariables = {
      {"Package2", "p"},
      {"GlobalVariable", "g"},
      {"Connection2", "c"},
      {"Step2", "s"},
      {"PrecedenceConstraint", "pc"},
      {"Lookup", "l"},
      {"Column", "o"},
      {"DataPumpTransformCopy", "x"},
      {"DataPumpTransformScript", "x"},
      {"DynamicPropertiesTaskAssignment", "a"}};
  const auto variable = kVariables.find(object);
  if (object == "DTSFlatFile") return "f.ConnectionProperties(\"" + property + "\") = " + value;
  if (variable != kVariables.end()) return variable->second + "." + property + " = " + value;
  if (object.find("Task") != object.npos) return "t.CustomTask." + property + " = " + value;
  return "x.TransformServerProperties(\"" + property + "\") = " + value;
}

struct Imported {
  std::string runs, kept, told;
};

/// The document without what is kept as original, that, and the remarks.
Imported Sorted(const std::string& text) {
  const Translation package = ImportPackage("all.vbs", text, {});
  Imported imported;
  bool isOriginal = false;
  std::istringstream lines(package.document);
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with('[')) isOriginal = line.find("original]") != line.npos;
    if (!line.empty()) (isOriginal ? imported.kept : imported.runs) += line + "\n";
  }
  for (const Note& note : package.notes) imported.told += note.text + "\n";
  return imported;
}

TEST(ObjectModel, EachPropertyIsTreatedAsTheTableSays) {
  std::ifstream file(TORVIK_SOURCE_DIR "/docs/importing.md");
  ASSERT_TRUE(file.good());
  const Imported before = Sorted(kPackage);
  int rows = 0;
  for (std::string line; std::getline(file, line);) {
    std::vector<std::string> cells;
    std::istringstream row(line);
    for (std::string cell; std::getline(row, cell, '|');) {
      cell.erase(0, cell.find_first_not_of(" `"));
      cell.erase(cell.find_last_not_of(" `") + 1);
      cells.push_back(cell);
    }
    const bool isRow = cells.size() == 5 &&
                       std::string(kPackage).find("'@" + cells[1] + "\n") != std::string::npos;
    if (!isRow) continue;
    ++rows;
    std::string text = kPackage;
    const std::string place = "'@" + cells[1] + "\n";
    text.replace(text.find(place), place.size(), Assignment(cells[1], cells[2], cells[3]) + "\n");
    const Imported after = Sorted(text);
    const std::string here = after.told != before.told   ? "told"
                             : after.runs != before.runs ? "runs"
                             : after.kept != before.kept ? "kept"
                                                         : "same";
    const bool isSecret = cells[4] == "secret";
    EXPECT_TRUE(isSecret || here == cells[4]) << line << "\n  is " << here << "\n" << after.told;
    EXPECT_EQ((after.runs + after.kept + after.told).find("dragon"), std::string::npos) << line;
  }
  EXPECT_GT(rows, 150);
}

}  // namespace
}  // namespace torvik::importing
