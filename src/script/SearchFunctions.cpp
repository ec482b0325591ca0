#include <algorithm>
#include <cstring>
#include <optional>

#include "script/Conversion.h"
#include "script/Functions.h"
#include "script/LetterCase.h"
#include "script/TextPositions.h"

namespace torvik::script {

namespace {

constexpr std::size_t none = std::string_view::npos;

/// A text as it is searched: itself, or in lower case where letter case does not count.
class Searched {
 public:
  Searched(Context& context, std::string_view text, std::int32_t comparison) : view_(text) {
    context.Work(text.size());
    if (comparison != 1) return;
    context.heap.Check(text.size());
    lower_ = ToLowerCase(text);
    view_ = lower_;
  }
  Searched(const Searched&) = delete;
  Searched& operator=(const Searched&) = delete;
  std::string_view View() const { return view_; }

 private:
  std::string lower_;
  std::string_view view_;
};

Value Position(Context& context, const Value& text, std::size_t at) {
  if (at == none) return Value::OfLong(0);
  return Value::OfLong(static_cast<std::int32_t>(CharacterOffset(context, text, at)) + 1);
}

/// InStr([start,] text, wanted [, compare])
Value InStr(Context& context, Arguments a) {
  std::int32_t start = 1;
  if (a.size() > 2) {
    start = ToLong(a[0]);
    a = a.subspan(1);
  }
  if (start < 1) throw InvalidCall("InStr");
  if (a[0].Is(Kind::Null) || a[1].Is(Kind::Null)) return Value::OfNull();
  const std::int32_t comparison = LongOr(a, 2, 0);
  const Searched text(context, TextArgument(context, a[0]), comparison);
  const Searched wanted(context, TextArgument(context, a[1]), comparison);
  const auto skipped = static_cast<std::size_t>(start) - 1;
  if (text.View().empty() || skipped >= a[0].TextOf()->Characters()) return Value::OfLong(0);
  if (wanted.View().empty()) return Value::OfLong(start);
  const std::size_t first = ByteOffset(context, a[0], skipped);
  const std::size_t at = FindFirst(text.View().substr(first), wanted.View());
  return Position(context, a[0], at == none ? none : at + first);
}

/// InStrRev(text, wanted [, start [, compare]])
Value InStrRev(Context& context, Arguments a) {
  if (a[0].Is(Kind::Null) || a[1].Is(Kind::Null)) return Value::OfNull();
  const std::int32_t start = LongOr(a, 2, -1), comparison = LongOr(a, 3, 0);
  if (start < -1 || start == 0) throw InvalidCall("InStrRev");
  const Searched text(context, TextArgument(context, a[0]), comparison);
  const Searched wanted(context, TextArgument(context, a[1]), comparison);
  const std::size_t all = a[0].TextOf()->Characters();
  const std::size_t end = start == -1 ? all : static_cast<std::size_t>(start);
  if (text.View().empty() || end > all) return Value::OfLong(0);
  if (wanted.View().empty()) return Value::OfLong(static_cast<std::int32_t>(end));
  context.heap.Check(text.View().size() + wanted.View().size());
  const std::size_t bytes = ByteOffset(context, a[0], end);
  return Position(context, a[0], FindLast(text.View().substr(0, bytes), wanted.View()));
}

/// Replace(text, wanted, with [, start [, count [, compare]]]): what stands before start goes.
Value Replace(Context& context, Arguments a) {
  std::string_view text = TextArgument(context, a[0]);
  const std::string_view wanted = TextArgument(context, a[1]), with = TextArgument(context, a[2]);
  const std::int32_t start = LongOr(a, 3, 1), comparison = LongOr(a, 5, 0);
  std::int64_t count = LongOr(a, 4, -1);
  if (start < 1 || count < -1) throw InvalidCall("Replace");
  text.remove_prefix(ByteOffset(context, a[0], static_cast<std::size_t>(start) - 1));
  if (wanted.empty() || count == 0 || text.empty()) return Value::OfText(text, &context.heap);
  const Searched searched(context, text, comparison), sought(context, wanted, comparison);
  std::string result;
  std::size_t at = 0;
  for (; count != 0; --count) {
    const std::size_t found = FindFirst(searched.View().substr(at), sought.View());
    if (found == none) break;
    if ((result.size() + found + with.size()) > result.capacity())
      context.heap.Check(2 * (result.size() + found + with.size()));
    result.append(text, at, found).append(with);
    at += found + wanted.size();
    context.Work(with.size() + 256);
  }
  if (at == 0) return Value::OfText(text, &context.heap);
  context.heap.Check(2 * (result.size() + text.size() - at));
  result.append(text, at);
  return Value::OfText(result, &context.heap);
}

/// Appends a piece to an array's elements and counts it.
void AddPiece(Context& context, ArrayBlock& array, std::string_view piece) {
  context.Work(piece.size() + 256);
  context.heap.Charge(sizeof(Value));
  array.elements.emplace_back();
  array.elements.back() = Value::OfText(piece, &context.heap);
}

Value EmptyList(Context& context, ArrayBlock*& block) {
  block = new ArrayBlock(context.heap);
  block->upper = {-1};
  return Value::OfArray(block);
}

/// Split(text [, delimiter [, count [, compare]]])
Value Split(Context& context, Arguments a) {
  const std::string_view text = TextArgument(context, a[0]);
  const std::string_view delimiter = IsGiven(a, 1) ? TextArgument(context, a[1]) : " ";
  std::int64_t count = LongOr(a, 2, -1);
  if (count < -1) throw InvalidCall("Split");
  const std::int32_t comparison = LongOr(a, 3, 0);
  const Searched searched(context, text, comparison), sought(context, delimiter, comparison);
  ArrayBlock* list = nullptr;
  Value result = EmptyList(context, list);
  if (text.empty() || count == 0) return result;
  std::size_t at = 0;
  for (; count != 1 && !delimiter.empty(); --count) {
    const std::size_t found = FindFirst(searched.View().substr(at), sought.View());
    if (found == none) break;
    AddPiece(context, *list, text.substr(at, found));
    at += found + delimiter.size();
  }
  AddPiece(context, *list, text.substr(at));
  list->upper[0] = static_cast<std::int32_t>(list->elements.size()) - 1;
  return result;
}

const ArrayBlock& ListArgument(const Value& value) {
  if (!value.Is(Kind::Array)) throw TypeMismatch();
  if (value.AsArray()->upper.size() > 1) throw RuntimeError(9);
  return *value.AsArray();
}

/// Join(list [, delimiter])
Value Join(Context& context, Arguments a) {
  const ArrayBlock& list = ListArgument(a[0]);
  const std::string_view delimiter = IsGiven(a, 1) ? TextArgument(context, a[1]) : " ";
  std::string result;
  for (std::size_t i = 0; i < list.elements.size(); ++i) {
    if (i > 0) result += delimiter;
    const Value text = ToTextValue(list.elements[i], &context.heap);
    context.Work(text.View().size() + delimiter.size() + 256);
    context.heap.Check(2 * (result.size() + text.View().size() + delimiter.size()));
    result += text.View();
  }
  return Value::OfText(result, &context.heap);
}

/// Filter(list, wanted [, include [, compare]])
Value Filter(Context& context, Arguments a) {
  const ArrayBlock& list = ListArgument(a[0]);
  const std::string_view wanted = TextArgument(context, a[1]);
  const bool include = !IsGiven(a, 2) || ToBoolean(a[2]);
  const std::int32_t comparison = LongOr(a, 3, 0);
  const Searched sought(context, wanted, comparison);
  ArrayBlock* found = nullptr;
  Value result = EmptyList(context, found);
  for (const Value& element : list.elements) {
    const Value text = ToTextValue(element, &context.heap);
    const Searched searched(context, text.View(), comparison);
    if ((FindFirst(searched.View(), sought.View()) != none) == include)
      AddPiece(context, *found, text.View());
  }
  found->upper[0] = static_cast<std::int32_t>(found->elements.size()) - 1;
  return result;
}

constexpr Function searchFunctions[] = {
    {"instr", 2, 4, InStr}, {"instrrev", 2, 4, InStrRev}, {"replace", 3, 6, Replace},
    {"split", 1, 4, Split}, {"join", 1, 2, Join},         {"filter", 2, 4, Filter},
};

}  // namespace

std::span<const Function> SearchFunctions() {
  return searchFunctions;
}

}  // namespace torvik::script
