#pragma once

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "platform/Files.h"

namespace torvik {

/// Files in memory. Paths of either spelling lead to the same file; a file needs its directory, but
/// for those directly in the current directory or in a root. Texts are kept in UTF-8.
struct FakeFiles final : Files {
  std::map<std::string, std::string> texts;   ///< By path, '/' between its parts. See Put and Text.
  std::set<std::string> directories;          ///< Likewise, without a trailing separator.
  std::map<std::string, std::int64_t> times;  ///< When files were changed, by their keys.
  std::vector<std::string> calls;             ///< Writes and syncs: "AppendText C:/logs/e.txt".
  std::map<std::string, std::errc> failing;   ///< Paths on which every call fails. See Fail.
  std::map<std::string, std::string> owners;  ///< Ordinary users who own a path, by its key.
  std::set<std::string> locked;  ///< Likewise; these have a length but cannot be opened to be read.

  /// Makes a file and its directories.
  void Put(const std::string& path, std::string text) {
    AddDirectories(ParentOf(Key(path)));
    texts[Key(path)] = std::move(text);
  }

  /// The text of a file; empty when there is none.
  std::string Text(const std::string& path) const {
    const auto found = texts.find(Key(path));
    return found == texts.end() ? std::string() : found->second;
  }

  bool Exists(const std::string& path) const { return texts.contains(Key(path)); }

  /// From now on every call on that path fails.
  void Fail(const std::string& path, std::errc error = std::errc::permission_denied) {
    failing[Key(path)] = error;
  }

  std::error_code Size(const std::string& path, std::uint64_t& bytes) override {
    const auto error = Readable(path);
    if (!error) bytes = Text(path).size();
    return error;
  }
  /// A file changes with every write to any, when it has no time of its own.
  std::error_code Status(const std::string& path, FileStatus& status) override {
    const auto error = Readable(path);
    const auto time = times.find(Key(path));
    const auto changed =
        time == times.end() ? static_cast<std::int64_t>(calls.size()) : time->second;
    if (!error) status = {Text(path).size(), changed};
    return error;
  }
  std::error_code CheckReadable(const std::string& path) override {
    return locked.contains(Key(path)) ? make_error_code(std::errc::permission_denied)
                                      : Readable(path);
  }
  std::unique_ptr<FileReader> OpenRead(const std::string& path, std::error_code& error) override {
    error = CheckReadable(path);
    return error ? nullptr : std::make_unique<Reader>(Text(path));
  }
  std::unique_ptr<FileReader> OpenUnpacked(const std::string& path, Compression,
                                           std::error_code& error) override {
    return OpenRead(path, error);
  }
  /// Packs nothing.
  std::unique_ptr<FileWriter> OpenWrite(const std::string& path, bool append, Compression,
                                        std::error_code& error) override {
    error = Failure(path);
    return error ? nullptr : std::make_unique<Writer>(*this, path, append ? Text(path) : "");
  }

  std::error_code AppendText(const std::string& path, std::string_view text) override {
    return Write("AppendText", path, Text(path) + std::string(text));
  }
  std::error_code ReplaceText(const std::string& path, std::string_view text) override {
    return Write("ReplaceText", path, std::string(text));
  }
  std::error_code AppendBytes(const std::string& path, std::string_view bytes) override {
    return Write("AppendBytes", path, Text(path) + std::string(bytes));
  }
  std::error_code ReplaceBytes(const std::string& path, std::string_view bytes) override {
    return Write("ReplaceBytes", path, std::string(bytes));
  }
  std::error_code LetAllRead(const std::string& path) override {
    calls.push_back("LetAllRead " + Key(path));
    return Readable(path);
  }
  std::error_code Copy(const std::string& from, const std::string& to) override {
    if (const auto error = Readable(from)) return error;
    return Write("Copy " + Key(from) + " to", to, Text(from));
  }
  std::error_code CopyWhole(const std::string& from, const std::string& to,
                            bool overwrite) override {
    if (const auto error = Readable(from)) return error;
    if (!overwrite && Exists(to)) return make_error_code(std::errc::file_exists);
    return Write("CopyWhole " + Key(from) + " to", to, Text(from));
  }
  std::error_code Move(const std::string& from, const std::string& to, bool overwrite) override {
    if (IsSameFile(from, to)) return make_error_code(std::errc::file_exists);
    if (const auto error = CopyWhole(from, to, overwrite)) return error;
    return Remove(from);
  }
  std::error_code AppendFile(const std::string& from, const std::string& to) override {
    if (const auto error = Readable(from)) return error;
    if (IsSameFile(from, to)) return make_error_code(std::errc::invalid_argument);
    return Write("AppendFile " + Key(from) + " to", to, Text(to) + Text(from));
  }

