#include "platform/linux/sqlite/SqliteBulkLoad.h"

#include <sqlite3.h>

#include <charconv>
#include <cmath>
#include <deque>
#include <iterator>
#include <utility>

#include "platform/NumberText.h"
#include "platform/linux/database/LoadText.h"
#include "platform/linux/database/SqlNames.h"
#include "platform/linux/sqlite/SqliteDecimal.h"
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

/// A column of decimals that promises to keep its digits.
struct Decimal {
  std::size_t place, scale;
  std::string name;
};

bool IsView(SqliteSession& session, const std::string& schema, const std::string& table) {
  SqliteStatement views(session,
                        "SELECT 1 FROM " + QuotedName(schema) +
                            ".sqlite_schema WHERE type = 'view' AND name = ?1 COLLATE NOCASE",
                        "");
  views.Bind(1, table);
  return views.Step();
}

/// One INSERT, compiled once. It calls the library directly: a row passes here for every line of
/// the largest files, and its bytes are bound where they lie.
class SqliteBulkLoad final : public ado::BulkLoad {
 public:
  SqliteBulkLoad(std::shared_ptr<SqliteSession> session, const std::string& schema,
                 const std::string& table, const std::vector<ado::Column>& columns)
      : session_(std::move(session)),
        place_("table " + table),
        isView_(IsView(*session_, schema, table)) {
    for (const ado::Column& column : columns) {
      if (column.kind == ado::ColumnKind::Decimal && column.precision > 0)
        decimals_.push_back(
            {bindings_.size(), static_cast<std::size_t>(column.scale), column.name});
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
      const std::span<const ado::LoadValue> values = Rounded(rows.Row(row));
      if (const std::string misfit = MisfitOf(values); !misfit.empty()) {
        refused.push_back({row, 0, place_ + misfit});
        if (refused.size() - before > tolerated) return;
        continue;
      }
      if (Insert(values)) continue;
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

  /// The row, its decimals rounded to the digits that their columns have behind the point.
  std::span<const ado::LoadValue> Rounded(std::span<const ado::LoadValue> row) {
    bool isSame = true;
    for (const Decimal& decimal : decimals_) {
      const ado::LoadValue& value = row[decimal.place];
      if (value.IsNull() || value.GetKind() == ado::LoadValue::Kind::Integer) continue;
      char text[400];
      const char* const end =
          value.IsText()
              ? text
              : std::to_chars(text, std::end(text), value.Real(), std::chars_format::fixed).ptr;
      std::string rounded = RoundedDecimal(
          value.IsText() ? value.Text()
                         : std::string_view(text, static_cast<std::size_t>(end - text)),
          decimal.scale);
      if (rounded.empty()) continue;
      if (isSame) values_.assign(row.begin(), row.end()), texts_.clear();
      isSame = false;
      values_[decimal.place] = texts_.emplace_back(std::move(rounded));
    }
    return isSame ? row : std::span<const ado::LoadValue>(values_);
  }

  /// Decimals are kept as numbers of 15 digits: one of more is refused where its column promises
  /// to keep them.
  std::string MisfitOf(std::span<const ado::LoadValue> row) const {
    for (const Decimal& decimal : decimals_) {
      const ado::LoadValue& value = row[decimal.place];
      if (value.IsText() && !IsKeptDecimal(value.Text()))
        return ", column " + decimal.name + ": the server keeps 15 digits of " +
               std::string(value.Text()) + "; round it, or give the column a text type";
    }
    return {};
  }

  bool Insert(std::span<const ado::LoadValue> row) {
    for (std::size_t i = 0; i < row.size(); ++i)
      if (Bind(static_cast<int>(i) + 1, bindings_[i], row[i]) != SQLITE_OK) return false;
    const int code = sqlite3_step(insert_);
    sqlite3_reset(insert_);
    if (code != SQLITE_DONE) return false;
    // A trigger may have dropped the row; what one does for a view is not counted.
    rows_ += isView_ ? 1 : sqlite3_changes64(session_->Handle());
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
  const bool isView_;
  std::vector<Binding> bindings_;
  std::vector<Decimal> decimals_;
  std::vector<ado::LoadValue> values_;  ///< A row with its decimals rounded.
  std::deque<std::string> texts_;       ///< Of those.
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
