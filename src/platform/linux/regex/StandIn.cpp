// Stands for the room in the programs, which load it when a script first uses a regular expression.

#include "platform/linux/modules/Modules.h"
#include "platform/linux/regex/PcreExpressions.h"

namespace torvik {
namespace {

class LateExpressions final : public RegularExpressions {
 public:
  std::unique_ptr<RegularExpression> Compile(std::string_view pattern,
                                             const ExpressionOptions& options) override {
    static const auto make = InModule(kRegexModule, &NewPcreExpressions, "a regular expression");
    return make()->Compile(pattern, options);
  }
};

}  // namespace

std::unique_ptr<RegularExpressions> NewPcreExpressions() {
  return std::make_unique<LateExpressions>();
}

}  // namespace torvik
