#include "datalinks/cDataSources.h"

#include "datalinks/FieldReaders.h"
#include "platform/Ado.h"

namespace torvik {
namespace {

cDataSource LinkOfRow(const ado::Recordset& row) {
  const auto text = [&](const char* field) { return TextOf(row.Field(field)); };
  const auto whole = [&](const char* field) { return WholeNumberOf(row.Field(field)); };
  cDataSource link;
  link.strModelName = text("model");
  link.strName = text("source_name");
  link.etlType = whole("Type");
  link.strDSServer = text("ds_server");
  link.strDSDatabase = text("ds_database");
  link.blnDSTrustedLogin = TruthOf(row.Field("ds_trusted_login"));
  link.strDSUser = text("ds_user");
  link.strDSPassword = text("ds_password");
  link.strDSFile = text("ds_file");
  link.strDSDirectory = text("ds_directory");
  link.strDSConnectString = text("ds_connect_string");
  link.intTransferData = whole("transfer_data");
  link.strFTPServer = text("ftp_server");
  link.strFTPUser = text("ftp_user");
  link.strFTPPassword = text("ftp_password");
  link.strRemoteDir = text("remote_directory");
  link.intPollDuration = whole("poll_duration");
  link.intPollInterval = whole("poll_interval");
  return link;
}

}  // namespace

void cDataSources::Load(ado::Connection& dataWarehouse, const std::string& strModelName) {
  const auto rows = dataWarehouse.OpenRecordset(
      "SELECT * FROM dwm_data_link WHERE dwm_data_link.model = '" + strModelName + "'",
      {ado::CursorLocation::UseClient, ado::CursorType::Unspecified, ado::LockType::Pessimistic});
  for (; !rows->Eof(); rows->MoveNext()) Add(LinkOfRow(*rows));
  rows->Close();
}

cDataSource& cDataSources::Add(cDataSource link) {
  links_.push_back(std::make_unique<cDataSource>(std::move(link)));
  return *links_.back();
}

cDataSource* cDataSources::getDSByName(const std::string& strDSName) {
  for (const auto& link : links_) {
    if (link->strName == strDSName) return link.get();
  }
  return nullptr;
}

}  // namespace torvik
