#include "alarms/JobMetrics.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <string_view>

#include "alarms/DueAlarms.h"
#include "alarms/JobName.h"

namespace torvik {
namespace {

constexpr std::size_t kLongestName = 100;

/// FNV-1a, 64 bits: http://www.isthe.com/chongo/tech/comp/fnv/
std::uint64_t HashOf(std::string_view text) {
  std::uint64_t hash = 0xCBF29CE484222325;
  for (const char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3;
  return hash;
}

std::string LabelText(std::string_view value) {
  std::string text = "\"";
  for (const char c : value) {
    if (c == '\\' || c == '"') text += '\\';
    text += c == '\n' ? "\\n" : std::string(1, c);
  }
  return text + '"';
}

std::string SecondsText(std::chrono::system_clock::duration duration) {
  using namespace std::chrono;
  char text[32];
  const auto milliseconds_ = duration_cast<milliseconds>(duration).count();
  std::snprintf(text, sizeof text, "%lld.%03lld", static_cast<long long>(milliseconds_ / 1000),
                static_cast<long long>(milliseconds_ % 1000));
  return text;
}

class MetricsWriter {
 public:
  explicit MetricsWriter(const RunRecord& run)
      // "job" is what Prometheus itself calls what it scrapes.
      : labels_("{etl_job=" + LabelText(JobName(run.job)) + ",file=" + LabelText(run.job) +
                ",package=" + LabelText(run.package) + "} ") {}

  /// The exporter refuses files of one directory that describe a metric in other words.
  void Add(const std::string& name, const char* help, const std::string& value) {
    text_ += "# HELP " + name + " " + help + "\n# TYPE " + name + " gauge\n" + name + labels_ +
             value + "\n";
  }
  void Add(const std::string& name, const char* help, std::int64_t value) {
    Add(name, help, std::to_string(value));
  }
  const std::string& Text() const { return text_; }

 private:
  const std::string labels_;
  std::string text_;
};

}  // namespace

std::string MetricsFileName(const std::string& jobFile) {
  std::string name = JobName(jobFile).substr(0, kLongestName);
  std::replace_if(
      name.begin(), name.end(),
      [](unsigned char c) {
        return c >= 0x80 || !(IsDigit(static_cast<char>(c)) || (c >= 'A' && c <= 'Z') ||
                              (c >= 'a' && c <= 'z') || c == '-' || c == '.');
      },
      '_');
  char hash[17];
  std::snprintf(hash, sizeof hash, "%016llx", static_cast<unsigned long long>(HashOf(jobFile)));
  return "torvik_" + name + "_" + hash + ".prom";
}

std::string MetricsText(const std::vector<RunRecord>& runs) {
  const auto last = std::find_if(runs.begin(), runs.end(), HasEnded);
  if (last == runs.end()) return {};
  const auto success = std::find_if(
      last, runs.end(), [](const RunRecord& run) { return run.outcome == RunOutcome::Ok; });
  const Moment begin = last->begin, end = last->end.value_or(begin);
  const Moment succeeded = success == runs.end() ? Moment() : success->end.value_or(success->begin);
  MetricsWriter metrics(*last);
  metrics.Add("torvik_last_run_ok", "Whether the last run succeeded: 1, or 0 for any other end.",
              last->outcome == RunOutcome::Ok ? 1 : 0);
  metrics.Add("torvik_last_run_begin_timestamp_seconds", "When the last run began.",
              SecondsText(begin.time_since_epoch()));
  metrics.Add("torvik_last_run_end_timestamp_seconds", "When the last run ended.",
              SecondsText(end.time_since_epoch()));
  metrics.Add("torvik_last_run_duration_seconds", "How long the last run took.",
              SecondsText(std::max(end - begin, Moment::duration::zero())));
  metrics.Add("torvik_last_run_rows", "Rows that the steps of the last run have moved.",
              last->rows);
  metrics.Add("torvik_last_run_rejected_rows", "Rows that the last run has rejected.",
              last->rejectedRows);
  metrics.Add("torvik_last_run_fetched_bytes",
              "Bytes that the last run has fetched for data links.", last->bytes);
  metrics.Add("torvik_consecutive_failures", "Runs that have failed one after the other up to now.",
              static_cast<std::int64_t>(FailuresBefore(runs, 0)));
  metrics.Add("torvik_last_success_timestamp_seconds",
              "When the last run that succeeded ended; 0: none is known.",
              SecondsText(succeeded.time_since_epoch()));
  return metrics.Text();
}

}  // namespace torvik
