#include "startup/HandOffFile.h"

#include "platform/Files.h"
#include "platform/Messages.h"

namespace torvik {

std::string HandOffLine(const std::string& jobFile) {
  return "-configfile \"" + jobFile + "\"";
}

bool WriteHandOffFile(Files& files, Messages& messages, const std::string& path,
                      const std::string& line) {
  const auto error = files.ReplaceText(path, line + "\r\n");
  if (!error) return true;
  messages.Box("Unable to write to : " + path + "\r\n" + error.message(), "Save QXJob Config file",
               BoxIcon::Critical);
  return false;
}

}  // namespace torvik
