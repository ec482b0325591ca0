#pragma once

#include <filesystem>

#include "scenarios/Sandbox.h"

namespace torvik {

/// Does in the sandbox what a *.scenario file says; what is not as it says fails the test.
void RunScenario(const std::filesystem::path& path, Sandbox& sandbox);

}  // namespace torvik
