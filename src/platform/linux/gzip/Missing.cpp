// Stands for the room in a build without zlib.

#include "platform/linux/gzip/GzipFile.h"

#include <utility>

#include "platform/linux/text/FileProblem.h"

namespace torvik {
namespace {

/// Reads a file as it is, unless it begins as gzip does.
class PlainReader final : public FileReader {
 public:
  PlainReader(std::unique_ptr<FileReader> file, bool mustBeGzip)
      : file_(std::move(file)), refused_(mustBeGzip) {}

  std::size_t Read(char* buffer, std::size_t capacity, std::error_code& error) override {
    const std::size_t got = file_->Read(buffer, capacity, error);
    for (std::size_t at = 0; at < got && position_ < 2; ++at, ++position_)
      matched_ += buffer[at] == "\x1F\x8B"[position_] ? 1 : 0;
    refused_ = refused_ || matched_ == 2;
    if (refused_ && !error) error = make_error_code(FileProblem::NoGzip);
    return error ? 0 : got;
  }
  void EndOn(const std::atomic<bool>* cancelled) override { file_->EndOn(cancelled); }

 private:
  std::unique_ptr<FileReader> file_;
  bool refused_;
  std::size_t position_ = 0;
  int matched_ = 0;
};

}  // namespace

std::unique_ptr<FileReader> NewGzipReader(std::unique_ptr<FileReader> file,
                                          Compression compression) {
  return std::make_unique<PlainReader>(std::move(file), compression == Compression::Gzip);
}

std::unique_ptr<FileWriter> NewGzipWriter(std::unique_ptr<FileWriter>, std::error_code& error) {
  error = make_error_code(FileProblem::NoGzip);
  return nullptr;
}

}  // namespace torvik
