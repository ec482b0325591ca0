#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "platform/AlarmSettings.h"

namespace torvik {

/// The sections [monitor], [notify], [monitor JOB] and [notify JOB] of the settings, key by key.
/// `job` is in small letters, empty for all jobs. Each Read answers what is wrong, or the empty
/// text.
class AlarmSections {
 public:
  std::string ReadMonitorKey(const std::string& job, const std::string& key,
                             const std::string& value);
  std::string ReadNotifyKey(const std::string& job, const std::string& key,
                            const std::string& value);

  /// A job's section has the keys of all jobs and its own, whichever comes first in the file.
  AlarmSettings Joined() const;

 private:
  using Keys = std::vector<std::pair<std::string, std::string>>;

  std::map<std::string, Keys> monitor_, notify_;
};

}  // namespace torvik
