#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace torvik::migrate {

/// What stands in a T-SQL text that other servers do not have, and what to write on an embedded
/// server and on PostgreSQL: "TOP n: LIMIT n at the end of the query". Each once.
std::vector<std::string> AdviceFor(std::string_view sql);

}  // namespace torvik::migrate
