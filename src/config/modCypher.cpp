#include "config/modCypher.h"

#include <bit>

#include "platform/Clock.h"
#include "platform/CodePage.h"

namespace torvik {
namespace {

constexpr std::string_view kPassPhrase = "KettleIsWarmed";
constexpr std::uint32_t kStateMask = 0xFFFFFF;
constexpr int kFirst = 32;
constexpr int kLast = 126;
constexpr int kPrintable = kLast - kFirst + 1;
// One more than there are characters: a draw of 95 shifts like one of 0. Stored texts depend on it.
constexpr int kDraws = 96;
constexpr std::size_t kSaltLength = 2;

RuntimeGenerator PreparedGenerator(std::string_view key) {
  RuntimeGenerator generator;
  generator.Reset(-1.0f);
  generator.Seed(KeySeed(key));
  return generator;
}

bool IsPrintable(unsigned char code) {
  return code >= kFirst && code <= kLast;
}

/// The second of the clock in two digits.
std::string Salt(Clock& clock) {
  const int second = clock.LocalTime().tm_sec;
  return {static_cast<char>('0' + second / 10), static_cast<char>('0' + second % 10)};
}

}  // namespace

std::uint32_t RuntimeGenerator::Next() {
  state_ = (state_ * 1140671485u + 12820163u) & kStateMask;
  return state_;
}

int RuntimeGenerator::DrawBelow(int range) {
  return static_cast<int>((std::uint64_t{Next()} * static_cast<unsigned>(range)) >> 24);
}

float RuntimeGenerator::Reset(float argument) {
  const auto bits = std::bit_cast<std::uint32_t>(argument);
  state_ = ((bits & kStateMask) + (bits >> 24)) & kStateMask;
  return Draw();
}

void RuntimeGenerator::Seed(double argument) {
  const auto high = static_cast<std::uint32_t>(std::bit_cast<std::uint64_t>(argument) >> 32);
  const std::uint32_t folded = (high ^ (high >> 16)) & 0xFFFF;
  state_ = (state_ & 0xFF) | (folded << 8);
}

std::int32_t KeySeed(std::string_view key) {
  std::uint32_t seed = 0;
  int a = 0;
  int b = 0;
  for (const char c : key) {
    const auto code = static_cast<std::uint32_t>(static_cast<unsigned char>(c));
    seed ^= (code << a) ^ (code << b);
    a = (a + 7) % 19;
    b = (b + 13) % 23;
  }
  return static_cast<std::int32_t>(seed);
}

void ScrambleText(std::string_view key, std::string_view text, const CodePage& ansi, Clock& clock,
                  std::string& result) {
  RuntimeGenerator generator = PreparedGenerator(ansi.Encode(key));
  for (const unsigned char code : Salt(clock) + ansi.Encode(text)) {
    if (!IsPrintable(code)) continue;
    const int shifted = (code - kFirst + generator.DrawBelow(kDraws)) % kPrintable;
    result += static_cast<char>(shifted + kFirst);
  }
}

void UnscrambleText(std::string_view key, std::string_view text, const CodePage& ansi,
                    std::string& result) {
  RuntimeGenerator generator = PreparedGenerator(ansi.Encode(key));
  std::string clear;
  for (const unsigned char code : ansi.Encode(text)) {
    if (!IsPrintable(code)) continue;
    int shifted = (code - kFirst - generator.DrawBelow(kDraws)) % kPrintable;
    if (shifted < 0) shifted += kPrintable;
    clear += static_cast<char>(shifted + kFirst);
  }
  result += clear.size() < kSaltLength ? clear : clear.substr(kSaltLength);
}

std::string ScramblePassword(std::string_view text, const CodePage& ansi, Clock& clock) {
  std::string result;
  ScrambleText(kPassPhrase, text, ansi, clock, result);
  return result;
}

std::string UnscramblePassword(std::string_view text, const CodePage& ansi) {
  std::string result;
  UnscrambleText(kPassPhrase, text, ansi, result);
  return result;
}

}  // namespace torvik
