#pragma once

#include <algorithm>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "platform/Locks.h"

namespace torvik {

/// Locks of this process alone, and of others that a test makes up. Files and names apart.
struct FakeLocks final : Locks {
  std::map<std::string, std::string> others;  ///< By path, the holder: files.
  std::set<std::string> othersNames;          ///< Names.
  std::map<std::string, std::errc> failing;   ///< Files that cannot be locked.
  std::vector<std::string> held;              ///< In the order in which they were taken.

  LockAnswer LockFile(const std::string& path) override {
    if (failing.contains(path)) return {.error = make_error_code(failing[path])};
    if (others.contains(path)) return {.holder = others[path]};
    return Take(path);
  }
  LockAnswer LockName(const std::string& path) override {
    if (othersNames.contains(path)) return {.holder = "another process"};
    return Take("name " + path);
  }

 private:
  LockAnswer Take(const std::string& what) {
    if (std::ranges::count(held, what) > 0) return {.holder = "this process"};
    return {.lock = std::make_unique<Held>(*this, what)};
  }
  struct Held final : Lock {
    Held(FakeLocks& owner, const std::string& path) : locks(owner) { locks.held.push_back(path); }
    ~Held() override { locks.held.pop_back(); }
    FakeLocks& locks;
  };
};

}  // namespace torvik
