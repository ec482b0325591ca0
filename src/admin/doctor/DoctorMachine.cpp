// Programs, directories, disks and the clock.

#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/timex.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <filesystem>

#include "admin/doctor/Doctor.h"
#include "platform/linux/LinuxPlatform.h"
#include "platform/linux/modules/Modules.h"
#include "platform/linux/system/FileSystems.h"
#include "platform/linux/system/Posix.h"
#include "platform/linux/system/ReplaceFile.h"
#include "platform/linux/system/WhoRuns.h"

namespace torvik::admin {
namespace {

constexpr RoomModule kOptional[] = {kOdbcModule,  kPostgresModule, kFtpModule,
                                    kSmbModule,   kMailModule,     kPingModule,
                                    kExcelModule, kAccessModule,   kRegexModule};

constexpr double kGigabyte = 1e9;
constexpr double kFewGigabytes = 1, kTooFewGigabytes = 0.1;
constexpr double kFewNodes = 10000;
/// A clock of a file system that differs by more puts logs and status files out of their order.
constexpr double kFarClockSeconds = 2;

std::string Gigabytes(double bytes) {
  char text[32];
  std::snprintf(text, sizeof text, "%.1f GB", bytes / kGigabyte);
  return text;
}

void CheckDisk(const std::string& what, const std::string& path, CheckReport& report) {
  struct statvfs disk {};
  if (statvfs(path.c_str(), &disk) != 0)
    return report.Problem(what, path + ": " + LastSystemError().message());
  const double bytes = static_cast<double>(disk.f_bavail) * static_cast<double>(disk.f_frsize);
  const std::string left = path + " has " + Gigabytes(bytes) + " left";
  const bool hasFewNodes = disk.f_files > 0 && disk.f_favail < kFewNodes;
  if (bytes < kTooFewGigabytes * kGigabyte)
    report.Problem(what, left + "; logs and databases need more: free some");
  else if (bytes < kFewGigabytes * kGigabyte)
    report.Warning(what, left + "; a night's load may need more");
  else if (hasFewNodes)
    report.Warning(
        what, path + " has room for " + std::to_string(disk.f_favail) + " files more; remove some");
  else
    report.Ok(what, left);
}

void CheckWritable(const std::string& what, const std::string& directory, CheckReport& report) {
  const std::string there = PlaceThere(directory);
  if (access(there.c_str(), W_OK | X_OK) != 0)
    return report.Problem(what, directory + ": the user " + UserName() + " may not write to " +
                                    there + "; run this as the user who runs the jobs, or give " +
                                    "that user the right");
  report.Ok(what, directory + (there == directory ? " is there" : " is made at its first use"));
  CheckDisk(what + ": disk", there, report);
}

/// What a drive or a share leads to; many are only read.
void CheckMapped(const std::string& what, const std::string& directory, CheckReport& report) {
  if (access(directory.c_str(), R_OK | X_OK) != 0)
    return report.Problem(what,
                          directory + ": " + LastSystemError().message() + "; is it mounted?");
  const bool isWritable = access(directory.c_str(), W_OK) == 0;
  report.Ok(what, directory + (isWritable ? " is there" : " is there, to be read alone"));
  if (isWritable) CheckDisk(what + ": disk", directory, report);
}

void CheckLocal(const std::string& what, const std::string& directory, CheckReport& report) {
  const std::string network = NetworkFileSystemOf(directory);
  if (network.empty()) return;
  report.Problem(what, directory + " lies on a network file system (" + network +
                           "); the databases of an embedded server belong on a disk of the "
                           "machine itself");
}

/// Seconds that the clock of the directory's file system is ahead; NaN when it cannot be asked.
double ClockOf(const std::string& directory) {
  const std::string path = directory + "/.torvik-clock-" + std::to_string(getpid());
  const auto before = std::chrono::system_clock::now();
  if (ReplaceFile(path, "", 0600)) return std::nan("");
  struct stat status {};
  const bool isKnown = stat(path.c_str(), &status) == 0;
  unlink(path.c_str());
  if (!isKnown) return std::nan("");
  const double now = std::chrono::duration<double>(before.time_since_epoch()).count();
  return static_cast<double>(status.st_mtim.tv_sec) + status.st_mtim.tv_nsec / 1e9 - now;
}

}  // namespace

void CheckPrograms(CheckReport& report) {
  for (const RoomModule& module : kOptional) {
    const std::string why = WhyUnusable(module);
    if (why.empty())
      report.Ok("module", std::string(module.use) + ": " + module.file);
    else
      report.Warning("module", std::string(module.use) + " would need " + why);
  }
  const std::filesystem::path runner =
      std::filesystem::read_symlink("/proc/self/exe").replace_filename("torvik");
  if (access(runner.c_str(), X_OK) == 0)
    report.Ok("runner", runner.string());
  else
    report.Problem("runner", runner.string() + ": " + LastSystemError().message() +
                                 "; torvik-admin run starts it: install the two together");
}

void CheckDirectories(const LinuxPlatform& platform, CheckReport& report) {
  const Settings& settings = platform.settings;
  CheckWritable("state directory", settings.stateDirectory, report);
  CheckWritable("temporary directory", settings.temporaryDirectory, report);
  for (const auto& [name, server] : settings.servers) {
    if (server.backend != "embedded") continue;
    CheckWritable("server " + name, server.directory, report);
    CheckLocal("server " + name, server.directory, report);
  }
  for (const auto& [letter, directory] : settings.drives)
    CheckMapped("drive " + letter, directory, report);
  for (const auto& [share, directory] : settings.shares)
    CheckMapped("share " + share, directory, report);
}

void CheckClock(const LinuxPlatform& platform, CheckReport& report) {
  struct timex clock {};
  const bool isSynchronized = adjtimex(&clock) != TIME_ERROR && (clock.status & STA_UNSYNC) == 0;
  if (isSynchronized)
    report.Ok("clock", "it is kept in step with others");
  else
    report.Warning("clock",
                   "nothing keeps it in step with others; schedules and the times of logs "
                   "may drift: set up systemd-timesyncd or chrony");
  const std::string directory = PlaceThere(platform.settings.stateDirectory);
  const double ahead = ClockOf(directory);
  if (std::isnan(ahead)) return;
  if (std::abs(ahead) > kFarClockSeconds)
    report.Warning("clock", "the file system of " + directory + " is " +
                                std::to_string(std::lround(ahead)) +
                                " seconds ahead of this machine; set both clocks");
}

}  // namespace torvik::admin
