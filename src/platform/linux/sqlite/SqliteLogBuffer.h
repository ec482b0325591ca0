#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "platform/linux/system/Posix.h"

struct sqlite3_file;

namespace torvik {

/// A write-ahead log on its way into its file. SQLite writes each page of a log by two calls, and
/// has the disk begin when all are written; here they go in large pieces, and the disk begins with
/// each. What is committed is always in the file, where other processes look for it
/// (https://sqlite.org/fileformat2.html, section 4), and what is not is dropped before another
/// connection may write. The calls are those of sqlite3_io_methods, with SQLite's result codes.
class SqliteLogBuffer {
 public:
  /// The VFS of SQLite writes no more by one call.
  static constexpr std::size_t kPieceSize = 0x1FFFF;

  /// `file` is the log, at `path`, and must outlive this.
  SqliteLogBuffer(sqlite3_file* file, std::string path);

  /// The connection has the lock of those that write, and keeps it until EndWriting; outside of
  /// that all is written at once. What has not been written at the end was rolled back.
  void BeginWriting();
  void EndWriting();

  /// An error leaves what was taken before where it is: every later call needs it written first, so
  /// that nothing behind it can be committed without it.
  int Write(const void* data, std::size_t size, std::int64_t at);
  int Read(void* into, std::size_t size, std::int64_t at);

  /// Writes what has been taken.
  int Flush();

 private:
  int WriteNow(const void* data, std::size_t size, std::int64_t at);
  bool HasRoom(std::size_t size);
  void BeginWritingToDisk(std::int64_t at, std::size_t size);

  sqlite3_file* const file_;
  const std::string path_;
  Descriptor disk_;
  std::unique_ptr<char[]> piece_;
  std::size_t used_ = 0;
  std::int64_t begin_ = 0;  ///< Where in the file the piece begins.
  bool isCommit_ = false;   ///< What is written now ends a transaction.
  bool isWriting_ = false;  ///< Nobody else may write.
};

}  // namespace torvik
