Dim p As New DTS.Package2
p.Name = "P"
Set g = p.GlobalVariables.New("Region") : g.Value = "x" : p.GlobalVariables.Add g
Set c = p.Connections.New("SQLOLEDB")
c.ID = 1 : c.Name = "dw" : c.DataSource = "srv" : c.Catalog = "dw" : c.UserID = "u" : c.Password = "dragon"
p.Connections.Add c
Set c = p.Connections.New("DTSFlatFile")
c.ID = 2 : c.Name = "the file" : c.ConnectionProperties("Data Source") = "C:\in\a.txt"
p.Connections.Add c
Set t = p.Tasks.New("DTSExecuteSQLTask") : Set k = t.CustomTask : k.Name = "t" : k.ConnectionID = 1 : k.SQLStatement = "SELECT 1"
p.Tasks.Add t
Set st = p.Steps.New : st.Name = "one" : st.TaskName = "t" : p.Steps.Add st
Set t = p.Tasks.New("DTSDynamicPropertiesTask") : t.CustomTask.Name = "dyn"
Add 0, "'Connections';'dw';'Properties';'DataSource'"
Add 0, "'Connections';'dw';'Properties';'Password'"
Add 3, "'Connections';'the file';'OLEDBProperties';'Data Source';'Properties';'Value'"
Add 5, "'Tasks';'t';'Properties';'SQLStatement'"
Add 1, "'Global Variables';'Region';'Properties';'Value'"
Add 4, "'Steps';'one';'Properties';'DisableStep'"
p.Tasks.Add t
Set st = p.Steps.New : st.Name = "set" : st.TaskName = "dyn" : p.Steps.Add st
p.Execute
Sub Add(kind, target)
  Set a = t.CustomTask.Assignments.New
  a.SourceType = kind : a.DestinationPropertyID = target
  a.SourceIniFileFileName = "C:\etl.ini" : a.SourceIniFileSection = "Load" : a.SourceIniFileKey = "Server"
  a.SourceEnvironmentVariable = "IN_FILE" : a.SourceDataFileFileName = "C:\q.sql" : a.SourceConstantValue = "-1"
  a.SourceQueryConnectionID = 1 : a.SourceQuerySQL = "SELECT 'EMEA'"
  t.CustomTask.Assignments.Add a
End Sub
