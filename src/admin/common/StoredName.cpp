#include "admin/common/StoredName.h"

#include <algorithm>

#include "datalinks/ETLPackages.h"
#include "platform/Text.h"

namespace torvik::admin {
namespace {

constexpr std::size_t kMostCharacters = 128;  // the width of its column

bool IsBlank(char c) {
  return c == ' ' || c == '\t';
}

std::string NameProblem(std::string_view name) {
  const bool hasControl = std::any_of(name.begin(), name.end(), [](char c) {
    return static_cast<unsigned char>(c) < ' ' || c == '\x7F';
  });
  if (hasControl) return "holds a control character; write a name of one line";
  if (!name.empty() && (IsBlank(name.front()) || IsBlank(name.back())))
    return "begins or ends with a blank; take it away";
  if (FirstCharacters(name, kMostCharacters).size() < name.size())
    return "has more than " + std::to_string(kMostCharacters) + " characters; write a shorter name";
  return {};
}

}  // namespace

std::string PackageNameProblem(const std::string& name) {
  if (ModelNameFromPackage(name).find('\'') != std::string::npos)
    return "holds the character ' in that of its model, and the statements of a run would break at "
           "it; write a name without it";
  return NameProblem(name);
}

std::string LinkNameProblem(std::string_view name) {
  if (name.find('\'') != name.npos)
    return "holds the character ', and the statements of a run would break at it; write a name "
           "without it";
  return NameProblem(name);
}

}  // namespace torvik::admin
