#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "engine/Package.h"
#include "engine/PackageStore.h"
#include "fakes/FakeClock.h"
#include "fakes/FakeMailer.h"
#include "fakes/FakeWinInet.h"
#include "fakes/TemporaryDirectory.h"
#include "platform/CodePage.h"
#include "platform/EventLog.h"
#include "platform/Files.h"
#include "platform/PlatformError.h"
#include "platform/Process.h"
#include "platform/linux/sqlite/EmbeddedFixture.h"
#include "platform/linux/system/PosixFiles.h"
#include "platform/linux/system/PosixProcesses.h"
#include "platform/linux/text/IconvCodePages.h"

namespace torvik::engine {

/// How a step stands: S(uccess), F(ailure), W(aiting), P (in progress) or I(nactive).
inline char EndOf(const dts::Step& step) {
  switch (step.ExecutionStatus()) {
    case dts::StepExecutionStatus::Waiting: return 'W';
    case dts::StepExecutionStatus::InProgress: return 'P';
    case dts::StepExecutionStatus::Inactive: return 'I';
    case dts::StepExecutionStatus::Completed: break;
  }
  return step.ExecutionResult() == dts::StepExecutionResult::Failure ? 'F' : 'S';
}

struct RecordedEvents : dts::PackageEvents {
  void OnStart(std::string_view step) override { order += std::string(step) + "< "; }
  void OnProgress(std::string_view, std::int64_t) override {}
  void OnFetched(std::string_view, std::int64_t files, std::int64_t bytes) override {
    fetched = std::to_string(files) + " files, " + std::to_string(bytes) + " bytes";
  }
  void OnFinish(std::string_view step) override { order += std::string(step) + "> "; }
  void OnError(std::string_view step, std::string_view description) override {
    errors += std::string(step) + ": " + std::string(description) + "\n";
  }
  void OnLogTrouble(std::string_view description) override {
    errors += ": " + std::string(description) + "\n";
  }
  void OnNotRun(std::string_view step) override { notRun += std::string(step) + " "; }
  void OnIdle() override {}

  std::string order, notRun, errors;
  std::string fetched;  ///< The last that was told.
};

/// Cancels the package as soon as it waits.
struct Impatient final : RecordedEvents {
  explicit Impatient(dts::Package& running) : package(running) {}
  void OnIdle() override { package.Cancel(); }
  dts::Package& package;
};

struct RecordedLog final : EventLog {
  void Write(std::string_view text, bool failed) override {
    entries.push_back((failed ? "error: " : "information: ") + std::string(text));
  }
  std::vector<std::string> entries;
};

/// What a run of a package has left.
struct RunResult {
  std::string raised;  ///< Empty when Execute returned.
  long number = 0;
  std::string ends;  ///< Of each step, see EndOf.
  RecordedEvents events;
};

/// Packages on an embedded server of their own.
class EngineTest : public testing::Test {
 protected:
  /// The top of a document: the variables that tests use, and two connections to one database
  /// that do not wait for each other. Unless `keys` say how many, steps run one at a time.
  std::string Head(const std::string& name, const std::string& keys = "") const {
    const bool parallel = keys.find("max_concurrent_steps") != std::string::npos;
    return "name = \"" + name + "\"\n" + (parallel ? "" : "max_concurrent_steps = 1\n") + keys +
           R"toml(
[global_variables]
DTSServer = "(local)"
DTSServerTrustedLogin = true
DTSServerLoginUserName = ""
DTSServerLoginPassword = ""
WriteCompletionStatusToNT = false
Text = "text"
Flag = false
Count = 0
Ratio = 0.5
ExceptionFilePath = ")toml" +
           disk_.PathOf("") + R"toml("
[[connections]]
name = "dw"
provider = "SQLOLEDB"
properties = { "Data Source" = "(local)", "Initial Catalog" = "dw", "Connect Timeout" = 0 }
[[connections]]
name = "dw again"
provider = "SQLOLEDB"
properties = { "Connect Timeout" = 1, "Initial Catalog" = "dw", "Data Source" = "(local)" }
)toml";
  }

  static std::string Step(const std::string& name, const std::string& task,
                          const std::string& keys) {
    return "[[steps]]\nname = \"" + name + "\"\ntask = \"" + task + "\"\n" + keys + "\n";
  }

  /// An ExecuteSQL step on "dw", with further keys.
  static std::string Sql(const std::string& name, const std::string& sql,
                         const std::string& keys = "") {
    const bool elsewhere = keys.find("connection") != std::string::npos;
    return Step(name, "ExecuteSQL",
                "sql = \"" + sql + "\"\n" + (elsewhere ? "" : "connection = \"dw\"\n") + keys);
  }

  void Put(const std::string& name, const std::string& document) {
    PackageStore(server_.Databases(), {"(local)"}).Save(name, "", document, clock_);
  }

  std::unique_ptr<dts::Package> Load(const std::string& name) {
    auto package = host_->NewPackage();
    package->LoadFromSQLServer("(local)", "", "", dts::SqlServerStorageFlags::UseTrustedConnection,
                               "", "", "", name, "");
    return package;
  }

  static RunResult Run(dts::Package& package) {
    RunResult outcome;
    try {
      package.Execute(outcome.events);
    } catch (const PlatformError& error) {
      outcome.raised = error.Description();
      outcome.number = error.number;
    }
    for (int i = 1; i <= package.StepCount(); ++i) outcome.ends += EndOf(package.Step(i));
    return outcome;
  }

  RunResult Run(const std::string& name, const std::string& document) {
    Put(name, document);
    return Run(*Load(name));
  }

  /// The rows, with blanks between them.
  std::string Query(const std::string& sql) {
    std::string text = RowsOf(*warehouse_, sql);
    std::ranges::replace(text, '\n', ' ');
    return text;
  }

  EngineServices Services() {
    EngineServices services{server_.Databases(), *files_,   *codePages_, clock_,
                            *processes_,         eventLog_, mail_};
    services.computer = "etl1";
    services.user = "loader";
    services.newFtpClient = [this](std::function<void()> onWait, const FetchObserver&) {
      ftp_.onWait = std::move(onWait);
      return std::shared_ptr<wininet::Client>(std::shared_ptr<void>(), &ftp_);
    };
    return services;
  }

  TemporaryDirectory disk_;
  EmbeddedFixture server_;
  FakeClock clock_;
  std::unique_ptr<CodePages> codePages_ = NewIconvCodePages("windows-1252");
  std::unique_ptr<Files> files_ = NewPosixFiles(PathMap{}, *codePages_, disk_.PathOf(""));
  std::unique_ptr<Processes> processes_ = NewPosixProcesses();
  RecordedLog eventLog_;
  FakeMailer mail_;
  FakeWinInet ftp_;  ///< The one server that steps reach.
  std::unique_ptr<dts::PackageHost> host_ = NewPackageHost(Services());
  std::unique_ptr<ado::Connection> warehouse_ = server_.Open();
};

}  // namespace torvik::engine
