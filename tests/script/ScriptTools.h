#pragma once

#include <gtest/gtest.h>

#include <span>
#include <string>
#include <string_view>

#include "fakes/FakeClock.h"
#include "script/Conversion.h"
#include "script/Script.h"

namespace torvik::script {

/// "Integer 5", "String abc"; the value of an object and of an array is left out.
inline std::string Shown(const Value& value) {
  FakeClock clock;
  Script script("Function Name(v)\nName = TypeName(v)\nEnd Function", {.clock = clock});
  const Value name = script.Call(script.FindProcedure("name"), {&value, 1});
  std::string text(name.View());
  const bool hasText = value.IsNumber() || value.Is(Kind::Text);
  return hasText ? text + " " + ToText(value) : text;
}

/// What Main returns, or "! number description" with the line for an error.
inline std::string Ran(const std::string& source, Host host, const Limits& limits = {}) {
  try {
    Script script(source, host, limits);
    script.RunBody();
    return Shown(script.Call(script.FindProcedure("Main")));
  } catch (const ScriptError& error) {
    return "! " + std::to_string(error.number) + " " + error.Description() + " in line " +
           std::to_string(error.line);
  }
}

inline std::string Ran(const std::string& source, const Limits& limits = {}) {
  FakeClock clock;
  return Ran(source, {.clock = clock}, limits);
}

/// What an expression gives, with "! 13" for an error.
inline std::string Evaluated(const std::string& expression) {
  const std::string result = Ran("Function Main()\nMain = " + expression + "\nEnd Function");
  return result.starts_with("!") ? result.substr(0, result.find(' ', 2)) : result;
}

struct ExpressionCase {
  const char* expression;
  const char* outcome;
};

/// Each expression has its outcome.
inline void Check(std::span<const ExpressionCase> cases) {
  for (const auto& c : cases) EXPECT_EQ(c.outcome, Evaluated(c.expression)) << c.expression;
}

}  // namespace torvik::script
