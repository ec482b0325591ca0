// Arrays, objects and the host's items in the machine.

#include <algorithm>
#include <utility>

#include "script/Conversion.h"
#include "script/Machine.h"
#include "script/Object.h"

namespace torvik::script {

Object& Machine::ObjectOf(const Value& value, const std::string& name) {
  if (!value.Is(Kind::Object)) throw RuntimeError(424, name);
  if (value.AsObject() == nullptr) throw RuntimeError(91, name);
  return *value.AsObject();
}

int Machine::MemberOf(MemberUse& use, Object& object) {
  const std::type_info& type = typeid(object);
  if (use.type != &type) {
    use.number = object.FindMember(use.lower);
    use.type = &type;
  }
  if (use.number == Object::NoMember) NoSuchMember(use.name);
  return use.number;
}

void Machine::GetMember(const Instruction& in) {
  MemberUse& use = program_.members[static_cast<std::size_t>(in.a)];
  Value* const owner = sp_ - in.c - 1;
  Object& object = ObjectOf(*owner, use.name);
  const int member = MemberOf(use, object);
  Value result = object.Invoke(context_, member, {owner + 1, in.c});
  Drop(in.c + std::size_t{1});
  Push(std::move(result));
}

void Machine::PutMember(const Instruction& in) {
  MemberUse& use = program_.members[static_cast<std::size_t>(in.a)];
  Value* const owner = sp_ - in.c - 1;
  Value& value = owner[-1];
  if (in.b == 0 && value.Is(Kind::Object)) value = DefaultOf(value);
  if (in.b == 1 && !value.Is(Kind::Object)) throw RuntimeError(424);
  if (use.lower.empty() && !owner->Is(Kind::Object)) throw TypeMismatch();
  Object& object = ObjectOf(*owner, use.name);
  object.Put(context_, MemberOf(use, object), {owner + 1, in.c}, value);
  Drop(in.c + std::size_t{2});
}

void Machine::StoreItem(const Instruction& in) {
  ItemUse& use = program_.items[static_cast<std::size_t>(in.a)];
  ResolveTop(1);
  use.object.AsObject()->PutItem(context_, use.number, sp_[-1]);
  Drop(1);
}

void Machine::ItemValue(const Instruction& in) {
  if (!sp_[-1].Is(Kind::Object)) return;
  GetMember({.op = Op::GetMember, .a = in.a});
}

void Machine::Index(const Instruction& in) {
  Value* const base = sp_ - in.c - 1;
  const std::span<const Value> arguments{base + 1, in.c};
  Value result;
  if (base->Is(Kind::Array)) {
    for (Value* index = base + 1; index < sp_; ++index) {
      if (index->Is(Kind::Object)) *index = DefaultOf(*index);
    }
    result = base->AsArray()->At(arguments);
  } else if (base->Is(Kind::Object)) {
    Object& object = ObjectOf(*base, "");
    if (object.FindMember("") == Object::NoMember) throw RuntimeError(438);
    result = object.Invoke(context_, Object::DefaultMember, arguments);
  } else {
    throw TypeMismatch(in.a < 0 ? "" : program_.members[static_cast<std::size_t>(in.a)].name);
  }
  Drop(in.c + std::size_t{1});
  Push(std::move(result));
}

/// Goes from the variable through its indexes; an object on the way gives its default member.
void Machine::StoreElement(const Instruction& in) {
  const std::vector<std::uint16_t>& path = program_.paths[static_cast<std::size_t>(in.a)];
  Value* at = Take().Referenced();
  std::size_t count = 0;
  for (const std::uint16_t level : path) count += level;
  Value* index = sp_ - count;
  Value& value = index[-1];
  if (in.b == 0 && value.Is(Kind::Object)) value = DefaultOf(value);
  if (in.b == 1 && !value.Is(Kind::Object)) throw RuntimeError(424);
  for (Value* i = index; i < sp_; ++i) {
    if (i->Is(Kind::Object) && at->Is(Kind::Array)) *i = DefaultOf(*i);
  }
  Value passing;
  for (std::size_t level = 0; level < path.size(); ++level) {
    const std::span<const Value> indexes{index, path[level]};
    index += path[level];
    const bool isLast = level + 1 == path.size();
    if (at->Is(Kind::Array)) {
      if (at->AsArray()->references > 1)
        context_.Work(at->AsArray()->elements.size() * sizeof(Value));
      at = &at->OwnArray().At(indexes);
      if (isLast) *at = std::move(value);
    } else if (in.b == 2) {
      break;
    } else if (at->Is(Kind::Object)) {
      const Value holder = *at;
      Object& object = ObjectOf(holder, "");
      if (isLast) {
        object.Put(context_, Object::DefaultMember, indexes, value);
      } else {
        passing = object.Invoke(context_, Object::DefaultMember, indexes);
        at = &passing;
      }
    } else {
      throw TypeMismatch();
    }
  }
  Drop(count + 1);
}

std::vector<std::int32_t> Machine::TakeBounds(std::size_t count) {
  ResolveTop(count);
  std::vector<std::int32_t> bounds;
  for (const Value* bound = sp_ - count; bound < sp_; ++bound) bounds.push_back(ToLong(*bound));
  Drop(count);
  return bounds;
}

void Machine::MakeArray(const Instruction& in) {
  const std::vector<std::int32_t> bounds = TakeBounds(in.c);
  auto* const block = new ArrayBlock(context_.heap);
  Value array = Value::OfArray(block);
  block->Dimension(bounds);
  context_.Work(block->elements.size() * sizeof(Value));
  Push(std::move(array));
}

void Machine::ReDimension(const Instruction& in) {
  Value& variable = *Take().Referenced();
  const std::vector<std::int32_t> bounds = TakeBounds(in.c);
  auto* const block = new ArrayBlock(context_.heap);
  Value array = Value::OfArray(block);
  if (in.b == 1 && variable.Is(Kind::Array) && !variable.AsArray()->upper.empty()) {
    const std::vector<std::int32_t>& old = variable.AsArray()->upper;
    if (old.size() != bounds.size() ||
        !std::equal(old.begin(), old.end() - 1, bounds.begin(), bounds.end() - 1))
      throw RuntimeError(9);
    block->Dimension(bounds);
    std::vector<Value>& from = variable.OwnArray().elements;
    const std::size_t kept = std::min(from.size(), block->elements.size());
    std::move(from.begin(), from.begin() + static_cast<std::ptrdiff_t>(kept),
              block->elements.begin());
  } else {
    if (in.b == 0) variable.Clear();
    block->Dimension(bounds);
  }
  context_.Work(block->elements.size() * sizeof(Value));
  variable = std::move(array);
}

void Machine::EraseArray(const Instruction& in) {
  Value& variable = *Take().Referenced();
  if (!variable.Is(Kind::Array)) throw TypeMismatch();
  context_.Work(variable.AsArray()->elements.size() * sizeof(Value));
  ArrayBlock& array = variable.OwnArray();
  if (in.a == 1) {
    for (Value& element : array.elements) element.Clear();
  } else {
    variable = Value::OfArray(new ArrayBlock(context_.heap));
  }
}

void Machine::Collect() {
  Value& top = sp_[-1];
  if (top.Is(Kind::Object)) {
    const Value holder = top;
    top = ObjectOf(holder, "").Items(context_);
  }
  if (!top.Is(Kind::Array)) throw RuntimeError(451);
}

bool Machine::NextItem(const Instruction& in) {
  const Value& items = frames_.back().base[in.c];
  Value& index = frames_.back().base[in.c + 1];
  if (!items.Is(Kind::Array)) return false;
  const auto next = static_cast<std::size_t>(index.Whole() + 1);
  if (next >= items.AsArray()->elements.size()) return false;
  index = Value::OfLong(static_cast<std::int32_t>(next));
  Push(items.AsArray()->elements[next]);
  return true;
}

}  // namespace torvik::script
