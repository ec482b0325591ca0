#include "platform/linux/gzip/GzipFile.h"

#include <zlib.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>
#include <vector>

#include "platform/linux/text/FileProblem.h"

namespace torvik {
namespace {

constexpr std::size_t kPieceBytes = std::size_t{64} << 10;
constexpr int kGzipFormat = MAX_WBITS + 16;
constexpr int kMemoryLevel = 8;
constexpr std::string_view kMagic = "\x1F\x8B";

Bytef* Bytes(const char* text) {
  return reinterpret_cast<Bytef*>(const_cast<char*>(text));
}

class GzipReader final : public FileReader {
 public:
  GzipReader(std::unique_ptr<FileReader> file, Compression compression)
      : file_(std::move(file)), mustBeGzip_(compression == Compression::Gzip), input_(kPieceBytes) {
    if (inflateInit2(&stream_, kGzipFormat) != Z_OK) throw std::bad_alloc();
  }
  ~GzipReader() override { inflateEnd(&stream_); }

  std::size_t Read(char* buffer, std::size_t capacity, std::error_code& error) override {
    error = {};
    if (kind_ == Kind::Unknown) return ReadStart(buffer, capacity, error);
    const bool direct = kind_ == Kind::Plain && stream_.avail_in == 0;
    return direct ? file_->Read(buffer, capacity, error) : Unpack(buffer, capacity, error);
  }

  void EndOn(const std::atomic<bool>* cancelled) override { file_->EndOn(cancelled); }

 private:
  enum class Kind { Unknown, Plain, Gzip };

  /// The first bytes of a file that is not compressed go where they are wanted.
  std::size_t ReadStart(char* buffer, std::size_t capacity, std::error_code& error) {
    std::size_t filled = 0;
    char* const start = capacity < kPieceBytes ? input_.data() : buffer;
    for (std::size_t got = 1; filled < kMagic.size() && got > 0 && !error; filled += got)
      got = file_->Read(start + filled, kPieceBytes - filled, error);
    if (error) return 0;
    kind_ = std::string_view(start, filled).starts_with(kMagic) ? Kind::Gzip : Kind::Plain;
    if (kind_ == Kind::Plain && mustBeGzip_) error = make_error_code(FileProblem::NotGzip);
    if (error) return 0;
    if (kind_ == Kind::Plain && start == buffer) return filled;
    std::memmove(input_.data(), start, filled);
    stream_.next_in = Bytes(input_.data());
    stream_.avail_in = static_cast<uInt>(filled);
    betweenMembers_ = kind_ == Kind::Plain;  // it may end anywhere
    return Unpack(buffer, capacity, error);
  }

  /// Fills the buffer as far as the data goes; an error waits until what stands before it is taken.
  std::size_t Unpack(char* buffer, std::size_t capacity, std::error_code& error) {
    capacity = std::min<std::size_t>(capacity, std::size_t{1} << 30);
    stream_.next_out = Bytes(buffer);
    stream_.avail_out = static_cast<uInt>(capacity);
    while (stream_.avail_out > 0 && !failure_ && FillInput()) Step();
    const std::size_t got = capacity - stream_.avail_out;
    if (got == 0) error = failure_;
    return got;
  }

  /// False at the end of the file.
  bool FillInput() {
    if (stream_.avail_in > 0) return true;
    const std::size_t got = file_->Read(input_.data(), input_.size(), failure_);
    if (got == 0 && !failure_ && !betweenMembers_)
      failure_ = make_error_code(FileProblem::GzipCutOff);
    stream_.next_in = Bytes(input_.data());
    stream_.avail_in = static_cast<uInt>(got);
    return got > 0;
  }

  void Step() {
    if (kind_ == Kind::Plain) return CopyPlain();
    if (betweenMembers_ && *stream_.next_in == 0) return SkipPadding();
    if (betweenMembers_) inflateReset(&stream_);
    const int result = inflate(&stream_, Z_NO_FLUSH);
    betweenMembers_ = result == Z_STREAM_END;
    if (result != Z_OK && result != Z_STREAM_END && result != Z_BUF_ERROR)
      failure_ = make_error_code(FileProblem::GzipDamaged);
  }

  /// Tapes fill their last block with zeros.
  void SkipPadding() {
    ++stream_.next_in;
    --stream_.avail_in;
  }

  /// The start of a file that is not compressed, when the buffer was too small for it.
  void CopyPlain() {
    const uInt count = std::min(stream_.avail_in, stream_.avail_out);
    std::memcpy(stream_.next_out, stream_.next_in, count);
    stream_.next_in += count, stream_.avail_in -= count;
    stream_.next_out += count, stream_.avail_out -= count;
  }

  std::unique_ptr<FileReader> file_;
  const bool mustBeGzip_;
  std::vector<char> input_;
  z_stream stream_{};
  Kind kind_ = Kind::Unknown;
  bool betweenMembers_ = false;
  std::error_code failure_;
};

class GzipWriter final : public FileWriter {
 public:
  explicit GzipWriter(std::unique_ptr<FileWriter> file)
      : file_(std::move(file)), output_(kPieceBytes) {
    if (deflateInit2(&stream_, Z_DEFAULT_COMPRESSION, Z_DEFLATED, kGzipFormat, kMemoryLevel,
                     Z_DEFAULT_STRATEGY) != Z_OK)
      throw std::bad_alloc();
  }
  ~GzipWriter() override { deflateEnd(&stream_); }

  std::error_code Write(std::string_view bytes) override {
    constexpr std::size_t limit = std::size_t{1} << 30;
    for (; !bytes.empty(); bytes.remove_prefix(std::min(limit, bytes.size())))
      if (const auto error = Pack(bytes.substr(0, limit), Z_NO_FLUSH)) return error;
    return {};
  }

  std::error_code Commit() override {
    if (const auto error = Pack({}, Z_FINISH)) return error;
    return file_->Commit();
  }

  void EndOn(const std::atomic<bool>* cancelled) override { file_->EndOn(cancelled); }

 private:
  std::error_code Pack(std::string_view bytes, int flush) {
    stream_.next_in = Bytes(bytes.data());
    stream_.avail_in = static_cast<uInt>(bytes.size());
    do {
      stream_.next_out = Bytes(output_.data());
      stream_.avail_out = static_cast<uInt>(output_.size());
      deflate(&stream_, flush);
      const std::size_t got = output_.size() - stream_.avail_out;
      if (const auto error = file_->Write({output_.data(), got})) return error;
    } while (stream_.avail_out == 0);
    return {};
  }

  std::unique_ptr<FileWriter> file_;
  std::vector<char> output_;
  z_stream stream_{};
};

}  // namespace

std::unique_ptr<FileReader> NewGzipReader(std::unique_ptr<FileReader> file,
                                          Compression compression) {
  return std::make_unique<GzipReader>(std::move(file), compression);
}

std::unique_ptr<FileWriter> NewGzipWriter(std::unique_ptr<FileWriter> file, std::error_code&) {
  return std::make_unique<GzipWriter>(std::move(file));
}

}  // namespace torvik
