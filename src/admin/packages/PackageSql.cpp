#include "admin/packages/PackageSql.h"

#include <algorithm>
#include <map>
#include <memory>

#include "admin/jobs/JobCheck.h"
#include "config/JobVariables.h"
#include "engine/model/Connections.h"
#include "engine/model/Problems.h"
#include "engine/model/TomlTable.h"
#include "engine/model/Variables.h"
#include "migrate/SqlAdvice.h"
#include "migrate/SqlWords.h"
#include "platform/Ado.h"
#include "platform/PlatformError.h"
#include "platform/Text.h"
#include "platform/linux/LinuxPlatform.h"
#include "platform/linux/database/DriverFamily.h"
#include "platform/linux/database/ServerPlace.h"
#include "platform/linux/odbc/AdoOdbc.h"

namespace torvik::admin {
namespace {

const engine::TomlValue* Find(const engine::TomlTable& table, const std::string& key) {
  for (const engine::TomlEntry& entry : table)
    if (entry.key == key) return &entry.value;
  return nullptr;
}

std::string TextIn(const engine::TomlTable& table, const std::string& key) {
  const engine::TomlValue* const value = Find(table, key);
  const auto* text = value == nullptr ? nullptr : std::get_if<std::string>(&value->data);
  return text == nullptr ? "" : *text;
}

/// Collects the texts of one step: its own, and those of lookups in it, which name their own
/// connections.
class StepTexts {
 public:
  StepTexts(std::string step, std::vector<PackageStatement>& found)
      : step_(std::move(step)), found_(found) {}

  void Take(const engine::TomlTable& table) {
    Add(table, "sql", "connection");
    Add(table, "source_sql", "source");
    for (const engine::TomlEntry& entry : table)
      if (entry.key != "original") TakeParts(entry.value);
  }

 private:
  void TakeParts(const engine::TomlValue& value) {
    if (const auto* table = std::get_if<engine::TomlTable>(&value.data)) Take(*table);
    if (const auto* list = std::get_if<engine::TomlArray>(&value.data))
      for (const engine::TomlValue& part : *list) TakeParts(part);
  }

  void Add(const engine::TomlTable& table, const std::string& key, const char* connection) {
    const std::string sql = TextIn(table, key), name = TextIn(table, connection);
    if (!sql.empty() && !name.empty())
      found_.push_back({step_, key, name, sql, Find(table, key)->place.line});
  }

  const std::string step_;
  std::vector<PackageStatement>& found_;
};

/// The tables that the package's own SQL makes: they need not be there yet.
std::vector<std::string> MadeTables(const std::vector<PackageStatement>& statements) {
  std::vector<std::string> tables;
  for (const PackageStatement& statement : statements) {
    const std::vector<migrate::SqlWord> words = migrate::SqlWordsOf(statement.sql);
    for (std::size_t at = 0; at + 1 < words.size(); ++at) {
      const bool isTable = EqualsIgnoringCase(words[at].text, "table") && at > 0 &&
                           !EqualsIgnoringCase(words[at - 1].text, "truncate");
      const bool isInto = EqualsIgnoringCase(words[at].text, "into") && at > 0 &&
                          !EqualsIgnoringCase(words[at - 1].text, "insert");
      if (!isTable && !isInto) continue;
      // The last of "DW.dbo.t"
      std::size_t name = at + 1;
      while (name + 2 < words.size() && words[name + 1].text == ".") name += 2;
      tables.push_back(LowerAscii(words[name].text));
    }
  }
  return tables;
}

/// Tries the texts of one package, with a connection for each that it names.
class Trial {
 public:
  Trial(LinuxPlatform& platform, const engine::PackageModel& package,
        const engine::Variables& variables, std::vector<std::string> made)
      : platform_(platform), package_(package), variables_(variables), made_(std::move(made)) {}

