#include "engine/pump/Conversion.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "engine/pump/RowBatch.h"

namespace torvik::engine {
namespace {

using ado::Column;
using enum ado::ColumnKind;

Column ColumnOf(ado::ColumnKind kind, int size = 0, int precision = 0, int scale = 0) {
  Column column;
  column.kind = kind;
  column.size = size;
  column.precision = precision;
  column.scale = scale;
  return column;
}

/// The value as it is loaded, or "! " and why it does not fit.
std::string Fitted(const Column& column, const std::string& text) {
  RowBatch batch;
  ado::LoadValue value = text;
  const std::string misfit = FitValue(column, value, batch);
  if (!misfit.empty()) return "! " + misfit;
  return value ? std::string(*value) : "NULL";
}

TEST(Conversion, FitsValuesOrSaysWhyNot) {
  const Column anyInteger = ColumnOf(Integer), small = ColumnOf(Integer, 2),
               medium = ColumnOf(Integer, 4), money = ColumnOf(Decimal, 0, 5, 2),
               anyDecimal = ColumnOf(Decimal), real = ColumnOf(Real), boolean = ColumnOf(Boolean),
               date = ColumnOf(Date), dateTime = ColumnOf(DateTime), text3 = ColumnOf(Text, 3),
               anyText = ColumnOf(Text), binary = ColumnOf(Binary);
  const std::string noDateTime = "! is not a date and time of the form YYYY-MM-DD HH:MM:SS";
  const struct {
    const Column& column;
    std::string text, outcome;
  } cases[] = {
      {anyInteger, " -42\t", "-42"},
      {anyInteger, "+007", "007"},
      {anyInteger, "9223372036854775807", "9223372036854775807"},
      {anyInteger, "9223372036854775808", "! does not fit a whole number of 8 bytes"},
      {anyInteger, "", "NULL"},
      {anyInteger, " ", "NULL"},
      {anyInteger, "1.5", "! is not a whole number"},
      {anyInteger, "12a", "! is not a whole number"},
      {anyInteger, "+-1", "! is not a whole number"},
      {anyInteger, "+", "! is not a whole number"},
      {anyInteger, "1 2", "! is not a whole number"},
      {small, "-32768", "-32768"},
      {small, "-32769", "! does not fit a whole number of 2 bytes"},
      {small, "32768", "! does not fit a whole number of 2 bytes"},
      {medium, "2147483647", "2147483647"},
      {medium, "2147483648", "! does not fit a whole number of 4 bytes"},

      {money, "-000999.999", "-000999.999"},
      {money, "+.5", ".5"},
      {money, "7.", "7."},
      {money, "1000", "! has more than 3 digits before the point"},
      {money, "1,5", "! is not a decimal number"},
      {money, ".", "! is not a decimal number"},
      {money, "--1", "! is not a decimal number"},
      {money, "1e2", "! is not a decimal number"},
      {anyDecimal, "123456789012345678901234567890.1", "123456789012345678901234567890.1"},

      {real, "-1.5e-3", "-1.5e-3"},
      {real, "+2", "2"},
      {real, "nan", "! is not a number"},
      {real, "inf", "! is not a number"},
      {real, "1.5x", "! is not a number"},
      {real, "1e999", "! is outside the range of a floating-point number"},

      {boolean, "TRUE", "1"},
      {boolean, " yes ", "1"},
      {boolean, "-1", "1"},
      {boolean, "No", "0"},
      {boolean, "0", "0"},
      {boolean, "2", "! is neither true nor false"},

      {date, "2024-02-29", "2024-02-29"},
      {date, " 1999-12-31 ", "1999-12-31"},
      {date, "2023-02-29", "! is not a date of the form YYYY-MM-DD"},
      {date, "0000-01-01", "! is not a date of the form YYYY-MM-DD"},
      {date, "2024-13-01", "! is not a date of the form YYYY-MM-DD"},
      {date, "24-01-01", "! is not a date of the form YYYY-MM-DD"},
      {date, "2024-01-01 10:00", "! is not a date of the form YYYY-MM-DD"},

      {dateTime, "2024-01-31", "2024-01-31 00:00:00"},
      {dateTime, "2024-01-31T23:59", "2024-01-31 23:59:00"},
      {dateTime, "2024-01-31T01:02:03.456", "2024-01-31 01:02:03.456"},
      {dateTime, "2024-01-31 01:02:03", "2024-01-31 01:02:03"},
      {dateTime, "2024-01-31 24:00:00", noDateTime},
      {dateTime, "2024-01-31 10:60", noDateTime},
      {dateTime, "2024-01-31 10:00:60", noDateTime},
      {dateTime, "2024-01-31 10:00:00.", noDateTime},
      {dateTime, "2024-01-31 10:00:00.1234567890", noDateTime},
      {dateTime, "2024-01-31_10:00:00", noDateTime},
      {dateTime, "2024-01-31T", noDateTime},
      {dateTime, "2024-04-31 10:00:00", noDateTime},

      {text3, "\u00e9\u00e8\u20ac", "\u00e9\u00e8\u20ac"},
      {text3, "a\u00e9bc", "! has 4 characters, 3 fit"},
      {text3, "", ""},
      {anyText, "  as it stands ", "  as it stands "},
      {binary, " \x01", " \x01"},
  };
  for (const auto& c : cases) {
    const std::string outcome = Fitted(c.column, c.text);
    EXPECT_EQ(c.outcome, outcome) << "kind " << static_cast<int>(c.column.kind) << " \"" << c.text
                                  << '"';
  }
}

}  // namespace
}  // namespace torvik::engine
