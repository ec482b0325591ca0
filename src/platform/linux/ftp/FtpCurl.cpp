#include "platform/linux/ftp/FtpCurl.h"

#include <sys/stat.h>

#include <algorithm>
#include <deque>
#include <map>
#include <variant>
#include <vector>

#include "platform/Text.h"
#include "platform/linux/ftp/FtpConnection.h"
#include "platform/linux/settings/Secret.h"
#include "platform/linux/system/Arrivals.h"
#include "platform/linux/system/FetchCounter.h"
#include "platform/linux/system/Posix.h"

namespace torvik {
namespace {

using wininet::FindData;
using wininet::Handle;

constexpr mode_t kNewFileMode = 0644;

constexpr const char* kAnonymous = "anonymous";

struct Internet {};
struct Connection {
  Handle internet;
  std::unique_ptr<FtpConnection> ftp;
  Handle openFile = 0;  ///< The one that the connection serves.
  Handle listing = 0;   ///< Whose files are being fetched.
};
struct File {
  Handle connection;
  wininet::FileAccess access;
};
struct Listing {
  Handle connection;
  std::deque<FindData> entries;
  std::unique_ptr<Arrivals> arrivals = std::make_unique<Arrivals>();
};

bool HasControlCharacter(std::string_view text) {
  return std::ranges::any_of(text, [](char c) { return (c >= 0 && c < ' ') || c == 0x7f; });
}

class FtpCurl final : public wininet::Client {
 public:
  FtpCurl(const FtpSettings& settings, const PathMap& paths, const CodePage& ansi,
          std::function<void()> onWait, FetchObserver onFetch)
      : settings_(settings),
        paths_(paths),
        ansi_(ansi),
        onWait_(std::move(onWait)),
        fetched_(std::move(onFetch)) {}

  Handle InternetOpenA(const std::string&) override { return Succeed(), Make(Internet{}); }

  Handle InternetConnectA(Handle internet, const std::string& server, std::uint16_t port,
                          const std::string& user, const std::string& password) override {
    if (!Find<Internet>(internet)) return 0;
    const bool isDefault = port == wininet::kDefaultFtpPort;
    FtpLogon logon{server, isDefault ? static_cast<std::uint16_t>(settings_.port) : port};
    if (HasControlCharacter(server))
      return Fail(wininet::NameNotResolved, "the server's name has a control character");
    LogonSettings own;
    std::string ownPassword;
    if (const std::string problem = FindOwnLogon(server, own, ownPassword); !problem.empty())
      return Fail(wininet::LoginFailure, problem);
    const bool isOwn = !own.user.empty();
    const std::string& name = isOwn ? own.user : user.empty() ? kAnonymous : user;
    if (!EncodeText(name, logon.user) ||
        !EncodeText(isOwn ? ownPassword : password, logon.password))
      return Fail(wininet::LoginFailure,
                  "user or password has a character that cannot be sent to " + server);
    auto ftp =
        std::make_unique<FtpConnection>(NewFtpTransfer(settings_, logon, onWait_), settings_.type);
    if (!Keep(*ftp, ftp->LogOn())) return 0;
    return Make(Connection{internet, std::move(ftp)});
  }

  void InternetCloseHandle(Handle handle) override {
    const auto found = handles_.find(handle);
    if (found == handles_.end()) return;
    if (std::holds_alternative<File>(found->second)) CloseFile(handle);
    for (const Handle below : Below(handle)) InternetCloseHandle(below);
    handles_.erase(handle);
  }

  bool FtpSetCurrentDirectoryA(Handle connection, const std::string& directory) override {
    std::string path;
    FtpConnection* ftp = Use(connection, directory, path);
    return ftp && Keep(*ftp, ftp->ChangeDirectory(path));
  }

  Handle FtpOpenFileA(Handle connection, const std::string& name,
                      wininet::FileAccess access) override {
    std::string path;
    FtpConnection* ftp = UseFile(connection, name, path);
    const bool isRead = access == wininet::FileAccess::Read;
    if (!ftp || !Keep(*ftp, isRead ? ftp->OpenRead(path) : ftp->OpenWrite(path))) return 0;
    return std::get<Connection>(handles_.at(connection)).openFile = Make(File{connection, access});
  }

