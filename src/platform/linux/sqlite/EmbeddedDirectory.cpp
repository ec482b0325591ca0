#include "platform/linux/sqlite/EmbeddedDirectory.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

#include "platform/PlatformError.h"
#include "platform/Text.h"
#include "platform/linux/system/DirectoryEntries.h"

namespace torvik {
namespace {

constexpr const char* kDirectorySource = "embedded server";
constexpr const char* kExtension = ".db";

std::vector<EmbeddedDatabase> List(const std::string& directory, std::error_code& error) {
  std::vector<EmbeddedDatabase> databases;
  for (const std::string& name : DirectoryEntries(directory, error)) {
    const std::filesystem::path path = std::filesystem::path(directory) / name;
    std::error_code unknownKind;
    if (path.extension() == kExtension && UnfitDatabaseName(path.stem()).empty() &&
        std::filesystem::is_regular_file(path, unknownKind))
      databases.push_back({path.stem(), path});
  }
  std::ranges::sort(databases, {}, &EmbeddedDatabase::name);
  return databases;
}

PlatformError UnreadableServer(const std::string& directory, const std::string& name,
                               std::error_code reason) {
  return PlatformError(reason.value(),
                       "no such database: " + name + ": the directory " + directory +
                           " of the embedded server cannot be read: " + reason.message() +
                           "; \"torvik-admin server init\" makes a server",
                       kDirectorySource);
}

PlatformError NoSuchDatabase(const std::string& directory, const std::string& name,
                             const std::vector<EmbeddedDatabase>& databases) {
  std::string names;
  for (const EmbeddedDatabase& database : databases)
    names += (names.empty() ? "" : ", ") + database.name;
  return PlatformError(0,
                       "no such database: " + name + ": the directory " + directory +
                           " has no file " + name + kExtension +
                           "; its databases are: " + (names.empty() ? "none" : names),
                       kDirectorySource);
}

}  // namespace

std::string UnfitDatabaseName(const std::string& name) {
  constexpr std::size_t kLongest = 123;
  const auto isUnfit = [](char c) {
    return static_cast<unsigned char>(c) < ' ' || c == 0x7F ||
           std::string_view("/\\\"'`[]:;*?<>|").find(c) != std::string_view::npos;
  };
  if (name.empty()) return "it is empty";
  if (name.size() > kLongest) return "it has more than " + std::to_string(kLongest) + " bytes";
  if (std::ranges::any_of(name, isUnfit))
    return "it has a control character or one of / \\ \" ' ` [ ] : ; * ? < > |";
  if (name.front() == '.' || name.front() == ' ' || name.back() == ' ')
    return "it begins with a point or a blank, or ends with a blank";
  if (EqualsIgnoringCase(name, "main") || EqualsIgnoringCase(name, "temp"))
    return "SQLite keeps that name for itself";
  return "";
}

std::vector<EmbeddedDatabase> EmbeddedDatabases(const std::string& directory) {
  std::error_code unreadable;
  return List(directory, unreadable);
}

EmbeddedDatabase RequireEmbeddedDatabase(const std::string& directory, const std::string& name) {
  std::error_code error;
  const std::vector<EmbeddedDatabase> databases = List(directory, error);
  if (error) throw UnreadableServer(directory, name, error);
  for (const bool exact : {true, false})
    for (const EmbeddedDatabase& database : databases)
      if (exact ? database.name == name : EqualsIgnoringCase(database.name, name)) return database;
  throw NoSuchDatabase(directory, name, databases);
}

}  // namespace torvik
