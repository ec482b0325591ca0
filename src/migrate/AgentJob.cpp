#include "migrate/AgentJob.h"

#include <algorithm>

#include "platform/Text.h"

namespace torvik::migrate {
namespace {

/// The line as ReadDtsrunLine takes it; empty when it runs something else.
std::string DtsrunIn(std::string_view line) {
  line = Trimmed(line, kWhiteSpace);
  // A batch file may silence the line, or call it.
  if (line.starts_with('@')) line.remove_prefix(1);
  if (LowerAscii(line.substr(0, 5)) == "call ") line = Trimmed(line.substr(5));
  // The first option needs no blank in front of it.
  constexpr std::string_view kJoined = "dtsrun/";
  if (LowerAscii(line.substr(0, kJoined.size())) == kJoined)
    return "dtsrun " + std::string(line.substr(kJoined.size() - 1));
  const std::string_view program = line.starts_with('"')
                                       ? line.substr(1, line.find('"', 1) - 1)
                                       : line.substr(0, line.find_first_of(" \t"));
  const std::string name = LowerAscii(program.substr(program.find_last_of("\\/") + 1));
  return name == "dtsrun" || name == "dtsrun.exe" ? std::string(line) : std::string();
}

}  // namespace

std::vector<DtsrunText> DtsrunLinesIn(std::string_view command) {
  std::vector<DtsrunText> lines;
  int number = 1;
  for (std::size_t at = 0; at < command.size(); ++number) {
    const std::size_t end = std::min(command.find('\n', at), command.size());
    std::string line = DtsrunIn(command.substr(at, end - at));
    if (!line.empty()) lines.push_back({std::move(line), number});
    at = end + 1;
  }
  return lines;
}

}  // namespace torvik::migrate
