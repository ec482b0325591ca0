#include "engine/ConnectionReader.h"

#include <algorithm>

#include "engine/model/Providers.h"
#include "engine/model/TaskReader.h"
#include "engine/model/Variables.h"

namespace torvik::engine {
namespace {

const char* WantedOf(PropertyKind kind) {
  switch (kind) {
    case PropertyKind::Boolean: return "true, false or a ${Name}";
    case PropertyKind::Whole: return "a whole number or a ${Name}";
    case PropertyKind::Text: break;
  }
  return "a text";
}

/// The properties of one connection, of a provider that is known.
class PropertyReader {
 public:
  PropertyReader(const ProviderRule& provider, const std::vector<GlobalVariable>& variables,
                 Problems& problems)
      : provider_(provider), variables_(variables), problems_(problems) {}

  std::vector<ConnectionProperty> Read(const TomlTable& entries) {
    std::vector<ConnectionProperty> properties;
    for (const TomlEntry& entry : entries) {
      const PropertyRule* rule = FindProperty(provider_, entry.key);
      if (rule == nullptr) {
        const auto known = PropertyNames(provider_);
        problems_.Add(entry.place, "unknown property " + Quoted(entry.key) + " of provider " +
                                       Quoted(provider_.name) + "; " +
                                       DidYouMean(entry.key, known, UseOneOf(known)));
      } else if (Has(properties, rule->name)) {
        problems_.Add(entry.place,
                      "the property " + Quoted(rule->name) + " is given twice; remove one of them");
      } else {
        properties.push_back({rule->name, Value(*rule, entry.value)});
      }
    }
    return properties;
  }

  void CheckRequired(const ConnectionModel& connection) {
    for (const PropertyRule& rule : provider_.properties)
      if (rule.required && !connection.dataLinkFile && !Has(connection.properties, rule.name))
        problems_.Add(connection.place, "the connection " + Quoted(connection.name) +
                                            " has no property " + Quoted(rule.name) +
                                            "; add it to its properties");
  }

 private:
  static bool Has(const std::vector<ConnectionProperty>& properties, const char* name) {
    return std::any_of(properties.begin(), properties.end(),
                       [&](const ConnectionProperty& one) { return one.name == name; });
  }

  PlacedText Value(const PropertyRule& rule, const TomlValue& value) {
    if (const auto* text = std::get_if<std::string>(&value.data)) {
      const PlacedText placed{*text, value.place};
      CheckTemplate(placed, TextUse::Inside, variables_, problems_);
      if (rule.kind == PropertyKind::Text || text->find("${") != std::string::npos) return placed;
    } else if (const auto* boolean = std::get_if<bool>(&value.data)) {
      if (rule.kind == PropertyKind::Boolean) return {TextOf(*boolean), value.place};
    } else if (const auto* number = std::get_if<std::int64_t>(&value.data)) {
      if (rule.kind == PropertyKind::Whole && *number >= 0) return {TextOf(*number), value.place};
    }
    problems_.Add(value.place, "the property " + Quoted(rule.name) + " is " + KindOf(value) +
                                   "; write " + WantedOf(rule.kind));
    return {"", value.place};
  }

  const ProviderRule& provider_;
  const std::vector<GlobalVariable>& variables_;
  Problems& problems_;
};

}  // namespace

ConnectionModel ReadConnection(TableReader& table, const std::string& name,
                               const std::vector<GlobalVariable>& variables, Problems& problems) {
  ConnectionModel connection{name, "", {}, table.Place(), {}};
  const PlacedText provider = table.RequiredText("provider");
  connection.provider = provider.text;
  connection.dataLinkFile = table.Text("data_link_file");
  if (connection.dataLinkFile)
    CheckTemplate(*connection.dataLinkFile, TextUse::Inside, variables, problems);
  const TomlTable* entries = table.Table("properties");
  table.SkipOriginal();
  table.Finish();
  const auto known = ProviderNames();
  const std::string advice = DidYouMean(provider.text, known, "");
  const ProviderRule* rule = FindProvider(provider.text);
  // Any other one needs a driver in the settings, which shows when it is opened.
  if (rule == nullptr && advice.empty()) rule = &OtherProvider();
  if (provider.text.empty()) return connection;
  if (rule != nullptr) {
    PropertyReader reader(*rule, variables, problems);
    if (entries) connection.properties = reader.Read(*entries);
    reader.CheckRequired(connection);
  } else {
    problems.Add(provider.place, "unknown provider " + Quoted(provider.text) + "; " + advice);
  }
  return connection;
}

}  // namespace torvik::engine
