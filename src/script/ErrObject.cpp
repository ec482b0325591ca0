#include "script/ErrObject.h"

#include <algorithm>
#include <iterator>

#include "script/Context.h"
#include "script/Conversion.h"

namespace torvik::script {

namespace {

constexpr std::string_view errMembers[] = {"number", "description", "source", "clear", "raise"};
enum ErrMember { Number, Description, Source, ClearIt, Raise };

[[noreturn]] void RaiseError(std::span<const Value> a) {
  ExpectArguments(a, 1, 5);
  const std::int32_t number = ToLong(a[0]);
  if (number == 0) throw InvalidCall();
  const auto text = [&](std::size_t index, const std::string& otherwise) {
    return index < a.size() && !a[index].Is(Kind::Missing) ? ToText(a[index]) : otherwise;
  };
  throw ScriptError(number, text(2, DescriptionOf(number)), text(1, "script"));
}

}  // namespace

int ErrObject::FindMember(std::string_view name) const {
  if (name.empty()) return DefaultMember;
  const auto at = std::ranges::find(errMembers, name);
  return at == std::end(errMembers) ? NoMember : static_cast<int>(at - errMembers);
}

Value ErrObject::Invoke(Context& context, int member, std::span<const Value> arguments) {
  switch (member) {
    case Number: return Value::OfLong(context.err.number);
    case Description: return Value::OfText(context.err.description, &context.heap);
    case Source: return Value::OfText(context.err.source, &context.heap);
    case ClearIt: context.err = {}; return {};
    default: RaiseError(arguments);
  }
}

void ErrObject::Put(Context& context, int member, std::span<const Value>, const Value& value) {
  switch (member) {
    case Number: context.err.number = ToLong(value); break;
    case Description: context.err.description = ToText(value); break;
    case Source: context.err.source = ToText(value); break;
    default: throw RuntimeError(450);
  }
}

}  // namespace torvik::script
