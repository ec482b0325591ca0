#include "platform/linux/odbc/OdbcSession.h"

#include <sql.h>
#include <sqlext.h>

#include <algorithm>
#include <utility>

#include "platform/linux/database/ConnectionText.h"
#include "platform/linux/odbc/OdbcBulkCopy.h"
#include "platform/linux/odbc/OdbcStatement.h"
#include "platform/linux/text/Utf16.h"

namespace torvik {
namespace {

constexpr const char* kSource = "ODBC";

SQLPOINTER Pointer(std::uintptr_t value) {
  return reinterpret_cast<SQLPOINTER>(value);
}

/// What to do when FreeTDS gives up by itself, as its first error says.
std::string FreeTdsAdvice(long number, const DatabaseLogon& logon) {
  constexpr long kCannotReach = 20009, kNoNumber = 0;
  const ServerAddress& address = logon.address;
  if (number == kCannotReach && address.port.empty() &&
      address.host.find('\\') != std::string::npos)
    return "the instance's port is asked of UDP port 1434 of its machine; if that is closed, add "
           "port = NUMBER to the server's section of torvik.conf";
  if (number == kNoNumber && logon.isTrusted)
    return "a trusted logon needs a Kerberos ticket of this account (klist shows it); where the "
           "domain knows the server by another name, add ServerSPN = NAME to the server's section "
           "of torvik.conf";
  return "";
}

/// What to do about a connection that could not be made.
std::string Advice(const std::vector<ado::ProviderError>& errors, const DatabaseLogon& logon) {
  const ServerAddress& address = logon.address;
  const std::string texts = InOneLine(errors);
  const bool isFreeTds = FamilyOf(address.driver) == DriverFamily::FreeTds;
  if (texts.find("IM002") == std::string::npos && texts.find("IM003") == std::string::npos &&
      texts.find("Can't open lib") == std::string::npos)
    return isFreeTds && !errors.empty() ? FreeTdsAdvice(errors[0].number, logon) : "";
  const char* package = "";
  if (isFreeTds) package = " (Debian package tdsodbc)";
  if (FamilyOf(address.driver) == DriverFamily::PostgreSql)
    package = " (Debian package odbc-postgresql)";
  return "install the ODBC driver \"" + address.driver + "\"" + package +
         "; odbcinst -q -d lists the drivers that are there";
}

}  // namespace

OdbcSession::OdbcSession(const DatabaseLogon& logon, int timeoutSeconds,
                         std::vector<ado::ProviderError>& errors) {
  try {
    Connect(logon, timeoutSeconds);
  } catch (...) {
    errors = errors_;
    Close();
    throw;
  }
}

OdbcSession::~OdbcSession() {
  Close();
}

void OdbcSession::Close() {
  if (isConnected_) {
    // What was not committed must not be: a driver may refuse to disconnect within a transaction.
    SQLEndTran(SQL_HANDLE_DBC, connection_, SQL_ROLLBACK);
    SQLDisconnect(connection_);
  }
  if (connection_ != nullptr) SQLFreeHandle(SQL_HANDLE_DBC, connection_);
  if (environment_ != nullptr) SQLFreeHandle(SQL_HANDLE_ENV, environment_);
}

void OdbcSession::Connect(const DatabaseLogon& logon, int timeoutSeconds) {
  if (!SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &environment_)))
    throw Refusal("the ODBC driver manager cannot be started: no memory");
  SQLSetEnvAttr(environment_, SQL_ATTR_ODBC_VERSION, Pointer(SQL_OV_ODBC3), 0);
  if (!SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_DBC, environment_, &connection_)))
    throw Failure(SQL_HANDLE_ENV, environment_);
  SQLSetConnectAttr(connection_, SQL_ATTR_LOGIN_TIMEOUT,
                    Pointer(static_cast<std::uintptr_t>(std::max(timeoutSeconds, 1))), 0);
  family_ = FamilyOf(logon.address.driver);
  if (family_ == DriverFamily::FreeTds) OdbcBulkCopy::Enable(connection_);
  std::u16string text = ToUtf16(ConnectionText(logon));
  if (!SQL_SUCCEEDED(SQLDriverConnectW(
          connection_, nullptr, reinterpret_cast<SQLWCHAR*>(text.data()),
          static_cast<SQLSMALLINT>(text.size()), nullptr, 0, nullptr, SQL_DRIVER_NOPROMPT))) {
    const auto diagnostics = OdbcDiagnostics(SQL_HANDLE_DBC, connection_);
    auto errors = ErrorsOf(diagnostics);
    const std::string advice = Advice(errors, logon);
    if (!advice.empty()) errors.push_back({0, advice});
    errors.push_back({0, "asked for: " + ShownConnectionText(logon)});
    throw Keep(std::move(errors), "", IsTransient(diagnostics));
  }
  isConnected_ = true;
  if (family_ == DriverFamily::FreeTds) socket_ = OdbcBulkCopy::SocketOf(connection_);
  dialect_ =
      std::make_unique<OdbcDialect>(Info(SQL_DBMS_NAME), logon.database, Info(SQL_DATABASE_NAME));
  SQLUSMALLINT activities = 0;
  SQLGetInfoW(connection_, SQL_MAX_CONCURRENT_ACTIVITIES, &activities, sizeof activities, nullptr);
  carriesOneStatement_ = activities == 1 || dialect_->Server() == OdbcServer::SqlServer;
  if (const std::string sql = dialect_->SessionSql(); !sql.empty()) Run(sql);
}

