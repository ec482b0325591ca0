#include "platform/linux/odbc/OdbcErrors.h"

#include <sql.h>
#include <sqlext.h>

#include <algorithm>
#include <initializer_list>

#include "platform/linux/text/Utf16.h"

namespace torvik {
namespace {

std::string Text(const std::u16string& buffer, std::size_t length) {
  return FromUtf16(std::u16string_view(buffer).substr(0, length));
}

/// SQL Server's SQLSTATEs say little, and other servers' numbers mean something else.
bool IsOfSqlServer(const OdbcDiagnostic& diagnostic) {
  return diagnostic.error.description.find("[SQL Server]") != std::string::npos;
}

bool HasOneOf(const OdbcDiagnostic& diagnostic, std::initializer_list<long> numbers) {
  return IsOfSqlServer(diagnostic) &&
         std::ranges::find(numbers, diagnostic.error.number) != numbers.end();
}

/// Deadlock, lock time-out, a server that is busy or moves to another machine, a broken connection.
/// 4060 (the database cannot be opened) is left out: it mostly is a wrong name.
bool IsTransientNumber(const OdbcDiagnostic& diagnostic) {
  return HasOneOf(diagnostic,
                  {1205, 1222, 40197, 40501, 40613, 49918, 49919, 49920, 10053, 10054, 10060});
}

bool IsTransientState(const OdbcDiagnostic& diagnostic) {
  const std::string& state = diagnostic.state;
  // PostgreSQL's driver gives this state to a logon that the server answered and refused.
  if (state == "08001" && diagnostic.error.description.find("FATAL:") != std::string::npos)
    return false;
  // What the server answered and refused, as for a database that it does not have.
  constexpr const char* kRefused = "08004";
  return (state.starts_with("08") && state != kRefused) || state.starts_with("40") ||
         state.starts_with("HYT0") || state == "55P03";
}

}  // namespace

std::vector<OdbcDiagnostic> OdbcDiagnostics(short handleType, void* handle) {
  std::vector<OdbcDiagnostic> diagnostics;
  std::u16string text(SQL_MAX_MESSAGE_LENGTH * 8, u'\0');
  for (SQLSMALLINT record = 1;; ++record) {
    std::u16string state(6, u'\0');
    SQLINTEGER number = 0;
    SQLSMALLINT length = 0;
    const SQLRETURN code = SQLGetDiagRecW(
        handleType, handle, record, reinterpret_cast<SQLWCHAR*>(state.data()), &number,
        reinterpret_cast<SQLWCHAR*>(text.data()), static_cast<SQLSMALLINT>(text.size()), &length);
    if (!SQL_SUCCEEDED(code)) return diagnostics;
    const std::size_t kept = std::min(static_cast<std::size_t>(length), text.size() - 1);
    const std::string sqlState = Text(state, SQL_SQLSTATE_SIZE);
    SQLLEN row = 0;
    if (handleType == SQL_HANDLE_STMT)
      SQLGetDiagFieldW(handleType, handle, record, SQL_DIAG_ROW_NUMBER, &row, sizeof row, nullptr);
    diagnostics.push_back(
        {{number, OneLine(Text(text, kept)) + " (SQLSTATE " + sqlState + ")"}, sqlState, row});
  }
}

std::vector<ado::ProviderError> ErrorsOf(const std::vector<OdbcDiagnostic>& diagnostics) {
  constexpr std::size_t kMostErrors = 8;
  std::vector<ado::ProviderError> errors;
  std::size_t others = 0;
  for (const OdbcDiagnostic& diagnostic : diagnostics) {
    const std::string& text = diagnostic.error.description;
    // There may be some for each row of an array.
    if (std::ranges::find(errors, text, &ado::ProviderError::description) != errors.end()) continue;
    if (errors.size() < kMostErrors)
      errors.push_back(diagnostic.error);
    else
      ++others;
  }
  if (others > 0) errors.push_back({0, "and " + std::to_string(others) + " more"});
  return errors;
}

bool IsTransient(const std::vector<OdbcDiagnostic>& diagnostics) {
  return !diagnostics.empty() &&
         (IsTransientNumber(diagnostics[0]) || IsTransientState(diagnostics[0]));
}

bool IsRefusal(const OdbcDiagnostic& diagnostic) {
  constexpr long kFirstOfUsers = 50000;  // what a trigger or THROW says
  const std::string& state = diagnostic.state;
  const long number = diagnostic.error.number;
  if (IsTransient({diagnostic})) return false;
  // Of SQL Server, which its driver may file under a general state: a value that is too long,
  // cannot be converted or lies out of range, or a constraint.
  const bool isOfXml = number >= 9400 && number < 9500;
  if (HasOneOf(diagnostic, {220,  232,  235,  236,  237,  238,  241,  242,  244,  245,
                            248,  293,  294,  295,  296,  298,  515,  517,  547,  550,
                            2601, 2627, 2628, 8023, 8114, 8115, 8134, 8152, 8169, 8170}) ||
      (IsOfSqlServer(diagnostic) && (isOfXml || number >= kFirstOfUsers)))
    return true;
  // Of all servers: data, integrity, views with a check, PL/pgSQL's RAISE; and the general state,
  // when it is the server's. What is wrong with the statement (07, 42), the transaction (25), the
  // server's room (53) or the server itself (57, 58) is wrong with every row.
  for (const char* theRows : {"22", "23", "44", "P0"})
    if (state.starts_with(theRows)) return true;
  return state == "HY000" && number != 0;
}

}  // namespace torvik
