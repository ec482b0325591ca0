#pragma once

#include "platform/RunHistory.h"

namespace torvik {

/// Is told of the runs of this process, beside their records. It changes nothing about them.
class RunObserver {
 public:
  virtual ~RunObserver() = default;

  /// A run begins and is about to be recorded; may say which of its alarms are not to be raised.
  virtual void Begins(RunRecord& run) = 0;

  /// A run has ended, and what it has locked is free.
  virtual void HasEnded(const RunRecord& run) = 0;
};

}  // namespace torvik
