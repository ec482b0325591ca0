// Stands for the room in the programs, which load it when the FTP client is first opened.

#include <utility>

#include "platform/PlatformError.h"
#include "platform/linux/ftp/FtpCurl.h"
#include "platform/linux/modules/Modules.h"

namespace torvik {
namespace {

using wininet::Handle;

/// No handle but of the client: without one every call fails, for the reason that there is none.
class LateFtp final : public wininet::Client {
 public:
  using Make = std::function<std::unique_ptr<wininet::Client>()>;
  explicit LateFtp(Make make) : make_(std::move(make)) {}

  Handle InternetOpenA(const std::string& agent) override {
    try {
      if (!client_) client_ = make_();
    } catch (const PlatformError& error) {
      reason_ = error.Description();
      return 0;
    }
    return client_->InternetOpenA(agent);
  }
  Handle InternetConnectA(Handle internet, const std::string& server, std::uint16_t port,
                          const std::string& user, const std::string& password) override {
    return client_ ? client_->InternetConnectA(internet, server, port, user, password) : 0;
  }
  void InternetCloseHandle(Handle handle) override {
    if (client_) client_->InternetCloseHandle(handle);
  }
  bool FtpSetCurrentDirectoryA(Handle connection, const std::string& directory) override {
    return client_ && client_->FtpSetCurrentDirectoryA(connection, directory);
  }
  Handle FtpOpenFileA(Handle connection, const std::string& path,
                      wininet::FileAccess access) override {
    return client_ ? client_->FtpOpenFileA(connection, path, access) : 0;
  }
  bool InternetReadFile(Handle file, std::size_t limit, std::string& text) override {
    return client_ && client_->InternetReadFile(file, limit, text);
  }
  bool InternetWriteFile(Handle file, std::string_view bytes) override {
    return client_ && client_->InternetWriteFile(file, bytes);
  }
  bool FtpGetFileA(Handle connection, const std::string& remotePath,
                   const std::string& localPath) override {
    return client_ && client_->FtpGetFileA(connection, remotePath, localPath);
  }
  bool FtpDeleteFileA(Handle connection, const std::string& path) override {
    return client_ && client_->FtpDeleteFileA(connection, path);
  }
  Handle FtpFindFirstFileA(Handle connection, wininet::FindData& found) override {
    return client_ ? client_->FtpFindFirstFileA(connection, found) : 0;
  }
  bool InternetFindNextFileA(Handle listing, wininet::FindData& found) override {
    return client_ && client_->InternetFindNextFileA(listing, found);
  }
  std::uint32_t GetLastError() const override {
    return client_ ? client_->GetLastError() : static_cast<std::uint32_t>(wininet::ExtendedError);
  }
  bool InternetGetLastResponseInfoA(std::string& text) const override {
    if (client_) return client_->InternetGetLastResponseInfoA(text);
    text = reason_;
    return true;
  }

 private:
  const Make make_;
  std::unique_ptr<wininet::Client> client_;
  std::string reason_;
};

}  // namespace

std::unique_ptr<wininet::Client> NewFtpCurl(const FtpSettings& settings, const PathMap& paths,
                                            const CodePage& ansi, std::function<void()> onWait,
                                            FetchObserver onFetch) {
  return std::make_unique<LateFtp>(
      [settings, paths, &ansi, onWait = std::move(onWait), onFetch = std::move(onFetch)] {
        return InModule(kFtpModule, &NewFtpCurl, "FTP")(settings, paths, ansi, onWait, onFetch);
      });
}

}  // namespace torvik
