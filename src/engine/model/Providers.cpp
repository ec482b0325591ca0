#include "engine/model/Providers.h"

#include "platform/Text.h"

namespace torvik::engine {
namespace {

constexpr PropertyRule kDatabaseProperties[] = {
    {"Data Source", PropertyKind::Text, true},
    {"Initial Catalog", PropertyKind::Text, false},
    {"User ID", PropertyKind::Text, false},
    {"Password", PropertyKind::Text, false},
    {"Integrated Security", PropertyKind::Text, false},
    {"Persist Security Info", PropertyKind::Boolean, false},
    {"Connect Timeout", PropertyKind::Whole, false},
    {"Extended Properties", PropertyKind::Text, false},
};

constexpr PropertyRule kTextFileProperties[] = {
    {"Data Source", PropertyKind::Text, true},
    {"File Format", PropertyKind::Text, false},
    {"Column Delimiter", PropertyKind::Text, false},
    {"Row Delimiter", PropertyKind::Text, false},
    {"Text Qualifier", PropertyKind::Text, false},
    {"First Row Column Name", PropertyKind::Boolean, false},
    {"Skip Rows", PropertyKind::Whole, false},
    {"Column Names", PropertyKind::Text, false},
    {"Column Lengths", PropertyKind::Text, false},
    {"Encoding", PropertyKind::Text, false},
    {"File Type", PropertyKind::Text, false},
    {"Compression", PropertyKind::Text, false},
    {"Quote All", PropertyKind::Boolean, false},
    {"Append", PropertyKind::Boolean, false},
};

constexpr ProviderRule kProviders[] = {
    {"SQLOLEDB", kDatabaseProperties, false},
    {"SQLOLEDB.1", kDatabaseProperties, false},
    {"SQLNCLI", kDatabaseProperties, false},
    {"SQLNCLI10", kDatabaseProperties, false},
    {"SQLNCLI11", kDatabaseProperties, false},
    {"MSOLEDBSQL", kDatabaseProperties, false},
    {"MSDAORA", kDatabaseProperties, false},
    {"MSDAORA.1", kDatabaseProperties, false},
    {"OraOLEDB.Oracle", kDatabaseProperties, false},
    {"MSDASQL", kDatabaseProperties, false},
    {"MSDASQL.1", kDatabaseProperties, false},
    {"Microsoft.Jet.OLEDB.4.0", kDatabaseProperties, false},
    {"Microsoft.ACE.OLEDB.12.0", kDatabaseProperties, false},
    {"DTSFlatFile", kTextFileProperties, true},
};

}  // namespace

const ProviderRule* FindProvider(std::string_view name) {
  for (const ProviderRule& provider : kProviders)
    if (EqualsIgnoringCase(provider.name, name)) return &provider;
  return nullptr;
}

const ProviderRule& OtherProvider() {
  static constexpr ProviderRule kOther = {"", kDatabaseProperties, false};
  return kOther;
}

const PropertyRule* FindProperty(const ProviderRule& provider, std::string_view name) {
  for (const PropertyRule& property : provider.properties)
    if (EqualsIgnoringCase(property.name, name)) return &property;
  return nullptr;
}

bool IsTextFileProvider(std::string_view name) {
  const ProviderRule* provider = FindProvider(name);
  return provider != nullptr && provider->isTextFile;
}

bool IsReadOnlyProvider(std::string_view name) {
  return EqualsIgnoringCase(name, "Microsoft.Jet.OLEDB.4.0") ||
         EqualsIgnoringCase(name, "Microsoft.ACE.OLEDB.12.0");
}

std::vector<std::string> ProviderNames() {
  std::vector<std::string> names;
  for (const ProviderRule& provider : kProviders) names.emplace_back(provider.name);
  return names;
}

std::vector<std::string> PropertyNames(const ProviderRule& provider) {
  std::vector<std::string> names;
  for (const PropertyRule& property : provider.properties) names.emplace_back(property.name);
  return names;
}

}  // namespace torvik::engine
