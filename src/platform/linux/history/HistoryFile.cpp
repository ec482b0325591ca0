#include "platform/linux/history/HistoryFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <ctime>
#include <filesystem>
#include <thread>

#include "platform/PlatformError.h"
#include "platform/linux/system/Posix.h"

namespace torvik {
namespace {

constexpr const char* kSource = "history";
constexpr std::int64_t kVersion = 3;
/// How long a reader waits for writers.
constexpr int kBusyMilliseconds = 500;

constexpr const char* kTables = R"(
CREATE TABLE run (
  id INTEGER PRIMARY KEY AUTOINCREMENT, job TEXT NOT NULL, package TEXT NOT NULL,
  version TEXT NOT NULL, server TEXT NOT NULL, begin INTEGER NOT NULL, end INTEGER,
  outcome INTEGER NOT NULL, rows INTEGER NOT NULL, rejected INTEGER NOT NULL,
  bytes INTEGER NOT NULL, failed_step TEXT NOT NULL, error TEXT NOT NULL, log TEXT NOT NULL,
  process INTEGER NOT NULL, process_start INTEGER NOT NULL, boot TEXT NOT NULL,
  host TEXT NOT NULL, started_by TEXT NOT NULL, attended INTEGER NOT NULL,
  alarms INTEGER NOT NULL);
CREATE INDEX run_job ON run (job, id);
CREATE INDEX run_begin ON run (begin);
CREATE INDEX run_open ON run (host) WHERE outcome = 0;
CREATE INDEX run_alarms ON run (alarms) WHERE alarms <> -1;
CREATE TABLE step (
  run INTEGER NOT NULL, position INTEGER NOT NULL, name TEXT NOT NULL, begin INTEGER NOT NULL,
  end INTEGER, outcome INTEGER NOT NULL, rows INTEGER NOT NULL, rejected INTEGER NOT NULL,
  attempt INTEGER NOT NULL, error TEXT NOT NULL, PRIMARY KEY (run, position)) WITHOUT ROWID;
CREATE TABLE fetch (
  run INTEGER NOT NULL, position INTEGER NOT NULL, link TEXT NOT NULL, begin INTEGER NOT NULL,
  end INTEGER, complete INTEGER NOT NULL, files INTEGER NOT NULL, bytes INTEGER NOT NULL,
  error TEXT NOT NULL, PRIMARY KEY (run, position)) WITHOUT ROWID;
)";

/// What version 2 has more than version 1.
constexpr const char* kTablesOf2 = R"(
CREATE TABLE variable (
  run INTEGER NOT NULL, position INTEGER NOT NULL, name TEXT NOT NULL, value TEXT NOT NULL,
  PRIMARY KEY (run, position)) WITHOUT ROWID;
PRAGMA user_version = 2;
)";

/// Of version 3: which runs are in the shared history.
constexpr const char* kTablesOf3 = R"(
ALTER TABLE run ADD COLUMN sent INTEGER NOT NULL DEFAULT 0;
CREATE INDEX run_unsent ON run (id) WHERE sent = 0;
PRAGMA user_version = 3;
)";

PlatformError Problem(const std::string& path, const std::string& reason) {
  return PlatformError(0, path + ": " + reason, kSource);
}

[[noreturn]] void Fail(sqlite3* handle) {
  const char* const path = sqlite3_db_filename(handle, nullptr);
  throw PlatformError(sqlite3_extended_errcode(handle),
                      std::string(path == nullptr ? "" : path) + ": " + sqlite3_errmsg(handle),
                      kSource);
}

void Execute(sqlite3* handle, const char* sql) {
  if (sqlite3_exec(handle, sql, nullptr, nullptr, nullptr) != SQLITE_OK) Fail(handle);
}

HistoryHandle OpenAs(const std::string& name, int flags) {
  sqlite3* handle = nullptr;
  const int result = sqlite3_open_v2(name.c_str(), &handle, flags | SQLITE_OPEN_URI, nullptr);
  HistoryHandle opened(handle);
  if (result != SQLITE_OK)
    throw Problem(name, handle == nullptr ? "no memory" : sqlite3_errmsg(handle));
  sqlite3_busy_timeout(handle, kBusyMilliseconds);
  return opened;
}

/// As a path stands in the URI of a file.
std::string UriPath(const std::string& path) {
  std::string escaped;
  for (const char c : path) {
    const char* const code = c == '%' ? "%25" : c == '?' ? "%3f" : c == '#' ? "%23" : nullptr;
    escaped += code == nullptr ? std::string(1, c) : code;
  }
  return escaped;
}

