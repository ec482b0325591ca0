#include "startup/ExitGuard.h"

#include <cstdlib>
#include <mutex>
#include <utility>

namespace torvik {
namespace {

/// Never destroyed: other threads go on while the process ends.
struct LastWords {
  std::mutex mutex;
  std::function<void()> say;
};

LastWords& TheLastWords() {
  static auto& words = *new LastWords;
  return words;
}

void SayLastWords() {
  const std::scoped_lock lock(TheLastWords().mutex);
  if (const auto say = std::exchange(TheLastWords().say, nullptr)) say();
}

void SetLastWords(std::function<void()> say) {
  const std::scoped_lock lock(TheLastWords().mutex);
  TheLastWords().say = std::move(say);
}

}  // namespace

ExitGuard::ExitGuard(std::function<void()> lastWords) {
  static const int installed = std::atexit(SayLastWords);
  if (installed == 0) SetLastWords(std::move(lastWords));
}

ExitGuard::~ExitGuard() {
  SetLastWords(nullptr);
}

}  // namespace torvik
