Imports DTS
Imports System.Runtime.InteropServices

Namespace Loads
	<ComVisible(True)> _
	Public Class NightlyLoad
		Inherits System.Object
		Private goPackageOld As New DTS.Package()
		Private goPackage As DTS.Package2

#Region " Building "
		''' <summary>Builds the package.</summary>
		Public Sub BuildPackage(ByVal server As String, Optional ByVal folder As String = "")
			goPackage = CType(goPackageOld, DTS.Package2)
			goPackage.Name = "Net Load"
			goPackage.Description = "Line one" & ControlChars.CrLf & _
				"line two"
			goPackage.FailOnError = False : goPackage.MaxConcurrentSteps = 4

			Dim oConnection As DTS.Connection2
			oConnection = CType(goPackage.Connections.New("SQLOLEDB"), DTS.Connection2)
			With oConnection
				.ConnectionProperties.Item("Integrated Security").Value = "SSPI"
				.ConnectionProperties.Item("Initial Catalog").Value = "stage"
				.ConnectionProperties.Item("Data Source").Value = server
				.Name = "stage"
				.ID = 1
				.UseTrustedConnection = True
			End With
			CType(goPackage, DTS.Package).Connections.Add(CType(oConnection, DTS.Connection))
			oConnection = Nothing

			oConnection = goPackage.Connections.New("Microsoft.Jet.OLEDB.4.0")
			oConnection.ConnectionProperties.Item("Extended Properties").Value = "Excel 8.0;HDR=YES;"
			oConnection.ConnectionProperties.Item("Data Source").Value = System.IO.Path.Combine(folder, "list.xls")
			oConnection.Name = "workbook" : oConnection.ID = 2
			goPackage.Connections.Add(oConnection)

			Dim oStep As DTS.Step2
			oStep = goPackage.Steps.New()
			oStep.Name = "Copy list"
			oStep.TaskName = "Copy list task"
			oStep.ExecutionStatus = DTS.DTSStepExecStatus.DTSStepExecStat_Completed
			oStep.RelativePriority = DTSStepRelativePriority.DTSStepRelativePriority_BelowNormal
			goPackage.Steps.Add(oStep)

			CreateTask(goPackage)
			Try
				goPackage.Execute()
			Catch ex As Exception
				Console.WriteLine(ex.Message)
			Finally
				goPackage.UnInitialize()
			End Try
		End Sub
#End Region

		Private Sub CreateTask(ByVal goPackage As Object)
			Dim oTask As DTS.Task = goPackage.Tasks.New("DTSDataPumpTask")
			oTask.Name = "Copy list task"
			Dim oCustomTask1 As DTS.DataPumpTask2 = CType(oTask.CustomTask, DTS.DataPumpTask2)
			oCustomTask1.Name = "Copy list task"
			oCustomTask1.SourceConnectionID = 2
			oCustomTask1.SourceSQLStatement = "select `No`,`Name` from `Sheet1$`"
			oCustomTask1.DestinationConnectionID = 1
			oCustomTask1.DestinationObjectName = "[stage].[dbo].[list]"
			Dim oTransformation As DTS.Transformation2
			oTransformation = oCustomTask1.Transformations.New("DTS.DataPumpTransformCopy")
			oTransformation.TransformFlags = DTS.DTSTransformFlags.DTSTransformFlag_Default
			Dim names() As String = {"No", "Name"}
			For i As Integer = 1 To 2
				Select Case i
					Case 1
						oTransformation.SourceColumns.Add(oTransformation.SourceColumns.New("No", i))
						oTransformation.DestinationColumns.Add(oTransformation.DestinationColumns.New("list_no", i))
					Case Else
						oTransformation.SourceColumns.Add(oTransformation.SourceColumns.New("Name", i))
						oTransformation.DestinationColumns.Add(oTransformation.DestinationColumns.New("list_name", i))
				End Select
			Next
			oCustomTask1.Transformations.Add(oTransformation)
			goPackage.Tasks.Add(oTask)
		End Sub

		Public ReadOnly Property Package() As DTS.Package2
			Get
				Return goPackage
			End Get
		End Property
	End Class
End Namespace
