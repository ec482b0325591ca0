#pragma once

#include <system_error>

namespace torvik {

/// Why a file cannot be read or written, where the system has no error of its own for it.
enum class FileProblem { Shrank = 1, NotGzip, GzipCutOff, GzipDamaged, NoGzip };

std::error_code make_error_code(FileProblem problem);

}  // namespace torvik
