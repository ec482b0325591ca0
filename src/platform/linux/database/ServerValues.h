#pragma once

#include <string>

#include "platform/Ado.h"

/// Values of a server in the form that they have on every server.
namespace torvik {

/// A decimal as a number where that loses nothing, else as its digits.
ado::Value ExactNumber(std::string text);

/// The digits of a decimal with a 0 before the point.
std::string DecimalDigits(std::string text);

/// A number of single precision as its shortest digits say it: 0.1, not 0.10000000149011612.
double RealOf(float number);

/// As SQL Server spells a uniqueidentifier.
std::string InCapitals(std::string text);

}  // namespace torvik
