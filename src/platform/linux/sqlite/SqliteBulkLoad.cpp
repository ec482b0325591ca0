#include "platform/linux/sqlite/SqliteBulkLoad.h"

#include <sqlite3.h>

#include <deque>
#include <utility>

#include "platform/Text.h"
#include "platform/linux/database/LoadText.h"
#include "platform/linux/database/SqlNames.h"
#include "platform/linux/sqlite/SqliteBulkRead.h"
#include "platform/linux/sqlite/SqliteDecimal.h"
#include "platform/linux/sqlite/SqliteLoadTable.h"
#include "platform/linux/sqlite/SqliteLoadValue.h"
#include "platform/linux/sqlite/SqliteRecordLoad.h"
#include "platform/linux/sqlite/SqliteRowsTable.h"
#include "platform/linux/sqlite/SqliteSession.h"
#include "platform/linux/sqlite/SqliteStatement.h"
#include "platform/linux/sqlite/SqliteTransfer.h"

namespace torvik {
namespace {

/// In KiB, below 0: keeps the pages of an index, into which rows go in no order, from being written
/// and read again and again. A table without an index needs no more than the usual 2 MiB.
constexpr const char* kIndexCache = "-27648";

/// A row of more bytes goes alone, so that SQLite's limit of a row meets it alone.
constexpr std::size_t kMostBytesOfRow = std::size_t{1} << 20;

/// A column of decimals that promises to keep its digits.
struct Decimal {
  std::size_t place, scale;
  std::string name;
};

/// A value as a parameter's. SQLite copies none of its bytes.
struct ParameterSink {
  sqlite3_stmt* statement;
  int position;
  int Null() const { return sqlite3_bind_null(statement, position); }
  int Integer(std::int64_t number) const { return sqlite3_bind_int64(statement, position, number); }
  int Real(double number) const { return sqlite3_bind_double(statement, position, number); }
  int Text(const char* data, std::size_t size) const {
    return sqlite3_bind_text64(statement, position, data, size, SQLITE_STATIC, SQLITE_UTF8);
  }
  int Bytes(const char* data, std::size_t size) const {
    return sqlite3_bind_blob64(statement, position, data, size, SQLITE_STATIC);
  }
};

/// Rows of a plain table go as records; rows that nothing but a constraint can refuse together, by
/// one statement that reads them from a virtual table; the others, and those of tables where that
/// would not do the same, one by one. It calls the library directly: a row passes here for every
/// line of the largest files.
class SqliteBulkLoad final : public ado::BulkLoad {
 public:
  SqliteBulkLoad(std::shared_ptr<SqliteSession> session, const SqliteLoadTable& table,
                 const std::string& name, const std::vector<ado::Column>& columns,
                 bool isOwnTransaction)
      : session_(std::move(session)),
        table_(table),
        columns_(columns),
        place_("table " + name),
        isOwnTransaction_(isOwnTransaction),
        storages_(StoragesOf(columns)),
        together_(*session_, storages_),
        isInTransaction_(IsInTransaction()),
        records_(isInTransaction_ ? SqliteRecordLoad::Open(session_, table, columns) : nullptr) {
    for (std::size_t i = 0; i < columns.size(); ++i) {
      if (columns[i].kind == ado::ColumnKind::Decimal && columns[i].precision > 0)
        decimals_.push_back({i, static_cast<std::size_t>(columns[i].scale), columns[i].name});
      if (!table.rowNumberColumn.empty() && columns[i].name == table.rowNumberColumn)
        rowNumber_ = i;
    }
    if (table.hasIndex)
      session_->Run("PRAGMA " + QuotedName(table.schema) + ".cache_size = " + kIndexCache);
    const std::string into = QuotedName(table.schema) + "." + QuotedName(name);
    session_->BeginStatement();
    insertOne_ = Prepare(InsertText(into, columns, [](const ado::Column&) { return "?"; }));
    if (table.takesRowsTogether)
      insertMany_ = Prepare("INSERT OR FAIL " + IntoText(into, columns) + " SELECT * FROM " +
                            together_.Name());
  }

