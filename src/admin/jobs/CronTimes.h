#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace torvik::admin {

/// The five time fields of crontab(5) for a calendar expression of systemd.time(7); nothing when
/// cron cannot say the same (a year, seconds, a last day of the month, a day of the week together
/// with a day of the month) or the expression is none.
std::optional<std::string> CronTimes(std::string_view calendar);

}  // namespace torvik::admin
