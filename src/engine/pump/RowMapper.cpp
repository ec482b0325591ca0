#include "engine/pump/RowMapper.h"

#include <algorithm>
#include <utility>

#include "engine/pump/ColumnNames.h"
#include "engine/pump/Conversion.h"
#include "engine/pump/CsvLine.h"
#include "engine/pump/RowBatch.h"
#include "engine/pump/RowError.h"
#include "engine/pump/RowSource.h"
#include "engine/pump/RowTarget.h"
#include "engine/pump/Transformation.h"
#include "engine/pump/Watermark.h"
#include "platform/Text.h"

namespace torvik::engine {
namespace {

PlatformError MappingError(const std::string& text) {
  return {0, text, "data pump"};
}

/// So often a script may ask for one row.
constexpr std::size_t kMostTimes = 100'000;

/// Why a NULL does not do; no other reason is this one.
constexpr char kMissing[] = "is missing";

std::vector<ColumnMapping> MappingOf(const PumpRequest& request) {
  if (!request.columns.empty() || !request.scripts.empty()) return request.columns;
  std::vector<ColumnMapping> byName;
  for (const std::string& name : request.source.Columns())
    byName.push_back({.source = name, .destination = name, .flags = request.flags});
  return byName;
}

std::string Described(const ado::Column& column) {
  if (column.name.empty()) return "no column";
  return "column " + column.name +
         (column.declaredType.empty() ? "" : " (" + column.declaredType + ")");
}

}  // namespace

RowMapper::RowMapper(const PumpRequest& request)
    : source_(request.source), scripts_(request.scripts) {
  const auto columns = request.target.Columns();
  std::vector<std::string> names;
  if (columns)
    for (const ado::Column& column : *columns) names.push_back(column.name);
  const auto columnOf = [&](const std::string& name) {
    return columns ? (*columns)[FindColumn(names, name, request.target.Name())]
                   : ado::Column{.name = name, .declaredType = {}};
  };
  for (const ColumnMapping& mapping : MappingOf(request)) {
    const std::size_t source = mapping.source.empty()
                                   ? kNoSource
                                   : FindColumn(source_.Columns(), mapping.source, "source");
    if (mapping.destination.empty())
      effects_.push_back({source, kNoSource, {}, mapping.flags, mapping.chain});
    else
      AddTarget({source, kNoSource, columnOf(mapping.destination), mapping.flags, mapping.chain});
  }
  std::size_t position = 0;
  for (const ScriptMapping& script : scripts_)
    for (const std::string& name : script.destinations)
      AddTarget({kNoSource, position++, columnOf(name), script.flags, {}});
  scripted_.resize(position);
  if (request.watermark != nullptr) Resolve(*request.watermark, request.target.Name());
  if (request.choosesQueries) destinations_.push_back("(query)");
}

/// A row without a value there is neither new nor known.
void RowMapper::Resolve(Watermark& watermark, const std::string& target) {
  const std::size_t position = FindColumn(destinations_, watermark.Column(), target);
  watermark.Resolve(targets_[position].column, position);
  targets_[position].column.nullable = false;
}

void RowMapper::AddTarget(Target target) {
  const std::string& name = target.column.name;
  if (std::ranges::find(destinations_, name) != destinations_.end())
    throw MappingError("column " + name + " is filled twice; map one column to it");
  destinations_.push_back(name);
  targets_.push_back(std::move(target));
}

std::optional<std::vector<std::size_t>> RowMapper::PlainCopy() const {
  const bool hasQuery = destinations_.size() > targets_.size();
  if (!scripts_.empty() || !effects_.empty() || hasQuery) return std::nullopt;
  std::vector<std::size_t> positions;
  for (const Target& target : targets_) {
    if (target.source == kNoSource || !target.chain.empty() || (target.flags & kRequireExactType))
      return std::nullopt;
    positions.push_back(target.source);
  }
  return positions;
}

void RowMapper::Map(RowBatch& batch) {
  values_.clear();
  values_.reserve(batch.RowCount() * destinations_.size());
  origins_.clear();
  const std::size_t badBefore = batch.BadRows().size();
  for (std::size_t row = 0; row < batch.RowCount() && !ended_; ++row) {
    if (!scripts_.empty())
      MapScripted(batch, row);
    else
      MapOnce(batch, row);
    if (ended_) batch.DropBadRowsBehind(batch.Origin(row));
  }
  batch.SwapRows(values_, destinations_.size(), origins_);
  if (badBefore > 0) batch.SortBadRows();
}

/// Runs the scripts for a row until they do not ask for it again.
void RowMapper::MapScripted(RowBatch& batch, std::size_t row) {
  for (std::size_t times = 1;; ++times) {
    const std::optional<unsigned> status = RunScripts(batch, row);
    if (!status) return;
    ended_ = (*status & kTransformNoMoreRows) != 0;
    if (*status & (kTransformSkipRow | kTransformSkipInsert | kTransformNoMoreRows))
      batch.CountSkippedRow();
    else
      MapOnce(batch, row);
    if (ended_ || !(*status & kTransformSkipFetch)) return;
    if (times == kMostTimes)
      throw MappingError(source_.PlaceOf(batch, row) + ": the script has asked for this row " +
                         std::to_string(times) +
                         " times (SkipFetch); let it go on to the next row");
  }
}

/// What the scripts together say of a row; nothing when it is rejected.
std::optional<unsigned> RowMapper::RunScripts(RowBatch& batch, std::size_t row) {
  std::ranges::fill(scripted_, ado::LoadValue());
  unsigned all = 0;
  std::size_t position = 0;
  std::optional<RowScriptError> error;
  for (const ScriptMapping& mapping : scripts_) {
    const std::size_t count = mapping.destinations.size();
    try {
      const unsigned status = mapping.script->Run({batch.Row(row), batch},
                                                  std::span(scripted_).subspan(position, count));
      all |= status;
      if (status & (kTransformError | kTransformExceptionRow))
        error = {0, "the script answers that there is an error in the row"};
    } catch (const RowScriptError& failure) {
      error = failure;
    }
    if (error) break;
    position += count;
  }
  if (all & kTransformAbortPump)
    throw MappingError(source_.PlaceOf(batch, row) + ": the script has ended the pump (AbortPump)");
  if (!error) error = ChooseQuery(all);
  if (!error) return all;
  batch.AddBadRow(OriginOf(batch, row),
                  RowError::Refused({source_.PlaceOf(batch, row)},
                                    {error->number, error->reason, "data pump"}));
  return std::nullopt;
}

/// Why the answers choose no query; nothing when they do.
std::optional<RowScriptError> RowMapper::ChooseQuery(unsigned answers) {
  constexpr std::pair<unsigned, const char*> kQueries[] = {{kTransformInsertQuery, "insert"},
                                                           {kTransformUpdateQuery, "update"},
                                                           {kTransformDeleteQuery, "delete"},
                                                           {kTransformUserQuery, "user"}};
  query_ = kQueries[0].second;
  int chosen = 0;
  for (const auto& [bit, name] : kQueries) {
    if (!(answers & bit)) continue;
    query_ = name;
    ++chosen;
  }
  if (chosen > 1) return RowScriptError{0, "the scripts choose several queries for one row"};
  return std::nullopt;
}

/// A row that fills no column is not loaded.
void RowMapper::MapOnce(RowBatch& batch, std::size_t row) {
  if (!MapRow(batch, row)) return;
  if (destinations_.empty())
    batch.CountSkippedRow();
  else
    origins_.push_back(batch.Origin(row));
}

/// False when the row is rejected.
bool RowMapper::MapRow(RowBatch& batch, std::size_t row) {
  const std::span<const ado::LoadValue> source = batch.Row(row);
  const std::size_t begin = values_.size();
  for (const Target& target : targets_) {
    // It is made where it stays: a value that has just been written is slow to copy.
    ado::LoadValue& value = values_.emplace_back();
    if (target.source != kNoSource) value = source[target.source];
    if (target.scripted != kNoSource) value = scripted_[target.scripted];
    if (!Fit(target, source, value, batch)) {
      Reject(batch, row, target, value);
      values_.resize(begin);
      return false;
    }
  }
  if (destinations_.size() > targets_.size()) values_.emplace_back(query_);
  for (const Target& effect : effects_) {
    ado::LoadValue value = effect.source == kNoSource ? ado::LoadValue() : source[effect.source];
    if (Transform(effect, source, value, batch)) continue;
    Reject(batch, row, effect, value);
    values_.resize(begin);
    return false;
  }
  return true;
}

/// False when the value does not fit; misfit_ says why, and `value` is what is at fault.
bool RowMapper::Transform(const Target& target, std::span<const ado::LoadValue> source,
                          ado::LoadValue& value, RowBatch& batch) {
  for (const auto& transformation : target.chain)
    if (!(misfit_ = transformation->Apply({source, batch}, value)).empty()) return false;
  return true;
}

bool RowMapper::Fit(const Target& target, std::span<const ado::LoadValue> source,
                    ado::LoadValue& value, RowBatch& batch) {
  if (!Transform(target, source, value, batch)) return false;
  if (!value.IsNull() && !FitValue(target.column, target.flags, value, batch, misfit_))
    return false;
  if (!value.IsNull() || target.column.nullable) return true;
  misfit_ = kMissing;
  return FillNull(target.column, target.flags, value);
}

/// With the row's bytes, those of a query's row as comma-separated text.
RowOrigin RowMapper::OriginOf(RowBatch& batch, std::size_t row) const {
  RowOrigin origin = batch.Origin(row);
  if (origin.bytes.empty()) origin.bytes = batch.Store(CsvLine(batch.Row(row)));
  return origin;
}

void RowMapper::Reject(RowBatch& batch, std::size_t row, const Target& target,
                       const ado::LoadValue& value) const {
  RowPlace at{source_.PlaceOf(batch, row)};
  if (target.source != kNoSource) {
    at.column = target.source + 1;
    at.columnName = source_.Columns()[target.source];
  }
  batch.AddBadRow(OriginOf(batch, row), misfit_ == kMissing
                                            ? RowError::NullNotAllowed(at, Described(target.column))
                                            : RowError::Misfit(at, TextOfValue(value, batch),
                                                               misfit_, Described(target.column)));
}

}  // namespace torvik::engine