  void Load(const ado::LoadRows& rows, std::size_t tolerated,
            std::vector<ado::Refusal>& refused) override {
    if (const std::string problem = WidthProblem(rows, storages_.size()); !problem.empty())
      throw session_->Refusal(place_ + ": " + problem);
    session_->BeginStatement();
    isInTransaction_ = IsInTransaction();
    const std::size_t before = refused.size();
    for (std::size_t row = 0; row < rows.Count() && refused.size() - before <= tolerated;) {
      row += InsertRecords(rows, row);
      if (row == rows.Count()) break;
      const std::size_t together = CountTogether(rows, row);
      row += together > 0 ? InsertMany(rows, row, together, refused)
                          : InsertOne(rows.Row(row), row, refused);
    }
  }

  /// The other database is attached until the transaction ends. To a statement that someone else
  /// has written, a table that is missing would be the one of that name there.
  std::optional<std::int64_t> LoadAll(ado::BulkRead& rows, std::span<const std::size_t> columns,
                                      const std::function<void(std::int64_t)>& progress) override {
    auto* const read = dynamic_cast<SqliteRead*>(&rows);
    isInTransaction_ = IsInTransaction();
    if (read == nullptr || !records_ || !isInTransaction_ || !isOwnTransaction_ ||
        !IsWholeTable(columns))
      return {};
    const auto loaded = TransferSqliteRows(*session_, table_, columns_, *read, progress);
    rows_ += loaded.value_or(0);
    return loaded;
  }

  std::int64_t Finish() override { return rows_; }

 private:
  struct Finalize {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
  };
  using Statement = std::unique_ptr<sqlite3_stmt, Finalize>;

  static std::vector<SqliteStorage> StoragesOf(const std::vector<ado::Column>& columns) {
    std::vector<SqliteStorage> storages;
    for (const ado::Column& column : columns) storages.push_back(SqliteStorageOf(column.kind));
    return storages;
  }

  bool IsInTransaction() const { return sqlite3_get_autocommit(session_->Handle()) == 0; }

  Statement Prepare(const std::string& sql) {
    sqlite3_stmt* statement = nullptr;
    if (sqlite3_prepare_v3(session_->Handle(), sql.c_str(), -1, SQLITE_PREPARE_PERSISTENT,
                           &statement, nullptr) != SQLITE_OK)
      throw session_->Failure(place_);
    return Statement(statement);
  }

  /// How many rows from `first` on may go together; without a transaction each is committed alone.
  std::size_t CountTogether(const ado::LoadRows& rows, std::size_t first) const {
    if (!insertMany_ || !isInTransaction_) return 0;
    std::size_t end = first;
    while (end < rows.Count() && MayGoTogether(rows.Row(end))) ++end;
    return end - first;
  }

  bool MayGoTogether(std::span<const ado::LoadValue> row) const {
    std::size_t bytes = 0;
    for (const ado::LoadValue& value : row) bytes += value.IsText() ? value.Text().size() : 0;
    if (bytes > kMostBytesOfRow || NeedsRounding(row) || !MisfitOf(row).empty()) return false;
    if (rowNumber_ == SIZE_MAX) return true;
    const ado::LoadValue& value = row[rowNumber_];
    std::int64_t number = 0;
    return value.IsNull() || value.GetKind() == ado::LoadValue::Kind::Integer ||
           (value.IsText() && ReadNumber(value.Text(), number));
  }

  bool NeedsRounding(std::span<const ado::LoadValue> row) const {
    for (const Decimal& decimal : decimals_)
      if (HasMoreDigits(row[decimal.place], decimal.scale)) return true;
    return false;
  }

