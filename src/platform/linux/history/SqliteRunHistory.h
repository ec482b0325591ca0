#pragma once

#include <memory>
#include <string>

#include "platform/RunHistory.h"

namespace torvik {

struct HistorySettings;

/// The file of the history in the state directory. Where other machines may have that directory
/// too, each has a file of its own: the locks of SQLite's write-ahead log hold on one machine
/// alone.
std::string HistoryFileIn(const std::string& stateDirectory);

/// The history in an SQLite file, which is made at the first run. Several processes use it at once.
std::unique_ptr<RunHistory> NewSqliteRunHistory(std::string path, const HistorySettings& settings);

}  // namespace torvik
