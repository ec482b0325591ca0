#include "ui/CountByTime.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace torvik {
namespace {

/// As many as a small chart shows; then they become twice as long.
constexpr std::size_t kMostIntervals = 120;

}  // namespace

void CountByTime::Add(double seconds, std::int64_t more) {
  while (seconds / length_ >= kMostIntervals) {
    length_ *= 2;
    for (std::size_t i = 0; i < intervals_.size(); ++i) {
      const std::int64_t one = std::exchange(intervals_[i], 0);
      intervals_[i / 2] += one;
    }
    intervals_.resize((intervals_.size() + 1) / 2);
  }
  intervals_.resize(std::max(intervals_.size(), static_cast<std::size_t>(seconds / length_) + 1));
  intervals_.back() += more;
}

}  // namespace torvik
