'Literals as the designer and people write them
Option Explicit
Public Const PREFIX As String = "dw_"
Private Const LIMIT& = &H10
Public goPackage As New DTS.Package2

Public Sub Main()
	Dim s As String, n As Long
	goPackage.Name = "Café € – ""quoted"""   ' a comment with "quotes"
	goPackage.DESCRIPTION = "It's a 'test'; REM no comment" 'but this is: "one"
	goPackage.failOnError = "-1"
	goPackage.MaxConcurrentSteps = "3"
	Rem goPackage.Name = "not this"

	Set oConnection = goPackage.Connections.New( "SQLOLEDB" )
		oConnection.Name = PREFIX & "main": oConnection.id = "7"
		oConnection.ConnectionProperties ("Data Source") = _
			"SRV" & _
			"\INST"
		oConnection.ConnectionProperties("Initial Catalog") = Replace("a-b", "-", "_") & UCase$("x") & Mid("abcdef", 2, 3)
	goPackage.Connections.Add   oConnection

	s = "SELECT '" & Chr$(65) & Chr(228) & "'" & vbTab & "AS “a”" & vbCrLf
	s = s & “FROM literal ” + "WHERE x = '''' AND p" & "art = "
	s = s & 3 * (LIMIT - 2) / 4 & " AND flag = " & CStr(True) & vbNewLine & vbNullString
	s = s & "  -- 100% $ { } ${name} \ # ;"
	Set oTask = goPackage.Tasks.New("DTSExecuteSQLTask") : Set oCustomTask1 = oTask.CustomTask
		oCustomTask1.NAME = "t1"
		oCustomTask1.sqlstatement = s
		oCustomTask1.ConnectionID = "7"
		oCustomTask1.CommandTimeout = "15"
	goPackage.Tasks.Add oTask

	Set oStep = goPackage.Steps.New
		oStep.Name = “step ‘one’”
		oStep.taskname = "t1"
		oStep.RelativePriority = "4"
		oStep.executionSTATUS = 4

		oStep.DisableStep = "False"
	goPackage.Steps.Add oStep
End Sub
