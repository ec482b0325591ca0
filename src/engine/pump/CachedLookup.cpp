#include "engine/pump/CachedLookup.h"

#include <algorithm>
#include <array>

#include "engine/pump/TextRow.h"
#include "platform/PlatformError.h"

namespace torvik::engine {
namespace {

/// Equal for equal keys alone: each is preceded by its length, or by what it is without one.
std::string NameOf(std::span<const ado::LoadValue> keys) {
  std::string name;
  for (const ado::LoadValue& key : keys) {
    std::array<char, kNumberCharacters> room;
    const std::string_view text = WrittenText(key, room);
    name += (key.IsNull() ? "-" : std::to_string(text.size()) + ":");
    name += text;
  }
  return name;
}

/// Those that stand neither in a text or a name in quotes nor in a comment.
std::size_t CountMarkers(std::string_view sql) {
  std::size_t count = 0;
  for (std::size_t at = 0; at < sql.size();) {
    const std::string_view rest = sql.substr(at);
    const char c = sql[at];
    std::string_view end;
    if (c == '\'' || c == '"') end = sql.substr(at, 1);
    if (c == '[') end = "]";
    if (rest.starts_with("--")) end = "\n";
    if (rest.starts_with("/*")) end = "*/";
    count += c == '?' ? 1 : 0;
    ++at;
    if (end.empty()) continue;
    const std::size_t found = sql.find(end, at);
    if (found == sql.npos) break;
    at = found + end.size();
  }
  return count;
}

}  // namespace

CachedLookup::CachedLookup(ado::Connection& connection, std::string sql, std::size_t cacheSize)
    : connection_(connection),
      sql_(std::move(sql)),
      cacheSize_(cacheSize),
      markers_(CountMarkers(sql_)) {}

const std::vector<ado::Value>& CachedLookup::FirstRow(std::span<const ado::LoadValue> keys) {
  std::string name = NameOf(keys);
  auto found = answers_.find(name);
  if (found == answers_.end()) {
    if (answers_.size() >= std::max<std::size_t>(cacheSize_, 1)) answers_.clear();
    found = answers_.emplace(std::move(name), Ask(keys)).first;
  }
  return found->second;
}

std::vector<ado::Value> CachedLookup::Ask(std::span<const ado::LoadValue> keys) const {
  std::vector<ado::Value> parameters;
  for (const ado::LoadValue& key : keys) parameters.push_back(ado::ValueOf(key));
  ado::StatementResult result = connection_.ExecuteWith(sql_, parameters);
  if (result.columns.empty())
    throw PlatformError(0, "the lookup's statement has no result; it must be a SELECT",
                        "data pump");
  return result.rows.empty() ? std::vector<ado::Value>() : std::move(result.rows.front());
}

}  // namespace torvik::engine
