#pragma once

#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/WinInet.h"

namespace torvik {

/// An FTP server in memory. Relative paths begin at the current directory, which is "/" after the
/// logon; doubled slashes count as one. Downloads come to `downloaded`, not to the disk.
struct FakeWinInet final : wininet::Client {
  using Handle = wininet::Handle;
  struct Failure {
    std::uint32_t code;
    std::string response = {};  ///< The server's words, for ExtendedError.
  };

  std::map<std::string, std::string> files;  ///< By path from the root: "/in/status".
  std::set<std::string> directories;         ///< Likewise; those of files need not be here.
  std::set<std::string> readOnly;            ///< Directories in which nothing can be written.
  std::map<std::string, std::string> users;  ///< Passwords by name; when empty, anyone may log on.
  std::map<std::string, std::string> downloaded;  ///< By local path, as it was asked for.
  /// "Open Torvik", "Connect server:21 user", "Close file", "SetDirectory in/", "OpenRead
  /// in/status", "OpenWrite in/status", "Read", "Write idle", "Get in//a to C:/in/a", "Delete
  /// in/a", "FindFirst", "FindNext". Paths as they were asked for.
  std::vector<std::string> calls;
  std::function<void()> onWait;            ///< Called as if a file took its time.
  std::map<std::string, Failure> failing;  ///< All calls that begin like this fail.

  std::size_t OpenHandles() const { return handles_.size(); }

  Handle InternetOpenA(const std::string& agent) override {
    return Begin("Open " + agent) ? Make({"internet"}) : 0;
  }
  Handle InternetConnectA(Handle internet, const std::string& server, std::uint16_t port,
                          const std::string& user, const std::string& password) override {
    if (!Begin("Connect " + server + ":" + std::to_string(port) + " " + user, internet, "internet"))
      return 0;
    const auto known = users.find(user.empty() ? "anonymous" : user);
    if (!users.empty() && (known == users.end() || known->second != password))
      return Fail({wininet::IncorrectPassword, "530 Login incorrect."});
    return Make({"connection", internet, "/"});
  }
  void InternetCloseHandle(Handle handle) override {
    const auto found = handles_.find(handle);
    if (found == handles_.end()) return;
    const Object object = found->second;
    calls.push_back("Close " + object.kind);
    if (object.kind == "write") files[object.path] = object.content;
    std::erase_if(handles_, [&](const auto& entry) {
      return entry.first == handle || entry.second.parent == handle ||
             (handles_.contains(entry.second.parent) &&
              handles_[entry.second.parent].parent == handle);
    });
  }

  bool FtpSetCurrentDirectoryA(Handle connection, const std::string& directory) override {
    if (!Begin("SetDirectory " + directory, connection, "connection")) return false;
    const std::string path = Resolve(connection, directory);
    if (!HasDirectory(path)) return Fail(NotFound(directory));
    handles_[connection].path = path;
    return true;
  }
  Handle FtpOpenFileA(Handle connection, const std::string& path,
                      wininet::FileAccess access) override {
    const bool isRead = access == wininet::FileAccess::Read;
    if (!Begin((isRead ? "OpenRead " : "OpenWrite ") + path, connection, "connection")) return 0;
    const std::string full = Resolve(connection, path);
    if (isRead && !files.contains(full)) return Fail(NotFound(path));
    if (!isRead && !CanWrite(full)) return Fail(Denied(path));
    return Make({isRead ? "read" : "write", connection, full, isRead ? files[full] : ""});
  }
  bool InternetReadFile(Handle file, std::size_t limit, std::string& text) override {
    if (!Begin("Read", file, "read")) return false;
    std::string& content = handles_[file].content;
    text = content.substr(0, limit);
    content.erase(0, limit);
    return true;
  }
  bool InternetWriteFile(Handle file, std::string_view bytes) override {
    if (!Begin("Write " + std::string(bytes), file, "write")) return false;
    handles_[file].content += bytes;
    return true;
  }
  bool FtpGetFileA(Handle connection, const std::string& remotePath,
                   const std::string& localPath) override {
    if (!Begin("Get " + remotePath + " to " + localPath, connection, "connection")) return false;
    if (onWait) onWait();
    const auto found = files.find(Resolve(connection, remotePath));
    if (found == files.end()) return Fail(NotFound(remotePath));
    downloaded[localPath] = found->second;
    return true;
  }
  bool FtpDeleteFileA(Handle connection, const std::string& path) override {
    if (!Begin("Delete " + path, connection, "connection")) return false;
    const std::string full = Resolve(connection, path);
    if (!files.contains(full)) return Fail(NotFound(path));
    if (!CanWrite(full)) return Fail(Denied(path));
    files.erase(full);
    return true;
  }
  Handle FtpFindFirstFileA(Handle connection, wininet::FindData& found) override {
    if (!Begin("FindFirst", connection, "connection")) return 0;
    const Handle listing =
        Make({"listing", connection, "", "", Entries(handles_[connection].path)});
    if (Next(listing, found)) return listing;
    handles_.erase(listing);
    return 0;
  }
  bool InternetFindNextFileA(Handle listing, wininet::FindData& found) override {
    return Begin("FindNext", listing, "listing") && Next(listing, found);
  }

