#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace torvik {

class Clock;
class CodePage;

/// The pseudo-random generator of the Visual Basic runtime: a 24-bit linear congruential generator
/// (its step, its first state and the rules of Rnd and Randomize are published by its maker).
class RuntimeGenerator {
 public:
  /// The next value, in [0, 1): Rnd without an argument.
  float Draw() { return static_cast<float>(Next()) / 16777216.0f; }
  /// The next value as a whole number from 0 to `range` - 1, taken exactly.
  int DrawBelow(int range);
  /// Rnd with a negative argument: the state that the argument defines, then the next value.
  float Reset(float argument);
  /// Randomize with an argument: mixes it into the state.
  void Seed(double argument);

 private:
  std::uint32_t Next();

  std::uint32_t state_ = 0x50000;
};

/// The seed of a key: every character but the first changes it. `key` is in the system's code page.
std::int32_t KeySeed(std::string_view key);

/// Appends the scrambled text to `result`: printable characters only, different from second to
/// second. Characters of `text` that are not printable in the system's code page (codes 32 to 126)
/// are left out. Keeps a text from being read at a glance; it is not encryption.
void ScrambleText(std::string_view key, std::string_view text, const CodePage& ansi, Clock& clock,
                  std::string& result);

/// Appends the clear text to `result`.
void UnscrambleText(std::string_view key, std::string_view text, const CodePage& ansi,
                    std::string& result);

/// The same with the key of job files.
std::string ScramblePassword(std::string_view text, const CodePage& ansi, Clock& clock);
std::string UnscramblePassword(std::string_view text, const CodePage& ansi);

}  // namespace torvik
