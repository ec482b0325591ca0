#include "engine/pump/Conversion.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "engine/pump/RowBatch.h"

namespace torvik::engine {
namespace {

using ado::Column;
using enum ado::ColumnKind;

/// The value as it is loaded, or "! " and why it does not fit.
std::string Fitted(const Column& column, ado::LoadValue value, unsigned flags = 0) {
  RowBatch batch;
  std::string misfit;
  if (FitValue(column, flags, value, batch, misfit)) misfit.clear();
  if (!misfit.empty()) return "! " + misfit;
  return value.IsNull() ? "NULL" : std::string(TextOfValue(value, batch));
}

TEST(Conversion, FitsValuesOrSaysWhyNot) {
  const Column anyInteger{.kind = Integer}, small{.kind = Integer, .size = 2},
      medium{.kind = Integer, .size = 4}, money{.kind = Decimal, .precision = 5, .scale = 2},
      anyDecimal{.kind = Decimal}, real{.kind = Real}, boolean{.kind = Boolean}, date{.kind = Date},
      dateTime{.kind = DateTime}, text3{.kind = Text, .size = 3}, anyText{.kind = Text},
      binary{.kind = Binary};
  const struct {
    const Column& column;
    std::string outcome;
    std::vector<std::string> texts;  ///< All with that outcome.
  } cases[] = {
      {anyInteger, "-42", {" -42\t", "-42"}},
      {anyInteger, "7", {"+007"}},
      {anyInteger, "9223372036854775807", {"9223372036854775807"}},
      {anyInteger, "! does not fit a whole number of 8 bytes", {"9223372036854775808"}},
      {anyInteger, "NULL", {"", " "}},
      {anyInteger, "! is not a whole number", {"1.5", "12a", "+-1", "+", "1 2"}},
      {small, "-32768", {"-32768"}},
      {small, "! does not fit a whole number of 2 bytes", {"-32769", "32768"}},
      {medium, "2147483647", {"2147483647"}},
      {medium, "! does not fit a whole number of 4 bytes", {"2147483648"}},
      {money, "-000999.999", {"-000999.999"}},
      {money, ".5", {"+.5"}},
      {money, "7.", {"7."}},
      {money, "! has more than 3 digits before the point", {"1000", "-1000.0"}},
      {money, "! is not a decimal number", {"1,5", ".", "--1", "1e2"}},
      {anyDecimal, "123456789012345678901234567890.1", {"123456789012345678901234567890.1"}},
      {real, "-0.0015", {"-1.5e-3"}},
      {real, "2", {"+2"}},
      {real, "! is not a number", {"nan", "inf", "1.5x"}},
      {real, "! is outside the range of a floating-point number", {"1e999"}},
      {boolean, "1", {"TRUE", " yes ", "-1", "1"}},
      {boolean, "0", {"No", "0", "false"}},
      {boolean, "! is neither true nor false", {"2", "y"}},
      {date, "2024-02-29", {" 2024-02-29 "}},
      {date,
       "! is not a date of the form YYYY-MM-DD",
       {"2023-02-29", "0000-01-01", "2024-13-01", "24-01-01", "2024-01-01 1"}},
      {date, "2024-01-01", {"2024-01-01 00:00:00.000"}},
      {date,
       "! is a date with a time, and the time would be lost (allow \"demotion\")",
       {"2024-01-01 10:00"}},
      {dateTime, "2024-01-31 00:00:00", {"2024-01-31", "2024-01-31T00:00", "2024-01-31 00:00:00"}},
      {dateTime, "2024-01-31 23:02:03.456", {"2024-01-31T23:02:03.456"}},
      {dateTime,
       "! is not a date and time of the form YYYY-MM-DD HH:MM:SS",
       {"2024-01-31 24:00:00", "2024-01-31 10:60", "2024-01-31 10:00:60", "2024-01-31 10:00:00.",
        "2024-01-31 10:00:00.1234567890", "2024-01-31_10:00:00", "2024-01-31T",
        "2024-04-31 10:00:00"}},
      {text3, "\u00e9\u00e8\u20ac", {"\u00e9\u00e8\u20ac"}},
      {text3, "! has 4 characters, 3 fit", {"a\u00e9bc"}},
      {text3, "", {""}},
      {anyText, "  as it stands ", {"  as it stands "}},
      {binary, " \x01", {" \x01"}},
  };
  for (const auto& c : cases)
    for (const std::string& text : c.texts)
      EXPECT_EQ(c.outcome, Fitted(c.column, text))
          << "kind " << static_cast<int>(c.column.kind) << " \"" << text << '"';
}

TEST(Conversion, NumbersOfQueriesAreCutWhereThatIsAllowed) {
  const Column big{.kind = Integer, .size = 8}, small{.kind = Integer, .size = 2};
  const struct {
    const Column& column;
    double number;
    const char *whole, *cut;
  } cases[] = {
      {big, 1.5e15, "1500000000000000", "1500000000000000"},
      {big, 2.5e-7, "! is not a whole number", "0"},
      {small, -7.9, "! is not a whole number", "-7"},
      {small, 32768.5, "! is not a whole number", "! does not fit a whole number of 2 bytes"},
      {big, 1e300, "! is not a whole number", "! is not a whole number"}};
  for (const auto& c : cases) {
    EXPECT_EQ(c.whole, Fitted(c.column, c.number)) << c.number;
    EXPECT_EQ(c.cut, Fitted(c.column, c.number, kAllowNumericTruncation)) << c.number;
  }
}

TEST(Conversion, TextsAreMeasuredAsTheirColumnMeasuresThem) {
  using enum ado::TextUnit;
  const struct {
    ado::TextUnit unit;
    const char *text, *whole, *cut;
  } cases[] = {{Characters, "a\U0001F600b", "a\U0001F600b", "a\U0001F600b"},
               {Utf16, "a\U0001F600b", "! has 4 UTF-16 units, 3 fit", "a\U0001F600"},
               {Utf16, "\U0001F600\U0001F600", "! has 4 UTF-16 units, 3 fit", "\U0001F600"},
               {Utf16, "\u00e9\u00e8\u20ac", "\u00e9\u00e8\u20ac", "\u00e9\u00e8\u20ac"},
               {Utf16, "abcd", "! has 4 characters, 3 fit", "abc"},
               {Utf8, "\u00e9\u00e8", "! has 4 bytes of UTF-8, 3 fit", "\u00e9"},
               {Utf8, "\U0001F600", "! has 4 bytes of UTF-8, 3 fit", ""}};
  for (const auto& c : cases) {
    const Column column{.kind = Text, .size = 3, .unit = c.unit};
    EXPECT_EQ(c.whole, Fitted(column, c.text)) << c.text;
    EXPECT_EQ(c.cut, Fitted(column, c.text, kAllowStringTruncation)) << c.text;
  }
}

TEST(Conversion, ATinyIntegerHasNoSignAndKeepsTheBitsOfOne) {
  const Column tiny{.kind = Integer, .declaredType = "TinyInt", .size = 1};
  const std::string tooLarge = "! does not fit a whole number of 1 byte without a sign";
  const struct {
    const char* text;
    std::string plain, signChanged;
  } cases[] = {{"0", "0", "0"},         {"255", "255", "255"},     {"256", tooLarge, tooLarge},
               {"-1", tooLarge, "255"}, {"-128", tooLarge, "128"}, {"-129", tooLarge, tooLarge}};
  for (const auto& c : cases) {
    EXPECT_EQ(c.plain, Fitted(tiny, c.text)) << c.text;
    EXPECT_EQ(c.signChanged, Fitted(tiny, c.text, kAllowSignChange)) << c.text;
  }
}

}  // namespace
}  // namespace torvik::engine
