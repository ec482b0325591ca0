#include "transfer/CopyFuncModule.h"

#include "log/RunLog.h"
#include "platform/Files.h"
#include "platform/Messages.h"
#include "platform/PlatformError.h"
#include "platform/Shell.h"

namespace torvik {
namespace {

constexpr const char* kProgram = "Torvik";
constexpr const char* kAllFiles = "*.*";

/// Files only, without questions or messages of the shell's own: nobody sees this copy.
constexpr std::uint16_t kFilesOnly = 128, kSilent = 4, kNoConfirmation = 16,
                        kNoErrorInterface = 1024;

}  // namespace

bool CopyFuncModule::ShareCopyFiles(std::string& sourceDir, const std::string& localDir) {
  Messages& messages = services_.messages;
  if (!services_.shell.Exists(sourceDir))
    messages.Box("Dir doesn't exist : " + sourceDir, kProgram, BoxIcon::None);
  if (!services_.shell.Exists(localDir)) services_.files.MakeDirectory(localDir);
  if (!sourceDir.ends_with(kAllFiles)) sourceDir += kAllFiles;
  FileOperation copy;
  copy.from = sourceDir;
  copy.to = localDir;
  copy.flags = kFilesOnly | kSilent | kNoConfirmation | kNoErrorInterface;
  copy.progressTitle = "Please wait......  Copying data file to local server";
  std::string reason;
  try {
    if (services_.shell.SHFileOperationA(copy) == 0) return true;
    reason = services_.shell.CopyFailure();
  } catch (const std::exception& error) {
    reason = sourceDir + ": " + WordsOf(error);
  }
  messages.Box("Couldn't copy all files", kProgram, BoxIcon::None);
  messages.Report(reason);
  return false;
}

RemoteStatus CopyFuncModule::ShareReadStatus(std::string& dir) {
  if (!dir.empty() && dir.back() != '\\' && dir.back() != '/') dir += '\\';
  std::string line;
  const ShareResult read = services_.shell.ReadFirstLine(dir + kStatusFile, kStatusLength, line);
  switch (read.error) {
    case ShareError::None: return ParseStatusWord(line);
    case ShareError::FileNotFound:
      log_.EchoToLog("COPY: Status file not found yet ... polling");
      return RemoteStatus::KeepPolling;
    case ShareError::PathNotFound:
      services_.messages.Box("Path not found : " + dir, "Check Ready to Copy data from Share",
                             BoxIcon::Critical);
      log_.EchoToLog("Error: Path not found yet ... ");
      return RemoteStatus::GiveUp;
    case ShareError::Other: break;
  }
  services_.messages.Box(read.description, "CopyReadyToCopy", BoxIcon::Critical);
  return RemoteStatus::GiveUp;
}

bool CopyFuncModule::ShareWriteStatus(std::string& dir, const std::string&) {
  // Unlike the reader, this takes "/" for no separator; providers see the path that results.
  if (!dir.empty() && dir.back() != '\\') dir += '\\';
  // The text has a line end of its own, and printing adds another one.
  return services_.shell.ReplaceText(dir + kStatusFile, "idle\r\n\r\n").error == ShareError::None;
}

}  // namespace torvik
