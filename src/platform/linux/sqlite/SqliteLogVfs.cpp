#include "platform/linux/sqlite/SqliteLogVfs.h"

#include <sqlite3.h>

#include <new>

#include "platform/linux/sqlite/SqliteLogBuffer.h"

namespace torvik {
namespace {

constexpr const char* kName = "torvik-log";

/// A database's file or its log's. SQLite's own file lies behind it, in memory that SQLite gives.
struct File : sqlite3_file {
  SqliteLogBuffer* buffer;  ///< Of the log; of a database whose log is not open: null.
  File* database;           ///< Of a log.

  sqlite3_file* Own() { return reinterpret_cast<sqlite3_file*>(this + 1); }
  static File& Of(sqlite3_file* file) { return *static_cast<File*>(file); }
};

/// Calls a method of SQLite's own file.
template <auto method, class... Arguments>
auto CallOwn(sqlite3_file* file, Arguments... arguments) {
  sqlite3_file* const own = File::Of(file).Own();
  return (own->pMethods->*method)(own, arguments...);
}

/// The same when all that a log has taken is written.
template <auto method, class... Arguments>
int CallWritten(sqlite3_file* file, Arguments... arguments) {
  const int code = File::Of(file).buffer->Flush();
  return code == SQLITE_OK ? CallOwn<method>(file, arguments...) : code;
}

int CloseLog(sqlite3_file* file) {
  File::Of(file).database->buffer = nullptr;
  delete File::Of(file).buffer;
  return CallOwn<&sqlite3_io_methods::xClose>(file);
}

int ReadLog(sqlite3_file* file, void* into, int size, sqlite3_int64 at) {
  return File::Of(file).buffer->Read(into, static_cast<std::size_t>(size), at);
}

int WriteLog(sqlite3_file* file, const void* data, int size, sqlite3_int64 at) {
  return File::Of(file).buffer->Write(data, static_cast<std::size_t>(size), at);
}

/// The first of a log's locks is that of the one who writes (https://sqlite.org/walformat.html,
/// section 2.3).
int LockShared(sqlite3_file* file, int first, int count, int flags) {
  constexpr int kWriting = 0;
  SqliteLogBuffer* const buffer = File::Of(file).buffer;
  const bool isOfWriting = buffer && first == kWriting && (flags & SQLITE_SHM_EXCLUSIVE) != 0;
  if (isOfWriting && (flags & SQLITE_SHM_UNLOCK) != 0) buffer->EndWriting();
  const int code = CallOwn<&sqlite3_io_methods::xShmLock>(file, first, count, flags);
  if (isOfWriting && (flags & SQLITE_SHM_LOCK) != 0 && code == SQLITE_OK) buffer->BeginWriting();
  return code;
}

constexpr sqlite3_io_methods kLogMethods = {
    .iVersion = 1,
    .xClose = CloseLog,
    .xRead = ReadLog,
    .xWrite = WriteLog,
    .xTruncate = CallWritten<&sqlite3_io_methods::xTruncate>,
    .xSync = CallWritten<&sqlite3_io_methods::xSync>,
    .xFileSize = CallWritten<&sqlite3_io_methods::xFileSize>,
    .xLock = CallOwn<&sqlite3_io_methods::xLock>,
    .xUnlock = CallOwn<&sqlite3_io_methods::xUnlock>,
    .xCheckReservedLock = CallOwn<&sqlite3_io_methods::xCheckReservedLock>,
    .xFileControl = CallOwn<&sqlite3_io_methods::xFileControl>,
    .xSectorSize = CallOwn<&sqlite3_io_methods::xSectorSize>,
    .xDeviceCharacteristics = CallOwn<&sqlite3_io_methods::xDeviceCharacteristics>};

constexpr sqlite3_io_methods kDatabaseMethods = {
    .iVersion = 3,
    .xClose = CallOwn<&sqlite3_io_methods::xClose>,
    .xRead = CallOwn<&sqlite3_io_methods::xRead>,
    .xWrite = CallOwn<&sqlite3_io_methods::xWrite>,
    .xTruncate = CallOwn<&sqlite3_io_methods::xTruncate>,
    .xSync = CallOwn<&sqlite3_io_methods::xSync>,
    .xFileSize = CallOwn<&sqlite3_io_methods::xFileSize>,
    .xLock = CallOwn<&sqlite3_io_methods::xLock>,
    .xUnlock = CallOwn<&sqlite3_io_methods::xUnlock>,
    .xCheckReservedLock = CallOwn<&sqlite3_io_methods::xCheckReservedLock>,
    .xFileControl = CallOwn<&sqlite3_io_methods::xFileControl>,
    .xSectorSize = CallOwn<&sqlite3_io_methods::xSectorSize>,
    .xDeviceCharacteristics = CallOwn<&sqlite3_io_methods::xDeviceCharacteristics>,
    .xShmMap = CallOwn<&sqlite3_io_methods::xShmMap>,
    .xShmLock = LockShared,
    .xShmBarrier = CallOwn<&sqlite3_io_methods::xShmBarrier>,
    .xShmUnmap = CallOwn<&sqlite3_io_methods::xShmUnmap>,
    .xFetch = CallOwn<&sqlite3_io_methods::xFetch>,
    .xUnfetch = CallOwn<&sqlite3_io_methods::xUnfetch>};

sqlite3_vfs* Own() {
  static sqlite3_vfs* const own = sqlite3_vfs_find(nullptr);
  return own;
}

/// The methods stay null, and SQLite closes nothing, where SQLite's own file cannot be opened.
int OpenOwn(const char* path, File& file, int flags, int* outFlags) {
  file.pMethods = nullptr;
  file.buffer = nullptr;
  file.database = nullptr;
  file.Own()->pMethods = nullptr;
  return Own()->xOpen(Own(), path, file.Own(), flags, outFlags);
}

int OpenDatabase(const char* path, sqlite3_file* file, int flags, int* outFlags) {
  File& database = File::Of(file);
  const int code = OpenOwn(path, database, flags, outFlags);
  if (database.Own()->pMethods != nullptr) database.pMethods = &kDatabaseMethods;
  return code;
}

int OpenLog(const char* path, sqlite3_file* file, int flags, int* outFlags) {
  File& log = File::Of(file);
  const int code = OpenOwn(path, log, flags, outFlags);
  if (code != SQLITE_OK) return code;
  log.buffer = new (std::nothrow) SqliteLogBuffer(log.Own(), path);
  if (log.buffer == nullptr) return log.Own()->pMethods->xClose(log.Own()), SQLITE_NOMEM;
  log.database = &File::Of(sqlite3_database_file_object(path));
  log.database->buffer = log.buffer;
  log.pMethods = &kLogMethods;
  return SQLITE_OK;
}

int Open(sqlite3_vfs*, const char* path, sqlite3_file* file, int flags, int* outFlags) {
  if ((flags & SQLITE_OPEN_WAL) != 0) return OpenLog(path, file, flags, outFlags);
  if ((flags & SQLITE_OPEN_MAIN_DB) != 0) return OpenDatabase(path, file, flags, outFlags);
  return Own()->xOpen(Own(), path, file, flags, outFlags);
}

/// Every other call is that of SQLite's own VFS, which gets itself as its first argument.
template <auto method, class... Arguments>
auto Forward(sqlite3_vfs*, Arguments... arguments) {
  return (Own()->*method)(Own(), arguments...);
}

bool Register() {
  static sqlite3_vfs vfs = *Own();
  vfs.iVersion = 2;
  vfs.szOsFile += static_cast<int>(sizeof(File));
  vfs.zName = kName;
  vfs.pAppData = nullptr;
  vfs.xOpen = Open;
  vfs.xDelete = Forward<&sqlite3_vfs::xDelete>;
  vfs.xAccess = Forward<&sqlite3_vfs::xAccess>;
  vfs.xFullPathname = Forward<&sqlite3_vfs::xFullPathname>;
  vfs.xDlOpen = Forward<&sqlite3_vfs::xDlOpen>;
  vfs.xDlError = Forward<&sqlite3_vfs::xDlError>;
  vfs.xDlSym = Forward<&sqlite3_vfs::xDlSym>;
  vfs.xDlClose = Forward<&sqlite3_vfs::xDlClose>;
  vfs.xRandomness = Forward<&sqlite3_vfs::xRandomness>;
  vfs.xSleep = Forward<&sqlite3_vfs::xSleep>;
  vfs.xCurrentTime = Forward<&sqlite3_vfs::xCurrentTime>;
  vfs.xGetLastError = Forward<&sqlite3_vfs::xGetLastError>;
  vfs.xCurrentTimeInt64 = Forward<&sqlite3_vfs::xCurrentTimeInt64>;
  return sqlite3_vfs_register(&vfs, 0) == SQLITE_OK;
}

}  // namespace

const char* SqliteLogVfs() {
  static const bool isThere = Register();
  return isThere ? kName : nullptr;  // null is SQLite's own
}

}  // namespace torvik
