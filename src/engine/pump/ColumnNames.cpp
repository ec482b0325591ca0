#include "engine/pump/ColumnNames.h"

#include <algorithm>

#include "platform/PlatformError.h"
#include "platform/Text.h"

namespace torvik::engine {
namespace {

std::string Listed(const std::vector<std::string>& names) {
  std::string list;
  for (const std::string& name : names) list += (list.empty() ? "" : ", ") + name;
  return list;
}

}  // namespace

std::size_t FindColumn(const std::vector<std::string>& names, const std::string& wanted,
                       const std::string& owner) {
  auto count = std::ranges::count(names, wanted);
  auto found = std::ranges::find(names, wanted);
  if (count == 0) {
    const auto matches = [&wanted](const std::string& name) {
      return EqualsIgnoringCase(name, wanted);
    };
    count = std::ranges::count_if(names, matches);
    found = std::ranges::find_if(names, matches);
  }
  if (count == 1) return static_cast<std::size_t>(found - names.begin());
  throw PlatformError(0,
                      "the " + owner + (count == 0 ? " has no column " : " has several columns ") +
                          wanted + "; its columns are: " + Listed(names),
                      "data pump");
}

}  // namespace torvik::engine
