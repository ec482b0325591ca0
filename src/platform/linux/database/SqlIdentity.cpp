#include "platform/linux/database/SqlIdentity.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "platform/Text.h"
#include "platform/linux/database/SqlTokens.h"

namespace torvik {
namespace {

using Tokens = std::vector<SqlToken>;

bool Is(const Tokens& tokens, std::size_t at, std::string_view word) {
  return at < tokens.size() && EqualsIgnoringCase(tokens[at].text, word);
}

/// The position behind the bracket that closes the one at `open`; the end when none does.
std::size_t BehindBracket(const Tokens& tokens, std::size_t open) {
  int depth = 0;
  for (std::size_t at = open; at < tokens.size(); ++at) {
    if (Is(tokens, at, "(")) ++depth;
    if (Is(tokens, at, ")") && --depth == 0) return at + 1;
  }
  return tokens.size();
}

/// A column or a rule of a table: its tokens, from one to behind the last.
struct Item {
  std::size_t begin, end;
};

std::vector<Item> ItemsIn(const Tokens& tokens, std::size_t open) {
  const std::size_t end = BehindBracket(tokens, open) - 1;
  std::vector<Item> items{{open + 1, end}};
  for (std::size_t at = open + 1; at < end; ++at) {
    if (Is(tokens, at, "(")) at = BehindBracket(tokens, at) - 1;
    if (!Is(tokens, at, ",")) continue;
    items.back().end = at;
    items.push_back({at + 1, end});
  }
  return items;
}

/// Where `word` stands in an item outside brackets.
std::optional<std::size_t> Find(const Tokens& tokens, const Item& item, std::string_view word) {
  for (std::size_t at = item.begin; at < item.end; ++at) {
    if (Is(tokens, at, word)) return at;
    if (Is(tokens, at, "(")) at = BehindBracket(tokens, at) - 1;
  }
  return std::nullopt;
}

/// A piece of the text and what takes its place.
struct Change {
  std::size_t begin, end;
  std::string text;
};

std::size_t EndOf(const SqlToken& token) {
  return token.begin + token.text.size();
}

/// The table whose list of columns begins at `open`.
void ChangeTable(const Tokens& tokens, std::size_t open, std::vector<Change>& changes) {
  const std::vector<Item> items = ItemsIn(tokens, open);
  const auto holds = [&](const char* word, std::size_t behind) {
    return std::ranges::find_if(items, [&, word, behind](const Item& item) {
      return Find(tokens, {item.begin + behind, item.end}, word).has_value();
    });
  };
  // Behind a name and a type; before it there may be a column of that name.
  const auto column = holds("IDENTITY", 2), key = holds("PRIMARY", 0);
  if (column == items.end()) return;
  if (key != items.end() && key != column) {
    const auto bracket = Find(tokens, *key, "(");
    const bool isItsKey = bracket && BehindBracket(tokens, *bracket) == *bracket + 3 &&
                          EqualsIgnoringCase(Unquoted(tokens[*bracket + 1].text),
                                             Unquoted(tokens[column->begin].text));
    if (!isItsKey) return;
  }
  const std::size_t identity = *Find(tokens, {column->begin + 2, column->end}, "IDENTITY");
  const std::size_t type = column->begin + 1;
  const std::size_t typeEnd =
      Is(tokens, type + 1, "(") ? BehindBracket(tokens, type + 1) : type + 1;
  const std::size_t end =
      Is(tokens, identity + 1, "(") ? BehindBracket(tokens, identity + 1) : identity + 1;
  changes.push_back({tokens[type].begin, EndOf(tokens[typeEnd - 1]), "INTEGER"});
  changes.push_back(
      {tokens[identity].begin, EndOf(tokens[end - 1]), key == items.end() ? "PRIMARY KEY" : ""});
}

}  // namespace

std::string ResolveIdentity(std::string_view sql) {
  std::string text(sql);
  if (LowerAscii(text).find("identity") == std::string::npos) return text;
  const Tokens tokens = Tokenise(sql);
  std::vector<Change> changes;
  for (std::size_t at = 0; at + 1 < tokens.size(); ++at) {
    if (!Is(tokens, at, "CREATE") || !Is(tokens, at + 1, "TABLE")) continue;
    std::size_t open = at + 2;
    while (open < tokens.size() && !Is(tokens, open, "(") && !Is(tokens, open, ";")) ++open;
    if (Is(tokens, open, "(")) ChangeTable(tokens, open, changes);
  }
  for (auto change = changes.rbegin(); change != changes.rend(); ++change)
    text.replace(change->begin, change->end - change->begin, change->text);
  return text;
}

}  // namespace torvik
