#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace torvik {

/// The replies of an FTP server to one request, line by line as they come.
class FtpReplies {
 public:
  /// A reply of several lines begins "NNN-" and ends at the line that begins "NNN ".
  void AddLine(std::string_view line);

  /// The last reply, with the line ends that it came with.
  const std::string& Last() const { return last_; }
  /// The reply that refused, with a code from 400 on; empty when there is none, or when the request
  /// went on all the same.
  const std::string& Refusal() const { return refusal_; }
  /// The length that the server told in a reply 213.
  std::optional<std::uint64_t> Size() const { return size_; }
  /// The length that the server told with the reply that begins a transfer, as most do: "150
  /// Opening BINARY mode data connection for a (4096 bytes)".
  std::optional<std::uint64_t> AnnouncedSize() const { return announcedSize_; }

  bool HasBegunTransfer() const { return hasBegunTransfer_; }
  bool HasAskedForPassword() const { return hasAskedForPassword_; }
  /// True when the first reply was the one that a new connection begins with.
  bool BeginsWithGreeting() const { return firstCode_ == 220; }

 private:
  void Take(int code);

  std::string last_, refusal_;
  std::string openCode_;  ///< Of a reply whose last line is still to come.
  int firstCode_ = 0;
  std::optional<std::uint64_t> size_, announcedSize_;
  bool hasBegunTransfer_ = false;
  bool hasAskedForPassword_ = false;
};

/// The code that a reply begins with; 0 when it has none.
int FtpCodeOf(std::string_view reply);

}  // namespace torvik
