#include "ui/LogonOptions.h"

namespace torvik {

void PairLogonOptions(OptionButton& secure, OptionButton& byUser, std::vector<Control*> fields) {
  secure.Value.Observe([&byUser, fields = std::move(fields)](bool chosen) {
    byUser.Value.Set(!chosen);
    for (Control* field : fields) field->Enabled.Set(!chosen);
  });
  byUser.Value.Observe([&secure](bool chosen) { secure.Value.Set(!chosen); });
  byUser.Value.Set(true);
}

}  // namespace torvik
