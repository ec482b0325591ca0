#pragma once

#include <string>

namespace torvik {

class Files;
class Messages;

/// The one line that tells the scheduler how to run the job later: an argument text for torvik. The
/// job file's path is a full one.
std::string HandOffLine(const std::string& jobFile);

/// The line that tells the scheduler that the operator gave up.
inline constexpr const char* kHandOffCanceled = "canceled";

/// Makes `line` the hand-off file's only line. A failure shows a message box and is answered with
/// false; an existing file is then as it was.
bool WriteHandOffFile(Files& files, Messages& messages, const std::string& path,
                      const std::string& line);

}  // namespace torvik
