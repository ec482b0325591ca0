#pragma once

#include "ui/DataLinkPanel.h"

namespace torvik {

/// The panel of flat files, and of where they are fetched from.
class ctDLlFlatFile final : public DataLinkPanel {
 public:
  explicit ctDLlFlatFile(const PanelServices& services);

  TextBox txtSourceDataDir;
  CommandButton cmdSourceDataDir;
  CheckBox cbSourceCopyRemData;
  OptionButton optSourceFromFTP, optSourceFromShare;
  Label lblSourceRemDataDir;
  TextBox txtSourceRemDataDir;
  CommandButton cmdSourceRemDataDir;
  Image imgRemoteDir, imgRemoteDirGrey;
  Label lblSourceFTPServer, lblSourceFTPUsername, lblSourceFTPPassword;
  TextBox txtSourceFTPServer, txtSourceFTPUsername, txtSourceFTPPassword;
  CommandButton cmdTestFTP;
  Label lblSourceRemPollInterval, lblPollIntMinutes;
  DigitsBox txtSourceRemPollInterval;
  Label lblSourceRemPollDuration, lblPollDurMinutes;
  DigitsBox txtSourceRemPollDuration;

  void cmdSourceDataDir_Click();
  void txtSourceDataDir_DblClick() { cmdSourceDataDir_Click(); }
  void txtSourceDataDir_LostFocus();
  void cmdSourceRemDataDir_Click();
  /// Looks at every file of the local directory; a box says how many can be read, or which one not
  /// and why.
  void cmdTest_Click() override;
  void cmdTestFTP_Click();

 private:
  void Blank(cDataSource& link) const override;
  void Show(const cDataSource& link) override;
  void WriteTransfer();
  void WritesMinutes(DigitsBox& box, std::int16_t cDataSource::*property);
  void EnableFields();
  void ShowPause();
};

}  // namespace torvik
