#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>

#include "engine/pump/RejectedRows.h"

namespace torvik {
class Files;
}

namespace torvik::engine {

/// Where a data pump keeps the rows that it could not load: the file itself says what is wrong with
/// each, FILE.Source has the rows as they stood in the source, so that they can be corrected and
/// pumped again, and FILE.Dest those that the destination refused, as they were sent. A file is
/// made when there is something to write; what it had is kept unless `overwrite` is asked for. Rows
/// are written a batch at a time. Whatever cannot be written throws PlatformError.
class ExceptionFile final : public RejectedRows {
 public:
  struct Settings {
    std::string path;
    bool overwrite = false;
    std::string title;                  ///< "Package "Sales", step "load""
    std::function<std::string()> time;  ///< The time of day, as a text.
  };

  ExceptionFile(Files& files, Settings settings);

  /// Removes what earlier runs left, when it is to be overwritten, and notes the time.
  void Begin();

  void Add(const BadRow& row, const RowSource& source) override;
  void AddSent(std::span<const ado::LoadValue> sent, std::span<const std::string> columns) override;
  /// The same for values that are comma-separated text already.
  void AddSentLine(const std::string& sent, std::span<const std::string> columns);

  /// Writes what has been added.
  void Flush() override;
  /// Writes how the pump ended; nothing when no row was added.
  void End(const PumpCounts& counts, const std::string& failure) override;

  const std::string& Path() const { return settings_.path; }

 private:
  void Append(const std::string& suffix, std::string& pending, bool isText);

  Files& files_;
  const Settings settings_;
  std::string began_;
  bool hasRows_ = false, hasSent_ = false;
  std::string errors_, sources_, destinations_;
};

}  // namespace torvik::engine
