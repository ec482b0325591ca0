#pragma once

#include <atomic>
#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Ado.h"
#include "platform/PlatformError.h"
#include "platform/linux/settings/EmbeddedDurability.h"
#include "platform/linux/sqlite/EmbeddedDirectory.h"
#include "platform/linux/sqlite/SessionTables.h"

struct sqlite3;

namespace torvik {

class SqliteRowsFile;

/// One SQLite handle: on an embedded server, with a current database and the others attached when
/// SQL names them, or on a file that something else reads. Cancel may be called from another
/// thread, all else from one at a time.
class SqliteSession {
 public:
  /// Opens a database that exists; an empty name is master. Throws PlatformError, and makes no
  /// file, when the directory or the database is not there. A statement waits for a database that
  /// another connection holds for as long as that one writes, and then up to `timeoutSeconds`.
  SqliteSession(const std::string& directory, const std::string& database, int timeoutSeconds,
                const EmbeddedDurability& durability = {});

  /// A database in memory, empty but for `tables`, which stands for `file`. What would change
  /// anything is refused.
  SqliteSession(const EmbeddedDatabase& file, std::unique_ptr<SessionTables> tables);
  ~SqliteSession();
  SqliteSession(const SqliteSession&) = delete;
  SqliteSession& operator=(const SqliteSession&) = delete;

  sqlite3* Handle() const { return handle_; }
  const std::string& CurrentDatabase() const { return databases_.front().name; }

  /// True on a file that something else reads: nothing can be changed.
  bool IsReadOnly() const { return tables_ != nullptr; }

  /// True when its databases keep their texts in UTF-8.
  bool KeepsUtf8();

  /// Throws what any change meets there.
  void RequireWritable();

  /// Another number at each call.
  int NextNumber() { return ++lastNumber_; }

  /// The server's SQL as SQLite takes it. Attaches the databases that it names; throws for one that
  /// the directory does not have.
  std::string Resolve(std::string_view sql);

  /// The schema that a database of the directory has here, attached if need be. An empty name is
  /// the current database.
  std::string Schema(const std::string& database);

  /// Makes the table usable if it is one that is made when it is named.
  void Meet(const std::string& table);

  /// A database in memory from which loads copy rows into a table of that CREATE text, whose name
  /// is `name`; they share it. Null where there is none to be had.
  std::shared_ptr<SqliteRowsFile> RowsFile(const std::string& createText, const std::string& name);

  /// Lets go of that database, unless a load has it still or a transaction holds it: one that has
  /// ended does not.
  void ReleaseRowsFile();

  /// Attaches a database file beside those that SQL text may name, to be read while the transaction
  /// lasts; answers its schema. Empty where it cannot be had.
  std::string AttachGuest(const std::string& path);

  /// Lets go of those files, unless a transaction holds them still.
  void ReleaseGuests();

  /// Runs SQLite's own SQL, without rows.
  void Run(const std::string& sql);

  /// Every statement begins with this: forgets an earlier Cancel and how long was waited.
  void BeginStatement();

  /// The error that SQLite has just reported, in its words; `place` begins the text. Also kept in
  /// Errors().
  PlatformError Failure(const std::string& place);

  /// An error that is not SQLite's own. Also kept in Errors().
  PlatformError Refusal(const std::string& reason);

  const std::vector<ado::ProviderError>& Errors() const { return errors_; }

  void Cancel();

 private:
  void OpenServer();
  void SetDurability(const std::string& schema);
  void OpenTables();
  void Attach(const EmbeddedDatabase& database);
  void RefreshSchema();
  std::string LockedText(int code) const;
  std::string ReadOnlyText() const;
  std::string OpenFiles() const;
  PlatformError Keep(long number, const std::string& description);
  static int OnBusy(void* session, int attempt);
  bool WaitForLock(int attempt);
  std::filesystem::file_time_type LastWrite() const;

  std::string directory_;  ///< Empty when the session stands for a file.
  const EmbeddedDurability durability_;
  std::unique_ptr<SessionTables> tables_;    ///< Those of that file.
  std::vector<EmbeddedDatabase> databases_;  ///< The current one, then the attached ones.
  std::chrono::milliseconds timeout_;
  sqlite3* handle_ = nullptr;
  std::shared_ptr<SqliteRowsFile> rowsFile_;
  std::vector<std::string> guests_;
  std::vector<ado::ProviderError> errors_;
  std::atomic<bool> cancelled_ = false;
  std::chrono::steady_clock::time_point waitBegan_;
  std::chrono::milliseconds waited_{};
  std::filesystem::file_time_type lastWrite_{};  ///< Seen while waiting.
  int lastNumber_ = 0;
};

}  // namespace torvik
