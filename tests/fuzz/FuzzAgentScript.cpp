#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "migrate/AgentScript.h"
#include "migrate/DtsrunLine.h"
#include "migrate/SqlAdvice.h"
#include "platform/PlatformError.h"

using namespace torvik;

/// Any script gives jobs and notes, whose lines are in it; any line of a step is read or refused.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view sql(reinterpret_cast<const char*>(data), size);
  migrate::AdviceFor(sql);
  const migrate::AgentScript script = migrate::ReadAgentScript(sql);
  for (const migrate::ScriptNote& note : script.notes)
    if (note.line < 1 || note.line > static_cast<int>(size) + 1) std::abort();
  for (const migrate::AgentJob& job : script.jobs) {
    for (const migrate::AgentSchedule& schedule : job.schedules) migrate::TimesOf(schedule);
    for (const migrate::AgentStep& step : job.steps)
      for (const migrate::DtsrunText& line : migrate::DtsrunLinesIn(step.command)) try {
          migrate::ReadDtsrunLine(line.text);
        } catch (const PlatformError&) {
        }
  }
  return 0;
}
