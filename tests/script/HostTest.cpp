#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "platform/PlatformError.h"
#include "script/ScriptTools.h"

namespace torvik::script {
namespace {

/// One row of columns, as a host lends it: items by name or position, found when compiling.
class Columns final : public Object {
 public:
  std::vector<std::string> names;
  std::vector<Value> values;
  int lookedUp = 0;      ///< By name while a script ran.
  std::string failNext;  ///< The next access fails with this text.

  std::string_view TypeName() const override { return "Columns"; }
  int FindMember(std::string_view name) const override {
    return name.empty() || name == "item" ? 0 : name == "count" ? 1 : NoMember;
  }
  int ItemNumber(const Value& key) override {
    if (key.IsWhole()) return static_cast<int>(key.Whole()) - 1;
    for (std::size_t i = 0; i < names.size(); ++i)
      if (names[i] == key.View()) return static_cast<int>(i);
    return NoMember;
  }
  Value Item(Context&, int number) override {
    Fail();
    return values[static_cast<std::size_t>(number)];
  }
  void PutItem(Context&, int number, const Value& value) override {
    Fail();
    values[static_cast<std::size_t>(number)] = value;
  }
  Value Invoke(Context& context, int member, std::span<const Value> arguments) override {
    if (member == 1) return Value::OfLong(static_cast<std::int32_t>(values.size()));
    return Item(context, Found(arguments));
  }
  void Put(Context& context, int, std::span<const Value> indexes, const Value& value) override {
    PutItem(context, Found(indexes), value);
  }

 private:
  int Found(std::span<const Value> arguments) {
    ExpectArguments(arguments, 1, 1);
    ++lookedUp;
    const int number = ItemNumber(arguments[0]);
    if (number == NoMember) throw InvalidCall(ToText(arguments[0]));
    return number;
  }
  void Fail() {
    if (failNext.empty()) return;
    throw PlatformError(7, std::exchange(failNext, ""), "server");
  }
};

class HostObjects : public testing::Test {
 protected:
  HostObjects() {
    columns().names = {"a", "b"};
    columns().values = {Value::OfText("x"), Value::OfLong(7)};
  }

  Columns& columns() { return static_cast<Columns&>(*row.AsObject()); }
  std::string Run(const std::string& statements) {
    return Ran("Function Main()\n" + statements + "\nEnd Function",
               {.clock = clock, .names = {{"DTSSource", row}, {"DTSOk", Value::OfLong(1)}}});
  }

