#include "engine/TaskReader.h"

#include <algorithm>

#include "engine/Providers.h"
#include "engine/TextTemplate.h"
#include "engine/Variables.h"
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

const ConnectionModel* TaskReader::AnyConnection(std::string_view key) {
  const PlacedText name = table_.RequiredText(key);
  if (name.text.empty()) return nullptr;
  std::vector<std::string> names;
  for (const ConnectionModel& connection : package_.connections) {
    if (connection.name == name.text) return &connection;
    names.push_back(connection.name);
  }
  problems_.Add(name.place, "the package has no connection " + Quoted(name.text) + "; " +
                                DidYouMean(name.text, names, "add it to [[connections]]"));
  return nullptr;
}

std::string TaskReader::Database(std::string_view key) {
  const ConnectionModel* connection = AnyConnection(key);
  if (connection == nullptr) return {};
  const ProviderRule* provider = FindProvider(connection->provider);
  if (provider != nullptr && provider->isTextFile)
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
