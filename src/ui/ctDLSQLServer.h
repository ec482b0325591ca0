#pragma once

#include "ui/DataLinkPanel.h"

namespace torvik {

/// The panel of SQL Server databases.
class ctDLSQLServer final : public DataLinkPanel {
 public:
  explicit ctDLSQLServer(const PanelServices& services);

  TextBox txtSQLServer;
  CommandButton cmdSQLServer;
  OptionButton optSQLSecureLogin, optSQLUserLogin;
  Label lblSQLUser, lblSQLPassword;
  TextBox txtSQLUser, txtSQLPassword;
  ComboBox cmbSQLDatabases;

  void cmdSQLServer_Click();
  void cmbSQLDatabases_DropDown();

 private:
  void Blank(cDataSource& link) const override;
  void Show(const cDataSource& link) override;
};

}  // namespace torvik
