#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/Ado.h"
#include "platform/PlatformError.h"
#include "platform/linux/database/DatabaseLogon.h"
#include "platform/linux/database/DriverFamily.h"
#include "platform/linux/odbc/OdbcCancelWatch.h"
#include "platform/linux/odbc/OdbcDialect.h"
#include "platform/linux/odbc/OdbcErrors.h"

namespace torvik {

/// The rows that a driver is still sending on a connection that carries one statement at a time.
class PendingRows {
 public:
  virtual ~PendingRows() = default;
  /// Takes the rest of the rows off the connection.
  virtual void ReadToEnd() = 0;
};

/// One open ODBC connection. Cancel may be called from another thread, all else from one at a time.
class OdbcSession {
 public:
  /// Throws PlatformError when the driver cannot be loaded or the server refuses within the time,
  /// with what the driver says and what was asked of it; `errors` then holds the same.
  OdbcSession(const DatabaseLogon& logon, int timeoutSeconds,
              std::vector<ado::ProviderError>& errors);
  ~OdbcSession();
  OdbcSession(const OdbcSession&) = delete;
  OdbcSession& operator=(const OdbcSession&) = delete;

  void* Handle() const { return connection_; }
  const OdbcDialect& Dialect() const { return *dialect_; }
  DriverFamily Family() const { return family_; }

  /// False once the server has gone away.
  bool IsAlive() const;

  /// What the driver has just reported about a handle, in its words; `place` begins the text. Also
  /// kept in Errors().
  PlatformError Failure(short handleType, void* handle, const std::string& place = "");

  /// The same of what it has reported earlier.
  PlatformError Failure(std::vector<OdbcDiagnostic> diagnostics, const std::string& place);

  /// An error that is not the driver's own. Also kept in Errors().
  PlatformError Refusal(const std::string& reason);

  /// True when the failure just made lies in the row that was to be stored.
  bool IsRowAtFault(const PlatformError& error) const;

  const std::vector<ado::ProviderError>& Errors() const { return errors_; }
  /// Puts back what a call that was made because of a failure has replaced.
  void RestoreErrors(std::vector<ado::ProviderError> errors) { errors_ = std::move(errors); }

  /// Every statement begins with this, in place of an earlier one's rows where the connection
  /// carries one statement at a time.
  void BeginStatement();
  /// Those whose rows are coming in; null when they are at their end.
  void SetPendingRows(PendingRows* rows) { pendingRows_ = rows; }
  void ForgetPendingRows(const PendingRows* rows);

  void BeginTrans();
  void EndTrans(bool commit);
  bool InTransaction() const { return inTransaction_; }
  /// Marks a point inside the transaction, or moves the point of that name.
  void SetPoint(const std::string& point);
  void RollbackToPoint(const std::string& point);

  /// Runs one statement without rows.
  void Run(const std::string& sql);

  /// Names the statement that Cancel ends, for as long as it lives; null: what runs is a bulk copy.
  class Running {
   public:
    Running(OdbcSession& session, void* statement);
    ~Running();
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;

   private:
    OdbcSession& session_;
  };
  void Cancel();
  /// True when the running statement, or else the last one, has been cancelled.
  bool IsCancelled() const { return cancelled_; }

  /// A text about the connection (SQLGetInfo).
  std::string Info(unsigned short what) const;

  /// The schema in which tables without one are looked for first.
  const std::string& DefaultSchema();

 private:
  void Connect(const DatabaseLogon& logon, int timeoutSeconds);
  void Close();
  void SetAutocommit(bool on);
  PlatformError Keep(std::vector<ado::ProviderError> errors, const std::string& place,
                     bool isTransient = false);

  void* environment_ = nullptr;
  void* connection_ = nullptr;
  bool isConnected_ = false;
  bool carriesOneStatement_ = true;
  DriverFamily family_ = DriverFamily::Other;
  std::unique_ptr<OdbcDialect> dialect_;
  std::vector<ado::ProviderError> errors_;
  std::vector<OdbcDiagnostic> diagnostics_;  ///< Of the last failure.
  PendingRows* pendingRows_ = nullptr;
  bool inTransaction_ = false;
  std::vector<std::string> points_;  ///< Of the transaction, in their order.
  std::string defaultSchema_;
  bool knowsDefaultSchema_ = false;
  std::mutex runningGuard_;
  bool isRunning_ = false;
  void* running_ = nullptr;
  int socket_ = -1;  ///< Of the connection, where the driver tells it.
  OdbcCancelWatch watch_;
  std::atomic<bool> cancelled_ = false;  ///< The running statement, or the last one.
};

}  // namespace torvik
