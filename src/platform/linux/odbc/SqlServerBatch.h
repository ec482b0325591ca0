#pragma once

#include <span>
#include <string>

#include "platform/Ado.h"

namespace torvik {

/// A batch of SQL Server's with a variable for each parameter: declared and set before the text, on
/// its first line, and named where the text has a "?". There must be as many of both.
std::string WithDeclared(const std::string& sql, std::span<const ado::Value> parameters);

}  // namespace torvik
