#include "script/RegExp.h"

#include <algorithm>
#include <cctype>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/RegularExpressions.h"
#include "platform/Text.h"
#include "script/Context.h"
#include "script/Conversion.h"
#include "script/Functions.h"
#include "script/Object.h"
#include "script/TextPositions.h"

namespace torvik::script {

namespace {

using RegExpArguments = std::span<const Value>;

std::string_view Part(std::string_view text, const std::optional<RegularExpression::Range>& range) {
  return range ? text.substr(range->begin, range->end - range->begin) : std::string_view();
}

/// A fixed list of values, read by position.
class ListObject final : public Object {
 public:
  ListObject(Heap& heap, std::string_view typeName, Value items)
      : typeName_(typeName), items_(std::move(items)) {
    CountOn(heap, sizeof(ListObject));
  }

  std::string_view TypeName() const override { return typeName_; }
  int FindMember(std::string_view name) const override {
    static constexpr std::string_view members[] = {"item", "count"};
    return MemberNamed(members, name);
  }
  Value Invoke(Context&, int member, RegExpArguments arguments) override {
    ExpectArguments(arguments, member == 0 ? 1 : 0, member == 0 ? 1 : 0);
    if (member != 0) return Value::OfLong(static_cast<std::int32_t>(Elements().size()));
    const std::int32_t position = ToLong(arguments[0]);
    if (position < 0 || static_cast<std::size_t>(position) >= Elements().size())
      throw InvalidCall();
    return Elements()[static_cast<std::size_t>(position)];
  }
  Value Items(Context&) override { return items_; }

 private:
  const std::vector<Value>& Elements() const { return items_.AsArray()->elements; }

  const std::string_view typeName_;
  const Value items_;
};

class MatchObject final : public Object {
 public:
  MatchObject(Heap& heap, Value text, std::size_t firstIndex, Value subMatches)
      : text_(std::move(text)), firstIndex_(firstIndex), subMatches_(std::move(subMatches)) {
    CountOn(heap, sizeof(MatchObject));
  }

  std::string_view TypeName() const override { return "Match"; }
  int FindMember(std::string_view name) const override {
    static constexpr std::string_view members[] = {"value", "firstindex", "length", "submatches"};
    return MemberNamed(members, name);
  }
  Value Invoke(Context& context, int member, RegExpArguments arguments) override {
    switch (member) {
      case kSubMatches:
        return arguments.empty() ? subMatches_
                                 : subMatches_.AsObject()->Invoke(context, 0, arguments);
      case kFirstIndex: return Value::OfWhole(static_cast<std::int64_t>(firstIndex_));
      case kLength: return Value::OfWhole(static_cast<std::int64_t>(text_.TextOf()->Characters()));
      default: return text_;
    }
  }

 private:
  enum Member { kValue, kFirstIndex, kLength, kSubMatches };

  const Value text_;
  const std::size_t firstIndex_;
  const Value subMatches_;
};

class RegExp final : public Object {
 public:
  explicit RegExp(Heap& heap) { CountOn(heap, sizeof(RegExp)); }

  std::string_view TypeName() const override { return "RegExp"; }
  int FindMember(std::string_view name) const override {
    static constexpr std::string_view members[] = {"pattern", "ignorecase", "global", "multiline",
                                                   "test",    "execute",    "replace"};
    return MemberNamed(members, name);
  }

  Value Invoke(Context& context, int member, RegExpArguments arguments) override {
    const std::size_t count = member == kReplace ? 2 : member >= kTest ? 1 : 0;
    ExpectArguments(arguments, count, count);
    switch (member) {
      case kPattern: return NewText(context, pattern_);
      case kIgnoreCase: return Value::OfBoolean(options_.ignoresCase);
      case kGlobal: return Value::OfBoolean(isGlobal_);
      case kMultiLine: return Value::OfBoolean(options_.isMultiLine);
      case kTest: return Value::OfBoolean(!Find(context, TextOf(context, arguments[0]), 0).empty());
      case kExecute: return Execute(context, TextOf(context, arguments[0]));
      default:
        return Replace(context, TextOf(context, arguments[0]), TextOf(context, arguments[1]));
    }
  }

  void Put(Context&, int member, RegExpArguments indexes, const Value& value) override {
    ExpectArguments(indexes, 0, 0);
    switch (member) {
      case kPattern: pattern_ = ToText(value); break;
      case kIgnoreCase: options_.ignoresCase = ToBoolean(value); break;
      case kGlobal: isGlobal_ = ToBoolean(value); return;
      case kMultiLine: options_.isMultiLine = ToBoolean(value); break;
      default: throw RuntimeError(450);
    }
    compiled_.reset();
  }

