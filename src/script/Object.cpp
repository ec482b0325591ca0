#include "script/Object.h"

#include <algorithm>

#include <string>

#include "script/ScriptError.h"

namespace torvik::script {

Object::~Object() {
  if (heap_ == nullptr) return;
  heap_->Discharge(bytes_);
  heap_->Release();
}

void Object::CountOn(Heap& heap, std::size_t bytes) {
  heap.Charge(bytes);
  heap.Retain();
  heap_ = &heap;
  bytes_ = bytes;
}

void Object::CountMore(std::size_t bytes) {
  heap_->Charge(bytes);
  bytes_ += bytes;
}

void Object::CountLess(std::size_t bytes) noexcept {
  heap_->Discharge(bytes);
  bytes_ -= bytes;
}

void Object::Put(Context&, int, std::span<const Value>, const Value&) {
  throw RuntimeError(450);
}

Value Object::Items(Context&) {
  throw RuntimeError(451);
}

Value Object::Item(Context&, int) {
  throw RuntimeError(438);
}

void Object::PutItem(Context&, int, const Value&) {
  throw RuntimeError(438);
}

void Object::Release() noexcept {
  if (--references_ > 0) return;
  if (heap_ != nullptr)
    heap_->Bury(nullptr, this);
  else
    delete this;
}

int MemberNamed(std::span<const std::string_view> members, std::string_view name) {
  const auto at = std::ranges::find(members, name.empty() ? members.front() : name);
  return at == members.end() ? Object::NoMember : static_cast<int>(at - members.begin());
}

void ExpectArguments(std::span<const Value> arguments, std::size_t least, std::size_t most) {
  if (arguments.size() < least || arguments.size() > most) throw RuntimeError(450);
}

void NoSuchMember(std::string_view name) {
  throw RuntimeError(438, std::string(name));
}

}  // namespace torvik::script
