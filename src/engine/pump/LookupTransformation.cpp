#include <utility>

#include "engine/pump/CachedLookup.h"
#include "engine/pump/Conversion.h"
#include "engine/pump/RowBatch.h"
#include "engine/pump/Transformation.h"
#include "platform/Ado.h"

namespace torvik::engine {
namespace {

class LookupTransformation final : public Transformation {
 public:
  explicit LookupTransformation(Lookup lookup)
      : keys_(std::move(lookup.keys)),
        mustExist_(lookup.mustExist),
        lookup_(lookup.connection, std::move(lookup.sql), lookup.cacheSize) {}

  std::string Apply(const TransformedRow& row, ado::LoadValue& value) override {
    std::vector<ado::LoadValue> keys;
    for (const std::size_t key : keys_) keys.push_back(row.source[key]);
    if (keys.empty()) keys.push_back(value);
    const std::vector<ado::Value>& answer = lookup_.FirstRow(keys);
    if (answer.empty() && mustExist_) {
      value = Shown(keys, row.batch);
      return "is not found by the lookup";
    }
    value = answer.empty() ? ado::LoadValue() : Stored(answer.front(), row.batch);
    return {};
  }

 private:
  /// What was looked up.
  static ado::LoadValue Shown(const std::vector<ado::LoadValue>& keys, RowBatch& batch) {
    if (keys.size() == 1) return keys.front();
    std::string text;
    for (const ado::LoadValue& key : keys)
      text += (text.empty() ? "" : ", ") + std::string(TextOfValue(key, batch));
    return batch.Store(text);
  }

  static ado::LoadValue Stored(const ado::Value& value, RowBatch& batch) {
    if (const auto* number = std::get_if<std::int64_t>(&value)) return *number;
    if (const auto* number = std::get_if<double>(&value)) return *number;
    if (const auto* text = std::get_if<std::string>(&value)) return batch.Store(*text);
    if (const auto* blob = std::get_if<ado::Blob>(&value)) return batch.Store(blob->bytes);
    return {};
  }

  const std::vector<std::size_t> keys_;
  const bool mustExist_;
  CachedLookup lookup_;
};

}  // namespace

std::unique_ptr<Transformation> NewLookup(Lookup lookup) {
  return std::make_unique<LookupTransformation>(std::move(lookup));
}

}  // namespace torvik::engine
