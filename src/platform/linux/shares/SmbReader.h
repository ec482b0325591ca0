#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/linux/settings/Settings.h"
#include "platform/linux/settings/SmbLogon.h"
#include "platform/linux/system/MessageSocket.h"

namespace torvik {

/// The first argument by which torvik-admin reads small files of a share for the process that has
/// started it, by several processes, each with a connection of its own. Its standard input and
/// output are a socket: the logon comes first, then the files; each process answers kReaderIsReady
/// as soon as it is connected, and from then on whoever has time takes the next file.
inline constexpr const char* kReadShareCommand = "__read-share";

inline constexpr std::string_view kReaderIsReady = "ready";
/// A larger file cannot be asked for.
inline constexpr std::uint64_t kLargestReadFile = 64 * 1024;

/// Where to read, and as whom.
struct ReaderLogon {
  std::string server, share;
  SmbSettings settings;
  SmbLogon logon;

  std::string Message() const;
};

/// "share/directory/file", and its size as it was listed.
struct ReaderFile {
  std::string path;
  std::uint64_t size = 0;

  /// Asks for it; it is answered by that number.
  std::string Message(std::size_t number) const;
};

/// What has become of a file: its bytes where it has just the size that was asked for, else
/// nothing.
struct ReaderAnswer {
  std::size_t number = 0;
  std::optional<std::string> bytes = {};
};
/// Nothing for what is no answer.
std::optional<ReaderAnswer> ParseReaderAnswer(std::string_view message);

/// Reads until nobody asks any more, or a process has ended that may owe an answer: all end then.
/// Answers the exit code.
int ReadShare(MessageSocket socket);

}  // namespace torvik
