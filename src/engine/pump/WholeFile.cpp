#include "engine/pump/WholeFile.h"

#include "platform/Files.h"

namespace torvik::engine {

std::string ReadWhole(Files& files, const std::string& path, std::size_t limit,
                      std::string& bytes) {
  bytes.clear();
  std::error_code error = files.CheckReadable(path);
  const auto file = error ? nullptr : files.OpenRead(path, error);
  char block[1 << 14];
  for (std::size_t got = 1; !error && got > 0 && bytes.size() <= limit;) {
    got = file->Read(block, sizeof block, error);
    bytes.append(block, got);
  }
  if (error) return error.message();
  if (bytes.size() <= limit) return {};
  return "the file has more than " + std::to_string(limit >> 20) + " MiB";
}

}  // namespace torvik::engine
