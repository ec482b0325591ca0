' A package built by a VBScript
Option Explicit
Const DTSSQLStgFlag_UseTrustedConnection = 256
Const TARGET = "dw"
Dim oPackage, oConn, oTask, oStep, oCustom, sServer, i
sServer = WScript.Arguments(0)
Set oPackage = CreateObject("DTS.Package")
oPackage.Name = "Script Load"
oPackage.FailOnError = CBool(1)

Set oConn = oPackage.Connections.New("SQLOLEDB")
oConn.Name = "target" : oConn.ID = 1
oConn.DataSource = sServer
oConn.Catalog = TARGET & "_" & LCase("STAGE")
oConn.UserID = "sa"
oConn.Password = "dragon-21"
oPackage.Connections.Add oConn

For i = 1 To 3
  Set oTask = oPackage.Tasks.New("DTSExecuteSQLTask")
  Set oCustom = oTask.CustomTask
  oCustom.Name = "task" & i
  oCustom.ConnectionID = 1
  oCustom.SQLStatement = "EXEC load_part " & CStr(i) & ", '" & Chr(64 + i) & "'"
  oPackage.Tasks.Add oTask
  Set oStep = oPackage.Steps.New
  oStep.Name = "step" & i
  oStep.TaskName = oCustom.Name
  If i > 1 Then
    Dim oPrec
    Set oPrec = oStep.PrecedenceConstraints.New("step" & (i - 1))
    oPrec.PrecedenceBasis = 0
    oPrec.Value = 4
    oStep.PrecedenceConstraints.Add oPrec
  End If
  oPackage.Steps.Add oStep
Next

If WScript.Arguments.Count > 1 Then
  Set oTask = oPackage.Tasks.New("DTSExecuteSQLTask")
  oTask.CustomTask.Name = "extra"
  oTask.CustomTask.ConnectionID = 1
  oTask.CustomTask.SQLStatement = "EXEC extra"
  oPackage.Tasks.Add oTask
End If

oPackage.Execute
WScript.Echo "done"
