#pragma once

#include "ui/DataLinkPanel.h"

namespace torvik {

/// The panel of Excel files.
class ctlDLExcelFiles final : public DataLinkPanel {
 public:
  explicit ctlDLExcelFiles(const PanelServices& services);

  TextBox txtExcelFile;
  CommandButton cmdExcelFile;
  TextBox txtExcelUser, txtExcelPassword;

  void cmdExcelFile_Click();

 private:
  void Blank(cDataSource& link) const override;
  void Show(const cDataSource& link) override;
};

}  // namespace torvik
