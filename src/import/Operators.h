#pragma once

#include <optional>

#include "import/Record.h"
#include "script/Syntax.h"

/// The language's operators on values of which not all are known.
namespace torvik::importing {

/// What an object stands for where a plain value is wanted: its default property.
Value Plain(Value value);

/// Nothing for what is not known, or no number.
std::optional<double> NumberOf(const Value& value);
std::optional<bool> TruthOf(const Value& value);

/// One text behind the other; names in them stay.
Value Joined(const Value& left, const Value& right);

/// Nothing when it cannot be known.
std::optional<Value> Result(script::Operator op, const Value& operand);
std::optional<Value> Result(script::Operator op, const Value& left, const Value& right);

}  // namespace torvik::importing
