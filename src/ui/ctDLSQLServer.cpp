#include "ui/ctDLSQLServer.h"

#include "datalinks/DataWarehouse.h"
#include "datalinks/DatabaseLists.h"
#include "ui/DropDownLists.h"
#include "ui/LogonOptions.h"

namespace torvik {

ctDLSQLServer::ctDLSQLServer(const PanelServices& services) : DataLinkPanel(services) {
  PairLogonOptions(optSQLSecureLogin, optSQLUserLogin,
                   {&lblSQLUser, &lblSQLPassword, &txtSQLUser, &txtSQLPassword});
  optSQLSecureLogin.Value.Observe(
      [this](bool chosen) { Write(&cDataSource::blnDSTrustedLogin, chosen); });
  Writes(txtSQLServer, &cDataSource::strDSServer);
  Writes(txtSQLUser, &cDataSource::strDSUser);
  Writes(txtSQLPassword, &cDataSource::strDSPassword);
  Writes(cmbSQLDatabases, &cDataSource::strDSDatabase);
}

void ctDLSQLServer::Blank(cDataSource& link) const {
  link.strDSDirectory.clear();
  link.strDSFile.clear();
  link.strDSConnectString.clear();
}

void ctDLSQLServer::Show(const cDataSource& link) {
  txtSQLServer.Text.Set(link.strDSServer);
  optSQLSecureLogin.Value.Set(link.blnDSTrustedLogin);
  txtSQLUser.Text.Set(link.strDSUser);
  txtSQLPassword.Text.Set(link.strDSPassword);
  cmbSQLDatabases.Text.Set(link.strDSDatabase);
}

void ctDLSQLServer::cmdSQLServer_Click() {
  BrowseForServer(txtSQLServer, "Select your DataSource SQLServer...");
}

void ctDLSQLServer::cmbSQLDatabases_DropDown() {
  const auto logon = [this] {
    return ServerLogon{txtSQLServer.Text.Get(), optSQLSecureLogin.Value.Get(),
                       txtSQLUser.Text.Get(), txtSQLPassword.Text.Get()};
  };
  ShowNames({EtlSqlServer, logon, ListSQLDatabases, "Connect to SQL Server"}, cmbSQLDatabases);
}

}  // namespace torvik
