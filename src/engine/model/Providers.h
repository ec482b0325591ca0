#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace torvik::engine {

/// What a property's value must be when it is not given by a variable.
enum class PropertyKind { Text, Whole, Boolean };

struct PropertyRule {
  const char* name;
  PropertyKind kind;
  bool required;
};

/// A provider that a connection may name, and the properties that it knows.
struct ProviderRule {
  const char* name;
  std::span<const PropertyRule> properties;
  bool isTextFile;
};

/// Null when there is none of that name. Letter case does not matter.
const ProviderRule* FindProvider(std::string_view name);
/// Of a provider that is none of these.
const ProviderRule& OtherProvider();
const PropertyRule* FindProperty(const ProviderRule& provider, std::string_view name);

/// True for the provider of text files; one that is not known is none.
bool IsTextFileProvider(std::string_view name);

/// True for the providers of Access, Excel and dBase files, which are read and not written.
bool IsReadOnlyProvider(std::string_view name);

std::vector<std::string> ProviderNames();
std::vector<std::string> PropertyNames(const ProviderRule& provider);

}  // namespace torvik::engine
