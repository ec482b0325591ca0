#pragma once

#include <string>
#include <string_view>

namespace torvik {

/// SQL text in which the types of texts and bytes of any length have none: "nvarchar(max)" becomes
/// "nvarchar". Everything else stays as it is.
std::string WithoutMax(std::string_view sql);

}  // namespace torvik
