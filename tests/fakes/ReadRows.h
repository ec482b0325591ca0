#pragma once

#include <string>
#include <vector>

#include "platform/Bulk.h"

namespace torvik {

/// What is left to read: texts stand in quotes, reals have a point, NULL is "-".
inline std::string RestOf(ado::BulkRead& read) {
  std::string text;
  std::vector<ado::LoadValue> row(read.Columns().size());
  for (; read.Next(row); text += "\n")
    for (const ado::LoadValue& value : row) {
      using enum ado::LoadValue::Kind;
      if (value.GetKind() == Null) text += "-|";
      if (value.GetKind() == Text) text += "'" + std::string(value.Text()) + "'|";
      if (value.GetKind() == Integer) text += std::to_string(value.Integer()) + "|";
      if (value.GetKind() == Real) text += std::to_string(value.Real()) + "|";
    }
  return text;
}

/// Refusals as "ROW WORDS;", of each as many words as `length` bytes take from `from` on.
inline std::string WordsOf(const std::vector<ado::Refusal>& refused, std::size_t from,
                           std::size_t length) {
  std::string words;
  for (const ado::Refusal& one : refused)
    words += std::to_string(one.row) + " " +
             one.description.substr(std::min(from, one.description.size()), length) + ";";
  return words;
}

}  // namespace torvik
