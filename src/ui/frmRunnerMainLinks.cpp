// The main form's data links and the panel that edits the selected one.

#include <utility>

#include "datalinks/ETLPackages.h"
#include "platform/Messages.h"
#include "platform/PlatformError.h"
#include "startup/Program.h"
#include "ui/LinkFileText.h"
#include "ui/frmRunnerMain.h"

namespace torvik {

/// Beside the window, unless a run is under way, which has the hourglass of its own. False as well
/// when the form was closed meanwhile.
bool frmRunnerMain::ConnectWarehouse() {
  const ServerLogon logon = WarehouseLogon();
  const std::string database = cmbDestDB.Text.Get();
  std::string errorText;
  bool isConnected = false;
  const auto connect = [&] {
    isConnected = program_.dataWarehouse.ConnectDataWarehouse(logon, database, errorText);
  };
  const auto tell = [&] {
    isWarehouseOfLinks_ = isConnected;
    if (isConnected) return;
    if (StartInConfigMode)
      ShowError(errorText, "Connect to Datawarehouse server");
    else
      program_.log.EchoToLog(errorText);
  };
  if (!Busy.Get()) {
    aside_.Do(connect, tell);
    return isConnected && isOpen_;
  }
  connect();
  tell();
  return isConnected;
}

bool frmRunnerMain::getDataLinkInfo() {
  DropListing();
  if (!ConnectWarehouse()) return false;
  // The records are made anew: no panel may hold one.
  ShowPanel(nullptr);
  std::vector<std::string> names = lstDataLinks.List.Get();
  const bool isLoaded = program_.dataLinks.LoadDataLinks(program_.dataWarehouse.Connection(),
                                                         cmbETLPackage.Text.Get(), names);
  ShowLinks(std::move(names), isLoaded);
  return true;
}

/// Of links that have been read anew.
void frmRunnerMain::ShowLinks(std::vector<std::string> names, bool areLoaded) {
  lstDataLinks.ListIndex.Set(-1);
  lstDataLinks.List.Set(std::move(names));
  editedLinks_.clear();
  linksOrigin_ = OriginInFields();
  if (areLoaded && !TorvConfigFile.empty()) program_.dataLinks.ReadDataLinkSections(TorvConfigFile);
  RefreshLinkRows();
}

ServerLogon frmRunnerMain::WarehouseLogon() const {
  return {txtDestServer.Text.Get(), optDestSecureLogin.Value.Get(), txtDestSQLUsername.Text.Get(),
          txtDestSQLPassword.Text.Get()};
}

frmRunnerMain::LinksOrigin frmRunnerMain::OriginInFields() const {
  return {cmbETLPackage.Text.Get(), txtDestServer.Text.Get(), cmbDestDB.Text.Get()};
}

/// The links are those of a package's model in one database: others than the fields name now are
/// let go of, edited ones when the operator says so. False when he wants to keep them; the fields
/// then name their database again.
bool frmRunnerMain::KeepOrReleaseLinks() {
  const LinksOrigin now = OriginInFields();
  const bool isSame =
      ModelNameFromPackage(now.package) == ModelNameFromPackage(linksOrigin_.package) &&
      now.server == linksOrigin_.server && now.database == linksOrigin_.database;
  if (isSame || lstDataLinks.List.Get().empty()) return true;
  if (editedLinks_.empty() ||
      Asks("The data links of " + linksOrigin_.package + " in " + linksOrigin_.database +
               " were edited, and the job now has others. Discard the edits?",
           "Discard")) {
    ReleaseLinks();
    return true;
  }
  cmbETLPackage.Text.Set(linksOrigin_.package);
  txtDestServer.Text.Set(linksOrigin_.server);
  cmbDestDB.Text.Set(linksOrigin_.database);
  return false;
}

/// What the operator has edited stays; without that and without a panel those of the table are
/// taken.
bool frmRunnerMain::LoadDataLinksIfNone() {
  if (!KeepOrReleaseLinks()) return false;
  try {
    if (!DataSourceInfoPresent() && editedLinks_.empty() && !getDataLinkInfo()) return false;
    program_.dataLinks.RequireUsableNames();
    return true;
  } catch (const PlatformError& error) {
    ShowError(error.Description(), "Torv Error");
    return false;
  }
}

void frmRunnerMain::cmdLoadDataLinks_Click() {
  if (!KeepOrReleaseLinks()) return;
  if (!editedLinks_.empty() &&
      !Asks("Loading the data links again discards the edits. Load them?", "Load"))
    return;
  editedLinks_.clear();
  ShowPanel(nullptr);
  if (LoadDataLinksIfNone())
    SetFormStatus(lstDataLinks.List.Get().empty()
                      ? "The data warehouse has no data links for this package's model."
                      : "");
  FieldChanged();
}

void frmRunnerMain::lstDataLinks_Click() {
  const int position = lstDataLinks.ListIndex.Get();
  const auto& names = lstDataLinks.List.Get();
  cDataSource* link = nullptr;
  if (position >= 0 && position < static_cast<int>(names.size()))
    link = program_.dataLinks.FindDataLink(names[static_cast<std::size_t>(position)]);
  DataLinkPanel* const panel = link ? PanelFor(link->etlType) : nullptr;
  if (panel) panel->SetObjDataSource(*link);
  ShowPanel(panel);
  RefreshLinkRows();
}

std::string frmRunnerMain::SelectedLinkFile() const {
  const cDataSource* const link = panel_ == nullptr ? nullptr : panel_->ObjDataSource();
  return link == nullptr ? std::string() : LinkFileText(*link);
}

void frmRunnerMain::ReleaseLinks() {
  DropListing();
  ShowPanel(nullptr);
  lstDataLinks.ListIndex.Set(-1);
  lstDataLinks.List.Set({});
  program_.dataLinks.ReleaseDataLinks();
  editedLinks_.clear();
  RefreshLinkRows();
}

void frmRunnerMain::RefreshLinkRows() {
  std::vector<LinkRow> rows;
  for (const std::string& name : lstDataLinks.List.Get()) {
    const cDataSource* const link = program_.dataLinks.FindDataLink(name);
    LinkRow row = link ? RowOf(*link) : LinkRow{};
    row.name = name;
    row.isEdited = editedLinks_.contains(name);
    rows.push_back(std::move(row));
  }
  LinkRows.Set(std::move(rows));
  DescribeSelection();
}

void frmRunnerMain::DescribeSelection() {
  const auto& rows = LinkRows.Get();
  const int position = lstDataLinks.ListIndex.Get();
  if (position < 0 || position >= static_cast<int>(rows.size())) {
    LinkHeading.Set("");
    return LinkHint.Set("Select a data link to edit it.");
  }
  const LinkRow& row = rows[static_cast<std::size_t>(position)];
  LinkHeading.Set(row.name + ": " + row.kind);
  LinkHint.Set("A data link of this kind has nothing to edit here.");
}

DataLinkPanel* frmRunnerMain::PanelFor(std::int32_t etlType) {
  switch (etlType) {
    case EtlSqlServer: return &ctDLSQLServerOBJ;
    case EtlFlatFile:
    case EtlQuorServer: return &ctDLlFlatFileOBJ;
    case EtlExcel: return &ctlDLExcelFilesOBJ;
    case EtlAccess: return &ctlDLAccesFilesOBJ;
    case EtlOracle: return &ctlDLOrcaleServerOBJ;
    default: return nullptr;
  }
}

std::vector<DataLinkPanel*> frmRunnerMain::Panels() {
  return {&ctDLlFlatFileOBJ, &ctDLSQLServerOBJ, &ctlDLAccesFilesOBJ, &ctlDLExcelFilesOBJ,
          &ctlDLOrcaleServerOBJ};
}

void frmRunnerMain::ShowPanel(DataLinkPanel* panel) {
  for (DataLinkPanel* other : Panels()) {
    if (other == panel) continue;
    other->Visible.Set(false);
    other->ForgetDataSource();
  }
  panel_ = panel;
  if (panel) panel->Visible.Set(true);
}

}  // namespace torvik