  bool InternetReadFile(Handle file, std::size_t limit, std::string& text) override {
    FtpConnection* ftp = UseOpen(file, wininet::FileAccess::Read);
    return ftp && Keep(*ftp, ftp->Read(limit, text));
  }

  bool InternetWriteFile(Handle file, std::string_view bytes) override {
    FtpConnection* ftp = UseOpen(file, wininet::FileAccess::Write);
    return ftp && Keep(*ftp, ftp->Write(bytes));
  }

  bool FtpGetFileA(Handle connection, const std::string& remotePath,
                   const std::string& localPath) override {
    std::string path;
    FtpConnection* ftp = UseFile(connection, remotePath, path);
    if (!ftp) return false;
    std::error_code error;
    const std::string target = paths_.ToLinux(localPath, error);
    FileReplacement local;
    if (error || (error = MayBeReplaced(target)) || (error = local.Open(target, kNewFileMode)))
      return FailLocally(localPath, error);
    fetched_.BeginFile(remotePath);
    const bool hasCome = ftp->Retrieve(path, [&](std::string_view bytes) {
      fetched_.Add(bytes.size());
      return !(error = local.Write(bytes));
    });
    if (error) return FailLocally(localPath, error);
    if (!Keep(*ftp, hasCome)) return NameFile(remotePath);
    fetched_.EndFile();
    if (const auto listing = handles_.find(std::get<Connection>(handles_.at(connection)).listing);
        listing != handles_.end())
      return Arrived(std::get<Listing>(listing->second).arrivals->Take(std::move(local)));
    return !(error = local.Commit()) || FailLocally(localPath, error);
  }

  bool FtpDeleteFileA(Handle connection, const std::string& name) override {
    std::string path;
    FtpConnection* ftp = UseFile(connection, name, path);
    return ftp && Keep(*ftp, ftp->Delete(path));
  }

  Handle FtpFindFirstFileA(Handle connection, FindData& found) override {
    FtpConnection* ftp = Use(connection);
    Listing listing{connection, {}};
    fetched_.BeginDirectory();
    if (!ftp || !Keep(*ftp, ftp->List(listing.entries)) || !Next(listing, found)) return 0;
    return std::get<Connection>(handles_.at(connection)).listing = Make(std::move(listing));
  }

  bool InternetFindNextFileA(Handle handle, FindData& found) override {
    Listing* listing = Find<Listing>(handle);
    return listing && Next(*listing, found);
  }

  std::uint32_t GetLastError() const override { return code_; }
  bool InternetGetLastResponseInfoA(std::string& text) const override {
    text = words_;
    return true;
  }

 private:
  using Object = std::variant<Internet, Connection, File, Listing>;

  void Succeed() { code_ = wininet::NoError; }
  bool Fail(std::uint32_t code, const std::string& words) {
    code_ = code;
    words_ = words;
    return false;
  }
  bool FailLocally(const std::string& path, const std::error_code& error) {
    return Fail(wininet::ExtendedError, path + ": " + error.message());
  }
  /// What a server says of a failure seldom names the file.
  bool NameFile(const std::string& path) {
    if (!words_.starts_with(path)) words_ = path + ": " + words_;
    return false;
  }
  bool Arrived(const Arrivals::Failure& failure) {
    return !failure || FailLocally(failure.path, failure.error);
  }
  /// Keeps how a request went; the words are for whoever asks, after a success too.
  bool Keep(const FtpConnection& ftp, bool isGood) {
    const FtpFailure& failure = ftp.Failure();
    if (!isGood) return Fail(failure.code, ansi_.Decode(failure.words));
    words_ = ansi_.Decode(ftp.LastResponse());
    return true;
  }

  Handle Make(Object object) {
    do {
      ++lastHandle_;
    } while (lastHandle_ == 0 || handles_.contains(lastHandle_));
    handles_.emplace(lastHandle_, std::move(object));
    return lastHandle_;
  }

  template <class T>
  T* Find(Handle handle) {
    Succeed();
    const auto found = handles_.find(handle);
    T* object = found == handles_.end() ? nullptr : std::get_if<T>(&found->second);
    if (object == nullptr) Fail(wininet::IncorrectHandleType, "the handle is not of this kind");
    return object;
  }

