#include "engine/pump/text/DelimiterGuess.h"

#include <algorithm>
#include <cstddef>

namespace torvik::engine {
namespace {

std::size_t CountOutsideQuotes(std::string_view line, char wanted) {
  std::size_t count = 0;
  bool isQuoted = false;
  for (const char c : line) {
    if (c == '"') isQuoted = !isQuoted;
    if (c == wanted && !isQuoted) ++count;
  }
  return count;
}

/// Better the more lines have as many as the first one, and the more that are.
struct Score {
  std::size_t lines = 0, inEach = 0;
  auto operator<=>(const Score&) const = default;
};

Score ScoreOf(char candidate, std::span<const std::string_view> lines) {
  Score score;
  if (!lines.empty()) score.inEach = CountOutsideQuotes(lines.front(), candidate);
  if (score.inEach == 0) return {};
  score.lines = static_cast<std::size_t>(std::ranges::count_if(lines, [&](std::string_view line) {
    return CountOutsideQuotes(line, candidate) == score.inEach;
  }));
  return score;
}

}  // namespace

std::string GuessDelimiter(std::span<const std::string_view> lines) {
  char best = 0;
  Score bestScore;
  for (const char candidate : {',', ';', '\t', '|'})
    if (const Score score = ScoreOf(candidate, lines); score > bestScore) {
      best = candidate;
      bestScore = score;
    }
  return best == 0 ? std::string() : std::string(1, best);
}

}  // namespace torvik::engine
