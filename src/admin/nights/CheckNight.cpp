#include "admin/nights/CheckNight.h"

#include <filesystem>
#include <set>

#include "admin/common/CheckReport.h"
#include "admin/jobs/JobCheck.h"
#include "nights/Slurm.h"
#include "platform/PlatformError.h"
#include "platform/linux/LinuxPlatform.h"
#include "platform/linux/system/FileSystems.h"
#include "platform/linux/system/ProgramBeside.h"

namespace torvik::admin {
namespace {

class NightCheck {
 public:
  NightCheck(LinuxPlatform& platform, const NightPackage& package)
      : platform_(platform), package_(package) {}

  CheckReport Run() {
    for (const std::string& remark : package_.remarks) report_.Warning("package", remark);
    CheckSlurm();
    const Settings& settings = platform_.settings;
    CheckShared("program", ProgramBeside("torvik-admin"), "install the same version everywhere");
    if (!settings.sourceFile.empty())
      CheckShared("settings", settings.sourceFile, "give each machine the same file");
    CheckShared("state directory", settings.stateDirectory,
                "set TORVIK_STATE to a directory that all machines have: the night's verdicts "
                "come there");
    for (const auto& [letter, directory] : settings.drives)
      CheckShared("drive " + letter + ":", directory, "give each machine the same data there");
    for (const auto& [share, directory] : settings.shares)
      CheckShared("share " + share, directory, "mount it on each machine");
    for (const auto& [name, server] : settings.servers) CheckServer(name, server);
    for (const nights::NightStep& step : package_.steps)
      if (!step.isDisabled) CheckJobOf(step);
    return std::move(report_);
  }

 private:
  void CheckSlurm() {
    nights::Slurm slurm(*platform_.processes);
    try {
      const auto licences = slurm.Licences();
      report_.Ok("Slurm", "answers");
      std::set<std::string> limits;
      for (const nights::NightStep& step : package_.steps)
        limits.insert(step.limits.begin(), step.limits.end());
      for (const std::string& limit : limits)
        if (!licences.contains(limit))
          report_.Problem(
              "limit " + limit,
              "Slurm has no licence of this name; add it to Licenses in its slurm.conf");
    } catch (const PlatformError& error) {
      report_.Problem("Slurm", error.Description());
    }
  }

  void CheckShared(const std::string& what, const std::string& path, const std::string& advice) {
    if (const std::string network = NetworkFileSystemOf(path); !network.empty())
      report_.Ok(what, path + " (" + network + ")");
    else
      report_.Warning(what, path + " lies on a disk of this machine; " + advice);
  }

  void CheckServer(const std::string& name, const ServerSettings& server) {
    const std::string what = "server " + name;
    if (server.backend == "embedded") {
      const std::string network = NetworkFileSystemOf(server.directory);
      return report_.Problem(
          what, network.empty()
                    ? server.directory +
                          " is on this machine alone: jobs on others find an empty server; "
                          "put packages and warehouse on PostgreSQL or SQL Server, or let "
                          "one node run the night (--sbatch=--nodelist=NODE)"
                    : server.directory + " lies on a network file system (" + network +
                          "), where the locks of embedded databases do not hold; put packages and "
                          "warehouse on PostgreSQL or SQL Server");
    }
    if (!server.logon.password.credential.empty())
      report_.Problem(what, "its password is a credential of this machine's service manager (" +
                                server.logon.password.credential +
                                "); name a file that the nodes have (password_file)");
    else if (!server.logon.password.file.empty())
      CheckShared(what + ", password", server.logon.password.file, "give each node the file");
  }

  void CheckJobOf(const nights::NightStep& step) {
    const std::string what = "step " + step.name + ", job " + step.job;
    std::error_code error;
    const std::string path = platform_.settings.Paths().ToLinux(step.job, error);
    if (error) return report_.Problem(what, error.message());
    try {
      const JobUnderCheck job(platform_, step.job);
      CheckShared(what, std::filesystem::absolute(path), "put it where all machines have it");
    } catch (const PlatformError& problem) {
      report_.Problem(what, problem.Description());
    }
  }

  LinuxPlatform& platform_;
  const NightPackage& package_;
  CheckReport report_;
};

}  // namespace

int CheckNight(LinuxPlatform& platform, const NightPackage& package, bool json) {
  const CheckReport report = NightCheck(platform, package).Run();
  report.Print("night", package.name, json);
  return report.HasProblems() ? 1 : 0;
}

}  // namespace torvik::admin
