#include <unordered_map>
#include <utility>

#include "engine/pump/Conversion.h"
#include "engine/pump/RowBatch.h"
#include "engine/pump/Transformation.h"
#include "platform/Ado.h"
#include "platform/PlatformError.h"

namespace torvik::engine {
namespace {

ado::Value ParameterOf(const ado::LoadValue& value) {
  switch (value.GetKind()) {
    case ado::LoadValue::Kind::Integer: return value.Integer();
    case ado::LoadValue::Kind::Real: return value.Real();
    case ado::LoadValue::Kind::Text: return std::string(value.Text());
    case ado::LoadValue::Kind::Null: break;
  }
  return ado::Null{};
}

class LookupTransformation final : public Transformation {
 public:
  explicit LookupTransformation(Lookup lookup) : lookup_(std::move(lookup)) {}

  std::string Apply(const TransformedRow& row, ado::LoadValue& value) override {
    std::vector<ado::LoadValue> keys;
    for (const std::size_t key : lookup_.keys) keys.push_back(row.source[key]);
    if (keys.empty()) keys.push_back(value);
    const std::string name = NameOf(keys, row.batch);
    auto found = cache_.find(name);
    if (found == cache_.end()) {
      if (cache_.size() >= std::max<std::size_t>(lookup_.cacheSize, 1)) cache_.clear();
      found = cache_.emplace(name, Ask(keys)).first;
    }
    const Answer& answer = found->second;
    if (!answer.found && lookup_.mustExist) return "is not found by the lookup";
    value = Stored(answer.value, row.batch);
    return {};
  }

 private:
  struct Answer {
    bool found = false;
    ado::Value value = {};
  };

  /// Equal for equal keys alone: each is preceded by its kind and length.
  static std::string NameOf(const std::vector<ado::LoadValue>& keys, RowBatch& batch) {
    std::string name;
    for (const ado::LoadValue& key : keys) {
      const std::string_view text = TextOfValue(key, batch);
      name += (key.IsNull() ? "-" : std::to_string(text.size()) + ":");
      name += text;
    }
    return name;
  }

  Answer Ask(const std::vector<ado::LoadValue>& keys) {
    std::vector<ado::Value> parameters;
    for (const ado::LoadValue& key : keys) parameters.push_back(ParameterOf(key));
    const ado::StatementResult result = lookup_.connection.ExecuteWith(lookup_.sql, parameters);
    if (result.columns.empty())
      throw PlatformError(0, "the lookup's statement has no result; it must be a SELECT",
                          "data pump");
    if (result.firstRow.empty()) return {};
    return {true, result.firstRow.front()};
  }

  static ado::LoadValue Stored(const ado::Value& value, RowBatch& batch) {
    if (const auto* number = std::get_if<std::int64_t>(&value)) return *number;
    if (const auto* number = std::get_if<double>(&value)) return *number;
    if (const auto* text = std::get_if<std::string>(&value)) return batch.Store(*text);
    if (const auto* blob = std::get_if<ado::Blob>(&value)) return batch.Store(blob->bytes);
    return {};
  }

  const Lookup lookup_;
  std::unordered_map<std::string, Answer> cache_;
};

}  // namespace

std::unique_ptr<Transformation> NewLookup(Lookup lookup) {
  return std::make_unique<LookupTransformation>(std::move(lookup));
}

}  // namespace torvik::engine
