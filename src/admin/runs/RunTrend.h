#pragma once

#include <string>
#include <vector>

#include "platform/RunHistory.h"

namespace torvik::admin {

/// How long the runs of a job took, and how many rows they had.
struct RunTrend {
  std::vector<RunRecord> runs;  ///< That do not run any more, the earliest first.
  double medianSeconds = 0;     ///< Of those that succeeded before the last run.
  double lastSeconds = 0;
};

/// Of runs as the history lists them, the latest first.
RunTrend TrendOf(const std::vector<RunRecord>& latestFirst);

/// "14.2 s, 2.3 times its median of 6.2 s", or what became of the last run; the empty text without
/// a run that has ended.
std::string LastAgainstMedian(const RunTrend& trend);

/// A plot for a terminal of that many columns, of one run at least: a column a run, blocks for
/// durations, 'x' below a run that failed, blocks for rows.
std::string PlotOf(const RunTrend& trend, int columns);

/// The same as a picture (SVG 1.1), durations as bars and rows as a line.
std::string PictureOf(const RunTrend& trend, const std::string& title);

}  // namespace torvik::admin
