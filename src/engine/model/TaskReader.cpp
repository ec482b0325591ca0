#include "engine/model/TaskReader.h"

#include <algorithm>

#include "engine/model/Providers.h"
#include "engine/model/TextTemplate.h"
#include "engine/model/Variables.h"
#include "platform/Secrets.h"
#include "platform/Text.h"

namespace torvik::engine {
namespace {

std::vector<std::string> NamesOf(const std::vector<GlobalVariable>& variables) {
  std::vector<std::string> names;
  for (const auto& variable : variables) names.push_back(variable.name);
  return names;
}

bool HasVariable(const std::vector<GlobalVariable>& variables, std::string_view name) {
  return std::any_of(variables.begin(), variables.end(),
                     [&](const auto& one) { return EqualsIgnoringCase(one.name, name); });
}

}  // namespace

void CheckTemplate(const PlacedText& text, TextUse use,
                   const std::vector<GlobalVariable>& variables, Problems& problems) {
  for (const TemplatePiece& piece : SplitTemplate(text.text)) {
    const std::string written = "${" + std::string(piece.text) + "}";
    if (piece.kind == TemplatePiece::Kind::Unclosed) {
      problems.Add(text.place, "\"${\" without \"}\"; write ${Name}, or $${ for the characters ${");
    } else if (piece.kind == TemplatePiece::Kind::Variable) {
      if (!HasVariable(variables, piece.text)) {
        const auto names = NamesOf(variables);
        problems.Add(text.place,
                     "the package has no global variable for " + written + "; " +
                         DidYouMean(piece.text, names, "declare it in [global_variables]"));
      } else if (use == TextUse::ProcessList && IsPasswordName(piece.text)) {
        problems.Add(text.place, written +
                                     " would show in the process list; hand the password over in "
                                     "a file that only the program may read");
      }
    }
  }
}

std::optional<PlacedText> TaskReader::Template(std::string_view key, TextUse use) {
  const auto text = table_.Text(key);
  if (text) CheckTemplate(*text, use, package_.variables, problems_);
  return text;
}

PlacedText TaskReader::RequiredTemplate(std::string_view key, TextUse use) {
  const PlacedText text = table_.RequiredText(key);
  CheckTemplate(text, use, package_.variables, problems_);
  return text;
}

std::vector<PlacedText> TaskReader::Templates(std::string_view key, TextUse use) {
  std::vector<PlacedText> texts;
  if (const TomlArray* array = table_.Array(key))
    for (const TomlValue& element : *array) texts.push_back(Element(key, element, use));
  return texts;
}

std::int64_t TaskReader::Whole(std::string_view key, std::int64_t least, std::int64_t fallback) {
  const std::int64_t number = table_.Integer(key, fallback);
  if (number < least)
    problems_.Add(table_.Find(key)->place, Quoted(key) + " is less than " + std::to_string(least) +
                                               "; write " + std::to_string(least) + " or more");
  return number;
}

std::size_t TaskReader::OneOf(std::string_view key, std::span<const char* const> words,
                              std::size_t fallback) {
  const auto text = table_.Text(key);
  if (!text) return fallback;
  for (std::size_t i = 0; i < words.size(); ++i)
    if (text->text == words[i]) return i;
  const std::vector<std::string> known(words.begin(), words.end());
  problems_.Add(text->place, Quoted(key) + " is " + Quoted(text->text) + "; " +
                                 DidYouMean(text->text, known, UseOneOf(known)));
  return fallback;
}

void TaskReader::ForEach(std::string_view key, const std::function<void(TaskReader&)>& read) {
  const TomlArray* array = table_.Array(key);
  if (array == nullptr) return;
  for (const TomlValue& element : *array) {
    const auto* entries = std::get_if<TomlTable>(&element.data);
    if (entries == nullptr) {
      problems_.Add(element.place, "an element of " + Quoted(key) + " is " + KindOf(element) +
                                       "; write it as a table");
      continue;
    }
    ReadTable(*entries, element.place, read);
  }
}

void TaskReader::One(std::string_view key, const std::function<void(TaskReader&)>& read) {
  if (const TomlTable* entries = table_.Table(key))
    ReadTable(*entries, table_.Find(key)->place, read);
}

void TaskReader::ReadTable(const TomlTable& entries, TextPlace place,
                           const std::function<void(TaskReader&)>& read) {
  TableReader table(entries, place, problems_);
  TaskReader reader(table, package_, problems_);
  read(reader);
  table.Finish();
}

std::vector<std::pair<std::string, PlacedText>> TaskReader::TemplateTable(std::string_view key) {
  std::vector<std::pair<std::string, PlacedText>> texts;
  if (const TomlTable* entries = table_.Table(key))
    for (const TomlEntry& entry : *entries)
      texts.emplace_back(entry.key, Element(key, entry.value, TextUse::Inside));
  return texts;
}

PlacedText TaskReader::Element(std::string_view key, const TomlValue& value, TextUse use) {
  const auto* text = std::get_if<std::string>(&value.data);
  const PlacedText placed{text ? *text : "", value.place};
  if (text == nullptr)
    problems_.Add(value.place,
                  "an element of " + Quoted(key) + " is " + KindOf(value) + "; write a text");
  CheckTemplate(placed, use, package_.variables, problems_);
  return placed;
}

std::vector<std::pair<std::string, PlacedText>> TaskReader::VariableTemplates(
    std::string_view key) {
  std::vector<std::pair<std::string, PlacedText>> texts;
  const TomlTable* entries = table_.Table(key);
  if (entries == nullptr) return texts;
  for (const TomlEntry& entry : *entries) {
    TomlValue value = entry.value;
    if (const auto* boolean = std::get_if<bool>(&value.data)) value.data = TextOf(*boolean);
    if (const auto* integer = std::get_if<std::int64_t>(&value.data)) value.data = TextOf(*integer);
    if (const auto* real = std::get_if<double>(&value.data)) value.data = TextOf(*real);
    texts.emplace_back(entry.key, Element(key, value, TextUse::Inside));
    // Its value would then no longer be kept out of logs and process lists.
    if (!IsPasswordName(entry.key))
      RefusePassword(texts.back().second,
                     Quoted(entry.key) + ", whose name does not end in Password");
  }
  return texts;
}

void TaskReader::RefusePassword(const PlacedText& text, const std::string& where) {
  for (const TemplatePiece& piece : SplitTemplate(text.text))
    if (piece.kind == TemplatePiece::Kind::Variable && IsPasswordName(piece.text))
      problems_.Add(text.place, "${" + std::string(piece.text) +
                                    "} is a password and would show in " + where + "; take it out");
}

std::optional<PlacedText> TaskReader::Choice(std::string_view key,
                                             std::initializer_list<const char*> words) {
  const auto text = table_.Text(key);
  const std::vector<std::string> known(words.begin(), words.end());
  if (!text || std::find(known.begin(), known.end(), text->text) != known.end()) return text;
  problems_.Add(text->place, Quoted(key) + " is " + Quoted(text->text) + "; " +
                                 DidYouMean(text->text, known, UseOneOf(known)));
  return std::nullopt;
}

std::int64_t TaskReader::Seconds(std::string_view key, std::int64_t fallback) {
  constexpr std::int64_t kTenYears = 10 * 366 * 86400;
  const std::int64_t seconds = table_.Integer(key, fallback);
  if (seconds >= 0 && seconds <= kTenYears) return seconds;
  problems_.Add(table_.Find(key)->place,
                Quoted(key) + " is a whole number of seconds, 0 or more, of ten years at most");
  return fallback;
}

std::vector<std::string> TaskReader::DeclaredVariables(std::string_view key) {
  std::vector<std::string> names;
  if (const TomlArray* array = table_.Array(key))
    for (const TomlValue& element : *array) names.push_back(DeclaredVariable(key, element));
  return names;
}

std::string TaskReader::DeclaredVariable(std::string_view key, const TomlValue& element) {
  const auto* name = std::get_if<std::string>(&element.data);
  if (name == nullptr) {
    problems_.Add(element.place, "an element of " + Quoted(key) + " is " + KindOf(element) +
                                     "; write the name of a global variable");
    return {};
  }
  DeclaredVariable(*name, element.place);
  return *name;
}

void TaskReader::DeclaredVariable(const std::string& name, TextPlace place) {
  if (HasVariable(package_.variables, name)) return;
  const auto names = NamesOf(package_.variables);
  problems_.Add(place, "the package has no global variable " + Quoted(name) + "; " +
                           DidYouMean(name, names, "declare it in [global_variables]"));
}

const ConnectionModel* TaskReader::AnyConnection(std::string_view key) {
  const PlacedText name = table_.RequiredText(key);
  if (name.text.empty()) return nullptr;
  for (const ConnectionModel& connection : package_.connections)
    if (connection.name == name.text) return &connection;
  // The nearest name takes long to find among many.
  constexpr std::size_t kMostCompared = 1000;
  std::vector<std::string> names;
  if (package_.connections.size() <= kMostCompared)
    for (const ConnectionModel& connection : package_.connections) names.push_back(connection.name);
  problems_.Add(name.place, "the package has no connection " + Quoted(name.text) + "; " +
                                DidYouMean(name.text, names, "add it to [[connections]]"));
  return nullptr;
}

std::string TaskReader::Database(std::string_view key) {
  const ConnectionModel* connection = AnyConnection(key);
  if (connection == nullptr) return {};
  if (IsTextFileProvider(connection->provider))
    problems_.Add(table_.Find(key)->place, "the connection " + Quoted(connection->name) +
                                               " is a text file; name a database here");
  return connection->name;
}

void TaskReader::RequireVariable(std::string_view name) {
  if (!HasVariable(package_.variables, name))
    problems_.Add(table_.Place(), "the task needs the global variable " + Quoted(name) +
                                      "; declare it in [global_variables]");
}

}  // namespace torvik::engine
