#include "engine/run/StepContext.h"

#include <utility>

#include "engine/model/EngineServices.h"
#include "engine/model/Variables.h"
#include "platform/Ado.h"
#include "platform/Clock.h"
#include "platform/PlatformError.h"

namespace torvik::engine {

using Kind = ExecutionEvent::Kind;

ConnectionSettings StepContext::Settings(const std::string& connection) const {
  return shared_.control.SettingsOf(connection);
}

ado::Connection& StepContext::Database(const std::string& connection) {
  const ConnectionSettings settings = Settings(connection);
  if (joined_) return shared_.transaction.Join(connection, settings, control_);
  besideTransaction_ = besideTransaction_ || shared_.transaction.Holds(settings);
  return OwnConnection(connection, settings);
}

ado::Connection& StepContext::ReadDatabase(const std::string& connection) {
  const ConnectionSettings settings = Settings(connection);
  if (joined_ && shared_.transaction.Holds(settings))
    return shared_.transaction.Join(connection, settings, control_);
  return OwnConnection(connection, settings);
}

ado::Connection& StepContext::FurtherDatabase(const std::string& connection, int number) {
  return OwnConnection(connection, Settings(connection), number);
}

ado::Connection& StepContext::OwnConnection(const std::string& name,
                                            const ConnectionSettings& settings, int number) {
  for (const Taken& one : taken_) {
    if (one.name != name || one.number != number || one.settings != settings) continue;
    control_.Hold(*one.connection);
    return *one.connection;
  }
  auto connection = shared_.connections.Take(name, settings, again_);
  ado::Connection& taken = *connection;
  taken_.push_back({name, number, settings, std::move(connection)});
  control_.Hold(taken);
  return taken;
}

void StepContext::LookForTransactions(bool areClosed) {
  for (Taken& one : taken_) {
    one.hasTransaction = one.connection->HasOpenTransaction().value_or(false);
    if (one.hasTransaction && areClosed)
      throw PlatformError(0, LostTransaction(step_.name, one.name), "package engine");
  }
}

void StepContext::GiveConnectionsBack() {
  for (Taken& one : taken_)
    shared_.connections.GiveBack(one.name, one.settings, std::move(one.connection),
                                 one.hasTransaction ? step_.name : "");
  taken_.clear();
}

void StepContext::Progress(std::int64_t rows) {
  TellNowAndThen({.kind = Kind::StepProgress, .step = step_.name, .rows = rows});
}

void StepContext::Fetched(std::int64_t files, std::int64_t bytes) {
  TellNowAndThen({.kind = Kind::StepFetches, .step = step_.name, .files = files, .bytes = bytes});
}

void StepContext::TellNowAndThen(ExecutionEvent progress) {
  constexpr std::chrono::milliseconds kInterval(100);
  const auto now = Services().clock.Steady();
  const std::lock_guard lock(progressMutex_);
  untold_ = std::move(progress);
  if (told_ && now - *told_ < kInterval) return;
  told_ = now;
  shared_.tell(*std::exchange(untold_, {}));
}

void StepContext::FinishProgress() {
  const std::lock_guard lock(progressMutex_);
  if (untold_) shared_.tell(*std::exchange(untold_, {}));
}

void StepContext::Output(std::string_view line) {
  shared_.tell({.kind = Kind::StepOutput,
                .step = step_.name,
                .text = shared_.request.variables.WithoutPasswords(std::string(line))});
}

}  // namespace torvik::engine
