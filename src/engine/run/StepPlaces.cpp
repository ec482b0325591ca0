#include "engine/run/StepPlaces.h"

#include "engine/model/Problems.h"
#include "platform/Locks.h"
#include "platform/PlatformError.h"

namespace torvik::engine {
namespace {

/// Null while all places are taken.
std::unique_ptr<Lock> TakePlace(const StepLimits& limits, const std::string& name, int atOnce) {
  for (int place = 1; place <= atOnce; ++place) {
    LockAnswer answer =
        limits.locks->LockName(limits.directory + "/limit-" + name + "-" + std::to_string(place));
    if (answer.lock) return std::move(answer.lock);
    if (answer.error)
      throw PlatformError(answer.error.value(),
                          "no place of the limit " + Quoted(name) + " can be taken in " +
                              limits.directory + ": " + answer.error.message(),
                          "package engine");
  }
  return nullptr;
}

int AtOnce(const StepLimits& limits, const std::string& name) {
  const auto known = limits.atOnce.find(name);
  if (known != limits.atOnce.end() && limits.locks != nullptr) return known->second;
  throw PlatformError(0,
                      "the step names the limit " + Quoted(name) +
                          ", and the settings have no section [limit " + name +
                          "]; write one, with at_once",
                      "package engine");
}

}  // namespace

StepPlaces::StepPlaces(const StepLimits& limits, const std::vector<std::string>& names,
                       const std::function<bool(const std::string&)>& wait) {
  for (const std::string& name : names) {
    const int atOnce = AtOnce(limits, name);
    std::unique_ptr<Lock> place;
    while (areTaken_ && !(place = TakePlace(limits, name, atOnce)))
      areTaken_ = wait("waits for a place of the limit " + Quoted(name) + " (" +
                       std::to_string(atOnce) + " at once)");
    if (!areTaken_) return;
    places_.push_back(std::move(place));
  }
}

StepPlaces::~StepPlaces() = default;

}  // namespace torvik::engine
