Attribute VB_Name = "Books"
' Files of other programs, as the wizard connects them
Private Sub Main()
  Dim goPackage As New DTS.Package2
  goPackage.Name = "Files"
  Dim oConnection As DTS.Connection2

  Set oConnection = goPackage.Connections.New("Microsoft.Jet.OLEDB.4.0")
    oConnection.ConnectionProperties("User ID") = "Admin"
    oConnection.ConnectionProperties("Data Source") = "C:\data\prices.xls"
    oConnection.ConnectionProperties("Extended Properties") = "Excel 8.0;HDR=YES;"
    oConnection.ConnectionProperties("Jet OLEDB:Engine Type") = 35
    oConnection.Name = "Connection 1"
    oConnection.ID = 1
  goPackage.Connections.Add oConnection

  Set oConnection = goPackage.Connections.New("Microsoft.Jet.OLEDB.4.0")
    oConnection.ConnectionProperties("Data Source") = "C:\data\dbf"
    oConnection.ConnectionProperties("Extended Properties") = "dBase 5.0;"
    oConnection.Name = "Connection 1"
    oConnection.ID = 2
  goPackage.Connections.Add oConnection

  Set oConnection = goPackage.Connections.New("Microsoft.Jet.OLEDB.4.0")
    oConnection.ConnectionProperties("Data Source") = "C:\data\stock.mdb"
    oConnection.ConnectionProperties("Jet OLEDB:Database Password") = "dragon-22"
    oConnection.Name = "Access"
    oConnection.ID = 3
  goPackage.Connections.Add oConnection

  Set oConnection = goPackage.Connections.New("IBMDA400")
    oConnection.ConnectionProperties("Data Source") = "AS400"
    oConnection.ConnectionProperties("User ID") = "QUSER"
    oConnection.ConnectionProperties("Password") = "dragon-23"
    oConnection.ConnectionProperties("Catalog Library List") = "LIB1,LIB2"
    oConnection.Name = "Host"
    oConnection.ID = 4
  goPackage.Connections.Add oConnection

  Set oConnection = goPackage.Connections.New("DTSFlatFile")
    oConnection.ConnectionProperties("Data Source") = "C:\data\out.txt"
    oConnection.ConnectionProperties("Mode") = 3
    oConnection.ConnectionProperties("Row Delimiter") = vbCrLf
    oConnection.ConnectionProperties("File Format") = 2
    oConnection.ConnectionProperties("Column Lengths") = "8,10"
    oConnection.ConnectionProperties("Column Names") = "No,Name"
    oConnection.ConnectionProperties("File Type") = 4
    oConnection.Name = "out"
    oConnection.ID = 5
  goPackage.Connections.Add oConnection

  Dim i As Integer
  For i = 1 To 4
    AddPump goPackage, i
  Next i
  goPackage.SaveToSQLServerAs "(local)", , , 256
End Sub

Private Sub AddPump(goPackage As DTS.Package2, ByVal source As Integer)
  Dim oTask As DTS.Task, oPump As DTS.DataPumpTask2, oStep As DTS.Step2
  Set oTask = goPackage.Tasks.New("DTSDataPumpTask")
  Set oPump = oTask.CustomTask
  oPump.Name = "pump " & source
  oPump.SourceConnectionID = source
  Select Case source
    Case 1: oPump.SourceSQLStatement = "select * from `Prices$`"
    Case 2, 3
      oPump.SourceObjectName = "STOCK"
    Case Else
      oPump.SourceObjectName = "LIB1.STOCK"
  End Select
  oPump.DestinationConnectionID = 5
  oPump.DestinationObjectName = "C:\data\out.txt"
  With oPump.Transformations
    Dim oTransformation As DTS.Transformation2
    Set oTransformation = .New("DTS.DataPumpTransformCopy")
    oTransformation.SourceColumns.AddColumn "NO", 1
    oTransformation.DestinationColumns.AddColumn "No", 1
    .Add oTransformation
    Set oTransformation = .New("DTSPump.DataPumpTransformTrimString.1")
    oTransformation.SourceColumns.AddColumn "NAME", 1
    oTransformation.DestinationColumns.AddColumn "Name", 1
    oTransformation.TransformServerProperties("TrimTrailingWhiteSpace") = False
    oTransformation.TransformServerProperties("UpperCaseString") = True
    oTransformation.TransformFlags = 4
    .Add oTransformation
  End With
  goPackage.Tasks.Add oTask
  Set oStep = goPackage.Steps.New
  oStep.Name = "step " & source
  oStep.TaskName = oPump.Name
  If source > 1 Then oStep.PrecedenceConstraints.Add oStep.PrecedenceConstraints.New("step " & source - 1)
  goPackage.Steps.Add oStep
End Sub