/// The file belongs to whom the directory belongs to, as far as we may give it away, so that what
/// root has begun other users go on with. What a group may do in the directory it may do with it.
void MakeFile(const std::string& path) {
  const std::string directory = path.substr(0, path.rfind('/'));
  struct stat status {};
  if (stat(directory.c_str(), &status) != 0) {
    MakePrivateDirectory(directory);
    stat(directory.c_str(), &status);
  }
  const Descriptor file = OpenFile(path, O_CREAT | O_EXCL | O_RDWR, 0600);
  if (!file.IsOpen()) return;  // it is there, or SQLite says why it cannot be made
  const uid_t owner = geteuid() == 0 ? status.st_uid : geteuid();
  const bool isGiven = fchown(file.Number(), owner, status.st_gid) == 0;
  fchmod(file.Number(), isGiven && (status.st_mode & S_IWGRP) != 0 ? 0660 : 0600);
}

/// SQLite gives the files beside a database its mode, and its group only when root runs it.
void ShareWithGroup(const std::string& path) {
  struct stat database {};
  if (stat(path.c_str(), &database) != 0 || (database.st_mode & S_IWGRP) == 0) return;
  for (const char* beside : {"-wal", "-shm"}) {
    struct stat status {};
    const std::string name = path + beside;
    const bool isOurs = stat(name.c_str(), &status) == 0 && status.st_uid == geteuid();
    // A failure leaves it as it is: others are told when they write.
    if (isOurs && status.st_gid != database.st_gid &&
        chown(name.c_str(), static_cast<uid_t>(-1), database.st_gid) != 0)
      return;
  }
}

/// False when the patience is at its end.
bool WaitALittle(HistoryPatience& patience) {
  constexpr std::chrono::milliseconds kSlice(5);
  if (patience.left - kSlice < patience.kept) return false;
  patience.left -= kSlice;
  std::this_thread::sleep_for(kSlice);
  return true;
}

int OnBusy(void* patience, int) {
  return WaitALittle(*static_cast<HistoryPatience*>(patience)) ? 1 : 0;
}

/// Writers that come at once make the tables once.
void MakeTables(sqlite3* handle) {
  Execute(handle, "PRAGMA journal_mode = WAL");
  Execute(handle, "BEGIN IMMEDIATE");
  if (HistoryVersion(handle) == 0) Execute(handle, kTables);
  if (HistoryVersion(handle) < 2) Execute(handle, kTablesOf2);
  if (HistoryVersion(handle) < 3) Execute(handle, kTablesOf3);
  Execute(handle, "COMMIT");
}

void RequireVersion(sqlite3* handle, const std::string& path) {
  if (HistoryVersion(handle) > kVersion)
    throw Problem(
        path, "a later version of torvik has made this history; it is neither read nor written");
}

