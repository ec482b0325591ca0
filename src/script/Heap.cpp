#include "script/Heap.h"

#include "script/Object.h"
#include "script/ScriptError.h"

namespace torvik::script {

void Heap::Check(std::size_t bytes) const {
  if (bytes > limit_ || used_ > limit_ - bytes) throw MemoryLimitPassed();
}

void Heap::Charge(std::size_t bytes) {
  Check(bytes);
  used_ += bytes;
}

void Heap::Bury(ArrayBlock* array, Object* object) noexcept {
  graves_.emplace_back(array, object);
  if (burying_) return;
  burying_ = true;
  Retain();
  while (!graves_.empty()) {
    const auto [oldArray, oldObject] = graves_.back();
    graves_.pop_back();
    if (oldObject != nullptr) {
      delete oldObject;
    } else {
      delete oldArray;
      Release();  // what the array had retained
    }
  }
  burying_ = false;
  Release();
}

void Heap::ClearObjects() {
  std::vector<Value> held;
  for (Object* const object : objects_) held.push_back(Value::OfObject(object));
  for (const Value& value : held) value.AsObject()->Clear();
}

}  // namespace torvik::script
