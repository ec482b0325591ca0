#pragma once

#include <deque>
#include <string>
#include <string_view>

#include "platform/WinInet.h"

namespace torvik {

/// Reads a directory listing as it comes from an FTP server: the lines of LIST in the manner of
/// Unix ("-rw-r--r-- 1 u g 5 Jan 8 10:20 a b") or of Windows ("01-08-01 10:20AM 5 a b"), or those
/// of MLSD ("type=file;size=5; a b"). A link counts as a file: a listing does not tell where it
/// leads. The directory itself and the one above it are left out. Names are bytes as they come.
class FtpListing {
 public:
  enum class Kind { List, Mlsd };

  explicit FtpListing(Kind kind) : kind_(kind) {}

  /// Takes the next bytes. False when a line is not understood or names what cannot be a file of
  /// the directory; Problem() then says which.
  bool Add(std::string_view bytes);
  /// The last line may lack its end.
  bool Finish();

  const std::string& Problem() const { return problem_; }
  std::deque<wininet::FindData>& Entries() { return entries_; }

 private:
  bool AddLine(std::string_view line);
  bool AddEntry(std::string_view name, bool isDirectory);
  bool Refuse(std::string_view text, const std::string& reason);

  const Kind kind_;
  std::string part_;  ///< Of a line whose end is still to come.
  bool isFirstLine_ = true;
  std::string problem_;
  std::deque<wininet::FindData> entries_;
};

}  // namespace torvik
