#pragma once

#include <span>
#include <string>

#include "platform/Bulk.h"

namespace torvik::engine {

/// Values as a line of comma-separated text with CR LF (RFC 4180): NULL is empty, the empty text
/// "".
std::string CsvLine(std::span<const ado::LoadValue> values);

}  // namespace torvik::engine
