// Whole scripts as people write them for their packages.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "script/ScriptTools.h"

namespace torvik::script {
namespace {

TEST(WholeScripts, GiveTheirResults) {
  const struct {
    const char* name;
    const char* source;
    const char* outcome;
  } cases[] = {
      {"sorts an array that it was given by reference",
       R"vb(
Sub Sort(ByRef list)
  Dim i, j, held
  For i = LBound(list) + 1 To UBound(list)
    held = list(i)
    j = i - 1
    Do While j >= 0
      If list(j) <= held Then Exit Do
      list(j + 1) = list(j)
      j = j - 1
    Loop
    list(j + 1) = held
  Next
End Sub

Function Main()
  Dim numbers
  numbers = Array(5, 3, 9.5, -1, 3)
  Sort numbers
  Main = Join(numbers, " ")
End Function)vb",
       "String -1 3 3 5 9.5"},

      {"counts words, whatever their letter case",
       R"vb(
Option Explicit
Function Main()
  Dim words, word, counts, key
  Set counts = CreateObject("Scripting.Dictionary")
  counts.CompareMode = vbTextCompare
  words = Split(Replace("The cat, the dog; THE bird", ";", ","), " ")
  For Each word In words
    word = Replace(word, ",", "")
    If counts.Exists(word) Then
      counts(word) = counts(word) + 1
    Else
      counts.Add word, 1
    End If
  Next
  For Each key In counts.Keys
    Main = Main & key & "=" & counts.Item(key) & " "
  Next
  Main = RTrim(Main)
End Function)vb",
       "String The=3 cat=1 dog=1 bird=1"},

