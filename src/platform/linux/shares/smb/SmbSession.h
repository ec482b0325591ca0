#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "platform/linux/settings/Settings.h"
#include "platform/linux/settings/SmbLogon.h"
#include "platform/linux/system/CopyFiles.h"

namespace torvik {

/// An open file of a server; its session must live as long.
class SmbFile : public SourceFile {
 public:
  /// Writes all of `bytes`.
  virtual std::error_code Write(std::string_view bytes) = 0;
  /// The error of closing may be that of a write.
  virtual std::error_code Close() = 0;
};

/// The shares of one server over SMB 2 or 3. A connection is made at the first call for a share.
/// Paths are "share/directory/file" in UTF-8. Errors are those of the system; a refused logon is
/// operation_not_permitted. Only one thread of a process uses sessions, also those of several
/// servers: the library has one stack of memory for all threads, which several destroy at once, and
/// Debian's lacks smbc_thread_posix, which its header declares. Whoever wants several connections
/// at once wants several processes (SmbReaders).
class SmbSession {
 public:
  virtual ~SmbSession() = default;
  virtual std::error_code Stat(const std::string& path, bool& isDirectory) = 0;
  /// The plain files of a directory, in the server's order.
  virtual std::error_code List(const std::string& path,
                               std::vector<SourceDirectory::Entry>& files) = 0;
  /// The names of the directories in a directory, in the server's order; those of the system left
  /// out.
  virtual std::error_code ListFolders(const std::string& path, std::vector<std::string>& names) = 0;
  virtual std::unique_ptr<SmbFile> OpenToRead(const std::string& path, std::error_code& error) = 0;
  /// Makes the file, or empties it.
  virtual std::unique_ptr<SmbFile> OpenToReplace(const std::string& path,
                                                 std::error_code& error) = 0;
};

/// Throws PlatformError when the library cannot be used.
std::unique_ptr<SmbSession> NewSmbSession(const std::string& server, const SmbSettings& settings,
                                          const SmbLogon& logon);

}  // namespace torvik
