#include "platform/linux/database/SqlStatements.h"

#include "platform/Text.h"
#include "platform/linux/database/SqlNames.h"
#include "platform/linux/database/SqlTokens.h"

namespace torvik {

std::vector<SqlStatementText> SplitStatements(std::string_view sql) {
  std::vector<SqlStatementText> statements;
  bool isNew = true;
  for (const SqlToken& token : Tokenise(sql)) {
    if (token.text == ";") {
      isNew = true;
      continue;
    }
    if (isNew) statements.push_back({sql.substr(token.begin), LineOf(sql, token.begin)});
    isNew = false;
    SqlStatementText& last = statements.back();
    const auto begin = static_cast<std::size_t>(last.text.data() - sql.data());
    last.text = sql.substr(begin, token.begin + token.text.size() - begin);
    if (token.text == "?") ++last.markers;
  }
  return statements;
}

std::string MarkerMisfit(std::size_t markers, std::size_t parameters) {
  if (markers == parameters) return "";
  return "the SQL text has " + std::to_string(markers) + " markers \"?\" for " +
         std::to_string(parameters) + " parameters; give one parameter for each marker";
}

std::string WithTable(std::string_view create, std::string_view from, std::string_view to) {
  const std::vector<SqlToken> tokens = Tokenise(create);
  const auto isWord = [&](std::size_t i, std::string_view word) {
    return i < tokens.size() && EqualsIgnoringCase(tokens[i].text, word);
  };
  std::string text;
  std::size_t copied = 0;
  for (std::size_t i = 1; i < tokens.size(); ++i) {
    if (tokens[i].kind != SqlTokenKind::Name || !EqualsIgnoringCase(Unquoted(tokens[i].text), from))
      continue;
    const bool isTable = isWord(i - 1, "TABLE") || isWord(i - 1, "REFERENCES") ||
                         isWord(i - 1, "ON") || isWord(i + 1, ".");
    if (!isTable) continue;
    text.append(create.substr(copied, tokens[i].begin - copied)).append(to);
    copied = tokens[i].begin + tokens[i].text.size();
  }
  return text.append(create.substr(copied));
}

}  // namespace torvik
