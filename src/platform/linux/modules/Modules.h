#pragma once

#include <string>

namespace torvik {

/// A function of a module that is loaded for the rest of the run; null, and `reason` set, when that
/// is not there. It is looked for beside the program, then where it is installed.
void* FindInModule(const std::string& file, const char* function, std::string& reason);

/// A room that most runs do without: with its libraries it is a module, loaded at its first use.
struct RoomModule {
  const char* file;      ///< "libtorvik-odbc.so".
  const char* packages;  ///< Those of Debian that have its libraries.
  const char* use;       ///< What cannot be done without it.
};

inline constexpr RoomModule kFtpModule = {"libtorvik-ftp.so", "libcurl4", "data fetched by FTP"};
inline constexpr RoomModule kMailModule = {"libtorvik-mail.so", "libcurl4", "mail"};
inline constexpr RoomModule kPingModule = {"libtorvik-ping.so", "libcurl4",
                                           "calls of monitoring services"};
inline constexpr RoomModule kSmbModule = {"libtorvik-shares-smb.so", "libsmbclient",
                                          "data fetched from Windows shares"};
inline constexpr RoomModule kPostgresModule = {"libtorvik-postgres.so", "libpq5",
                                               "PostgreSQL servers"};
inline constexpr RoomModule kOdbcModule = {"libtorvik-odbc.so", "libodbc2",
                                           "SQL Server and all servers by ODBC"};
inline constexpr RoomModule kRegexModule = {"libtorvik-regex.so", "libpcre2-8-0",
                                            "regular expressions in scripts"};
inline constexpr RoomModule kAccessModule = {"libtorvik-tables-access.so", "libmdb3",
                                             "Access files"};
inline constexpr RoomModule kExcelModule = {"libtorvik-tables-excel.so",
                                            "libgsf-1-114 and libexpat1", "workbooks"};

/// Why a module cannot be loaded, and what to do; empty when it can. It stays loaded.
std::string WhyUnusable(const RoomModule& module);

/// The module's function for `standIn`, a function of the program that has the same name and
/// arguments and needs it for `subject`. Throws PlatformError, which says what to install.
template <class Function>
Function* InModule(const RoomModule& module, Function* standIn, const std::string& subject);

/// The same without its type.
void* FindInModule(const RoomModule& module, void* standIn, const std::string& subject);

template <class Function>
Function* InModule(const RoomModule& module, Function* standIn, const std::string& subject) {
  return reinterpret_cast<Function*>(
      FindInModule(module, reinterpret_cast<void*>(standIn), subject));
}

}  // namespace torvik
