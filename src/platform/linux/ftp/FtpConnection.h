#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/linux/ftp/FtpListing.h"
#include "platform/linux/ftp/FtpTransfer.h"

namespace torvik {

/// A logon to an FTP server and what is done with it. Paths are bytes as they are sent, without
/// control characters. One file is read or written at a time: anything else ends that. Each
/// function answers whether it worked; Failure() says why not.
class FtpConnection {
 public:
  FtpConnection(std::unique_ptr<FtpTransfer> transfer, FtpSettings::Type type)
      : transfer_(std::move(transfer)), type_(type) {}

  bool LogOn() { return transfer_->LogOn() || Fail(transfer_->Failure()); }
  bool ChangeDirectory(const std::string& path);
  bool Delete(const std::string& path) { return Command("DELE " + path); }

  /// The entries of the current directory.
  bool List(std::deque<wininet::FindData>& entries);

  /// All of a file, piece by piece; `take` answers false to stop. Fails too when less came than the
  /// server told before.
  bool Retrieve(const std::string& path, const std::function<bool(std::string_view)>& take);

  /// Opens a file and waits for the server to agree, but not for its bytes.
  bool OpenRead(const std::string& path);
  /// At most `limit` bytes; fewer only at the end.
  bool Read(std::size_t limit, std::string& bytes);

  /// Makes a file, or empties it.
  bool OpenWrite(const std::string& path);
  bool Write(std::string_view bytes);

  /// Ends what is open: what was written is then there. A file that was not read to its end costs
  /// the control connection; the next request logs on again.
  bool CloseFile();

  const FtpFailure& Failure() const { return failure_; }
  /// What the server said last.
  const std::string& LastResponse() const { return transfer_->Replies().Last(); }

 private:
  bool Fail(const FtpFailure& failure);
  bool Begin();
  bool Command(const std::string& command);
  bool ListOnce(std::deque<wininet::FindData>& entries);
  bool ListWith(FtpListing::Kind kind, std::deque<wininet::FindData>& entries);
  bool HasMlsd();
  std::optional<std::uint64_t> TakeSize();

  std::unique_ptr<FtpTransfer> transfer_;
  const FtpSettings::Type type_;
  FtpFailure failure_;
  std::string directory_;  ///< That was changed to; empty: the one after the logon.
  enum class Answer { Unknown, No, Yes } hasMlsd_ = Answer::Unknown;
  /// Whether the server tells the length of a file: when it is asked, unasked as well when the
  /// transfer begins, or not at all.
  enum class Sizes { Asked, Announced, Untold } sizes_ = Sizes::Asked;
  std::string buffer_;      ///< Read and not yet asked for, or written and not yet sent.
  std::size_t wanted_ = 0;  ///< How much of a file may be fetched.
  bool isWriting_ = false;
  bool isAsked_ = false;     ///< The transfer asks for more to send.
  bool isComplete_ = false;  ///< There is no more to send.
};

}  // namespace torvik
