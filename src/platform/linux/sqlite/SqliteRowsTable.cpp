#include "platform/linux/sqlite/SqliteRowsTable.h"

#include <sqlite3.h>

#include <new>
#include <utility>

#include "platform/linux/sqlite/SqliteSession.h"

namespace torvik {
namespace {

/// A value as a column's of the row that is read. SQLite copies none of its bytes.
struct ResultSink {
  sqlite3_context* context;
  void Null() const { sqlite3_result_null(context); }
  void Integer(std::int64_t number) const { sqlite3_result_int64(context, number); }
  void Real(double number) const { sqlite3_result_double(context, number); }
  void Text(const char* data, std::size_t size) const {
    sqlite3_result_text64(context, data, size, SQLITE_STATIC, SQLITE_UTF8);
  }
  void Bytes(const char* data, std::size_t size) const {
    sqlite3_result_blob64(context, data, size, SQLITE_STATIC);
  }
};

struct ConnectedTable : sqlite3_vtab {
  SqliteRowsTable* rows = nullptr;
};

}  // namespace

/// What SQLite calls. One statement at a time reads the table, so its position is the cursor's.
struct SqliteRowsTable::Calls {
  static SqliteRowsTable& Of(sqlite3_vtab_cursor* cursor) {
    return *static_cast<ConnectedTable*>(cursor->pVtab)->rows;
  }

  static int Connect(sqlite3* handle, void* rows, int, const char* const*, sqlite3_vtab** table,
                     char**) {
    auto* connected = new (std::nothrow) ConnectedTable();
    if (connected == nullptr) return SQLITE_NOMEM;
    connected->rows = static_cast<SqliteRowsTable*>(rows);
    std::string columns;
    for (std::size_t i = 0; i < connected->rows->columns_.size(); ++i)
      columns += (columns.empty() ? "c" : ", c") + std::to_string(i);
    *table = connected;
    return sqlite3_declare_vtab(handle, ("CREATE TABLE rows (" + columns + ")").c_str());
  }
  static int Disconnect(sqlite3_vtab* table) {
    delete static_cast<ConnectedTable*>(table);
    return SQLITE_OK;
  }
  static int BestIndex(sqlite3_vtab*, sqlite3_index_info*) { return SQLITE_OK; }
  static int Open(sqlite3_vtab*, sqlite3_vtab_cursor** cursor) {
    *cursor = new (std::nothrow) sqlite3_vtab_cursor();
    return *cursor == nullptr ? SQLITE_NOMEM : SQLITE_OK;
  }
  static int Close(sqlite3_vtab_cursor* cursor) {
    delete cursor;
    return SQLITE_OK;
  }
  static int Filter(sqlite3_vtab_cursor* cursor, int, const char*, int, sqlite3_value**) {
    Of(cursor).position_ = 0;
    Of(cursor).row_ = Of(cursor).first_;
    return SQLITE_OK;
  }
  static int Next(sqlite3_vtab_cursor* cursor) {
    SqliteRowsTable& table = Of(cursor);
    ++table.position_;
    table.row_ += table.columns_.size();
    return SQLITE_OK;
  }
  static int IsAtEnd(sqlite3_vtab_cursor* cursor) {
    return Of(cursor).position_ >= Of(cursor).count_;
  }
  static int Column(sqlite3_vtab_cursor* cursor, sqlite3_context* context, int column) {
    const SqliteRowsTable& table = Of(cursor);
    const auto at = static_cast<std::size_t>(column);
    StoreValue(table.row_[at], table.columns_[at], ResultSink{context});
    return SQLITE_OK;
  }
  static int RowId(sqlite3_vtab_cursor* cursor, sqlite3_int64* id) {
    *id = static_cast<sqlite3_int64>(Of(cursor).position_);
    return SQLITE_OK;
  }

  /// Without xCreate the module's name is the table's.
  static const sqlite3_module& Module() {
    static const sqlite3_module module = {.xConnect = Connect,
                                          .xBestIndex = BestIndex,
                                          .xDisconnect = Disconnect,
                                          .xOpen = Open,
                                          .xClose = Close,
                                          .xFilter = Filter,
                                          .xNext = Next,
                                          .xEof = IsAtEnd,
                                          .xColumn = Column,
                                          .xRowid = RowId};
    return module;
  }
};

SqliteRowsTable::SqliteRowsTable(SqliteSession& session, std::vector<SqliteStorage> columns)
    : session_(session),
      name_("torvik_rows_" + std::to_string(session.NextNumber())),
      columns_(std::move(columns)) {
  if (sqlite3_create_module_v2(session_.Handle(), name_.c_str(), &Calls::Module(), this, nullptr) !=
      SQLITE_OK)
    throw session_.Failure("rows of a load");
}

SqliteRowsTable::~SqliteRowsTable() {
  sqlite3_create_module_v2(session_.Handle(), name_.c_str(), nullptr, nullptr, nullptr);
}

void SqliteRowsTable::Show(const ado::LoadRows& rows) {
  count_ = rows.Count();
  first_ = rows.values.data();
}

}  // namespace torvik
