#pragma once

#include <functional>
#include <string>
#include <vector>

#include "platform/Ado.h"

/// What the bulk loads of all servers say alike.
namespace torvik {

/// "INTO table (column, ...)" of a quoted table.
std::string IntoText(const std::string& table, const std::vector<ado::Column>& columns);

/// The INSERT of one row into a quoted table; `marker` stands for a column's value.
std::string InsertText(const std::string& table, const std::vector<ado::Column>& columns,
                       const std::function<std::string(const ado::Column&)>& marker);

/// Why rows do not have one value for each of so many columns; empty when they do.
std::string WidthProblem(const ado::LoadRows& rows, std::size_t columns);

}  // namespace torvik
