#include "platform/linux/database/SqlLengths.h"

#include <algorithm>

#include "platform/Text.h"
#include "platform/linux/database/SqlTokens.h"

namespace torvik {

std::string WithoutMax(std::string_view sql) {
  std::string text(sql);
  if (LowerAscii(text).find("max") == std::string::npos) return text;
  const auto tokens = Tokenise(sql);
  for (std::size_t at = tokens.size(); at-- > 3;) {
    const auto is = [&](std::size_t place, std::string_view word) {
      return EqualsIgnoringCase(tokens[place].text, word);
    };
    if (!is(at, ")") || !is(at - 1, "max") || !is(at - 2, "(")) continue;
    const std::string type = LowerAscii(Unquoted(tokens[at - 3].text));
    for (const char* sized : {"varchar", "nvarchar", "varbinary"})
      if (type == sized)
        text.erase(tokens[at - 2].begin, tokens[at].begin + 1 - tokens[at - 2].begin);
  }
  return text;
}

}  // namespace torvik