 private:
  enum Member { kPattern, kIgnoreCase, kGlobal, kMultiLine, kTest, kExecute, kReplace };
  using Match = RegularExpression::Match;

  static Value TextOf(Context& context, const Value& argument) {
    return ToTextValue(argument, &context.heap);
  }

  Match Find(Context& context, const Value& text, std::size_t from) {
    if (!compiled_) compiled_ = context.expressions->Compile(pattern_, options_);
    Match match = compiled_->Find(text.View(), from);
    context.Work((match.empty() ? text.View().size() : match[0]->end) - from);
    return match;
  }

  /// Hands each match, or only the first, to `take`. An empty one is followed by the search from
  /// the next character on.
  template <typename Take>
  void ForEachMatch(Context& context, const Value& text, const Take& take) {
    const std::string_view bytes = text.View();
    for (std::size_t from = 0; from <= bytes.size();) {
      const Match match = Find(context, text, from);
      if (match.empty()) return;
      take(match);
      const auto [begin, end] = *match[0];
      const bool isEmpty = begin == end;
      if (!isGlobal_ || (isEmpty && end == bytes.size())) return;
      from = isEmpty ? end + std::max<std::size_t>(1, CharacterLength(bytes.substr(end))) : end;
      context.Spend(1);
    }
  }

  Value Execute(Context& context, const Value& text) {
    std::vector<Value> found;
    ForEachMatch(context, text,
                 [&](const Match& match) { found.push_back(MatchOf(context, text, match)); });
    return ListOf(context, "MatchCollection", found);
  }

  static Value MatchOf(Context& context, const Value& text, const Match& match) {
    std::vector<Value> groups;
    for (std::size_t i = 1; i < match.size(); ++i)
      groups.push_back(match[i] ? NewText(context, Part(text.View(), match[i])) : Value());
    return NewObject<MatchObject>(context.heap, NewText(context, Part(text.View(), match[0])),
                                  CharacterOffset(context, text, match[0]->begin),
                                  ListOf(context, "SubMatches", groups));
  }

  static Value ListOf(Context& context, std::string_view typeName, std::vector<Value>& items) {
    Value array = NewArray(context.heap, items.size());
    std::ranges::move(items, array.AsArray()->elements.begin());
    return NewObject<ListObject>(context.heap, typeName, std::move(array));
  }

  Value Replace(Context& context, const Value& text, const Value& replacement) {
    const std::string_view bytes = text.View();
    std::string result;
    std::size_t kept = 0;
    ForEachMatch(context, text, [&](const Match& match) {
      result += bytes.substr(kept, match[0]->begin - kept);
      AppendReplacement(result, replacement.View(), bytes, match);
      kept = match[0]->end;
      context.heap.Check(result.size());
    });
    result += bytes.substr(kept);
    return NewText(context, result);
  }

  /// Puts in for $1 to $99, $&, $`, $' and $$ what they stand for.
  static void AppendReplacement(std::string& result, std::string_view replacement,
                                std::string_view text, const Match& match) {
    for (std::size_t at = 0; at < replacement.size(); ++at) {
      const std::string_view sign = replacement.substr(at, 2);
      if (const auto [group, length] = GroupAt(replacement.substr(at), match.size()); group > 0)
        result += Part(text, match[group]), at += length - 1;
      else if (sign == "$$")
        result += '$', ++at;
      else if (sign == "$&")
        result += Part(text, match[0]), ++at;
      else if (sign == "$`")
        result += text.substr(0, match[0]->begin), ++at;
      else if (sign == "$'")
        result += text.substr(match[0]->end), ++at;
      else
        result += replacement[at];
    }
  }

  /// The number of the group that "$7" or "$12" names at the begin of the text, and how many bytes
  /// name it; 0 when it names none of the `groups`.
  static std::pair<std::size_t, std::size_t> GroupAt(std::string_view text, std::size_t groups) {
    const auto digit = [&](std::size_t at) {
      return at < text.size() && text[at] >= '0' && text[at] <= '9' ? text[at] - '0' : -1;
    };
    if (!text.starts_with('$') || digit(1) < 0) return {0, 0};
    const auto one = static_cast<std::size_t>(digit(1));
    const auto two = digit(2) < 0 ? 0 : 10 * one + static_cast<std::size_t>(digit(2));
    if (two > 0 && two < groups) return {two, 3};
    return one < groups ? std::pair<std::size_t, std::size_t>{one, 2}
                        : std::pair<std::size_t, std::size_t>{0, 0};
  }

  std::string pattern_;
  ExpressionOptions options_;
  bool isGlobal_ = false;
  std::unique_ptr<RegularExpression> compiled_;
};

}  // namespace

Value NewRegExp(Context& context) {
  return NewObject<RegExp>(context.heap);
}

}  // namespace torvik::script
