#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "engine/pump/Pump.h"
#include "platform/Ado.h"

namespace torvik::engine {

class RowBatch;

/// Turns rows of a source into rows for a table: which value goes where, and whether it fits.
class RowMapper {
 public:
  /// Resolves the request's column names, exactly or else without regard to letter case. Throws
  /// PlatformError when the table does not exist, and when a name fits no column or several; the
  /// text lists the columns that there are.
  explicit RowMapper(const PumpRequest& request);

  /// The destination columns that are filled, as the table spells them.
  const std::vector<std::string>& Destinations() const { return destinations_; }

  /// Replaces each row's values by those of the destination columns. Throws RowError at the first
  /// value that does not fit.
  void Map(RowBatch& batch);

 private:
  struct Target {
    std::size_t source;
    ado::Column column;
  };

  void AddTarget(std::size_t source, const ado::Column& column);
  void Fit(const Target& target, std::size_t row, ado::LoadValue& value, RowBatch& batch) const;

  const RowSource& source_;
  std::vector<Target> targets_;
  std::vector<std::string> destinations_;
  std::vector<ado::LoadValue> values_;
};

}  // namespace torvik::engine
