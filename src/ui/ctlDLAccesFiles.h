#pragma once

#include "ui/DataLinkPanel.h"

namespace torvik {

/// The panel of Access files.
class ctlDLAccesFiles final : public DataLinkPanel {
 public:
  explicit ctlDLAccesFiles(const PanelServices& services);

  TextBox txtAccessFile;
  CommandButton cmdAccessFile;
  TextBox txtAccessUser, txtAccessPassword;

  void cmdAccessFile_Click();

 private:
  void Blank(cDataSource& link) const override;
  void Show(const cDataSource& link) override;
};

}  // namespace torvik