std::string OdbcSession::Info(unsigned short what) const {
  std::u16string text(512, u'\0');
  SQLSMALLINT bytes = 0;
  const auto size = static_cast<SQLSMALLINT>(text.size() * sizeof(char16_t));
  if (!SQL_SUCCEEDED(SQLGetInfoW(connection_, what, text.data(), size, &bytes))) return "";
  text.resize(std::min<std::size_t>(static_cast<std::size_t>(bytes) / sizeof(char16_t), 511));
  return FromUtf16(text);
}

bool OdbcSession::IsAlive() const {
  SQLUINTEGER dead = SQL_CD_FALSE;
  const SQLRETURN code =
      SQLGetConnectAttrW(connection_, SQL_ATTR_CONNECTION_DEAD, &dead, sizeof dead, nullptr);
  return !SQL_SUCCEEDED(code) || dead != SQL_CD_TRUE;
}

PlatformError OdbcSession::Failure(short handleType, void* handle, const std::string& place) {
  return Failure(OdbcDiagnostics(handleType, handle), place);
}

PlatformError OdbcSession::Failure(std::vector<OdbcDiagnostic> diagnostics,
                                   const std::string& place) {
  diagnostics_ = std::move(diagnostics);
  auto errors = ErrorsOf(diagnostics_);
  // A driver may clear its errors when it is told to cancel.
  if (errors.empty() && cancelled_) errors = {{0, "the statement was cancelled"}};
  const bool isLost = !IsAlive();
  if (watch_.HasClosed())
    errors.insert(errors.begin(), {0,
                                   "the server did not answer when it was told to cancel, and "
                                   "the connection is closed"});
  if (isLost) errors.push_back({0, "the connection to the server is lost; open it again"});
  return Keep(std::move(errors), place, !cancelled_ && (isLost || IsTransient(diagnostics_)));
}

bool OdbcSession::IsRowAtFault(const PlatformError& error) const {
  return !cancelled_ && !error.isTransient && !diagnostics_.empty() &&
         torvik::IsRefusal(diagnostics_[0]) && IsAlive();
}

PlatformError OdbcSession::Refusal(const std::string& reason) {
  return Keep({{0, reason}}, "");
}

PlatformError OdbcSession::Keep(std::vector<ado::ProviderError> errors, const std::string& place,
                                bool isTransient) {
  errors_ = std::move(errors);
  if (!place.empty() && !errors_.empty()) errors_[0].description.insert(0, place + ": ");
  PlatformError error(errors_.empty() ? 0 : errors_[0].number, InOneLine(errors_), kSource);
  error.isTransient = isTransient;
  return error;
}

