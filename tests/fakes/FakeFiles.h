#pragma once

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "platform/Files.h"

namespace torvik {

/// Files in memory. Paths of either spelling lead to the same file; a file needs its directory, but
/// for those directly in the current directory or in a root. Texts are kept in UTF-8.
struct FakeFiles final : Files {
  std::map<std::string, std::string> texts;  ///< By path, '/' between its parts. See Put and Text.
  std::set<std::string> directories;         ///< Likewise, without a trailing separator.
  std::vector<std::string> calls;            ///< What changes or syncs: "AppendText C:/logs/e.txt".
  std::map<std::string, std::errc> failing;  ///< Paths on which every call fails. See Fail.
  std::set<std::string> locked;  ///< Likewise; these have a length but cannot be opened to be read.
  std::string temporaryDirectory = "T:/tmp/";

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

  bool Exists(const std::string& path) const { return texts.count(Key(path)) != 0; }

  /// From now on every call on that path fails.
  void Fail(const std::string& path, std::errc error = std::errc::permission_denied) {
    failing[Key(path)] = error;
  }

  std::error_code Size(const std::string& path, std::uint64_t& bytes) override {
    const auto error = Readable(path);
    if (!error) bytes = texts.at(Key(path)).size();
    return error;
  }

  std::error_code CheckReadable(const std::string& path) override {
    if (locked.count(Key(path))) return std::make_error_code(std::errc::permission_denied);
    return Readable(path);
  }

  std::unique_ptr<FileReader> OpenRead(const std::string& path, std::error_code& error) override {
    error = CheckReadable(path);
    return error ? nullptr : std::make_unique<Reader>(Text(path));
  }

  std::error_code AppendText(const std::string& path, std::string_view text) override {
    const auto error = Writable("AppendText", path);
    if (!error) texts[Key(path)] += text;
    return error;
  }

  std::error_code ReplaceText(const std::string& path, std::string_view text) override {
    const auto error = Writable("ReplaceText", path);
    if (!error) texts[Key(path)] = text;
    return error;
  }

  std::error_code Copy(const std::string& from, const std::string& to) override {
    if (const auto error = Readable(from)) return error;
    const auto error = Writable("Copy " + Key(from) + " to", to);
    if (!error) texts[Key(to)] = Text(from);
    return error;
  }

  std::error_code AppendFile(const std::string& from, const std::string& to) override {
    if (const auto error = Readable(from)) return error;
    if (IsSameFile(from, to)) return std::make_error_code(std::errc::invalid_argument);
    const auto error = Writable("AppendFile " + Key(from) + " to", to);
    if (!error) texts[Key(to)] += Text(from);
    return error;
  }

  std::error_code Remove(const std::string& path) override {
    if (const auto error = Readable(path)) return error;
    calls.push_back("Remove " + Key(path));
    texts.erase(Key(path));
    return {};
  }

  std::error_code MakeDirectory(const std::string& path) override {
    if (const auto error = Failure(path)) return error;
    for (std::string above = Key(path); !IsRoot(above); above = ParentOf(above)) {
      if (texts.count(above)) return std::make_error_code(std::errc::not_a_directory);
    }
    calls.push_back("MakeDirectory " + Key(path));
    AddDirectories(Key(path));
    return {};
  }

  std::error_code ListFiles(const std::string& directory,
                            std::vector<std::string>& names) override {
    names.clear();
    if (const auto error = Failure(directory)) return error;
    if (!HasDirectory(Key(directory))) {
      return std::make_error_code(std::errc::no_such_file_or_directory);
    }
    for (const auto& [path, text] : texts) {
      if (ParentOf(path) == Key(directory)) names.push_back(path.substr(path.rfind('/') + 1));
    }
    return {};
  }

  bool IsSameFile(const std::string& a, const std::string& b) override {
    return Key(a) == Key(b) && Exists(a);
  }

  std::error_code Sync(const std::string& path) override {
    if (const auto error = Readable(path)) return error;
    calls.push_back("Sync " + Key(path));
    return {};
  }

  std::string TempDirectory() override { return temporaryDirectory; }

  /// The path with '/' for each separator, none doubled and none at its end.
  static std::string Key(const std::string& path) {
    std::string key;
    for (const char c : path) {
      const bool isSeparator = c == '\\' || c == '/';
      if (isSeparator && key.size() > 1 && key.back() == '/') continue;
      key += isSeparator ? '/' : c;
    }
    if (key.size() > 1 && key.back() == '/') key.pop_back();
    return key;
  }

 private:
  struct Reader final : FileReader {
    explicit Reader(std::string content) : text(std::move(content)) {}
    std::size_t Read(char* buffer, std::size_t capacity, std::error_code&) override {
      const std::size_t length = text.copy(buffer, capacity, offset);
      offset += length;
      return length;
    }
    std::string text;
    std::size_t offset = 0;
  };

  static std::string ParentOf(const std::string& key) {
    const auto slash = key.rfind('/');
    if (slash == std::string::npos) return "";
    return slash == 0 ? "/" : key.substr(0, slash);
  }

  /// "", "/", "C:" and "//server/share": what is there without being made.
  static bool IsRoot(const std::string& key) {
    const bool isOnShare = key.rfind("//", 0) == 0;
    return key.find_first_not_of('/') == std::string::npos || (key.size() == 2 && key[1] == ':') ||
           (isOnShare && std::count(key.begin(), key.end(), '/') <= 3);
  }

  bool HasDirectory(const std::string& key) const {
    return IsRoot(key) || directories.count(key) != 0;
  }

  void AddDirectories(std::string key) {
    for (; !IsRoot(key); key = ParentOf(key)) directories.insert(key);
  }

  std::error_code Failure(const std::string& path) const {
    const auto found = failing.find(Key(path));
    return found == failing.end() ? std::error_code() : std::make_error_code(found->second);
  }

  std::error_code Readable(const std::string& path) const {
    if (const auto error = Failure(path)) return error;
    if (HasDirectory(Key(path))) return std::make_error_code(std::errc::is_a_directory);
    return Exists(path) ? std::error_code()
                        : std::make_error_code(std::errc::no_such_file_or_directory);
  }

  std::error_code Writable(const std::string& call, const std::string& path) {
    calls.push_back(call + " " + Key(path));
    if (const auto error = Failure(path)) return error;
    if (HasDirectory(Key(path))) return std::make_error_code(std::errc::is_a_directory);
    return HasDirectory(ParentOf(Key(path)))
               ? std::error_code()
               : std::make_error_code(std::errc::no_such_file_or_directory);
  }
};

}  // namespace torvik