HistoryHandle OpenForWriting(const std::string& path, HistoryPatience& patience) {
  MakeFile(path);
  HistoryHandle handle = OpenAs(path, SQLITE_OPEN_READWRITE);
  sqlite3_busy_handler(handle.get(), OnBusy, &patience);
  if (HistoryVersion(handle.get()) < kVersion) MakeTables(handle.get());
  RequireVersion(handle.get(), path);
  ShareWithGroup(path);
  // A power cut may cost the last rows, and costs no more; only ShortenLog waits for the disk.
  Execute(handle.get(), "PRAGMA synchronous = NORMAL");
  sqlite3_wal_autocheckpoint(handle.get(), 0);
  sqlite3_db_config(handle.get(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
  int keep = 1;
  sqlite3_file_control(handle.get(), nullptr, SQLITE_FCNTL_PERSIST_WAL, &keep);
  return handle;
}

bool IsBusy(const PlatformError& error) {
  return (error.number & 0xFF) == SQLITE_BUSY;
}

bool IsDamage(int error) {
  return (error & 0xFF) == SQLITE_CORRUPT || (error & 0xFF) == SQLITE_NOTADB;
}

/// A read that fails once is told as damage too: a second look decides.
bool IsDamaged(const std::string& path) {
  try {
    const HistoryHandle handle = OpenAs(path, SQLITE_OPEN_READWRITE);
    HistoryStatement check(handle.get(), "PRAGMA quick_check(1)");
    return !check.Step() || check.Text() != "ok";
  } catch (const PlatformError& error) {
    return IsDamage(static_cast<int>(error.number));
  }
}

std::string MoveAside(const std::string& path) {
  char day[32];
  const std::time_t now = std::time(nullptr);
  std::strftime(day, sizeof day, ".damaged-%Y%m%d-%H%M%S", std::localtime(&now));
  const std::string aside = path + day;
  if (rename(path.c_str(), aside.c_str()) != 0)
    throw Problem(path, "it is damaged and cannot be moved aside: " + LastSystemError().message());
  for (const char* beside : {"-wal", "-shm"})
    rename((path + beside).c_str(), (aside + beside).c_str());
  return aside;
}

}  // namespace

void CloseHistory::operator()(sqlite3* handle) const {
  sqlite3_close_v2(handle);
}

HistoryHandle OpenHistory(const std::string& path, std::string& note, HistoryPatience& patience) {
  bool isMended = false;
  while (true) {
    try {
      return OpenForWriting(path, patience);
    } catch (const PlatformError& error) {
      // Where another run makes the file, SQLite is busy without asking how long we would wait.
      if (IsBusy(error) && WaitALittle(patience)) continue;
      if (isMended || !IsDamage(static_cast<int>(error.number))) throw;
      MendHistory(path, note);
      isMended = !note.empty();
      if (!isMended) throw;
    }
  }
}

void ShortenLog(sqlite3* handle, const std::string& path, std::uintmax_t bytes) {
  std::error_code error;
  const auto length = std::filesystem::file_size(path + "-wal", error);
  if (error || length < bytes) return;
  sqlite3_wal_checkpoint_v2(handle, nullptr, SQLITE_CHECKPOINT_TRUNCATE, nullptr, nullptr);
}

void MendHistory(const std::string& path, std::string& note) {
  if (IsDamaged(path))
    note = path + " was damaged; it is kept as " + MoveAside(path) + ", and a new one is begun";
}

HistoryHandle ReadHistory(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) {
    if (errno == ENOENT) return nullptr;
    throw Problem(path, LastSystemError().message());
  }
  HistoryHandle handle;
  try {
    handle = OpenAs(path, SQLITE_OPEN_READWRITE);
    if (HistoryVersion(handle.get()) == 0) return nullptr;  // its maker is about to make its tables
  } catch (const PlatformError& error) {
    const int code = static_cast<int>(error.number);
    if (IsDamage(code) || IsBusy(error)) throw;
    handle = OpenAs("file:" + UriPath(path) + "?immutable=1", SQLITE_OPEN_READONLY);
    if (HistoryVersion(handle.get()) == 0) return nullptr;
  }
  RequireVersion(handle.get(), path);
  sqlite3_db_config(handle.get(), SQLITE_DBCONFIG_NO_CKPT_ON_CLOSE, 1, nullptr);
  return handle;
}

std::int64_t HistoryVersion(sqlite3* handle) {
  HistoryStatement version(handle, "PRAGMA user_version");
  version.Step();
  return version.Integer();
}

HistoryStatement::HistoryStatement(sqlite3* handle, const char* sql) : handle_(handle) {
  if (sqlite3_prepare_v2(handle, sql, -1, &statement_, nullptr) != SQLITE_OK) Fail(handle);
}

HistoryStatement& HistoryStatement::Bind(std::int64_t value) {
  sqlite3_bind_int64(statement_, ++parameter_, value);
  return *this;
}

HistoryStatement& HistoryStatement::Bind(const std::string& value) {
  sqlite3_bind_text(statement_, ++parameter_, value.data(), static_cast<int>(value.size()),
                    SQLITE_TRANSIENT);
  return *this;
}

HistoryStatement& HistoryStatement::BindNull() {
  sqlite3_bind_null(statement_, ++parameter_);
  return *this;
}

bool HistoryStatement::Step() {
  column_ = 0;
  const int result = sqlite3_step(statement_);
  if (result != SQLITE_ROW && result != SQLITE_DONE) Fail(handle_);
  return result == SQLITE_ROW;
}

void HistoryStatement::Run() {
  while (Step()) {
  }
  sqlite3_reset(statement_);
  parameter_ = 0;
}

std::int64_t HistoryStatement::Integer() {
  return sqlite3_column_int64(statement_, column_++);
}

std::string HistoryStatement::Text() {
  const auto* const text = sqlite3_column_text(statement_, column_);
  const auto length = static_cast<std::size_t>(sqlite3_column_bytes(statement_, column_++));
  return text == nullptr ? "" : std::string(reinterpret_cast<const char*>(text), length);
}

}  // namespace torvik
