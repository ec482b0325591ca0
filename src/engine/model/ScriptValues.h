#pragma once

#include <cstdint>
#include <string>

#include "platform/Ado.h"
#include "script/ScriptError.h"
#include "script/Value.h"

/// Values on their way between databases and scripts.
namespace torvik::engine {

/// A database's value for a script, its text counted on `heap`.
script::Value ScriptValueOf(const ado::LoadValue& value, script::Heap* heap);
script::Value ScriptValueOf(const ado::Value& value, script::Heap* heap);

/// A date as the engine writes them, from days since 30 December 1899; the time only where there is
/// one.
std::string DateText(double days);

/// A currency, in ten thousandths, with four digits behind its point.
std::string CurrencyText(std::int64_t tenThousandths);

/// A script's value for a database; `keep` stores a text. Throws Type mismatch for an object or an
/// array.
template <typename Keep>
ado::LoadValue LoadValueOf(const script::Value& value, const Keep& keep) {
  using script::Kind;
  switch (value.Type()) {
    case Kind::Empty:
    case Kind::Null: return {};
    case Kind::Boolean:
    case Kind::Byte:
    case Kind::Integer:
    case Kind::Long: return value.Whole();
    case Kind::Single:
    case Kind::Double: return value.Real();
    case Kind::Currency: return keep(CurrencyText(value.Whole()));
    case Kind::Date: return keep(DateText(value.Real()));
    case Kind::Text: return keep(value.View());
    default: throw script::TypeMismatch();
  }
}

}  // namespace torvik::engine
