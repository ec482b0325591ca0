#include "platform/linux/sqlite/SqliteSession.h"

#include <sqlite3.h>

#include <algorithm>
#include <thread>

#include "platform/Text.h"
#include "platform/linux/database/SqlIdentity.h"
#include "platform/linux/database/SqlLengths.h"
#include "platform/linux/database/SqlNames.h"
#include "platform/linux/database/SqlStatements.h"
#include "platform/linux/sqlite/SqliteFunctions.h"
#include "platform/linux/sqlite/SqliteLogVfs.h"
#include "platform/linux/sqlite/SqliteRowsFile.h"
#include "platform/linux/sqlite/SqliteStatement.h"

namespace torvik {
namespace {

constexpr const char* kSqlite = "SQLite";

bool IsAboutTheFile(int primaryCode) {
  constexpr int codes[] = {SQLITE_PERM, SQLITE_READONLY, SQLITE_IOERR,  SQLITE_CORRUPT,
                           SQLITE_FULL, SQLITE_CANTOPEN, SQLITE_NOTADB, SQLITE_NOLFS};
  return std::ranges::find(codes, primaryCode) != std::end(codes);
}

std::string Seconds(std::chrono::milliseconds duration) {
  const auto tenths = duration.count() / 100;
  return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) + " s";
}

/// Lets through what only reads, and transactions. A pragma with a value sets something, but for
/// those that ask about a table. To learn the columns of a table that lies elsewhere SQLite has to
/// change its own list of tables, which nobody else can.
int AuthorizeReading(void*, int action, const char* first, const char* second, const char*,
                     const char*) {
  constexpr int reading[] = {SQLITE_SELECT,    SQLITE_READ,      SQLITE_FUNCTION,
                             SQLITE_RECURSIVE, SQLITE_SAVEPOINT, SQLITE_TRANSACTION};
  const std::string_view name = first ? first : "";
  const bool isAllowed = std::ranges::find(reading, action) != std::end(reading) ||
                         (action == SQLITE_PRAGMA && (!second || name.starts_with("table_"))) ||
                         (action == SQLITE_UPDATE && name == "sqlite_master");
  return isAllowed ? SQLITE_OK : SQLITE_DENY;
}

/// The server's list of databases, where there is no server.
std::string CreateListOf(const std::string& database) {
  std::string text;
  for (const char c : database) text += c == '\'' ? "''" : std::string(1, c);
  return std::string("CREATE TEMP VIEW ") + kDatabaseList + " AS SELECT '" + text +
         "' AS name, 1 AS dbid";
}

}  // namespace

SqliteSession::SqliteSession(const std::string& directory, const std::string& database,
                             int timeoutSeconds, const EmbeddedDurability& durability)
    : directory_(directory),
      durability_(durability),
      databases_{RequireEmbeddedDatabase(directory, database.empty() ? "master" : database)},
      timeout_(std::chrono::seconds(std::max(timeoutSeconds, 0))) {
  try {
    OpenServer();
  } catch (...) {
    sqlite3_close_v2(handle_);
    throw;
  }
}

SqliteSession::SqliteSession(const EmbeddedDatabase& file, std::unique_ptr<SessionTables> tables)
    : tables_(std::move(tables)), databases_{file}, timeout_(0) {
  try {
    OpenTables();
  } catch (...) {
    sqlite3_close_v2(handle_);
    throw;
  }
}

SqliteSession::~SqliteSession() {
  rowsFile_.reset();
  sqlite3_close_v2(handle_);
}

void SqliteSession::OpenServer() {
  const std::string& path = databases_.front().path;
  // One thread at a time uses a connection, so the library need not lock it for each call; an
  // interrupt may come from another thread all the same.
  if (sqlite3_open_v2(path.c_str(), &handle_, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX,
                      SqliteLogVfs()) != SQLITE_OK)
    throw Failure("the database " + path + " cannot be opened");
  sqlite3_extended_result_codes(handle_, 1);
  sqlite3_busy_handler(handle_, OnBusy, this);
  // Reading the schema's version shows at once whether the file is a database.
  Run("PRAGMA foreign_keys = ON; PRAGMA schema_version");
  SetDurability("main");
  AddServerFunctions(handle_, directory_);
  Run(kCreateDatabaseList);
}

