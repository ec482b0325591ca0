#include "platform/linux/system/ProgramBeside.h"

#include <filesystem>

namespace torvik {

std::string ProgramBeside(const std::string& name) {
  std::error_code error;
  const auto path = std::filesystem::read_symlink("/proc/self/exe", error).replace_filename(name);
  return !error && std::filesystem::exists(path, error) ? path.string() : "";
}

}  // namespace torvik
