#include "script/Value.h"

#include <gtest/gtest.h>

#include <string>

#include "script/Conversion.h"
#include "script/DateText.h"
#include "script/LetterCase.h"
#include "script/Object.h"
#include "script/ScriptError.h"

namespace torvik::script {
namespace {

TEST(Values, AreCountedAndGivenBack) {
  HeapOwner heap(1 << 16);
  {
    const Value text = Value::OfText(std::string(1000, 'x'), &*heap);
    EXPECT_LT(1000u, heap->Used());
    const std::size_t one = heap->Used();
    const Value same = text;
    Value moved = same;
    const Value taken = std::move(moved);
    EXPECT_EQ(one, heap->Used());
    EXPECT_EQ(text.View().data(), taken.View().data());
    EXPECT_TRUE(moved.Is(Kind::Empty));
  }
  EXPECT_EQ(0u, heap->Used());
  EXPECT_THROW(Value::OfText(std::string(1 << 16, 'x'), &*heap), ScriptError);
  EXPECT_THROW(NewArray(*heap, 1 << 16), ScriptError);
  EXPECT_EQ(0u, heap->Used());
}

TEST(Values, AppendInPlaceOnlyWhatNoOneShares) {
  HeapOwner heap(1 << 20);
  Value text = Value::OfText("\u00e4b", &*heap);
  EXPECT_EQ(2u, text.TextOf()->Characters());
  const Value shared = text;
  text.AppendText("c", &*heap);
  EXPECT_EQ("\u00e4b", shared.View());
  const char* const before = text.View().data();
  for (char c = 'd'; c <= 'e'; ++c) text.AppendText(std::string(1, c), &*heap);
  EXPECT_EQ("\u00e4bcde", text.View());
  EXPECT_EQ(5u, text.TextOf()->Characters());
  EXPECT_NE(shared.View().data(), before);
  text.AppendText("\u20ac", &*heap);
  EXPECT_EQ(6u, text.TextOf()->Characters());
}

TEST(Values, CopyArraysWhenTheyAreWritten) {
  HeapOwner heap(1 << 20);
  Value a = NewArray(*heap, 3);
  Value b = a;
  EXPECT_EQ(a.AsArray(), b.AsArray());
  b.OwnArray().elements[0] = Value::OfInteger(1);
  EXPECT_NE(a.AsArray(), b.AsArray());
  EXPECT_TRUE(a.AsArray()->elements[0].Is(Kind::Empty));
}

TEST(Values, DeepNestsGoWithoutRecursion) {
  HeapOwner heap(1 << 30);
  Value nest;
  for (int i = 0; i < 1'000'000; ++i) {
    Value outer = NewArray(*heap, 1);
    outer.AsArray()->elements[0] = std::move(nest);
    nest = std::move(outer);
  }
  nest.Clear();
  EXPECT_EQ(0u, heap->Used());
}

TEST(Values, OutliveTheirHeapsOwner) {
  Value kept;
  {
    HeapOwner heap(1 << 20);
    kept = NewArray(*heap, 1);
    kept.AsArray()->elements[0] = Value::OfText("kept", &*heap);
  }
  EXPECT_EQ("kept", kept.AsArray()->elements[0].View());
}

TEST(Conversions, ReadNumbers) {
  const struct {
    const char* text;
    const char* number;  ///< "" for none.
  } cases[] = {
      {"12", "12"},
      {" 12\t", "12"},
      {"+1.5", "1.5"},
      {"-.5", "-0.5"},
      {"1,234,567", "1234567"},
      {"1,2.5", "12.5"},
      {"1.5,0", ""},
      {"$12", "12"},
      {"-$12", "-12"},
      {"$-12", "-12"},
      {"($1.50)", "-1.5"},
      {"12-", "-12"},
      {"- 12", "-12"},
      {"1e3", "1000"},
      {"1d2", "100"},
      {"1e", ""},
      {"e5", ""},
      {"1e+2", "100"},
      {"&HFF", "255"},
      {"&hFFFF", "-1"},
      {"&O7", "7"},
      {"&O8", ""},
      {"&HFFFFF", "1048575"},
      {"&H", ""},
      {"", ""},
      {" ", ""},
      {".", ""},
      {"--1", ""},
      {"1 2", ""},
      {"abc", ""},
      {"()", ""},
      {"inf", ""},
      {"nan", ""},
      {"0x10", ""},
      {"1.2.3", ""},
      {"$", ""},
  };
  for (const auto& c : cases) {
    const auto number = NumberOfText(c.text);
    EXPECT_EQ(c.number, number ? TextOfNumber(*number) : "") << c.text;
  }
}

TEST(Conversions, WriteNumbers) {
  const struct {
    double number;
    int digits;
    const char* text;
  } cases[] = {
      {0, 15, "0"},
      {-0.0, 15, "0"},
      {100, 15, "100"},
      {0.1, 15, "0.1"},
      {1e14, 15, "100000000000000"},
      {1e15, 15, "1E+15"},
      {-1.25e300, 15, "-1.25E+300"},
      {1e-15, 15, "0.000000000000001"},
      {1.5e-15, 15, "1.5E-15"},
      {2.0 / 3, 15, "0.666666666666667"},
      {123456.7, 7, "123456.7"},
      {1234567.8, 7, "1234568"},
      {12345678, 7, "1.234568E+07"},
  };
  for (const auto& c : cases) EXPECT_EQ(c.text, TextOfNumber(c.number, c.digits)) << c.text;
}

TEST(Dates, AreReadAsInTheUnitedStates) {
  const struct {
    const char* text;
    const char* date;  ///< "" for none.
  } cases[] = {
      {"1/2/2024", "1/2/2024"},
      {"01-02-2024", "1/2/2024"},
      {"1.2.2024", "1/2/2024"},
      {"2024-1-2", "1/2/2024"},
      {"2024/01/02 03:04", "1/2/2024 3:04:00 AM"},
      {"13/2/2024", "2/13/2024"},
      {"13/13/2024", ""},
      {"1/2/29", "1/2/2029"},
      {"1/2/30", "1/2/1930"},
      {"Feb 29, 2024", "2/29/2024"},
      {"29 february 2024 5 pm", "2/29/2024 5:00:00 PM"},
      {"29-Feb-24", "2/29/2024"},
      {"February 2024", "2/1/2024"},
      {"Sept. 5, 2024", "9/5/2024"},
      {"Feb 30, 2024", ""},
      {"2/29/2023", ""},
      {"12:00 AM", "12:00:00 AM"},
      {"12:30 pm", "12:30:00 PM"},
      {"23:59:59", "11:59:59 PM"},
      {"24:00", ""},
      {"13:00 pm", ""},
      {"10:60", ""},
      {"1/2", ""},
      {"20240102", ""},
      {"1/2/2024x", ""},
      {"tomorrow", ""},
      {"", ""},
      {"1/1/100", "1/1/100"},
      {"12/31/9999 11:59:59 PM", "12/31/9999 11:59:59 PM"},
      {"5", ""},
  };
  for (const auto& c : cases) {
    const auto date = DateOfText(c.text);
    EXPECT_EQ(c.date, date ? TextOfDate(*date) : "") << c.text;
  }
}

TEST(Dates, HavePartsOnBothSidesOfTheirZero) {
  const struct {
    double number;
    DateParts parts;
    int weekday;
  } cases[] = {
      {0, {1899, 12, 30, 0, 0, 0}, 7},     {1.5, {1899, 12, 31, 12, 0, 0}, 1},
      {-1.25, {1899, 12, 29, 6, 0, 0}, 6}, {-0.25, {1899, 12, 30, 6, 0, 0}, 7},
      {45322, {2024, 1, 31, 0, 0, 0}, 4},  {45351.99, {2024, 2, 29, 23, 45, 36}, 5},
      {-657434, {100, 1, 1, 0, 0, 0}, 6},  {2958465, {9999, 12, 31, 0, 0, 0}, 6},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.parts, PartsOfDate(c.number)) << c.number;
    EXPECT_EQ(c.weekday, WeekdayOfDate(c.number)) << c.number;
  }
  for (std::int64_t day = -657434; day < 2958466; day += 97) {
    const DateParts parts = PartsOfDate(static_cast<double>(day));
    EXPECT_EQ(day, DaysOfDate(parts.year, parts.month, parts.day));
  }
}

TEST(LetterCases, KeepTheLengthOfTexts) {
  const struct {
    const char* lower;
    const char* upper;
  } cases[] = {{"abc1", "ABC1"},
               {"\u00e0\u00f6\u00fe", "\u00c0\u00d6\u00de"},
               {"\u0101\u013a\u017e", "\u0100\u0139\u017d"},
               {"\u03b1\u03c9", "\u0391\u03a9"},
               {"\u0451\u0430\u044f", "\u0401\u0410\u042f"}};
  for (const auto& c : cases) {
    EXPECT_EQ(c.lower, ToLowerCase(c.upper));
    EXPECT_EQ(c.upper, ToUpperCase(c.lower));
    EXPECT_EQ(c.lower, ToLowerCase(c.lower));
    EXPECT_EQ(c.upper, ToUpperCase(c.upper));
  }
  for (const char* const fixed : {"\u00df\u00f7\u00d7", "\u20ac", "\xFF\xC3", "\u0131"}) {
    EXPECT_EQ(fixed, ToLowerCase(fixed));
    EXPECT_EQ(fixed, ToUpperCase(fixed));
  }
}

}  // namespace
}  // namespace torvik::script
