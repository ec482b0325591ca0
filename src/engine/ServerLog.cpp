#include "engine/ServerLog.h"

#include <cstdio>
#include <random>
#include <utility>

#include "engine/Identifiers.h"
#include "engine/model/Problems.h"
#include "platform/Clock.h"
#include "platform/Dts.h"
#include "platform/Text.h"

namespace torvik::engine {
namespace {

/// What the tables' columns take, in characters.
constexpr std::size_t kLongestName = 128, kLongestDescription = 1000, kLongestError = 2000;

/// The errors of the package object are its numbers in a range of COM's; any other is COM's
/// "unspecified error".
constexpr std::int64_t kPackageErrors = -2147221504, kUnspecifiedError = -2147467259;

std::int64_t ErrorCodeOf(const PlatformError& failure) {
  for (const dts::Error known :
       {dts::Error::CyclicDependency, dts::Error::ExecutionCanceled, dts::Error::FailedOnStepError})
    if (failure.number == static_cast<long>(known) && failure.source == "package engine")
      return kPackageErrors + failure.number;
  return kUnspecifiedError;
}

ado::Value Cut(std::string_view text, std::size_t longest) {
  return std::string(FirstCharacters(text, longest));
}

ado::Value TextOrNull(std::string_view text, std::size_t longest) {
  return text.empty() ? ado::Value(ado::Null()) : Cut(text, longest);
}

std::int64_t NewShortLineage() {
  return static_cast<std::int64_t>(std::random_device()() & 0x7FFFFFFF);
}

}  // namespace

ServerLog::ServerLog(const ExecutionRequest& request, const PackageOrigin& origin,
                     std::function<void(const std::string&)> onTrouble)
    : request_(request),
      package_(request.package),
      origin_(origin),
      onTrouble_(std::move(onTrouble)),
      lineage_(NewIdentifier()),
      isOn_(package_.serverLog.isWanted) {}

void ServerLog::Begin() {
  Attempt([this] { WritePackage(); });
}

void ServerLog::Handle(const ExecutionEvent& event) {
  if (event.kind == ExecutionEvent::Kind::StepStarted)
    Attempt([&] { WriteStep(event.step); });
  else if (event.kind == ExecutionEvent::Kind::StepEnded)
    Attempt([&] { WriteStepEnd(event); });
}

void ServerLog::End(const PlatformError* failure) {
  Attempt([&] { WritePackageEnd(failure); });
}

template <class Action>
void ServerLog::Attempt(const Action& action) {
  if (!isOn_) return;
  try {
    action();
  } catch (const std::exception& error) {
    isOn_ = false;
    const std::string server = Logon().server;
    const std::string words =
        "the package's log on the server " + Quoted(server) +
        " cannot be written: " + request_.variables.WithoutPasswords(WordsOf(error));
    if (package_.serverLog.failsPackage)
      throw PlatformError(0, words + " (fail_on_log_failure)", "package engine");
    onTrouble_(words + "; the run goes on without it");
  }
}

StoreLogon ServerLog::Logon() const {
  const ServerLogModel& model = package_.serverLog;
  if (model.server.text.empty()) return origin_.logon;
  const Variables& variables = request_.variables;
  const std::string user = variables.Substitute(model.user.text);
  return {variables.Substitute(model.server.text), user.empty(), user,
          variables.Substitute(model.password.text)};
}

void ServerLog::WritePackage() {
  const EngineServices& services = request_.services;
  begin_ = services.clock.Steady();
  connection_ = OpenStore(services.databases, Logon());
  const auto columns = connection_->TableColumns("sysdtspackagelog");
  if (columns.empty())
    throw PlatformError(0,
                        "msdb has no table sysdtspackagelog; make it with torvik-admin server init",
                        "package engine");
  isSqlServer_ = columns[0].sql == ado::SqlKind::SqlServer;
  Execute(
      "INSERT INTO sysdtspackagelog (name, description, id, versionid, lineagefull, lineageshort, "
      "starttime, computer, operator) VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?)",
      {Cut(package_.name, kLongestName), TextOrNull(package_.description, kLongestDescription),
       origin_.id, origin_.versionId, lineage_, NewShortLineage(), Now(),
       Cut(services.computer, kLongestName), Cut(services.user, kLongestName)});
}

void ServerLog::WriteStep(const std::string& step) {
  Execute(
      "INSERT INTO sysdtssteplog (lineagefull, stepname, stepexecstatus, starttime) "
      "VALUES (?, ?, ?, ?)",
      {lineage_, Cut(step, kLongestName),
       static_cast<std::int64_t>(dts::StepExecutionStatus::InProgress), Now()});
}

/// A step that a loop runs again has a row for each time; the one without an end is the last.
void ServerLog::WriteStepEnd(const ExecutionEvent& event) {
  const auto result =
      event.failed ? dts::StepExecutionResult::Failure : dts::StepExecutionResult::Success;
  Execute(
      "UPDATE sysdtssteplog SET stepexecstatus = ?, stepexecresult = ?, endtime = ?, "
      "elapsedtime = ?, errorcode = ?, errordescription = ?, progresscount = ? "
      "WHERE lineagefull = ? AND stepname = ? AND endtime IS NULL",
      {static_cast<std::int64_t>(dts::StepExecutionStatus::Completed),
       static_cast<std::int64_t>(result), Now(), event.seconds,
       event.failed ? kUnspecifiedError : std::int64_t{0}, TextOrNull(event.text, kLongestError),
       event.rows ? ado::Value(*event.rows) : ado::Value(ado::Null()), lineage_,
       Cut(event.step, kLongestName)});
}

void ServerLog::WritePackageEnd(const PlatformError* failure) {
  const std::string words =
      failure == nullptr ? "" : request_.variables.WithoutPasswords(failure->what());
  Execute(
      "UPDATE sysdtspackagelog SET endtime = ?, elapsedtime = ?, errorcode = ?, "
      "errordescription = ? WHERE lineagefull = ?",
      {Now(), SecondsSinceBegin(), failure == nullptr ? std::int64_t{0} : ErrorCodeOf(*failure),
       TextOrNull(words, kLongestError), lineage_});
}

void ServerLog::Execute(const std::string& sql, std::initializer_list<ado::Value> values) {
  connection_->ExecuteWith(sql, {values.begin(), values.size()});
}

/// The tables are in local time. The T keeps a SQL Server from reading the date in the order of its
/// own language.
ado::Value ServerLog::Now() const {
  Clock& clock = request_.services.clock;
  const std::tm time = clock.LocalTime();
  const auto milliseconds =
      std::chrono::duration_cast<std::chrono::milliseconds>(clock.Now().time_since_epoch());
  char text[40];
  const char* const format = isSqlServer_ ? "%Y-%m-%dT%H:%M:%S" : "%Y-%m-%d %H:%M:%S";
  const auto length = std::strftime(text, sizeof text, format, &time);
  std::snprintf(text + length, sizeof text - length, ".%03d",
                static_cast<int>(milliseconds.count() % 1000));
  return std::string(text);
}

double ServerLog::SecondsSinceBegin() const {
  return std::chrono::duration<double>(request_.services.clock.Steady() - begin_).count();
}

}  // namespace torvik::engine
