#include "platform/linux/database/SqlIdentity.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <vector>

#include "platform/PlatformError.h"
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

constexpr std::string_view kMark = "/* IDENTITY(";

/// The two numbers in brackets that a text begins with, "(100, -5)"; 1 and 1 without them.
SqlIdentity NumbersIn(std::string_view text) {
  SqlIdentity identity;
  const auto take = [&](std::int64_t& number) {
    text.remove_prefix(std::min(text.find_first_of("-0123456789"), text.size()));
    const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
    text.remove_prefix(static_cast<std::size_t>(read.ptr - text.data()));
  };
  if (!text.starts_with('(')) return identity;
  text = text.substr(0, text.find(')'));
  take(identity.seed);
  take(identity.increment);
  return identity;
}

std::string Marked(const SqlIdentity& identity) {
  return std::string(kMark) + std::to_string(identity.seed) + ", " +
         std::to_string(identity.increment) + ") */";
}

/// True for a rule of a table that makes this column alone its key.
bool IsKeyOf(const Tokens& tokens, const Item& rule, const Item& column) {
  const auto bracket = Find(tokens, rule, "(");
  return bracket && BehindBracket(tokens, *bracket) == *bracket + 3 &&
         EqualsIgnoringCase(Unquoted(tokens[*bracket + 1].text),
                            Unquoted(tokens[column.begin].text));
}

/// The table whose list of columns begins at `open`.
void ChangeTable(std::string_view sql, const Tokens& tokens, std::size_t open,
                 std::vector<Change>& changes) {
  const std::vector<Item> items = ItemsIn(tokens, open);
  const auto holds = [&](const char* word, std::size_t behind) {
    return std::ranges::find_if(items, [&, word, behind](const Item& item) {
      return Find(tokens, {item.begin + behind, item.end}, word).has_value();
    });
  };
  // Behind a name and a type; before it there may be a column of that name.
  const auto column = holds("IDENTITY", 2), key = holds("PRIMARY", 0);
  if (column == items.end()) return;
  bool hasOwnKey = key != items.end() && key != column;
  if (hasOwnKey && !IsKeyOf(tokens, *key, *column)) {
    // Only the key numbers rows; what was the key keeps its rows unique all the same.
    const std::size_t primary = *Find(tokens, *key, "PRIMARY");
    if (Is(tokens, primary + 1, "KEY"))
      changes.push_back({tokens[primary].begin, EndOf(tokens[primary + 1]), "UNIQUE"});
    hasOwnKey = false;
  }
  const std::size_t word = *Find(tokens, {column->begin + 2, column->end}, "IDENTITY");
  const std::size_t type = column->begin + 1;
  const std::size_t typeEnd =
      Is(tokens, type + 1, "(") ? BehindBracket(tokens, type + 1) : type + 1;
  const bool hasNumbers = Is(tokens, word + 1, "(");
  const std::size_t end = hasNumbers ? BehindBracket(tokens, word + 1) : word + 1;
  const SqlIdentity identity =
      NumbersIn(hasNumbers ? sql.substr(tokens[word + 1].begin) : std::string_view());
  if (identity.seed < 1 || identity.increment != 1)
    throw PlatformError(0,
                        "an embedded server numbers rows from 1 or higher, one by one; write "
                        "IDENTITY(" +
                            std::to_string(std::max<std::int64_t>(identity.seed, 1)) +
                            ", 1) for the column " + Unquoted(tokens[column->begin].text),
                        "embedded server");
  // Only a key that says so begins elsewhere.
  const std::string from = identity.seed == 1 ? "" : " AUTOINCREMENT";
  changes.push_back({tokens[type].begin, EndOf(tokens[typeEnd - 1]), "INTEGER"});
  changes.push_back({tokens[word].begin, EndOf(tokens[end - 1]),
                     (key == column ? "" : "PRIMARY KEY" + from + " ") + Marked(identity)});
  if (key == column && !from.empty()) {
    const std::size_t behind = EndOf(tokens[*Find(tokens, *key, "PRIMARY") + 1]);
    changes.push_back({behind, behind, from});
  }
  if (!hasOwnKey) return;
  // It is the column's now.
  const bool isFirst = key == items.begin();
  changes.push_back({tokens[key->begin - !isFirst].begin,
                     isFirst ? EndOf(tokens[key->end]) : EndOf(tokens[key->end - 1]), ""});
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
    if (Is(tokens, open, "(")) ChangeTable(sql, tokens, open, changes);
  }
  std::ranges::sort(changes, {}, &Change::begin);
  for (auto change = changes.rbegin(); change != changes.rend(); ++change)
    text.replace(change->begin, change->end - change->begin, change->text);
  return text;
}

std::optional<SqlIdentity> IdentityIn(std::string_view create) {
  const std::size_t mark = create.find(kMark);
  if (mark == std::string_view::npos) return std::nullopt;
  return NumbersIn(create.substr(mark + kMark.size() - 1));
}

}  // namespace torvik
