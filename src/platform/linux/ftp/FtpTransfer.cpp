#include "platform/linux/ftp/FtpTransfer.h"

#include <sys/socket.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <chrono>
#include <new>

#include "platform/linux/curl/CurlLibrary.h"

namespace torvik {
namespace {

using SteadyClock = std::chrono::steady_clock;

/// Everything but letters and digits is escaped, so that nothing in a path means something else.
std::string EscapedPath(const std::string& path) {
  constexpr const char* kHex = "0123456789ABCDEF";
  std::string escaped = "/";
  for (const char c : path) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x80 && std::isalnum(byte)) {
      escaped += c;
    } else {
      escaped += {'%', kHex[byte >> 4], kHex[byte & 15]};
    }
  }
  return escaped;
}

/// An IPv6 address is told from a name by its colons.
std::string UrlHost(const std::string& server) {
  const bool isAddress = server.find(':') != std::string::npos && !server.starts_with('[');
  return isAddress ? "[" + server + "]" : server;
}

std::uint32_t CodeOfSystemError(long error) {
  if (error == ECONNRESET || error == EPIPE) return wininet::ConnectionReset;
  return error == ETIMEDOUT ? wininet::Timeout : wininet::ConnectionAborted;
}

/// What the library's result means where the server has not said why.
FtpFailure WithoutReply(CURLcode result, long systemError, const char* details) {
  // Active mode leaves this complaint behind, whatever happens afterwards.
  const bool tellsReason = *details != '\0' && !std::string_view(details).starts_with("sa_addr ");
  const std::string words = tellsReason ? details : curl_easy_strerror(result);
  switch (result) {
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_URL_MALFORMAT: return {wininet::NameNotResolved, words};
    case CURLE_COULDNT_CONNECT:
      return {systemError == ETIMEDOUT ? wininet::Timeout : wininet::CannotConnect, words};
    case CURLE_FTP_ACCEPT_FAILED:
    case CURLE_FTP_CANT_GET_HOST:
    case CURLE_FTP_PORT_FAILED: return {wininet::CannotConnect, words};
    case CURLE_OPERATION_TIMEDOUT:
    case CURLE_FTP_ACCEPT_TIMEOUT: return {wininet::Timeout, words};
    case CURLE_RECV_ERROR:
    case CURLE_SEND_ERROR:
    case CURLE_GOT_NOTHING: return {CodeOfSystemError(systemError), words};
    case CURLE_PARTIAL_FILE: return {wininet::ConnectionAborted, words};
    case CURLE_LOGIN_DENIED: return {wininet::LoginFailure, words};
    default: return {wininet::ExtendedError, words};
  }
}

FtpFailure FailureOf(CURLcode result, long systemError, const char* details,
                     const FtpReplies& replies) {
  FtpFailure failure = WithoutReply(result, systemError, details);
  const std::string& refusal = replies.Refusal();
  // The library takes "closing the connection" for a time-out; the server knows better.
  const bool isRefused =
      FtpCodeOf(refusal) == 421 || (!refusal.empty() && failure.code != wininet::Timeout &&
                                    failure.code != wininet::ConnectionReset);
  if (!isRefused) return failure;
  if (result != CURLE_LOGIN_DENIED) return {wininet::ExtendedError, refusal};
  const bool isPassword = FtpCodeOf(refusal) == 530 && replies.HasAskedForPassword();
  return {isPassword ? wininet::IncorrectPassword : wininet::LoginFailure, refusal};
}

class CurlTransfer final : public FtpTransfer {
 public:
  CurlTransfer(const FtpSettings& settings, const FtpLogon& logon, std::function<void()> onWait)
      : settings_(settings), logon_(logon), onWait_(std::move(onWait)) {
    InitialiseCurl();
    easy_.reset(curl_easy_init());
    if (!easy_) throw std::bad_alloc();
  }
  ~CurlTransfer() override { HangUp(); }

  bool LogOn() override {
    isLoggedOn_ = isAscii_ = false;
    // An earlier connection, and what came over it too late, must not be taken for the new one.
    multi_.reset(curl_multi_init());
    if (!multi_) throw std::bad_alloc();
    return isLoggedOn_ = Run({});
  }

