#include "platform/linux/sqlite/SqliteBulkLoad.h"

#include <sqlite3.h>

#include <charconv>
#include <cmath>
#include <iterator>
#include <utility>

#include "platform/NumberText.h"
#include "platform/linux/database/LoadText.h"
#include "platform/linux/database/SqlNames.h"
#include "platform/linux/sqlite/SqliteSession.h"
#include "platform/linux/sqlite/SqliteStatement.h"

namespace torvik {
namespace {

/// In KiB, below 0: keeps the pages of an index, into which rows go in no order, from being written
/// and read again and again. A table without an index needs no more than the usual 2 MiB.
constexpr const char* kIndexCache = "-32768";

bool HasIndex(SqliteSession& session, const std::string& schema, const std::string& table) {
  SqliteStatement indexes(session, "SELECT 1 FROM pragma_index_list(?1, ?2)", "");
  indexes.Bind(1, table);
  indexes.Bind(2, schema);
  return indexes.Step();
}

/// How a column's values are bound.
enum class Binding { Text, Integer, Number, Bytes };

Binding BindingOf(ado::ColumnKind kind) {
  switch (kind) {
    case ado::ColumnKind::Integer:
    case ado::ColumnKind::Boolean: return Binding::Integer;
    case ado::ColumnKind::Decimal:
    case ado::ColumnKind::Real: return Binding::Number;
    case ado::ColumnKind::Binary: return Binding::Bytes;
    default: return Binding::Text;
  }
}

/// True when the whole of `text` is a number of that type; an infinity or "nan" is none.
template <typename Number>
bool ReadNumber(std::string_view text, Number& number) {
  const auto read = NumberOf<Number>(text);
  if (!read || !std::isfinite(static_cast<double>(*read))) return false;
  number = *read;
  return true;
}

/// The digits that make a number, without those that only say how large it is; the exponent is left
/// out. Empty when it is no plain number.
std::string Significant(std::string_view text) {
  std::string digits;
  for (const char c : text.substr(0, text.find('e'))) {
    if (c >= '0' && c <= '9') {
      if (c != '0' || !digits.empty()) digits += c;
    } else if (c != '.' && c != '-') {
      return "";
    }
  }
  digits.erase(digits.find_last_not_of('0') + 1);
  return digits;
}

/// True when a decimal is the same after it has been a double.
bool IsKept(std::string_view text) {
  constexpr std::size_t kSure = 15;
  if (text.size() <= kSure) return true;
  std::int64_t whole = 0;
  double real = 0;
  const std::string digits = Significant(text);
  if (digits.size() <= kSure || ReadNumber(text, whole) || !ReadNumber(text, real)) return true;
  char back[80];
  const auto end = std::to_chars(back, std::end(back), real, std::chars_format::scientific,
                                 static_cast<int>(digits.size() - 1));
  return end.ec == std::errc() &&
         digits == Significant({back, static_cast<std::size_t>(end.ptr - back)});
}

/// One INSERT, compiled once. It calls the library directly: a row passes here for every line of
/// the largest files, and its bytes are bound where they lie.
class SqliteBulkLoad final : public ado::BulkLoad {
 public:
  SqliteBulkLoad(std::shared_ptr<SqliteSession> session, const std::string& schema,
                 const std::string& table, const std::vector<ado::Column>& columns)
      : session_(std::move(session)), place_("table " + table) {
    for (const ado::Column& column : columns) {
      if (column.kind == ado::ColumnKind::Decimal && column.precision > 0)
        decimals_.emplace_back(bindings_.size(), column.name);
      bindings_.push_back(BindingOf(column.kind));
    }
    if (HasIndex(*session_, schema, table))
      session_->Run("PRAGMA " + QuotedName(schema) + ".cache_size = " + kIndexCache);
    const std::string sql = InsertText(QuotedName(schema) + "." + QuotedName(table), columns,
                                       [](const ado::Column&) { return "?"; });
    session_->BeginStatement();
    if (sqlite3_prepare_v3(session_->Handle(), sql.c_str(), -1, SQLITE_PREPARE_PERSISTENT, &insert_,
                           nullptr) != SQLITE_OK)
      throw session_->Failure(place_);
  }
  ~SqliteBulkLoad() override { sqlite3_finalize(insert_); }
  SqliteBulkLoad(const SqliteBulkLoad&) = delete;
  SqliteBulkLoad& operator=(const SqliteBulkLoad&) = delete;

