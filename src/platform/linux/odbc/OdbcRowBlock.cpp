#include "platform/linux/odbc/OdbcRowBlock.h"

#include <sql.h>
#include <sqlext.h>

#include <algorithm>
#include <cstring>

#include "platform/linux/database/ServerValues.h"
#include "platform/linux/odbc/OdbcValueText.h"
#include "platform/linux/text/Utf16.h"

namespace torvik {
namespace {

using Fetch = OdbcStatement::Fetch;

constexpr std::size_t kMostRows = 512, kMostBytes = 1 << 20;
constexpr std::size_t kLongestBound = 8000;  // of SQL Server's texts without "max", in bytes

template <class Plain>
Plain PlainAt(const char* data) {
  Plain plain;
  std::memcpy(&plain, data, sizeof plain);
  return plain;
}

}  // namespace

bool OdbcRowBlock::Fits(const OdbcSession& session, const OdbcStatement& query) {
  // Other drivers than these make up the size of a text that has no limit.
  const OdbcServer server = session.Dialect().Server();
  if (server != OdbcServer::SqlServer && server != OdbcServer::Oracle) return false;
  return std::ranges::all_of(query.Columns(), [](const OdbcStatement::ColumnInfo& column) {
    const bool isBounded = column.size > 0 && column.size <= kLongestBound;
    return isBounded || (column.fetch != Fetch::Text && column.fetch != Fetch::Bytes);
  });
}

OdbcRowBlock::Slot OdbcRowBlock::SlotOf(const OdbcStatement::ColumnInfo& column) {
  // A character beyond the first 65536 takes two units.
  const std::size_t wideSize = (2 * column.size + 1) * sizeof(char16_t);
  constexpr std::size_t kDecimalSize = 64 * sizeof(char16_t);
  switch (column.fetch) {
    case Fetch::Whole: return {column.fetch, SQL_C_SBIGINT, sizeof(std::int64_t), {}, {}};
    case Fetch::Truth: return {column.fetch, SQL_C_BIT, 1, {}, {}};
    case Fetch::Single: return {column.fetch, SQL_C_FLOAT, sizeof(float), {}, {}};
    case Fetch::Real: return {column.fetch, SQL_C_DOUBLE, sizeof(double), {}, {}};
    case Fetch::Date: return {column.fetch, SQL_C_TYPE_DATE, sizeof(SQL_DATE_STRUCT), {}, {}};
    case Fetch::Moment:
      return {column.fetch, SQL_C_TYPE_TIMESTAMP, sizeof(SQL_TIMESTAMP_STRUCT), {}, {}};
    case Fetch::Bytes: return {column.fetch, SQL_C_BINARY, column.size, {}, {}};
    case Fetch::Exact:
    case Fetch::Identifier: return {column.fetch, SQL_C_WCHAR, kDecimalSize, {}, {}};
    case Fetch::Text: break;
  }
  return {column.fetch, SQL_C_WCHAR, wideSize, {}, {}};
}

OdbcRowBlock::OdbcRowBlock(OdbcSession& session, OdbcStatement& query)
    : session_(session), query_(query) {
  std::size_t rowSize = 1;
  for (const auto& column : query.Columns()) {
    slots_.push_back(SlotOf(column));
    rowSize += slots_.back().stride;
  }
  texts_ = NewTexts();
  const std::size_t rows = std::clamp<std::size_t>(kMostBytes / rowSize, 1, kMostRows);
  SQLHSTMT statement = query_.Handle();
  status_.resize(rows);
  const auto check = [&](SQLRETURN code) {
    if (!SQL_SUCCEEDED(code)) throw session_.Failure(SQL_HANDLE_STMT, statement);
  };
  check(SQLSetStmtAttr(statement, SQL_ATTR_ROW_ARRAY_SIZE, reinterpret_cast<void*>(rows), 0));
  check(SQLSetStmtAttr(statement, SQL_ATTR_ROW_STATUS_PTR, status_.data(), 0));
  check(SQLSetStmtAttr(statement, SQL_ATTR_ROWS_FETCHED_PTR, &fetched_, 0));
  for (std::size_t i = 0; i < slots_.size(); ++i) {
    Slot& slot = slots_[i];
    slot.data.resize(rows * slot.stride);
    slot.lengths.resize(rows);
    check(SQLBindCol(statement, static_cast<SQLUSMALLINT>(i + 1), slot.type, slot.data.data(),
                     static_cast<SQLLEN>(slot.stride), slot.lengths.data()));
  }
}

OdbcRowBlock::~OdbcRowBlock() {
  SQLFreeStmt(query_.Handle(), SQL_UNBIND);
}

bool OdbcRowBlock::Next(std::span<ado::LoadValue> row) {
  if (next_ == fetched_ && !FetchBlock()) return false;
  if (status_[next_] == SQL_ROW_ERROR)
    throw session_.Failure(SQL_HANDLE_STMT, query_.Handle(), "a row cannot be read");
  for (std::size_t i = 0; i < row.size(); ++i) row[i] = ValueOf(slots_[i], (*texts_)[i]);
  ++next_;
  return true;
}

bool OdbcRowBlock::FetchBlock() {
  next_ = fetched_ = 0;
  if (isAtEnd_) return false;
  SQLRETURN code;
  {
    const OdbcSession::Running running(session_, query_.Handle());
    code = SQLFetch(query_.Handle());
  }
  if (code == SQL_NO_DATA) {
    isAtEnd_ = true;
    fetched_ = 0;
    query_.EndRows();
    return false;
  }
  if (!SQL_SUCCEEDED(code)) throw session_.Failure(SQL_HANDLE_STMT, query_.Handle());
  // An error behind the block's last row comes with the rows before it, as if it were a warning.
  if (code == SQL_SUCCESS_WITH_INFO)
    for (const OdbcDiagnostic& one : OdbcDiagnostics(SQL_HANDLE_STMT, query_.Handle()))
      if (!one.state.starts_with("01")) throw session_.Failure({one}, "");
  return fetched_ > 0;
}

ado::LoadValue OdbcRowBlock::ValueOf(const Slot& slot, std::string& text) const {
  const char* data = slot.data.data() + next_ * slot.stride;
  const SQLLEN length = slot.lengths[next_];
  if (length == SQL_NULL_DATA) return {};
  const bool isWide = slot.type == SQL_C_WCHAR;
  const std::size_t room = slot.stride - (isWide ? sizeof(char16_t) : 0);
  if (length == SQL_NO_TOTAL ||
      (static_cast<std::size_t>(length) > room && (isWide || slot.type == SQL_C_BINARY)))
    throw session_.Refusal("a value is longer than the server says that its column is");
  switch (slot.fetch) {
    case Fetch::Whole: return PlainAt<std::int64_t>(data);
    case Fetch::Truth: return std::int64_t{*data != 0};
    case Fetch::Single: return RealOf(PlainAt<float>(data));
    case Fetch::Real: return PlainAt<double>(data);
    case Fetch::Bytes: text.assign(data, static_cast<std::size_t>(length)); break;
    default: text = TextOf(slot, data, static_cast<std::size_t>(length)); break;
  }
  return std::string_view(text);
}

std::string OdbcRowBlock::TextOf(const Slot& slot, const char* data, std::size_t length) const {
  if (slot.fetch == Fetch::Date) return DateText(PlainAt<SQL_DATE_STRUCT>(data));
  if (slot.fetch == Fetch::Moment) return MomentText(PlainAt<SQL_TIMESTAMP_STRUCT>(data));
  std::string text = FromUtf16({reinterpret_cast<const char16_t*>(data), length / 2});
  if (slot.fetch == Fetch::Exact) return DecimalDigits(std::move(text));
  return slot.fetch == Fetch::Identifier ? InCapitals(std::move(text)) : text;
}

}  // namespace torvik
