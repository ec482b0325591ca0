#include "platform/linux/ftp/FtpConnection.h"

#include <algorithm>
#include <cstring>

#include "platform/Text.h"

namespace torvik {
namespace {

bool IsUnknownCommand(const FtpFailure& failure) {
  const int code = FtpCodeOf(failure.words);
  return code == 500 || code == 502 || code == 504;
}

/// Servers list so many files of a directory and then say so: "226-Output truncated to 2000
/// matches".
bool SaysTruncated(std::string_view reply) {
  return LowerAscii(std::string(reply)).find("truncated") != std::string::npos;
}

/// Features are listed one a line: " MLST type*;size*;".
bool NamesMlst(std::string_view features) {
  for (std::size_t begin = 0; begin < features.size();) {
    const std::size_t end = std::min(features.find('\n', begin), features.size());
    std::string_view line = features.substr(begin, end - begin);
    line.remove_prefix(std::min(line.find_first_not_of(' '), line.size()));
    if (EqualsIgnoringCase(line.substr(0, 4), "MLST")) return true;
    begin = end + 1;
  }
  return false;
}

}  // namespace

bool FtpConnection::Fail(const FtpFailure& failure) {
  failure_ = failure;
  return false;
}

bool FtpConnection::Begin() {
  failure_ = {};
  buffer_.clear();
  transfer_->Abandon();
  if (transfer_->IsLoggedOn()) return true;
  if (!LogOn()) return false;
  const bool isThere = directory_.empty() || transfer_->Run({.command = "CWD " + directory_});
  return isThere || Fail(transfer_->Failure());
}

bool FtpConnection::Command(const std::string& command) {
  if (!Begin()) return false;
  return transfer_->Run({.command = command}) || Fail(transfer_->Failure());
}

bool FtpConnection::ChangeDirectory(const std::string& path) {
  if (!Command("CWD " + path)) return false;
  directory_ = path.starts_with('/') || directory_.empty() ? path : directory_ + "/" + path;
  return true;
}

bool FtpConnection::HasMlsd() {
  if (hasMlsd_ == Answer::Unknown) {
    const bool isMlsd =
        transfer_->Run({.command = "FEAT"}) && NamesMlst(transfer_->Replies().Last());
    hasMlsd_ = isMlsd ? Answer::Yes : Answer::No;
  }
  return hasMlsd_ == Answer::Yes;
}

bool FtpConnection::List(std::deque<wininet::FindData>& entries) {
  if (ListOnce(entries)) return true;
  const bool mayComeAbout = failure_.code == wininet::ConnectionAborted && !transfer_->IsLoggedOn();
  return mayComeAbout && ListOnce(entries);
}

bool FtpConnection::ListOnce(std::deque<wininet::FindData>& entries) {
  if (!Begin()) return false;
  if (HasMlsd()) {
    if (ListWith(FtpListing::Kind::Mlsd, entries)) return true;
    if (!IsUnknownCommand(failure_)) return false;
    hasMlsd_ = Answer::No;
    failure_ = {};
  }
  return ListWith(FtpListing::Kind::List, entries);
}

bool FtpConnection::ListWith(FtpListing::Kind kind, std::deque<wininet::FindData>& entries) {
  FtpListing listing(kind);
  const bool hasCome =
      transfer_->Run({.kind = FtpRequest::Kind::List,
                      .listCommand = kind == FtpListing::Kind::Mlsd ? "MLSD" : "LIST",
                      .sink = [&](std::string_view bytes) {
                        return listing.Add(bytes) ? FtpFlow::Go : FtpFlow::Stop;
                      }});
  if (listing.Problem().empty() && !hasCome) return Fail(transfer_->Failure());
  if (!listing.Finish()) return Fail({wininet::ExtendedError, listing.Problem()});
  if (SaysTruncated(transfer_->Replies().Last()))
    return Fail({wininet::ExtendedError,
                 "the server has cut the listing off, so that not all files would come: " +
                     transfer_->Replies().Last()});
  entries = std::move(listing.Entries());
  return true;
}

bool FtpConnection::Retrieve(const std::string& path,
                             const std::function<bool(std::string_view)>& take) {
  if (!Begin()) return false;
  std::uint64_t length = 0;
  const bool hasCome = transfer_->Run({.kind = FtpRequest::Kind::Retrieve,
                                       .path = path,
                                       .asksSize = sizes_ == Sizes::Asked,
                                       .sink = [&](std::string_view bytes) {
                                         length += bytes.size();
                                         return take(bytes) ? FtpFlow::Go : FtpFlow::Stop;
                                       }});
  if (!hasCome) return Fail(transfer_->Failure());
  const auto size = TakeSize();
  // Some servers tell the length of their own file: ASCII mode can only add to it.
  const bool mayBeLonger = type_ == FtpSettings::Type::Ascii;
  if (size && (length < *size || (length > *size && !mayBeLonger)))
    return Fail({wininet::ExtendedError, path + ": the server told " + std::to_string(*size) +
                                             " bytes and sent " + std::to_string(length)});
  return true;
}

/// The length of the file that has come, if the server has told it; to ask costs each file a turn
/// on the network, so that a server is not asked any more once it has announced what it answers.
std::optional<std::uint64_t> FtpConnection::TakeSize() {
  const auto answered = transfer_->Replies().Size();
  const auto announced = transfer_->Replies().AnnouncedSize();
  if (sizes_ == Sizes::Announced) {
    if (!announced) sizes_ = Sizes::Asked;
    return announced;
  }
  if (!answered)
    sizes_ = Sizes::Untold;
  else if (announced == answered)
    sizes_ = Sizes::Announced;
  return answered;
}

bool FtpConnection::OpenRead(const std::string& path) {
  if (!Begin()) return false;
  wanted_ = 0;
  isWriting_ = false;
  const auto sink = [this](std::string_view bytes) {
    if (buffer_.size() >= wanted_) return FtpFlow::Pause;
    buffer_ += bytes;
    return FtpFlow::Go;
  };
  const auto isOpen = [this] { return transfer_->Replies().HasBegunTransfer(); };
  return transfer_->Start({.kind = FtpRequest::Kind::Retrieve, .path = path, .sink = sink},
                          isOpen) ||
         Fail(transfer_->Failure());
}

bool FtpConnection::Read(std::size_t limit, std::string& bytes) {
  bytes.clear();
  if (failure_.code != wininet::NoError) return false;
  wanted_ = limit;
  const auto isEnough = [this] { return buffer_.size() >= wanted_; };
  if (transfer_->IsUnderWay() && !isEnough() && !transfer_->Continue(isEnough))
    return Fail(transfer_->Failure());
  wanted_ = 0;
  bytes = buffer_.substr(0, limit);
  buffer_.erase(0, limit);
  return true;
}

bool FtpConnection::OpenWrite(const std::string& path) {
  if (!Begin()) return false;
  isWriting_ = true;
  isAsked_ = isComplete_ = false;
  const auto source = [this](char* to, std::size_t capacity, std::size_t& length) {
    length = std::min(capacity, buffer_.size());
    std::memcpy(to, buffer_.data(), length);
    buffer_.erase(0, length);
    isAsked_ = length == 0;
    return length == 0 && !isComplete_ ? FtpFlow::Pause : FtpFlow::Go;
  };
  return transfer_->Start({.kind = FtpRequest::Kind::Store, .path = path, .source = source},
                          [this] { return isAsked_; }) ||
         Fail(transfer_->Failure());
}

bool FtpConnection::Write(std::string_view bytes) {
  if (!transfer_->IsUnderWay()) return Fail({wininet::ConnectionAborted, "the file is not open"});
  buffer_ += bytes;
  isAsked_ = false;
  return transfer_->Continue([this] { return isAsked_; }) || Fail(transfer_->Failure());
}

bool FtpConnection::CloseFile() {
  if (!transfer_->IsUnderWay()) return true;
  isComplete_ = true;
  if (isWriting_) return transfer_->Continue({}) || Fail(transfer_->Failure());
  transfer_->Abandon();
  return true;
}

}  // namespace torvik
