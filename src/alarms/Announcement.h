#pragma once

#include <optional>

#include "alarms/DueAlarms.h"
#include "platform/Mail.h"
#include "platform/Process.h"

namespace torvik {

/// The alarms that a run may have raised already.
enum AlarmBit : RaisedAlarms { kServiceCalled = 1, kMailSent = 2, kProgramEnded = 4 };

/// A run that has ended, and what is still to be done about it.
struct Announcement {
  RunRecord run;
  RunChange change = RunChange::None;
  std::string serviceUrl = {};  ///< Empty: nobody is called.
  std::optional<MailMessage> mail = {};
  std::optional<ProcessRequest> program = {};
  // Each is written by the thread that does it.
  bool isMailSent = false, hasProgramEnded = false;

  RaisedAlarms Raised() const {
    const bool isDone = (!mail || isMailSent) && (!program || hasProgramEnded);
    if (isDone) return kAllAlarms;
    return run.alarms | kServiceCalled | (mail && !isMailSent ? 0 : kMailSent) |
           (program && !hasProgramEnded ? 0 : kProgramEnded);
  }
};

}  // namespace torvik
