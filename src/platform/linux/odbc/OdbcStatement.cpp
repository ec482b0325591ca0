#include "platform/linux/odbc/OdbcStatement.h"

#include <sql.h>
#include <sqlext.h>

#include <algorithm>
#include <cstdio>
#include <optional>

#include "platform/linux/database/ServerValues.h"
#include "platform/linux/odbc/OdbcValueText.h"
#include "platform/linux/text/Utf16.h"

namespace torvik {
OdbcStatement::OdbcStatement(OdbcSession& session) : session_(session) {
  session_.BeginStatement();
  if (!SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_STMT, session_.Handle(), &handle_)))
    throw session_.Failure(SQL_HANDLE_DBC, session_.Handle());
}

OdbcStatement::~OdbcStatement() {
  session_.ForgetPendingRows(this);
  SQLFreeHandle(SQL_HANDLE_STMT, handle_);
}

void OdbcStatement::Check(short code) {
  if (!SQL_SUCCEEDED(code) && code != SQL_NO_DATA) throw session_.Failure(SQL_HANDLE_STMT, handle_);
}

std::int64_t OdbcStatement::Execute(const std::string& sql) {
  if (SkipBlanks(sql, 0) == sql.size()) return 0;  // a driver manager refuses what is no statement
  std::u16string text = ToUtf16(sql);
  const OdbcSession::Running running(session_, handle_);
  return Results(SQLExecDirectW(handle_, reinterpret_cast<SQLWCHAR*>(text.data()),
                                static_cast<SQLINTEGER>(text.size())));
}

std::int64_t OdbcStatement::ExecuteRest() {
  const OdbcSession::Running running(session_, handle_);
  columns_.clear();
  session_.ForgetPendingRows(this);
  isAtEnd_ = true;
  const SQLRETURN code = SQLMoreResults(handle_);
  return code == SQL_NO_DATA ? 0 : Results(code);
}

/// A statement that changes no row may end in SQL_NO_DATA, which is no end of the results.
std::int64_t OdbcStatement::Results(short code) {
  std::int64_t changedRows = 0;
  for (;; code = SQLMoreResults(handle_)) {
    if (code == SQL_NO_DATA && hasStarted_) return changedRows;
    hasStarted_ = true;
    Check(code);
    SQLSMALLINT columns = 0;
    Check(SQLNumResultCols(handle_, &columns));
    if (columns > 0) {
      DescribeColumns();
      return changedRows;
    }
    SQLLEN rows = 0;
    if (SQL_SUCCEEDED(SQLRowCount(handle_, &rows)) && rows > 0) changedRows += rows;
  }
}

void OdbcStatement::Prepare(const std::string& sql) {
  std::u16string text = ToUtf16(sql);
  Check(SQLPrepareW(handle_, reinterpret_cast<SQLWCHAR*>(text.data()),
                    static_cast<SQLINTEGER>(text.size())));
}

void OdbcStatement::PrepareNow(const std::string& sql) {
  Prepare(sql);
  SQLSMALLINT count = 0;
  Check(SQLNumResultCols(handle_, &count));
}

std::int64_t OdbcStatement::ExecutePrepared(std::span<const ado::Value> values) {
  while (parameters_.size() < values.size()) parameters_.emplace_back();
  for (std::size_t i = 0; i < values.size(); ++i)
    Check(parameters_[i].Set(handle_, static_cast<std::uint16_t>(i + 1), values[i]));
  hasStarted_ = false;
  const OdbcSession::Running running(session_, handle_);
  return Results(SQLExecute(handle_));
}

void OdbcStatement::RunCatalogue(const std::function<short(void* statement)>& function) {
  Check(function(handle_));
  DescribeColumns();
}

void OdbcStatement::DescribeColumns() {
  SQLSMALLINT count = 0;
  Check(SQLNumResultCols(handle_, &count));
  for (SQLSMALLINT column = 1; column <= count; ++column) {
    std::u16string name(256, u'\0');
    SQLSMALLINT length = 0, type = 0, digits = 0, nullable = 0;
    SQLULEN size = 0;
    Check(SQLDescribeColW(
        handle_, static_cast<SQLUSMALLINT>(column), reinterpret_cast<SQLWCHAR*>(name.data()),
        static_cast<SQLSMALLINT>(name.size()), &length, &type, &size, &digits, &nullable));
    name.resize(std::min<std::size_t>(static_cast<std::size_t>(length), name.size() - 1));
    Fetch fetch = Fetch::Text;
    switch (type) {
      case SQL_TINYINT:
      case SQL_SMALLINT:
      case SQL_INTEGER:
      case SQL_BIGINT: fetch = Fetch::Whole; break;
      case SQL_BIT: fetch = Fetch::Truth; break;
      case SQL_REAL: fetch = Fetch::Single; break;
      case SQL_FLOAT:
      case SQL_DOUBLE: fetch = Fetch::Real; break;
      case SQL_NUMERIC:
      case SQL_DECIMAL: fetch = Fetch::Exact; break;
      case SQL_TYPE_DATE: fetch = Fetch::Date; break;
      case SQL_TYPE_TIMESTAMP: fetch = Fetch::Moment; break;
      case SQL_BINARY:
      case SQL_VARBINARY:
      case SQL_LONGVARBINARY: fetch = Fetch::Bytes; break;
      case SQL_GUID: fetch = Fetch::Identifier; break;
      default: break;
    }
    columns_.push_back({FromUtf16(name), fetch, size});
  }
  isAtEnd_ = false;
  session_.SetPendingRows(this);
}