  /// The handles that were opened with this one.
  std::vector<Handle> Below(Handle handle) const {
    std::vector<Handle> below;
    for (const auto& [other, object] : handles_) {
      const auto* connection = std::get_if<Connection>(&object);
      const auto* file = std::get_if<File>(&object);
      const auto* listing = std::get_if<Listing>(&object);
      if ((connection && connection->internet == handle) || (file && file->connection == handle) ||
          (listing && listing->connection == handle))
        below.push_back(other);
    }
    return below;
  }

  FtpConnection* Use(Handle handle) {
    Connection* connection = Find<Connection>(handle);
    if (!connection) return nullptr;
    connection->openFile = 0;  // whatever is asked next ends its transfer
    return connection->ftp.get();
  }

  FtpConnection* Use(Handle handle, const std::string& name, std::string& path) {
    FtpConnection* ftp = Use(handle);
    if (!ftp) return nullptr;
    if (!name.empty() && EncodeText(name, path)) return ftp;
    Fail(wininet::ExtendedError,
         "\"" + name + "\" cannot be sent to the server: it is empty, or has a control character " +
             "or one that the code page lacks");
    return nullptr;
  }

  FtpConnection* UseFile(Handle handle, const std::string& name, std::string& path) {
    FtpConnection* ftp = Use(handle, name, path);
    if (!ftp || !path.ends_with('/')) return ftp;
    Fail(wininet::ExtendedError, name + ": this is the name of a directory, not of a file");
    return nullptr;
  }

  FtpConnection* UseOpen(Handle handle, wininet::FileAccess access) {
    const File* file = Find<File>(handle);
    if (!file) return nullptr;
    const Connection& connection = std::get<Connection>(handles_.at(file->connection));
    if (file->access == access && connection.openFile == handle) return connection.ftp.get();
    Fail(wininet::IncorrectHandleType, "the file is not open for this");
    return nullptr;
  }

  void CloseFile(Handle handle) {
    Connection& connection =
        std::get<Connection>(handles_.at(std::get<File>(handles_.at(handle)).connection));
    if (connection.openFile != handle) return;
    connection.openFile = 0;
    Succeed();
    Keep(*connection.ftp, connection.ftp->CloseFile());
  }

  /// The logon that the settings have for this server; without a user when there is none. Answers
  /// what is wrong with its password.
  std::string FindOwnLogon(const std::string& server, LogonSettings& logon,
                           std::string& password) const {
    const auto found = settings_.logons.find(LowerAscii(server));
    if (found == settings_.logons.end()) return {};
    logon = found->second;
    if (logon.password.IsEmpty()) return {};
    const std::string problem = ReadSecret(logon.password, password);
    return problem.empty() ? "" : "[ftp " + server + "]: " + problem;
  }

  /// The bytes that are sent; false for what would not arrive as it is.
  bool EncodeText(const std::string& text, std::string& bytes) const {
    bytes = ansi_.Encode(text);
    return !HasControlCharacter(bytes) && ansi_.Decode(bytes) == text;
  }

  bool Next(Listing& listing, FindData& found) {
    if (listing.entries.empty()) {
      fetched_.EndDirectory();
      return Arrived(listing.arrivals->Finish()) &&
             Fail(wininet::NoMoreFiles, "there are no more files");
    }
    found = std::move(listing.entries.front());
    found.fileName = ansi_.Decode(found.fileName);
    listing.entries.pop_front();
    return true;
  }

  const FtpSettings settings_;
  const PathMap paths_;
  const CodePage& ansi_;
  const std::function<void()> onWait_;
  FetchCounter fetched_;
  std::map<Handle, Object> handles_;
  Handle lastHandle_ = 0;
  std::uint32_t code_ = wininet::NoError;
  std::string words_;
};

}  // namespace

std::unique_ptr<wininet::Client> NewFtpCurl(const FtpSettings& settings, const PathMap& paths,
                                            const CodePage& ansi, std::function<void()> onWait,
                                            FetchObserver onFetch) {
  return std::make_unique<FtpCurl>(settings, paths, ansi, std::move(onWait), std::move(onFetch));
}

}  // namespace torvik
