#include "engine/pump/RowMapper.h"

#include <algorithm>

#include "engine/pump/Conversion.h"
#include "engine/pump/RowBatch.h"
#include "engine/pump/RowError.h"
#include "engine/pump/RowSource.h"
#include "platform/Text.h"

namespace torvik::engine {
namespace {

PlatformError MappingError(const std::string& text) {
  return {0, text, "data pump"};
}

/// Column names with what owns them, for messages: "table airport", "source".
struct NameList {
  std::string owner;
  std::vector<std::string> names;

  std::size_t Find(const std::string& wanted) const;

 private:
  std::string Listed() const;
};

std::string NameList::Listed() const {
  std::string list;
  for (const std::string& name : names) list += (list.empty() ? "" : ", ") + name;
  return list;
}

std::size_t NameList::Find(const std::string& wanted) const {
  auto count = std::ranges::count(names, wanted);
  auto found = std::ranges::find(names, wanted);
  if (count == 0) {
    const auto matches = [&wanted](const std::string& name) {
      return EqualsIgnoringCase(name, wanted);
    };
    count = std::ranges::count_if(names, matches);
    found = std::ranges::find_if(names, matches);
  }
  if (count == 1) return static_cast<std::size_t>(found - names.begin());
  throw MappingError("the " + owner + (count == 0 ? " has no column " : " has several columns ") +
                     wanted + "; its columns are: " + Listed());
}

std::vector<ColumnMapping> MappingOf(const PumpRequest& request) {
  if (!request.columns.empty()) return request.columns;
  std::vector<ColumnMapping> byName;
  for (const std::string& name : request.source.Columns()) byName.push_back({name, name});
  return byName;
}

std::string Described(const ado::Column& column) {
  return "column " + column.name +
         (column.declaredType.empty() ? "" : " (" + column.declaredType + ")");
}

}  // namespace

RowMapper::RowMapper(const PumpRequest& request) : source_(request.source) {
  const std::vector<ado::Column> columns = request.destination.TableColumns(request.table);
  if (columns.empty()) throw MappingError("there is no table " + request.table);
  const NameList sources{"source", source_.Columns()};
  NameList destinations{"table " + request.table, {}};
  for (const ado::Column& column : columns) destinations.names.push_back(column.name);
  for (const auto& [source, destination] : MappingOf(request))
    AddTarget(sources.Find(source), columns[destinations.Find(destination)]);
}

void RowMapper::AddTarget(std::size_t source, const ado::Column& column) {
  if (std::ranges::find(destinations_, column.name) != destinations_.end())
    throw MappingError("column " + column.name + " is filled twice; map one column to it");
  targets_.push_back({source, column});
  destinations_.push_back(column.name);
}

void RowMapper::Map(RowBatch& batch) {
  values_.clear();
  values_.reserve(batch.RowCount() * targets_.size());
  for (std::size_t row = 0; row < batch.RowCount(); ++row) {
    const std::span<const ado::LoadValue> values = batch.Row(row);
    for (const Target& target : targets_) {
      ado::LoadValue value = values[target.source];
      Fit(target, row, value, batch);
      values_.push_back(value);
    }
  }
  batch.SwapValues(values_, targets_.size());
}

void RowMapper::Fit(const Target& target, std::size_t row, ado::LoadValue& value,
                    RowBatch& batch) const {
  const ado::LoadValue given = value;
  const std::string misfit = given ? FitValue(target.column, value, batch) : std::string();
  if (misfit.empty() && (value || target.column.nullable)) return;
  const RowPlace at{source_.PlaceOf(batch, row), target.source + 1,
                    source_.Columns()[target.source]};
  if (misfit.empty()) throw RowError::NullNotAllowed(at, Described(target.column));
  throw RowError::Misfit(at, *given, misfit, Described(target.column));
}

}  // namespace torvik::engine
