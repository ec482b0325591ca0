#include "admin/jobs/JobCheck.h"
#include "datalinks/BuildConnection.h"
#include "datalinks/cDataSource.h"
#include "platform/Ado.h"
#include "platform/linux/LinuxPlatform.h"

namespace torvik::admin {
namespace {

using Kind = DirectoryState::Kind;

void Open(JobUnderCheck& check, const std::string& what, const cDataSource& link,
          const std::string& server, const std::string& database) {
  std::unique_ptr<ado::Connection> connection;
  std::string errorText;
  const ServerLogon logon{server, link.blnDSTrustedLogin, link.strDSUser, link.strDSPassword};
  if (BuildConnection(*check.platform.databases, link.etlType, logon, connection, errorText,
                      database)) {
    check.report.Ok(what, "opened " + server + (database.empty() ? "" : ", database " + database));
  } else {
    check.report.Problem(what, server + " cannot be opened" + errorText);
  }
}

void CheckServer(JobUnderCheck& check, const std::string& what, const cDataSource& link) {
  if (link.strDSServer.empty()) {
    return check.report.Problem(what, "ds_server is empty; name the server there");
  }
  Open(check, what, link, link.strDSServer, link.strDSDatabase);
}

void CheckFile(JobUnderCheck& check, const std::string& what, const cDataSource& link) {
  const std::string& file = link.strDSFile.empty() ? link.strDSServer : link.strDSFile;
  if (file.empty()) return check.report.Problem(what, "ds_file is empty; name the file there");
  if (RequireReadable(check, what, file)) Open(check, what, link, file, "");
}

void CheckDirectory(JobUnderCheck& check, const std::string& what, const cDataSource& link) {
  if (link.strDSDirectory.empty()) {
    return check.report.Problem(what, "ds_directory is empty; name the local directory there");
  }
  const bool isFetched = IsFetched(link);
  const DirectoryState state = LookAtDirectory(check.paths, link.strDSDirectory, isFetched);
  if (state.kind == Kind::There) {
    check.report.Ok(what, state.words);
  } else if (state.kind == Kind::CanBeMade && isFetched) {
    check.report.Ok(what, state.words + ", and the fetch makes it");
  } else {
    check.report.Problem(what, state.words + "; correct ds_directory, or make the directory");
  }
}

}  // namespace

void CheckLinkSource(JobUnderCheck& check, const cDataSource& link) {
  const std::string what = "data link " + link.strName;
  switch (link.etlType) {
    case EtlSqlServer:
    case EtlOracle:
    case EtlOracleSchemas: CheckServer(check, what, link); break;
    case EtlExcel:
    case EtlAccess: CheckFile(check, what, link); break;
    case EtlFlatFile:
    case EtlQuorServer: CheckDirectory(check, what, link); break;
    default:
      check.report.NotChecked(what,
                              "nothing is opened for the kind " + std::to_string(link.etlType));
  }
  CheckRemoteData(check, link);
}

}  // namespace torvik::admin
