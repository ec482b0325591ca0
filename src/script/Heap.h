#pragma once

#include <cstddef>
#include <cstdint>
#include <unordered_set>
#include <utility>
#include <vector>

namespace torvik::script {

class Object;
class Value;

/// The memory of one script: counts the bytes of its texts, arrays and objects against a limit, and
/// takes down what nothing refers to any more without recursion, however deep it is nested. It
/// lives as long as its owner or any value made on it.
class Heap {
 public:
  explicit Heap(std::size_t limitBytes) : limit_(limitBytes) {}
  Heap(const Heap&) = delete;
  Heap& operator=(const Heap&) = delete;

  /// Counts `bytes` as used. Throws the error that ends the script when they exceed the limit.
  void Charge(std::size_t bytes);
  void Discharge(std::size_t bytes) noexcept { used_ -= bytes; }
  /// Throws as Charge would, and counts nothing.
  void Check(std::size_t bytes) const;
  std::size_t Used() const { return used_; }

  void Retain() noexcept { ++references_; }
  void Release() noexcept {
    if (--references_ == 0) delete this;
  }

  /// Takes down an array (`object` null) or an object to which nothing refers any more.
  void Bury(struct ArrayBlock* array, Object* object) noexcept;

  void Register(Object* object) { objects_.insert(object); }
  void Forget(Object* object) noexcept { objects_.erase(object); }
  /// Empties the script's own objects, so that those that hold each other go.
  void ClearObjects();

 private:
  ~Heap() = default;

  std::size_t limit_, used_ = 0;
  std::size_t references_ = 1;
  bool burying_ = false;
  std::vector<std::pair<ArrayBlock*, Object*>> graves_;
  std::unordered_set<Object*> objects_;
};

/// Keeps a heap.
class HeapOwner {
 public:
  explicit HeapOwner(std::size_t limitBytes) : heap_(new Heap(limitBytes)) {}
  ~HeapOwner() { heap_->Release(); }
  HeapOwner(const HeapOwner&) = delete;
  HeapOwner& operator=(const HeapOwner&) = delete;
  Heap& operator*() const { return *heap_; }
  Heap* operator->() const { return heap_; }

 private:
  Heap* heap_;
};

}  // namespace torvik::script
