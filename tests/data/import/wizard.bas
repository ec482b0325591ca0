'****************************************************************
'Visual Basic file generated for a package
'****************************************************************
Option Explicit
Public goPackageOld As New DTS.Package
Public goPackage As DTS.Package2
Private Sub Main()
	set goPackage = goPackageOld

	goPackage.Name = "Sales Export"
	goPackage.Description = "Copies ""old"" customers"
	goPackage.WriteCompletionStatusToNTEventLog = False
	goPackage.FailOnError = False
	goPackage.PackagePriorityClass = 2
	goPackage.MaxConcurrentSteps = 4
	goPackage.LineageOptions = 0
	goPackage.UseTransaction = True
	goPackage.TransactionIsolationLevel = 4096
	goPackage.AutoCommitTransaction = True
	goPackage.RepositoryMetadataOptions = 0
	goPackage.UseOLEDBServiceComponents = True
	goPackage.LogToSQLServer = False
	goPackage.PackageType = 1

Dim oConnProperty As DTS.OleDBProperty

'---------------------------------------------------------------------------
' create package connection information
'---------------------------------------------------------------------------

Dim oConnection as DTS.Connection2

'------------- a new connection defined below.
'For security purposes, the password is never scripted

Set oConnection = goPackage.Connections.New("SQLOLEDB")

	oConnection.ConnectionProperties("Integrated Security") = "SSPI"
	oConnection.ConnectionProperties("Persist Security Info") = True
	oConnection.ConnectionProperties("Initial Catalog") = "Northwind"
	oConnection.ConnectionProperties("Data Source") = "(local)"
	oConnection.ConnectionProperties("Application Name") = "DTS  Import/Export Wizard"
	
	oConnection.Name = "Connection 1"
	oConnection.ID = 1
	oConnection.Reusable = True
	oConnection.ConnectImmediate = False
	oConnection.DataSource = "(local)"
	oConnection.ConnectionTimeout = 60
	oConnection.Catalog = "Northwind"
	oConnection.UseTrustedConnection = True
	oConnection.UseDSL = False
	
	'If you have a password for this connection, please uncomment and add your password below.
	'oConnection.Password = "<put the password here>"

goPackage.Connections.Add oConnection
Set oConnection = Nothing