  bool Start(FtpRequest request, const Condition& isEnough) override {
    Abandon();
    request_ = std::move(request);
    replies_ = {};
    failure_ = {};
    details_[0] = '\0';
    SetOptions();
    isUnderWay_ = failure_.code == wininet::NoError &&
                  curl_multi_add_handle(multi_.get(), easy_.get()) == CURLM_OK;
    if (!isUnderWay_ && failure_.code == wininet::NoError)
      failure_ = {wininet::ExtendedError, "the request cannot be begun"};
    return Continue(isEnough);
  }

  bool Continue(const Condition& isEnough) override {
    lastSign_ = SteadyClock::now();  // a pause of the caller's is no silence of the server
    if (isUnderWay_) curl_easy_pause(easy_.get(), CURLPAUSE_CONT);
    for (int slice = 0; isUnderWay_;) {
      const auto lastSign = lastSign_;
      int running = 0;
      curl_multi_perform(multi_.get(), &running);
      TakeResult();
      if (!isUnderWay_ || (isEnough && isEnough())) break;
      // The library does not wait for all that it has to do next, whole steps among it: after each
      // sign of the server it is called again at once, then more and more rarely.
      slice = lastSign_ == lastSign ? std::min(2 * slice + 1, kSliceMilliseconds) : 0;
      curl_multi_poll(multi_.get(), nullptr, 0, slice, nullptr);
      TellWaiter();
      if (SteadyClock::now() - lastSign_ > patience_) {
        Abandon();
        failure_ = {wininet::Timeout, "the server has been silent for too long"};
      }
    }
    return failure_.code == wininet::NoError;
  }

  bool IsUnderWay() const override { return isUnderWay_; }

  void Abandon() override {
    if (!isUnderWay_) return;
    curl_multi_remove_handle(multi_.get(), easy_.get());
    isUnderWay_ = false;
    isLoggedOn_ = false;
  }

  bool IsLoggedOn() const override { return isLoggedOn_; }
  const FtpFailure& Failure() const override { return failure_; }
  const FtpReplies& Replies() const override { return replies_; }

 private:
  static constexpr int kSliceMilliseconds = 100;
  static constexpr long kBufferSize = 256 * 1024;

  template <class T>
  void Set(CURLoption option, T value) {
    const CURLcode result = curl_easy_setopt(easy_.get(), option, value);
    if (result != CURLE_OK) failure_ = {wininet::ExtendedError, curl_easy_strerror(result)};
  }

  void SetOptions() {
    curl_easy_reset(easy_.get());
    SetServer();
    SetSecurity();
    SetTimes();
    SetRequest();
    Set(CURLOPT_ERRORBUFFER, details_);
    Set(CURLOPT_HEADERFUNCTION, &CurlTransfer::TakeLine);
    Set(CURLOPT_HEADERDATA, this);
    Set(CURLOPT_WRITEFUNCTION, &CurlTransfer::TakeBytes);
    Set(CURLOPT_WRITEDATA, this);
    Set(CURLOPT_READFUNCTION, &CurlTransfer::GiveBytes);
    Set(CURLOPT_READDATA, this);
  }

  void SetServer() {
    url_.reset(curl_url());
    const auto set = [&](CURLUPart part, const std::string& text) {
      return curl_url_set(url_.get(), part, text.c_str(), 0) == CURLUE_OK;
    };
    if (!set(CURLUPART_SCHEME, "ftp") || !set(CURLUPART_HOST, UrlHost(logon_.server)) ||
        !set(CURLUPART_PORT, std::to_string(logon_.port)) ||
        !set(CURLUPART_PATH, EscapedPath(request_.path)))
      failure_ = {wininet::NameNotResolved, "\"" + logon_.server + "\" is not a server's name"};
    Set(CURLOPT_CURLU, url_.get());
    Set(CURLOPT_PATH_AS_IS, 1L);
    Set(CURLOPT_PROXY, "");  // otherwise the environment would decide
    Set(CURLOPT_USERNAME, logon_.user.c_str());
    Set(CURLOPT_PASSWORD, logon_.password.c_str());
    if (!settings_.passive) Set(CURLOPT_FTPPORT, "-");
    Set(CURLOPT_FTP_FILEMETHOD, static_cast<long>(CURLFTPMETHOD_NOCWD));
    Set(CURLOPT_TCP_KEEPALIVE, 1L);
    Set(CURLOPT_NOSIGNAL, 1L);
    Set(CURLOPT_BUFFERSIZE, kBufferSize);
  }

  void SetSecurity() {
    if (settings_.tls == FtpSettings::Tls::Off) return;
    const bool isRequired = settings_.tls == FtpSettings::Tls::Require;
    Set(CURLOPT_USE_SSL, static_cast<long>(isRequired ? CURLUSESSL_ALL : CURLUSESSL_TRY));
    if (!settings_.certificates.empty()) Set(CURLOPT_CAINFO, settings_.certificates.c_str());
  }

