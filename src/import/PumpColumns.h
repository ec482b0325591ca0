#pragma once

#include <string>
#include <vector>

#include "import/Record.h"

namespace torvik::importing {

/// The names in one of an object's collections of columns, in their order.
std::vector<std::string> ColumnNames(const Object& object, const char* collection);

/// What the text says of the types of a transformation's columns, to be kept as original: a
/// property for each column.
std::vector<Property> ColumnFacts(const Object& transformation);

/// Notes texts that are copied into dates as they are. `readsText`: the pump's source is a text
/// file.
void NoteDates(const Object& transformation, bool readsText, std::vector<Note>& notes);

}  // namespace torvik::importing
