#pragma once

#include <cstdint>
#include <string>
#include <variant>

#include "platform/linux/database/QueryRows.h"

/// What a catalogue answers, field by field, from 0.
namespace torvik {

/// Empty for NULL.
inline std::string TextAt(const QueryRows& row, int column) {
  const ado::Value value = row.Column(column);
  const auto* text = std::get_if<std::string>(&value);
  return text ? *text : "";
}

/// 0 for NULL.
inline std::int64_t LongAt(const QueryRows& row, int column) {
  const ado::Value value = row.Column(column);
  const auto* number = std::get_if<std::int64_t>(&value);
  return number ? *number : 0;
}

inline int NumberAt(const QueryRows& row, int column) {
  return static_cast<int>(LongAt(row, column));
}

}  // namespace torvik