      {"cuts a line with qualified fields",
       R"vb(
Function Fields(line)
  Dim list(), count, i, c, inside, field
  count = 0
  For i = 1 To Len(line)
    c = Mid(line, i, 1)
    If c = """" Then
      inside = Not inside
    ElseIf c = "," And Not inside Then
      ReDim Preserve list(count)
      list(count) = field
      count = count + 1
      field = ""
    Else
      field = field & c
    End If
  Next
  ReDim Preserve list(count)
  list(count) = field
  Fields = list
End Function

Function Main()
  parts = Fields("1,""M" & ChrW(252) & "ller, Inc."",,x")
  Main = UBound(parts) & ":" & Join(parts, "|")
End Function)vb",
       "String 3:1|M\u00fcller, Inc.||x"},

      {"makes the keys of a date dimension",
       R"vb(
Function TwoDigits(n)
  TwoDigits = Right("0" & n, 2)
End Function

Function DateKey(d)
  DateKey = Year(d) & TwoDigits(Month(d)) & TwoDigits(Day(d))
End Function

Function Main()
  Dim d
  d = #2/27/2024#
  Do Until d > DateSerial(2024, 3, 1)
    Main = Main & DateKey(d) & WeekdayName(Weekday(d), True) & " "
    d = DateAdd("d", 1, d)
  Loop
  Main = Main & "Q" & DatePart("q", d) & " " & DateDiff("d", #1/1/2024#, d) & " " & _
         IIfText(IsDate("2/29/2023"), "leap", "no leap")
End Function

Function IIfText(condition, yes, no)
  If condition Then IIfText = yes Else IIfText = no
End Function)vb",
       "String 20240227Tue 20240228Wed 20240229Thu 20240301Fri Q1 61 no leap"},

      {"reads fixed-width dates and amounts as old systems write them",
       R"vb(
Function ReadDate(text)
  ReadDate = Null
  If Not IsNumeric(text) Or Len(text) <> 8 Then Exit Function
  On Error Resume Next
  ReadDate = CDate(Mid(text, 5, 2) & "/" & Mid(text, 7, 2) & "/" & Left(text, 4))
  If Err.Number <> 0 Then ReadDate = Null
End Function

Function ReadAmount(text)
  Dim sign
  sign = 1
  If Right(text, 1) = "-" Then
    sign = -1
    text = Left(text, Len(text) - 1)
  End If
  ReadAmount = sign * CCur(text) / 100
End Function

Function Main()
  Dim amount : amount = "0001250-"
  Main = ReadDate("20240131") & "," & TypeName(ReadDate("20241331")) & "," & _
         TypeName(ReadDate("x")) & "," & ReadAmount(amount) & "," & amount
End Function)vb",
       "String 1/31/2024,Null,Null,-12.5,0001250"},

      {"checks a number by its digits",
       R"vb(
Function IsValid(number)
  Dim i, digit, total, double
  For i = Len(number) To 1 Step -1
    digit = CInt(Mid(number, i, 1))
    If double Then
      digit = digit * 2
      If digit > 9 Then digit = digit - 9
    End If
    total = total + digit
    double = Not double
  Next
  IsValid = (total Mod 10 = 0)
End Function

Function Main
  Main = IsValid("79927398713") & IsValid("79927398710")
End Function)vb",
       "String TrueFalse"},

      {"tries again after errors, and gives up",
       R"vb(
Dim attempts
Sub Connect(failures)
  attempts = attempts + 1
  If attempts <= failures Then Err.Raise vbObjectError + 1000, "Connect", "busy " & attempts
End Sub

Function Tried(failures)
  Dim i
  attempts = 0
  On Error Resume Next
  For i = 1 To 3
    Err.Clear
    Connect failures
    If Err.Number = 0 Then Exit For
  Next
  If Err.Number <> 0 Then
    Tried = "gave up: " & Err.Description & " (" & Err.Number - vbObjectError & ")"
  Else
    Tried = "after " & attempts
  End If
End Function

Function Main
  Main = Tried(2) & ", " & Tried(5)
End Function)vb",
       "String after 3, gave up: busy 3 (1000)"},

      {"writes numbers in words, by recursion",
       R"vb(
Dim ones, tens
ones = Split("zero one two three four five six seven eight nine ten eleven twelve thirteen " & _
             "fourteen fifteen sixteen seventeen eighteen nineteen")
tens = Array("", "", "twenty", "thirty", "forty", "fifty", "sixty", "seventy", "eighty", "ninety")

Function Words(ByVal n)
  Select Case True
    Case n < 20
      Words = ones(n)
    Case n < 100
      Words = tens(n \ 10)
      If n Mod 10 > 0 Then Words = Words & "-" & ones(n Mod 10)
    Case n < 1000
      Words = ones(n \ 100) & " hundred"
      If n Mod 100 > 0 Then Words = Words & " and " & Words(n Mod 100)
    Case Else
      Words = Words(n \ 1000) & " thousand"
      If n Mod 1000 > 0 Then Words = Words & " " & Words(n Mod 1000)
  End Select
End Function

Function Main
  Main = Words(0) & "; " & Words(42) & "; " & Words(12305)
End Function)vb",
       "String zero; forty-two; twelve thousand three hundred and five"},

      {"multiplies matrices and gives an array back",
       R"vb(
Function Product(a, b)
  Dim c(1, 1), i, j, k
  For i = 0 To 1
    For j = 0 To 1
      c(i, j) = 0
      For k = 0 To UBound(a, 2)
        c(i, j) = c(i, j) + a(i, k) * b(k, j)
      Next
    Next
  Next
  Product = c
End Function

Function Main
  Dim a(1, 2), b(2, 1), i, j
  For i = 0 To 1 : For j = 0 To 2
    a(i, j) = i + j
    b(j, i) = i * j
  Next : Next
  result = Product(a, b)
  Main = result(0, 0) & " " & result(0, 1) & " " & result(1, 0) & " " & result(1, 1)
End Function)vb",
       "String 0 5 0 8"},

      {"groups records in dictionaries of dictionaries",
       R"vb(
Sub Count(groups, country, city)
  If Not groups.Exists(country) Then groups.Add country, CreateObject("Scripting.Dictionary")
  groups(country)(city) = groups(country)(city) + 1
End Sub

Function Main
  Dim groups, rows, row, country, city
  Set groups = CreateObject("Scripting.Dictionary")
  rows = Array(Array("CH", "Bern"), Array("AT", "Graz"), Array("CH", "Chur"), Array("CH", "Bern"))
  For Each row In rows
    Count groups, row(0), row(1)
  Next
  For Each country In groups
    Main = Main & country & ":"
    With groups(country)
      For Each city In .Keys
        Main = Main & city & .Item(city)
      Next
    End With
    Main = Main & ";"
  Next
End Function)vb",
       "String CH:Bern2Chur1;AT:Graz1;"},

      {"strips what is no letter and no digit, and shortens blanks",
       R"vb(
Function Clean(ByVal text)
  Dim i, code, result
  For i = 1 To Len(text)
    code = Asc(UCase(Mid(text, i, 1)))
    If (code >= 65 And code <= 90) Or (code >= 48 And code <= 57) Or code = 32 Then _
      result = result & Mid(text, i, 1)
  Next
  Do While InStr(result, "  ") > 0
    result = Replace(result, "  ", " ")
  Loop
  Clean = Trim(result)
End Function

Function Main
  Main = "[" & Clean("  N.o  12 -- (B)  ") & "]"
End Function)vb",
       "String [No 12 B]"},

      {"passes Null on until it is asked for",
       R"vb(
Function Main
  Dim price, quantity
  price = Null : quantity = 5
  total = price * quantity + 1
  Main = IsNull(total) & IsNull(total & "") & (total > 5)
  If total > 5 Then Main = Main & "?" Else Main = Main & "!"
  If IsNull(price) Or price = 0 Then Main = Main & "none"
  If Not (total > 5) Then Main = Main & "never"
End Function)vb",
       "String TrueFalse!none"},
  };
  for (const auto& c : cases) EXPECT_EQ(c.outcome, Ran(c.source)) << c.name;
}

/// A lookup as a host lends it: Execute with keys gives a value, or Empty.
class Lookup final : public Object {
 public:
  std::vector<std::string> keys;  ///< What it was asked for.

  std::string_view TypeName() const override { return "Lookup"; }
  int FindMember(std::string_view name) const override {
    return name == "execute" ? 1 : name == "addtocache" ? 2 : NoMember;
  }
  Value Invoke(Context& context, int member, std::span<const Value> arguments) override {
    if (member == 2) throw RuntimeError(445);
    ExpectArguments(arguments, 1, 2);
    std::string key;
    for (const Value& argument : arguments) key += ToText(argument) + ";";
    keys.push_back(key);
    return key == "CH;Bern;" ? Value::OfText("3000", &context.heap) : Value();
  }
};

/// Lookups by name.
class Lookups final : public Object {
 public:
  Value cities = NewObject<Lookup>();

  std::string_view TypeName() const override { return "Lookups"; }
  int FindMember(std::string_view name) const override { return name.empty() ? 0 : NoMember; }
  int ItemNumber(const Value& key) override { return key.View() == "cities" ? 0 : NoMember; }
  Value Item(Context&, int) override { return cities; }
  Value Invoke(Context&, int, std::span<const Value> arguments) override {
    ExpectArguments(arguments, 1, 1);
    throw RuntimeError(9, ToText(arguments[0]));
  }
};

TEST(WholeScripts, CallMethodsOfTheHostsItems) {
  FakeClock clock;
  const Value lookups = NewObject<Lookups>();
  const auto run = [&](const std::string& statements) {
    return Ran("Function Main()\n" + statements + "\nEnd Function",
               {.clock = clock, .names = {{"DTSLookups", lookups}}});
  };
  EXPECT_EQ("String 3000", run("Main = DTSLookups(\"cities\").Execute(\"CH\", \"Bern\")"));
  EXPECT_EQ("Boolean True", run("Main = IsEmpty(DTSLookups(\"cities\").Execute(5))"));
  EXPECT_EQ("Boolean True", run("Set l = DTSLookups(\"cities\") : l.Execute 1\n"
                                "Main = l Is DTSLookups(\"cities\")"));
  const auto& cities =
      static_cast<const Lookup&>(*static_cast<Lookups&>(*lookups.AsObject()).cities.AsObject());
  EXPECT_EQ((std::vector<std::string>{"CH;Bern;", "5;", "1;"}), cities.keys);
  EXPECT_EQ("! 9 Subscript out of range: 'towns' in line 2",
            run("Main = DTSLookups(\"towns\").Execute(1)"));
  EXPECT_EQ("! 438 Object doesn't support this property or method: 'Value' in line 2",
            run("Main = DTSLookups(\"cities\").Value"));
  EXPECT_EQ("! 438 Object doesn't support this property or method in line 2",
            run("Main = DTSLookups(\"cities\") & \"\""));
  EXPECT_EQ("! 450 Wrong number of arguments or invalid property assignment in line 2",
            run("Main = DTSLookups(\"cities\").Execute()"));
  EXPECT_EQ("! 450 Wrong number of arguments or invalid property assignment in line 2",
            run("DTSLookups(\"cities\").Execute = 5"));
  EXPECT_EQ("! 451 Object not a collection in line 2", run("For Each x In DTSLookups : Next"));
}

}  // namespace
}  // namespace torvik::script
