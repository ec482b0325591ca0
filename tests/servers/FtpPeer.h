#pragma once

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace torvik {

/// An FTP server on a loopback port that misbehaves by a script. The first block whose "when" text
/// a command begins with answers it, once when there is another behind it; "when connect" stands
/// for the greeting. Where there is none, a well-behaved server of an empty directory does. Active
/// mode only, one client after the other, which must be gone before the server. The steps of the
/// script are parted by '|':
///
///   when TEXT
///   reply TEXT     a line of a reply
///   data TEXT      over a data connection
///   names COUNT    lines of LIST, likewise
///   end, cut       ends the data connection, properly or by a reset
///   close, reset   ends the control connection likewise
///   wait COUNT     milliseconds
///   hang           says nothing any more
class FtpPeer {
 public:
  explicit FtpPeer(const std::string& script) {
    std::istringstream steps(script);
    for (std::string step; std::getline(steps, step, '|');) {
      const std::size_t blank = std::min(step.find(' '), step.size());
      const std::string text = blank < step.size() ? step.substr(blank + 1) : "";
      if (step.starts_with("when ")) {
        blocks_.push_back({text, {}});
      } else {
        blocks_.back().second.emplace_back(step.substr(0, blank), text);
      }
    }
    sockaddr_in address = Loopback(0);
    socklen_t length = sizeof address;
    bind(server_, reinterpret_cast<sockaddr*>(&address), length);
    listen(server_, 16);
    getsockname(server_, reinterpret_cast<sockaddr*>(&address), &length);
    port_ = ntohs(address.sin_port);
    thread_ = std::thread([this] { Serve(); });
  }
  ~FtpPeer() {
    Commands();
    close(server_);
  }
  FtpPeer(const FtpPeer&) = delete;
  FtpPeer& operator=(const FtpPeer&) = delete;

  std::uint16_t Port() const { return port_; }
  /// The commands that have come. Ends the server when its client has gone.
  const std::vector<std::string>& Commands() {
    shutdown(server_, SHUT_RDWR);
    if (thread_.joinable()) thread_.join();
    return commands_;
  }

 private:
  using Steps = std::vector<std::pair<std::string, std::string>>;

  static sockaddr_in Loopback(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
  }
  static void Reset(int connection) {
    const sockaddr nobody{};
    connect(connection, &nobody, sizeof nobody);
  }
  static void Send(int connection, const std::string& bytes) {
    const int atOnce = 1;
    setsockopt(connection, IPPROTO_TCP, TCP_NODELAY, &atOnce, sizeof atOnce);
    send(connection, bytes.data(), bytes.size(), MSG_NOSIGNAL);
  }
  bool ReceiveLine(std::string& line) const {
    line.clear();
    for (char c; recv(control_, &c, 1, 0) == 1 && c != '\n';)
      if (c != '\r') line += c;
    return !line.empty();
  }

  void Serve() {
    while ((control_ = accept(server_, nullptr, nullptr)) >= 0) {
      for (std::string line = "connect"; Answer(line) && ReceiveLine(line);) {
        commands_.push_back(line);
        std::sscanf(line.c_str(), "EPRT |1|127.0.0.1|%d|", &dataPort_);
      }
      if (data_ >= 0) close(std::exchange(data_, -1));
      close(control_);
    }
  }

  bool Answer(const std::string& command) {
    return std::ranges::all_of(StepsFor(command),
                               [&](const auto& step) { return Act(step.first, step.second); });
  }

  Steps StepsFor(const std::string& command) {
    const auto answers = [&](const auto& block) { return command.starts_with(block.first); };
    if (const auto block = std::ranges::find_if(blocks_, answers); block != blocks_.end()) {
      const Steps steps = block->second;
      if (std::ranges::count_if(blocks_, answers) > 1) blocks_.erase(block);
      return steps;
    }
    const std::string word = command.substr(0, 4);
    if (word == "LIST" || word == "RETR" || word == "STOR")
      return {{"reply", "150 here it is"}, {"data", ""}, {"end", ""}, {"reply", "226 sent"}};
    constexpr std::pair<const char*, const char*> kReplies[] = {
        {"conn", "220 ready"}, {"USER", "331 password"}, {"PASS", "230 in"},
        {"PWD", "257 \"/\""},  {"FEAT", "500 what?"},    {"SIZE", "550 not in ASCII mode"}};
    for (const auto& [known, reply] : kReplies)
      if (word == known) return {{"reply", reply}};
    return {{"reply", "200 done"}};
  }

  bool Act(const std::string& step, const std::string& text) {
    if (step == "reply") Send(control_, text + "\r\n");
    if (step == "data") SendData(text);
    if (step == "wait") std::this_thread::sleep_for(std::chrono::milliseconds(std::stoi(text)));
    for (int i = 0; step == "names" && i < std::stoi(text); ++i)
      SendData("-rw-r--r-- 1 o g 5 Jan  8 10:20 file " + std::to_string(i) + "\r\n");
    if (step == "cut") Reset(data_);
    if (step == "end" || step == "cut") close(std::exchange(data_, -1));
    if (step == "close") shutdown(control_, SHUT_RDWR);
    if (step == "reset") Reset(control_);
    for (std::string line; step == "hang" && ReceiveLine(line);) continue;
    return step != "close" && step != "reset" && step != "hang";
  }

  void SendData(const std::string& bytes) {
    if (data_ < 0) {
      data_ = socket(AF_INET, SOCK_STREAM, 0);
      const sockaddr_in address = Loopback(dataPort_);
      connect(data_, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    }
    Send(data_, bytes);
  }

  const int server_ = socket(AF_INET, SOCK_STREAM, 0);
  int control_ = -1, data_ = -1, dataPort_ = 0;
  std::uint16_t port_ = 0;
  std::vector<std::pair<std::string, Steps>> blocks_;
  std::vector<std::string> commands_;
  std::thread thread_;
};

}  // namespace torvik