  std::uint32_t GetLastError() const override { return last_.code; }
  bool InternetGetLastResponseInfoA(std::string& text) const override {
    text = last_.response;
    return true;
  }

 private:
  struct Object {
    std::string kind;
    Handle parent = 0;
    std::string path = {};     ///< The current directory of a connection.
    std::string content = {};  ///< What is left to read, or was written.
    std::vector<wininet::FindData> entries = {};
    std::size_t next = 0;
  };

  static Failure NotFound(const std::string& path) {
    return {wininet::ExtendedError, "550 " + path + ": No such file or directory."};
  }
  static Failure Denied(const std::string& path) {
    return {wininet::ExtendedError, "550 " + path + ": Permission denied."};
  }

  bool Begin(const std::string& call) {
    calls.push_back(call);
    last_ = {wininet::NoError};
    for (const auto& [beginning, failure] : failing)
      if (call.starts_with(beginning)) return Fail(failure);
    return true;
  }
  bool Fail(Failure failure) {
    last_ = std::move(failure);
    return false;
  }
  bool Begin(const std::string& call, Handle handle, const std::string& kind) {
    if (!Begin(call)) return false;
    const auto found = handles_.find(handle);
    if (found != handles_.end() && found->second.kind == kind) return true;
    return Fail({wininet::IncorrectHandleType});
  }
  Handle Make(Object object) {
    handles_[++lastHandle_] = std::move(object);
    return lastHandle_;
  }

  std::string Resolve(Handle connection, const std::string& path) {
    const std::string whole = path.starts_with('/') ? path : handles_[connection].path + "/" + path;
    std::string full;
    for (const char c : whole)
      if (c != '/' || !full.ends_with('/')) full += c;
    if (full.size() > 1 && full.ends_with('/')) full.pop_back();
    return full;
  }
  static std::string ParentOf(const std::string& path) {
    return path.substr(0, std::max<std::size_t>(path.rfind('/'), 1));
  }
  bool HasDirectory(const std::string& path) const {
    const std::string below = path == "/" ? path : path + "/";
    const auto isBelow = [&](const std::string& name) { return name.starts_with(below); };
    for (const auto& [name, content] : files)
      if (isBelow(name)) return true;
    for (const auto& name : directories)
      if (name == path || isBelow(name)) return true;
    return path == "/";
  }
  bool CanWrite(const std::string& path) const {
    return HasDirectory(ParentOf(path)) && !readOnly.contains(ParentOf(path)) &&
           !HasDirectory(path);
  }
  std::vector<wininet::FindData> Entries(const std::string& directory) const {
    std::vector<wininet::FindData> entries;
    for (const auto& path : directories)
      if (path != directory && ParentOf(path) == directory)
        entries.push_back({path.substr(path.rfind('/') + 1), wininet::kDirectoryAttribute});
    for (const auto& [path, content] : files)
      if (ParentOf(path) == directory) entries.push_back({path.substr(path.rfind('/') + 1)});
    return entries;
  }
  bool Next(Handle listing, wininet::FindData& found) {
    Object& object = handles_[listing];
    if (object.next == object.entries.size()) return Fail({wininet::NoMoreFiles});
    found = object.entries[object.next++];
    return true;
  }

  std::map<Handle, Object> handles_;
  Handle lastHandle_ = 0;
  Failure last_{wininet::NoError};
};

}  // namespace torvik
