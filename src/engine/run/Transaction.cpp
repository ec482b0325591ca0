#include "engine/run/Transaction.h"

#include "engine/model/Problems.h"
#include "engine/run/StepCancellation.h"
#include "platform/Ado.h"
#include "platform/PlatformError.h"

namespace torvik::engine {

Transaction::Transaction(ado::Provider& databases) : databases_(databases) {}

Transaction::~Transaction() {
  Rollback();
}

Transaction::Member* Transaction::FindMember(const ConnectionSettings& settings) {
  for (Member& member : members_)
    if (member.settings.SameDatabase(settings)) return &member;
  return nullptr;
}

bool Transaction::Holds(const ConnectionSettings& settings) {
  const std::lock_guard lock(mutex_);
  return FindMember(settings) != nullptr;
}

Transaction::Member& Transaction::Begin(const std::string& name, const ConnectionSettings& settings,
                                        StepCancellation& control) {
  auto connection = OpenDatabase(databases_, name, settings);
  control.Hold(*connection);  // beginning may wait for a lock
  try {
    connection->BeginTrans();
  } catch (const PlatformError& error) {
    control.Release(*connection);
    throw error.Saying("the connection " + Quoted(name) +
                       " cannot join the package's transaction: " + error.what());
  }
  const std::lock_guard lock(mutex_);
  return members_.emplace_back(Member{name, settings, std::move(connection), false});
}

ado::Connection& Transaction::Join(const std::string& name, const ConnectionSettings& settings,
                                   StepCancellation& control) {
  Member* known = FindMember(settings);
  Member& member = known ? *known : Begin(name, settings, control);
  control.Hold(*member.connection);
  if (!member.usedInStep) MarkPoint(member);
  return *member.connection;
}

/// Without its own point a step could only go back to that of another one.
void Transaction::MarkPoint(Member& member) {
  try {
    member.connection->SetSavepoint();
  } catch (const PlatformError& error) {
    cannotUndo_ = error.what();
    throw;
  }
  member.usedInStep = true;
}

void Transaction::BeginStep() {
  for (Member& member : members_) member.usedInStep = false;
}

void Transaction::KeepStep() {
  for (const Member& member : members_) hasEarlierSteps_ = hasEarlierSteps_ || member.usedInStep;
}

std::optional<Transaction::Loss> Transaction::UndoStep() {
  try {
    for (Member& member : members_)
      if (member.usedInStep) member.connection->RollbackToSavepoint();
  } catch (const PlatformError& error) {
    cannotUndo_ = error.what();
  }
  if (cannotUndo_.empty()) return std::nullopt;
  const Loss loss{cannotUndo_, hasEarlierSteps_};
  Rollback();
  return loss;
}

void Transaction::Commit() {
  std::string committed;
  for (Member& member : members_) {
    try {
      member.connection->CommitTrans();
    } catch (const PlatformError& error) {
      const std::string name = Quoted(member.name);
      Rollback();
      throw error.Saying("the transaction on connection " + name +
                         " cannot be committed and is rolled back: " + error.what() +
                         (committed.empty() ? "" : "; committed before it:" + committed));
    }
    committed += " " + Quoted(member.name);
  }
  Clear();
}

void Transaction::Rollback() {
  for (Member& member : members_) {
    try {
      member.connection->RollbackTrans();
    } catch (const PlatformError&) {
      // Closing the connection, below, ends its transaction without a commit.
    }
  }
  Clear();
}

void Transaction::Clear() {
  const std::lock_guard lock(mutex_);
  members_.clear();
  hasEarlierSteps_ = false;
  cannotUndo_.clear();
}

}  // namespace torvik::engine
