#include <gtest/gtest.h>

#include "script/ScriptTools.h"

namespace torvik::script {
namespace {

struct ExpressionCase {
  const char* expression;
  const char* outcome;
};

void Check(std::span<const ExpressionCase> cases) {
  for (const auto& c : cases) EXPECT_EQ(c.outcome, Evaluated(c.expression)) << c.expression;
}

TEST(Functions, OfTextCountCharacters) {
  const ExpressionCase cases[] = {
      {"Len(\"\u00e4\u20acx\")", "Long 3"},
      {"Len(12345)", "Long 5"},
      {"Len(Null)", "Null"},
      {"Left(\"\u00e4bc\", 2)", "String \u00e4b"},
      {"Left(\"abc\", 9)", "String abc"},
      {"Left(\"abc\", -1)", "! 5"},
      {"Right(\"ab\u00e4\", 2)", "String b\u00e4"},
      {"Right(\"abc\", 0)", "String "},
      {"Mid(\"a\u00e4\u20acd\", 2, 2)", "String \u00e4\u20ac"},
      {"Mid(\"abc\", 2)", "String bc"},
      {"Mid(\"abc\", 9)", "String "},
      {"Mid(\"abc\", 0)", "! 5"},
      {"InStr(\"a\u00e4xbx\", \"x\")", "Long 3"},
      {"InStr(4, \"a\u00e4xbx\", \"x\")", "Long 5"},
      {"InStr(1, \"ABC\", \"b\", vbTextCompare)", "Long 2"},
      {"InStr(\"ABC\", \"b\")", "Long 0"},
      {"InStr(\"abc\", \"\")", "Long 1"},
      {"InStr(Null, \"a\")", "Null"},
      {"InStrRev(\"\u00e4xbx\", \"x\")", "Long 4"},
      {"InStrRev(\"axbx\", \"x\", 3)", "Long 2"},
      {"InStrRev(\"abc\", \"A\", -1, 1)", "Long 1"},
      {"LCase(\"\u00c4B\u0141\")", "String \u00e4b\u0142"},
      {"UCase(\"\u00e4b\u0436\")", "String \u00c4B\u0416"},
      {"Trim(\"  a b \") & \"|\" & LTrim(\" a \") & \"|\" & RTrim(\" a \")", "String a b|a | a"},
      {"Replace(\"aXbxc\", \"x\", \"--\", 1, -1, 1)", "String a--b--c"},
      {"Replace(\"aaaa\", \"a\", \"b\", 2, 2)", "String bba"},
      {"Replace(\"abc\", \"\", \"x\")", "String abc"},
      {"Replace(\"abc\", \"b\", \"\",,1)", "String ac"},
      {"Space(3) & \"|\"", "String    |"},
      {"String(3, \"xy\")", "String xxx"},
      {"String(2, 65)", "String AA"},
      {"StrComp(\"a\", \"B\")", "Integer 1"},
      {"StrComp(\"a\", \"B\", 1)", "Integer -1"},
      {"StrReverse(\"a\u00e4b\")", "String b\u00e4a"},
      {"Join(Split(\"a,b,,c\", \",\"), \"-\")", "String a-b--c"},
      {"Join(Split(\"a,b,c\", \",\", 2), \"-\")", "String a-b,c"},
      {"UBound(Split(\"\"))", "Long -1"},
      {"Join(Array(1, True, \"x\"))", "String 1 True x"},
      {"Join(Filter(Array(\"ab\", \"cd\", \"eb\"), \"b\"))", "String ab eb"},
      {"Join(Filter(Array(\"ab\", \"cd\"), \"B\", False, 1))", "String cd"},
      {"Asc(\"A\") & \" \" & Asc(\"\u20ac\") & \" \" & AscW(\"\u20ac\")", "String 65 128 8364"},
      {"Chr(65) & Chr(128) & ChrW(8364)", "String A\u20ac\u20ac"},
      {"Asc(\"\")", "! 5"},
      {"Chr(256)", "! 5"},
  };
  Check(cases);
}

TEST(Functions, OfConversionRoundHalfToEven) {
  const ExpressionCase cases[] = {
      {"CInt(2.5)", "Integer 2"},
      {"CInt(3.5)", "Integer 4"},
      {"CInt(-2.5)", "Integer -2"},
      {"CInt(\"1,234.5\")", "Integer 1234"},
      {"CInt(40000)", "! 6"},
      {"CInt(\"x\")", "! 13"},
      {"CInt(Null)", "! 94"},
      {"CLng(\"&H10\")", "Long 16"},
      {"CLng(2147483648)", "! 6"},
      {"CByte(255)", "Byte 255"},
      {"CByte(256)", "! 6"},
      {"CDbl(\"(5)\")", "Double -5"},
      {"CDbl(\"$1.5\")", "Double 1.5"},
      {"CDbl(\"1.5e2\")", "Double 150"},
      {"CDbl(\"1e999\")", "! 6"},
      {"CDbl(\"5-\")", "Double -5"},
      {"CSng(0.1)", "Single 0.1"},
      {"CCur(1.23456)", "Currency 1.2346"},
      {"CCur(\"-0.5\")", "Currency -0.5"},
      {"CBool(\"true\")", "Boolean True"},
      {"CBool(0.1)", "Boolean True"},
      {"CBool(\"x\")", "! 13"},
      {"CStr(0.1 + 0.2)", "String 0.3"},
      {"CStr(1 / 3)", "String 0.333333333333333"},
      {"CStr(1 / 30)", "String 3.33333333333333E-02"},
      {"CStr(1e15)", "String 1E+15"},
      {"CStr(-123456789012345)", "String -123456789012345"},
      {"CStr(1e-20)", "String 1E-20"},
      {"CStr(#1/31/2024 13:05:09#)", "String 1/31/2024 1:05:09 PM"},
      {"CDate(45322.5)", "Date 1/31/2024 12:00:00 PM"},
      {"CDate(\"nonsense\")", "! 13"},
      {"Hex(255) & Hex(-1) & Hex(CLng(-1))", "String FFFFFFFFFFFFFF"},
      {"Oct(8)", "String 10"},
      {"FormatNumber(1234567.891)", "String 1,234,567.89"},
      {"FormatNumber(1.005, 2)", "String 1.01"},
      {"FormatNumber(-0.5, 1, 0)", "String -.5"},
      {"FormatNumber(-1234.5, 0, , True, False)", "String (1235)"},
      {"FormatNumber(999.999)", "String 1,000.00"},
      {"FormatNumber(0)", "String 0.00"},
      {"FormatCurrency(-1234.5)", "String ($1,234.50)"},
      {"FormatPercent(0.12345)", "String 12.35%"},
      {"Round(2.5) & Round(-3.5) & Round(0.125, 2)", "String 2-40.12"},
  };
  Check(cases);
}

TEST(Functions, OfDatesKnowTheCalendar) {
  const ExpressionCase cases[] = {
      {"Now", "Date 1/8/2001 10:20:30 AM"},
      {"Date & \" \" & Time()", "String 1/8/2001 10:20:30 AM"},
      {"Timer", "Single 37230"},
      {"DateSerial(2024, 2, 29)", "Date 2/29/2024"},
      {"DateSerial(2023, 14, 0)", "Date 1/31/2024"},
      {"DateSerial(24, 1, 1)", "Date 1/1/2024"},
      {"DateSerial(1899, 12, 30) + 1", "Date 12/31/1899"},
      {"CDbl(DateSerial(1899, 12, 29) + TimeSerial(0, 0, 0))", "Double -1"},
      {"CDbl(#12/29/1899 6:00:00 AM#)", "Double -1.25"},
      {"Hour(CDate(-1.25)) & \" \" & Day(CDate(-1.25))", "String 6 29"},
      {"TimeSerial(25, 0, 1)", "Date 12/31/1899 1:00:01 AM"},
      {"DateValue(\"Jan 31, 2024 5:00 PM\")", "Date 1/31/2024"},
      {"DateValue(\"31 January 2024\")", "Date 1/31/2024"},
      {"DateValue(\"31/1/2024\")", "Date 1/31/2024"},
      {"DateValue(\"1/31/99\")", "Date 1/31/1999"},
      {"TimeValue(\"17:05\")", "Date 5:05:00 PM"},
      {"DateAdd(\"m\", 1, #1/31/2024#)", "Date 2/29/2024"},
      {"DateAdd(\"yyyy\", -1, #2/29/2024#)", "Date 2/28/2023"},
      {"DateAdd(\"h\", -1, #1/1/2024#)", "Date 12/31/2023 11:00:00 PM"},
      {"DateAdd(\"x\", 1, #1/1/2024#)", "! 5"},
      {"DateDiff(\"d\", #1/1/2024#, #3/1/2024#)", "Long 60"},
      {"DateDiff(\"m\", #1/31/2024#, #2/1/2024#)", "Long 1"},
      {"DateDiff(\"yyyy\", #12/31/2023#, #1/1/2024#)", "Long 1"},
      {"DateDiff(\"ww\", #1/6/2024#, #1/7/2024#)", "Long 1"},
      {"DateDiff(\"h\", #1/1/2024 1:59:59 AM#, #1/1/2024 2:00:00 AM#)", "Long 1"},
      {"DateDiff(\"s\", #1/2/2024#, #1/1/2024#)", "Long -86400"},
      {"DatePart(\"q\", #5/1/2024#)", "Integer 2"},
      {"DatePart(\"y\", #12/31/2024#)", "Integer 366"},
      {"DatePart(\"ww\", #1/7/2024#)", "Integer 2"},
      {"DatePart(\"ww\", #1/1/2021#, vbMonday, vbFirstFourDays)", "Integer 53"},
      {"DatePart(\"ww\", #12/31/2024#, vbMonday, vbFirstFourDays)", "Integer 1"},
      {"Year(#1/31/2024#) & Month(#1/31/2024#) & Day(#1/31/2024#)", "String 2024131"},
      {"Weekday(#1/31/2024#) & Weekday(#1/31/2024#, vbMonday)", "String 43"},
      {"WeekdayName(1) & WeekdayName(1, True, vbMonday)", "String SundayMon"},
      {"MonthName(2) & MonthName(2, True)", "String FebruaryFeb"},
      {"MonthName(13)", "! 5"},
      {"IsDate(\"2/30/2024\")", "Boolean False"},
      {"IsDate(\"2/29/2024\")", "Boolean True"},
      {"IsDate(5)", "Boolean False"},
      {"FormatDateTime(#1/31/2024 22:30:05#, 0)", "String 1/31/2024 10:30:05 PM"},
      {"FormatDateTime(#1/31/2024 22:30:05#, vbLongDate)", "String Wednesday, January 31, 2024"},
      {"FormatDateTime(#1/31/2024 22:30:05#, vbShortTime)", "String 22:30"},
  };
  Check(cases);
}

TEST(Functions, OfNumbersAndKinds) {
  const ExpressionCase cases[] = {
      {"Abs(-5)", "Integer 5"},
      {"Abs(\"-1.5\")", "Double 1.5"},
      {"Sgn(-0.1) & Sgn(0) & Sgn(9)", "String -101"},
      {"Int(-1.5) & Fix(-1.5)", "String -2-1"},
      {"Int(\"7.9\")", "Double 7"},
      {"Sqr(16)", "Double 4"},
      {"Sqr(-1)", "! 5"},
      {"Log(0)", "! 5"},
      {"Exp(1000)", "! 6"},
      {"Round(Atn(1) * 4, 5)", "Double 3.14159"},
      {"Round(Sin(0) + Cos(0) + Tan(0))", "Double 1"},
      {"Rnd", "Single 0.7055475"},
      {"Rnd(-1) = Rnd(-1)", "Boolean True"},
      {"IsEmpty(Empty)", "Boolean True"},
      {"IsEmpty(\"\")", "Boolean False"},
      {"IsNull(Null + 1)", "Boolean True"},
      {"IsNumeric(\"1,000.5\") & IsNumeric(\"1x\") & IsNumeric(Empty)", "String TrueFalseTrue"},
      {"IsArray(Array()) & IsObject(Nothing)", "String TrueTrue"},
      {"TypeName(1.5) & TypeName(Nothing) & TypeName(Array())", "String DoubleNothingVariant()"},
      {"VarType(Array(1)) & VarType(Now) & VarType(\"\")", "String 820478"},
      {"UBound(Array(1, 2, 3)) & LBound(Array(1))", "String 20"},
      {"UBound(5)", "! 13"},
      {"Left(\"a\")", "! 450"},
      {"CreateObject(\"Excel.Application\")", "! 429"},
      {"GetObject(\"x\")", "! 429"},
      {"MsgBox(\"hello\")", "! 17"},
  };
  Check(cases);
}

}  // namespace
}  // namespace torvik::script