  bool IsBinary() const { return settings_.type == FtpSettings::Type::Binary; }

  void SetTimes() {
    const auto seconds = static_cast<long>(settings_.timeoutSeconds);
    Set(CURLOPT_CONNECTTIMEOUT, seconds);
    Set(CURLOPT_ACCEPTTIMEOUT_MS, seconds * 1000);
    Set(CURLOPT_SERVER_RESPONSE_TIMEOUT, seconds);
    // A connection is used as long as the server keeps it, not two minutes.
    Set(CURLOPT_MAXAGE_CONN, 7 * 24 * 3600L);
  }

  void SetRequest() {
    commands_.reset();
    // '*' before a command: the connection is to go on when the server refuses it.
    switch (request_.kind) {
      case FtpRequest::Kind::Command:
        if (!request_.command.empty()) AddCommand("*" + request_.command);
        Set(CURLOPT_QUOTE, commands_.get());
        Set(CURLOPT_NOBODY, 1L);
        return;
      case FtpRequest::Kind::List:
        isAscii_ = false;  // the library changes modes
        Set(CURLOPT_CUSTOMREQUEST, request_.listCommand.c_str());
        return;
      case FtpRequest::Kind::Store: Set(CURLOPT_UPLOAD, 1L); break;
      case FtpRequest::Kind::Retrieve:
        // The length that the server tells with its reply is that of its own file, without CR.
        Set(CURLOPT_IGNORE_CONTENT_LENGTH, 1L);
        break;
    }
    // The library's own ASCII mode changes line ends on this side too: CR LF to LF on the way here,
    // LF to CR LF on the way out, whatever stands before it. It is kept in binary mode, and the
    // server is told otherwise behind its back, once.
    if (!IsBinary() && !isAscii_) AddCommand("TYPE A");
    if (request_.asksSize) AddCommand("*SIZE " + request_.path);
    Set(CURLOPT_PREQUOTE, commands_.get());
  }

  void AddCommand(const std::string& command) {
    curl_slist* longer = curl_slist_append(commands_.get(), command.c_str());
    if (longer == nullptr) throw std::bad_alloc();
    static_cast<void>(commands_.release());  // the longer one begins with it
    commands_.reset(longer);
  }

  void TakeResult() {
    for (int left = 0; const CURLMsg* message = curl_multi_info_read(multi_.get(), &left);) {
      if (message->msg != CURLMSG_DONE) continue;
      const CURLcode result = message->data.result;
      long systemError = 0;
      curl_easy_getinfo(easy_.get(), CURLINFO_OS_ERRNO, &systemError);
      if (curl_easy_getinfo(easy_.get(), CURLINFO_ACTIVESOCKET, &control_) != CURLE_OK)
        control_ = CURL_SOCKET_BAD;
      curl_multi_remove_handle(multi_.get(), easy_.get());
      isUnderWay_ = false;
      if (result != CURLE_OK && failure_.code == wininet::NoError)
        failure_ = FailureOf(result, systemError, details_, replies_);
      if (result == CURLE_OK) CheckEnd();
      if (result == CURLE_SSL_CONNECT_ERROR) CheckHandshake();
      return;
    }
  }

  /// The library looks after the handshake of a data connection before it reads the server's reply
  /// to the command: a server that says why it hangs up is not heard.
  void CheckHandshake() {
    if (!isLoggedOn_) return;
    isLoggedOn_ = false;
    if (replies_.HasBegunTransfer()) return;
    failure_ = {
        wininet::ExtendedError,
        "the server has hung up before the TLS handshake of the data connection: it refuses " +
            (request_.path.empty() ? "to list the directory" : request_.path)};
  }

  /// What the library takes for a success need not be one.
  void CheckEnd() {
    if (!request_.command.empty() && !replies_.Refusal().empty())
      failure_ = {wininet::ExtendedError, replies_.Refusal()};
    // It can overlook a data connection that comes later than the reply announcing it; the end of
    // the transfer is then still to come, and the connection of no more use.
    if (request_.kind == FtpRequest::Kind::Command) return;
    isAscii_ = request_.kind != FtpRequest::Kind::List && !IsBinary();
    if (FtpCodeOf(replies_.Last()) / 100 != 1) return;
    failure_ = {wininet::ConnectionAborted, "the data connection has not come about"};
    if (control_ != CURL_SOCKET_BAD) ::shutdown(control_, SHUT_RDWR);
    isLoggedOn_ = false;
  }

