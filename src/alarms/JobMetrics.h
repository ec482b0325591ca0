#pragma once

#include <string>
#include <vector>

#include "platform/RunHistory.h"

namespace torvik {

/// The name of the file that has a job's metrics: of letters, digits, "_", "-" and "." alone, and
/// unlike that of any other job file.
std::string MetricsFileName(const std::string& jobFile);

/// The metrics of a job's last run that has ended, as Prometheus' text format has them; empty when
/// none has. `runs` are those of the job, the latest first.
std::string MetricsText(const std::vector<RunRecord>& runs);

}  // namespace torvik
