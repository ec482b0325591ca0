#include <gtest/gtest.h>

#include "script/ScriptTools.h"

namespace torvik::script {
namespace {

TEST(Operators, BindAsTheLanguageSays) {
  const ExpressionCase cases[] = {
      {"2 + 3 * 4", "Integer 14"},
      {"-2 ^ 2", "Double -4"},
      {"2 ^ -1", "Double 0.5"},
      {"2 ^ 3 ^ 2", "Double 64"},
      {"-7 \\ 2 * 2", "Integer -1"},
      {"20 \\ 3 * 2", "Integer 3"},
      {"17 Mod 5 * 2", "Integer 7"},
      {"2 + 7 Mod 4", "Integer 5"},
      {"1 & 2 + 3", "String 15"},
      {"1 + 2 & 3 = \"33\"", "Boolean True"},
      {"Not 1 = 2", "Boolean True"},
      {"Not True Or True", "Boolean True"},
      {"True Or False And False", "Boolean True"},
      {"True Xor True Or True", "Boolean False"},
      {"1 < 2 = True", "Boolean True"},
      {"(1 + 2) * 3", "Integer 9"},
      {"False Imp False Eqv True", "Boolean True"},
      {"- - 3", "Integer 3"},
      {"+\"4\"", "Double 4"},
  };
  Check(cases);
}

TEST(Operators, WidenNumbersThatOverflow) {
  const ExpressionCase cases[] = {
      {"32767 + 1", "Long 32768"},
      {"-32768 - 1", "Long -32769"},
      {"300 * 300", "Long 90000"},
      {"2147483647 + 1", "Double 2147483648"},
      {"65536 * 65536", "Double 4294967296"},
      {"CByte(200) + CByte(100)", "Integer 300"},
      {"CByte(1) + CByte(2)", "Byte 3"},
      {"CByte(1) - CByte(2)", "Integer -1"},
      {"True + True", "Integer -2"},
      {"1 + 1.5", "Double 2.5"},
      {"CSng(1.5) + 1", "Single 2.5"},
      {"CSng(1.5) + 100000", "Double 100001.5"},
      {"CCur(1.5) * 2", "Currency 3"},
      {"CCur(1.5) + 0.25", "Double 1.75"},
      {"CCur(\"922337203685477\") + CCur(\"922337203685477\")", "! 6"},
      {"1e308 * 10", "! 6"},
      {"-(-32768)", "Long 32768"},
      {"6 / 3", "Double 2"},
      {"7.5 \\ 2", "Long 4"},
      {"6.5 \\ 1", "Long 6"},
      {"5.5 Mod 4", "Long 2"},
      {"-7 Mod 3", "Integer -1"},
      {"-2147483648.0 \\ -1", "Double 2147483648"},
      {"5 \\ 0", "! 11"},
      {"5 Mod 0.4", "! 11"},
      {"5 / 0", "! 11"},
      {"0 / 0", "! 6"},
      {"5000000000 \\ 2", "! 6"},
      {"(-8) ^ 0.5", "! 5"},
  };
  Check(cases);
}

TEST(Operators, ConvertTextsEmptyAndNull) {
  const ExpressionCase cases[] = {
      {"\"1\" + 2", "Double 3"},
      {"\"1\" + \"2\"", "String 12"},
      {"\"1\" - \"2\"", "Double -1"},
      {"\"a\" + 1", "! 13"},
      {"\"\" * 1", "! 13"},
      {"Empty + 1", "Integer 1"},
      {"Empty + \"a\"", "String a"},
      {"Empty & Empty", "String "},
      {"Empty + Empty", "Integer 0"},
      {"Null + 1", "Null"},
      {"Null & \"a\"", "String a"},
      {"Null & Null", "Null"},
      {"-Null", "Null"},
      {"Null = Null", "Null"},
      {"Not Null", "Null"},
      {"False And Null", "Boolean False"},
      {"True And Null", "Null"},
      {"Null Or True", "Boolean True"},
      {"Null Or 5", "Null"},
      {"0 And Null", "Integer 0"},
      {"Null Imp True", "Boolean True"},
      {"6 And 3", "Integer 2"},
      {"True And 5", "Integer 5"},
      {"6 Or 100000", "Long 100006"},
      {"6.4 Xor 3", "Long 5"},
      {"Not 0", "Integer -1"},
      {"Not 5", "Integer -6"},
      {"Not \"true\"", "Long 0"},
      {"1 Eqv 3", "Integer -3"},
      {"Array(1) + 1", "! 13"},
      {"Nothing & \"\"", "! 91"},
      {"1 Is 1", "! 424"},
      {"Nothing Is Nothing", "Boolean True"},
      {"1.5 & True & Null & Empty & #1/31/2024#", "String 1.5True1/31/2024"},
      {"#1/31/2024# + 1", "Date 2/1/2024"},
      {"#1/31/2024# - #1/1/2024#", "Double 30"},
      {"#1/1/2024 6:00:00 AM# * 1", "Double 45292.25"},
      {"#12/31/9999# + 1", "! 6"},
  };
  Check(cases);
}

TEST(Operators, CompareByKind) {
  const ExpressionCase cases[] = {
      {"\"a\" < \"B\"", "Boolean False"},
      {"\"10\" < \"9\"", "Boolean True"},
      {"\"10\" < 9", "Boolean False"},
      {"\"abc\" = 5", "! 13"},
      {"CStr(\"10\") = CInt(10)", "Boolean False"},
      {"CInt(100000 / 10) < CStr(\"1\")", "Boolean True"},
      {"CInt(5) = \"5\"", "Boolean True"},
      {"CStr(\"5\") = 5", "Boolean True"},
      {"CStr(\"True\") = True", "Boolean True"},
      {"Empty = 0", "Boolean True"},
      {"Empty = \"\"", "Boolean True"},
      {"Empty < \"a\"", "Boolean True"},
      {"Empty = Empty", "Boolean True"},
      {"True < False", "Boolean True"},
      {"#1/1/2024# < #1/2/2024#", "Boolean True"},
      {"1 <> 1.0", "Boolean False"},
      {"CCur(0.1) = CCur(\"0.1\")", "Boolean True"},
      {"2 >= 2", "Boolean True"},
      {"2 => 3", "Boolean False"},
      {"Array(1) = 1", "! 13"},
  };
  Check(cases);
}

TEST(Operators, LiteralsAreRead) {
  const ExpressionCase cases[] = {
      {"32767", "Integer 32767"},
      {"32768", "Long 32768"},
      {"2147483648", "Double 2147483648"},
      {".5", "Double 0.5"},
      {"1e3", "Double 1000"},
      {"1E-7", "Double 0.0000001"},
      {"&HFF", "Integer 255"},
      {"&hffff", "Integer -1"},
      {"&HFFFF&", "Long 65535"},
      {"&H10000", "Long 65536"},
      {"&HFFFFFFFF", "Integer -1"},
      {"&O17", "Integer 15"},
      {"\"say \"\"hi\"\"\"", "String say \"hi\""},
      {"#2024-02-29#", "Date 2/29/2024"},
      {"#10:30 PM#", "Date 10:30:00 PM"},
      {"vbCrLf", "String \r\n"},
      {"vbTrue", "Integer -1"},
      {"vbObjectError", "Long -2147221504"},
      {"Null", "Null"},
      {"Nothing Is Nothing And Empty = vbNullString", "Boolean True"},
  };
  Check(cases);
}

}  // namespace
}  // namespace torvik::script