void SqliteSession::OpenTables() {
  if (sqlite3_open_v2(":memory:", &handle_, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOMUTEX, nullptr) !=
      SQLITE_OK)
    throw Failure("no database can be made in memory");
  sqlite3_extended_result_codes(handle_, 1);
  AddServerFunctions(handle_, directory_);
  Run(CreateListOf(CurrentDatabase()));
  if (!tables_->AddTo(handle_)) throw Failure(OpenFiles() + " cannot be read as tables");
  sqlite3_set_authorizer(handle_, AuthorizeReading, nullptr);
}

void SqliteSession::Meet(const std::string& table) {
  if (tables_) tables_->Meet(handle_, table);
}

std::string SqliteSession::Resolve(std::string_view sql) {
  if (tables_)
    for (const std::string& name : NamesIn(sql)) Meet(name);
  std::string numbered;
  try {
    numbered = ResolveIdentity(WithoutMax(sql));
  } catch (const PlatformError& error) {
    throw Keep(error.number, error.Description());
  }
  std::string text = ResolveNames(numbered, [this](const TableName& name, int line) -> std::string {
    if (EqualsIgnoringCase(name.database, "master") &&
        EqualsIgnoringCase(name.table, kDatabaseList))
      return "temp.";
    try {
      const std::string schema = Schema(name.database);
      return schema == "main" ? "" : QuotedName(schema) + ".";
    } catch (const PlatformError& error) {
      throw Keep(error.number,
                 "line " + std::to_string(line) + " of the SQL text: " + error.Description());
    }
  });
  RefreshSchema();
  return text;
}

/// A name without a database is looked up in what the connection remembers of each database, the
/// current one first. A table that another process has made there since would not be seen, and one
/// of that name in a database beside it would be taken; this brings the memory up to date.
void SqliteSession::RefreshSchema() {
  if (databases_.size() > 1) Run("SELECT 1 FROM main.sqlite_schema LIMIT 1");
}

std::string SqliteSession::Schema(const std::string& database) {
  if (database.empty() || EqualsIgnoringCase(database, CurrentDatabase())) return "main";
  for (std::size_t i = 1; i < databases_.size(); ++i)
    if (EqualsIgnoringCase(database, databases_[i].name)) return databases_[i].name;
  if (tables_)
    throw Refusal("no such database: " + database + ": this connection reads the file " +
                  OpenFiles() + " alone");
  try {
    Attach(RequireEmbeddedDatabase(directory_, database));
  } catch (const PlatformError& error) {
    throw Keep(error.number, error.Description());
  }
  return databases_.back().name;
}

std::shared_ptr<SqliteRowsFile> SqliteSession::RowsFile(const std::string& createText,
                                                        const std::string& name) {
  const std::string create = WithTable(createText, name, SqliteRowsFile::kTable);
  if (rowsFile_ && rowsFile_->CreateTable() == create) return rowsFile_;
  ReleaseRowsFile();
  if (rowsFile_) return nullptr;
  rowsFile_ =
      SqliteRowsFile::Attach(handle_, "torvik_batch_" + std::to_string(NextNumber()), create);
  return rowsFile_;
}

void SqliteSession::ReleaseRowsFile() {
  if (rowsFile_ && rowsFile_.use_count() == 1 && rowsFile_->Detach()) rowsFile_.reset();
}

