#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "engine/model/ScriptSource.h"
#include "engine/model/Task.h"
#include "engine/model/TomlTable.h"
#include "platform/Dts.h"

/// What a package document says, checked: every name in it refers to something that is there.
namespace torvik::engine {

struct GlobalVariable {
  std::string name;
  dts::Variant value;
  TextPlace place;
};

struct ConnectionProperty {
  std::string name;  ///< In the provider's own spelling.
  PlacedText value;  ///< May hold `${Name}`.
};

struct ConnectionModel {
  std::string name;
  std::string provider;
  std::vector<ConnectionProperty> properties;  ///< In the order of the document.
  TextPlace place;
  std::optional<PlacedText> dataLinkFile = {};  ///< Read whenever the connection is opened.
};

/// How another step must have ended.
enum class Outcome { Success, Failure, Completion };

struct Constraint {
  std::size_t step = 0;  ///< A position in PackageModel::steps.
  Outcome outcome = Outcome::Success;
};

struct StepModel {
  std::string name;
  std::string description;
  std::string taskKind;  ///< As the document names it: "ExecuteSQL".
  std::unique_ptr<const Task> task;
  std::string taskName;  ///< By which scripts find the task; steps may have one task together.
  TomlTable keys;        ///< As the document has them, for a task that is read anew.
  std::vector<Constraint> after;
  bool disabled = false;
  bool joinTransaction = false;
  bool commitSuccess = false;
  bool rollbackFailure = false;
  bool failPackageOnError = false;
  bool closeConnection = false;
  bool executeInMainThread = false;
  std::optional<ScriptSource> workflowScript;  ///< Decides whether the task runs.
  int priority = 3;                            ///< 1 to 5; the higher one first.
  std::vector<std::string> limits;             ///< What it uses that others use too.
  std::int64_t retries = 0;
  std::chrono::seconds retryDelay{10};
  std::optional<std::chrono::seconds> timeout;  ///< Of each attempt.
  TextPlace place;
};

/// Whether runs are logged in the tables of a server too, and in whose. Texts may hold `${Name}`.
struct ServerLogModel {
  bool isWanted = false;
  bool failsPackage = false;       ///< When the log cannot be written.
  PlacedText server = {};          ///< Empty: the server that the package was loaded from.
  PlacedText user, password = {};  ///< Without a user the account of the process logs on.
};

struct PackageModel {
  std::string document;  ///< How messages call the document.
  std::string name;
  std::string description;
  std::int64_t maxConcurrentSteps = 4;
  bool failOnError = false;
  bool useTransaction = true;
  bool autoCommitTransaction = true;
  bool writeCompletionStatusToNTEventLog = false;
  ServerLogModel serverLog = {};
  std::vector<GlobalVariable> variables;
  std::vector<ConnectionModel> connections;
  std::vector<StepModel> steps;
  TextPlace variablesPlace;
};

}  // namespace torvik::engine
