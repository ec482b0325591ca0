#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <utility>

#include "config/RunVariables.h"
#include "datalinks/DataLinks.h"
#include "datalinks/DataWarehouse.h"
#include "history/RunRecorder.h"
#include "log/RunLog.h"
#include "package/ErrLogging.h"
#include "platform/Platform.h"
#include "startup/CommandLine.h"
#include "startup/MainForm.h"
#include "startup/OrvStatusFile.h"
#include "transfer/CopyQuorFiles.h"

namespace torvik {

/// What exists once in a run of the program. Owned by main, handed down by reference.
struct Program {
  /// `newAnimateForm` makes the form of a transfer's progress dialog.
  Program(const Platform& theirs, std::function<std::unique_ptr<AnimateForm>()> newAnimateForm)
      : platform(theirs),
        statusFile(theirs.files, theirs.messages),
        log(theirs.files, theirs.messages),
        recorder(theirs.history, theirs.clock, theirs.messages),
        errLogging(theirs.files, theirs.messages),
        remoteData(log, theirs.clock, theirs.registry,
                   {theirs.internet, theirs.shell, theirs.files, theirs.messages,
                    std::move(newAnimateForm), [this] { recorder.Idle(); }}),
        dataWarehouse(theirs.databases),
        dataLinks(theirs.profile, theirs.ansi, theirs.clock, theirs.messages) {}

  Platform platform;
  CommandLineSettings commandLine;
  OrvStatusFile statusFile;
  RunLog log;
  RunRecorder recorder;
  ErrLogging errLogging;
  CopyQuorFiles remoteData;
  DataWarehouse dataWarehouse;
  DataLinks dataLinks;
  RunVariables runVariables;    ///< What whoever started the run gives to its package.
  std::int64_t resumedRun = 0;  ///< The run of the history that this one goes on with; 0: none.
  std::chrono::seconds waitForOtherRun{0};  ///< How long a run waits for one in its way.
  std::unique_ptr<MainForm> form;
};

}  // namespace torvik
