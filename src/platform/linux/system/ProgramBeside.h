#pragma once

#include <string>

namespace torvik {

/// The path of a program that lies in the directory of this one; empty when there is none.
std::string ProgramBeside(const std::string& name);

}  // namespace torvik
