'A package from the designer: scripts, lookups, constraints of all three kinds.
Option Explicit
Public goPackageOld As New DTS.Package
Public goPackage As DTS.Package2
Private Sub Main()
	set goPackage = goPackageOld

	goPackage.Name = "Nightly Orders"
	goPackage.Description = "Loads the shop's orders"
	goPackage.WriteCompletionStatusToNTEventLog = True
	goPackage.FailOnError = True
	goPackage.PackagePriorityClass = 2
	goPackage.MaxConcurrentSteps = 2
	goPackage.UseTransaction = True
	goPackage.TransactionIsolationLevel = 4096
	goPackage.LogServerPassword = "dragon-17"
	goPackage.ExplicitGlobalVariables = True

Dim oGlobal As DTS.GlobalVariable2
Set oGlobal = goPackage.GlobalVariables.New("RowsLoaded")
oGlobal = 0
goPackage.GlobalVariables.Add oGlobal
Set oGlobal = Nothing
goPackage.GlobalVariables.AddGlobalVariable "Region", "EMEA ${draft}"
goPackage.GlobalVariables.AddGlobalVariable "DestinationServer", "OLDSERVER"

Dim oConnection As DTS.Connection2
Set oConnection = goPackage.Connections.New("SQLOLEDB.1")
	oConnection.ConnectionProperties("Persist Security Info") = True
	oConnection.ConnectionProperties("User ID") = "loader"
	oConnection.ConnectionProperties("Password") = "dragon-18"
	oConnection.ConnectionProperties("Initial Catalog") = "shop"
	oConnection.ConnectionProperties("Data Source") = "SHOPSQL"
	oConnection.Name = "Shop SQL"
	oConnection.ID = 3
	oConnection.UserID = "loader"
	oConnection.Password = "dragon-18"
	oConnection.UseTrustedConnection = False
goPackage.Connections.Add oConnection
Set oConnection = Nothing

Set oConnection = goPackage.Connections.New("DTSFlatFile")
	oConnection.ConnectionProperties("Data Source") = "D:\in\orders.txt"
	oConnection.ConnectionProperties("Mode") = 1
	oConnection.ConnectionProperties("Row Delimiter") = vbCrLf
	oConnection.ConnectionProperties("File Format") = 2
	oConnection.ConnectionProperties("Column Lengths") = "8,10,2"
	oConnection.ConnectionProperties("File Type") = 1
	oConnection.ConnectionProperties("Skip Rows") = 2
	oConnection.ConnectionProperties("First Row Column Name") = False
	oConnection.ConnectionProperties("Number of Column") = 3
	oConnection.Name = "orders file"
	oConnection.ID = 5
	oConnection.DataSource = "D:\in\orders.txt"
goPackage.Connections.Add oConnection
Set oConnection = Nothing

Dim oStep As DTS.Step2
Dim oPrecConstraint As DTS.PrecedenceConstraint

Set oStep = goPackage.Steps.New
	oStep.Name = "DTSStep_DTSDataPumpTask_1"
	oStep.Description = "Load orders"
	oStep.ExecutionStatus = 4
	oStep.TaskName = "DTSTask_DTSDataPumpTask_1"
	oStep.JoinTransactionIfPresent = True
	oStep.RollbackFailure = True
	oStep.RelativePriority = 3
	oStep.FailPackageOnError = False
	oStep.ActiveXScript = "Function Main()" & vbCrLf
	oStep.ActiveXScript = oStep.ActiveXScript & "  If DTSGlobalVariables(""Region"").Value = ""EMEA"" Then" & vbCrLf
	oStep.ActiveXScript = oStep.ActiveXScript & "    Main = DTSStepScriptResult_DontExecuteTask" & vbCrLf
	oStep.ActiveXScript = oStep.ActiveXScript & "  Else" & vbCrLf & "    Main = DTSStepScriptResult_ExecuteTask" & vbCrLf
	oStep.ActiveXScript = oStep.ActiveXScript & "  End If" & vbCrLf & "End Function"
	oStep.FunctionName = "Main"
	oStep.ScriptLanguage = "VBScript"
goPackage.Steps.Add oStep
Set oStep = Nothing

Set oStep = goPackage.Steps.New
	oStep.Name = "DTSStep_DTSExecuteSQLTask_1"
	oStep.Description = "Empty orders"
	oStep.ExecutionStatus = 1
	oStep.TaskName = "DTSTask_DTSExecuteSQLTask_1"
	oStep.RelativePriority = 5
goPackage.Steps.Add oStep

Set oStep = goPackage.Steps.New
	oStep.Name = "after failure"
	oStep.TaskName = "DTSTask_DTSSendMailTask_1"
	oStep.DisableStep = True
