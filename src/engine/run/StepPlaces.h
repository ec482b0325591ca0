#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "engine/model/EngineServices.h"

namespace torvik {

class Lock;

namespace engine {

/// A step's places at the things that only so many steps may use at once, until it is destroyed.
class StepPlaces {
 public:
  /// Takes a place at each of `names`, one after the other. While all places of one are taken
  /// `wait` is called, with a line that says so, and false from it gives up. Throws PlatformError
  /// when the settings know no such thing and when no place can be taken at all.
  StepPlaces(const StepLimits& limits, const std::vector<std::string>& names,
             const std::function<bool(const std::string& line)>& wait);
  ~StepPlaces();
  StepPlaces(const StepPlaces&) = delete;
  StepPlaces& operator=(const StepPlaces&) = delete;

  /// False when the wait was given up.
  bool AreTaken() const { return areTaken_; }

 private:
  std::vector<std::unique_ptr<Lock>> places_;
  bool areTaken_ = true;
};

}  // namespace engine
}  // namespace torvik
