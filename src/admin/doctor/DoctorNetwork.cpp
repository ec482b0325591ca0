// Drivers, and whether other machines can be reached.

#include <unistd.h>

#include "admin/doctor/Doctor.h"
#include "platform/Ado.h"
#include "platform/NumberText.h"
#include "platform/PlatformError.h"
#include "platform/Profile.h"
#include "platform/linux/LinuxPlatform.h"
#include "platform/linux/database/DriverFamily.h"
#include "platform/linux/database/ServerPlace.h"
#include "platform/linux/odbc/AdoOdbc.h"
#include "platform/linux/shares/ServerReach.h"
#include "platform/linux/system/Posix.h"

namespace torvik::admin {
namespace {

constexpr const char* kAnyProvider = "SQLOLEDB";
constexpr int kReachSeconds = 5;
constexpr std::size_t kLongestPath = 4096;

void CheckReach(const std::string& what, const std::string& host, int port, CheckReport& report) {
  const std::string place = host + ", port " + std::to_string(port);
  const std::string why = WhyUnreachable(host, port, kReachSeconds);
  if (why.empty())
    report.Ok(what, place + " answers");
  else
    report.Problem(what,
                   place + ": " + why + "; is it up, and does a firewall let this machine in?");
}

/// As odbcinst.ini of the machine has it; false when there is a problem.
bool CheckDriver(LinuxPlatform& platform, const std::string& what, const std::string& driver,
                 CheckReport& report) {
  const char* const directory = std::getenv("ODBCSYSINI");
  const std::string file = std::string(directory == nullptr ? "/etc" : directory) + "/odbcinst.ini";
  const std::string library =
      driver.starts_with('/')
          ? driver
          : platform.profile->GetPrivateProfileStringA(driver, "Driver", "", kLongestPath, file);
  if (library.empty()) {
    report.Problem(what, "the driver " + driver + " is not in " + file +
                             "; install its package (tdsodbc, odbc-postgresql), or add it with "
                             "odbcinst");
    return false;
  }
  // A name without a directory is looked for as libraries are.
  if (library.find('/') != library.npos && access(library.c_str(), R_OK) != 0) {
    report.Problem(what, "the driver " + driver + ": " + library + ": " +
                             LastSystemError().message() + "; install its package");
    return false;
  }
  report.Ok(what, "its driver is " + driver + ", " + library);
  return true;
}

void CheckLogon(LinuxPlatform& platform, const std::string& server, CheckReport& report) {
  const std::string what = "server " + server;
  const auto connection = platform.databases->NewConnection();
  connection->SetProvider(kAnyProvider);
  connection->SetConnectionTimeout(kReachSeconds);
  connection->SetProperty("Data Source", server);
  try {
    connection->Open();
    report.Ok(what, "it lets the user of the settings in");
  } catch (const PlatformError& error) {
    report.Problem(what, error.Description());
  }
}

void CheckServerPlace(LinuxPlatform& platform, const std::string& server,
                      const ServerSettings& section, CheckReport& report) {
  const std::string what = "server " + server;
  const ServerPlace place =
      FindServerPlace(platform.settings, kAnyProvider, server, DriverOfDataSource);
  const ServerAddress& address = place.address;
  const bool isNative = place.kind == ServerPlace::Kind::PostgreSql;
  const bool needsDriver = !isNative && !address.driver.empty();
  if (needsDriver && !CheckDriver(platform, what, address.driver, report)) return;
  if (!section.logon.user.empty()) return CheckLogon(platform, server, report);
  const DriverFamily family = isNative ? DriverFamily::PostgreSql : FamilyOf(address.driver);
  const int usual = family == DriverFamily::PostgreSql                                ? 5432
                    : family == DriverFamily::Other || family == DriverFamily::Oracle ? 0
                                                                                      : 1433;
  const int port = address.port.empty() ? usual : NumberOf<int>(address.port).value_or(0);
  const bool isKnown = !address.host.empty() && port > 0 && !address.host.starts_with('/') &&
                       address.host.find('\\') == address.host.npos;
  if (!isKnown)
    return report.NotChecked(
        what, "its port is not in the settings; try torvik-admin server check " + server);
  CheckReach(what, address.host, port, report);
}

}  // namespace

void CheckNetwork(LinuxPlatform& platform, CheckReport& report) {
  const Settings& settings = platform.settings;
  for (const auto& [name, section] : settings.servers) {
    if (section.backend == "embedded") continue;
    try {
      CheckServerPlace(platform, name, section, report);
    } catch (const PlatformError& error) {
      report.Problem("server " + name, error.Description());
    }
  }
  for (const auto& [host, logon] : settings.ftp.logons)
    CheckReach("FTP server " + host, host, settings.ftp.port, report);
  for (const auto& [host, smb] : settings.smb)
    if (!host.empty()) CheckReach("shares of " + host, host, smb.port, report);
  const MailSettings& mail = settings.mail;
  const int mailPort = mail.port != 0 ? mail.port : mail.tls == MailTls::Smtps ? 465 : 25;
  if (!mail.server.empty()) CheckReach("mail server", mail.server, mailPort, report);
}

}  // namespace torvik::admin
