#include "datalinks/ETLPackages.h"

#include <algorithm>
#include <array>

#include "platform/Text.h"

namespace torvik {
namespace {

// The order of the list wins over the position in the name.
constexpr std::array<std::string_view, 10> kSuffixes = {"_CleanUpAll",  "_CleanUpIntermediate",
                                                        "_Init",        "_Transformations",
                                                        "_LoadDummies", "_LoadDW",
                                                        "_Overall",     "_ProcessTransformations",
                                                        "_Upload",      "_AlterTableDW"};

}  // namespace

std::string ModelNameFromPackage(std::string_view packageName) {
  for (const std::string_view suffix : kSuffixes) {
    const auto found =
        std::search(packageName.begin(), packageName.end(), suffix.begin(), suffix.end(),
                    [](char a, char b) { return LowerAscii(a) == LowerAscii(b); });
    if (found != packageName.end()) return {packageName.begin(), found};
  }
  return {};
}

}  // namespace torvik
