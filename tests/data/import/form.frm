VERSION 5.00
Begin VB.Form frmLoad
   Caption         =   "Load"
   ClientHeight    =   3195
   Begin VB.CommandButton cmdRun
      Caption         =   "Run ""it"""
   End
End
Attribute VB_Name = "frmLoad"
Attribute VB_GlobalNameSpace = False
Option Explicit
Private WithEvents mPackage As DTS.Package
Private sDatabase As String
Public Event Done(ByVal ok As Boolean)
Private Type Setting
  Name As String
  Value As String
End Type
Private Declare Function GetTickCount Lib "kernel32" () As Long

Private Sub Form_Load()
  sDatabase = "stock"
  Me.Caption = "ready"
End Sub

Private Sub cmdRun_Click()
  On Error GoTo failed
  Dim ok As Boolean
  ok = ImportFile(txtFile.Text, txtServer, chkTruncate.Value = vbChecked)
  If ok Then MsgBox "done" Else MsgBox "failed"
  Exit Sub
failed:
  MsgBox Err.Description, vbCritical
End Sub

Private Sub mPackage_OnError(ByVal EventSource As String, ByVal ErrorCode As Long, pbCancel As Boolean)
  pbCancel = True
End Sub

Private Function ImportFile(ByVal file As String, server As String, Optional truncate As Boolean = False) As Boolean
  Dim pkg As New DTS.Package, con As DTS.Connection, stp As DTS.Step, tsk As DTS.Task
  Dim pump As DTS.DataPumpTask, trans As DTS.Transformation
  Set mPackage = pkg
  With pkg
    .Name = "Stock Import"
    Set con = .Connections.New("SQLOLEDB")
    With con
      .ID = 1: .Name = "stock"
      .DataSource = server
      .Catalog = sDatabase
      .UseTrustedConnection = True
    End With
    .Connections.Add con
    Set con = .Connections.New("DTSFlatFile")
    con.ID = 2
    con.Name = "file"
    con.DataSource = App.Path & "\in\" & file
    con.ConnectionProperties("Column Delimiter") = vbTab
    con.ConnectionProperties("First Row Column Name") = True
    con.ConnectionProperties("Row Delimiter") = Chr(13) & Chr$(10)
    con.ConnectionProperties("Text Qualifier") = "<none>"
    .Connections.Add con
    If truncate Then
      Set tsk = .Tasks.New("DTSExecuteSQLTask")
      With tsk.CustomTask
        .Name = "truncate": .ConnectionID = 1
        .SQLStatement = "truncate table stock"
      End With
      .Tasks.Add tsk
      Set stp = .Steps.New
      stp.Name = "truncate step": stp.TaskName = "truncate"
      .Steps.Add stp
    End If
    Set tsk = .Tasks.New("DTSDataPumpTask")
    Set pump = tsk.CustomTask
    pump.Name = "load"
    pump.SourceConnectionID = 2
    pump.DestinationConnectionID = 1
    pump.DestinationObjectName = "stock"
    Set trans = pump.Transformations.New("DTS.DataPumpTransformCopy")
    AddColumns trans, "item", "item_no"
    AddColumns trans, "count", "pieces"
    pump.Transformations.Add trans
    .Tasks.Add tsk
    Set stp = .Steps.New
    stp.Name = "load step"
    stp.TaskName = "load"
    .Steps.Add stp
    .Execute
  End With
  ImportFile = True
End Function

Private Sub AddColumns(trans As DTS.Transformation, source As String, dest As String)
  trans.SourceColumns.AddColumn source, trans.SourceColumns.Count + 1
  trans.DestinationColumns.AddColumn dest, trans.DestinationColumns.Count + 1
End Sub
