#include <gtest/gtest.h>

#include <string>

#include "script/ScriptTools.h"

namespace torvik::script {
namespace {

/// The statements as the body of Main, whose result is r.
std::string Did(const std::string& statements) {
  return Ran("Function Main()\n" + statements + "\nMain = r\nEnd Function");
}

TEST(Statements, Loop) {
  const struct {
    const char* statements;
    const char* outcome;
  } cases[] = {
      {"For i = 1 To 3 : r = r & i : Next", "String 123"},
      {"For i = 3 To 1 Step -1 : r = r & i : Next", "String 321"},
      {"For i = 1 To 2 Step 0.5 : r = r & i & \" \" : Next", "String 1 1.5 2 "},
      {"For i = 3 To 1 : r = 1 : Next : r = i", "Integer 3"},
      {"For i = 32766 To 32768 : Next : r = i", "Long 32769"},
      {"For i = \"1\" To \"2\" : r = r & i : Next", "String 12"},
      {"For i = 1 To Null : Next", "! 94 Invalid use of Null in line 2"},
      {"For i = 1 To 9 : If i = 3 Then Exit For\nr = r & i : Next", "String 12"},
      {"For Each x In Array(1, \"b\", Null) : r = r & TypeName(x) : Next",
       "String IntegerStringNull"},
      {"For Each x In 5 : Next", "! 451 Object not a collection in line 2"},
      {"a = Array(1, 2) : For Each x In a : a(1) = 9 : r = r & x : Next", "String 12"},
      {"Do While i < 3 : i = i + 1 : Loop : r = i", "Integer 3"},
      {"Do Until i = 3 : i = i + 1 : Loop : r = i", "Integer 3"},
      {"Do : i = i + 1 : Loop While i < 3 : r = i", "Integer 3"},
      {"Do : i = i + 1 : Loop Until i >= 1 : r = i", "Integer 1"},
      {"Do : i = i + 1 : If i > 4 Then Exit Do\nLoop : r = i", "Integer 5"},
      {"While i < 3 : i = i + 1 : Wend : r = i", "Integer 3"},
      {"For i = 1 To 3 : For j = 1 To 3 : If j > i Then Exit For\nr = r & j : Next : Next",
       "String 112123"},
      {"Do While Null : r = 1 : Loop", "Empty"},
  };
  for (const auto& c : cases) EXPECT_EQ(c.outcome, Did(c.statements)) << c.statements;
}

TEST(Statements, Branch) {
  const struct {
    const char* statements;
    const char* outcome;
  } cases[] = {
      {"If 1 Then r = 1 Else r = 2", "Integer 1"},
      {"If Null Then r = 1 Else r = 2", "Integer 2"},
      {"If 0 Then r = 1 : r = 3 Else r = 2 : r = r + 5", "Integer 7"},
      {"If True Then If False Then r = 1 Else r = 2", "Integer 2"},
      {"If \"x\" Then r = 1", "! 13 Type mismatch: '[string: \"x\"]' in line 2"},
      {"If 0 Then\nr = 1\nElseIf 1 Then\nr = 2\nElse\nr = 3\nEnd If", "Integer 2"},
      {"If 0 Then\nr = 1\nElse\nr = 3\nEnd If", "Integer 3"},
      {"Select Case 5\nCase 1, 2\nr = 1\nCase 4, 5\nr = 2\nCase Else\nr = 3\nEnd Select",
       "Integer 2"},
      {"Select Case \"b\"\nCase \"a\"\nr = 1\nCase Else\nr = 3\nEnd Select", "Integer 3"},
      {"x = \"5\" : Select Case x : Case 5 : r = \"number\" : End Select", "String number"},
      {"Select Case True\nCase 2 > 3\nr = 1\nCase 3 > 2\nr = 2\nEnd Select", "Integer 2"},
  };
  for (const auto& c : cases) EXPECT_EQ(c.outcome, Did(c.statements)) << c.statements;
}

TEST(Statements, KeepArrays) {
  const struct {
    const char* statements;
    const char* outcome;
  } cases[] = {
      {"Dim a(2) : a(0) = 5 : a(2) = a(0) + 1 : r = a(2) & UBound(a)", "String 62"},
      {"Dim a(2, 3) : a(2, 3) = 7 : r = a(2, 3) & UBound(a, 2)", "String 73"},
      {"Dim a(2) : r = a(3)", "! 9 Subscript out of range in line 2"},
      {"Dim a(2) : a(-1) = 3", "! 9 Subscript out of range in line 2"},
      {"Dim a(2) : r = a(1, 1)", "! 9 Subscript out of range in line 2"},
      {"Dim a(2) : a = 5", "! 13 Type mismatch: 'a' in line 2"},
      {"Dim a(2) : ReDim a(3)", "! 10 This array is fixed or temporarily locked: 'a' in line 2"},
      {"Dim a() : r = a(0)", "! 9 Subscript out of range in line 2"},
      {"ReDim a(1) : a(1) = 4 : ReDim Preserve a(5) : r = a(1) & UBound(a)", "String 45"},
      {"ReDim a(1, 1) : a(1, 1) = 4 : ReDim Preserve a(1, 5) : r = a(1, 1)", "Integer 4"},
      {"ReDim a(1, 1) : ReDim Preserve a(2, 1)", "! 9 Subscript out of range in line 2"},
      {"ReDim a(1) : a(1) = 4 : ReDim a(1) : r = a(1)", "Empty"},
      {"a = Array(1, 2) : b = a : b(0) = 9 : r = a(0) & b(0)", "String 19"},
      {"a = Array(Array(1, 2), 3) : a(0)(1) = 5 : r = a(0)(1)", "Integer 5"},
      {"a = Array(1, 2) : Erase a : r = a(0)", "! 9 Subscript out of range in line 2"},
      {"Dim a(1) : a(1) = 5 : Erase a : r = a(1)", "Empty"},
      {"x = 5 : r = x(0)", "! 13 Type mismatch: 'x' in line 2"},
      {"a = Array(1, 2) : r = a(\"1\") + a(0.4)", "Integer 3"},
      {"ReDim a(-2)", "! 9 Subscript out of range in line 2"},
      {"For i = 1 To 2 : Dim a(1) : a(0) = a(0) + i : Next : r = a(0)", "Integer 3"},
  };
  for (const auto& c : cases) EXPECT_EQ(c.outcome, Did(c.statements)) << c.statements;
}

TEST(Statements, HandleErrors) {
  const struct {
    const char* statements;
    const char* outcome;
  } cases[] = {
      {"On Error Resume Next : x = 1 / 0 : r = Err.Number & Err.Description",
       "String 11Division by zero"},
      {"On Error Resume Next : x = 1 / 0 : Err.Clear : r = Err.Number", "Long 0"},
      {"On Error Resume Next : x = 1 / 0 : On Error GoTo 0 : r = 1 / 0",
       "! 11 Division by zero in line 2"},
      {"On Error Resume Next : Err.Raise 1234, \"me\", \"mine\" : r = Err & Err.Source & "
       "Err.Description",
       "String 1234memine"},
      {"Err.Raise vbObjectError + 5", "! -2147221499 Unknown runtime error in line 2"},
      {"Err.Raise 13", "! 13 Type mismatch in line 2"},
      {"On Error Resume Next : If 1 / 0 Then\nr = \"entered\"\nEnd If", "String entered"},
      {"On Error Resume Next : For i = 1 To 1 / 0 : r = r & \"once\" : Next", "String once"},
      {"On Error Resume Next : Do While 1 / 0 : n = n + 1 : If n > 3 Then Exit Do\nLoop : r = n",
       "Integer 4"},
      {"On Error Resume Next : r = 5 : r = 1 / 0", "Integer 5"},
      {"Foo 1", "! 13 Type mismatch: 'Foo' in line 2"},
      {"r = Foo(1)", "! 13 Type mismatch: 'Foo' in line 2"},
      {"Set r = 5", "! 424 Object required in line 2"},
      {"x = 5 : r = x.y", "! 424 Object required: 'y' in line 2"},
      {"r = Err.Nothing",
       "! 438 Object doesn't support this property or method: 'Nothing' in line 2"},
      {"vbCrLf = 5", "! 501 Illegal assignment: 'vbCrLf' in line 2"},
  };
  for (const auto& c : cases) EXPECT_EQ(c.outcome, Did(c.statements)) << c.statements;
}

TEST(Programs, GiveTheirResults) {
  const struct {
    const char* source;
    const char* outcome;
  } cases[] = {
      // Recursion, and the function's name as its result.
      {"Function Main : Main = F(10) : End Function\n"
       "Function F(ByVal n)\nIf n < 2 Then\nF = n\nElse\nF = F(n - 1) + F(n - 2)\nEnd If\n"
       "End Function",
       "Integer 55"},
      // By reference is usual; elements of arrays too; ByVal and parentheses pass copies.
      {"Sub Inc(x) : x = x + 1 : End Sub\nSub Copy(ByVal x) : x = 0 : End Sub\n"
       "Function Main\nDim a(1), n\nn = 1 : a(1) = 5\nInc n : Inc(n) : Call Inc(n) : Inc a(1)\n"
       "Copy n\nMain = n & \" \" & a(1)\nEnd Function",
       "String 3 6"},
      {"Sub Change(a, i) : i = 0 : a = 9 : End Sub\nFunction Main\nDim v(2)\ni = 2\n"
       "Change v(i), i\nMain = v(2) & i\nEnd Function",
       "String 90"},
      {"Sub Fill(a) : a(1) = 7 : End Sub\nFunction Main\nDim a(1)\nFill a\nMain = a(1)\n"
       "End Function",
       "Integer 7"},
      {"Sub Kill(a, x) : a = Empty : x = 1 : End Sub\nFunction Main\na = Array(1, 2)\n"
       "Kill a, a(0)\nMain = TypeName(a)\nEnd Function",
       "String Empty"},
      // What is outside procedures is seen in them, declared or assigned.
      {"Dim total\ntotal = 5 : other = 2\nConst Factor = 3\n"
       "Function Main : Main = total * Factor + other + Later() : End Function\n"
       "Function Later : Later = total : End Function",
       "Integer 22"},
      {"x = 1\nFunction Main\nDim x\nx = 5\nMain = x & Other()\nEnd Function\n"
       "Function Other : Other = x : End Function",
       "String 51"},
      // Errors go to the innermost procedure that resumes.
      {"Function Main\nOn Error Resume Next\nInner\nMain = Err.Number & \" on\"\nEnd Function\n"
       "Sub Inner\nx = 1 / 0\nMain = \"never\"\nEnd Sub",
       "String 11 on"},
      {"Function Main\nInner\nMain = \"never\"\nEnd Function\nSub Inner\nx = 1\nx = 1 / 0\nEnd Sub",
       "! 11 Division by zero in line 7"},
      {"Option Explicit\nFunction Main\nx = 5\nEnd Function",
       "! 500 Variable is undefined: 'x' in line 3"},
      {"Option Explicit\nFunction Main\nDim x\nx = 5\nMain = x & y\nEnd Function",
       "! 500 Variable is undefined: 'y' in line 5"},
      {"Function Main\nMain = F(1)\nEnd Function\nFunction F(a, b)\nEnd Function",
       "! 450 Wrong number of arguments or invalid property assignment: 'F' in line 2"},
      // Exits, comments, continued lines, brackets, letter case.
      {"function MAIN ' says nothing\nRem nor this\n[my var] = \"a\" & _\n  \"b\"\nMain = [MY "
       "VAR]\n"
       "exit function\nMain = 1\nEND FUNCTION",
       "String ab"},
      {"Private Sub S(ByRef x)\nx = \"in\"\nExit Sub\nx = \"past\"\nEnd Sub\n"
       "Public Function Main()\nS Main\nEnd Function",
       "String in"},
      // Appending keeps what others hold.
      {"Function Main\na = \"x\" : b = a\nFor i = 1 To 3\na = a & \"y\" & i\nNext\n"
       "Main = a & \" \" & b\nEnd Function",
       "String xy1y2y3 x"},
      {"Function Main\na = 5\na = a & a & a\nMain = a\nEnd Function", "String 555"},
      {"Function Main\na = \"p\"\na = a & G(a)\nMain = a\nEnd Function\n"
       "Function G(x)\nx = \"q\"\nG = \"r\"\nEnd Function",
       "String pr"},
      {"Function Main\nWith CreateObject(\"Scripting.Dictionary\")\n.Add \"a\", 5\n"
       "With Err\nMain = .Number\nEnd With\nMain = Main & .Item(\"a\") & .Count\nEnd With\n"
       "End Function",
       "String 051"},
  };
  for (const auto& c : cases) EXPECT_EQ(c.outcome, Ran(c.source)) << c.source;
}

TEST(Programs, SayWhereTheyAreWrong) {
  const struct {
    const char* source;
    const char* outcome;  ///< Number, line, column, and the line.
  } cases[] = {
      {"x = ", "1023 1:5 x ="},
      {"\nx = (1 + 2", "1006 2:11 x = (1 + 2"},
      {"x = \"abc", "1033 1:5 x = \"abc"},
      {"x = 12abc", "1031 1:5 x = 12abc"},
      {"If 1 Then\nx = 1", "1014 2:6 x = 1"},
      {"For i = 1\nNext", "1013 1:10 For i = 1"},
      {"For a(1) = 1 To 2\nNext", "1040 1:10 For a(1) = 1 To 2"},
      {"Do\nNext", "1019 2:1 Next"},
      {"Sub A\nEnd Function", "1016 2:5 End Function"},
      {"Sub A\nEnd Sub\nSub a\nEnd Sub", "1041 3:5 Sub a"},
      {"Dim x, X", "1041 1:8 Dim x, X"},
      {"Exit For", "1039 1:1 Exit For"},
      {"Exit Sub", "1039 1:1 Exit Sub"},
      {"x = 1\nOption Explicit", "1042 2:1 Option Explicit"},
      {"Const c = Now", "1045 1:11 Const c = Now"},
      {"Const c = -\"x\"", "13 1:12 Const c = -\"x\""},
      {"x = 5 y", "1025 1:7 x = 5 y"},
      {"x = `", "1032 1:5 x = `"},
      {"x = #13/45/2024#", "1002 1:5 x = #13/45/2024#"},
      {"[x = 1", "1007 1:1 [x = 1"},
      {"Select Case 1\nCase 1 To 2\nEnd Select", "1025 2:8 Case 1 To 2"},
      {".x = 1", "1002 1:1 .x = 1"},
      {"Class C\nEnd Class", "1002 1:1 Class C"},
  };
  for (const auto& c : cases) {
    FakeClock clock;
    try {
      const Script script(c.source, {.clock = clock});
      ADD_FAILURE() << "compiled: " << c.source;
    } catch (const ScriptError& error) {
      EXPECT_EQ(c.outcome, std::to_string(error.number) + " " + std::to_string(error.line) + ":" +
                               std::to_string(error.column) + " " + error.sourceLine)
          << c.source;
    }
  }
}

}  // namespace
}  // namespace torvik::script
