#include "engine/pump/text/BlockReader.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <span>
#include <system_error>
#include <utility>

#include "engine/pump/RowBatch.h"
#include "engine/pump/RowError.h"
#include "platform/CodePage.h"

namespace torvik::engine {
namespace {

/// No character of any encoding has more bytes, shifts included.
constexpr std::size_t kCharacterBytes = 32;

std::size_t RoomFor(std::size_t kept, bool mustGrow) {
  return std::max(BlockReader::kBlockBytes, mustGrow ? 2 * kept : kept);
}

std::size_t Distance(const char* from, const char* to) {
  return static_cast<std::size_t>(to - from);
}

}  // namespace

TextInput OpenTextInput(Files& files, const std::string& path, Compression compression) {
  std::error_code error;
  TextInput input{path, files.OpenUnpacked(path, compression, error)};
  if (error || !input.bytes) throw RowError::CannotOpen(path, error);
  return input;
}

BlockReader::BlockReader(TextInput input, const std::atomic<bool>* cancelled)
    : path_(std::move(input.path)), file_(std::move(input.bytes)), offset_(input.offset) {
  file_->EndOn(cancelled);
  kept_.resize(kLongestByteOrderMark);
  kept_.resize(Fill(kept_.data(), 0, kept_.size()));
}

BlockReader::~BlockReader() = default;

void BlockReader::Decode(TextEncoding& encoding) {
  kept_.erase(0, encoding.markBytes);
  offset_ += encoding.markBytes;
  decoder_ = std::move(encoding.decoder);
  follower_ = std::move(encoding.follower);
}

/// Reads on until `capacity` bytes stand at `begin` or the file ends; answers how many do.
std::size_t BlockReader::Fill(char* begin, std::size_t filled, std::size_t capacity) {
  while (!atEnd_ && filled < capacity) {
    std::error_code error;
    const std::size_t got = file_->Read(begin + filled, capacity - filled, error);
    if (error) throw RowError::CannotRead(path_, offset_ + filled, error);
    atEnd_ = got == 0;
    filled += got;
  }
  return filled;
}

TextBlock BlockReader::Next(RowBatch& batch, bool mustGrow) {
  if (decoder_) return NextDecoded(batch, mustGrow);
  std::span<char> room = batch.Block(RoomFor(kept_.size(), mustGrow) + kBytesBehind);
  room = room.first(room.size() - kBytesBehind);
  std::memcpy(room.data(), kept_.data(), kept_.size());
  const std::size_t filled = Fill(room.data(), kept_.size(), room.size());
  block_ = {room.data(), room.data() + filled, atEnd_};
  bytes_ = block_.begin;
  return block_;
}

TextBlock BlockReader::NextDecoded(RowBatch& batch, bool mustGrow) {
  const std::size_t textRoom = RoomFor(keptText_.size(), mustGrow);
  const std::size_t byteRoom = std::max(kept_.size(), 2 * keptDecoded_ + kBlockBytes);
  char* const text = batch.Block(textRoom + byteRoom).data();
  char* const bytes = text + textRoom;
  std::memcpy(text, keptText_.data(), keptText_.size());
  std::memcpy(bytes, kept_.data(), kept_.size());
  const std::size_t filled = Fill(bytes, kept_.size(), byteRoom);

  std::string_view in(bytes + keptDecoded_, filled - keptDecoded_);
  std::span<char> out(text + keptText_.size(), textRoom - keptText_.size());
  decoder_->Decode(in, out, atEnd_);
  block_ = {text, out.data(), atEnd_ && in.empty()};
  bytes_ = followedBytes_ = bytes;
  bytesEnd_ = bytes + filled;
  decodedEnd_ = in.data();
  followedText_ = text;
  // Some encodings have a mark that shows only when it is decoded.
  const std::string_view decoded(text, Distance(text, block_.end));
  if (!std::exchange(isBegun_, true) && decoded.starts_with("\uFEFF")) block_.begin += 3;
  return block_;
}

void BlockReader::Keep(const char* from) {
  if (!decoder_) {
    offset_ = OffsetOf(from);
    kept_.assign(from, static_cast<const char*>(block_.end));
    return;
  }
  Follow(from);
  offset_ += Distance(bytes_, followedBytes_);
  kept_.assign(followedBytes_, bytesEnd_);
  keptDecoded_ = Distance(followedBytes_, decodedEnd_);
  keptText_.assign(from, static_cast<const char*>(block_.end));
}

/// Decodes once more, up to a place of the text: what is used up by then is the bytes before it.
/// No other way holds for all encodings, and few need decoding at all.
void BlockReader::Follow(const char* at) {
  const std::size_t ratio = 1 + Distance(bytes_, decodedEnd_) /
                                    std::max<std::size_t>(1, Distance(block_.begin, block_.end));
  std::array<char, 4096> scratch;
  while (followedText_ < at) {
    std::span<char> out(scratch.data(), std::min(scratch.size(), Distance(followedText_, at)));
    // A byte may be invalid for what follows it, so what follows must be there. But no more than
    // may be needed: the decoder's work grows with what it is given.
    const std::size_t left = Distance(followedBytes_, bytesEnd_), wanted = out.size();
    std::string_view in(followedBytes_, std::min(left, wanted * ratio + kCharacterBytes));
    follower_->Decode(in, out, block_.last && in.size() == left);
    if (in.data() == followedBytes_ && out.size() == wanted) break;
    followedBytes_ = in.data();
    followedText_ += wanted - out.size();
  }
}

}  // namespace torvik::engine
