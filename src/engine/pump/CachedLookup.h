#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/Ado.h"
#include "platform/Bulk.h"

namespace torvik::engine {

/// How many answers are remembered when a document does not say ("cache_size").
constexpr std::int64_t kDefaultCacheSize = 10'000;

/// A query that is asked again and again, and whose answers are remembered.
class CachedLookup {
 public:
  /// `sql` is a SELECT with one `?` for each key. At most `cacheSize` answers are remembered.
  CachedLookup(ado::Connection& connection, std::string sql, std::size_t cacheSize);

  /// How many `?` the query has.
  std::size_t Markers() const { return markers_; }

  /// The first row for these keys, empty when there is none; valid until the next call.
  const std::vector<ado::Value>& FirstRow(std::span<const ado::LoadValue> keys);

 private:
  std::vector<ado::Value> Ask(std::span<const ado::LoadValue> keys) const;

  ado::Connection& connection_;
  const std::string sql_;
  const std::size_t cacheSize_, markers_;
  std::unordered_map<std::string, std::vector<ado::Value>> answers_;
};

}  // namespace torvik::engine
