#include "datalinks/cDataSource.h"

#include "config/FileUtils.h"
#include "datalinks/FieldReaders.h"
#include "platform/Ado.h"

namespace torvik {
namespace {

constexpr ado::CursorOptions kReading{ado::CursorLocation::UseClient, ado::CursorType::Unspecified,
                                      ado::LockType::Pessimistic};
constexpr ado::CursorOptions kUpdating{ado::CursorLocation::UseClient, ado::CursorType::Dynamic,
                                       ado::LockType::Pessimistic};

}  // namespace

void cDataSource::Load(ado::Connection& dataWarehouse, const std::string&, const std::string&) {
  const auto row = dataWarehouse.OpenRecordset(
      "SELECT * FROM dwm_data_link WHERE dwm_data_link.model = " + strModelName +
          " AND dwm_data_link.source_name = " + strName,
      kReading);
  // The model is read as a number here, unlike in the load of a whole collection.
  strModelName = std::to_string(WholeNumberOf(row->Field("model")));
  ReadRow(*row);
  row->Close();
}

void cDataSource::ReadRow(const ado::Recordset& row) {
  const auto text = [&](const char* field) { return TextOf(row.Field(field)); };
  const auto whole = [&](const char* field) { return WholeNumberOf(row.Field(field)); };
  strName = text("source_name");
  etlType = whole("Type");
  strDSServer = text("ds_server");
  strDSDatabase = text("ds_database");
  blnDSTrustedLogin = TruthOf(row.Field("ds_trusted_login"));
  strDSUser = text("ds_user");
  strDSPassword = text("ds_password");
  strDSFile = text("ds_file");
  strDSDirectory = text("ds_directory");
  strDSConnectString = text("ds_connect_string");
  intTransferData = whole("transfer_data");
  strFTPServer = text("ftp_server");
  strFTPUser = text("ftp_user");
  strFTPPassword = text("ftp_password");
  strRemoteDir = text("remote_directory");
  intPollInterval = whole("poll_interval");
  intPollDuration = whole("poll_duration");
}

void cDataSource::Save(ado::Connection& dataWarehouse) {
  const auto row = dataWarehouse.OpenRecordset(
      "SELECT * FROM dwm_data_link WHERE model = " + dataWarehouse.Literal(strModelName) +
          " AND source_name = " + dataWarehouse.Literal(strName),
      kUpdating);
  AddDirectorySeparators();
  row->SetField("ds_server", strDSServer);
  row->SetField("ds_database", strDSDatabase);
  row->SetField("ds_trusted_login", std::int64_t{blnDSTrustedLogin});
  row->SetField("ds_user", strDSUser);
  row->SetField("ds_password", strDSPassword);
  row->SetField("ds_file", strDSFile);
  row->SetField("ds_directory", strDSDirectory);
  row->SetField("ds_connect_string", strDSConnectString);
  row->SetField("transfer_data", std::int64_t{intTransferData});
  row->SetField("ftp_server", strFTPServer);
  row->SetField("ftp_user", strFTPUser);
  row->SetField("ftp_password", strFTPPassword);
  row->SetField("remote_directory", strRemoteDir);
  row->SetField("poll_interval", std::int64_t{intPollInterval});
  row->SetField("poll_duration", std::int64_t{intPollDuration});
  row->Update();
  row->Close();
}

void cDataSource::AddDirectorySeparators() {
  if (etlType != EtlFlatFile) return;
  AddTrailingSeparator(strDSDirectory);
  if (intTransferData == TransferShare) AddTrailingSeparator(strRemoteDir);
  if (intTransferData == TransferFtp) AddTrailingSlash(strRemoteDir);
}

}  // namespace torvik
