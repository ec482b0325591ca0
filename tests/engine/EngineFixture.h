#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "engine/Package.h"
#include "engine/PackageStore.h"
#include "platform/Ado.h"
#include "platform/Clock.h"
#include "platform/CodePage.h"
#include "platform/EventLog.h"
#include "platform/Files.h"
#include "platform/PlatformError.h"
#include "platform/Process.h"
#include "platform/linux/AdoServers.h"
#include "platform/linux/EmbeddedServer.h"
#include "platform/linux/IconvCodePages.h"
#include "platform/linux/PosixFiles.h"
#include "platform/linux/PosixProcesses.h"
#include "platform/linux/SystemClock.h"

namespace torvik::engine {

struct RecordedEvents final : dts::PackageEvents {
  void OnStart(std::string_view step) override { order += std::string(step) + " "; }
  void OnProgress(std::string_view, std::int64_t rows) override { lastRows = rows; }
  void OnFinish(std::string_view step) override { finished += std::string(step) + " "; }
  void OnError(std::string_view step, std::string_view description) override {
    errors += std::string(step) + ": " + std::string(description) + "\n";
  }
  void OnIdle() override {}

  std::string order, finished, errors;
  std::int64_t lastRows = 0;
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
  std::string ends;  ///< Of each step: S(uccess), F(ailure), W(aiting), I(nactive).
  RecordedEvents events;
};

/// Packages on an embedded server of their own, in a directory that goes away afterwards.
class EngineTest : public testing::Test {
 protected:
  EngineTest() {
    CreateEmbeddedServer(directory_);
    CreateWarehouse(directory_, "dw");
    host_ = NewPackageHost({*databases_, *files_, *codePages_, *clock_, *processes_, eventLog_});
    warehouse_ = Open("dw");
  }
  ~EngineTest() override { std::filesystem::remove_all(directory_); }

  std::unique_ptr<ado::Connection> Open(const std::string& database) {
    auto connection = databases_->NewConnection();
    connection->SetProvider("SQLOLEDB");
    connection->SetProperty("Data Source", "(local)");
    connection->SetProperty("Initial Catalog", database);
    connection->Open();
    return connection;
  }

  /// The top of a document: the variables that tests use, and two connections to one database
  /// that do not wait for each other.
  std::string Head(const std::string& name, const std::string& keys = "") const {
    return "name = \"" + name + "\"\n" + keys + R"toml(
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
           directory_ + R"toml(/"
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

  /// An ExecuteSQL step, with further keys.
  static std::string Sql(const std::string& name, const std::string& sql,
                         const std::string& keys = "") {
    return "[[steps]]\nname = \"" + name + "\"\ntask = \"ExecuteSQL\"\nsql = \"\"\"" + sql +
           "\"\"\"\n" +
           (keys.find("connection") == std::string::npos ? "connection = \"dw\"\n" : "") + keys +
           "\n";
  }

  void Put(const std::string& name, const std::string& document) {
    PackageStore(*databases_, {"(local)"}).Save(name, "", document, *clock_);
  }

  std::unique_ptr<dts::Package> Load(const std::string& name, const std::string& version = "") {
    auto package = host_->NewPackage();
    package->LoadFromSQLServer("(local)", "", "", dts::SqlServerStorageFlags::UseTrustedConnection,
                               "", "", version, name, "");
    return package;
  }

  RunResult Run(dts::Package& package) {
    RunResult outcome;
    try {
      package.Execute(outcome.events);
    } catch (const PlatformError& error) {
      outcome.raised = error.Description();
      outcome.number = error.number;
    }
    for (int i = 1; i <= package.StepCount(); ++i) {
      const dts::Step& step = package.Step(i);
      const char ends[] = {'W', 'P', 'I', 'S'};
      const bool failed = step.ExecutionResult() == dts::StepExecutionResult::Failure;
      outcome.ends += failed ? 'F' : ends[static_cast<int>(step.ExecutionStatus()) - 1];
    }
    return outcome;
  }

  RunResult Run(const std::string& name, const std::string& document) {
    Put(name, document);
    return Run(*Load(name));
  }

  /// The first column of every row, each followed by a blank.
  std::string Query(const std::string& sql) {
    std::string text;
    for (auto row = warehouse_->OpenRecordset(sql, {}); !row->Eof(); row->MoveNext()) {
      const ado::Value value = row->Field(0);
      if (const auto* number = std::get_if<std::int64_t>(&value)) text += std::to_string(*number);
      if (const auto* word = std::get_if<std::string>(&value)) text += *word;
      text += ' ';
    }
    return text;
  }

  std::string PathOf(const std::string& file) const { return directory_ + "/" + file; }
  std::string Read(const std::string& file) const {
    std::ifstream stream(PathOf(file), std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
  }
  void Write(const std::string& file, const std::string& text) const {
    std::ofstream(PathOf(file), std::ios::binary) << text;
  }

  std::string directory_ = [] {
    std::string name = std::filesystem::temp_directory_path() / "torvik-engine-XXXXXX";
    return std::string(mkdtemp(name.data()));
  }();
  std::unique_ptr<CodePages> codePages_ = NewIconvCodePages("windows-1252");
  std::unique_ptr<Files> files_ = NewPosixFiles(PathMap{}, *codePages_, directory_ + "/");
  std::unique_ptr<Clock> clock_ = NewSystemClock();
  std::unique_ptr<Processes> processes_ = NewPosixProcesses();
  std::unique_ptr<ado::Provider> databases_ = NewAdoProvider([this](const std::string& server) {
    return server == "(local)" ? std::optional(ServerPlace{"embedded", directory_}) : std::nullopt;
  });
  RecordedLog eventLog_;
  std::unique_ptr<dts::PackageHost> host_;
  std::unique_ptr<ado::Connection> warehouse_;
};

}  // namespace torvik::engine
