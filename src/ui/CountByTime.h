#pragma once

#include <cstdint>
#include <vector>

namespace torvik {

/// What has come in intervals of equal length from a begin on, for a small chart. There are never
/// more than a few of them: they become longer instead.
class CountByTime {
 public:
  /// `seconds` have passed since the begin, and so many more have come.
  void Add(double seconds, std::int64_t more);

  /// The last one is under way.
  const std::vector<std::int64_t>& Intervals() const { return intervals_; }
  double IntervalSeconds() const { return length_; }

 private:
  std::vector<std::int64_t> intervals_;
  double length_ = 0.1;
};

}  // namespace torvik
