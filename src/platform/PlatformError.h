#pragma once

#include <exception>
#include <new>
#include <stdexcept>
#include <string>

namespace torvik {

/// The one exception that crosses module boundaries: a failure of a database or of a package's
/// Execute. what() is the description.
struct PlatformError : std::runtime_error {
  PlatformError(long number, const std::string& description, std::string source)
      : std::runtime_error(description), number(number), source(std::move(source)) {}

  std::string Description() const { return what(); }

  /// The same failure in other words.
  PlatformError Saying(const std::string& words) const {
    PlatformError other(number, words, source);
    other.isTransient = isTransient;
    return other;
  }

  long number;         ///< The library's own code; 0 where it has none.
  std::string source;  ///< Who failed: "SQLite", "package engine", a driver's name.

  /// True when the same call may succeed a little later: a lock, a deadlock, a lost connection.
  bool isTransient = false;
};

/// What an exception of any kind says to the user.
inline std::string WordsOf(const std::exception& error) {
  if (dynamic_cast<const std::bad_alloc*>(&error) != nullptr) return "there is not enough memory";
  return error.what();
}

}  // namespace torvik
