#include "platform/linux/settings/AlarmSections.h"

#include <algorithm>
#include <iterator>

#include "platform/CommandText.h"
#include "platform/Text.h"
#include "platform/linux/settings/Secret.h"

namespace torvik {
namespace {

/// A value may be empty: it takes back what is set for all jobs.
std::string UnlessFullPath(const std::string& key, const std::string& path) {
  return path.empty() || path.starts_with('/') ? "" : key + " is a full path, from / on";
}

std::string UnlessWebAddress(const std::string& url) {
  const std::string start = LowerAscii(url.substr(0, 8));
  return url.empty() || start.starts_with("http://") || start.starts_with("https://")
             ? ""
             : "ping_url begins with http:// or https://";
}

std::string TakeMonitorKey(const std::string& key, const std::string& value,
                           MonitorSettings& monitor) {
  if (key == "textfile_directory") {
    monitor.textfileDirectory = value;
    return UnlessFullPath(key, value);
  }
  if (key == "ping_url") {
    monitor.pingUrl = value;
    return UnlessWebAddress(value);
  }
  SecretReference reference;
  std::string problem;
  if (TakeSecretKey("ping_url", key, value, reference, problem)) {
    monitor.pingUrl =
        reference.file.empty() ? "credential:" + reference.credential : "file:" + reference.file;
    return problem;
  }
  return "[monitor] has no key \"" + key +
         "\"; there are textfile_directory, ping_url, ping_url_file, ping_url_credential";
}

std::string TakeNotifyKey(const std::string& key, const std::string& value,
                          NotifySettings& notify) {
  if (key == "mail_to") {
    notify.mailTo = value;
    return {};
  }
  if (key == "command") {
    notify.command = SplitCommandText(value);
    return {};
  }
  if (key != "command_on")
    return "[notify] has no key \"" + key + "\"; there are mail_to, command, command_on";
  const std::pair<const char*, NotifyOn> ends[] = {
      {"failure", NotifyOn::Failure}, {"change", NotifyOn::Change}, {"always", NotifyOn::Always}};
  const auto end = std::find_if(std::begin(ends), std::end(ends), [&](const auto& known) {
    return EqualsIgnoringCase(value, known.first);
  });
  if (end == std::end(ends)) return "command_on is failure, change or always";
  notify.commandOn = end->second;
  return {};
}

/// Keeps the key for Joined when it can be taken.
template <class Section, class Keys>
std::string CheckAndKeep(std::string (*take)(const std::string&, const std::string&, Section&),
                         const std::string& key, const std::string& value, Keys& keys) {
  Section alone;
  const std::string problem = take(key, value, alone);
  keys.emplace_back(key, value);
  return problem;
}

template <class Section, class Sections>
std::map<std::string, Section> JoinSections(std::string (*take)(const std::string&,
                                                                const std::string&, Section&),
                                            const Sections& sections) {
  std::map<std::string, Section> joined;
  const auto add = [&](const std::string& from, Section& to) {
    const auto found = sections.find(from);
    if (found == sections.end()) return;
    for (const auto& [key, value] : found->second) take(key, value, to);
  };
  for (const auto& [job, keys] : sections) {
    Section& section = joined[job];
    add("", section);
    if (!job.empty()) add(job, section);
  }
  return joined;
}

}  // namespace

std::string AlarmSections::ReadMonitorKey(const std::string& job, const std::string& key,
                                          const std::string& value) {
  return CheckAndKeep(TakeMonitorKey, key, value, monitor_[job]);
}

std::string AlarmSections::ReadNotifyKey(const std::string& job, const std::string& key,
                                         const std::string& value) {
  return CheckAndKeep(TakeNotifyKey, key, value, notify_[job]);
}

AlarmSettings AlarmSections::Joined() const {
  return {JoinSections(TakeMonitorKey, monitor_), JoinSections(TakeNotifyKey, notify_)};
}

}  // namespace torvik
