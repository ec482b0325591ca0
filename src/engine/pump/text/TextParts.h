#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "engine/pump/RowSource.h"
#include "engine/pump/text/TextStretches.h"

namespace torvik::engine {

/// A text file for several threads: each has a reader of its own, which takes a stretch of the file
/// after the other. Together they give every row once, with the lines and offsets that it has in
/// the file; each gives those that it has in their order.
class TextParts {
 public:
  static constexpr std::size_t kStretchBytes = std::size_t{2} << 20;

  /// `columns`: those that the file was found to have. Throws NotInParts when it can only be read
  /// from its start to its end, and RowError when it cannot be opened. `files` and `codePages` must
  /// outlive the parts.
  TextParts(Files& files, const CodePages& codePages, const std::string& path,
            const TextFormat& format, std::vector<std::string> columns,
            std::size_t stretchBytes = kStretchBytes);
  ~TextParts();

  /// One reader more, which must not outlive the parts. Its Fetch throws NotInParts for a file that
  /// turns out to be one.
  std::unique_ptr<RowSource> NewReader();

  /// Each reader ends with the stretch that it has: when all have ended, all rows before the last
  /// one that was read are read. Any thread may call it.
  void Stop() { stopped_ = true; }

 private:
  class Reader;

  std::optional<TextInput> Take();
  std::unique_ptr<TextSource> Open(TextInput stretch) const;

  const CodePages& codePages_;
  const std::string path_;
  const TextFormat format_;
  const std::vector<std::string> columns_;
  const std::unique_ptr<TextSource> whole_;  // tells rules and places, reads nothing
  std::atomic<bool> stopped_ = false;
  std::mutex mutex_;  // of the stretches
  std::optional<TextStretches> stretches_;
};

}  // namespace torvik::engine
