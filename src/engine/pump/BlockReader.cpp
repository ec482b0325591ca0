#include "engine/pump/BlockReader.h"

#include <algorithm>
#include <cstring>
#include <span>
#include <system_error>
#include <utility>

#include "engine/pump/RowBatch.h"
#include "engine/pump/RowError.h"
#include "platform/Files.h"

namespace torvik::engine {
namespace {

constexpr std::size_t kBlockBytes = std::size_t{128} << 10;

}  // namespace

BlockReader::BlockReader(Files& files, std::string path) : path_(std::move(path)) {
  std::error_code error;
  file_ = files.OpenRead(path_, error);
  if (error || !file_) throw RowError::CannotOpen(path_, error);
}

BlockReader::~BlockReader() = default;

TextBlock BlockReader::Next(RowBatch& batch) {
  const std::span<char> room = batch.Block(std::max(kBlockBytes, 2 * kept_.size()));
  std::memcpy(room.data(), kept_.data(), kept_.size());
  std::size_t filled = kept_.size();
  while (!atEnd_ && filled < room.size()) {
    std::error_code error;
    const std::size_t got = file_->Read(room.data() + filled, room.size() - filled, error);
    if (error) throw RowError::CannotRead(path_, offset_ + filled, error);
    atEnd_ = got == 0;
    filled += got;
  }
  return {room.data(), room.data() + filled, offset_, atEnd_};
}

void BlockReader::Keep(const TextBlock& block, const char* from) {
  kept_.assign(from, static_cast<std::size_t>(block.end - from));
  offset_ = block.offset + static_cast<std::uint64_t>(from - block.begin);
}

}  // namespace torvik::engine
