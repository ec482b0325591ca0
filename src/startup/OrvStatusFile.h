#pragma once

#include <string>
#include <string_view>

namespace torvik {

class Files;
class Messages;

/// The completion status file: one word that tells a scheduler how the run goes. Without a name no
/// status is kept. A write that fails is answered with false and said to whoever started the run.
class OrvStatusFile {
 public:
  OrvStatusFile(Files& files, Messages& messages) : files_(files), messages_(messages) {}

  /// An empty path means that no status file is kept. Always true.
  bool SetStatusFileName(const std::string& path);

  bool WriteStatusRunning() { return WriteStatusWord("running"); }
  bool WriteStatusOk() { return WriteStatusWord("ok"); }
  bool WriteStatusFailure() { return WriteStatusWord("failure"); }

  /// Makes the word, followed by CR LF, the file's whole content. A reader sees the former word or
  /// this one, never an empty file.
  bool WriteStatusWord(std::string_view word);

 private:
  Files& files_;
  Messages& messages_;
  std::string path_;
};

}  // namespace torvik