goPackage.Steps.Add oStep

Set oStep = goPackage.Steps.New
	oStep.Name = "in any case"
	oStep.TaskName = "DTSTask_DTSActiveScriptTask_1"
goPackage.Steps.Add oStep

Set oStep = goPackage.Steps.New
	oStep.Name = "other package"
	oStep.TaskName = "DTSTask_DTSExecutePackageTask_1"
goPackage.Steps.Add oStep

Set oStep = goPackage.Steps.New
	oStep.Name = "cube"
	oStep.TaskName = "DTSTask_DTSOlapProcess.Task_1"
goPackage.Steps.Add oStep

Set oStep = goPackage.Steps.New
	oStep.Name = "program"
	oStep.TaskName = "DTSTask_DTSCreateProcessTask_1"
goPackage.Steps.Add oStep

Set oStep = goPackage.Steps("DTSStep_DTSDataPumpTask_1")
Set oPrecConstraint = oStep.precedenceConstraints.New("DTSStep_DTSExecuteSQLTask_1")
	oPrecConstraint.StepName = "DTSStep_DTSExecuteSQLTask_1"
	oPrecConstraint.PrecedenceBasis = 1
	oPrecConstraint.Value = 0
oStep.precedenceConstraints.Add oPrecConstraint
Set oPrecConstraint = Nothing

Set oStep = goPackage.Steps("after failure")
Set oPrecConstraint = oStep.PrecedenceConstraints.New("DTSStep_DTSDataPumpTask_1")
	oPrecConstraint.StepName = "DTSStep_DTSDataPumpTask_1"
	oPrecConstraint.PrecedenceBasis = 1
	oPrecConstraint.Value = 1
oStep.PrecedenceConstraints.Add oPrecConstraint

Set oStep = goPackage.Steps("in any case")
Set oPrecConstraint = oStep.PrecedenceConstraints.New("DTSStep_DTSDataPumpTask_1")
	oPrecConstraint.StepName = "DTSStep_DTSDataPumpTask_1"
	oPrecConstraint.PrecedenceBasis = 0
	oPrecConstraint.Value = 4
oStep.PrecedenceConstraints.Add oPrecConstraint

Call Task_Sub1(goPackage)
Call Task_Sub2(goPackage)
Call Task_Sub3(goPackage)
Call Task_Sub4(goPackage)
Call Task_Sub5(goPackage)
Call Task_Sub6(goPackage)
Call Task_Sub7(goPackage)

'goPackage.SaveToSQLServer "(local)", "sa", ""
goPackage.Execute
goPackage.Uninitialize
End Sub

Public Sub Task_Sub1(ByVal goPackage As Object)
Dim oTask As DTS.Task
Dim oLookup As DTS.Lookup
Dim oCustomTask1 As DTS.DataPumpTask2
Set oTask = goPackage.Tasks.New("DTSDataPumpTask")
Set oCustomTask1 = oTask.CustomTask
	oCustomTask1.Name = "DTSTask_DTSDataPumpTask_1"
	oCustomTask1.Description = "Load orders"
	oCustomTask1.SourceConnectionID = 5
	oCustomTask1.SourceObjectName = "D:\in\orders.txt"
	oCustomTask1.DestinationConnectionID = 3
	oCustomTask1.DestinationObjectName = "[shop].[dbo].[orders]"
	oCustomTask1.ProgressRowCount = 500
	oCustomTask1.MaximumErrorCount = 25
	oCustomTask1.InsertCommitSize = 1000
	oCustomTask1.ExceptionFileName = "D:\in\orders.err"
	oCustomTask1.FirstRow = "3"

Call oCustomTask1_Trans_Sub1( oCustomTask1	)
Call oCustomTask1_Trans_Sub2( oCustomTask1	)
Call oCustomTask1_Trans_Sub3( oCustomTask1	)
Call oCustomTask1_Trans_Sub4( oCustomTask1	)

If oTask.CustomTask.Lookups.Count = 0 Then
End If
Set oLookup = oCustomTask1.Lookups.New("country")
	oLookup.Name = "country"
	oLookup.ConnectionID = 3
	oLookup.Query = "select name from country" & vbCrLf
	oLookup.Query = oLookup.Query & "where code = ?"
	oLookup.MaxCacheRows = 200
oCustomTask1.Lookups.Add oLookup
goPackage.Tasks.Add oTask
Set oCustomTask1 = Nothing
End Sub

