#pragma once

#include <vector>

#include "ui/Controls.h"

namespace torvik {

/// Joins the two ways to log on to a server: choosing one takes back the other; with the account of
/// the process the fields of user and password, and their labels, are disabled. The second one is
/// chosen.
void PairLogonOptions(OptionButton& secure, OptionButton& byUser, std::vector<Control*> fields);

}  // namespace torvik