'------------- a new connection defined below.
Set oConnection = goPackage.Connections.New("DTSFlatFile")

	oConnection.ConnectionProperties("Data Source") = "C:\out\customers.txt"
	oConnection.ConnectionProperties("Mode") = 3
	oConnection.ConnectionProperties("Row Delimiter") = vbCrLf
	oConnection.ConnectionProperties("File Format") = 1
	oConnection.ConnectionProperties("Column Delimiter") = ","
	oConnection.ConnectionProperties("File Type") = 1
	oConnection.ConnectionProperties("Skip Rows") = 0
	oConnection.ConnectionProperties("First Row Column Name") = True
	oConnection.ConnectionProperties("Column Names") = "CustomerID,City"
	oConnection.ConnectionProperties("Number of Column") = 2
	oConnection.ConnectionProperties("Text Qualifier Col Mask: 0=no, 1=yes, e.g. 0101") = "11"
	oConnection.ConnectionProperties("Max characters per delimited column") = 8000
	oConnection.ConnectionProperties("Blob Col Mask: 0=no, 1=yes, e.g. 0101") = "00"
	oConnection.ConnectionProperties("Text Qualifier") = """"
	
	oConnection.Name = "Connection 2"
	oConnection.ID = 2
	oConnection.Reusable = True
	oConnection.DataSource = "C:\out\customers.txt"
	oConnection.UseTrustedConnection = False

goPackage.Connections.Add oConnection
Set oConnection = Nothing

'---------------------------------------------------------------------------
' create package steps information
'---------------------------------------------------------------------------

Dim oStep as DTS.Step2
Dim oPrecConstraint as DTS.PrecedenceConstraint

Set oStep = goPackage.Steps.New

	oStep.Name = "Copy Data from Customers Step"
	oStep.Description = "Copy Data from Customers Step"
	oStep.ExecutionStatus = 4
	oStep.TaskName = "Copy Data from Customers Task"
	oStep.CommitSuccess = False
	oStep.RollbackFailure = False
	oStep.ScriptLanguage = "VBScript"
	oStep.AddGlobalVariables = True
	oStep.RelativePriority = 3
	oStep.CloseConnection = False
	oStep.ExecuteInMainThread = True
	oStep.IsPackageDSORowset = False
	oStep.JoinTransactionIfPresent = False
	oStep.DisableStep = False
	oStep.FailPackageOnError = False
	
goPackage.Steps.Add oStep
Set oStep = Nothing

'---------------------------------------------------------------------------
' create package tasks information
'---------------------------------------------------------------------------

Call Task_Sub1(goPackage)

'---------------------------------------------------------------------------
' Save or execute package
'---------------------------------------------------------------------------

'goPackage.SaveToSQLServer "(local)", "sa", ""
goPackage.Execute
tracePackageError goPackage
goPackage.Uninitialize
set goPackage = Nothing
set goPackageOld = Nothing

End Sub

'-----------------------------------------------------------------------------
' error reporting using step.GetExecutionErrorInfo after execution
'-----------------------------------------------------------------------------
Public Sub tracePackageError(oPackage As DTS.Package)
Dim ErrorCode As Long
Dim ErrorSource As String
Dim i As Integer

	For i = 1 To oPackage.Steps.Count
	If oPackage.Steps(i).ExecutionResult = DTSStepExecResult_Failure Then
		oPackage.Steps(i).GetExecutionErrorInfo ErrorCode, ErrorSource
		MsgBox oPackage.Steps(i).Name & " failed" & vbCrLf & ErrorSource & vbCrLf
	End If
	Next i

End Sub

'------------- define Task_Sub1 for task Copy Data from Customers Task
Public Sub Task_Sub1(ByVal goPackage As Object)

Dim oTask As DTS.Task
Dim oLookup As DTS.Lookup

Dim oCustomTask1 As DTS.DataPumpTask2
Set oTask = goPackage.Tasks.New("DTSDataPumpTask")
oTask.Name = "Copy Data from Customers Task"
Set oCustomTask1 = oTask.CustomTask

	oCustomTask1.Name = "Copy Data from Customers Task"
	oCustomTask1.Description = "Copy Data from Customers Task"
	oCustomTask1.SourceConnectionID = 1
	oCustomTask1.SourceSQLStatement = "select [CustomerID],[City] from [Northwind].[dbo].[Customers] whe"
	oCustomTask1.SourceSQLStatement = oCustomTask1.SourceSQLStatement & "re [City] = 'Bern'" & vbCrLf & "order by 1"
	oCustomTask1.DestinationConnectionID = 2
	oCustomTask1.DestinationObjectName = "C:\out\customers.txt"
	oCustomTask1.ProgressRowCount = 1000
	oCustomTask1.MaximumErrorCount = 0
	oCustomTask1.FetchBufferSize = 1
	oCustomTask1.UseFastLoad = True
	oCustomTask1.InsertCommitSize = 0
	oCustomTask1.ExceptionFileColumnDelimiter = "|"
	oCustomTask1.ExceptionFileRowDelimiter = vbCrLf
	oCustomTask1.AllowIdentityInserts = False
	oCustomTask1.FirstRow = "0"
	oCustomTask1.LastRow = "0"
	oCustomTask1.FastLoadOptions = 2

Call oCustomTask1_Trans_Sub1( oCustomTask1	)

goPackage.Tasks.Add oTask
Set oCustomTask1 = Nothing
Set oTask = Nothing

End Sub

Public Sub oCustomTask1_Trans_Sub1(ByVal oCustomTask1 As Object)

	Dim oTransformation As DTS.Transformation2
	Dim oTransProps as DTS.Properties
	Dim oColumn As DTS.Column
	Set oTransformation = oCustomTask1.Transformations.New("DTS.DataPumpTransformCopy")
		oTransformation.Name = "DirectCopyXform"
		oTransformation.TransformFlags = 63
		oTransformation.ForceSourceBlobsBuffered = 0
		oTransformation.ForceBlobsInMemory = False
		oTransformation.InMemoryBlobSize = 1048576
		oTransformation.TransformPhases = 4
		
		Set oColumn = oTransformation.SourceColumns.New("CustomerID" , 1)
			oColumn.Name = "CustomerID"
			oColumn.Ordinal = 1
			oColumn.Flags = 8
			oColumn.Size = 5
			oColumn.DataType = 130
			oColumn.Precision = 0
			oColumn.NumericScale = 0
			oColumn.Nullable = False
			
		oTransformation.SourceColumns.Add oColumn
		Set oColumn = Nothing

		Set oColumn = oTransformation.SourceColumns.New("City" , 2)
			oColumn.Name = "City"
			oColumn.Ordinal = 2
		oTransformation.SourceColumns.Add oColumn
		Set oColumn = Nothing

		Set oColumn = oTransformation.DestinationColumns.New("CustomerID" , 1)
			oColumn.Name = "CustomerID"
			oColumn.Ordinal = 1
		oTransformation.DestinationColumns.Add oColumn
		Set oColumn = Nothing

		Set oColumn = oTransformation.DestinationColumns.New("City" , 2)
			oColumn.Name = "City"
			oColumn.Ordinal = 2
		oTransformation.DestinationColumns.Add oColumn
		Set oColumn = Nothing

	Set oTransProps = oTransformation.TransformServerProperties

	Set oTransProps = Nothing

	oCustomTask1.Transformations.Add oTransformation
	Set oTransformation = Nothing

End Sub