  void Load(const ado::LoadRows& rows, std::size_t tolerated,
            std::vector<ado::Refusal>& refused) override {
    if (const std::string problem = WidthProblem(rows, bindings_.size()); !problem.empty())
      throw session_->Refusal(place_ + ": " + problem);
    session_->BeginStatement();
    const bool isInTransaction = sqlite3_get_autocommit(session_->Handle()) == 0;
    const std::size_t before = refused.size();
    for (std::size_t row = 0; row < rows.Count(); ++row) {
      if (const std::string misfit = MisfitOf(rows.Row(row)); !misfit.empty()) {
        refused.push_back({row, 0, place_ + misfit});
        if (refused.size() - before > tolerated) return;
        continue;
      }
      if (Insert(rows.Row(row))) continue;
      const PlatformError error = session_->Failure(place_);
      // A trigger may have rolled the whole transaction back.
      const bool isLost = isInTransaction && sqlite3_get_autocommit(session_->Handle()) != 0;
      if (isLost || !IsRefusal(error.number)) throw error;
      refused.push_back({row, error.number, error.Description()});
      if (refused.size() - before > tolerated) return;
    }
  }

  std::int64_t Finish() override { return rows_; }

 private:
  /// True for an error that lies in the row.
  static bool IsRefusal(long code) {
    switch (code & 0xFF) {
      case SQLITE_CONSTRAINT:
      case SQLITE_MISMATCH:
      case SQLITE_TOOBIG: return true;
      default: return false;
    }
  }

  /// Decimals are kept as numbers of 15 digits: one of more is refused where its column promises
  /// to keep them.
  std::string MisfitOf(std::span<const ado::LoadValue> row) const {
    for (const auto& [position, name] : decimals_) {
      const ado::LoadValue& value = row[position];
      if (value.IsText() && !IsKept(value.Text()))
        return ", column " + name + ": the server keeps 15 digits of " + std::string(value.Text()) +
               "; round it, or give the column a text type";
    }
    return {};
  }

  bool Insert(std::span<const ado::LoadValue> row) {
    for (std::size_t i = 0; i < row.size(); ++i)
      if (Bind(static_cast<int>(i) + 1, bindings_[i], row[i]) != SQLITE_OK) return false;
    const int code = sqlite3_step(insert_);
    sqlite3_reset(insert_);
    if (code != SQLITE_DONE) return false;
    rows_ += sqlite3_changes64(session_->Handle());  // a trigger may have dropped the row
    return true;
  }

  int Bind(int position, Binding binding, const ado::LoadValue& value) {
    switch (value.GetKind()) {
      case ado::LoadValue::Kind::Null: return sqlite3_bind_null(insert_, position);
      case ado::LoadValue::Kind::Integer:
        return sqlite3_bind_int64(insert_, position, value.Integer());
      case ado::LoadValue::Kind::Real: return sqlite3_bind_double(insert_, position, value.Real());
      case ado::LoadValue::Kind::Text: break;
    }
    return BindText(position, binding, value.Text());
  }

  int BindText(int position, Binding binding, std::string_view value) {
    // A null pointer would be bound as NULL, not as an empty text.
    const char* data = value.data() ? value.data() : "";
    std::int64_t whole = 0;
    double real = 0;
    switch (binding) {
      case Binding::Integer:
        if (ReadNumber(value, whole)) return sqlite3_bind_int64(insert_, position, whole);
        break;
      case Binding::Number:
        if (ReadNumber(value, whole)) return sqlite3_bind_int64(insert_, position, whole);
        if (ReadNumber(value, real)) return sqlite3_bind_double(insert_, position, real);
        break;
      case Binding::Bytes:
        return sqlite3_bind_blob64(insert_, position, data, value.size(), SQLITE_STATIC);
      case Binding::Text: break;
    }
    return sqlite3_bind_text64(insert_, position, data, value.size(), SQLITE_STATIC, SQLITE_UTF8);
  }

  const std::shared_ptr<SqliteSession> session_;
  const std::string place_;
  std::vector<Binding> bindings_;
  std::vector<std::pair<std::size_t, std::string>> decimals_;  ///< Their places and names.
  sqlite3_stmt* insert_ = nullptr;
  std::int64_t rows_ = 0;
};

}  // namespace

std::unique_ptr<ado::BulkLoad> NewSqliteBulkLoad(std::shared_ptr<SqliteSession> session,
                                                 const std::string& schema,
                                                 const std::string& table,
                                                 const std::vector<ado::Column>& columns) {
  return std::make_unique<SqliteBulkLoad>(std::move(session), schema, table, columns);
}

}  // namespace torvik
