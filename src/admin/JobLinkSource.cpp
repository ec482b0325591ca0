#include <cstdint>
#include <limits>

#include "admin/JobCheck.h"
#include "datalinks/BuildConnection.h"
#include "datalinks/cDataSource.h"
#include "platform/Ado.h"
#include "platform/linux/LinuxPlatform.h"

namespace torvik::admin {
namespace {

using Kind = DirectoryState::Kind;

bool IsTransfer(const cDataSource& link) {
  return link.intTransferData == TransferFtp || link.intTransferData == TransferShare;
}

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
  const bool isFetched = IsTransfer(link);
  const DirectoryState state = LookAtDirectory(check.paths, link.strDSDirectory, isFetched);
  if (state.kind == Kind::There) {
    check.report.Ok(what, state.words);
  } else if (state.kind == Kind::CanBeMade && isFetched) {
    check.report.Ok(what, state.words + ", and the fetch makes it");
  } else {
    check.report.Problem(what, state.words + "; correct ds_directory, or make the directory");
  }
}

/// What is wrong with the times of a poll, or the empty text. The runner counts in 16 bits.
std::string TimesProblem(const cDataSource& link) {
  const int interval = link.intPollInterval;
  const int duration = link.intPollDuration;
  if (duration <= 0) {
    return "poll_duration is " + std::to_string(duration) +
           ", so the status is never read; write minutes from 1";
  }
  if (interval <= 0) {
    return "poll_interval is " + std::to_string(interval) +
           ", so the status is read without a pause and without an end; write minutes from 1";
  }
  const int reads = (duration + interval - 1) / interval;
  if (reads * interval > std::numeric_limits<std::int16_t>::max()) {
    return "poll_interval " + std::to_string(interval) + " and poll_duration " +
           std::to_string(duration) + " lead beyond 32767 minutes; write less";
  }
  return {};
}

std::string TimesInWords(const cDataSource& link) {
  const int reads = (link.intPollDuration + link.intPollInterval - 1) / link.intPollInterval;
  return "its status is read at most " + std::to_string(reads) + " times, " +
         std::to_string(link.intPollInterval) + " minutes apart";
}

std::string PlaceProblem(const cDataSource& link) {
  if (link.strDSDirectory.empty()) return "ds_directory is empty; name the local directory there";
  if (link.intTransferData == TransferFtp) {
    return link.strFTPServer.empty() ? "ftp_server is empty; name the server there" : "";
  }
  return link.strRemoteDir.empty() ? "remote_directory is empty; name the share there" : "";
}

std::string PlaceInWords(const cDataSource& link) {
  if (link.intTransferData == TransferShare) return "the share " + link.strRemoteDir;
  return "the directory " + (link.strRemoteDir.empty() ? "/" : link.strRemoteDir) +
         " of the FTP server " + link.strFTPServer;
}

void CheckTransfer(JobUnderCheck& check, const std::string& what, const cDataSource& link) {
  if (link.intTransferData == TransferNone) return;
  if (!IsTransfer(link)) {
    return check.report.Problem(what, "transfer_data is " + std::to_string(link.intTransferData) +
                                          ", and nothing is fetched; write 0 for nothing, 1 for "
                                          "FTP, 2 for a share");
  }
  const std::string place = PlaceProblem(link);
  const std::string problem = place.empty() ? TimesProblem(link) : place;
  if (!problem.empty()) return check.report.Problem(what, problem);
  check.report.NotChecked(what,
                          "would come from " + PlaceInWords(link) + "; " + TimesInWords(link));
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
  CheckTransfer(check, "remote data of " + link.strName, link);
}

}  // namespace torvik::admin
