#pragma once

#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include "platform/linux/tables/common/TableFile.h"

namespace torvik {

/// Hashes values so that those that SQL may take for equal have the same hash, whatever their types
/// and the collation: 7, 7.0 and '7 ', or 'a' and 'A'.
std::uint64_t LooseHash(std::span<const ado::Value> values);

/// Where the rows of a table stand, by the loose hash of some of their columns.
class RowHashIndex {
 public:
  /// Reads all of `rows`, which have not been stepped.
  RowHashIndex(FileRows& rows, std::span<const int> columns);

  /// The places of the rows whose columns may equal `values`, in the table's order.
  std::span<const std::pair<std::uint64_t, std::int64_t>> Find(
      std::span<const ado::Value> values) const;

 private:
  std::vector<std::pair<std::uint64_t, std::int64_t>> places_;  ///< Hash and place, sorted.
};

}  // namespace torvik
