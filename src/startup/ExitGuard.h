#pragma once

#include <functional>

namespace torvik {

/// While it lives, a library that ends the process by exit() does not end it unheard: the words are
/// said first, by the thread that called exit(). There is one at a time.
class ExitGuard {
 public:
  explicit ExitGuard(std::function<void()> lastWords);
  ~ExitGuard();
  ExitGuard(const ExitGuard&) = delete;
  ExitGuard& operator=(const ExitGuard&) = delete;
};

}  // namespace torvik