Public Sub oCustomTask1_Trans_Sub1(ByVal oCustomTask1 As Object)
	Dim oTransformation As DTS.Transformation2
	Dim oTransProps as DTS.Properties
	Dim oColumn As DTS.Column
	Set oTransformation = oCustomTask1.Transformations.New("DTS.DataPumpTransformScript")
		oTransformation.Name = "DTSTransformation__1"
		oTransformation.TransformFlags = 63
		Set oColumn = oTransformation.SourceColumns.New("Col001" , 1)
			oColumn.Name = "Col001"
			oColumn.Ordinal = 1
		oTransformation.SourceColumns.Add oColumn
		Set oColumn = oTransformation.SourceColumns.New("Col003" , 2)
		oTransformation.SourceColumns.Add oColumn
		Set oColumn = oTransformation.DestinationColumns.New("order_no" , 1)
		oTransformation.DestinationColumns.Add oColumn
		Set oColumn = oTransformation.DestinationColumns.New("country" , 2)
		oTransformation.DestinationColumns.Add oColumn
	Set oTransProps = oTransformation.TransformServerProperties
		oTransProps("Text") = "'**********************************************************************" & vbCrLf
		oTransProps("Text") = oTransProps("Text") & "'  Copy each source column" & vbCrLf
		oTransProps("Text") = oTransProps("Text") & "Function Main()" & vbCrLf
		oTransProps("Text") = oTransProps("Text") & "	DTSDestination(""order_no"") = DTSSource(""Col001"")" & vbCrLf
		oTransProps("Text") = oTransProps("Text") & "	DTSDestination(""country"") = DTSLookups(""country"").Execute(DTSSource(""Col003""))" & vbCrLf
		oTransProps("Text") = oTransProps("Text") & "	Main = DTSTransformStat_OK" & vbCrLf
		oTransProps("Text") = oTransProps("Text") & "End Function"
		oTransProps("Language") = "VBScript"
		oTransProps("FunctionEntry") = "Main"
	Set oTransProps = Nothing
	oCustomTask1.Transformations.Add oTransformation
	Set oTransformation = Nothing
End Sub

Public Sub oCustomTask1_Trans_Sub2(ByVal oCustomTask1 As Object)
	Dim oTransformation As DTS.Transformation2
	Dim oTransProps as DTS.Properties
	Dim oColumn As DTS.Column
	Set oTransformation = oCustomTask1.Transformations.New("DTSPump.DataPumpTransformDateTimeString")
		oTransformation.Name = "DTSTransformation__2"
		oTransformation.TransformFlags = 63
		oTransformation.SourceColumns.AddColumn "Col002", 1
		oTransformation.DestinationColumns.AddColumn "sold_on", 1
	Set oTransProps = oTransformation.TransformServerProperties
		oTransProps("InputFormat") = "dd.MM.yyyy"
		oTransProps("OutputFormat") = "yyyy-MM-dd"
		oTransProps("ShortYear2000Cutoff") = 2029
	oCustomTask1.Transformations.Add oTransformation
End Sub

Public Sub oCustomTask1_Trans_Sub3(ByVal oCustomTask1 As Object)
	Dim oTransformation As DTS.Transformation2
	Dim oTransProps as DTS.Properties
	Set oTransformation = oCustomTask1.Transformations.New("DTSPump.DataPumpTransformMidString")
		oTransformation.Name = "DTSTransformation__3"
		oTransformation.TransformFlags = 63
		oTransformation.SourceColumns.AddColumn "Col001", 1
		oTransformation.DestinationColumns.AddColumn "shop", 1
	Set oTransProps = oTransformation.TransformServerProperties
		oTransProps("CharacterStart") = 1
		oTransProps("CharacterCount") = 2
		oTransProps("UpperCaseString") = True
		oTransProps("LowerCaseString") = False
		oTransProps("TrimLeadingWhiteSpace") = True
		oTransProps("TrimTrailingWhiteSpace") = True
		oTransProps("TrimEmbeddedWhiteSpace") = False
	oCustomTask1.Transformations.Add oTransformation
End Sub

Public Sub oCustomTask1_Trans_Sub4(ByVal oCustomTask1 As Object)
	Dim oTransformation As DTS.Transformation2
	Dim oTransProps as DTS.Properties
	Set oTransformation = oCustomTask1.Transformations.New("DTSPump.DataPumpTransformWriteFile")
		oTransformation.Name = "DTSTransformation__4"
		oTransformation.TransformFlags = 63
		oTransformation.SourceColumns.AddColumn "Col001", 1
		oTransformation.SourceColumns.AddColumn "Col003", 2
	Set oTransProps = oTransformation.TransformServerProperties
		oTransProps("FilePath") = "D:\out"
		oTransProps("FileColumnName") = "Col001"
		oTransProps("OEMFile") = False
		oTransProps("UnicodeFile") = True
		oTransProps("AppendIfFileExists") = True
	oCustomTask1.Transformations.Add oTransformation
End Sub

