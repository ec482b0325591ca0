// save-job JOB: loads a job file and the data links of its model, and saves it with their sections,
// as the form does. bench/overhead counts what that asks of the disk.

#include <chrono>
#include <cstdio>
#include <exception>

#include "config/JobSettings.h"
#include "datalinks/DataLinks.h"
#include "datalinks/DataWarehouse.h"
#include "platform/PlatformError.h"
#include "platform/linux/LinuxPlatform.h"

namespace {

using namespace torvik;

void SaveJob(const std::string& file) {
  const LinuxPlatform platform = NewLinuxPlatform([] {});
  DataLinks links(*platform.profile, platform.codePages->Ansi(), *platform.clock,
                  *platform.messages);
  const JobFileServices services{*platform.profile, *platform.files, platform.codePages->Ansi(),
                                 *platform.clock, links};
  JobSettings job;
  job.TorvConfigFile = file;
  std::string problem;
  DataWarehouse warehouse(*platform.databases);
  if (!job.ReadConfigFile(services)) throw PlatformError(0, file + " cannot be read", "save-job");
  if (!warehouse.ConnectDataWarehouse({job.DWServer, true}, job.DWDatabaseName, problem))
    throw PlatformError(0, problem, "save-job");
  std::vector<std::string> names;
  links.LoadDataLinks(warehouse.Connection(), job.DTSPackageName, names);
  const auto start = std::chrono::steady_clock::now();
  std::error_code error;
  if (!job.WriteConfigFile(services, error))
    throw PlatformError(0, file + " is not saved", "save-job");
  const std::chrono::duration<double, std::milli> taken = std::chrono::steady_clock::now() - start;
  std::printf("%zu %.1f\n", names.size(), taken.count());
}

}  // namespace

int main(int argc, char** argv) {
  try {
    if (argc == 2) return SaveJob(argv[1]), 0;
    std::fputs("usage: save-job JOB\n", stderr);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "save-job: %s\n", error.what());
  }
  return 1;
}
