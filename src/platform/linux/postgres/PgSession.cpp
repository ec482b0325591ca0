#include "platform/linux/postgres/PgSession.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>
#include <utility>

#include "platform/linux/postgres/PgConnect.h"
#include "platform/linux/text/ErrorText.h"

namespace torvik {
namespace {

constexpr const char* kSessionSource = "PostgreSQL";
constexpr const char* kStatementPoint = "torvik_statement";

/// Values come in one form, whatever the role or the database have as their defaults.
constexpr const char* kSessionSql =
    "SET DateStyle = ISO; SET IntervalStyle = postgres; SET bytea_output = hex; "
    "SET extra_float_digits = 3; SET standard_conforming_strings = on";

/// Statements about the transaction itself.
bool ControlsTransaction(const std::string& word) {
  for (const char* control :
       {"BEGIN", "START", "COMMIT", "END", "ROLLBACK", "ABORT", "SAVEPOINT", "RELEASE", "PREPARE"})
    if (word == control) return true;
  return false;
}

bool HasFailed(const PGresult* result) {
  const ExecStatusType status = PQresultStatus(result);
  return status == PGRES_FATAL_ERROR || status == PGRES_BAD_RESPONSE;
}

/// The number, from 1, of the parameter of which nothing tells the type ("? IS NULL"); 0 when that
/// is not the error.
std::size_t UntypedParameter(const PGresult* result) {
  const PgError error = ErrorOfResult(result);
  const std::size_t dollar = error.text.find('$');
  if (error.state != "42P18" || dollar == std::string::npos) return 0;
  return std::strtoul(error.text.c_str() + dollar + 1, nullptr, 10);
}

/// The line of a character, counted from 1, in a text.
int LineOfCharacter(std::string_view text, int character) {
  int line = 1;
  for (const char c : text) {
    if ((static_cast<unsigned char>(c) & 0xC0) != 0x80 && --character <= 0) break;
    if (c == '\n') ++line;
  }
  return line;
}

}  // namespace

PgSession::PgSession(const DatabaseLogon& logon, int timeoutSeconds,
                     std::vector<ado::ProviderError>& errors)
    : connection_(ConnectToPg(logon, timeoutSeconds, errors)),
      names_(logon.database, PgDatabaseOf(logon)) {
  PQsetNoticeProcessor(
      connection_, [](void*, const char*) {}, nullptr);
  cancel_ = PQgetCancel(connection_);
  try {
    std::string sql = kSessionSql;
    if (const std::string own = names_.SessionSql(); !own.empty()) sql += "; " + own;
    Run(sql);
  } catch (const PlatformError&) {
    errors = errors_;
    PQfreeCancel(cancel_);
    PQfinish(connection_);
    throw;
  }
}

PgSession::~PgSession() {
  PQfreeCancel(cancel_);
  PQfinish(connection_);  // what was not committed is rolled back by the server
}

bool PgSession::IsAlive() const {
  const PGTransactionStatusType status = PQtransactionStatus(connection_);
  if (status == PQTRANS_IDLE || status == PQTRANS_INTRANS) PQconsumeInput(connection_);
  return PQstatus(connection_) == CONNECTION_OK;
}

PlatformError PgSession::Keep(std::vector<ado::ProviderError> errors, bool isTransient) {
  errors_ = std::move(errors);
  PlatformError error(errors_[0].number, InOneLine(errors_), kSessionSource);
  error.isTransient = isTransient;
  return error;
}

PlatformError PgSession::Refusal(const std::string& reason) {
  return Keep({{0, reason}}, false);
}

PlatformError PgSession::Failure(const PGresult* result, const std::string& place) {
  PgError error;
  if (result != nullptr) error = ErrorOfResult(result);
  if (error.text.empty()) error.text = OneLine(PQerrorMessage(connection_));
  const bool isLost = PQstatus(connection_) != CONNECTION_OK;
  if (isLost && error.state.empty()) error.text += " (SQLSTATE 08006)";
  std::vector<ado::ProviderError> errors = {{0, (place.empty() ? "" : place + ": ") + error.text}};
  if (isLost) errors.push_back({0, "the connection to the server is lost; open it again"});
  return Keep(std::move(errors), isLost || error.IsTransient());
}

PlatformError PgSession::FailureOf(const PgStatement& statement, const PGresult* result,
                                   int prefix) {
  const int position = ErrorOfResult(result).position - prefix;
  const bool isPlain = statement.line == 1 && statement.text.find('\n') == std::string::npos;
  if (position <= 0 || isPlain) return Failure(result);
  const int line = statement.line - 1 + LineOfCharacter(statement.text, position);
  return Failure(result, "line " + std::to_string(line) + " of the SQL text");
}

std::string PgSession::Resolved(const std::string& sql) {
  if (sql.find('\0') != std::string::npos)
    throw Refusal("the SQL text has a NUL character, which PostgreSQL does not take");
  try {
    return names_.Resolve(sql);
  } catch (const PlatformError& error) {
    throw Refusal(error.Description());
  }
}

void PgSession::RequireIdle() {
  errors_.clear();
  if (PQtransactionStatus(connection_) == PQTRANS_ACTIVE)
    throw Refusal(
        "the connection is busy: a bulk load or a query read in bulk has not ended; read it "
        "alongside, or end it first");
}

bool PgSession::IsInBlock() const {
  return PQtransactionStatus(connection_) == PQTRANS_INTRANS;
}

bool PgSession::HasFailedBlock() const {
  return PQtransactionStatus(connection_) == PQTRANS_INERROR;
}

bool PgSession::NeedsPoint(const PgStatement& statement) const {
  return IsInBlock() && !ControlsTransaction(statement.FirstWord());
}

PgResult PgSession::Begin(const std::string& sql) {
  if (PQsendQuery(connection_, sql.c_str()) == 0) throw Failure(nullptr);
  return PgResult(PQgetResult(connection_));
}

/// Takes all results; answers the statement's own: the first failure or, behind the savepoint's
/// when that was sent before, the first.
PgResult PgSession::Collect(bool skipsFirst) {
  PgResult own;
  for (int position = 0;; ++position) {
    PgResult result(PQgetResult(connection_));
    if (!result) return own;
    const ExecStatusType status = PQresultStatus(result.get());
    if (status == PGRES_COPY_IN || status == PGRES_COPY_BOTH)
      PQputCopyEnd(connection_, "COPY ... FROM STDIN has no rows here; load a file with a pump");
    for (char* row = nullptr; status == PGRES_COPY_OUT && PQgetCopyData(connection_, &row, 0) > 0;)
      PQfreemem(row);
    const bool isOwn = position == (skipsFirst ? 1 : 0);
    if (isOwn || (HasFailed(result.get()) && !(own && HasFailed(own.get()))))
      own = std::move(result);
    if (PQstatus(connection_) == CONNECTION_BAD) return own;
  }
}

void PgSession::RunOnPoint(const char* command, const std::string& point) {
  const PgResult ignored(PQexec(connection_, (std::string(command) + " " + point).c_str()));
}

void PgSession::UndoTo(const std::string& point) {
  if (!HasFailedBlock()) return;
  RunOnPoint("ROLLBACK TO SAVEPOINT", point);
  RunOnPoint("RELEASE SAVEPOINT", point);
}

/// The result of a statement, or its error, with the transaction as it was before.
PgResult PgSession::Complete(const PgStatement& statement, PgResult result, int prefix,
                             bool hasPoint) {
  if (result && !HasFailed(result.get())) return result;
  const PlatformError error = FailureOf(statement, result.get(), prefix);
  if (hasPoint) UndoTo(kStatementPoint);
  throw error;
}

PgResult PgSession::Run(const PgStatement& statement) {
  RequireIdle();
  const bool hasPoint = NeedsPoint(statement);
  const std::string point = kStatementPoint;
  const std::string before = hasPoint ? "SAVEPOINT " + point + "; " : "";
  const std::string after = hasPoint ? "\n; RELEASE SAVEPOINT " + point : "";
  PgResult result;
  {
    const Running running(*this);
    if (PQsendQuery(connection_, (before + statement.text + after).c_str()) == 0)
      throw Failure(nullptr);
    result = Collect(hasPoint);
  }
  return Complete(statement, std::move(result), static_cast<int>(before.size()), hasPoint);
}

PgResult PgSession::TryWith(const PgStatement& statement, std::span<const Parameter> parameters,
                            const std::vector<unsigned>& types) {
  std::vector<const char*> values;
  for (const Parameter& parameter : parameters)
    values.push_back(parameter ? parameter->c_str() : nullptr);
  const Running running(*this);
  if (PQsendQueryParams(connection_, statement.text.c_str(), static_cast<int>(values.size()),
                        types.data(), values.data(), nullptr, nullptr, 0) == 0)
    throw Failure(nullptr);
  return Collect(false);
}

PgResult PgSession::RunWith(const PgStatement& statement, std::span<const Parameter> parameters) {
  RequireIdle();
  for (const Parameter& parameter : parameters)
    if (parameter && parameter->find('\0') != std::string::npos)
      throw Refusal("a text with a NUL character is given, which PostgreSQL cannot store");
  const bool hasPoint = NeedsPoint(statement);
  if (hasPoint) RunOnPoint("SAVEPOINT", kStatementPoint);
  std::vector<unsigned> types(parameters.size(), 0);
  PgResult result = TryWith(statement, parameters, types);
  while (const std::size_t untyped = UntypedParameter(result.get())) {
    constexpr unsigned kText = 25;
    if (untyped > types.size() || types[untyped - 1] == kText) break;
    types[untyped - 1] = kText;
    if (hasPoint) RunOnPoint("ROLLBACK TO SAVEPOINT", kStatementPoint);
    result = TryWith(statement, parameters, types);
  }
  result = Complete(statement, std::move(result), 0, hasPoint);
  if (hasPoint) RunOnPoint("RELEASE SAVEPOINT", kStatementPoint);
  return result;
}

void PgSession::Prepare(const PgStatement& statement) {
  RequireIdle();
  const bool hasPoint = NeedsPoint(statement);
  if (hasPoint) RunOnPoint("SAVEPOINT", kStatementPoint);
  PgResult result(PQprepare(connection_, "", statement.text.c_str(), 0, nullptr));
  // That a parameter may be of any type is decided by its value.
  const bool isTaken =
      PQresultStatus(result.get()) == PGRES_COMMAND_OK || UntypedParameter(result.get()) > 0;
  if (hasPoint) RunOnPoint("ROLLBACK TO SAVEPOINT", kStatementPoint);
  if (!isTaken) throw FailureOf(statement, result.get(), 0);
}

void PgSession::BeginTrans() {
  if (inTransaction_) throw Refusal("a transaction is open already");
  Run(std::string("BEGIN"));
  inTransaction_ = true;
  points_.clear();
}

void PgSession::EndTrans(bool commit) {
  if (!inTransaction_) throw Refusal("no transaction is open");
  RequireIdle();
  if (!commit) inTransaction_ = false;
  const PgResult result = Run(std::string(commit ? "COMMIT" : "ROLLBACK"));
  inTransaction_ = false;
  if (commit && PQcmdStatus(result.get()) != std::string("COMMIT"))
    throw Refusal("the transaction is rolled back: a statement in it had failed");
}

void PgSession::SetPoint(const std::string& point) {
  if (!inTransaction_) throw Refusal("a savepoint needs a transaction, and none is open");
  if (std::ranges::count(points_, point) > 0) ReleasePoint(point);
  Run("SAVEPOINT " + point);
  points_.push_back(point);
}

void PgSession::RollbackToPoint(const std::string& point) {
  Run("ROLLBACK TO SAVEPOINT " + point);
  // The points behind it are gone.
  if (const auto found = std::ranges::find(points_, point); found != points_.end())
    points_.erase(found + 1, points_.end());
}

void PgSession::ReleasePoint(const std::string& point) {
  Run("RELEASE SAVEPOINT " + point);
  if (const auto found = std::ranges::find(points_, point); found != points_.end())
    points_.erase(found, points_.end());
}

PgSession::Running::Running(PgSession& session) : session_(session) {
  const std::lock_guard guard(session_.runningGuard_);
  session_.isRunning_ = true;
}

PgSession::Running::~Running() {
  const std::lock_guard guard(session_.runningGuard_);
  session_.isRunning_ = false;
}

void PgSession::Cancel() {
  const std::lock_guard guard(runningGuard_);
  if (isRunning_) CancelOwn();
}

void PgSession::CancelOwn() {
  char reason[256];
  PQcancel(cancel_, reason, sizeof reason);
}

}  // namespace torvik