  std::error_code Remove(const std::string& path) override {
    if (const auto error = Readable(path)) return error;
    texts.erase(Key(path));
    return {};
  }
  std::error_code MakeDirectory(const std::string& path) override {
    if (const auto error = Failure(path)) return error;
    AddDirectories(Key(path));
    return {};
  }
  std::error_code ListFiles(const std::string& directory,
                            std::vector<std::string>& names) override {
    names.clear();
    if (const auto error = Failure(directory)) return error;
    if (!HasDirectory(Key(directory))) return make_error_code(std::errc::no_such_file_or_directory);
    for (const auto& [path, text] : texts)
      if (ParentOf(path) == Key(directory)) names.push_back(path.substr(path.rfind('/') + 1));
    return {};
  }
  std::error_code ListDirectories(const std::string& directory,
                                  std::vector<std::string>& names) override {
    names.clear();
    if (const auto error = Failure(directory)) return error;
    if (!HasDirectory(Key(directory))) return make_error_code(std::errc::no_such_file_or_directory);
    for (const std::string& path : directories)
      if (ParentOf(path) == Key(directory)) names.push_back(path.substr(path.rfind('/') + 1));
    return {};
  }
  std::string FullPath(const std::string& path) override {
    return path.find(':') == std::string::npos && path[0] != '/' && path[0] != '\\'
               ? "C:/here/" + path
               : path;
  }
  bool IsSameFile(const std::string& a, const std::string& b) override {
    return Key(a) == Key(b) && (Exists(a) || HasDirectory(Key(a)));
  }
  bool IsRoot(const std::string& directory) override {
    const std::string key = Key(directory);
    return key.size() < 2 || (key.size() == 2 && key[1] == ':');
  }
  std::string ForeignOwner(const std::string& path) override {
    const auto found = owners.find(Key(path));
    return found == owners.end() ? "" : found->first + " belongs to the user " + found->second;
  }
  std::error_code Sync(const std::string& path) override {
    if (const auto error = Readable(path)) return error;
    calls.push_back("Sync " + Key(path));
    return {};
  }
  std::string TempDirectory() override { return "T:/tmp/"; }

 private:
  struct Reader final : FileReader {
    explicit Reader(std::string content) : text(std::move(content)) {}
    std::size_t Read(char* buffer, std::size_t capacity, std::error_code&) override {
      const std::size_t got = text.copy(buffer, capacity, at);
      at += got;
      return got;
    }
    void EndOn(const std::atomic<bool>*) override {}
    const std::string text;
    std::size_t at = 0;
  };

  struct Writer final : FileWriter {
    Writer(FakeFiles& owner, std::string target, std::string before)
        : files(owner), path(std::move(target)), text(std::move(before)) {}
    std::error_code Write(std::string_view bytes) override {
      text += bytes;
      return files.Failure(path);
    }
    std::error_code Commit() override { return files.Write("OpenWrite", path, text); }
    void EndOn(const std::atomic<bool>*) override {}
    FakeFiles& files;
    const std::string path;
    std::string text;
  };

  /// The path with '/' for each separator, none doubled and none at its end.
  static std::string Key(const std::string& path) {
    std::string key;
    for (const char c : path) {
      const bool isSeparator = c == '\\' || c == '/';
      if (!isSeparator || !key.ends_with('/')) key += isSeparator ? '/' : c;
    }
    if (key.size() > 1 && key.ends_with('/')) key.pop_back();
    return key;
  }

  static std::string ParentOf(const std::string& key) {
    const auto slash = key.rfind('/');
    if (slash == std::string::npos) return "";
    return slash == 0 ? "/" : key.substr(0, slash);
  }

  /// "", "/" and "C:" are there without being made.
  bool HasDirectory(const std::string& key) const {
    return key.empty() || key == "/" || (key.size() == 2 && key[1] == ':') ||
           directories.contains(key);
  }

  void AddDirectories(std::string key) {
    for (; !HasDirectory(key); key = ParentOf(key)) directories.insert(key);
  }

  std::error_code Failure(const std::string& path) const {
    const auto found = failing.find(Key(path));
    return found == failing.end() ? std::error_code() : make_error_code(found->second);
  }

  std::error_code Readable(const std::string& path) const {
    if (const auto error = Failure(path)) return error;
    if (HasDirectory(Key(path))) return make_error_code(std::errc::is_a_directory);
    return Exists(path) ? std::error_code() : make_error_code(std::errc::no_such_file_or_directory);
  }

  std::error_code Write(const std::string& call, const std::string& path, const std::string& text) {
    calls.push_back(call + " " + Key(path));
    if (const auto error = Failure(path)) return error;
    if (HasDirectory(Key(path))) return make_error_code(std::errc::is_a_directory);
    if (!HasDirectory(ParentOf(Key(path))))
      return make_error_code(std::errc::no_such_file_or_directory);
    texts[Key(path)] = text;
    return {};
  }
};

}  // namespace torvik
