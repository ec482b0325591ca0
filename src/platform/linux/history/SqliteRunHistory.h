#pragma once

#include <memory>
#include <string>

#include "platform/RunHistory.h"

namespace torvik {

struct HistorySettings;

/// The history in an SQLite file, which is made at the first run. Several processes use it at once.
std::unique_ptr<RunHistory> NewSqliteRunHistory(std::string path, const HistorySettings& settings);

}  // namespace torvik
