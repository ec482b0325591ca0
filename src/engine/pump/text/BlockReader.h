#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "engine/pump/TextEncoding.h"
#include "engine/pump/text/TextInput.h"

namespace torvik::engine {

class RowBatch;

/// A stretch of a file's text, in a batch's block.
struct TextBlock {
  char* begin = nullptr;
  char* end = nullptr;
  bool last = false;  ///< The file ends at `end`.
};

/// Reads a file block by block; what one block leaves over begins the next. Bytes that must be
/// decoded before they can be scanned stand in the batch's block as well, behind their text.
class BlockReader {
 public:
  /// Of a block, unless what is kept needs more. A batch of that many bytes and its values stay in
  /// the processor's cache.
  static constexpr std::size_t kBlockBytes = std::size_t{256} << 10;

  /// So many bytes behind a block's text can be read as well, whatever they are.
  static constexpr std::size_t kBytesBehind = 16;

  /// `cancelled` ends a wait for a pipe's writer. Throws RowError when the start of the input
  /// cannot be read.
  BlockReader(TextInput input, const std::atomic<bool>* cancelled);
  ~BlockReader();

  /// The input's first bytes, before any block.
  std::string_view Head() const { return kept_; }
  /// Leaves the byte-order mark away and takes the decoders. Belongs before the first block.
  void Decode(TextEncoding& encoding);
  bool Decodes() const { return decoder_ != nullptr; }

  /// Puts what was kept and more of the file into the batch's block: with `mustGrow` at least as
  /// much again, else what there is room for in a block.
  TextBlock Next(RowBatch& batch, bool mustGrow);

  /// Keeps the text from `from` to the block's end. Belongs after each block.
  void Keep(const char* from);

  /// Where in the file the text at `at` stands. Each call for a place of the same block must go on
  /// from the one before, or repeat it.
  std::uint64_t OffsetOf(const char* at) {
    if (!decoder_) return offset_ + static_cast<std::uint64_t>(at - bytes_);
    Follow(at);
    return offset_ + static_cast<std::uint64_t>(followedBytes_ - bytes_);
  }
  /// The file's bytes from one such offset to another one, in the block.
  std::string_view Original(std::uint64_t from, std::uint64_t to) const {
    return {bytes_ + (from - offset_), static_cast<std::size_t>(to - from)};
  }

 private:
  std::size_t Fill(char* begin, std::size_t filled, std::size_t capacity);
  TextBlock NextDecoded(RowBatch& batch, bool mustGrow);
  void Follow(const char* at);

  const std::string path_;
  std::unique_ptr<FileReader> file_;
  std::unique_ptr<TextDecoder> decoder_, follower_;
  std::string kept_;      // bytes
  std::string keptText_;  // what of their text is decoded
  std::size_t keptDecoded_ = 0;
  std::uint64_t offset_ = 0;  // of the block's first byte, or of the first one kept
  bool atEnd_ = false;
  bool isBegun_ = false;

  TextBlock block_;
  const char* bytes_ = nullptr;  // the block's bytes, up to bytesEnd_; decodedEnd_ is in between
  const char* bytesEnd_ = nullptr;
  const char* decodedEnd_ = nullptr;
  const char* followedText_ = nullptr;  // the place last asked for
  const char* followedBytes_ = nullptr;
};

}  // namespace torvik::engine
