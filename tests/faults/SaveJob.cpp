// torvik-save-job JOB PACKAGE: reads a job file, gives its job another package and new passwords,
// and saves it with the section of a data link, as the form does.

#include <cstdio>
#include <exception>

#include "config/DataLinkSections.h"
#include "config/JobSettings.h"
#include "config/modIniFilesUtils.h"
#include "platform/linux/LinuxPlatform.h"

namespace {

using namespace torvik;

class OneLink final : public DataLinkSectionWriter {
 public:
  explicit OneLink(Profile& profile) : profile_(profile) {}
  void WriteDataLinkSections(const std::string& file) override {
    for (const char* key : {"Name", "ModelName", "Directory"})
      WriteIniString(profile_, "Data Source::orders", key, "orders", file);
  }

 private:
  Profile& profile_;
};

bool SaveJob(const std::string& file, const std::string& package) {
  const LinuxPlatform platform = NewLinuxPlatform([] {});
  OneLink link(*platform.profile);
  const JobFileServices services{*platform.profile, *platform.files, platform.codePages->Ansi(),
                                 *platform.clock, link};
  JobSettings job;
  job.TorvConfigFile = file;
  if (!job.ReadConfigFile(services)) return false;
  job.DTSPackageName = package;
  job.DTSLoginPassword = job.DWServerLoginPassword = "AbCdEfGh";
  std::error_code error;
  return job.WriteConfigFile(services, error);
}

}  // namespace

int main(int argc, char** argv) {
  try {
    if (argc == 3 && SaveJob(argv[1], argv[2])) return 0;
    std::fputs("torvik-save-job: the job file cannot be read or saved\n", stderr);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "torvik-save-job: %s\n", error.what());
  }
  return 1;
}
