#include "engine/tasks/LoadWatermark.h"

#include <utility>
#include <vector>

#include "engine/model/EngineServices.h"
#include "engine/model/LogFiles.h"
#include "engine/model/Problems.h"
#include "engine/model/Task.h"
#include "engine/model/TaskReader.h"
#include "engine/model/VariableChanges.h"
#include "engine/model/Variables.h"
#include "engine/tasks/PumpSettings.h"
#include "platform/Ado.h"
#include "platform/Clock.h"
#include "platform/PlatformError.h"
#include "platform/Text.h"

namespace torvik::engine {
namespace {

constexpr const char* kTable = "torvik_watermark";

/// What servers take for keys, in characters.
constexpr int kLongestPackage = 128, kLongestStep = 255, kLongestName = 400;

ado::Column Text(const char* name, int size, int keyPosition = 0) {
  ado::Column column;
  column.name = name;
  column.size = size;
  column.unit = ado::TextUnit::Utf16;
  column.keyPosition = keyPosition;
  column.nullable = keyPosition == 0;
  return column;
}

void MakeTable(ado::Connection& destination) {
  const std::vector<ado::Column> columns = {
      Text("package", kLongestPackage, 1), Text("step", kLongestStep, 2),
      Text("table_name", kLongestName),    Text("column_name", kLongestName),
      Text("mark", kLongestName),          Text("loaded_at", 40)};
  destination.CreateTable(kTable, columns);
}

}  // namespace

/// Gives a variable a value for as long as it lives.
class LoadWatermark::VariableHold {
 public:
  VariableHold(Variables& variables, const std::string& name, const std::string& value)
      : variables_(variables), name_(name), before_(variables.Value(name)) {
    VariableChanges change(variables);
    change.Add(name, value, "the watermark", "declare it in [global_variables]");
    change.Commit();
  }
  ~VariableHold() { variables_.SetValue(name_, before_); }
  VariableHold(const VariableHold&) = delete;
  VariableHold& operator=(const VariableHold&) = delete;

 private:
  Variables& variables_;
  const std::string name_;
  const dts::Variant before_;
};

std::optional<WatermarkSettings> ReadWatermark(TaskReader& reader, const PumpSettings& settings,
                                               bool toTable) {
  TableReader* table = nullptr;
  const TomlValue* const found = reader.Table().Find("watermark");
  std::optional<WatermarkSettings> watermark;
  reader.One("watermark", [&](TaskReader& keys) {
    table = &keys.Table();
    watermark = {keys.RequiredTemplate("column"), table->RequiredText("variable")};
    keys.DeclaredVariable(watermark->variable.text, watermark->variable.place);
  });
  if (!watermark) return std::nullopt;
  const char* const against =
      !toTable ? "a destination that is no table"
      : settings.load == LoadMode::Truncate
          ? "load = \"truncate\", which removes what earlier loads have brought"
      : settings.load == LoadMode::Replace
          ? "load = \"replace\", which removes what earlier loads have brought"
      : settings.deletesMissing ? "delete_missing, which removes what earlier loads have brought"
      : settings.insertCommitSize > 0 ? "insert_commit_size: the mark belongs to all rows of a load"
      : settings.lastRow > 0          ? "last_row: rows behind it would never be loaded"
                                      : nullptr;
  if (against != nullptr)
    reader.Problem(found->place, std::string("a watermark does not go with ") + against);
  return watermark;
}

LoadWatermark::LoadWatermark(TaskContext& context, const WatermarkSettings& settings,
                             ado::Connection& destination, std::string table)
    : context_(context),
      destination_(destination),
      package_(context.RunningPackages().back()),
      table_(std::move(table)),
      column_(context.GlobalVariables().Substitute(settings.column.text)),
      variable_(settings.variable.text),
      hasTable_(!destination.TableColumns(kTable).empty()),
      before_(hasTable_ ? ReadMark() : std::nullopt) {
  if (before_)
    hold_ = std::make_unique<VariableHold>(context.GlobalVariables(), variable_, *before_);
  rows_ = std::make_unique<Watermark>(column_, before_);
}

LoadWatermark::~LoadWatermark() = default;

std::optional<std::string> LoadWatermark::ReadMark() {
  const ado::Value key[] = {package_, context_.Step()};
  const ado::StatementResult found =
      destination_.ExecuteWith(std::string("SELECT table_name, column_name, mark FROM ") + kTable +
                                   " WHERE package = ? AND step = ?",
                               key);
  if (found.rows.empty()) return std::nullopt;
  hasMark_ = true;
  const std::string table = ado::TextIn(found.rows[0].at(0)),
                    column = ado::TextIn(found.rows[0].at(1));
  if (EqualsIgnoringCase(table, table_) && EqualsIgnoringCase(column, column_))
    return ado::TextIn(found.rows[0].at(2));
  throw PlatformError(0,
                      std::string("the mark that the table ") + kTable +
                          " has for this step is one of table " + table + ", column " + column +
                          ", and the step goes by table " + table_ + ", column " + column_ +
                          "; where all rows are to be loaded anew, delete that row",
                      "data pump");
}

void LoadWatermark::Keep() {
  const std::optional<std::string> highest = rows_->Highest();
  if (!highest || highest == before_) return;
  if (!hasTable_) MakeTable(destination_);
  Clock& clock = context_.Services().clock;
  const std::string now = LogTime(clock.LocalTime());
  const std::string sql = hasMark_
                              ? std::string("UPDATE ") + kTable +
                                    " SET table_name = ?, column_name = ?, mark = ?, loaded_at = ? "
                                    "WHERE package = ? AND step = ?"
                              : std::string("INSERT INTO ") + kTable +
                                    " (table_name, column_name, mark, loaded_at, package, step) "
                                    "VALUES (?, ?, ?, ?, ?, ?)";
  const ado::Value values[] = {table_, column_, *highest, now, package_, context_.Step()};
  if (destination_.ExecuteWith(sql, values).changedRows == 1) return;
  throw PlatformError(0,
                      std::string("the mark in the table ") + kTable +
                          " was changed by another run; nothing of this load may be kept",
                      "data pump");
}

}  // namespace torvik::engine
