#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace torvik {

class CodePages;
class Files;

namespace engine {

struct ConnectionSettings;

/// What files are read with.
struct FileServices {
  Files& files;
  const CodePages& codePages;
};

/// The names and values of an OLE DB initialisation string: "a=b;c=\"d;e\"", where a value may
/// stand in quotes of either kind, in which it is doubled.
std::vector<std::pair<std::string, std::string>> InitialisationEntries(std::string_view text);

/// Puts what a data link file (.udl), or a file data source of ODBC (.dsn), says into `settings`:
/// its provider, and those of its properties that the provider has here; what it does not say
/// stays. The file holds an OLE DB initialisation string, "Provider=SQLOLEDB.1;Data Source=S;...",
/// below "[oledb]", in UTF-16 with a byte-order mark or in the system's code page; a file data
/// source has the section [ODBC], with SERVER, DATABASE and so on. Throws PlatformError, with the
/// path, when it cannot be read or has no such line; no message holds what is in it.
void ReadDataLinkFile(const FileServices& services, const std::string& path,
                      ConnectionSettings& settings);

}  // namespace engine
}  // namespace torvik
