#include "engine/model/TaskProperties.h"

#include <algorithm>
#include <iterator>

#include "platform/CommandText.h"
#include "platform/Text.h"

namespace torvik::engine {
namespace {

using Form = TaskProperty::Form;

constexpr TaskProperty kProperties[] = {
    {"ExecuteSQL", "SQLStatement", "sql", "", Form::Text},
    {"DataPump", "SourceSQLStatement", "source_sql", "source_table", Form::Text},
    {"DataPump", "SourceObjectName", "source_table", "source_sql", Form::Text},
    {"DataPump", "DestinationObjectName", "table", "", Form::Text},
    {"DataDrivenQuery", "SourceSQLStatement", "source_sql", "source_table", Form::Text},
    {"DataDrivenQuery", "SourceObjectName", "source_table", "source_sql", Form::Text},
    {"ExecutePackage", "PackageName", "package", "", Form::Text},
    {"ExecutePackage", "ServerName", "server", "", Form::Text},
    {"ExecuteProcess", "ProcessCommandLine", "program", "", Form::Program},
    {"BulkInsert", "DataFile", "file", "", Form::Text},
    {"BulkInsert", "DestinationTableName", "table", "", Form::Text},
    {"SendMail", "ToLine", "to", "", Form::Text},
    {"SendMail", "CCLine", "cc", "", Form::Text},
    {"SendMail", "Subject", "subject", "", Form::Text},
    {"SendMail", "MessageText", "text", "", Form::Text},
    {"SendMail", "FileAttachments", "attachments", "", Form::List},
    {"FetchFiles", "SourceSite", "server", "directory", Form::Text},
    {"FetchFiles", "DestSite", "destination", "", Form::Text},
    {"Script", "ActiveXScript", "script", "", Form::Text},
};

constexpr std::pair<const char*, const char*> kIds[] = {
    {"ExecuteProcess", "DTSCreateProcessTask"},
    {"FetchFiles", "DTSFTPTask"},
    {"SetVariables", "DTSDynamicPropertiesTask"},
    {"Script", "DTSActiveScriptTask"},
};

constexpr const char* kArguments = "arguments";

std::string AsTemplate(std::string_view text) {
  std::string result;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text.substr(i).starts_with("${")) result += '$';
    result += text[i];
  }
  return result;
}

std::vector<std::string> ListParts(std::string_view list) {
  std::vector<std::string> parts;
  for (std::size_t begin = 0; begin <= list.size();) {
    const std::size_t end = std::min(list.find(';', begin), list.size());
    if (const auto part = Trimmed(list.substr(begin, end - begin)); !part.empty())
      parts.emplace_back(part);
    begin = end + 1;
  }
  return parts;
}

const TomlValue* Find(const TomlTable& keys, std::string_view key) {
  const auto found = std::ranges::find(keys, key, &TomlEntry::key);
  return found == keys.end() ? nullptr : &found->value;
}

std::string Joined(const TomlValue* value, const char* between) {
  if (value == nullptr) return {};
  if (const auto* text = std::get_if<std::string>(&value->data)) return *text;
  std::string joined;
  if (const auto* array = std::get_if<TomlArray>(&value->data))
    for (const TomlValue& element : *array)
      joined += (joined.empty() ? "" : between) + Joined(&element, between);
  return joined;
}

TextPlace PlaceOf(const TomlTable& keys) {
  return keys.empty() ? TextPlace{} : keys.front().place;
}

void Put(TomlTable& keys, const char* key, decltype(TomlValue::data) data) {
  const auto found = std::ranges::find(keys, key, &TomlEntry::key);
  if (found != keys.end()) {
    found->value.data = std::move(data);
    return;
  }
  const TextPlace place = PlaceOf(keys);
  keys.push_back({key, place, {place, std::move(data)}});
}

TomlArray ArrayOf(const std::vector<std::string>& texts, TextPlace place) {
  TomlArray array;
  for (const std::string& text : texts) array.push_back({place, AsTemplate(text)});
  return array;
}

}  // namespace

const TaskProperty* FindTaskProperty(std::string_view task, std::string_view name) {
  const auto found = std::ranges::find_if(kProperties, [&](const TaskProperty& one) {
    return task == one.task && EqualsIgnoringCase(one.name, name);
  });
  return found == std::end(kProperties) ? nullptr : found;
}

std::optional<std::size_t> TaskPropertyNumber(std::string_view name) {
  const auto found = std::ranges::find_if(
      kProperties, [&](const TaskProperty& one) { return EqualsIgnoringCase(one.name, name); });
  if (found == std::end(kProperties)) return std::nullopt;
  return static_cast<std::size_t>(found - std::begin(kProperties));
}

std::string TaskPropertyName(std::size_t number) {
  return kProperties[number].name;
}

std::string CustomTaskId(std::string_view task) {
  const auto found = std::ranges::find_if(kIds, [&](const auto& one) { return task == one.first; });
  return found == std::end(kIds) ? "DTS" + std::string(task) + "Task" : found->second;
}

std::string ValueAmong(const TomlTable& keys, const TaskProperty& property) {
  std::string value = Joined(Find(keys, property.key), property.form == Form::List ? ";" : "");
  if (property.form != Form::Program) return value;
  const std::string arguments = Joined(Find(keys, kArguments), " ");
  return arguments.empty() ? value : value + " " + arguments;
}

void SetAmong(TomlTable& keys, const TaskProperty& property, std::string_view text) {
  std::erase_if(keys, [&](const TomlEntry& one) { return one.key == property.instead; });
  switch (property.form) {
    case Form::Text: return Put(keys, property.key, AsTemplate(text));
    case Form::List: return Put(keys, property.key, ArrayOf(ListParts(text), PlaceOf(keys)));
    case Form::Program: break;
  }
  std::vector<std::string> words = SplitCommandText(text);
  const std::string program = words.empty() ? "" : words.front();
  if (!words.empty()) words.erase(words.begin());
  Put(keys, property.key, AsTemplate(program));
  Put(keys, kArguments, ArrayOf(words, PlaceOf(keys)));
}

}  // namespace torvik::engine
