#include "ui/DataLinkPanel.h"

#include <memory>

#include "datalinks/BuildConnection.h"
#include "platform/Ado.h"
#include "platform/FileDialogs.h"
#include "platform/Messages.h"
#include "ui/AsideWork.h"
#include "ui/DropDownLists.h"
#include "ui/ListedNames.h"
#include "ui/ModSHBrowse.h"

namespace torvik {

void DataLinkPanel::SetObjDataSource(cDataSource& link) {
  // What the fields show on the way belongs to neither record.
  link_ = nullptr;
  Blank(link);
  Show(link);
  link_ = &link;
}

void DataLinkPanel::Writes(TextBox& box, std::string cDataSource::*property) {
  box.Text.Observe([this, property](const std::string& text) { Write(property, text); });
}

void DataLinkPanel::Writes(ComboBox& box, std::string cDataSource::*property) {
  box.Text.Observe([this, property](const std::string& text) { Write(property, text); });
}

void DataLinkPanel::Write(std::string cDataSource::*property, const std::string& text) {
  Write<std::string>(property, text);
}

void DataLinkPanel::cmdTest_Click() {
  if (link_ == nullptr) return;
  const bool isFile = link_->etlType == EtlExcel || link_->etlType == EtlAccess;
  const ServerLogon logon{isFile ? link_->strDSFile : link_->strDSServer, link_->blnDSTrustedLogin,
                          link_->strDSUser, link_->strDSPassword};
  bool isOpen = false;
  std::string errorText;
  const auto open = [&, etlType = link_->etlType, database = link_->strDSDatabase] {
    std::unique_ptr<ado::Connection> connection;
    isOpen = BuildConnection(services_.databases, etlType, logon, connection, errorText, database);
  };
  services_.aside.Do(open, [&] {
    if (isOpen)
      services_.messages.Box("It can be opened: " + logon.server, "Test", BoxIcon::Information);
    else
      services_.messages.Box("Error while connecting to : " + logon.server + errorText, "Test",
                             BoxIcon::Critical);
  });
}

void DataLinkPanel::BlankServerFields(cDataSource& link) {
  link.strDSServer.clear();
  link.blnDSTrustedLogin = false;
  link.strDSDatabase.clear();
  link.strDSDirectory.clear();
  link.strDSConnectString.clear();
}

void DataLinkPanel::BrowseForServer(TextBox& box, const std::string& title) const {
  const std::string server = BrowseForComputer(services_.shell, title);
  if (!server.empty()) box.Text.Set(server);
}

void DataLinkPanel::ShowNames(const NamesOfServer& server, ComboBox& box) const {
  ListedNames names(box.Text.Get());
  if (ListFromServer(services_.aside, services_.databases, services_.messages, server, names))
    names.ShowIn(box);
}

void DataLinkPanel::BrowseForFile(TextBox& box, const std::string& title,
                                  const std::string& filter) const {
  const std::string file = services_.dialogs.OpenFile({title, filter, "", box.Text.Get()});
  if (!file.empty()) box.Text.Set(file);
}

}  // namespace torvik
