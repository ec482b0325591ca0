#pragma once

#include <string>

struct sqlite3;

namespace torvik {

/// Tables of a session that lie in no database file. It lives as long as the session's handle.
class SessionTables {
 public:
  virtual ~SessionTables() = default;

  /// Makes the tables in the schema "main" of an empty database. False when SQLite does not take
  /// them; the handle then says why.
  virtual bool AddTo(sqlite3* handle) = 0;

  /// Called with each name in SQL text before it is compiled: makes the table of that name usable
  /// when it is another name of one of these.
  virtual void Meet(sqlite3* handle, const std::string& name) = 0;
};

}  // namespace torvik
