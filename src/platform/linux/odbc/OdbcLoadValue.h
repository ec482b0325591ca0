#pragma once

#include <string>
#include <type_traits>

#include "platform/Bulk.h"
#include "platform/NumberText.h"

namespace torvik {

/// A number as text that reads back as the same one; a text as it is. Not for NULL.
std::string TextOf(const ado::LoadValue& value);

/// False when the value is no number of the type.
template <class Number>
bool ReadNumber(const ado::LoadValue& value, Number& number) {
  using Kind = ado::LoadValue::Kind;
  if (value.GetKind() == Kind::Integer) return number = static_cast<Number>(value.Integer()), true;
  if (value.GetKind() == Kind::Real) {
    if constexpr (std::is_floating_point_v<Number>)
      return number = static_cast<Number>(value.Real()), true;
    return false;
  }
  const auto read = value.IsText() ? NumberOf<Number>(value.Text()) : std::nullopt;
  if (read) number = *read;
  return read.has_value();
}

}  // namespace torvik
