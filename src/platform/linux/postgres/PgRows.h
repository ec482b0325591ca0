#pragma once

#include <memory>
#include <string>

#include "platform/linux/database/QueryRows.h"
#include "platform/linux/postgres/PgResult.h"

namespace torvik {

/// How the values of a type look, told from its number in the catalogue.
enum class PgForm { Text, Integer, Boolean, Real, Decimal, Moment, ZonedMoment, Bytes, Identifier };
PgForm FormOf(unsigned type);

/// The bytes of a bytea in its text form, decoded into `text` itself; answers how many.
std::size_t DecodeBytes(char* text, std::size_t size);

/// The length of a moment's text without the time zone at its end.
std::size_t LengthWithoutZone(std::string_view moment);

/// The value of one field of a result.
ado::Value ValueAt(const PGresult* result, int row, int column);

/// The rows of a result that is at hand; without one there are no columns.
std::unique_ptr<QueryRows> NewPgRows(PgResult result);

}  // namespace torvik
