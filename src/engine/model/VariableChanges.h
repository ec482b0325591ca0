#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "engine/model/Variables.h"
#include "platform/Ado.h"

namespace torvik::engine {

/// New values for global variables, set together: while one of them does not fit, no variable
/// changes. A variable keeps the type that it is declared with.
class VariableChanges {
 public:
  explicit VariableChanges(Variables& variables) : variables_(variables) {}

  /// `origin` is where the value comes from, for messages: "the query's column \"X\"". NULL clears
  /// a variable of whatever type. Throws when the value does not fit, and when the variable is not
  /// declared; `remedy` then says what to do. No message holds the value.
  void Add(const std::string& name, const ado::Value& value, const std::string& origin,
           const std::string& remedy);

  /// Sets them, in the order in which they were added.
  void Commit();

 private:
  Variables& variables_;
  std::vector<std::pair<std::string, dts::Variant>> changes_;
};

/// What a value says: True, False, 1, 0 or -1; nothing for another one.
std::optional<bool> BooleanOf(const ado::Value& value);

/// A variable's value for a database: a Boolean is 1 or 0.
ado::Value ParameterOf(const dts::Variant& value);

}  // namespace torvik::engine
