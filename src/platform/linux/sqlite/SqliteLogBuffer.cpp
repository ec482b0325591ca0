#include "platform/linux/sqlite/SqliteLogBuffer.h"

#include <fcntl.h>
#include <sqlite3.h>

#include <cstring>
#include <new>
#include <utility>

namespace torvik {
namespace {

/// Of a frame; the pages that follow it are larger.
constexpr std::size_t kFrameHeader = 24;

/// The frame that ends a transaction has the size of the database there, any other one 0.
bool EndsTransaction(const void* frameHeader) {
  constexpr char kNone[4] = {};
  return std::memcmp(static_cast<const char*>(frameHeader) + 4, kNone, sizeof kNone) != 0;
}

}  // namespace

SqliteLogBuffer::SqliteLogBuffer(sqlite3_file* file, std::string path)
    : file_(file), path_(std::move(path)) {}

void SqliteLogBuffer::BeginWriting() {
  used_ = 0;
  isWriting_ = true;
}

void SqliteLogBuffer::EndWriting() {
  used_ = 0;
  isWriting_ = false;
}

int SqliteLogBuffer::Write(const void* data, std::size_t size, std::int64_t at) {
  if (size == kFrameHeader) isCommit_ = EndsTransaction(data);
  const bool continues = at == begin_ + static_cast<std::int64_t>(used_);
  if (isCommit_ || !continues || used_ + size > kPieceSize)
    if (const int code = Flush(); code != SQLITE_OK) return code;
  if (isCommit_ || !isWriting_ || !HasRoom(size)) return WriteNow(data, size, at);
  if (used_ == 0) begin_ = at;
  std::memcpy(piece_.get() + used_, data, size);
  used_ += size;
  return SQLITE_OK;
}

int SqliteLogBuffer::Read(void* into, std::size_t size, std::int64_t at) {
  const bool isBeside = at >= begin_ + static_cast<std::int64_t>(used_) ||
                        at + static_cast<std::int64_t>(size) <= begin_;
  if (!isBeside)
    if (const int code = Flush(); code != SQLITE_OK) return code;
  return file_->pMethods->xRead(file_, into, static_cast<int>(size), at);
}

int SqliteLogBuffer::Flush() {
  if (used_ == 0) return SQLITE_OK;
  const int code = WriteNow(piece_.get(), used_, begin_);
  if (code != SQLITE_OK) return code;
  BeginWritingToDisk(begin_, used_);
  used_ = 0;
  return SQLITE_OK;
}

int SqliteLogBuffer::WriteNow(const void* data, std::size_t size, std::int64_t at) {
  return file_->pMethods->xWrite(file_, data, static_cast<int>(size), at);
}

bool SqliteLogBuffer::HasRoom(std::size_t size) {
  if (size > kPieceSize) return false;
  if (!piece_) piece_.reset(new (std::nothrow) char[kPieceSize]);
  return piece_ != nullptr;
}

/// Whether the disk has begun is seen by nobody: a sync waits for all. No locks go with a log's
/// file, so that it may be opened, and closed, beside SQLite.
void SqliteLogBuffer::BeginWritingToDisk(std::int64_t at, std::size_t size) {
  if (size < kPieceSize / 2) return;
  if (!disk_.IsOpen()) disk_ = OpenFile(path_, O_RDONLY);
  if (disk_.IsOpen())
    ::sync_file_range(disk_.Number(), at, static_cast<off64_t>(size), SYNC_FILE_RANGE_WRITE);
}

}  // namespace torvik
