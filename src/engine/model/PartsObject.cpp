#include "engine/model/PartsObject.h"

#include <algorithm>
#include <cstdint>

#include "engine/model/Problems.h"
#include "platform/PlatformError.h"
#include "platform/Text.h"
#include "script/Conversion.h"
#include "script/Functions.h"

namespace torvik::engine {

using script::Value;

int PartsObject::FindMember(std::string_view name) const {
  static constexpr std::string_view kMembers[] = {"item", "count"};
  return script::MemberNamed(kMembers, name);
}

Value PartsObject::Invoke(script::Context&, int member, std::span<const Value> arguments) {
  script::ExpectArguments(arguments, member == 0 ? 1 : 0, member == 0 ? 1 : 0);
  if (member != 0) return Value::OfLong(static_cast<std::int32_t>(names_.size()));
  const std::size_t position = PositionOf(arguments[0]);
  return make_(position, names_[position]);
}

Value PartsObject::Items(script::Context& context) {
  Value array = script::NewArray(context.heap, names_.size());
  for (std::size_t i = 0; i < names_.size(); ++i)
    array.AsArray()->elements[i] = make_(i, names_[i]);
  return array;
}

std::size_t PartsObject::PositionOf(const Value& key) const {
  const auto count = static_cast<std::int64_t>(names_.size());
  if (key.IsWhole() && key.Whole() >= 1 && key.Whole() <= count)
    return static_cast<std::size_t>(key.Whole()) - 1;
  const std::string name = script::ToText(key);
  const auto found = std::ranges::find_if(
      names_, [&](const std::string& one) { return EqualsIgnoringCase(one, name); });
  if (found == names_.end())
    throw PlatformError(0, std::string("the package has no ") + what_ + " " + Quoted(name),
                        "package engine");
  return static_cast<std::size_t>(found - names_.begin());
}

}  // namespace torvik::engine
