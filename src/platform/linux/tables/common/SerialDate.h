#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace torvik {

/// The text "YYYY-MM-DD HH:MM:SS" of days since 30 December 1899, the time of day behind the point;
/// below zero the whole part alone counts backwards. Nothing outside the years 100 to 9999.
std::optional<std::string> OleDateText(double date);

/// The text of a workbook's date, in whose calendar 1900 is a leap year unless it counts from 1904:
/// "YYYY-MM-DD", with the time of day behind it if asked for. Nothing for a number that is no date.
std::optional<std::string> SheetDateText(double serial, bool countsFrom1904, bool withTime);

/// The reverse of SheetDateText, from "YYYY-MM-DD" or "YYYY-MM-DDTHH:MM:SS".
std::optional<double> SheetDateIn(std::string_view text, bool countsFrom1904);

/// What a cell's number format makes of its number.
enum class NumberKind : unsigned char { Number, Date, DateTime };

/// By the format's code: "yyyy\-mm\-dd", "[h]:mm", "#,##0.00". A time of day is a DateTime.
NumberKind NumberKindOf(std::string_view formatCode);

/// By the number of a format that every workbook has.
NumberKind NumberKindOf(int builtInFormat);

}  // namespace torvik
