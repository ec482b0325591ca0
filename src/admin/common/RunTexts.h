#pragma once

#include <optional>
#include <string>

#include "platform/RunHistory.h"

namespace torvik::admin {

/// "2026-11-25 02:00:07", in the machine's time zone.
std::string LocalTime(Moment moment);
/// "18 ms", "14.2 s", "3 min 20 s", "1 h 02 min".
std::string DurationText(double seconds);
/// Until its end, or until now for a run that is under way; nothing for one that was lost.
std::optional<double> SecondsOf(const RunRecord& run);
/// "687,028 rows, 244,000 rows/s"; empty without rows.
std::string RowsText(std::int64_t rows, double seconds);
/// The job's name, without directory and ending.
std::string JobNameOf(const RunRecord& run);
/// What failed and why, on one line; empty for a run that has not failed.
std::string ReasonText(const RunRecord& run);

/// The moment that a text says: "2026-11-25", "2026-11-25 02:00", "today", "yesterday", or how long
/// ago, as 90s, 15m, 12h, 7d. Throws PlatformError for any other.
Moment MomentOf(const std::string& text);

}  // namespace torvik::admin
