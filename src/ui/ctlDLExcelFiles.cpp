#include "ui/ctlDLExcelFiles.h"

namespace torvik {

ctlDLExcelFiles::ctlDLExcelFiles(const PanelServices& services) : DataLinkPanel(services) {
  Writes(txtExcelFile, &cDataSource::strDSFile);
  Writes(txtExcelUser, &cDataSource::strDSUser);
  Writes(txtExcelPassword, &cDataSource::strDSPassword);
}

void ctlDLExcelFiles::Blank(cDataSource& link) const {
  BlankServerFields(link);
}

void ctlDLExcelFiles::Show(const cDataSource& link) {
  txtExcelFile.Text.Set(link.strDSFile);
  txtExcelUser.Text.Set(link.strDSUser);
  txtExcelPassword.Text.Set(link.strDSPassword);
}

void ctlDLExcelFiles::cmdExcelFile_Click() {
  BrowseForFile(txtExcelFile, "Browse for Excel File",
                "Microsoft Excel Files (*.xls)|*.xls|All Files (*.*)|*.*");
}

}  // namespace torvik