std::string SqliteSession::AttachGuest(const std::string& path) {
  const std::string schema = "torvik_guest_" + std::to_string(NextNumber());
  const std::string attach = "ATTACH " + QuotedText(path) + " AS " + schema;
  if (sqlite3_exec(handle_, attach.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) return "";
  guests_.push_back(schema);
  return schema;
}

void SqliteSession::ReleaseGuests() {
  std::erase_if(guests_, [this](const std::string& schema) {
    return sqlite3_exec(handle_, ("DETACH " + schema).c_str(), nullptr, nullptr, nullptr) ==
           SQLITE_OK;
  });
}

void SqliteSession::Attach(const EmbeddedDatabase& database) {
  ReleaseRowsFile();  // there is room for ten
  ReleaseGuests();
  const std::string schema = QuotedName(database.name);
  SqliteStatement attach(
      *this, "ATTACH DATABASE ?1 AS " + schema,
      "the database " + database.path + " cannot be used beside " + CurrentDatabase());
  attach.Bind(1, database.path);
  attach.Step();
  databases_.push_back(database);
  // SQLite refuses this inside a transaction; its default is the safest.
  if (sqlite3_get_autocommit(handle_)) SetDurability(schema);
}

/// The write-ahead log is a property of the file, and is there already.
void SqliteSession::SetDurability(const std::string& schema) {
  Run("PRAGMA " + schema + ".synchronous = " + durability_.synchronous);
  if (durability_.journal == "off") Run("PRAGMA " + schema + ".journal_mode = OFF");
}

void SqliteSession::Run(const std::string& sql) {
  BeginStatement();
  if (sqlite3_exec(handle_, sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) throw Failure("");
}

void SqliteSession::BeginStatement() {
  cancelled_ = false;
  waited_ = {};
}

PlatformError SqliteSession::Failure(const std::string& place) {
  const int code = sqlite3_extended_errcode(handle_);
  const int primaryCode = code & 0xFF;
  std::string text = sqlite3_errmsg(handle_);
  if (primaryCode == SQLITE_BUSY || primaryCode == SQLITE_LOCKED) text = LockedText(code);
  if (primaryCode == SQLITE_AUTH || (tables_ && primaryCode == SQLITE_READONLY))
    text = ReadOnlyText();
  else if (IsAboutTheFile(primaryCode))
    text += "; open: " + OpenFiles();
  PlatformError error = Keep(code, place.empty() ? text : place + ": " + text);
  error.isTransient = !cancelled_ && (primaryCode == SQLITE_BUSY || primaryCode == SQLITE_LOCKED);
  return error;
}

bool SqliteSession::KeepsUtf8() {
  SqliteStatement encoding(*this, "PRAGMA encoding", "");
  return encoding.Step() && encoding.Column(0) == ado::Value("UTF-8");
}

void SqliteSession::RequireWritable() {
  if (IsReadOnly()) throw Refusal(ReadOnlyText());
}

PlatformError SqliteSession::Refusal(const std::string& reason) {
  return Keep(0, reason);
}

PlatformError SqliteSession::Keep(long number, const std::string& description) {
  errors_ = {{number, description}};
  return PlatformError(number, description, kSqlite);
}

std::string SqliteSession::LockedText(int code) const {
  const std::string words = std::string(" (") + sqlite3_errmsg(handle_) + ")";
  if (cancelled_) return "cancelled while waiting for the database " + OpenFiles() + words;
  if (code == SQLITE_BUSY_SNAPSHOT)
    return "the database " + OpenFiles() +
           " was changed by another connection after this one began to read it; close what is "
           "being read and try again" +
           words;
  return "the database " + OpenFiles() + " is held by another process or connection; waited " +
         Seconds(waited_) + " for it; try again when that one has finished" + words;
}

std::string SqliteSession::ReadOnlyText() const {
  return OpenFiles() + " can only be read; copy its rows into a table of a server to change them";
}

/// SQLite does not say which of its files an error is about, so that all are named.
std::string SqliteSession::OpenFiles() const {
  std::string files;
  for (const EmbeddedDatabase& database : databases_)
    files += (files.empty() ? "" : " or ") + database.path;
  return files;
}

void SqliteSession::Cancel() {
  cancelled_ = true;
  sqlite3_interrupt(handle_);
}

int SqliteSession::OnBusy(void* session, int attempt) {
  return static_cast<SqliteSession*>(session)->WaitForLock(attempt);
}

/// SQLite's own handler cannot be cancelled and does not tell how long it waited.
bool SqliteSession::WaitForLock(int attempt) {
  using namespace std::chrono;
  constexpr milliseconds kLongestNap{25};
  const auto now = steady_clock::now();
  // A load of hours is no reason to give up, in this process or another one; one that does nothing
  // any more may never end.
  if (const auto written = LastWrite(); attempt == 0 || written != lastWrite_) {
    waitBegan_ = now;
    lastWrite_ = written;
  }
  waited_ = duration_cast<milliseconds>(now - waitBegan_);
  if (cancelled_ || waited_ >= timeout_) return false;
  std::this_thread::sleep_for(
      std::min({milliseconds(attempt + 1), kLongestNap, timeout_ - waited_}));
  return true;
}

/// When anything was last written to the logs of the databases.
std::filesystem::file_time_type SqliteSession::LastWrite() const {
  auto last = std::filesystem::file_time_type::min();
  for (const EmbeddedDatabase& database : databases_) {
    std::error_code ignored;
    const auto written = std::filesystem::last_write_time(database.path + "-wal", ignored);
    if (!ignored) last = std::max(last, written);
  }
  return last;
}

}  // namespace torvik
