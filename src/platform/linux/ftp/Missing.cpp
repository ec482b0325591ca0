// Stands for the room in a build without libcurl.

#include "platform/linux/ftp/FtpCurl.h"
#include "platform/linux/text/MissingLibrary.h"

namespace torvik {
namespace {

class NoFtp final : public wininet::Client {
 public:
  wininet::Handle InternetOpenA(const std::string&) override { return 0; }
  wininet::Handle InternetConnectA(wininet::Handle, const std::string&, std::uint16_t,
                                   const std::string&, const std::string&) override {
    return 0;
  }
  void InternetCloseHandle(wininet::Handle) override {}
  bool FtpSetCurrentDirectoryA(wininet::Handle, const std::string&) override { return false; }
  wininet::Handle FtpOpenFileA(wininet::Handle, const std::string&, wininet::FileAccess) override {
    return 0;
  }
  bool InternetReadFile(wininet::Handle, std::size_t, std::string&) override { return false; }
  bool InternetWriteFile(wininet::Handle, std::string_view) override { return false; }
  bool FtpGetFileA(wininet::Handle, const std::string&, const std::string&) override {
    return false;
  }
  bool FtpDeleteFileA(wininet::Handle, const std::string&) override { return false; }
  wininet::Handle FtpFindFirstFileA(wininet::Handle, wininet::FindData&) override { return 0; }
  bool InternetFindNextFileA(wininet::Handle, wininet::FindData&) override { return false; }
  std::uint32_t GetLastError() const override { return wininet::ExtendedError; }
  bool InternetGetLastResponseInfoA(std::string& text) const override {
    text = NotInThisBuild("FTP servers", "be reached", "libcurl");
    return true;
  }
};

}  // namespace

std::unique_ptr<wininet::Client> NewFtpCurl(const FtpSettings&, const PathMap&, const CodePage&,
                                            std::function<void()>, FetchObserver) {
  return std::make_unique<NoFtp>();
}

}  // namespace torvik
