#include "ui/ctlDLAccesFiles.h"

namespace torvik {

ctlDLAccesFiles::ctlDLAccesFiles(const PanelServices& services) : DataLinkPanel(services) {
  Writes(txtAccessFile, &cDataSource::strDSFile);
  Writes(txtAccessUser, &cDataSource::strDSUser);
  Writes(txtAccessPassword, &cDataSource::strDSPassword);
}

void ctlDLAccesFiles::Blank(cDataSource& link) const {
  BlankServerFields(link);
}

void ctlDLAccesFiles::Show(const cDataSource& link) {
  txtAccessFile.Text.Set(link.strDSFile);
  txtAccessUser.Text.Set(link.strDSUser);
  txtAccessPassword.Text.Set(link.strDSPassword);
}

void ctlDLAccesFiles::cmdAccessFile_Click() {
  BrowseForFile(txtAccessFile, "Browse for Access File",
                "Microsoft Access Files (*.mdb)|*.mdb|All Files (*.*)|*.*");
}

}  // namespace torvik
