#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// The FTP client of the Windows Internet functions, as far as the system uses it. Functions and
/// codes are those of the published interface. Texts are UTF-8; paths are the server's own
/// spelling.
namespace torvik::wininet {

/// An open session, connection, file or listing; 0 is none. Closing a handle closes what was opened
/// with it. A handle that is closed, or of another kind than the function is for, is
/// IncorrectHandleType.
using Handle = std::uint32_t;

/// GetLastError after a call that failed.
enum ErrorCode : std::uint32_t {
  NoError = 0,
  NoMoreFiles = 18,
  Timeout = 12002,
  ExtendedError = 12003,  ///< Refused, by the server or on this side, for the reason that
                          ///< InternetGetLastResponseInfoA gives.
  NameNotResolved = 12007,
  IncorrectPassword = 12014,
  LoginFailure = 12015,
  OperationCancelled = 12017,
  IncorrectHandleType = 12018,
  CannotConnect = 12029,
  ConnectionAborted = 12030,
  ConnectionReset = 12031,
};

enum class FileAccess : std::uint32_t { Read = 0x80000000, Write = 0x40000000 };

inline constexpr std::uint32_t kDirectoryAttribute = 16;

inline constexpr std::uint16_t kDefaultFtpPort = 21;

/// One entry of a listing.
struct FindData {
  std::string fileName;  ///< Without a directory.
  std::uint32_t attributes = 0;
};

/// What fails answers 0 or false and leaves its reason in GetLastError.
class Client {
 public:
  virtual ~Client() = default;

  virtual Handle InternetOpenA(const std::string& agent) = 0;
  /// Connects and logs on; an empty user is "anonymous". The default port is the one that the
  /// machine's settings name.
  virtual Handle InternetConnectA(Handle internet, const std::string& server, std::uint16_t port,
                                  const std::string& user, const std::string& password) = 0;
  virtual void InternetCloseHandle(Handle handle) = 0;

  virtual bool FtpSetCurrentDirectoryA(Handle connection, const std::string& directory) = 0;

  /// Opens a file of the server in ASCII mode: its bytes are those of the wire, where CR LF ends a
  /// line. A file that is opened for writing is made, or emptied, at once, and complete when its
  /// handle is closed. A connection serves one open file: any other use of it ends that file.
  virtual Handle FtpOpenFileA(Handle connection, const std::string& path, FileAccess access) = 0;
  /// Reads `limit` bytes into `text`, fewer at the end of the file, then none. No more of the file
  /// is fetched than that takes.
  virtual bool InternetReadFile(Handle file, std::size_t limit, std::string& text) = 0;
  virtual bool InternetWriteFile(Handle file, std::string_view bytes) = 0;

  /// Downloads a file in ASCII mode in place of the local one, which stays as it is until all of
  /// the new one has come and is on disk. While a listing of the connection is open that may be
  /// later, but before the listing says NoMoreFiles; its next call then tells the failure.
  virtual bool FtpGetFileA(Handle connection, const std::string& remotePath,
                           const std::string& localPath) = 0;
  virtual bool FtpDeleteFileA(Handle connection, const std::string& path) = 0;

  /// Lists the current directory, in the server's order. NoMoreFiles when there is nothing in it.
  virtual Handle FtpFindFirstFileA(Handle connection, FindData& found) = 0;
  /// NoMoreFiles at the end.
  virtual bool InternetFindNextFileA(Handle listing, FindData& found) = 0;

  virtual std::uint32_t GetLastError() const = 0;
  /// After ExtendedError its reason, the server's own lines where it is the server's; after other
  /// failures some words about them; after a success what the server said last.
  virtual bool InternetGetLastResponseInfoA(std::string& text) const = 0;
};

}  // namespace torvik::wininet
