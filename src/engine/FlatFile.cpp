#include "engine/FlatFile.h"

#include <charconv>

#include "engine/Problems.h"
#include "platform/PlatformError.h"
#include "platform/Text.h"

namespace torvik::engine {
namespace {

PlatformError Unfit(const char* property, const std::string& value, const char* wanted) {
  return PlatformError(
      0, "the property " + Quoted(property) + " is " + Quoted(value) + "; it must be " + wanted,
      "package engine");
}

bool Boolean(const ConnectionSettings& settings, const char* property) {
  const std::string* value = settings.Find(property);
  if (value == nullptr || EqualsIgnoringCase(*value, "False")) return false;
  if (EqualsIgnoringCase(*value, "True")) return true;
  throw Unfit(property, *value, "True or False");
}

int Whole(const ConnectionSettings& settings, const char* property) {
  const std::string* value = settings.Find(property);
  if (value == nullptr) return 0;
  int number = 0;
  const auto [end, error] = std::from_chars(value->data(), value->data() + value->size(), number);
  if (error != std::errc() || end != value->data() + value->size() || number < 0)
    throw Unfit(property, *value, "a whole number from 0");
  return number;
}

std::vector<std::string> Names(const std::string& list) {
  std::vector<std::string> names;
  for (std::size_t begin = 0; begin <= list.size();) {
    const std::size_t end = std::min(list.find(',', begin), list.size());
    std::string name = list.substr(begin, end - begin);
    name.erase(0, name.find_first_not_of(' '));
    name.erase(name.find_last_not_of(' ') + 1);
    names.push_back(name);
    begin = end + 1;
  }
  return names;
}

}  // namespace

DelimitedFormat FlatFileFormat(const ConnectionSettings& settings) {
  DelimitedFormat format;
  const auto take = [&](const char* property, std::string& into) {
    if (const std::string* value = settings.Find(property)) into = *value;
  };
  take("Column Delimiter", format.columnDelimiter);
  take("Row Delimiter", format.rowDelimiter);
  take("Text Qualifier", format.textQualifier);
  take("Encoding", format.encoding);
  format.firstRowColumnName = Boolean(settings, "First Row Column Name");
  format.skipRows = Whole(settings, "Skip Rows");
  if (const std::string* list = settings.Find("Column Names"); list && !list->empty())
    format.columnNames = Names(*list);
  return format;
}

}  // namespace torvik::engine
