#include "script/Value.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>

#include "platform/Text.h"
#include "script/Conversion.h"
#include "script/Object.h"
#include "script/ScriptError.h"

namespace torvik::script {

std::size_t TextBlock::Characters() const {
  if (characters == Unknown) {
    const std::string_view text = View();
    std::size_t at = AsciiLength(text), count = at;
    for (; at < text.size(); ++count) {
      at += std::max<std::size_t>(1, CharacterLength(text.substr(at)));
    }
    characters = count;
  }
  return characters;
}

TextBlock* TextBlock::Make(Heap* heap, std::size_t size, std::size_t capacity) {
  const std::size_t bytes = sizeof(TextBlock) + capacity;
  if (heap != nullptr) heap->Charge(bytes);
  void* const memory = std::malloc(bytes);
  if (memory == nullptr) {
    if (heap != nullptr) heap->Discharge(bytes);
    throw std::bad_alloc();
  }
  if (heap != nullptr) heap->Retain();
  return new (memory) TextBlock{1, heap, size, capacity, Unknown};
}

void TextBlock::Destroy() noexcept {
  Heap* const owner = heap;
  if (owner != nullptr) owner->Discharge(sizeof(TextBlock) + capacity);
  std::free(this);
  if (owner != nullptr) owner->Release();
}

Value Value::OfWhole(std::int64_t value) noexcept {
  if (value == static_cast<std::int16_t>(value)) return {Kind::Integer, value};
  if (value == static_cast<std::int32_t>(value)) return {Kind::Long, value};
  return OfDouble(static_cast<double>(value));
}

Value Value::OfReference(Value* value) noexcept {
  Value result(Kind::Reference, 0);
  result.reference_ = value;
  return result;
}

Value Value::OfText(std::string_view text, Heap* heap) {
  TextBlock* const block = TextBlock::Make(heap, text.size(), text.size());
  if (!text.empty()) std::memcpy(block->Bytes(), text.data(), text.size());
  return OfText(block);
}

Value Value::OfText(TextBlock* block) noexcept {
  Value result(Kind::Text, 0);
  result.text_ = block;
  return result;
}

Value Value::OfArray(ArrayBlock* block) noexcept {
  Value result(Kind::Array, 0);
  result.array_ = block;
  return result;
}

Value Value::OfObject(Object* object) noexcept {
  Value result(Kind::Object, 0);
  result.object_ = object;
  if (object != nullptr) object->Retain();
  return result;
}

void Value::Retain() const noexcept {
  if (kind_ == Kind::Text)
    ++text_->references;
  else if (kind_ == Kind::Array)
    ++array_->references;
  else if (object_ != nullptr)
    object_->Retain();
}

void Value::ReleaseBlock() noexcept {
  if (kind_ == Kind::Text) {
    if (--text_->references == 0) text_->Destroy();
  } else if (kind_ == Kind::Array) {
    if (--array_->references == 0) array_->heap.Bury(array_, nullptr);
  } else if (object_ != nullptr) {
    object_->Release();
  }
}

ArrayBlock& Value::OwnArray() {
  if (array_->references > 1) {
    auto* const copy = new ArrayBlock(array_->heap);
    Value holder = OfArray(copy);
    copy->Dimension(array_->upper);
    copy->elements = array_->elements;
    *this = std::move(holder);
  }
  return *array_;
}

void Value::AppendText(std::string_view text, Heap* heap) {
  const std::size_t size = text_->size + text.size();
  const bool isCounted =
      text_->characters != TextBlock::Unknown && AsciiLength(text) == text.size();
  const std::size_t characters = isCounted ? text_->characters + text.size() : TextBlock::Unknown;
  if (text_->references > 1 || text_->capacity < size) {
    const std::size_t roomy = size + size / 2;
    TextBlock* const block = TextBlock::Make(heap, text_->size, roomy);
    std::memcpy(block->Bytes(), text_->Bytes(), text_->size);
    std::memcpy(block->Bytes() + block->size, text.data(), text.size());
    *this = OfText(block);
  } else {
    std::memmove(text_->Bytes() + text_->size, text.data(), text.size());
  }
  text_->size = size;
  text_->characters = characters;
}

ArrayBlock::~ArrayBlock() {
  heap.Discharge(elements.size() * sizeof(Value));
}

void ArrayBlock::Dimension(std::span<const std::int32_t> bounds) {
  std::size_t count = bounds.empty() ? 0 : 1;
  for (const std::int32_t bound : bounds) {
    if (bound < -1) throw RuntimeError(9);
    const auto length = static_cast<std::size_t>(bound + std::int64_t{1});
    if (length != 0 && count > std::numeric_limits<std::int32_t>::max() / length)
      throw MemoryLimitPassed();
    count *= length;
  }
  heap.Charge(count * sizeof(Value));
  elements.resize(count);
  upper.assign(bounds.begin(), bounds.end());
}

Value& ArrayBlock::At(std::span<const Value> indexes) {
  if (indexes.size() != upper.size() || upper.empty()) throw RuntimeError(9);
  std::size_t offset = 0, stride = 1;
  for (std::size_t i = 0; i < indexes.size(); ++i) {
    const std::int64_t index = indexes[i].IsWhole() ? indexes[i].Whole() : ToLong(indexes[i]);
    if (index < 0 || index > upper[i]) throw RuntimeError(9);
    offset += static_cast<std::size_t>(index) * stride;
    stride *= static_cast<std::size_t>(upper[i]) + 1;
  }
  return elements[offset];
}

Value NewArray(Heap& heap, std::size_t count) {
  heap.Check(count * sizeof(Value));
  auto* const block = new ArrayBlock(heap);
  Value value = Value::OfArray(block);
  const std::int32_t bound = static_cast<std::int32_t>(count) - 1;
  block->Dimension({&bound, 1});
  return value;
}

}  // namespace torvik::script
