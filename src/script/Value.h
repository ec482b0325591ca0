#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "script/Heap.h"

namespace torvik::script {

class Object;
class Value;
struct ArrayBlock;

/// The kinds of values; those from Text on are counted references.
enum class Kind : std::uint8_t {
  Empty,
  Null,
  Missing,  ///< An argument that was left out.
  Boolean,
  Byte,
  Integer,  ///< 16 bits.
  Long,     ///< 32 bits.
  Single,
  Double,
  Currency,  ///< In ten-thousandths.
  Date,      ///< In days since 1899-12-30.
  Reference,
  Text,
  Array,
  Object,
};

/// A text in memory, its characters behind it.
struct TextBlock {
  static constexpr std::size_t Unknown = static_cast<std::size_t>(-1);

  std::uint32_t references;
  Heap* heap;  ///< Null: not counted.
  std::size_t size, capacity;
  mutable std::size_t characters;
  /// A character that was looked for, and its byte: the next one is mostly not far.
  mutable std::size_t markedCharacter = 0, markedByte = 0;

  char* Bytes() { return reinterpret_cast<char*>(this + 1); }
  std::string_view View() const { return {reinterpret_cast<const char*>(this + 1), size}; }
  /// How many characters; equal to the bytes exactly when each is one byte.
  std::size_t Characters() const;

  /// `heap` may be null: then the bytes are counted nowhere.
  static TextBlock* Make(Heap* heap, std::size_t size, std::size_t capacity);
  void Destroy() noexcept;
};

/// A value of the language: 16 bytes, cheap to copy. One thread at a time may use the values of a
/// script.
class Value {
 public:
  Value() noexcept : kind_(Kind::Empty), whole_(0) {}
  Value(const Value& other) noexcept : kind_(other.kind_), whole_(other.whole_) {
    if (kind_ >= Kind::Text) Retain();
  }
  Value(Value&& other) noexcept : kind_(other.kind_), whole_(other.whole_) {
    other.kind_ = Kind::Empty;
  }
  Value& operator=(const Value& other) noexcept { return *this = Value(other); }
  Value& operator=(Value&& other) noexcept {
    const Value old(std::move(*this));  // released when all is in place
    kind_ = other.kind_;
    whole_ = other.whole_;
    other.kind_ = Kind::Empty;
    return *this;
  }
  ~Value() {
    if (kind_ >= Kind::Text) ReleaseBlock();
  }

  static Value OfNull() noexcept { return {Kind::Null, 0}; }
  static Value OfMissing() noexcept { return {Kind::Missing, 0}; }
  static Value OfBoolean(bool value) noexcept { return {Kind::Boolean, value ? -1 : 0}; }
  static Value OfByte(std::uint8_t value) noexcept { return {Kind::Byte, value}; }
  static Value OfInteger(std::int16_t value) noexcept { return {Kind::Integer, value}; }
  static Value OfLong(std::int32_t value) noexcept { return {Kind::Long, value}; }
  /// The first of Integer, Long, Double that holds the number.
  static Value OfWhole(std::int64_t value) noexcept;
  static Value OfSingle(double value) noexcept { return OfReal(Kind::Single, value); }
  static Value OfDouble(double value) noexcept { return OfReal(Kind::Double, value); }
  static Value OfDate(double days) noexcept { return OfReal(Kind::Date, days); }
  static Value OfCurrency(std::int64_t tenThousandths) noexcept {
    return {Kind::Currency, tenThousandths};
  }
  static Value OfReference(Value* value) noexcept;
  /// A text that is counted on `heap` unless that is null.
  static Value OfText(std::string_view text, Heap* heap = nullptr);
  /// Takes over the caller's reference.
  static Value OfText(TextBlock* block) noexcept;
  /// Takes over the caller's reference.
  static Value OfArray(ArrayBlock* block) noexcept;
  /// Shares the object; null is Nothing.
  static Value OfObject(Object* object) noexcept;
  static Value Nothing() noexcept { return OfObject(nullptr); }

  Kind Type() const { return kind_; }
  bool Is(Kind kind) const { return kind_ == kind; }
  bool IsWhole() const { return kind_ >= Kind::Boolean && kind_ <= Kind::Long; }
  bool IsNumber() const { return kind_ >= Kind::Boolean && kind_ <= Kind::Date; }

  /// Of a Boolean, Byte, Integer, Long; of a Currency in ten-thousandths.
  std::int64_t Whole() const { return whole_; }
  /// Of a Single, Double, Date.
  double Real() const { return real_; }
  std::string_view View() const { return text_->View(); }
  TextBlock* TextOf() const { return text_; }
  ArrayBlock* AsArray() const { return array_; }
  Object* AsObject() const { return object_; }
  Value* Referenced() const { return reference_; }

  void Clear() noexcept {
    if (kind_ >= Kind::Text) ReleaseBlock();
    kind_ = Kind::Empty;
  }

  /// Its array, not shared with another value any more.
  ArrayBlock& OwnArray();

  /// Appends to the text, in place where no one shares it.
  void AppendText(std::string_view text, Heap* heap);

 private:
  Value(Kind kind, std::int64_t whole) noexcept : kind_(kind), whole_(whole) {}
  static Value OfReal(Kind kind, double value) noexcept {
    Value result(kind, 0);
    result.real_ = value;
    return result;
  }
  void Retain() const noexcept;
  void ReleaseBlock() noexcept;

  Kind kind_;
  union {
    std::int64_t whole_;
    double real_;
    Value* reference_;
    TextBlock* text_;
    ArrayBlock* array_;
    Object* object_;
  };
};

/// An array of one or more dimensions with lower bound 0; the first index varies fastest.
struct ArrayBlock {
  std::uint32_t references = 1;
  Heap& heap;
  std::vector<std::int32_t> upper;  ///< Empty: declared, not dimensioned.
  std::vector<Value> elements;

  explicit ArrayBlock(Heap& heap) : heap(heap) { heap.Retain(); }
  ~ArrayBlock();
  ArrayBlock(const ArrayBlock&) = delete;
  ArrayBlock& operator=(const ArrayBlock&) = delete;

  /// Counts and makes the elements, Empty. Throws for a bound below -1 and beyond the limit.
  void Dimension(std::span<const std::int32_t> bounds);
  /// Throws Subscript out of range.
  Value& At(std::span<const Value> indexes);
};

/// A one-dimensional array of `count` Empty elements.
Value NewArray(Heap& heap, std::size_t count);

}  // namespace torvik::script
