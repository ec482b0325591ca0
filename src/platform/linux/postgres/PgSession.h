#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/Ado.h"
#include "platform/PlatformError.h"
#include "platform/linux/database/DatabaseLogon.h"
#include "platform/linux/database/PostgreSqlNames.h"
#include "platform/linux/postgres/PgErrors.h"
#include "platform/linux/postgres/PgResult.h"
#include "platform/linux/postgres/PgStatements.h"

struct pg_cancel;

namespace torvik {

/// One open connection to PostgreSQL. Cancel may be called from another thread, all else from one
/// at a time. Within a transaction a statement that fails undoes itself alone: each one runs behind
/// a savepoint of its own.
class PgSession {
 public:
  /// A parameter as text; nothing is NULL.
  using Parameter = std::optional<std::string>;

  /// Throws PlatformError when the server cannot be reached or refuses within the time; `errors`
  /// then holds what is said.
  PgSession(const DatabaseLogon& logon, int timeoutSeconds,
            std::vector<ado::ProviderError>& errors);
  ~PgSession();
  PgSession(const PgSession&) = delete;
  PgSession& operator=(const PgSession&) = delete;

  PGconn* Handle() const { return connection_; }
  const PostgreSqlNames& Names() const { return names_; }

  /// False once the server has gone away.
  bool IsAlive() const;

  /// The error of a result, or of the connection where there is none. Kept in Errors().
  PlatformError Failure(const PGresult* result, const std::string& place = "");
  /// An error that is not the server's own. Also kept in Errors().
  PlatformError Refusal(const std::string& reason);
  const std::vector<ado::ProviderError>& Errors() const { return errors_; }
  /// Puts back what Errors() held before an error was dealt with.
  void RestoreErrors(std::vector<ado::ProviderError> errors) { errors_ = std::move(errors); }

  /// The text with SQL Server's names in the server's way. Throws for a name out of reach.
  std::string Resolved(const std::string& sql);

  /// Runs one statement; throws when it fails.
  PgResult Run(const PgStatement& statement);
  PgResult Run(const std::string& sql) { return Run(PgStatement{sql}); }
  /// The same with a value for each of $1, $2, ..., whose types the server infers.
  PgResult RunWith(const PgStatement& statement, std::span<const Parameter> parameters);

  /// Has the server parse one statement and runs nothing; throws when it refuses it.
  void Prepare(const PgStatement& statement);

  /// Sends statements and answers the first result, whatever it is, with no savepoint. The caller
  /// takes the other results.
  PgResult Begin(const std::string& sql);
  /// Goes back to a savepoint, and forgets it, if the transaction has failed.
  void UndoTo(const std::string& point);
  /// The error of a result, with its line in the SQL text. `prefix` characters were sent before the
  /// statement.
  PlatformError FailureOf(const PgStatement& statement, const PGresult* result, int prefix);

  /// A name that this connection has not given yet.
  std::string NewName(const std::string& start) { return start + std::to_string(++namesGiven_); }

  /// Throws when the connection is busy with a bulk load or read that is not at its end.
  void RequireIdle();

  void BeginTrans();
  void EndTrans(bool commit);
  bool InTransaction() const { return inTransaction_; }
  /// Marks a point inside the transaction, or moves the point of that name.
  void SetPoint(const std::string& point);
  void RollbackToPoint(const std::string& point);
  void ReleasePoint(const std::string& point);
  /// True when the server is within a transaction that has not failed.
  bool IsInBlock() const;
  /// True when it is within one that can only be rolled back.
  bool HasFailedBlock() const;

  /// "SAVEPOINT", "RELEASE SAVEPOINT" or "ROLLBACK TO SAVEPOINT" for a point of our own.
  void RunOnPoint(const char* command, const std::string& point);

  /// Cancel ends what runs while one of these lives.
  class Running {
   public:
    explicit Running(PgSession& session);
    ~Running();
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;

   private:
    PgSession& session_;
  };
  void Cancel();
  /// Ends what is under way on this thread.
  void CancelOwn();

 private:
  PgResult Collect(bool skipsFirst);
  PgResult TryWith(const PgStatement& statement, std::span<const Parameter> parameters,
                   const std::vector<unsigned>& types);
  PgResult Complete(const PgStatement& statement, PgResult result, int prefix, bool hasPoint);
  bool NeedsPoint(const PgStatement& statement) const;
  PlatformError Keep(std::vector<ado::ProviderError> errors, bool isTransient);

  PGconn* connection_;
  pg_cancel* cancel_ = nullptr;
  PostgreSqlNames names_;
  std::vector<ado::ProviderError> errors_;
  bool inTransaction_ = false;
  std::vector<std::string> points_;  ///< Of the transaction.
  int namesGiven_ = 0;
  std::mutex runningGuard_;
  bool isRunning_ = false;
};

}  // namespace torvik
