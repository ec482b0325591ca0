#include <bit>
#include <cmath>

#include "platform/Clock.h"
#include "script/Conversion.h"
#include "script/Functions.h"
#include "script/Operators.h"

namespace torvik::script {

namespace {

template <double (*function)(double)>
Value Apply(Context&, Arguments a) {
  return Finite(function(ToDouble(a[0])));
}

Value Sqr(Context&, Arguments a) {
  const double number = ToDouble(a[0]);
  if (number < 0) throw InvalidCall("Sqr");
  return Value::OfDouble(std::sqrt(number));
}

Value Log(Context&, Arguments a) {
  const double number = ToDouble(a[0]);
  if (number <= 0) throw InvalidCall("Log");
  return Value::OfDouble(std::log(number));
}

Value Abs(Context&, Arguments a) {
  if (a[0].Is(Kind::Null)) return a[0];
  if (a[0].Is(Kind::Byte)) return a[0];
  const Value number =
      a[0].IsNumber() ? a[0] : Arithmetic(Operator::Add, a[0], Value::OfInteger(0), nullptr);
  if (ToDouble(number) < 0) return Negation(number);
  return number.Is(Kind::Boolean) ? Value::OfInteger(0) : number;
}

Value Sgn(Context&, Arguments a) {
  const double number = ToDouble(a[0]);
  return Value::OfInteger(number > 0 ? 1 : number < 0 ? -1 : 0);
}

/// The number in its own kind, changed by `function`.
template <double (*function)(double)>
Value Cut(Context&, Arguments a) {
  switch (a[0].Type()) {
    case Kind::Null:
    case Kind::Byte:
    case Kind::Integer:
    case Kind::Long: return a[0];
    case Kind::Single: return Value::OfSingle(function(a[0].Real()));
    case Kind::Date: return Value::OfDate(function(a[0].Real()));
    case Kind::Currency:
      return Value::OfCurrency(
          static_cast<std::int64_t>(function(static_cast<double>(a[0].Whole()) / 10000)) * 10000);
    case Kind::Empty:
    case Kind::Boolean: return Value::OfInteger(ToInteger(a[0]));
    default: return Value::OfDouble(function(ToDouble(a[0])));
  }
}

/// Half to even, at up to 22 places.
Value Round(Context&, Arguments a) {
  if (a[0].Is(Kind::Null)) return a[0];
  const std::int32_t places = LongOr(a, 1, 0);
  if (places < 0 || places > 22) throw InvalidCall("Round");
  if (a[0].Is(Kind::Boolean) || a[0].Is(Kind::Empty)) return Value::OfInteger(ToInteger(a[0]));
  if (a[0].IsWhole()) return a[0];
  const double scale = std::pow(10.0, places), number = ToDouble(a[0]);
  const double scaled = number * scale;
  const double rounded = std::abs(scaled) < 1e15 ? RoundHalfEven(scaled) / scale : number;
  if (a[0].Is(Kind::Single)) return Value::OfSingle(static_cast<float>(rounded));
  if (a[0].Is(Kind::Currency)) return Value::OfCurrency(ToCurrency(Value::OfDouble(rounded)));
  return Value::OfDouble(rounded);
}

constexpr std::uint32_t randomMask = 0xFFFFFF;

/// Rnd: the next number, the same again for 0, the one of a seed for a negative number.
Value Rnd(Context& context, Arguments a) {
  const float argument = IsGiven(a, 0) ? static_cast<float>(ToDouble(a[0])) : 1;
  if (argument < 0) {
    const auto bits = std::bit_cast<std::uint32_t>(argument);
    context.random = (bits + (bits >> 24)) & randomMask;
  }
  if (argument != 0) context.random = (context.random * 0x43FD43FDu + 0xC39EC3u) & randomMask;
  return Value::OfSingle(static_cast<float>(context.random) / 16777216.0F);
}

Value Randomize(Context& context, Arguments a) {
  double seed = 0;
  if (IsGiven(a, 0))
    seed = ToDouble(a[0]);
  else
    seed = std::chrono::duration<double>(context.clock.Now().time_since_epoch()).count();
  const auto bits = std::bit_cast<std::uint64_t>(seed);
  const auto high = static_cast<std::uint32_t>(bits >> 32), low = static_cast<std::uint32_t>(bits);
  const std::uint32_t folded = (high ^ low ^ ((high ^ low) >> 16)) & 0xFFFF;
  context.random = (context.random & 0xFF) | folded << 8;
  return {};
}

constexpr Function mathFunctions[] = {
    {"abs", 1, 1, Abs},
    {"sgn", 1, 1, Sgn},
    {"int", 1, 1, Cut<std::floor>},
    {"fix", 1, 1, Cut<std::trunc>},
    {"round", 1, 2, Round},
    {"sqr", 1, 1, Sqr},
    {"exp", 1, 1, Apply<std::exp>},
    {"log", 1, 1, Log},
    {"sin", 1, 1, Apply<std::sin>},
    {"cos", 1, 1, Apply<std::cos>},
    {"tan", 1, 1, Apply<std::tan>},
    {"atn", 1, 1, Apply<std::atan>},
    {"rnd", 0, 1, Rnd},
    {"randomize", 0, 1, Randomize},
};

}  // namespace

std::span<const Function> MathFunctions() {
  return mathFunctions;
}

}  // namespace torvik::script
