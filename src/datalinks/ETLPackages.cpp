#include "datalinks/ETLPackages.h"

#include <algorithm>
#include <array>

namespace torvik {
namespace {

// The order of the list wins over the position in the name.
constexpr std::array<std::string_view, 10> kSuffixes = {"_CleanUpAll",  "_CleanUpIntermediate",
                                                        "_Init",        "_Transformations",
                                                        "_LoadDummies", "_LoadDW",
                                                        "_Overall",     "_ProcessTransformations",
                                                        "_Upload",      "_AlterTableDW"};

char Lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
}

}  // namespace

std::string ModelNameFromPackage(std::string_view packageName) {
  for (const std::string_view suffix : kSuffixes) {
    const auto found =
        std::search(packageName.begin(), packageName.end(), suffix.begin(), suffix.end(),
                    [](char a, char b) { return Lower(a) == Lower(b); });
    if (found != packageName.end()) return {packageName.begin(), found};
  }
  return {};
}

}  // namespace torvik
