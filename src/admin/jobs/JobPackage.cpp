#include <algorithm>
#include <optional>
#include <sstream>

#include "admin/common/Secrets.h"
#include "admin/jobs/JobCheck.h"
#include "config/JobVariables.h"
#include "engine/PackageDocument.h"
#include "engine/PackageStore.h"
#include "engine/model/Connections.h"
#include "engine/model/Providers.h"
#include "engine/model/RunnerVariables.h"
#include "engine/model/TextTemplate.h"
#include "engine/model/Variables.h"
#include "platform/Ado.h"
#include "platform/PlatformError.h"
#include "platform/Secrets.h"
#include "platform/linux/LinuxPlatform.h"

namespace torvik::admin {
namespace {

constexpr const char* kDataSource = "Data Source";
constexpr const char* kCatalogue = "Initial Catalog";

std::string ValueOf(const engine::ConnectionSettings& settings, const char* property) {
  const std::string* value = settings.Find(property);
  return value == nullptr ? "" : *value;
}

/// A workbook or an Access file is its whole data source.
bool IsFileProvider(std::string_view name) {
  return name.starts_with("Microsoft.");
}

class PackageCheck {
 public:
  explicit PackageCheck(JobUnderCheck& check) : check_(check), name_(check.job.DTSPackageName) {}

  void Run() {
    if (const auto text = LoadText()) {
      if (ReadDocument(*text)) return CheckConnections();
    }
    check_.report.NotChecked("connections", "the package cannot be used");
  }

 private:
  std::optional<std::string> LoadText() {
    const JobSettings& job = check_.job;
    const std::string server = "package server " + job.DTSServer;
    const std::string package = "package " + name_;
    std::optional<engine::PackageStore> store;
    try {
      const bool isTrusted = job.DTSServerTrustedLogin != VariantFalse;
      store.emplace(
          *check_.platform.databases,
          engine::StoreLogon{job.DTSServer, isTrusted, job.DTSLoginUserName, job.DTSLoginPassword});
      check_.report.Ok(server, "opened");
    } catch (const PlatformError& error) {
      check_.report.Problem(server, error.Description());
      check_.report.NotChecked(package, "its server cannot be opened");
      return {};
    }
    try {
      return store->Load(name_).text;
    } catch (const PlatformError& error) {
      check_.report.Problem(package, error.Description());
      return {};
    }
  }

  bool ReadDocument(const std::string& text) {
    std::string problems;
    try {
      package_ = engine::ReadPackageDocument(text, name_);
      for (const std::string& line : engine::CheckTwelve(package_)) problems += line + "\n";
    } catch (const PlatformError& error) {
      problems = error.Description();
    }
    std::istringstream lines(problems);
    for (std::string line; std::getline(lines, line);) {
      check_.report.Problem("package " + name_, line);
    }
    if (!problems.empty()) return false;
    for (const std::string& line : PlainPasswords(package_))
      check_.report.Warning("package " + name_, line);
    check_.report.Ok("package " + name_, "its document has no fault");
    return true;
  }

  void CheckConnections() {
    engine::Variables variables(package_.variables);
    JobSettings job = check_.job;  // setting the variables completes its log directory
    SetOwnVariables(variables);
    SetJobVariables(job, variables);
    for (const engine::GlobalVariable& variable : variables.All()) {
      if (IsPasswordName(variable.name)) {
        check_.report.AddSecret(engine::TextOf(variable.value));
      }
    }
    for (const engine::ConnectionModel& connection : package_.connections) {
      CheckConnection(connection, variables);
    }
    for (const engine::StepModel& step : package_.steps)
      if (const auto call = step.task->Job(); call && !step.disabled)
        CheckJobOf(step, variables.Substitute(call->file));
  }

  /// The job that a step runs.
  void CheckJobOf(const engine::StepModel& step, const std::string& file) {
    const std::string what = "step " + step.name + ", job " + file;
    std::vector<std::string> within = check_.within;
    within.push_back(check_.job.TorvConfigFile);
    if (std::ranges::find(within, file) != within.end())
      return check_.report.Problem(what, "the job would run inside itself; remove the step");
    try {
      JobUnderCheck job(check_.platform, file);
      job.within = within;
      CheckJob(job);
      check_.report.AddPart(what, job.report);
    } catch (const PlatformError& error) {
      check_.report.Problem(what, error.Description());
    }
  }

  void SetOwnVariables(engine::Variables& variables) {
    try {
      SetRunVariables(check_.job.Variables, "section [Variables]", *check_.platform.secrets,
                      variables);
    } catch (const PlatformError& error) {
      check_.report.Problem("job file", error.Description());
    }
  }

  void CheckConnection(const engine::ConnectionModel& connection,
                       const engine::Variables& variables) {
    const std::string what = "connection " + connection.name;
    if (const std::string open = OpenVariable(connection, variables); !open.empty()) {
      return check_.report.NotChecked(
          what, "its variable " + open + " is empty until a step of the package sets it");
    }
    engine::ConnectionSettings settings;
    try {
      const engine::FileServices files{*check_.platform.files, *check_.platform.codePages};
      settings = engine::ResolveConnection(package_, connection.name, variables, &files);
    } catch (const PlatformError& error) {
      return check_.report.Problem(what, error.Description());
    }
    check_.report.AddSecret(ValueOf(settings, "Password"));
    const std::string source = ValueOf(settings, kDataSource);
    const engine::ProviderRule* const rule = engine::FindProvider(settings.provider);
    const engine::ProviderRule& provider = rule ? *rule : engine::OtherProvider();
    if (provider.isTextFile) return CheckText(what, source);
    if (IsFileProvider(provider.name) && !RequireReadable(check_, what, source)) return;
    try {
      engine::OpenDatabase(*check_.platform.databases, connection.name, settings)->Close();
      const std::string database = ValueOf(settings, kCatalogue);
      check_.report.Ok(what,
                       "opened " + source + (database.empty() ? "" : ", database " + database));
    } catch (const PlatformError& error) {
      check_.report.Problem(what, error.Description());
    }
  }

  /// A variable of the package's own that says where the connection leads, and has no value before
  /// the package runs; else the empty text.
  static std::string OpenVariable(const engine::ConnectionModel& connection,
                                  const engine::Variables& variables) {
    for (const auto& property : connection.properties) {
      if (property.name != kDataSource && property.name != kCatalogue) continue;
      for (const auto& piece : engine::SplitTemplate(property.value.text)) {
        const std::string name(piece.text);
        const bool isOwn =
            piece.kind == engine::TemplatePiece::Kind::Variable && !engine::IsRunnerVariable(name);
        if (isOwn && variables.Text(name).empty()) return name;
      }
    }
    return {};
  }

  /// A text file may be brought by a data link or written by an earlier step.
  void CheckText(const std::string& what, const std::string& path) {
    if (const auto error = check_.files->CheckReadable(path)) {
      check_.report.NotChecked(
          what, path + ": " + error.message() + "; it must be there when its step starts");
    } else {
      check_.report.Ok(what, path + " can be read");
    }
  }

  JobUnderCheck& check_;
  const std::string name_;
  engine::PackageModel package_;
};

}  // namespace

void CheckPackage(JobUnderCheck& check) {
  if (check.job.DTSPackageName.empty() || check.job.DTSServer.empty()) {
    return check.report.NotChecked("package", "the job file does not say which, or where");
  }
  PackageCheck(check).Run();
}

}  // namespace torvik::admin