  /// The row, its decimals rounded to the digits that their columns have behind the point.
  std::span<const ado::LoadValue> Rounded(std::span<const ado::LoadValue> row) {
    if (!NeedsRounding(row)) return row;
    rounded_.assign(row.begin(), row.end());
    texts_.clear();
    for (const Decimal& decimal : decimals_)
      if (ado::LoadValue& value = rounded_[decimal.place]; HasMoreDigits(value, decimal.scale))
        value = texts_.emplace_back(RoundedDecimal(value, decimal.scale));
    return rounded_;
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

  /// True when each of the table's columns, in its order, gets the value at its own place.
  bool IsWholeTable(std::span<const std::size_t> places) const {
    bool isWhole = places.size() == table_.columns.size() && places.size() == columns_.size();
    for (std::size_t i = 0; isWhole && i < places.size(); ++i)
      isWhole = places[i] == i && EqualsIgnoringCase(columns_[i].name, table_.columns[i].name);
    return isWhole;
  }

  /// Answers how many rows it has loaded: those from `first` on that can go as records.
  std::size_t InsertRecords(const ado::LoadRows& rows, std::size_t first) {
    if (!records_ || !isInTransaction_) return 0;
    records_->Clear();
    std::size_t end = first;
    while (end < rows.Count() && MayGoTogether(rows.Row(end)) && records_->Add(rows.Row(end)))
      ++end;
    if (end > first) Count(records_->Load(), end - first);
    return end - first;
  }

  /// Answers how many rows it has dealt with: up to the first that is refused, or all.
  std::size_t InsertMany(const ado::LoadRows& rows, std::size_t first, std::size_t count,
                         std::vector<ado::Refusal>& refused) {
    together_.Show({rows.values.subspan(first * rows.width, count * rows.width), rows.width});
    const bool isDone = Step(insertMany_.get());
    const std::int64_t inserted = sqlite3_changes64(session_->Handle());
    const std::size_t passed = isDone ? count : together_.Position();
    if (!isDone) Refuse(first + passed, refused);
    Count(inserted, passed);
    return isDone ? count : passed + 1;
  }

  void Count(std::int64_t inserted, std::size_t sent) {
    if (inserted != static_cast<std::int64_t>(sent))
      throw session_->Refusal(place_ + ": " + std::to_string(sent) +
                              " rows were sent but the server took " + std::to_string(inserted));
    rows_ += inserted;
  }

  std::size_t InsertOne(std::span<const ado::LoadValue> given, std::size_t row,
                        std::vector<ado::Refusal>& refused) {
    const std::span<const ado::LoadValue> values = Rounded(given);
    if (const std::string misfit = MisfitOf(values); !misfit.empty()) {
      refused.push_back({row, 0, place_ + misfit});
    } else if (Bind(values) && Step(insertOne_.get())) {
      // A trigger may have dropped the row; what one does for a view is not counted.
      rows_ += table_.isView ? 1 : sqlite3_changes64(session_->Handle());
    } else {
      Refuse(row, refused);
    }
    return 1;
  }

  bool Bind(std::span<const ado::LoadValue> values) {
    for (std::size_t i = 0; i < values.size(); ++i)
      if (StoreValue(values[i], storages_[i],
                     ParameterSink{insertOne_.get(), static_cast<int>(i) + 1}) != SQLITE_OK)
        return false;
    return true;
  }

  static bool Step(sqlite3_stmt* statement) {
    const int code = sqlite3_step(statement);
    sqlite3_reset(statement);
    return code == SQLITE_DONE;
  }

  /// Keeps the error that SQLite has just reported of the row; throws one that does not lie in it.
  void Refuse(std::size_t row, std::vector<ado::Refusal>& refused) {
    const PlatformError error = session_->Failure(place_);
    // A trigger may have rolled the whole transaction back.
    const bool isLost = isInTransaction_ && !IsInTransaction();
    if (isLost || !IsRefusal(error.number)) throw error;
    refused.push_back({row, error.number, error.Description()});
  }

  /// True for an error that lies in the row.
  static bool IsRefusal(long code) {
    switch (code & 0xFF) {
      case SQLITE_CONSTRAINT:
      case SQLITE_MISMATCH:
      case SQLITE_TOOBIG: return true;
      default: return false;
    }
  }

  const std::shared_ptr<SqliteSession> session_;
  const SqliteLoadTable table_;
  const std::vector<ado::Column> columns_;
  const std::string place_;
  const bool isOwnTransaction_;
  const std::vector<SqliteStorage> storages_;
  std::vector<Decimal> decimals_;
  std::vector<ado::LoadValue> rounded_;  ///< A row with its decimals rounded.
  std::deque<std::string> texts_;        ///< Of those.
  std::size_t rowNumber_ = SIZE_MAX;     ///< That column's place.
  SqliteRowsTable together_;
  bool isInTransaction_;
  const std::unique_ptr<SqliteRecordLoad> records_;  ///< Null where rows cannot go so.
  Statement insertOne_, insertMany_;
  std::int64_t rows_ = 0;
};

}  // namespace

std::unique_ptr<ado::BulkLoad> NewSqliteBulkLoad(std::shared_ptr<SqliteSession> session,
                                                 const std::string& schema,
                                                 const std::string& table,
                                                 const std::vector<ado::Column>& columns,
                                                 bool isOwnTransaction) {
  const SqliteLoadTable looked = LookAtLoadTable(*session, schema, table);
  return std::make_unique<SqliteBulkLoad>(std::move(session), looked, table, columns,
                                          isOwnTransaction);
}

}  // namespace torvik
