#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace torvik {
class FileReader;
class Files;
}  // namespace torvik

namespace torvik::engine {

class RowBatch;

/// A stretch of a file, in a batch's block.
struct TextBlock {
  char* begin = nullptr;
  char* end = nullptr;
  std::uint64_t offset = 0;  ///< Of `begin` in the file.
  bool last = false;         ///< The file ends at `end`.
};

/// Reads a file block by block; what one block leaves over begins the next.
class BlockReader {
 public:
  /// Throws RowError when the file cannot be opened.
  BlockReader(Files& files, std::string path);
  ~BlockReader();

  /// Puts what was kept and more of the file, at least as much again, into the batch's block.
  TextBlock Next(RowBatch& batch);

  /// Keeps the bytes from `from` to the block's end.
  void Keep(const TextBlock& block, const char* from);

 private:
  std::string path_;
  std::unique_ptr<FileReader> file_;
  std::string kept_;
  std::uint64_t offset_ = 0;  // of the first byte kept
  bool atEnd_ = false;
};

}  // namespace torvik::engine
