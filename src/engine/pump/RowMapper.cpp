#include "engine/pump/RowMapper.h"

#include <algorithm>

#include "engine/pump/ColumnNames.h"
#include "engine/pump/Conversion.h"
#include "engine/pump/CsvLine.h"
#include "engine/pump/RowBatch.h"
#include "engine/pump/RowError.h"
#include "engine/pump/RowSource.h"
#include "engine/pump/RowTarget.h"
#include "engine/pump/Transformation.h"
#include "platform/Text.h"

namespace torvik::engine {
namespace {

PlatformError MappingError(const std::string& text) {
  return {0, text, "data pump"};
}

/// Why a NULL does not do; no other reason is this one.
constexpr char kMissing[] = "is missing";

std::vector<ColumnMapping> MappingOf(const PumpRequest& request) {
  if (!request.columns.empty()) return request.columns;
  std::vector<ColumnMapping> byName;
  for (const std::string& name : request.source.Columns())
    byName.push_back({.source = name, .destination = name, .flags = request.flags});
  return byName;
}

std::string Described(const ado::Column& column) {
  return "column " + column.name +
         (column.declaredType.empty() ? "" : " (" + column.declaredType + ")");
}

}  // namespace

RowMapper::RowMapper(const PumpRequest& request) : source_(request.source) {
  const auto columns = request.target.Columns();
  std::vector<std::string> names;
  if (columns)
    for (const ado::Column& column : *columns) names.push_back(column.name);
  for (const ColumnMapping& mapping : MappingOf(request)) {
    const std::size_t source = mapping.source.empty()
                                   ? kNoSource
                                   : FindColumn(source_.Columns(), mapping.source, "source");
    AddTarget(mapping, source,
              columns ? (*columns)[FindColumn(names, mapping.destination, request.target.Name())]
                      : ado::Column{.name = mapping.destination, .declaredType = {}});
  }
}

void RowMapper::AddTarget(const ColumnMapping& mapping, std::size_t source,
                          const ado::Column& column) {
  if (std::ranges::find(destinations_, column.name) != destinations_.end())
    throw MappingError("column " + column.name + " is filled twice; map one column to it");
  targets_.push_back({source, column, mapping.flags, mapping.chain});
  destinations_.push_back(column.name);
}

void RowMapper::Map(RowBatch& batch) {
  values_.clear();
  values_.reserve(batch.RowCount() * targets_.size());
  origins_.clear();
  const std::size_t badBefore = batch.BadRows().size();
  for (std::size_t row = 0; row < batch.RowCount(); ++row)
    if (MapRow(batch, row)) origins_.push_back(batch.Origin(row));
  batch.SwapRows(values_, targets_.size(), origins_);
  if (badBefore > 0) batch.SortBadRows();
}

/// False when the row is rejected.
bool RowMapper::MapRow(RowBatch& batch, std::size_t row) {
  const std::span<const ado::LoadValue> source = batch.Row(row);
  const std::size_t begin = values_.size();
  for (const Target& target : targets_) {
    ado::LoadValue value = target.source == kNoSource ? ado::LoadValue() : source[target.source];
    const ado::LoadValue given = value;
    const std::string misfit = Fit(target, source, value, batch);
    if (!misfit.empty()) {
      Reject(batch, row, target, given, misfit);
      values_.resize(begin);
      return false;
    }
    values_.push_back(value);
  }
  return true;
}

std::string RowMapper::Fit(const Target& target, std::span<const ado::LoadValue> source,
                           ado::LoadValue& value, RowBatch& batch) const {
  for (const auto& transformation : target.chain)
    if (std::string misfit = transformation->Apply({source, batch}, value); !misfit.empty())
      return misfit;
  if (!value.IsNull())
    if (std::string misfit = FitValue(target.column, target.flags, value, batch); !misfit.empty())
      return misfit;
  if (!value.IsNull() || target.column.nullable) return {};
  return FillNull(target.column, target.flags, value) ? std::string() : kMissing;
}

void RowMapper::Reject(RowBatch& batch, std::size_t row, const Target& target,
                       const ado::LoadValue& value, const std::string& misfit) const {
  RowPlace at{source_.PlaceOf(batch, row)};
  if (target.source != kNoSource) {
    at.column = target.source + 1;
    at.columnName = source_.Columns()[target.source];
  }
  RowOrigin origin = batch.Origin(row);
  if (origin.bytes.empty()) origin.bytes = batch.Store(CsvLine(batch.Row(row)));
  batch.AddBadRow(origin, misfit == kMissing
                              ? RowError::NullNotAllowed(at, Described(target.column))
                              : RowError::Misfit(at, TextOfValue(value, batch), misfit,
                                                 Described(target.column)));
}

}  // namespace torvik::engine