void OdbcSession::BeginStatement() {
  errors_.clear();
  if (carriesOneStatement_ && pendingRows_ != nullptr)
    std::exchange(pendingRows_, nullptr)->ReadToEnd();
}

void OdbcSession::ForgetPendingRows(const PendingRows* rows) {
  if (pendingRows_ == rows) pendingRows_ = nullptr;
}

void OdbcSession::Run(const std::string& sql) {
  OdbcStatement(*this).Execute(sql);
}

void OdbcSession::SetAutocommit(bool on) {
  const SQLRETURN code =
      SQLSetConnectAttrW(connection_, SQL_ATTR_AUTOCOMMIT,
                         Pointer(on ? SQL_AUTOCOMMIT_ON : SQL_AUTOCOMMIT_OFF), SQL_IS_UINTEGER);
  if (!SQL_SUCCEEDED(code)) throw Failure(SQL_HANDLE_DBC, connection_);
}

void OdbcSession::BeginTrans() {
  if (inTransaction_) throw Refusal("a transaction is open already");
  BeginStatement();
  if (const std::string sql = dialect_->BeginSql(); !sql.empty()) {
    Run(sql);
  } else {
    SetAutocommit(false);
  }
  inTransaction_ = true;
  points_.clear();
  // PostgreSQL's driver undoes the whole transaction when the first statement in it fails that is
  // no savepoint, and the points with it.
  if (dialect_->Server() == OdbcServer::PostgreSql) Run("SELECT 1");
}

void OdbcSession::EndTrans(bool commit) {
  if (!inTransaction_) throw Refusal("no transaction is open");
  BeginStatement();
  if (!commit) inTransaction_ = false;
  if (const std::string sql = dialect_->EndSql(commit); !sql.empty()) {
    Run(sql);
  } else {
    if (!SQL_SUCCEEDED(SQLEndTran(SQL_HANDLE_DBC, connection_, commit ? SQL_COMMIT : SQL_ROLLBACK)))
      throw Failure(SQL_HANDLE_DBC, connection_);
    SetAutocommit(true);
  }
  inTransaction_ = false;
}

void OdbcSession::SetPoint(const std::string& point) {
  if (!inTransaction_) throw Refusal("a savepoint needs a transaction, and none is open");
  const std::string release = dialect_->ReleasePointSql(point);
  // A point goes with those that were set after it.
  const auto earlier = std::ranges::find(points_, point);
  if (earlier != points_.end()) {
    points_.erase(earlier, points_.end());
    if (!release.empty()) Run(release);
  }
  Run(dialect_->SetPointSql(point));
  points_.push_back(point);
}

void OdbcSession::RollbackToPoint(const std::string& point) {
  Run(dialect_->RollbackToPointSql(point));
  const auto set = std::ranges::find(points_, point);
  if (set != points_.end()) points_.erase(set + 1, points_.end());
}

OdbcSession::Running::Running(OdbcSession& session, void* statement) : session_(session) {
  const std::lock_guard guard(session_.runningGuard_);
  session_.isRunning_ = true;
  session_.running_ = statement;
  session_.cancelled_ = false;
}

OdbcSession::Running::~Running() {
  const std::lock_guard guard(session_.runningGuard_);
  session_.isRunning_ = false;
  session_.watch_.End();
}

void OdbcSession::Cancel() {
  const std::lock_guard guard(runningGuard_);
  if (!isRunning_) return;
  cancelled_ = true;
  if (socket_ >= 0) watch_.Begin(socket_);
  if (running_ != nullptr) SQLCancel(running_);
}

const std::string& OdbcSession::DefaultSchema() {
  if (std::exchange(knowsDefaultSchema_, true)) return defaultSchema_;
  const std::string sql = dialect_->SchemaQuery();
  if (sql.empty()) return defaultSchema_;
  OdbcStatement query(*this);
  query.Execute(sql);
  while (query.Step())
    if (const ado::Value value = query.Column(0); std::holds_alternative<std::string>(value))
      defaultSchema_ = std::get<std::string>(value);
  return defaultSchema_;
}

}  // namespace torvik
