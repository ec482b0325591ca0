#pragma once

#include <algorithm>
#include <map>
#include <memory>
#include <string>

#include "engine/pump/RowBatch.h"
#include "engine/pump/RowScanner.h"
#include "engine/pump/RowSource.h"
#include "platform/Files.h"

namespace torvik::engine {

/// Files in memory whose readers hand out at most `readBytes` at once and can fail on the way.
struct SlowFiles : Files {
  std::map<std::string, std::string> texts;
  std::size_t readBytes = 1 << 20;
  std::size_t failAt = static_cast<std::size_t>(-1);  ///< A read from this offset on fails.

  struct Reader : FileReader {
    const SlowFiles& files;
    const std::string& text;
    std::size_t at = 0;

    Reader(const SlowFiles& owner, const std::string& content) : files(owner), text(content) {}

    std::size_t Read(char* buffer, std::size_t capacity, std::error_code& error) override {
      if (at >= files.failAt) {
        error = std::make_error_code(std::errc::io_error);
        return 0;
      }
      const std::size_t got = text.copy(buffer, std::min(capacity, files.readBytes), at);
      at += got;
      return got;
    }
  };

  std::unique_ptr<FileReader> OpenRead(const std::string& path, std::error_code& error) override {
    if (const auto found = texts.find(path); found != texts.end())
      return std::make_unique<Reader>(*this, found->second);
    error = std::make_error_code(std::errc::no_such_file_or_directory);
    return nullptr;
  }

  std::error_code Size(const std::string&, std::uint64_t&) override { return {}; }
  std::error_code CheckReadable(const std::string&) override { return {}; }
  std::error_code AppendText(const std::string&, std::string_view) override { return {}; }
  std::error_code ReplaceText(const std::string&, std::string_view) override { return {}; }
  std::error_code Copy(const std::string&, const std::string&) override { return {}; }
  std::error_code AppendFile(const std::string&, const std::string&) override { return {}; }
  std::error_code Remove(const std::string&) override { return {}; }
  std::error_code MakeDirectory(const std::string&) override { return {}; }
  std::error_code ListFiles(const std::string&, std::vector<std::string>&) override { return {}; }
  bool IsSameFile(const std::string&, const std::string&) override { return false; }
  std::error_code Sync(const std::string&) override { return {}; }
  std::string TempDirectory() override { return "/tmp/"; }
};

/// What the scanner decides about the row at the start of the first `length` bytes of `text`.
inline std::string Decision(RowScanner& scanner, std::string& text, std::size_t length) {
  char* const begin = text.data();
  const RowScan scan = scanner.Scan(begin, begin + length, length == text.size());
  if (scan.outcome == RowScan::Outcome::NeedMore) return "needs more";
  std::string decision =
      std::to_string(static_cast<int>(scan.outcome)) + " at " + std::to_string(scan.at - begin);
  for (const RawField& field : scanner.Fields())
    decision.append("|").append(field.begin, field.end).append(field.doubled ? "\"" : "");
  return decision;
}

/// A beginning of `text` about which the scanner decides other than about all of it; empty: none.
inline std::string PrefixContradiction(RowScanner& scanner, std::string text) {
  const std::string all = Decision(scanner, text, text.size());
  if (all == "needs more") return text;
  for (std::size_t length = 0; length < text.size(); ++length)
    if (const std::string part = Decision(scanner, text, length);
        part != "needs more" && part != all)
      return text.substr(0, length) + ": " + part + ", all: " + all;
  return "";
}

/// "a|NULL|c/d|e|f/": all the rows that a source still has, each ended by a slash.
inline std::string ReadAll(RowSource& source) {
  RowBatch batch;
  std::string text;
  while (source.Fetch(batch)) {
    for (std::size_t row = 0; row < batch.RowCount(); ++row) {
      for (const char* bar = ""; const ado::LoadValue& value : batch.Row(row)) {
        text.append(bar).append(value ? *value : "NULL");
        bar = "|";
      }
      text += '/';
    }
  }
  return text;
}

}  // namespace torvik::engine
