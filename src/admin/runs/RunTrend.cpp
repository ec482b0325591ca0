#include "admin/runs/RunTrend.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "admin/common/RunTexts.h"
#include "history/RunJson.h"
#include "platform/NumberText.h"
#include "platform/Text.h"

namespace torvik::admin {
namespace {

constexpr int kDurationLines = 8, kRowLines = 4;
constexpr const char* kBlocks[] = {" ", "▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};
constexpr int kLevels = 8;

double Seconds(const RunRecord& run) {
  return SecondsOf(run).value_or(0);
}

bool HasSucceeded(const RunRecord& run) {
  return run.outcome == RunOutcome::Ok;
}

double LongestOf(const std::vector<RunRecord>& runs) {
  double longest = 1e-3;
  for (const RunRecord& run : runs) longest = std::max(longest, Seconds(run));
  return longest;
}

std::string Padded(std::string text, std::size_t width) {
  if (text.size() < width) text.insert(0, width - text.size(), ' ');
  return text;
}

std::string Number(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.1f", value);
  return text;
}

std::string Escaped(const std::string& text) {
  std::string xml;
  for (const char c : ControlsAsBlanks(text)) {
    const char* const entity = c == '&' ? "&amp;" : c == '<' ? "&lt;" : c == '>' ? "&gt;" : nullptr;
    xml += entity == nullptr ? std::string(1, c) : entity;
  }
  return xml;
}

/// The page of the picture, in its units.
constexpr double kWidth = 760, kHeight = 260, kLeft = 100, kTop = 40, kBottom = 220;

std::string TextAt(double x, double y, const std::string& anchor, const std::string& text) {
  return "<text x=\"" + Number(x) + "\" y=\"" + Number(y) + "\" text-anchor=\"" + anchor + "\">" +
         Escaped(text) + "</text>\n";
}

std::string Bars(const RunTrend& trend, double step, double longest) {
  std::string bars;
  for (std::size_t i = 0; i < trend.runs.size(); ++i) {
    const RunRecord& run = trend.runs[i];
    const double height = std::max(1.0, Seconds(run) / longest * (kBottom - kTop));
    bars +=
        "<rect x=\"" + Number(kLeft + static_cast<double>(i) * step) + "\" y=\"" +
        Number(kBottom - height) + "\" width=\"" + Number(std::max(1.0, step * 0.8)) +
        "\" height=\"" + Number(height) + "\" fill=\"" +
        (HasSucceeded(run) ? "#4a7fb5" : "#c0392b") + "\"><title>" +
        Escaped(LocalTime(run.begin) + ", " + DurationText(Seconds(run)) + ", " +
                Grouped(run.rows) + " rows" + (HasSucceeded(run) ? "" : ", " + ReasonText(run))) +
        "</title></rect>\n";
  }
  return bars;
}

std::string LineOfRows(const RunTrend& trend, double step) {
  std::int64_t most = 1;
  for (const RunRecord& run : trend.runs) most = std::max(most, run.rows);
  std::string points;
  for (std::size_t i = 0; i < trend.runs.size(); ++i)
    points += Number(kLeft + (static_cast<double>(i) + 0.4) * step) + "," +
              Number(kBottom - static_cast<double>(trend.runs[i].rows) / static_cast<double>(most) *
                                   (kBottom - kTop)) +
              " ";
  return "<polyline fill=\"none\" stroke=\"#e08a1e\" stroke-width=\"2\" points=\"" + points +
         "\"/>\n" + TextAt(kWidth - 4, kTop - 8, "end", Grouped(most) + " rows (line)");
}

/// A column a value, the largest one so many lines high, which is what `top` tells.
std::string Blocks(const std::vector<double>& values, int lines, const std::string& top,
                   std::size_t margin) {
  const double largest = std::max(1e-3, *std::max_element(values.begin(), values.end()));
  std::string plot;
  for (int line = lines; line > 0; --line) {
    plot += Padded(line == lines ? top : line == 1 ? "0" : "", margin) + " |";
    for (const double value : values) {
      const int height = static_cast<int>(std::lround(value / largest * lines * kLevels));
      const int least = line == 1 ? 1 : 0;  // a run that was short is seen as well
      plot += kBlocks[std::clamp(height - (line - 1) * kLevels, least, kLevels)];
    }
    plot += "\n";
  }
  return plot;
}

}  // namespace

RunTrend TrendOf(const std::vector<RunRecord>& latestFirst) {
  RunTrend trend;
  for (auto run = latestFirst.rbegin(); run != latestFirst.rend(); ++run)
    if (run->outcome != RunOutcome::Running) trend.runs.push_back(*run);
  if (trend.runs.empty()) return trend;
  trend.lastSeconds = Seconds(trend.runs.back());
  std::vector<double> before;
  for (auto run = trend.runs.begin(); run != trend.runs.end() - 1; ++run)
    if (HasSucceeded(*run)) before.push_back(Seconds(*run));
  if (before.empty()) return trend;
  const auto middle = before.begin() + static_cast<std::ptrdiff_t>(before.size() / 2);
  std::nth_element(before.begin(), middle, before.end());
  trend.medianSeconds = *middle;
  return trend;
}

std::string LastAgainstMedian(const RunTrend& trend) {
  if (trend.runs.empty()) return "";
  const RunRecord& run = trend.runs.back();
  std::string last = DurationText(trend.lastSeconds);
  const std::string median = DurationText(trend.medianSeconds);
  if (!HasSucceeded(run)) {
    // How long it took until then is no time to compare.
    last = WordOf(run.outcome) + (run.end ? " after " + last : std::string());
    return last + (trend.medianSeconds <= 0 ? "" : "; its median is " + median);
  }
  if (trend.medianSeconds <= 0) return last;
  return last + ", " + Number(trend.lastSeconds / trend.medianSeconds) + " times its median of " +
         median;
}

std::string PlotOf(const RunTrend& trend, int columns) {
  std::int64_t most = 0;
  for (const RunRecord& run : trend.runs) most = std::max(most, run.rows);
  const std::string longest = DurationText(LongestOf(trend.runs)),
                    mostRows = Grouped(most) + " rows";
  const std::size_t margin = std::max(longest.size(), mostRows.size());
  const auto room = static_cast<std::size_t>(std::max(columns - static_cast<int>(margin) - 3, 10));
  const std::size_t count = std::min(room, trend.runs.size());
  const std::vector<RunRecord> runs(trend.runs.end() - static_cast<std::ptrdiff_t>(count),
                                    trend.runs.end());
  std::vector<double> durations, rows;
  std::string marks;
  for (const RunRecord& run : runs) {
    durations.push_back(Seconds(run));
    rows.push_back(static_cast<double>(run.rows));
    marks += HasSucceeded(run) ? ' ' : 'x';
  }
  return Blocks(durations, kDurationLines, longest, margin) + std::string(margin + 2, ' ') + marks +
         "\n" + Blocks(rows, kRowLines, mostRows, margin);
}

std::string PictureOf(const RunTrend& trend, const std::string& title) {
  const double longest = LongestOf(trend.runs);
  const double step =
      (kWidth - kLeft) / static_cast<double>(std::max<std::size_t>(trend.runs.size(), 1));
  std::string picture =
      "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"760\" height=\"260\" viewBox=\"0 0 760 "
      "260\" font-family=\"sans-serif\" font-size=\"12\">\n<rect width=\"760\" height=\"260\" "
      "fill=\"white\"/>\n" +
      TextAt(4, 16, "start", title) + TextAt(kLeft - 6, kTop + 4, "end", DurationText(longest)) +
      TextAt(kLeft - 6, kBottom, "end", "0 s") + Bars(trend, step, longest) +
      LineOfRows(trend, step);
  if (!trend.runs.empty())
    picture += TextAt(kLeft, kBottom + 18, "start", LocalTime(trend.runs.front().begin)) +
               TextAt(kWidth - 4, kBottom + 18, "end", LocalTime(trend.runs.back().begin));
  return picture + "</svg>\n";
}

}  // namespace torvik::admin