  void TellWaiter() {
    const auto now = SteadyClock::now();
    if (!onWait_ || now - lastTold_ < std::chrono::milliseconds(kSliceMilliseconds)) return;
    onWait_();
    lastTold_ = SteadyClock::now();
    lastSign_ += lastTold_ - now;  // what that took was no silence of the server
  }

  /// A server may repeat what it was sent. A password that is part of common words would only be
  /// told by hiding it.
  std::string WithoutPassword(std::string line) const {
    constexpr std::size_t kShortest = 4;
    const std::string& password = logon_.password;
    if (isLoggedOn_ || password.size() < kShortest) return line;
    for (std::size_t at = 0; (at = line.find(password, at)) != std::string::npos;)
      line.replace(at, password.size(), "***");
    return line;
  }

  /// A new connection in place of the one that is logged on would be at another directory.
  static std::size_t TakeLine(char* line, std::size_t, std::size_t length, void* self) {
    auto& transfer = *static_cast<CurlTransfer*>(self);
    transfer.lastSign_ = SteadyClock::now();
    transfer.replies_.AddLine(transfer.WithoutPassword({line, length}));
    if (!transfer.isLoggedOn_ || !transfer.replies_.BeginsWithGreeting()) return length;
    transfer.failure_ = {wininet::ConnectionReset, "the server has closed the connection"};
    return 0;
  }

  static std::size_t TakeBytes(char* bytes, std::size_t, std::size_t length, void* self) {
    auto& transfer = *static_cast<CurlTransfer*>(self);
    transfer.lastSign_ = SteadyClock::now();
    if (!transfer.request_.sink) return length;
    switch (transfer.request_.sink({bytes, length})) {
      case FtpFlow::Pause: return CURL_WRITEFUNC_PAUSE;
      case FtpFlow::Stop: return 0;
      case FtpFlow::Go: break;
    }
    return length;
  }

  static std::size_t GiveBytes(char* buffer, std::size_t, std::size_t capacity, void* self) {
    auto& transfer = *static_cast<CurlTransfer*>(self);
    transfer.lastSign_ = SteadyClock::now();
    std::size_t length = 0;
    switch (transfer.request_.source(buffer, capacity, length)) {
      case FtpFlow::Pause: return CURL_READFUNC_PAUSE;
      case FtpFlow::Stop: return CURL_READFUNC_ABORT;
      case FtpFlow::Go: break;
    }
    return length;
  }

  /// The library waits for the answer to its QUIT, minutes if need be: it is asked here, for a
  /// short while, and the line is cut before the library comes to it.
  void HangUp() {
    Abandon();
    if (!isLoggedOn_ || control_ == CURL_SOCKET_BAD) return;
    onWait_ = nullptr;
    patience_ = std::min<SteadyClock::duration>(patience_, std::chrono::seconds(2));
    if (Run({.command = "QUIT"}) && control_ != CURL_SOCKET_BAD) ::shutdown(control_, SHUT_RDWR);
  }

  const FtpSettings settings_;
  const FtpLogon logon_;
  std::function<void()> onWait_;
  FtpRequest request_;
  FtpReplies replies_;
  FtpFailure failure_;
  curl_socket_t control_ = CURL_SOCKET_BAD;  ///< As the last request left it.
  bool isUnderWay_ = false;
  bool isLoggedOn_ = false;
  bool isAscii_ = false;  ///< The server is in ASCII mode, and the library does not know.
  SteadyClock::time_point lastSign_, lastTold_;
  SteadyClock::duration patience_ = std::chrono::seconds(settings_.timeoutSeconds);
  char details_[CURL_ERROR_SIZE] = "";
  // The library may look at these until it is gone: they are destroyed after it.
  Owned<CURLU, curl_url_cleanup> url_;
  Owned<curl_slist, curl_slist_free_all> commands_;
  Owned<CURLM, curl_multi_cleanup> multi_;
  Owned<CURL, curl_easy_cleanup> easy_;
};

}  // namespace

std::unique_ptr<FtpTransfer> NewFtpTransfer(const FtpSettings& settings, const FtpLogon& logon,
                                            std::function<void()> onWait) {
  return std::make_unique<CurlTransfer>(settings, logon, std::move(onWait));
}

}  // namespace torvik
