#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "script/Object.h"

namespace torvik::script {

/// Scripting.Dictionary: values by keys, in the order in which the keys were added.
class Dictionary final : public Object {
 public:
  explicit Dictionary(Heap& heap);
  ~Dictionary() override;

  std::string_view TypeName() const override { return "Dictionary"; }
  int FindMember(std::string_view name) const override;
  Value Invoke(Context& context, int member, std::span<const Value> arguments) override;
  void Put(Context& context, int member, std::span<const Value> indexes,
           const Value& value) override;
  Value Items(Context& context) override;
  void Clear() override;

 private:
  struct Entry {
    Value key, value;
    bool isThere = true;
  };

  std::string NameOf(const Value& key) const;
  Entry* Find(const Value& key);
  Value& Add(Context& context, const Value& key);
  void Remove(const Value& key);
  void Compact();
  Value List(Context& context, bool keys);

  bool ignoresCase_ = false;
  std::size_t entryBytes_ = 0;  ///< What the entries are counted as.
  std::vector<Entry> entries_;
  std::unordered_map<std::string, std::size_t> positions_;
};

}  // namespace torvik::script
