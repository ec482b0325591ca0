#pragma once

#include <string>

namespace torvik {

class Registry;

/// The remote data that this machine has claimed and not yet fetched to the end, kept in the
/// registry: what is still there when a run begins was left by one that was killed. Without a
/// registry that can be written nothing is known.
class FetchClaims {
 public:
  explicit FetchClaims(Registry& registry) : registry_(registry) {}

  /// `place` is where the data lies, `time` when it was claimed, in words.
  void Note(const std::string& place, const std::string& time);
  void Forget(const std::string& place);
  /// When the data of the place was claimed; empty when it was not.
  std::string Since(const std::string& place);

 private:
  Registry& registry_;
};

}  // namespace torvik
