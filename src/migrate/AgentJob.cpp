#include "migrate/AgentJob.h"

#include <algorithm>

#include "platform/Text.h"

namespace torvik::migrate {

std::vector<std::string> DtsrunLinesIn(const AgentStep& step) {
  std::vector<std::string> lines;
  for (std::size_t at = 0; at < step.command.size();) {
    const std::size_t end = std::min(step.command.find_first_of("\r\n", at), step.command.size());
    std::string_view line = Trimmed(std::string_view(step.command).substr(at, end - at), " \t");
    at = end + 1;
    // A batch file may silence the line, or call it.
    if (line.starts_with('@')) line.remove_prefix(1);
    if (LowerAscii(line.substr(0, 5)) == "call ") line = Trimmed(line.substr(5));
    const std::string_view program = line.starts_with('"')
                                         ? line.substr(1, line.find('"', 1) - 1)
                                         : line.substr(0, line.find_first_of(" \t"));
    const std::string name = LowerAscii(program.substr(program.find_last_of("\\/") + 1));
    // The first option needs no blank in front of it.
    const bool isJoined = LowerAscii(line.substr(0, 7)) == "dtsrun/";
    if (name == "dtsrun" || name == "dtsrun.exe") lines.emplace_back(line);
    if (isJoined) lines.push_back("dtsrun " + std::string(line.substr(6)));
  }
  return lines;
}

}  // namespace torvik::migrate
