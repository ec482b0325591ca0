#include "platform/linux/tables/TableFileModule.h"

#include <sqlite3.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>
#include <map>
#include <optional>
#include <sstream>
#include <utility>

#include "platform/Text.h"
#include "platform/linux/database/SqlNames.h"
#include "platform/linux/tables/RowHashIndex.h"
#include "platform/linux/tables/common/DecimalText.h"

namespace torvik {
namespace {

constexpr const char* kModule = "torvik_file_table";

struct VirtualTable : sqlite3_vtab {
  explicit VirtualTable(const FileTable& table) : sqlite3_vtab{}, table(table) {}

  const FileTable& table;
};

/// One reading of a table. SQLite may filter anew several times, with other values for the same
/// columns.
struct Cursor : sqlite3_vtab_cursor {
  explicit Cursor(const FileTable& table) : sqlite3_vtab_cursor{}, table(table) {}

  const FileTable& table;
  std::unique_ptr<FileRows> rows;
  bool atEnd = true;
  bool hasFiltered = false;
  std::optional<RowHashIndex> places;
  std::span<const std::pair<std::uint64_t, std::int64_t>> found;  ///< Those still to come.
};

/// Runs `action`, which may throw, for SQLite, which takes codes and a text.
template <typename Action>
int Guarded(char** message, const Action& action) {
  try {
    return action();
  } catch (const std::exception& error) {
    sqlite3_free(*message);
    *message = sqlite3_mprintf("%s", error.what());
    return SQLITE_ERROR;
  }
}

std::string Declaration(const FileTable& table) {
  std::string columns;
  for (const ado::Column& column : table.Columns()) {
    columns += (columns.empty() ? "" : ", ") + QuotedName(column.name) + " " + column.declaredType;
    if (column.kind == ado::ColumnKind::Decimal)
      columns += std::string(" COLLATE ") + kDecimalCollation;
    if (!column.nullable) columns += " NOT NULL";
  }
  return "CREATE TABLE t (" + columns + ")";
}

/// The tables that the handle may ask for, by the names under which it knows them.
class TableFileModule final : public SessionTables {
 public:
  explicit TableFileModule(std::unique_ptr<TableFile> file) : file_(std::move(file)) {}

  bool AddTo(sqlite3* handle) override {
    AddDecimalCollation(handle);
    sqlite3_create_module_v2(handle, kModule, &kListed, this, nullptr);
    std::string sql;
    for (const FileTable* table : file_->Tables()) {
      byName_.emplace(table->Name(), table);
      sql += "CREATE VIRTUAL TABLE main." + QuotedName(table->Name()) + " USING " + kModule + ";";
    }
    return sqlite3_exec(handle, sql.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK;
  }

  void Meet(sqlite3* handle, const std::string& name) override {
    if (byName_.contains(name)) return;
    const FileTable* table = file_->FindByOtherName(name);
    if (table == nullptr) return;
    byName_.emplace(name, table);
    // A module that only exists under its own name is a table that no list of tables shows.
    sqlite3_create_module_v2(handle, name.c_str(), &kUnlisted, this, nullptr);
  }

 private:
  static int Connect(sqlite3* handle, void* self, int, const char* const* arguments,
                     sqlite3_vtab** result, char** message) {
    return Guarded(message, [&] {
      const auto* module = static_cast<const TableFileModule*>(self);
      const auto found = module->byName_.find(arguments[2]);
      if (found == module->byName_.end()) return SQLITE_ERROR;
      const int code = sqlite3_declare_vtab(handle, Declaration(*found->second).c_str());
      if (code != SQLITE_OK) {
        *message = sqlite3_mprintf("%s", sqlite3_errmsg(handle));
        return code;
      }
      *result = new VirtualTable(*found->second);
      return SQLITE_OK;
    });
  }

  static const sqlite3_module kListed, kUnlisted;

  struct CaseAside {
    using is_transparent = void;
    bool operator()(std::string_view a, std::string_view b) const {
      return std::ranges::lexicographical_compare(
          a, b, {}, [](char c) { return LowerAscii(c); }, [](char c) { return LowerAscii(c); });
    }
  };

  const std::unique_ptr<TableFile> file_;
  std::map<std::string, const FileTable*, CaseAside> byName_;
};

VirtualTable& TableOf(sqlite3_vtab* table) {
  return *static_cast<VirtualTable*>(table);
}
Cursor& CursorOf(sqlite3_vtab_cursor* cursor) {
  return *static_cast<Cursor*>(cursor);
}

/// The columns of which SQLite gives values, as text that it keeps from plan to filter.
std::string ColumnList(const std::vector<int>& columns) {
  std::string text;
  for (const int column : columns) text += std::to_string(column) + " ";
  return text;
}
std::vector<int> ColumnsIn(const char* list) {
  std::istringstream text(list);
  return {std::istream_iterator<int>(text), {}};
}

int BestIndex(sqlite3_vtab* table, sqlite3_index_info* plan) {
  return Guarded(&table->zErrMsg, [&] {
    std::vector<int> columns;
    for (int i = 0; i < plan->nConstraint; ++i) {
      const auto& constraint = plan->aConstraint[i];
      if (!constraint.usable || constraint.op != SQLITE_INDEX_CONSTRAINT_EQ ||
          constraint.iColumn < 0)
        continue;
      columns.push_back(constraint.iColumn);
      plan->aConstraintUsage[i].argvIndex = static_cast<int>(columns.size());
    }
    const auto rows =
        static_cast<double>(std::max<std::int64_t>(1, TableOf(table).table.RowEstimate()));
    plan->estimatedCost = columns.empty() ? rows : 20 + std::log2(rows);
    plan->estimatedRows = static_cast<sqlite3_int64>(columns.empty() ? rows : 1 + rows / 100);
    if (columns.empty()) return SQLITE_OK;
    plan->idxStr = sqlite3_mprintf("%s", ColumnList(columns).c_str());
    plan->needToFreeIdxStr = 1;
    return plan->idxStr ? SQLITE_OK : SQLITE_NOMEM;
  });
}

int Disconnect(sqlite3_vtab* table) {
  delete &TableOf(table);
  return SQLITE_OK;
}

int OpenCursor(sqlite3_vtab* table, sqlite3_vtab_cursor** result) {
  return Guarded(&table->zErrMsg, [&] {
    *result = new Cursor(TableOf(table).table);
    return SQLITE_OK;
  });
}

int CloseCursor(sqlite3_vtab_cursor* cursor) {
  delete &CursorOf(cursor);
  return SQLITE_OK;
}

void MoveOn(Cursor& cursor) {
  if (!cursor.places) {
    cursor.atEnd = !cursor.rows->Step();
    return;
  }
  cursor.atEnd = cursor.found.empty();
  if (cursor.atEnd) return;
  cursor.rows->GoTo(cursor.found.front().second);
  cursor.found = cursor.found.subspan(1);
}

ado::Value ValueOf(sqlite3_value* value) {
  const auto bytes = [&](const void* data) {
    return std::string(static_cast<const char*>(data),
                       static_cast<std::size_t>(sqlite3_value_bytes(value)));
  };
  switch (sqlite3_value_type(value)) {
    case SQLITE_INTEGER: return sqlite3_value_int64(value);
    case SQLITE_FLOAT: return sqlite3_value_double(value);
    case SQLITE_TEXT: return bytes(sqlite3_value_text(value));
    case SQLITE_BLOB: return ado::Blob{bytes(sqlite3_value_blob(value))};
    default: return ado::Null{};
  }
}

/// The rows with the given values, or all of them: SQLite compares again.
int Filter(sqlite3_vtab_cursor* base, int, const char* columnList, int count,
           sqlite3_value** arguments) {
  return Guarded(&base->pVtab->zErrMsg, [&] {
    Cursor& cursor = CursorOf(base);
    // One look through the table costs less than remembering its places for one value.
    if (columnList != nullptr && cursor.hasFiltered) {
      if (!cursor.places) cursor.places.emplace(*cursor.table.Open(), ColumnsIn(columnList));
      std::vector<ado::Value> values(static_cast<std::size_t>(count));
      std::transform(arguments, arguments + count, values.begin(), ValueOf);
      cursor.found = cursor.places->Find(values);
    }
    if (!cursor.places || !cursor.rows) cursor.rows = cursor.table.Open();
    cursor.hasFiltered = true;
    MoveOn(cursor);
    return SQLITE_OK;
  });
}

int Next(sqlite3_vtab_cursor* cursor) {
  return Guarded(&cursor->pVtab->zErrMsg, [&] {
    MoveOn(CursorOf(cursor));
    return SQLITE_OK;
  });
}

int AtEnd(sqlite3_vtab_cursor* cursor) {
  return CursorOf(cursor).atEnd;
}

struct Answer {
  sqlite3_context* context;

