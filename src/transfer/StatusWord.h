#pragma once

#include <string>
#include <string_view>

namespace torvik {

/// What a provider's status word tells the runner.
enum class RemoteStatus : int { GiveUp = 0, KeepPolling = 1, Ready = 2 };

/// As much of a status file as counts.
inline constexpr std::size_t kStatusLength = 256;

/// The name of the status file in a remote directory.
inline constexpr const char* kStatusFile = "status";

/// The meaning of a status file's text: that of the word that it begins with, letter case included.
RemoteStatus ParseStatusWord(std::string_view text);

}  // namespace torvik
