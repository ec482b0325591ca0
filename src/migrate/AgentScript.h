#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "migrate/AgentJob.h"

namespace torvik::migrate {

/// What of a script was not understood.
struct ScriptNote {
  int line = 0;
  std::string text;
};

struct AgentScript {
  std::vector<AgentJob> jobs;
  std::vector<ScriptNote> notes;
};

/// Reads the jobs of a script as the server's tools write it: calls of sp_add_job, sp_add_jobstep,
/// sp_add_jobschedule and sp_add_schedule with named arguments that are literals, sums of them, or
/// variables that were set to some. Whatever else touches jobs is noted; no note holds a value.
AgentScript ReadAgentScript(std::string_view sql);

}  // namespace torvik::migrate
