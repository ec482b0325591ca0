Dim p As New DTS.Package2
p.Name = "P"
Set c = p.Connections.New("SQLOLEDB")
c.ID = 1 : c.Name = "dw" : c.DataSource = "srv" : c.Catalog = "dw"
p.Connections.Add c
Set t = p.Tasks.New("DTSDataDrivenQueryTask")
Set k = t.CustomTask
k.Name = "t" : k.SourceConnectionID = 1 : k.SourceSQLStatement = "SELECT id, name, op FROM changes ORDER BY seq"
k.DestinationConnectionID = 1 : k.DestinationObjectName = "customers"
k.MaximumErrorCount = 3 : k.ExceptionFileName = "C:\log\e.txt"
k.InsertQuery = "INSERT INTO customers VALUES (?, ?)"
k.InsertQueryColumns.AddColumn "id", 1
k.InsertQueryColumns.AddColumn "name", 2
k.UpdateQuery = "UPDATE customers SET name = ? WHERE id = ?"
k.UpdateQueryColumns.AddColumn "name", 1
k.UpdateQueryColumns.AddColumn "id", 2
k.DeleteQuery = "DELETE FROM customers WHERE id = ?"
k.DeleteQueryColumns.AddColumn "id", 1
Set x = k.Transformations.New("DTSPump.DataPumpTransformScript")
x.Name = "choose" : x.TransformFlags = 63
x.SourceColumns.AddColumn "id", 1 : x.SourceColumns.AddColumn "name", 2 : x.SourceColumns.AddColumn "op", 3
x.DestinationColumns.AddColumn "id", 1 : x.DestinationColumns.AddColumn "name", 2
x.TransformServerProperties("Text") = "Function Main()" & vbCrLf & _
 "DTSDestination(""id"") = DTSSource(""id"")" & vbCrLf & _
 "DTSDestination(""name"") = DTSSource(""name"")" & vbCrLf & _
 "Select Case DTSSource(""op"")" & vbCrLf & _
 "Case ""I"" : Main = DTSTransformStat_InsertQuery" & vbCrLf & _
 "Case ""U"" : Main = DTSTransformStat_UpdateQuery" & vbCrLf & _
 "Case ""D"" : Main = DTSTransformStat_DeleteQuery" & vbCrLf & _
 "Case ""X"" : Main = DTSTransformStat_UserQuery" & vbCrLf & _
 "Case Else : Main = DTSTransformStat_SkipRow" & vbCrLf & _
 "End Select" & vbCrLf & "End Function"
x.TransformServerProperties("Language") = "VBScript"
k.Transformations.Add x
p.Tasks.Add t
Set st = p.Steps.New : st.Name = "apply" : st.TaskName = "t" : p.Steps.Add st
p.Execute
