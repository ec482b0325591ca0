#include "nights/NightRecord.h"

#include <nlohmann/json.hpp>

#include "platform/PlatformError.h"

namespace torvik::nights {
namespace {

using RecordJson = nlohmann::ordered_json;
using engine::Outcome;

constexpr std::pair<Outcome, const char*> kOutcomes[] = {{Outcome::Success, "success"},
                                                         {Outcome::Failure, "failure"},
                                                         {Outcome::Completion, "completion"}};

RecordJson JsonOf(const SubmittedStep& step) {
  RecordJson after = RecordJson::array();
  for (const engine::Constraint& one : step.after)
    for (const auto& [outcome, word] : kOutcomes)
      if (outcome == one.outcome) after.push_back({{"step", one.step}, {"on", word}});
  return {{"name", step.name},           {"job", step.job},     {"task", step.task},
          {"disabled", step.isDisabled}, {"done", step.isDone}, {"after", after}};
}

engine::Constraint ConstraintOf(const RecordJson& json, std::size_t steps) {
  engine::Constraint constraint{json.at("step").get<std::size_t>(), Outcome::Completion};
  if (constraint.step >= steps) throw std::out_of_range("a step waits for none of the night");
  for (const auto& [outcome, word] : kOutcomes)
    if (json.at("on").get<std::string>() == word) constraint.outcome = outcome;
  return constraint;
}

SubmittedStep StepOf(const RecordJson& json, std::size_t steps) {
  SubmittedStep step;
  step.name = json.at("name").get<std::string>();
  step.job = json.at("job").get<std::string>();
  step.task = json.at("task").get<std::string>();
  step.isDisabled = json.at("disabled").get<bool>();
  step.isDone = json.at("done").get<bool>();
  for (const RecordJson& one : json.at("after")) step.after.push_back(ConstraintOf(one, steps));
  return step;
}

}  // namespace

std::string TextOf(const NightRecord& night) {
  RecordJson steps = RecordJson::array();
  for (const SubmittedStep& step : night.steps) steps.push_back(JsonOf(step));
  const RecordJson json = {{"package", night.package},
                           {"submitted", night.submitted},
                           {"jobs", night.jobs},
                           {"steps", steps}};
  return json.dump(1, ' ', false, RecordJson::error_handler_t::replace) + "\n";
}

NightRecord NightRecordOf(std::string_view text, const std::string& place) {
  try {
    const RecordJson json = RecordJson::parse(text);
    NightRecord night{json.at("package").get<std::string>(),
                      json.at("submitted").get<std::string>(),
                      json.at("jobs").get<std::vector<std::string>>()};
    const RecordJson& steps = json.at("steps");
    for (const RecordJson& step : steps) night.steps.push_back(StepOf(step, steps.size()));
    return night;
  } catch (const std::exception& error) {
    throw PlatformError(0, place + ": this is no record of a night: " + error.what(), "night");
  }
}

}  // namespace torvik::nights
