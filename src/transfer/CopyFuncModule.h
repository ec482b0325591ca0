#pragma once

#include <string>

#include "transfer/StatusWord.h"
#include "transfer/TransferServices.h"

namespace torvik {

class RunLog;

/// Remote data on a Windows share, or in any directory that the machine reaches.
class CopyFuncModule {
 public:
  CopyFuncModule(RunLog& log, const TransferServices& services) : log_(log), services_(services) {}

  /// Copies the files of `sourceDir`, to which "*.*" is added, to `localDir`, which is made when it
  /// is missing. What fails is told in message boxes.
  bool ShareCopyFiles(std::string& sourceDir, const std::string& localDir);

  /// Reads the status file in `dir`, to which a separator is added. A missing file means to keep
  /// polling; any other error is told in a message box and means to give up.
  RemoteStatus ShareReadStatus(std::string& dir);

  /// Makes "idle" the content of the status file, whatever the word; a separator is added to `dir`.
  bool ShareWriteStatus(std::string& dir, const std::string& word);

 private:
  RunLog& log_;
  const TransferServices services_;
};

}  // namespace torvik