std::string OdbcStatement::ColumnName(int column) const {
  return columns_.at(static_cast<std::size_t>(column)).name;
}

bool OdbcStatement::Step() {
  if (!readAhead_.empty()) {
    row_ = std::move(readAhead_.front());
    readAhead_.pop_front();
    return true;
  }
  return !isAtEnd_ && FetchRow(row_);
}

ado::Value OdbcStatement::Column(int column) const {
  return row_.at(static_cast<std::size_t>(column));
}

bool OdbcStatement::FetchRow(Values& row) {
  const OdbcSession::Running running(session_, handle_);
  const SQLRETURN code = SQLFetch(handle_);
  if (code == SQL_NO_DATA) return EndRows(), false;
  Check(code);
  row.clear();
  for (std::size_t i = 0; i < columns_.size(); ++i)
    row.push_back(Get(static_cast<std::uint16_t>(i + 1), columns_[i].fetch));
  return true;
}

void OdbcStatement::EndRows() {
  isAtEnd_ = true;
  session_.ForgetPendingRows(this);
  if (session_.Dialect().RunsAsItIsRead() && !leavesRest_) RunRest();
}

/// The statements behind a query in the same text; to close the query would cancel them.
void OdbcStatement::RunRest() {
  for (SQLRETURN code; (code = SQLMoreResults(handle_)) != SQL_NO_DATA;) Check(code);
}

void OdbcStatement::ReadToEnd() {
  for (Values row; FetchRow(row);) readAhead_.push_back(std::move(row));
}

ado::Value OdbcStatement::Get(std::uint16_t column, Fetch fetch) {
  std::int64_t whole = 0;
  double real = 0;
  float single = 0;
  unsigned char truth = 0;
  SQL_DATE_STRUCT date{};
  SQL_TIMESTAMP_STRUCT moment{};
  std::string bytes;
  const auto text = [&]() -> std::optional<std::string> {
    if (!GetBytes(column, SQL_C_WCHAR, sizeof(char16_t), bytes)) return {};
    return FromUtf16({reinterpret_cast<const char16_t*>(bytes.data()), bytes.size() / 2});
  };
  switch (fetch) {
    case Fetch::Whole:
      if (GetPlain(column, SQL_C_SBIGINT, whole)) return whole;
      break;
    case Fetch::Truth:
      if (GetPlain(column, SQL_C_BIT, truth)) return std::int64_t{truth != 0};
      break;
    case Fetch::Real:
      if (GetPlain(column, SQL_C_DOUBLE, real)) return real;
      break;
    case Fetch::Single:
      if (GetPlain(column, SQL_C_FLOAT, single)) return RealOf(single);
      break;
    case Fetch::Date:
      if (GetPlain(column, SQL_C_TYPE_DATE, date)) return DateText(date);
      break;
    case Fetch::Moment:
      if (GetPlain(column, SQL_C_TYPE_TIMESTAMP, moment)) return MomentText(moment);
      break;
    case Fetch::Bytes:
      if (GetBytes(column, SQL_C_BINARY, 0, bytes)) return ado::Blob{bytes};
      break;
    case Fetch::Exact:
      if (const auto digits = text()) return ExactNumber(*digits);
      break;
    case Fetch::Identifier:
      if (const auto identifier = text()) return InCapitals(*identifier);
      break;
    case Fetch::Text:
      if (const auto words = text()) return *words;
      break;
  }
  return ado::Null{};
}

/// False for NULL.
template <class Plain>
bool OdbcStatement::GetPlain(std::uint16_t column, short type, Plain& value) {
  SQLLEN length = 0;
  Check(SQLGetData(handle_, column, type, &value, sizeof value, &length));
  return length != SQL_NULL_DATA;
}

/// Reads a value in as many pieces as the driver makes of it; each ends in a terminator of
/// `terminator` bytes. False for NULL.
bool OdbcStatement::GetBytes(std::uint16_t column, short type, std::size_t terminator,
                             std::string& bytes) {
  constexpr std::size_t kLeastRoom = 512;
  std::size_t used = 0;
  bytes.clear();
  for (std::size_t room = kLeastRoom;; room = std::max(room, used)) {
    bytes.resize(used + room);
    SQLLEN length = 0;
    const SQLRETURN code =
        SQLGetData(handle_, column, type, bytes.data() + used, static_cast<SQLLEN>(room), &length);
    if (code == SQL_NO_DATA) break;
    Check(code);
    if (length == SQL_NULL_DATA) return false;
    const bool hasMore =
        length == SQL_NO_TOTAL || static_cast<std::size_t>(length) > room - terminator;
    used += hasMore ? room - terminator : static_cast<std::size_t>(length);
    if (!hasMore) break;
    if (length != SQL_NO_TOTAL)
      room = static_cast<std::size_t>(length) - (room - terminator) + terminator;
  }
  bytes.resize(used);
  return true;
}

}  // namespace torvik