Public Sub Task_Sub2(ByVal goPackage As Object)
Dim oTask As DTS.Task
Dim oCustomTask2 As DTS.ExecuteSQLTask2
Set oTask = goPackage.Tasks.New("DTSExecuteSQLTask")
Set oCustomTask2 = oTask.CustomTask
	oCustomTask2.Name = "DTSTask_DTSExecuteSQLTask_1"
	oCustomTask2.SQLStatement = "delete from orders where region = ?" & vbCrLf
	oCustomTask2.SQLStatement = oCustomTask2.SQLStatement & "select count(*) from orders"
	oCustomTask2.ConnectionID = 3
	oCustomTask2.CommandTimeout = 90
	oCustomTask2.InputGlobalVariableNames = """Region"""
	oCustomTask2.OutputGlobalVariableNames = "RowsLoaded"
	oCustomTask2.OutputAsRecordset = False
goPackage.Tasks.Add oTask
End Sub

Public Sub Task_Sub3(ByVal goPackage As Object)
Dim oTask As DTS.Task
Dim oCustomTask3 As DTS.SendMailTask
Set oTask = goPackage.Tasks.New("DTSSendMailTask")
Set oCustomTask3 = oTask.CustomTask
	oCustomTask3.Name = "DTSTask_DTSSendMailTask_1"
	oCustomTask3.ToLine = "night@example.org"
	oCustomTask3.Subject = "Orders failed"
	oCustomTask3.MessageText = "Look at the log." & vbCrLf & "Then run it again."
	oCustomTask3.FileAttachments = "C:\log\a.txt;C:\log\b.txt"
	oCustomTask3.Profile = "Outlook"
	oCustomTask3.Password = "dragon-19"
goPackage.Tasks.Add oTask
End Sub

Public Sub Task_Sub4(ByVal goPackage As Object)
Dim oTask As DTS.Task
Dim oCustomTask4 As DTS.ActiveScriptTask
Set oTask = goPackage.Tasks.New("DTSActiveScriptTask")
Set oCustomTask4 = oTask.CustomTask
	oCustomTask4.Name = "DTSTask_DTSActiveScriptTask_1"
	oCustomTask4.ActiveXScript = "Function Main()" & vbCrLf
	oCustomTask4.ActiveXScript = oCustomTask4.ActiveXScript & "	DTSGlobalVariables(""RowsLoaded"").Value = 0" & vbCrLf
	oCustomTask4.ActiveXScript = oCustomTask4.ActiveXScript & "	Main = DTSTaskExecResult_Success" & vbCrLf & "End Function"
	oCustomTask4.FunctionName = "Main"
	oCustomTask4.ScriptLanguage = "VBScript"
	oCustomTask4.AddGlobalVariables = True
goPackage.Tasks.Add oTask
End Sub

Public Sub Task_Sub5(ByVal goPackage As Object)
Dim oTask As DTS.Task
Dim oCustomTask5 As DTS.ExecutePackageTask
Set oTask = goPackage.Tasks.New("DTSExecutePackageTask")
Set oCustomTask5 = oTask.CustomTask
	oCustomTask5.Name = "DTSTask_DTSExecutePackageTask_1"
	oCustomTask5.PackageName = "Nightly Stock"
	oCustomTask5.ServerName = "SHOPSQL"
	oCustomTask5.UseTrustedConnection = True
	oCustomTask5.ServerPassword = "dragon-20"
	oCustomTask5.GlobalVariables.AddGlobalVariable "Day", "today"
	oCustomTask5.InputGlobalVariableNames = "Region"
goPackage.Tasks.Add oTask
End Sub

Public Sub Task_Sub6(ByVal goPackage As Object)
Dim oTask As DTS.Task
Dim oCustomTask6 As DTS.CustomTask
Set oTask = goPackage.Tasks.New("DTSOlapProcess.Task")
Set oCustomTask6 = oTask.CustomTask
	oCustomTask6.Properties("Name") = "DTSTask_DTSOlapProcess.Task_1"
	oCustomTask6.Properties("TreeKey") = "CUBESRV\Sales"
goPackage.Tasks.Add oTask
End Sub

Public Sub Task_Sub7(ByVal goPackage As Object)
Dim oTask As DTS.Task
Dim oCustomTask7 As DTS.CreateProcessTask2
Set oTask = goPackage.Tasks.New("DTSCreateProcessTask")
Set oCustomTask7 = oTask.CustomTask
	oCustomTask7.Name = "DTSTask_DTSCreateProcessTask_1"
	oCustomTask7.ProcessCommandLine = """C:\Program Files\zip.exe"" -r ""D:\in\a b.zip"" D:\in"
	oCustomTask7.SuccessReturnCode = 1
	oCustomTask7.Timeout = 30
goPackage.Tasks.Add oTask
End Sub
