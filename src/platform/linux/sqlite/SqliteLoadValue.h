#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "platform/Ado.h"

namespace torvik {

/// As what the values of a column go into SQLite. A text that is no number stays a text there, as
/// SQLite's own conversion leaves it.
enum class SqliteStorage : unsigned char { Text, Integer, Number, Bytes };

SqliteStorage SqliteStorageOf(ado::ColumnKind kind);

/// True when the whole of `text` is a number of that type; an infinity or "nan" is none.
bool ReadNumber(std::string_view text, std::int64_t& number);
bool ReadNumber(std::string_view text, double& number);

/// Hands `value` to one of the sink's functions Null(), Integer(number), Real(number), Text(data,
/// size) and Bytes(data, size), and answers what that answers. Bytes are handed on where they lie.
template <class Sink>
auto StoreValue(const ado::LoadValue& value, SqliteStorage storage, Sink sink) {
  switch (value.GetKind()) {
    case ado::LoadValue::Kind::Null: return sink.Null();
    case ado::LoadValue::Kind::Integer: return sink.Integer(value.Integer());
    case ado::LoadValue::Kind::Real: return sink.Real(value.Real());
    case ado::LoadValue::Kind::Text: break;
  }
  const std::string_view text = value.Text();
  // A null pointer would be stored as NULL, not as an empty text.
  const char* data = text.data() ? text.data() : "";
  std::int64_t whole = 0;
  double real = 0;
  if (storage == SqliteStorage::Bytes) return sink.Bytes(data, text.size());
  if (storage != SqliteStorage::Text && ReadNumber(text, whole)) return sink.Integer(whole);
  if (storage == SqliteStorage::Number && ReadNumber(text, real)) return sink.Real(real);
  return sink.Text(data, text.size());
}

}  // namespace torvik
