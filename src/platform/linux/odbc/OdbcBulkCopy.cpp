#include "platform/linux/odbc/OdbcBulkCopy.h"

#include <sql.h>
#include <sqlext.h>

#define TDSODBC_BCP
#include <odbcss.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <utility>

#include "platform/Text.h"
#include "platform/linux/odbc/OdbcParameterArray.h"
#include "platform/linux/odbc/OdbcSession.h"
#include "platform/linux/text/Utf16.h"

namespace torvik {
namespace {

using Kind = ado::LoadValue::Kind;
using ado::ColumnKind;

/// Ends a batch, whatever becomes of its rows: the connection takes nothing else before.
class Batch {
 public:
  explicit Batch(HDBC connection) : connection_(connection) {}
  ~Batch() {
    if (!isEnded_) bcp_done(connection_);
  }
  Batch(const Batch&) = delete;
  Batch& operator=(const Batch&) = delete;

  /// Below 0 when it failed.
  int End() {
    isEnded_ = true;
    return bcp_done(connection_);
  }

 private:
  const HDBC connection_;
  bool isEnded_ = false;
};

std::string LowerTypeName(const ado::Column& column) {
  return LowerAscii(column.declaredType.substr(0, column.declaredType.find('(')));
}

/// False when the value is no number of the type.
template <class Number>
bool ReadNumber(const ado::LoadValue& value, Number& number) {
  if (value.GetKind() == Kind::Integer) return number = static_cast<Number>(value.Integer()), true;
  if (value.GetKind() == Kind::Real && std::is_floating_point_v<Number>)
    return number = static_cast<Number>(value.Real()), true;
  const std::string text = TextOf(value);
  const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
  return read.ec == std::errc() && read.ptr == text.data() + text.size();
}

bool FitsInteger(const ado::Column& column, const ado::LoadValue& value) {
  std::int64_t number = 0;
  if (!ReadNumber(value, number)) return false;
  if (column.kind == ColumnKind::Boolean) return number == 0 || number == 1;
  if (LowerTypeName(column) == "tinyint") return number >= 0 && number <= 255;
  const int bits = 8 * column.size - 1;
  return column.size == 8 || (number >= -(1LL << bits) && number < (1LL << bits));
}

bool FitsDecimal(const ado::Column& column, const std::string& text) {
  const std::string digits = text.substr(text.starts_with("-") ? 1 : 0);
  const auto point = std::min(digits.find('.'), digits.size());
  const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
  const bool isPlain = std::count_if(digits.begin(), digits.end(), isDigit) ==
                       static_cast<std::ptrdiff_t>(digits.size() - (point < digits.size()));
  const auto behind = point < digits.size() ? digits.size() - point - 1 : 0;
  return isPlain && point > 0 && behind <= static_cast<std::size_t>(column.scale) &&
         point <= static_cast<std::size_t>(column.precision - column.scale);
}

/// "2001-01-08", and for a moment "2001-01-08 09:10:11.25" too.
bool FitsMoment(const ado::Column& column, const std::string& text) {
  const bool isDay = text.size() == 10;
  if (!isDay && (column.kind == ColumnKind::Date || text.size() < 19 || text.size() > 23))
    return false;
  // The older types begin later.
  const bool isOld =
      LowerTypeName(column) == "datetime" || LowerTypeName(column) == "smalldatetime";
  return text[4] == '-' && text[7] == '-' && (!isOld || text >= "1900");
}

}  // namespace

void OdbcBulkCopy::Enable(void* connection) {
  SQLSetConnectAttr(connection, SQL_COPT_SS_BCP,
                    reinterpret_cast<SQLPOINTER>(static_cast<std::uintptr_t>(SQL_BCP_ON)),
                    SQL_IS_INTEGER);
}

bool OdbcBulkCopy::Takes(const ado::Column& column) {
  // Without a limit the driver would set the longest value's room aside for each.
  if (column.kind == ColumnKind::Binary) return false;
  if (column.kind != ColumnKind::Text) return LowerTypeName(column) != "datetimeoffset";
  constexpr const char* texts[] = {"char", "varchar", "nchar", "nvarchar"};
  return column.size > 0 && column.size <= 8000 &&
         std::ranges::find(texts, LowerTypeName(column)) != std::end(texts);
}

OdbcBulkCopy::OdbcBulkCopy(OdbcSession& session, std::string table, std::vector<Target> targets)
    : session_(session), table_(std::move(table)) {
  for (Target& target : targets) {
    int type = BCP_TYPE_SQLVARCHAR;
    const ColumnKind kind = target.column.kind;
    if (kind == ColumnKind::Integer || kind == ColumnKind::Boolean) type = BCP_TYPE_SQLINT8;
    if (kind == ColumnKind::Real) type = BCP_TYPE_SQLFLT8;
    slots_.push_back({std::move(target), type, {}});
  }
}

bool OdbcBulkCopy::Fits(std::span<const ado::LoadValue> row) const {
  for (std::size_t i = 0; i < row.size(); ++i) {
    const ado::Column& column = slots_[i].target.column;
    double real = 0;
    bool fits = !row[i].IsNull() || column.nullable;
    if (!row[i].IsNull()) switch (column.kind) {
        case ColumnKind::Integer:
        case ColumnKind::Boolean: fits = FitsInteger(column, row[i]); break;
        case ColumnKind::Real: fits = ReadNumber(row[i], real) && std::isfinite(real); break;
        case ColumnKind::Decimal: fits = FitsDecimal(column, TextOf(row[i])); break;
        case ColumnKind::Date:
        case ColumnKind::DateTime: fits = FitsMoment(column, TextOf(row[i])); break;
        default: fits = ToUtf16(TextOf(row[i])).size() <= static_cast<std::size_t>(column.size);
      }
    if (!fits) return false;
  }
  return true;
}

std::int64_t OdbcBulkCopy::Copy(const ado::LoadRows& rows, std::span<const std::size_t> which) {
  session_.BeginStatement();
  Begin();
  Batch batch(session_.Handle());
  for (const std::size_t row : which) {
    for (std::size_t i = 0; i < slots_.size(); ++i) Put(slots_[i], rows.Row(row)[i]);
    if (bcp_sendrow(session_.Handle()) == FAIL) throw Failure();
  }
  const int taken = batch.End();
  if (taken < 0) throw Failure();
  return taken;
}

void OdbcBulkCopy::Begin() {
  HDBC connection = session_.Handle();
  // Without these hints the server would neither check nor run triggers, and put a column's default
  // in the place of NULL.
  char hints[] = "CHECK_CONSTRAINTS, FIRE_TRIGGERS, KEEP_NULLS";
  if (bcp_initA(connection, table_.c_str(), nullptr, nullptr, BCP_DIRECTION_IN) == FAIL ||
      bcp_control(connection, BCPHINTS, hints) == FAIL)
    throw Failure();
}

void OdbcBulkCopy::Put(Slot& slot, const ado::LoadValue& value) {
  std::string& memory = slot.memory;
  const auto plain = [&](auto number) {
    ReadNumber(value, number);
    memory.resize(sizeof number);
    std::memcpy(memory.data(), &number, sizeof number);
  };
  int length = SQL_NULL_DATA;
  if (!value.IsNull()) {
    if (slot.type == BCP_TYPE_SQLINT8) {
      plain(std::int64_t{0});
    } else if (slot.type == BCP_TYPE_SQLFLT8) {
      plain(0.0);
    } else {
      memory = TextOf(value);
    }
    length = static_cast<int>(memory.size());
  }
  if (memory.capacity() == 0) memory.reserve(1);
  if (bcp_bind(session_.Handle(), reinterpret_cast<const unsigned char*>(memory.data()), 0, length,
               nullptr, 0, slot.type, slot.target.place) == FAIL)
    throw Failure();
}

PlatformError OdbcBulkCopy::Failure() {
  return session_.Failure(SQL_HANDLE_DBC, session_.Handle(), "table " + table_);
}

}  // namespace torvik
