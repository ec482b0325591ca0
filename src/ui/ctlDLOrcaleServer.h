#pragma once

#include "ui/DataLinkPanel.h"

namespace torvik {

/// The panel of Oracle databases.
class ctlDLOrcaleServer final : public DataLinkPanel {
 public:
  explicit ctlDLOrcaleServer(const PanelServices& services);

  TextBox txtOracleServer;
  CommandButton cmdOracleServer;
  TextBox txtOracleUser, txtOraclePassword;
  ComboBox cmbORADatabases;

  void cmdOracleServer_Click();
  void cmbORADatabases_DropDown();

 private:
  void Blank(cDataSource& link) const override;
  void Show(const cDataSource& link) override;
};

}  // namespace torvik
