#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "engine/pump/Pump.h"
#include "engine/pump/RowError.h"
#include "platform/Ado.h"

namespace torvik::engine {

class RowBatch;
struct RowOrigin;

/// Turns rows of a source into rows for a destination: which value goes where, what is made of it,
/// and whether it fits.
class RowMapper {
 public:
  /// Resolves the request's column names, exactly or else without regard to letter case. Throws
  /// PlatformError when a name fits no column or several; the text lists the columns that there
  /// are.
  explicit RowMapper(const PumpRequest& request);

  /// The destination columns that are filled, as the destination spells them, and what stands for
  /// the query that a row is for.
  const std::vector<std::string>& Destinations() const { return destinations_; }

  /// The position of the source column that each destination column gets as it is; nothing when
  /// more than that is to be done with a row.
  std::optional<std::vector<std::size_t>> PlainCopy() const;

  /// Replaces each row's values by those of the destination columns. A row with a value that does
  /// not fit becomes one of the batch's bad rows; these then stand in the order of their origins.
  /// Rows that fill no column, as those that are only written to files, are left out.
  /// A script may leave rows out and make several of one.
  void Map(RowBatch& batch);

  /// True when a script wants no more rows.
  bool Ended() const { return ended_; }

 private:
  struct Target {
    std::size_t source;    ///< kNoSource: no source column.
    std::size_t scripted;  ///< The position in scripted_, or kNoSource.
    ado::Column column;
    unsigned flags;
    std::vector<std::shared_ptr<Transformation>> chain;
  };
  static constexpr std::size_t kNoSource = static_cast<std::size_t>(-1);

  void AddTarget(Target target);
  void Resolve(Watermark& watermark, const std::string& target);
  void MapScripted(RowBatch& batch, std::size_t row);
  std::optional<unsigned> RunScripts(RowBatch& batch, std::size_t row);
  std::optional<RowScriptError> ChooseQuery(unsigned answers);
  void MapOnce(RowBatch& batch, std::size_t row);
  bool MapRow(RowBatch& batch, std::size_t row);
  bool Transform(const Target& target, std::span<const ado::LoadValue> source,
                 ado::LoadValue& value, RowBatch& batch);
  bool Fit(const Target& target, std::span<const ado::LoadValue> source, ado::LoadValue& value,
           RowBatch& batch);
  RowOrigin OriginOf(RowBatch& batch, std::size_t row) const;
  void Reject(RowBatch& batch, std::size_t row, const Target& target,
              const ado::LoadValue& value) const;

  const RowSource& source_;
  std::vector<ScriptMapping> scripts_;
  std::vector<ado::LoadValue> scripted_;  // what they have made of the row
  bool ended_ = false;
  const char* query_ = "insert";  // that the row is for
  std::vector<Target> targets_, effects_;
  std::vector<std::string> destinations_;
  std::vector<ado::LoadValue> values_;
  std::vector<RowOrigin> origins_;
  std::string misfit_;  // why the last value did not fit
};

}  // namespace torvik::engine
