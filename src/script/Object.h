#pragma once

#include <span>
#include <string_view>
#include <utility>

#include "script/Value.h"

namespace torvik::script {

struct Context;

/// An object that scripts use: one of the language's own, or one that the host supplies. Failures
/// are thrown as ScriptError or PlatformError, which a script may handle.
class Object {
 public:
  /// The number of the default member.
  static constexpr int DefaultMember = 0;
  static constexpr int NoMember = -1;

  Object() = default;
  virtual ~Object();
  Object(const Object&) = delete;
  Object& operator=(const Object&) = delete;

  virtual std::string_view TypeName() const = 0;

  /// The number of the member named `name`, in lower case; NoMember when there is none. The answer
  /// is the same for all objects of one class.
  virtual int FindMember(std::string_view name) const = 0;

  /// Calls a method, or reads a property that may have indexes. Left-out arguments are Missing.
  virtual Value Invoke(Context& context, int member, std::span<const Value> arguments) = 0;

  /// Assigns a property that may have indexes. Without it, properties are read-only.
  virtual void Put(Context& context, int member, std::span<const Value> indexes,
                   const Value& value);

  /// What For Each goes through: an array. Without it, Object not a collection.
  virtual Value Items(Context& context);

  /// The number by which Item and PutItem know the item with this constant key, found once when a
  /// script is compiled; NoMember: the item is looked up by Invoke at each use.
  virtual int ItemNumber(const Value& /*key*/) { return NoMember; }
  virtual Value Item(Context& context, int number);
  virtual void PutItem(Context& context, int number, const Value& value);

  /// Lets go of the values it holds.
  virtual void Clear() {}

  void Retain() noexcept { ++references_; }
  void Release() noexcept;

 protected:
  /// Counts the object on the heap of the script that made it. Throws beyond the limit.
  void CountOn(Heap& heap, std::size_t bytes);
  void CountMore(std::size_t bytes);
  void CountLess(std::size_t bytes) noexcept;
  Heap* CountedOn() const { return heap_; }

 private:
  Heap* heap_ = nullptr;  ///< Null for a host's object.
  std::size_t bytes_ = 0;
  std::uint32_t references_ = 1;
};

/// A value that holds a new object.
template <class T, class... Arguments>
Value NewObject(Arguments&&... arguments) {
  T* const object = new T(std::forward<Arguments>(arguments)...);
  Value value = Value::OfObject(object);
  object->Release();
  return value;
}

/// The position of a member's name among `members`, the empty one being the first; NoMember when it
/// is not there.
int MemberNamed(std::span<const std::string_view> members, std::string_view name);

/// Throws Wrong number of arguments unless there are `least` to `most`.
void ExpectArguments(std::span<const Value> arguments, std::size_t least, std::size_t most);

/// Object doesn't support this property or method.
[[noreturn]] void NoSuchMember(std::string_view name);

}  // namespace torvik::script
