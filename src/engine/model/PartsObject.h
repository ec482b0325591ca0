#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "script/Object.h"

namespace torvik::engine {

/// A collection of a package, such as its steps: its items by name or by position from 1, with
/// Count and for For Each.
class PartsObject final : public script::Object {
 public:
  /// Makes an item of its position, from 0, and its name.
  using Make = std::function<script::Value(std::size_t, const std::string&)>;

  /// `what` is what messages call an item.
  PartsObject(const char* what, std::vector<std::string> names, Make make)
      : what_(what), names_(std::move(names)), make_(std::move(make)) {}

  std::string_view TypeName() const override { return "Collection"; }
  int FindMember(std::string_view name) const override;
  script::Value Invoke(script::Context& context, int member,
                       std::span<const script::Value> arguments) override;
  script::Value Items(script::Context& context) override;

 private:
  std::size_t PositionOf(const script::Value& key) const;

  const char* const what_;
  const std::vector<std::string> names_;
  const Make make_;
};

}  // namespace torvik::engine
