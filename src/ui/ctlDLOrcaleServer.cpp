#include "ui/ctlDLOrcaleServer.h"

#include "datalinks/DataWarehouse.h"
#include "datalinks/DatabaseLists.h"
#include "ui/DropDownLists.h"

namespace torvik {

ctlDLOrcaleServer::ctlDLOrcaleServer(const PanelServices& services) : DataLinkPanel(services) {
  Writes(txtOracleServer, &cDataSource::strDSServer);
  Writes(txtOracleUser, &cDataSource::strDSUser);
  Writes(txtOraclePassword, &cDataSource::strDSPassword);
  Writes(cmbORADatabases, &cDataSource::strDSDatabase);
}

void ctlDLOrcaleServer::Blank(cDataSource& link) const {
  link.blnDSTrustedLogin = false;
  link.strDSConnectString.clear();
  link.strDSDirectory.clear();
  link.strDSFile.clear();
}

void ctlDLOrcaleServer::Show(const cDataSource& link) {
  txtOracleServer.Text.Set(link.strDSServer);
  txtOracleUser.Text.Set(link.strDSUser);
  txtOraclePassword.Text.Set(link.strDSPassword);
  cmbORADatabases.Text.Set(link.strDSDatabase);
}

void ctlDLOrcaleServer::cmdOracleServer_Click() {
  BrowseForServer(txtOracleServer, "Select your DataSource OracleServer...");
}

void ctlDLOrcaleServer::cmbORADatabases_DropDown() {
  const auto logon = [this] {
    return ServerLogon{txtOracleServer.Text.Get(), false, txtOracleUser.Text.Get(),
                       txtOraclePassword.Text.Get()};
  };
  ShowNames({EtlOracleSchemas, logon, ListOracleSchemas, "Connect to Oracle Server"},
            cmbORADatabases);
}

}  // namespace torvik