  void operator()(const ado::Null&) const { sqlite3_result_null(context); }
  void operator()(std::int64_t number) const { sqlite3_result_int64(context, number); }
  void operator()(double number) const { sqlite3_result_double(context, number); }
  void operator()(const std::string& text) const {
    sqlite3_result_text64(context, text.data(), text.size(), SQLITE_TRANSIENT, SQLITE_UTF8);
  }
  void operator()(const ado::Blob& blob) const {
    sqlite3_result_blob64(context, blob.bytes.data(), blob.bytes.size(), SQLITE_TRANSIENT);
  }
};

int Column(sqlite3_vtab_cursor* cursor, sqlite3_context* context, int column) {
  return Guarded(&cursor->pVtab->zErrMsg, [&] {
    std::visit(Answer{context}, CursorOf(cursor).rows->Column(column));
    return SQLITE_OK;
  });
}

int RowId(sqlite3_vtab_cursor* cursor, sqlite3_int64* result) {
  *result = CursorOf(cursor).rows->Place();
  return SQLITE_OK;
}

/// Without this function SQLite would refuse with a text of its own before the session can.
int Update(sqlite3_vtab*, int, sqlite3_value**, sqlite3_int64*) {
  return SQLITE_READONLY;
}

constexpr sqlite3_module ModuleWith(decltype(sqlite3_module::xConnect) create,
                                    decltype(sqlite3_module::xConnect) connect) {
  return {.iVersion = 1,
          .xCreate = create,
          .xConnect = connect,
          .xBestIndex = BestIndex,
          .xDisconnect = Disconnect,
          .xDestroy = Disconnect,
          .xOpen = OpenCursor,
          .xClose = CloseCursor,
          .xFilter = Filter,
          .xNext = Next,
          .xEof = AtEnd,
          .xColumn = Column,
          .xRowid = RowId,
          .xUpdate = Update};
}

const sqlite3_module TableFileModule::kListed = ModuleWith(Connect, Connect);
const sqlite3_module TableFileModule::kUnlisted = ModuleWith(nullptr, Connect);

}  // namespace

std::unique_ptr<SessionTables> NewTableFileModule(std::unique_ptr<TableFile> file) {
  return std::make_unique<TableFileModule>(std::move(file));
}

}  // namespace torvik
