#include "admin/nights/NightPackage.h"

#include "admin/jobs/JobCheck.h"
#include "admin/jobs/JobFile.h"
#include "config/JobVariables.h"
#include "config/RunVariables.h"
#include "engine/PackageDocument.h"
#include "engine/PackageStore.h"
#include "engine/model/Variables.h"
#include "platform/linux/LinuxPlatform.h"

namespace torvik::admin {
namespace {

std::string Stored(LinuxPlatform& platform, const engine::StoreLogon& logon,
                   const std::string& name) {
  return engine::PackageStore(*platform.databases, logon).Load(name).text;
}

std::vector<std::string> RemarksOn(const engine::PackageModel& package) {
  std::vector<std::string> remarks;
  bool mayEnd = package.failOnError;
  for (const engine::StepModel& step : package.steps) mayEnd = mayEnd || step.failPackageOnError;
  if (mayEnd)
    remarks.push_back(
        "a failed step does not end the package here (fail_on_error, fail_package_on_error): steps "
        "that do not wait for it go on");
  return remarks;
}

}  // namespace

NightPackage ReadNight(LinuxPlatform& platform, const ServerChoice& choice, const std::string& what,
                       const std::vector<std::string>& variables) {
  engine::PackageModel package;
  engine::Variables values;
  if (what.ends_with(".etl")) {
    JobUnderCheck check(platform, what);
    JobSettings& job = check.job;
    package = engine::ReadPackageDocument(
        Stored(platform,
               {job.DTSServer, job.DTSServerTrustedLogin != VariantFalse, job.DTSLoginUserName,
                job.DTSLoginPassword},
               job.DTSPackageName),
        job.DTSPackageName);
    values.Declare(package.variables);
    SetRunVariables(job.Variables, what + ", section [Variables]", *platform.secrets, values);
    SetJobVariables(job, values);
  } else {
    const std::string text =
        what.ends_with(".toml")
            ? ReadText(*platform.files, what)
            : Stored(platform,
                     {choice.server, choice.user.empty(), choice.user, ReadPassword(choice)}, what);
    package = engine::ReadPackageDocument(text, what);
    values.Declare(package.variables);
  }
  SetRunVariables(VariablesOf(variables), "--var", *platform.secrets, values);
  return {package.name, nights::NightStepsOf(package, values), RemarksOn(package)};
}

}  // namespace torvik::admin
