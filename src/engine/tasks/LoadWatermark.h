#pragma once

#include <memory>
#include <optional>
#include <string>

#include "engine/model/TomlTable.h"
#include "engine/pump/Watermark.h"

namespace torvik::ado {
class Connection;
}

namespace torvik::engine {

class TaskContext;
class TaskReader;
struct PumpSettings;

/// The key "watermark" of a pump: a load brings the rows beyond what the last one has brought.
struct WatermarkSettings {
  PlacedText column;    ///< Of the destination.
  PlacedText variable;  ///< Has the mark while the step runs.
};

/// Reads it, and reports what of the other settings it does not go with; nothing when it is not
/// there. `toTable`: the destination is a table.
std::optional<WatermarkSettings> ReadWatermark(TaskReader& reader, const PumpSettings& settings,
                                               bool toTable);

/// The watermark of one run of a step. Marks stand in the table torvik_watermark of the
/// destination, a row for each step of a package.
class LoadWatermark {
 public:
  /// Reads the mark and gives it to the variable, which keeps its value while there is none. Throws
  /// PlatformError, also when the mark is another table's or column's.
  LoadWatermark(TaskContext& context, const WatermarkSettings& settings,
                ado::Connection& destination, std::string table);
  /// The variable is again what it was.
  ~LoadWatermark();
  LoadWatermark(const LoadWatermark&) = delete;
  LoadWatermark& operator=(const LoadWatermark&) = delete;

  Watermark& Rows() { return *rows_; }

  /// Keeps the highest value, in the transaction that the destination has open.
  void Keep();

 private:
  std::optional<std::string> ReadMark();

  TaskContext& context_;
  ado::Connection& destination_;
  const std::string package_, table_, column_, variable_;
  bool hasTable_ = false, hasMark_ = false;
  std::optional<std::string> before_;
  class VariableHold;
  std::unique_ptr<VariableHold> hold_;
  std::unique_ptr<Watermark> rows_;
};

}  // namespace torvik::engine
