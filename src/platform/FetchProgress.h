#pragma once

#include <cstdint>
#include <functional>
#include <string_view>

namespace torvik {

/// How far the fetching of a directory of remote data has come.
struct FetchProgress {
  std::string_view file;   ///< The one that is under way, or was the last.
  std::int64_t files = 0;  ///< That are complete.
  std::int64_t bytes = 0;  ///< Of all files, the one under way included.
};

/// What is called while data is fetched may throw this to end the fetch. It is no error, and no
/// exception of the library's: what handles those lets it pass.
struct FetchStopped {};

/// Told at most ten times a second, and at the end of a directory.
using FetchObserver = std::function<void(const FetchProgress&)>;

}  // namespace torvik
