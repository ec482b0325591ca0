#include "engine/tasks/FlatFile.h"

#include "engine/model/Problems.h"
#include "platform/NumberText.h"
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

/// What one of several words stands for, by which a property's value is spelled.
template <typename Meaning>
struct Choice {
  const char* word;
  Meaning meaning;
};

template <typename Meaning, std::size_t count>
Meaning Chosen(const ConnectionSettings& settings, const char* property,
               const Choice<Meaning> (&choices)[count], const char* wanted) {
  const std::string* value = settings.Find(property);
  if (value == nullptr || value->empty()) return choices[0].meaning;
  for (const auto& [word, meaning] : choices)
    if (EqualsIgnoringCase(word, *value)) return meaning;
  throw Unfit(property, *value, wanted);
}

/// The numbers are those by which the package object model calls a choice.
constexpr Choice<TextLayout> kLayouts[] = {{"Delimited", TextLayout::Delimited},
                                           {"1", TextLayout::Delimited},
                                           {"Fixed", TextLayout::Fixed},
                                           {"2", TextLayout::Fixed}};
constexpr Choice<const char*> kEncodings[] = {
    {"", "utf-8"},          {"ASCII", "windows-1252"}, {"1", "windows-1252"},
    {"Unicode", "utf-16"},  {"2", "utf-16"},           {"Autodetect", kDetectEncoding},
    {"3", kDetectEncoding}, {"OEM", "cp437"},          {"4", "cp437"}};
constexpr Choice<Compression> kCompressions[] = {
    {"Auto", Compression::Auto}, {"Gzip", Compression::Gzip}, {"None", Compression::None}};

int Whole(const ConnectionSettings& settings, const char* property) {
  const std::string* value = settings.Find(property);
  if (value == nullptr) return 0;
  const auto number = NumberOf<int>(*value);
  if (!number || *number < 0) throw Unfit(property, *value, "a whole number from 0");
  return *number;
}

std::vector<std::string> Names(const std::string& list) {
  std::vector<std::string> names;
  for (std::size_t begin = 0; begin <= list.size();) {
    const std::size_t end = std::min(list.find(',', begin), list.size());
    names.emplace_back(Trimmed(std::string_view(list).substr(begin, end - begin)));
    begin = end + 1;
  }
  return names;
}

std::vector<std::size_t> Lengths(const ConnectionSettings& settings) {
  constexpr char kProperty[] = "Column Lengths";
  std::vector<std::size_t> lengths;
  const std::string* list = settings.Find(kProperty);
  if (list == nullptr || list->empty()) return lengths;
  for (const std::string& one : Names(*list)) {
    const auto length = NumberOf<std::size_t>(one);
    if (length.value_or(0) == 0)
      throw Unfit(kProperty, *list, "whole numbers from 1 with commas between them");
    lengths.push_back(*length);
  }
  return lengths;
}

}  // namespace

TextFormat FlatFileFormat(const ConnectionSettings& settings) {
  TextFormat format;
  const auto take = [&](const char* property, std::string& into) {
    if (const std::string* value = settings.Find(property)) into = *value;
  };
  take("Column Delimiter", format.columnDelimiter);
  take("Row Delimiter", format.rowDelimiter);
  take("Text Qualifier", format.textQualifier);
  format.encoding = Chosen(settings, "File Type", kEncodings,
                           "ASCII (1), Unicode (2), Autodetect (3) or OEM (4)");
  if (const std::string* given = settings.Find("Encoding"); given && !given->empty())
    format.encoding = *given;
  format.firstRowColumnName = Boolean(settings, "First Row Column Name");
  format.skipRows = Whole(settings, "Skip Rows");
  if (const std::string* list = settings.Find("Column Names"); list && !list->empty())
    format.columnNames = Names(*list);
  format.layout = Chosen(settings, "File Format", kLayouts, "Delimited (1) or Fixed (2)");
  format.columnLengths = Lengths(settings);
  format.compression = Chosen(settings, "Compression", kCompressions, "auto, gzip or none");
  format.quoteAll = Boolean(settings, "Quote All");
  format.append = Boolean(settings, "Append");
  return format;
}

}  // namespace torvik::engine
