#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "platform/WinInet.h"
#include "platform/linux/ftp/FtpReplies.h"
#include "platform/linux/settings/Settings.h"

namespace torvik {

/// Whom to log on to; the texts are the bytes that are sent.
struct FtpLogon {
  std::string server;
  std::uint16_t port = 0;
  std::string user, password;
};

/// Why a request failed. `words` is what there is to say about it, the server's reply where there
/// is one.
struct FtpFailure {
  std::uint32_t code = wininet::NoError;
  std::string words = {};
};

enum class FtpFlow { Go, Pause, Stop };

/// What one request asks of the server. Paths and commands hold no control characters.
struct FtpRequest {
  enum class Kind { Command, List, Retrieve, Store };

  Kind kind = Kind::Command;
  std::string path = {};         ///< Of the file.
  std::string listCommand = {};  ///< "LIST" or "MLSD".
  std::string command = {};      ///< Of Command; empty: none but those of a logon.
  bool asksSize = false;         ///< Of Retrieve.
  /// Takes what comes. After Pause the same bytes come again; after Stop the request fails.
  std::function<FtpFlow(std::string_view bytes)> sink = {};
  /// Puts what is to be sent into the buffer and sets its length; Go with 0 ends the file.
  std::function<FtpFlow(char* buffer, std::size_t capacity, std::size_t& length)> source = {};
};

/// Requests over one FTP control connection: the bytes of a file are those of the wire in either
/// direction; in ASCII mode that is with the CR LF that end its lines there. Each request answers
/// whether it worked.
class FtpTransfer {
 public:
  using Condition = std::function<bool()>;

  virtual ~FtpTransfer() = default;

  /// Connects and logs on; the requests after it use that connection and fail with ConnectionReset
  /// when the server has given it up.
  virtual bool LogOn() = 0;

  bool Run(FtpRequest request) { return Start(std::move(request), {}); }

  /// Begins a request and goes on until it has ended or `isEnough`. True also for one that has not
  /// ended.
  virtual bool Start(FtpRequest request, const Condition& isEnough) = 0;
  virtual bool Continue(const Condition& isEnough) = 0;
  virtual bool IsUnderWay() const = 0;

  /// Gives up what is under way, and with it the connection.
  virtual void Abandon() = 0;
  /// False also after ConnectionAborted when the data connection has not come about: the request
  /// may be made once more, after another logon.
  virtual bool IsLoggedOn() const = 0;

  virtual const FtpFailure& Failure() const = 0;
  virtual const FtpReplies& Replies() const = 0;
};

/// `onWait` is called about ten times a second during a request, and may throw, which ends the
/// request and the connection; it may be empty.
std::unique_ptr<FtpTransfer> NewFtpTransfer(const FtpSettings& settings, const FtpLogon& logon,
                                            std::function<void()> onWait);

}  // namespace torvik
