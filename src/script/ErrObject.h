#pragma once

#include "script/Object.h"

namespace torvik::script {

/// Err: the last error, and the raising of others.
class ErrObject final : public Object {
 public:
  std::string_view TypeName() const override { return "Object"; }
  int FindMember(std::string_view name) const override;
  Value Invoke(Context& context, int member, std::span<const Value> arguments) override;
  void Put(Context& context, int member, std::span<const Value> indexes,
           const Value& value) override;
};

}  // namespace torvik::script