  FakeClock clock;
  Value row = NewObject<Columns>();
};

TEST_F(HostObjects, ConstantItemsAreFoundOnce) {
  EXPECT_EQ("String xx7", Run("Main = DTSSource(\"a\") & dtssource(\"a\").Value & DTSSource(2)"));
  EXPECT_EQ("String x", Run("Main = DTSSource.Item(\"a\")"));
  EXPECT_EQ("Long 1", Run("DTSSource(\"b\") = DTSSource(\"b\") + 1 : DTSSource(\"a\").Value = 9\n"
                          "Main = DTSOk"));
  EXPECT_EQ(0, columns().lookedUp);
  EXPECT_EQ("Long 8", Shown(columns().values[1]));
  EXPECT_EQ("Integer 9", Shown(columns().values[0]));
}

TEST_F(HostObjects, OtherItemsAreLookedUp) {
  EXPECT_EQ("String x2", Run("n = \"a\" : Main = DTSSource(n) & DTSSource.Count"));
  EXPECT_EQ("Empty", Run("For i = 1 To DTSSource.Count : DTSSource(i) = i : Next"));
  EXPECT_EQ("Integer 2", Shown(columns().values[1]));
  EXPECT_EQ("! 5 Invalid procedure call or argument: 'c' in line 2",
            Run("Main = DTSSource(\"c\")"));
  EXPECT_EQ("! 438 Object doesn't support this property or method: 'Name' in line 2",
            Run("Main = DTSSource.Name"));
  EXPECT_EQ("! 501 Illegal assignment: 'DTSOk' in line 2", Run("DTSOk = 5"));
}

TEST_F(HostObjects, FailuresAreErrorsOfTheScript) {
  columns().failNext = "no connection";
  EXPECT_EQ("! 7 no connection in line 2", Run("Main = DTSSource(\"a\")"));
  columns().failNext = "no connection";
  EXPECT_EQ("String 7no connectionserver", Run("On Error Resume Next : x = DTSSource(\"a\")\n"
                                               "Main = Err.Number & Err.Description & Err.Source"));
}

TEST_F(HostObjects, VariablesStayBetweenCalls) {
  Script script("Dim n\nn = 10\nFunction Main(x)\nn = n + x\nMain = n\nEnd Function",
                {.clock = clock});
  script.RunBody();
  const Value five = Value::OfInteger(5);
  script.Call(script.FindProcedure("MAIN"), {&five, 1});
  EXPECT_EQ("Integer 20", Shown(script.Call(script.FindProcedure("main"), {&five, 1})));
  EXPECT_EQ(-1, script.FindProcedure("other"));
}

TEST_F(HostObjects, ResultsOutliveTheScript) {
  Value result;
  {
    Script script("Function Main\nMain = Array(\"a\" & 1, 2)\nEnd Function", {.clock = clock});
    result = script.Call(script.FindProcedure("Main"));
  }
  EXPECT_EQ("a1", result.AsArray()->elements[0].View());
}

TEST(Dictionary, KeepsKeysInOrder) {
  const struct {
    const char* statements;
    const char* outcome;
  } cases[] = {
      {"d.Add \"b\", 1 : d(\"a\") = 2 : d(\"b\") = 3 : r = Join(d.Keys) & Join(d.Items)",
       "String b a3 2"},
      {"d.Add 1, 2 : d.Add 1.0, 3",
       "! 457 This key is already associated with an element of this "
       "collection in line 4"},
      {"d(1) = 5 : r = d(CLng(1)) & TypeName(d(\"1\")) & d.Count", "String 5Empty2"},
      {"d.Add \"a\", 1 : r = d.Exists(\"A\") & d.Exists(\"a\")", "String FalseTrue"},
      {"d.CompareMode = vbTextCompare : d.Add \"a\", 1 : r = d.Exists(\"A\")", "Boolean True"},
      {"d.Add \"a\", 1 : d.CompareMode = 1", "! 5 Invalid procedure call or argument in line 4"},
      {"d(\"a\") = 1 : d.Remove \"a\" : r = d.Count", "Long 0"},
      {"d.Remove \"a\"", "! 32811 Element not found in line 4"},
      {"For i = 1 To 100 : d(i) = i : Next : For i = 1 To 98 : d.Remove i : Next\n"
       "r = Join(d.Items) & d(100)",
       "String 99 100100"},
      {"d(\"a\") = 1 : d(\"b\") = 2 : d.Key(\"a\") = \"c\" : r = d(\"c\") & Join(d.Keys)",
       "String 1b c"},
      {"d.Add \"a\", 1 : d.RemoveAll : r = d.Count & UBound(d.Keys)", "String 0-1"},
      {"d(\"a\") = 1 : d(\"b\") = 2 : For Each k In d : r = r & k & d(k) : Next", "String a1b2"},
      {"Set d(\"x\") = d : r = d(\"x\")(\"x\").Count", "Long 1"},
      {"d(\"x\") = Array(1, 2) : a = d(\"x\") : a(0) = 5 : r = d(\"x\")(0)", "Integer 1"},
      {"r = d & \"\"", "! 450 Wrong number of arguments or invalid property assignment in line 4"},
      {"d.Item(\"q\") = 5 : r = TypeName(d) & d.Item(\"q\")", "String Dictionary5"},
      {"Set e = d : r = (e Is d) & (e Is Nothing)", "String TrueFalse"},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.outcome, Ran("Function Main()\nDim d\nSet d = CreateObject("
                             "\"Scripting.Dictionary\")\n" +
                             std::string(c.statements) + "\nMain = r\nEnd Function"))
        << c.statements;
  }
}

}  // namespace
}  // namespace torvik::script
