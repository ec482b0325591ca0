#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "alarms/DueAlarms.h"
#include "platform/Mail.h"
#include "platform/RunHistory.h"

namespace torvik {

/// Why a run did not succeed, in one line: "step \"load\": table orders is locked".
std::string ReasonOf(const RunRecord& run);

/// The mail about a run that changes how its job does. `logTail` are the last lines of its log,
/// empty when there are none; `failures` is how many runs had failed before a recovery.
MailMessage MailAbout(const RunRecord& run, RunChange change, std::size_t failures,
                      std::string_view logTail);

/// The line that a program reads: the run as a JSON object, with its steps and what it has fetched,
/// and "change".
std::string JsonLineOf(const RunRecord& run, RunChange change);

}  // namespace torvik
