#include "import/PumpColumns.h"

#include <algorithm>
#include <initializer_list>
#include <string>

namespace torvik::importing {
namespace {

std::string NameOf(const Object& column) {
  const Property* const name = column.Find("Name");
  return name ? name->value.PlainText() : column.progId;
}

/// DBTYPE of OLE DB; 0 where the text does not say it.
int TypeOf(const Object& column) {
  const Property* const type = column.Find("DataType");
  const bool isNumber = type && type->value.kind == Value::Kind::Number;
  return isNumber ? static_cast<int>(type->value.number) : 0;
}

bool IsAny(int type, std::initializer_list<int> types) {
  return std::ranges::find(types, type) != types.end();
}

bool IsDate(int type) {
  constexpr int kDate = 7, kDbDate = 133, kDbTime = 134, kDbTimestamp = 135;
  return IsAny(type, {kDate, kDbDate, kDbTime, kDbTimestamp});
}

bool IsText(int type) {
  constexpr int kBasicText = 8, kText = 129, kWideText = 130;
  return IsAny(type, {kBasicText, kText, kWideText});
}

void AddFacts(std::vector<Property>& facts, const Object& transformation, const char* collection,
              const std::string& what) {
  const Object* const columns = transformation.Child(collection);
  if (columns == nullptr) return;
  for (const ObjectPtr& column : columns->items) {
    std::string words;
    for (const char* fact : {"DataType", "Size", "Precision", "NumericScale", "Nullable", "Flags"})
      if (const Property* const property = column->Find(fact))
        words += (words.empty() ? "" : ", ") + (fact + (" " + property->value.PlainText()));
    if (!words.empty())
      facts.push_back({what + NameOf(*column), Value::OfText(words), column->line});
  }
}

}  // namespace

std::vector<std::string> ColumnNames(const Object& object, const char* collection) {
  std::vector<std::string> names;
  const Object* const columns = object.Child(collection);
  if (columns == nullptr) return names;
  std::vector<std::pair<double, std::string>> ordered;
  for (const ObjectPtr& column : columns->items) {
    const Property* const name = column->Find("Name");
    const Property* const ordinal = column->Find("Ordinal");
    const bool hasOrdinal = ordinal && ordinal->value.kind == Value::Kind::Number;
    ordered.emplace_back(
        hasOrdinal ? ordinal->value.number : static_cast<double>(ordered.size() + 1),
        name ? name->value.PlainText() : "");
  }
  std::ranges::stable_sort(ordered, {}, &std::pair<double, std::string>::first);
  for (auto& [ordinal, name] : ordered) names.push_back(std::move(name));
  return names;
}

std::vector<Property> ColumnFacts(const Object& transformation) {
  std::vector<Property> facts;
  AddFacts(facts, transformation, "sourcecolumns", "source column ");
  AddFacts(facts, transformation, "destinationcolumns", "destination column ");
  return facts;
}

void NoteDates(const Object& transformation, bool readsText, std::vector<Note>& notes) {
  const Object* const sources = transformation.Child("sourcecolumns");
  const Object* const destinations = transformation.Child("destinationcolumns");
  if (sources == nullptr || destinations == nullptr) return;
  std::string names;
  for (std::size_t i = 0; i < std::min(sources->items.size(), destinations->items.size()); ++i)
    if (IsDate(TypeOf(*destinations->items[i])) &&
        (readsText || IsText(TypeOf(*sources->items[i]))))
      names += (names.empty() ? "" : ", ") + NameOf(*destinations->items[i]);
  if (!names.empty())
    notes.push_back({transformation.line,
                     "texts go into dates as they are (" + names +
                         "): they must be written YYYY-MM-DD HH:MM:SS; make other ones a "
                         "transformation of the type \"date_time\", else their rows are rejected"});
}

}  // namespace torvik::importing