  void Try(const PackageStatement& statement) {
    const std::string place = package_.document + ", line " + std::to_string(statement.line) +
                              ": the step \"" + statement.step + "\", " + statement.key + ": ";
    const OpenServer& server = Server(statement.connection);
    if (!server.connection) return;
    try {
      server.connection->Prepare(variables_.Substitute(statement.sql));
    } catch (const PlatformError& error) {
      const std::string words = variables_.WithoutPasswords(error.Description());
      if (IsMade(words))
        return lines_.push_back(place +
                                "not tried to its end: a step of the package makes what it "
                                "needs (" +
                                words + ")");
      lines_.push_back(place + "its server does not take it: " + words +
                       (server.isSqlServer ? "" : Advice(statement.sql)));
    }
  }

  std::vector<std::string> Lines() { return std::move(lines_); }

 private:
  struct OpenServer {
    std::unique_ptr<ado::Connection> connection;
    bool isSqlServer = false;
  };

  /// Without a connection when it cannot be opened, which is said once.
  const OpenServer& Server(const std::string& name) {
    const auto known = servers_.find(name);
    if (known != servers_.end()) return known->second;
    OpenServer& server = servers_[name];
    try {
      const engine::FileServices files{*platform_.files, *platform_.codePages};
      const auto settings = engine::ResolveConnection(package_, name, variables_, &files);
      server.connection = engine::OpenDatabase(*platform_.databases, name, settings);
      server.isSqlServer = IsSqlServer(settings);
    } catch (const PlatformError& error) {
      lines_.push_back(package_.document + ": no SQL of the connection \"" + name +
                       "\" is tried: " + variables_.WithoutPasswords(error.Description()) +
                       "; what a job sets comes from a job file with --job");
    }
    return server;
  }

  bool IsSqlServer(const engine::ConnectionSettings& settings) const {
    const std::string* const source = settings.Find("Data Source");
    const ServerPlace place = FindServerPlace(platform_.settings, settings.provider,
                                              source ? *source : "", DriverOfDataSource);
    const DriverFamily family = FamilyOf(place.address.driver);
    return place.kind == ServerPlace::Kind::Odbc &&
           (family == DriverFamily::FreeTds || family == DriverFamily::MicrosoftSqlServer);
  }

  bool IsMade(const std::string& words) const {
    const std::string lower = LowerAscii(words);
    return std::ranges::any_of(
        made_, [&](const std::string& table) { return lower.find(table) != lower.npos; });
  }

  static std::string Advice(const std::string& sql) {
    std::string text;
    for (const std::string& advice : migrate::AdviceFor(sql)) text += "\n  " + advice;
    return text;
  }

  LinuxPlatform& platform_;
  const engine::PackageModel& package_;
  const engine::Variables& variables_;
  const std::vector<std::string> made_;
  std::map<std::string, OpenServer> servers_;
  std::vector<std::string> lines_;
};

}  // namespace

std::vector<PackageStatement> StatementsOf(const std::string& document) {
  engine::Problems problems("document");
  const engine::TomlTable table = engine::ParseToml(document, problems);
  std::vector<PackageStatement> statements;
  const engine::TomlValue* const steps = Find(table, "steps");
  const auto* list = steps == nullptr ? nullptr : std::get_if<engine::TomlArray>(&steps->data);
  if (list == nullptr) return statements;
  for (const engine::TomlValue& step : *list)
    if (const auto* own = std::get_if<engine::TomlTable>(&step.data))
      StepTexts(TextIn(*own, "name"), statements).Take(*own);
  return statements;
}

std::vector<std::string> TryStatements(LinuxPlatform& platform, const engine::PackageModel& package,
                                       const std::string& document, const std::string& job) {
  engine::Variables variables(package.variables);
  if (!job.empty()) {
    JobUnderCheck check(platform, job);
    SetRunVariables(check.job.Variables, job + ", section [Variables]", *platform.secrets,
                    variables);
    SetJobVariables(check.job, variables);
  }
  const std::vector<PackageStatement> statements = StatementsOf(document);
  Trial trial(platform, package, variables, MadeTables(statements));
  for (const PackageStatement& statement : statements) trial.Try(statement);
  return trial.Lines();
}

}  // namespace torvik::admin
