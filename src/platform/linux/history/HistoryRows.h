#pragma once

#include <sqlite3.h>

#include <cstdint>
#include <optional>

#include "platform/RunHistory.h"

/// How runs stand in the tables of the history.
namespace torvik {

class HistoryStatement;

/// The error of a run that is lost.
inline constexpr const char* kProcessIsGone =
    "the run ended without a verdict: its process is gone";

/// A query without its condition, whose rows RunOf takes.
inline constexpr const char* kRunColumns =
    "SELECT id, job, package, version, server, begin, end, outcome, rows, rejected, bytes, "
    "failed_step, error, log, process, host, started_by, attended, alarms, process_start, boot "
    "FROM run ";

/// Microseconds since the beginning of 1970, UTC.
std::int64_t StoredMoment(Moment moment);
/// NULL for none.
void BindMoment(HistoryStatement& statement, const std::optional<Moment>& moment);

/// A run whose process is gone is lost, also where that cannot be written.
RunRecord RunOf(HistoryStatement& row);

/// Reads the run's steps, fetches and variables.
void ReadParts(sqlite3* handle, RunRecord& run);

}  // namespace torvik
