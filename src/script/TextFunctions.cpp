#include <algorithm>
#include <cstring>

#include "platform/Text.h"
#include "script/Conversion.h"
#include "script/Functions.h"
#include "script/LetterCase.h"
#include "script/Operators.h"
#include "script/TextPositions.h"

namespace torvik::script {

namespace {

Value Len(Context& context, Arguments a) {
  if (a[0].Is(Kind::Null)) return a[0];
  const std::string_view text = TextArgument(context, a[0]);
  if (a[0].TextOf()->characters == TextBlock::Unknown) context.Work(text.size());
  return Value::OfLong(static_cast<std::int32_t>(a[0].TextOf()->Characters()));
}

Value Left(Context& context, Arguments a) {
  if (a[0].Is(Kind::Null)) return a[0];
  const std::string_view text = TextArgument(context, a[0]);
  return NewText(context, text.substr(0, ByteOffset(context, a[0], CountArgument(a[1]))));
}

Value Right(Context& context, Arguments a) {
  if (a[0].Is(Kind::Null)) return a[0];
  const std::string_view text = TextArgument(context, a[0]);
  const std::size_t count = CountArgument(a[1]), all = a[0].TextOf()->Characters();
  if (count >= all) return a[0];
  return NewText(context, text.substr(ByteOffset(context, a[0], all - count)));
}

Value Mid(Context& context, Arguments a) {
  if (a[0].Is(Kind::Null)) return a[0];
  const std::int32_t start = ToLong(a[1]);
  if (start < 1) throw InvalidCall("Mid");
  std::string_view text = TextArgument(context, a[0]);
  const std::size_t first = ByteOffset(context, a[0], static_cast<std::size_t>(start) - 1);
  if (!IsGiven(a, 2)) return NewText(context, text.substr(first));
  const std::size_t count = CountArgument(a[2]);
  if (a[0].TextOf()->Characters() == text.size())
    return NewText(context, text.substr(first, count));
  text.remove_prefix(first);
  return NewText(context, FirstCharacters(text, count));
}

template <std::string (*change)(std::string_view)>
Value Changed(Context& context, Arguments a) {
  if (a[0].Is(Kind::Null)) return a[0];
  const std::string_view text = TextArgument(context, a[0]);
  context.heap.Check(text.size());
  return NewText(context, change(text));
}

template <bool left, bool right>
Value Trim(Context& context, Arguments a) {
  if (a[0].Is(Kind::Null)) return a[0];
  std::string_view text = TextArgument(context, a[0]);
  context.Work(text.size());
  if (left) text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
  if (right) text = text.substr(0, text.find_last_not_of(' ') + 1);
  return NewText(context, text);
}

Value Repeated(Context& context, std::size_t count, std::string_view character) {
  if (count > static_cast<std::size_t>(-1) / 8) throw MemoryLimitPassed();
  const std::size_t size = count * character.size();
  context.heap.Check(size);
  context.Work(size);
  TextBlock* const block = TextBlock::Make(&context.heap, size, size);
  if (character.size() == 1) std::memset(block->Bytes(), character[0], size);
  for (std::size_t at = 0; character.size() > 1 && at < size; at += character.size())
    std::memcpy(block->Bytes() + at, character.data(), character.size());
  return Value::OfText(block);
}

Value Space(Context& context, Arguments a) {
  return Repeated(context, CountArgument(a[0]), " ");
}

Value String(Context& context, Arguments a) {
  if (a[1].Is(Kind::Null)) return a[1];
  const std::size_t count = CountArgument(a[0]);
  std::string character;
  if (a[1].Is(Kind::Text)) {
    character = FirstCharacters(a[1].View(), 1);
    if (character.empty()) throw InvalidCall("String");
  } else {
    AppendCodePoint(static_cast<char32_t>(ToLong(a[1]) & 0xFF), character);
  }
  return Repeated(context, count, character);
}

Value StrComp(Context& context, Arguments a) {
  if (a[0].Is(Kind::Null) || a[1].Is(Kind::Null)) return Value::OfNull();
  const std::string_view x = TextArgument(context, a[0]), y = TextArgument(context, a[1]);
  context.Work(x.size() + y.size());
  const bool ignoreCase = LongOr(a, 2, 0) == 1;
  if (ignoreCase) context.heap.Check(x.size() + y.size());
  return Value::OfInteger(static_cast<std::int16_t>(CompareTexts(x, y, ignoreCase)));
}

Value StrReverse(Context& context, Arguments a) {
  std::string_view text = TextArgument(context, a[0]);
  TextBlock* const block = TextBlock::Make(&context.heap, text.size(), text.size());
  const Value result = Value::OfText(block);
  context.Work(text.size());
  for (char* to = block->Bytes() + text.size(); !text.empty();) {
    const std::size_t length = std::max<std::size_t>(1, CharacterLength(text));
    to -= length;
    std::memcpy(to, text.data(), length);
    text.remove_prefix(length);
  }
  return result;
}

/// The bytes 0x80 to 0x9F of windows-1252; 0 for those that it leaves out.
constexpr char32_t windows1252[32] = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

char32_t FirstPoint(Context& context, Value& value) {
  const std::string_view first = FirstCharacters(TextArgument(context, value), 1);
  if (first.empty()) throw InvalidCall("Asc");
  return CodePointOf(first);
}

Value Asc(Context& context, Arguments a) {
  const char32_t point = FirstPoint(context, a[0]);
  if (point < 0x80 || (point >= 0xA0 && point <= 0xFF))
    return Value::OfInteger(static_cast<std::int16_t>(point));
  const auto at = std::ranges::find(windows1252, point);
  if (at == std::end(windows1252)) return Value::OfInteger('?');
  return Value::OfInteger(static_cast<std::int16_t>(0x80 + (at - windows1252)));
}

Value AscW(Context& context, Arguments a) {
  const char32_t point = FirstPoint(context, a[0]);
  if (point <= 0xFFFF) return Value::OfInteger(static_cast<std::int16_t>(point));
  return Value::OfLong(static_cast<std::int32_t>(point));
}

Value Chr(Context& context, Arguments a) {
  const std::int32_t code = ToLong(a[0]);
  if (code < 0 || code > 255) throw InvalidCall("Chr");
  auto point = static_cast<char32_t>(code);
  if (point >= 0x80 && point < 0xA0 && windows1252[point - 0x80] != 0)
    point = windows1252[point - 0x80];
  std::string text;
  AppendCodePoint(point, text);
  return NewText(context, text);
}

Value ChrW(Context& context, Arguments a) {
  std::int32_t code = ToLong(a[0]);
  if (code < 0 && code >= -32768) code += 0x10000;
  if (code < 0 || code > 0x10FFFF || (code >= 0xD800 && code < 0xE000)) throw InvalidCall("ChrW");
  std::string text;
  AppendCodePoint(static_cast<char32_t>(code), text);
  return NewText(context, text);
}

constexpr Function textFunctions[] = {
    {"len", 1, 1, Len},
    {"left", 2, 2, Left},
    {"right", 2, 2, Right},
    {"mid", 2, 3, Mid},
    {"lcase", 1, 1, Changed<ToLowerCase>},
    {"ucase", 1, 1, Changed<ToUpperCase>},
    {"trim", 1, 1, Trim<true, true>},
    {"ltrim", 1, 1, Trim<true, false>},
    {"rtrim", 1, 1, Trim<false, true>},
    {"space", 1, 1, Space},
    {"string", 2, 2, String},
    {"strcomp", 2, 3, StrComp},
    {"strreverse", 1, 1, StrReverse},
    {"asc", 1, 1, Asc},
    {"ascw", 1, 1, AscW},
    {"chr", 1, 1, Chr},
    {"chrw", 1, 1, ChrW},
};

}  // namespace

std::span<const Function> TextFunctions() {
  return textFunctions;
}

}  // namespace torvik::script
