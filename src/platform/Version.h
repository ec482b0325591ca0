#pragma once

namespace torvik {

/// The version of this build, as CMakeLists.txt gives it: "1.2.3".
inline constexpr const char* kVersion = TORVIK_VERSION;

}  // namespace torvik
