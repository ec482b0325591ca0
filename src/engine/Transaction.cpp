#include "engine/Transaction.h"

#include "engine/Problems.h"
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

Transaction::Member& Transaction::Begin(const std::string& name,
                                        const ConnectionSettings& settings) {
  auto connection = OpenDatabase(databases_, name, settings);
  connection->BeginTrans();
  return members_.emplace_back(Member{name, settings, std::move(connection), false});
}

ado::Connection* Transaction::Find(const ConnectionSettings& settings) {
  const Member* member = FindMember(settings);
  return member ? member->connection.get() : nullptr;
}

ado::Connection& Transaction::Join(const std::string& name, const ConnectionSettings& settings) {
  Member* known = FindMember(settings);
  Member& member = known ? *known : Begin(name, settings);
  if (!member.usedInStep) member.connection->SetSavepoint();
  member.usedInStep = true;
  return *member.connection;
}

void Transaction::BeginStep() {
  for (Member& member : members_) member.usedInStep = false;
}

void Transaction::UndoStep(const std::string& reason) {
  try {
    for (Member& member : members_)
      if (member.usedInStep) member.connection->RollbackToSavepoint();
  } catch (const PlatformError& error) {
    Rollback();
    throw PlatformError(error.number,
                        reason +
                            "; the package's whole transaction is rolled back, because the step "
                            "cannot be undone alone: " +
                            error.what(),
                        error.source);
  }
}

void Transaction::Commit() {
  std::string committed;
  for (Member& member : members_) {
    try {
      member.connection->CommitTrans();
    } catch (const PlatformError& error) {
      const std::string name = Quoted(member.name);
      Rollback();
      throw PlatformError(error.number,
                          "the transaction on connection " + name +
                              " cannot be committed and is rolled back: " + error.what() +
                              (committed.empty() ? "" : "; committed before it:" + committed),
                          error.source);
    }
    committed += " " + Quoted(member.name);
  }
  members_.clear();
}

void Transaction::Rollback() {
  for (Member& member : members_) {
    try {
      member.connection->RollbackTrans();
    } catch (const PlatformError&) {
      // Closing the connection, below, ends its transaction without a commit.
    }
  }
  members_.clear();
}

}  // namespace torvik::engine
