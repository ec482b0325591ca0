#include "engine/model/TextTemplate.h"

namespace torvik::engine {

std::vector<TemplatePiece> SplitTemplate(std::string_view text) {
  using Kind = TemplatePiece::Kind;
  std::vector<TemplatePiece> pieces;
  const auto addLiteral = [&](std::string_view literal) {
    if (!literal.empty()) pieces.push_back({Kind::Literal, literal});
  };
  while (true) {
    const auto open = text.find("${");
    if (open == std::string_view::npos) break;
    if (open > 0 && text[open - 1] == '$') {
      addLiteral(text.substr(0, open - 1));
      addLiteral(text.substr(open, 2));
      text.remove_prefix(open + 2);
      continue;
    }
    addLiteral(text.substr(0, open));
    text.remove_prefix(open + 2);
    const auto close = text.find('}');
    if (close == std::string_view::npos) {
      pieces.push_back({Kind::Unclosed, text});
      return pieces;
    }
    pieces.push_back({Kind::Variable, text.substr(0, close)});
    text.remove_prefix(close + 1);
  }
  addLiteral(text);
  return pieces;
}

}  // namespace torvik::engine
