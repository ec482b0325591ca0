#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cstring>
#include <random>
#include <string>

#include "platform/linux/sqlite/EmbeddedFixture.h"
#include "platform/linux/sqlite/SqliteLogBuffer.h"

namespace torvik {
namespace {

constexpr std::size_t kPage = 512, kFrame = 24 + kPage, kHeader = 32;

/// A log's file in memory.
struct FakeLog : sqlite3_file {
  FakeLog() { pMethods = &kMethods; }

  std::string bytes;
  int writes = 0;
  int failures = 0;  ///< So many calls fail.

  static int Write(sqlite3_file* file, const void* data, int size, sqlite3_int64 at) {
    auto& log = *static_cast<FakeLog*>(file);
    if (log.failures > 0) return --log.failures, SQLITE_FULL;
    const auto begin = static_cast<std::size_t>(at), length = static_cast<std::size_t>(size);
    log.bytes.resize(std::max(log.bytes.size(), begin + length));
    std::memcpy(log.bytes.data() + begin, data, length);
    return ++log.writes, SQLITE_OK;
  }
  static int Read(sqlite3_file* file, void* into, int size, sqlite3_int64 at) {
    const auto& log = *static_cast<FakeLog*>(file);
    std::memcpy(into, log.bytes.data() + at, static_cast<std::size_t>(size));
    return SQLITE_OK;
  }
  static constexpr sqlite3_io_methods kMethods = {.iVersion = 1, .xRead = Read, .xWrite = Write};
};

/// A frame whose bytes are `fill`.
std::string Frame(char fill, bool isCommit) {
  std::string frame(kFrame, fill);
  std::memset(frame.data() + 4, isCommit ? 1 : 0, 4);
  return frame;
}

/// SQLite goes back in a log when a transaction does, reads its own frames, and goes on after an
/// error; the file must be what it would be without the buffer, at the latest with each commit.
TEST(SqliteLogBuffer, AFileIsAsItWasWrittenWhateverFailsMeanwhile) {
  for (unsigned seed = 1; seed <= 20; ++seed) {
    SCOPED_TRACE(seed);
    FakeLog log;
    SqliteLogBuffer buffer(&log, "");
    buffer.BeginWriting();
    std::string expected(kHeader, 'h');
    std::mt19937 random(seed);
    const auto insist = [&](const auto& call) {
      int tries = 0;
      while (call() != SQLITE_OK) ASSERT_LT(++tries, 10);
    };
    insist([&] { return buffer.Write(expected.data(), kHeader, 0); });
    for (std::size_t frame = 0, step = 0; step < 3000; ++step) {
      if (random() % 100 == 0) log.failures = 1 + static_cast<int>(random() % 3);
      const std::size_t at = kHeader + frame * kFrame;
      const bool isCommit = random() % 200 == 0;
      const std::string bytes = Frame(static_cast<char>(random()), isCommit);
      insist([&] { return buffer.Write(bytes.data(), 24, static_cast<std::int64_t>(at)); });
      insist([&] {
        return buffer.Write(bytes.data() + 24, kPage, static_cast<std::int64_t>(at + 24));
      });
      expected.replace(at, std::min(kFrame, expected.size() - at), bytes);
      if (isCommit) {
        ASSERT_EQ(expected, log.bytes) << "step " << step;
      }
      ++frame;
      if (random() % 100 == 0) frame = random() % frame;
      if (random() % 50 > 0) continue;
      const std::size_t from = random() % (expected.size() - kPage);
      std::string seen(kPage, ' ');
      insist([&] { return buffer.Read(seen.data(), kPage, static_cast<std::int64_t>(from)); });
      ASSERT_EQ(expected.substr(from, kPage), seen) << "step " << step;
    }
    insist([&] { return buffer.Flush(); });
    EXPECT_EQ(expected, log.bytes);
    EXPECT_LT(log.writes, 1000) << "of 6,000";
  }
}

class SqliteLog : public EmbeddedFixture, public testing::Test {
 protected:
  /// What a program sees that knows nothing of this one.
  std::string SeenBeside(const char* sql) {
    sqlite3* handle = nullptr;
    std::string seen;
    sqlite3_open_v2((Directory() + "/dw.db").c_str(), &handle, SQLITE_OPEN_READWRITE, nullptr);
    const auto take = [](void* text, int, char** values, char**) {
      return static_cast<std::string*>(text)->append(values[0]), 0;
    };
    sqlite3_exec(handle, sql, take, &seen, nullptr);
    sqlite3_close(handle);
    return seen;
  }
};

TEST_F(SqliteLog, WhatIsCommittedIsSeenByOtherProgramsAtOnceAndNothingElse) {
  const auto dw = Open();
  for (const char* synchronous : {"FULL", "NORMAL", "OFF"}) {
    SCOPED_TRACE(synchronous);
    dw->Execute(
        std::string(
            "DROP TABLE IF EXISTS t; CREATE TABLE t (a INT, s TEXT); PRAGMA synchronous = ") +
        synchronous);
    // More than the cache holds, so that pages go into the log before the end; a part is undone.
    const std::string rows =
        "INSERT INTO t WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < "
        "9000)"
        " SELECT i, hex(randomblob(400)) FROM n;";
    dw->Execute("BEGIN; " + rows + "SAVEPOINT s; " + rows +
                "UPDATE t SET s = 'x' WHERE a % 3 = 0; ROLLBACK TO s;");
    EXPECT_EQ("0", SeenBeside("SELECT count(*) FROM t"));
    dw->Execute("UPDATE t SET s = 'y' WHERE a % 5 = 0; COMMIT");
    EXPECT_EQ("9000", SeenBeside("SELECT count(*) FROM t"));
    EXPECT_EQ("1800", SeenBeside("SELECT count(*) FROM t WHERE s = 'y'"));
    EXPECT_EQ("ok", SeenBeside("PRAGMA integrity_check"));
  }
}

/// Frames that were given up before they came into the file must not come there later, where others
/// have put theirs meanwhile.
TEST_F(SqliteLog, WhatWasRolledBackOverwritesNothingThatOthersHaveCommittedSince) {
  const auto dw = Open();
  dw->Execute("CREATE TABLE t (a INT, s TEXT)");
  const std::string rows = " SELECT i, hex(randomblob(400)) FROM n";
  const std::string numbers =
      "INSERT INTO t WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < ";
  for (const bool reads : {true, false}) {
    for (const char* end : {"ROLLBACK", "ROLLBACK TO s; COMMIT"}) {
      SCOPED_TRACE(testing::Message() << reads << end);
      dw->Execute("BEGIN; SAVEPOINT s; " + numbers + "5000)" + rows);
      dw->Execute(end);
      SeenBeside(
          ("PRAGMA wal_autocheckpoint = 0; DELETE FROM t; " + numbers + "9000)" + rows).c_str());
      if (reads) {
        EXPECT_EQ("9000", RowsOf(*dw, "SELECT count(s) FROM t"));
      }
      dw->Execute("INSERT INTO t VALUES (0, 'x')");
      EXPECT_EQ("9001", SeenBeside("SELECT count(s) FROM t"));
      EXPECT_EQ("ok", SeenBeside("PRAGMA integrity_check"));
    }
  }
}

}  // namespace
}  // namespace torvik
