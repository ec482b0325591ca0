#include "migrate/Inventory.h"

#include <algorithm>
#include <map>

#include "migrate/DtsrunLine.h"
#include "platform/PlatformError.h"
#include "platform/Text.h"

namespace torvik::migrate {

bool Has(const std::vector<std::string>& names, const std::string& name) {
  return std::ranges::any_of(names,
                             [&](const std::string& one) { return EqualsIgnoringCase(one, name); });
}

PackageState StateOf(const Inventory& inventory, const std::string& package) {
  if (Has(inventory.here, package)) return PackageState::Here;
  const bool isText = std::ranges::any_of(inventory.packageFiles, [&](const OldPackageFile& file) {
    return !file.name.empty() && EqualsIgnoringCase(file.name, package);
  });
  return isText ? PackageState::SavedAsText : PackageState::ToBeSaved;
}

const char* WordsOf(PackageState state) {
  switch (state) {
    case PackageState::Here: return "is here";
    case PackageState::SavedAsText: return "is saved as text, to be imported";
    case PackageState::ToBeSaved: break;
  }
  return "has to be saved as text";
}

std::vector<std::string> PackagesOf(const Inventory& inventory) {
  std::map<std::string, std::string> names;
  const auto add = [&](const std::string& name) {
    if (!name.empty()) names.try_emplace(LowerAscii(name), name);
  };
  for (const OldPackage& package : inventory.packages) add(package.name);
  for (const OldJobFile& job : inventory.jobFiles) add(job.package);
  for (const OldPackageFile& file : inventory.packageFiles) {
    add(file.name);
    for (const importing::ContainedPackage& package : file.contained) add(package.name);
  }
  for (const AgentJob& job : inventory.agentJobs)
    for (const AgentStep& step : job.steps)
      for (const DtsrunText& line : DtsrunLinesIn(step.command)) try {
          add(ReadDtsrunLine(line.text).package);
        } catch (const PlatformError&) {
          // the report tells of it where it tells of the step
        }
  std::vector<std::string> packages;
  for (const auto& [lower, name] : names) packages.push_back(name);
  return packages;
}

}  // namespace torvik::migrate
