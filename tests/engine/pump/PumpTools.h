#pragma once

#include <algorithm>
#include <map>
#include <memory>
#include <span>
#include <string>

#include "engine/pump/RowBatch.h"
#include "engine/pump/RowSource.h"
#include "engine/pump/text/RowScanner.h"
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
    void EndOn(const std::atomic<bool>*) override {}
  };

  std::unique_ptr<FileReader> OpenRead(const std::string& path, std::error_code& error) override {
    if (const auto found = texts.find(path); found != texts.end())
      return std::make_unique<Reader>(*this, found->second);
    error = std::make_error_code(std::errc::no_such_file_or_directory);
    return nullptr;
  }

  std::unique_ptr<FileReader> OpenUnpacked(const std::string& path, Compression,
                                           std::error_code& error) override {
    return OpenRead(path, error);
  }
  std::unique_ptr<FileWriter> OpenWrite(const std::string&, bool, Compression,
                                        std::error_code&) override {
    return nullptr;
  }

  std::error_code Size(const std::string&, std::uint64_t&) override { return {}; }
  std::error_code CheckReadable(const std::string&) override { return {}; }
  std::error_code AppendText(const std::string&, std::string_view) override { return {}; }
  std::error_code ReplaceText(const std::string&, std::string_view) override { return {}; }
  std::error_code AppendBytes(const std::string&, std::string_view) override { return {}; }
  std::error_code ReplaceBytes(const std::string&, std::string_view) override { return {}; }
  std::error_code LetAllRead(const std::string&) override { return {}; }
  std::error_code Copy(const std::string&, const std::string&) override { return {}; }
  std::error_code Status(const std::string&, FileStatus&) override { return {}; }
  std::error_code CopyWhole(const std::string&, const std::string&, bool) override { return {}; }
  std::error_code Move(const std::string&, const std::string&, bool) override { return {}; }
  std::error_code AppendFile(const std::string&, const std::string&) override { return {}; }
  std::error_code Remove(const std::string&) override { return {}; }
  std::error_code MakeDirectory(const std::string&) override { return {}; }
  std::error_code ListFiles(const std::string&, std::vector<std::string>&) override { return {}; }
  std::error_code ListDirectories(const std::string&, std::vector<std::string>&) override {
    return {};
  }
  std::string FullPath(const std::string& path) override { return path; }
  bool IsSameFile(const std::string&, const std::string&) override { return false; }
  bool IsRoot(const std::string&) override { return false; }
  std::string ForeignOwner(const std::string&) override { return {}; }
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
  if (scan.outcome == RowScan::Outcome::Row)
    decision += ", lines " + std::to_string(scanner.LinesInside());
  for (const RawField& field : scanner.Fields())
    decision.append("|")
        .append(field.begin, field.end)
        .append(field.doubled ? "\"" : "")
        .append(field.odd ? "?" : "");
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

/// What a source gave.
struct Reading {
  std::string rows;   ///< "a|NULL|c/d|e|f/": each ended by a slash. See Shortened.
  std::string bytes;  ///< Of all rows, one after the other.
  std::uint64_t start = 0;
  std::string gap = {};  ///< A row that does not stand where the one before it ends.
};

inline void Add(Reading& reading, const RowOrigin& origin, const std::string& row) {
  if (reading.rows.empty()) reading.start = origin.offset;
  if (origin.offset != reading.start + reading.bytes.size()) reading.gap = row;
  reading.bytes += origin.bytes;
  reading.rows += row + '/';
}

inline std::string Joined(std::span<const ado::LoadValue> values) {
  std::string text;
  for (const char* bar = ""; const ado::LoadValue& value : values) {
    text.append(bar).append(value.IsNull() ? "NULL" : value.Text());
    bar = "|";
  }
  return text;
}

/// A bad row as its line, column and the first words of the reason: "!3.2 the row ends after".
inline std::string Shortened(const RowError& error) {
  std::size_t end = 0;
  for (int word = 0; word < 4 && end != std::string::npos; ++word)
    end = error.reason.find(' ', end + 1);
  return "!" + error.at.row.substr(error.at.row.rfind(' ') + 1) + "." +
         std::to_string(error.at.column) + " " + error.reason.substr(0, end);
}

/// Hands on all the rows that a source still has, in their order: `take(row, batch)` for a good
/// one, `takeBad(row)` for a bad one.
inline void ReadInOrder(RowSource& source, RowBatch& batch, const auto& take, const auto& takeBad) {
  while (source.Fetch(batch)) {
    auto bad = batch.BadRows().begin();
    for (std::size_t row = 0; row <= batch.RowCount(); ++row) {
      const bool atEnd = row == batch.RowCount();
      for (;
           bad != batch.BadRows().end() && (atEnd || bad->origin.offset < batch.Origin(row).offset);
           ++bad)
        takeBad(*bad);
      if (!atEnd) take(row, batch);
    }
  }
}

/// All the rows that a source still has.
inline Reading ReadOn(RowSource& source, RowBatch&& batch = RowBatch()) {
  Reading reading;
  ReadInOrder(
      source, batch,
      [&](std::size_t row, const RowBatch& rows) {
        Add(reading, rows.Origin(row), Joined(rows.Row(row)));
      },
      [&](const BadRow& bad) { Add(reading, bad.origin, Shortened(bad.error)); });
  return reading;
}

inline std::string ReadAll(RowSource& source) {
  return ReadOn(source).rows;
}

}  // namespace torvik::engine
