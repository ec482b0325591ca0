#include "engine/model/TomlTable.h"

// Tables may stand in each other so deep, and a key may go on so deep in one: what follows them
// calls itself.
#define TOML_MAX_NESTED_VALUES 32
#include <toml++/toml.h>

#include <algorithm>
#include <iterator>
#include <optional>

#include "engine/model/TomlKeys.h"

namespace torvik::engine {
namespace {

TextPlace PlaceOf(const toml::source_region& region) {
  return {static_cast<int>(region.begin.line), static_cast<int>(region.begin.column)};
}

TomlTable Converted(const toml::table& table);

TomlValue Converted(const toml::node& node) {
  TomlValue value{PlaceOf(node.source()), {}};
  if (const auto* text = node.as_string()) {
    value.data = text->get();
  } else if (const auto* boolean = node.as_boolean()) {
    value.data = boolean->get();
  } else if (const auto* integer = node.as_integer()) {
    value.data = integer->get();
  } else if (const auto* real = node.as_floating_point()) {
    value.data = real->get();
  } else if (const auto* table = node.as_table()) {
    value.data = Converted(*table);
  } else if (const auto* array = node.as_array()) {
    TomlArray elements;
    for (const toml::node& element : *array) elements.push_back(Converted(element));
    value.data = std::move(elements);
  }
  return value;
}

TomlTable Converted(const toml::table& table) {
  TomlTable entries;
  for (const auto& [key, node] : table)
    entries.push_back({std::string(key.str()), PlaceOf(key.source()), Converted(node)});
  // The library sorts by key.
  std::sort(entries.begin(), entries.end(),
            [](const TomlEntry& a, const TomlEntry& b) { return a.place < b.place; });
  return entries;
}

/// In the order of the alternatives of TomlValue::data.
const char* const kKinds[] = {"a date or time", "a text",   "a Boolean", "an integer",
                              "a real number",  "an array", "a table"};

template <typename T>
const char* KindName() {
  return kKinds[decltype(TomlValue::data)(T{}).index()];
}

}  // namespace

TomlTable ParseToml(std::string_view text, Problems& problems) {
  if (const std::string reason = WhyNoUtf8(text); !reason.empty()) {
    problems.Add({1, 1}, reason + "; save the document as UTF-8");
    return {};
  }
  if (const auto place = FindLongKey(text)) {
    problems.Add(*place, "a key of more than 32 parts; name each table with a key of its own");
    return {};
  }
  try {
    return Converted(toml::parse(text));
  } catch (const toml::parse_error& error) {
    problems.Add(PlaceOf(error.source()),
                 std::string(error.description()) + "; correct the document at this place");
    return {};
  }
}

const char* KindOf(const TomlValue& value) {
  return kKinds[value.data.index()];
}

const TomlValue* TableReader::Find(std::string_view key) {
  known_.emplace_back(key);
  const auto found = std::find_if(table_.begin(), table_.end(),
                                  [&](const TomlEntry& entry) { return entry.key == key; });
  return found == table_.end() ? nullptr : &found->value;
}

template <typename T>
const T* TableReader::Get(std::string_view key) {
  const TomlValue* value = Find(key);
  if (value == nullptr) return nullptr;
  const T* wanted = std::get_if<T>(&value->data);
  if (wanted == nullptr)
    problems_.Add(value->place, Quoted(key) + " is " + KindOf(*value) + "; write " + KindName<T>());
  return wanted;
}

std::optional<PlacedText> TableReader::Text(std::string_view key) {
  const auto* text = Get<std::string>(key);
  if (text == nullptr) return std::nullopt;
  return PlacedText{*text, Find(key)->place};
}

PlacedText TableReader::RequiredText(std::string_view key) {
  const bool present = Find(key) != nullptr;
  const auto text = Text(key);
  if (!present) {
    problems_.Add(place_, "the key " + Quoted(key) + " is missing; add it here");
  } else if (text && text->text.empty()) {
    problems_.Add(text->place, Quoted(key) + " is empty; write a text");
  }
  return text.value_or(PlacedText{"", place_});
}

std::int64_t TableReader::Integer(std::string_view key, std::int64_t fallback) {
  const auto* integer = Get<std::int64_t>(key);
  return integer ? *integer : fallback;
}

bool TableReader::Boolean(std::string_view key, bool fallback) {
  const auto* boolean = Get<bool>(key);
  return boolean ? *boolean : fallback;
}

const TomlArray* TableReader::Array(std::string_view key) {
  return Get<TomlArray>(key);
}

const TomlTable* TableReader::Table(std::string_view key) {
  return Get<TomlTable>(key);
}

void TableReader::SkipOriginal() {
  const TomlTable* const properties = Table("original");
  if (properties == nullptr) return;
  for (const TomlEntry& property : *properties) {
    const auto& data = property.value.data;
    if (std::holds_alternative<std::monostate>(data) || std::holds_alternative<TomlArray>(data) ||
        std::holds_alternative<TomlTable>(data))
      problems_.Add(property.place, "the original property " + Quoted(property.key) + " is " +
                                        KindOf(property.value) +
                                        "; write a text, a Boolean or a number");
  }
}

void TableReader::Finish() {
  std::sort(known_.begin(), known_.end());
  known_.erase(std::unique(known_.begin(), known_.end()), known_.end());
  for (const TomlEntry& entry : table_)
    if (std::find(known_.begin(), known_.end(), entry.key) == known_.end())
      problems_.Add(entry.place, "unknown key " + Quoted(entry.key) + "; " +
                                     DidYouMean(entry.key, known_, UseOneOf(known_)));
}

}  // namespace torvik::engine
