#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/linux/shares/SmbReader.h"
#include "platform/linux/system/ChildProcess.h"

namespace torvik {

/// Has small files of a share read ahead over further connections, by processes of their own, while
/// the caller takes them in their order. Nothing depends on it: what it does not bring, for
/// whatever reason, the caller reads himself, and learns the reason then.
class SmbReaders {
 public:
  /// Starts them: `program` with kReadShareCommand. The files will be taken in their order.
  SmbReaders(const std::string& program, const ReaderLogon& logon, std::vector<ReaderFile> files);

  /// All bytes of the next of the files, which has just the size that was listed; nothing when the
  /// caller has to read it himself, and for a path that is not the next one.
  std::optional<std::string> Take(const std::string& path);

 private:
  void Give();
  bool Receive(int timeoutMilliseconds);

  const std::vector<ReaderFile> files_;
  const int timeoutMilliseconds_;
  MessageSocket socket_;
  std::unique_ptr<RunningChild> process_;
  std::size_t mayWait_ = 0;  ///< How many files may be given and not taken.
  std::size_t taken_ = 0;    ///< How many of the files the caller has taken,
  std::size_t given_ = 0;    ///< and how many he or a reader was given to read.
  std::map<std::size_t, std::optional<std::string>> come_;
};

}  // namespace torvik
