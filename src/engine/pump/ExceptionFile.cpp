#include "engine/pump/ExceptionFile.h"

#include <algorithm>
#include <utility>

#include "engine/pump/CsvLine.h"
#include "engine/pump/Pump.h"
#include "engine/pump/RowBatch.h"
#include "engine/pump/RowSource.h"
#include "platform/Files.h"
#include "platform/PlatformError.h"
#include "platform/Text.h"

namespace torvik::engine {
namespace {

constexpr char kSourceSuffix[] = ".Source";
constexpr char kDestinationSuffix[] = ".Dest";
constexpr char kLineEnd[] = "\r\n";

std::string Described(const BadRow& row) {
  const RowPlace& at = row.error.at;
  std::string line = at.row;
  if (at.column > 0) line += ", column " + std::to_string(at.column);
  if (!at.columnName.empty()) line += " (" + at.columnName + ")";
  if (row.origin.length > 0)
    line += ", bytes " + std::to_string(row.origin.offset) + " to " +
            std::to_string(row.origin.offset + row.origin.length - 1);
  return ControlsAsBlanks(line + ": " + row.error.reason);
}

}  // namespace

ExceptionFile::ExceptionFile(Files& files, Settings settings)
    : files_(files), settings_(std::move(settings)) {}

void ExceptionFile::Begin() {
  began_ = settings_.time();
  if (!settings_.overwrite) return;
  for (const char* suffix : {"", kSourceSuffix, kDestinationSuffix}) {
    const std::error_code error = files_.Remove(settings_.path + suffix);
    if (error && error != std::errc::no_such_file_or_directory)
      throw PlatformError(error.value(),
                          settings_.path + suffix +
                              ": the exception file of an earlier run cannot "
                              "be removed: " +
                              error.message(),
                          "data pump");
  }
}

void ExceptionFile::Add(const BadRow& row, const RowSource& source) {
  if (!hasRows_) {
    errors_ = settings_.title + ", started " + began_ + kLineEnd;
    std::uint64_t size = 0;
    if (files_.Size(settings_.path + kSourceSuffix, size) || size == 0) sources_ = source.Header();
  }
  hasRows_ = true;
  errors_ += Described(row) + kLineEnd;
  if (row.origin.bytes.empty()) return;  // of a query; what was sent is kept
  sources_ += row.origin.bytes;
  const std::string rowEnd = source.RowEnd();
  if (!row.origin.bytes.ends_with(rowEnd)) sources_ += rowEnd;
}

void ExceptionFile::AddSent(std::span<const ado::LoadValue> sent,
                            std::span<const std::string> columns) {
  AddSentLine(CsvLine(sent), columns);
}

void ExceptionFile::AddSentLine(const std::string& sent, std::span<const std::string> columns) {
  std::uint64_t size = 0;
  if (!hasSent_ && (files_.Size(settings_.path + kDestinationSuffix, size) || size == 0)) {
    const std::vector<ado::LoadValue> names(columns.begin(), columns.end());
    destinations_ = CsvLine(names);
  }
  hasSent_ = true;
  destinations_ += sent;
}

void ExceptionFile::Flush() {
  Append(kSourceSuffix, sources_, false);
  Append(kDestinationSuffix, destinations_, false);
  Append("", errors_, true);
}

void ExceptionFile::End(const PumpCounts& counts, const std::string& failure) {
  if (!hasRows_) return;
  errors_ += "ended " + settings_.time() + ": " + std::to_string(counts.read) + " rows read, " +
             std::to_string(counts.rejected) + " rejected" +
             (counts.skipped > 0 ? ", " + std::to_string(counts.skipped) + " left out" : "") +
             (failure.empty() ? ", " + std::to_string(counts.loaded) + " loaded"
                              : "; the pump failed: " + ControlsAsBlanks(failure)) +
             kLineEnd;
  Flush();
}

void ExceptionFile::Append(const std::string& suffix, std::string& pending, bool isText) {
  if (pending.empty()) return;
  const std::string path = settings_.path + suffix;
  const std::error_code error =
      isText ? files_.AppendText(path, pending) : files_.AppendBytes(path, pending);
  if (error)
    throw PlatformError(error.value(),
                        path + ": rejected rows cannot be written: " + error.message() +
                            "; the pump ends so that none is lost",
                        "data pump");
  pending.clear();
}

}  // namespace torvik::engine
