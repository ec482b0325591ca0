#include "script/Dictionary.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "script/Context.h"
#include "script/Conversion.h"
#include "script/LetterCase.h"

namespace torvik::script {

namespace {

constexpr std::string_view dictionaryMembers[] = {
    "item", "add", "exists", "remove", "removeall", "count", "keys", "items", "comparemode", "key"};
enum DictionaryMember {
  TheItem,
  AddOne,
  Exists,
  RemoveOne,
  RemoveAll,
  Count,
  Keys,
  AllItems,
  Mode,
  Key,
};

/// A key is copied to be looked for.
void CountKey(Context& context, std::span<const Value> arguments) {
  if (arguments.empty() || !arguments[0].Is(Kind::Text)) return;
  context.heap.Check(arguments[0].View().size());
  context.Work(arguments[0].View().size());
}

constexpr std::size_t entryBytes = 120;  // of an entry in both tables, its texts not counted

}  // namespace

Dictionary::Dictionary(Heap& heap) {
  CountOn(heap, sizeof(Dictionary));
  heap.Register(this);
}

Dictionary::~Dictionary() {
  CountedOn()->Forget(this);
}

int Dictionary::FindMember(std::string_view name) const {
  if (name.empty()) return DefaultMember;
  const auto at = std::ranges::find(dictionaryMembers, name);
  return at == std::end(dictionaryMembers) ? NoMember : static_cast<int>(at - dictionaryMembers);
}

void Dictionary::Clear() {
  const std::vector<Entry> old = std::move(entries_);
  entries_.clear();
  positions_.clear();
  CountLess(std::exchange(entryBytes_, 0));
}

/// Keys are the same when they have the same kind, numbers of all kinds taken as one, and value.
std::string Dictionary::NameOf(const Value& key) const {
  if (key.Is(Kind::Text))
    return (ignoresCase_ ? ToLowerCase(key.View()) : std::string(key.View())).append(1, 't');
  if (key.Is(Kind::Object))
    return std::to_string(reinterpret_cast<std::uintptr_t>(key.AsObject())).append(1, 'o');
  if (key.Is(Kind::Empty)) return "e";
  if (key.Is(Kind::Array) || key.Is(Kind::Missing)) throw InvalidCall();
  if (key.Is(Kind::Null)) return "n";
  return TextOfNumber(ToDouble(key), 17).append(1, 'd');
}

Dictionary::Entry* Dictionary::Find(const Value& key) {
  const auto at = positions_.find(NameOf(key));
  return at == positions_.end() ? nullptr : &entries_[at->second];
}

Value& Dictionary::Add(Context& context, const Value& key) {
  std::string name = NameOf(key);
  const std::size_t bytes = entryBytes + name.size();
  context.Work(bytes);
  CountMore(bytes);
  entryBytes_ += bytes;
  positions_.emplace(std::move(name), entries_.size());
  return entries_.emplace_back(Entry{.key = key, .value = {}}).value;
}

void Dictionary::Remove(const Value& key) {
  const auto at = positions_.find(NameOf(key));
  if (at == positions_.end()) throw RuntimeError(32811);
  const std::size_t bytes = entryBytes + at->first.size();
  Entry& entry = entries_[at->second];
  positions_.erase(at);
  CountLess(bytes);
  entryBytes_ -= bytes;
  entry.isThere = false;
  const Value oldKey = std::move(entry.key), oldValue = std::move(entry.value);
  if (entries_.size() > 2 * positions_.size() + 16) Compact();
}

/// Takes the removed entries out.
void Dictionary::Compact() {
  std::erase_if(entries_, [](const Entry& entry) { return !entry.isThere; });
  for (std::size_t i = 0; i < entries_.size(); ++i) positions_[NameOf(entries_[i].key)] = i;
}

Value Dictionary::List(Context& context, bool keys) {
  Value list = NewArray(context.heap, positions_.size());
  context.Work(entries_.size() * sizeof(Value));
  auto to = list.AsArray()->elements.begin();
  for (const Entry& entry : entries_) {
    if (entry.isThere) *to++ = keys ? entry.key : entry.value;
  }
  return list;
}

Value Dictionary::Items(Context& context) {
  return List(context, true);
}

Value Dictionary::Invoke(Context& context, int member, std::span<const Value> a) {
  CountKey(context, a);
  switch (member) {
    case TheItem: {
      ExpectArguments(a, 1, 1);
      if (const Entry* const entry = Find(a[0])) return entry->value;
      return Add(context, a[0]);
    }
    case AddOne:
      ExpectArguments(a, 2, 2);
      if (Find(a[0]) != nullptr) throw RuntimeError(457);
      Add(context, a[0]) = a[1];
      return {};
    case Exists: ExpectArguments(a, 1, 1); return Value::OfBoolean(Find(a[0]) != nullptr);
    case RemoveOne:
      ExpectArguments(a, 1, 1);
      Remove(a[0]);
      return {};
    case RemoveAll:
      ExpectArguments(a, 0, 0);
      Clear();
      return {};
    case Count: return Value::OfLong(static_cast<std::int32_t>(positions_.size()));
    case Keys: return List(context, true);
    case AllItems: return List(context, false);
    case Mode: return Value::OfLong(ignoresCase_ ? 1 : 0);
    default: throw RuntimeError(450);
  }
}

void Dictionary::Put(Context& context, int member, std::span<const Value> indexes,
                     const Value& value) {
  CountKey(context, indexes);
  if (member == TheItem) {
    ExpectArguments(indexes, 1, 1);
    Entry* const entry = Find(indexes[0]);
    if (entry != nullptr)
      entry->value = value;
    else
      Add(context, indexes[0]) = value;
  } else if (member == Key) {
    ExpectArguments(indexes, 1, 1);
    Entry* const entry = Find(indexes[0]);
    if (entry == nullptr) throw RuntimeError(32811);
    if (Find(value) != nullptr) throw RuntimeError(457);
    const Value held = entry->value;
    Remove(indexes[0]);
    Add(context, value) = held;
  } else if (member == Mode) {
    if (!positions_.empty()) throw InvalidCall();
    ignoresCase_ = ToLong(value) == 1;
  } else {
    throw RuntimeError(450);
  }
}

}  // namespace torvik::script
