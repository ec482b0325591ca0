#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "engine/model/Problems.h"

namespace torvik::engine {

/// Where a document has a key of more parts ("a.b.c" has three) than can be followed; nothing when
/// it has none. Strings and comments are passed over.
std::optional<TextPlace> FindLongKey(std::string_view document);

/// What a document is encoded in when that is plainly not UTF-8, in words; else empty.
std::string WhyNoUtf8(std::string_view document);

}  // namespace torvik::engine
