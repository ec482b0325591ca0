#include "admin/nights/NightPlan.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <tuple>

#include "datalinks/ETLPackages.h"
#include "engine/model/RunnerVariables.h"
#include "platform/Text.h"

namespace torvik::admin {
namespace {

/// What stands behind a model's name, in the order of a night.
constexpr const char* kWork[] = {"_AlterTableDW",    "_Init",
                                 "_CleanUpAll",      "_CleanUpIntermediate",
                                 "_Transformations", "_ProcessTransformations",
                                 "_LoadDummies",     "_LoadDW",
                                 "_Upload",          "_Overall"};

std::size_t PlaceOf(const std::string& package, const std::string& model) {
  const std::string work = LowerAscii(package.substr(model.size()));
  const auto* const found = std::ranges::find_if(
      kWork, [&](const char* suffix) { return work.starts_with(LowerAscii(suffix)); });
  return static_cast<std::size_t>(found - std::begin(kWork));
}

/// Jobs of one name get a number behind it.
std::string StepName(const std::string& file, std::map<std::string, int>& names) {
  std::string name = std::filesystem::path(file).stem().string();
  const int count = ++names[LowerAscii(name)];
  return count == 1 ? name : name + " " + std::to_string(count);
}

}  // namespace

std::string NightDocument(const std::string& name, std::vector<NightJob> jobs) {
  const auto modelOf = [](const NightJob& job) { return ModelNameFromPackage(job.package); };
  std::ranges::sort(jobs, {}, [&](const NightJob& job) {
    const std::string model = modelOf(job);
    return std::tuple(model.empty(), LowerAscii(model), PlaceOf(job.package, model), job.file);
  });
  std::string text = engine::DocumentHead(name, "Runs the jobs of a night");
  std::map<std::string, int> names;
  std::string before, modelBefore;
  for (const NightJob& job : jobs) {
    const std::string model = LowerAscii(modelOf(job)), step = StepName(job.file, names);
    text += "\n[[steps]]\nname = " + engine::TomlString(step) +
            "\ntask = \"RunJob\"\njob = " + engine::TomlString(job.file) + "\n";
    if (model.empty()) text += "priority = 2\n";
    if (!model.empty() && model == modelBefore)
      text += "after = [ { step = " + engine::TomlString(before) + " } ]\n";
    before = step;
    modelBefore = model;
  }
  return text;
}

}  // namespace torvik::admin
