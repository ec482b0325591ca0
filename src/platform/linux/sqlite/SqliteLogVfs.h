#pragma once

namespace torvik {

/// The name of a VFS of SQLite's whose write-ahead logs go through SqliteLogBuffer; all else is as
/// it is with SQLite's own.
const char* SqliteLogVfs();

}  // namespace torvik
