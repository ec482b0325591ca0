#pragma once

#include <atomic>
#include <string>
#include <vector>

#include "alarms/Announcement.h"
#include "platform/Ping.h"

namespace torvik {

class Clock;
class Mailer;
class Processes;

using Announcements = std::vector<Announcement>;

/// Calls a monitoring service, three times when what keeps the call away may pass. Answers the
/// empty text or the last reason.
std::string CallService(Pinger& pings, Clock& clock, const std::string& url, PingKind kind,
                        const std::string& body, const std::atomic<bool>& cancelled);

/// Each does its part of all announcements in their order, on a thread of its own if need be, and
/// answers what went wrong, a line each. They end soon after `cancelled` becomes true.
std::vector<std::string> CallServices(Pinger& pings, Clock& clock,
                                      const Announcements& announcements,
                                      const std::atomic<bool>& cancelled);
std::vector<std::string> SendMails(Mailer& mailer, Announcements& announcements,
                                   const std::atomic<bool>& cancelled);
std::vector<std::string> StartPrograms(Processes& processes, Announcements& announcements,
                                       const std::atomic<bool>& cancelled);

}  // namespace torvik
