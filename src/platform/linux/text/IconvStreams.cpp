#include "platform/linux/text/IconvStreams.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <utility>

namespace torvik {
namespace {

/// The smallest piece by which an encoding's text goes on behind invalid bytes.
std::size_t UnitBytes(const std::string& encoding) {
  const auto begins = [&](const char* name) { return encoding.starts_with(name); };
  if (begins("utf-16") || begins("utf16") || begins("ucs-2") || begins("ucs2")) return 2;
  if (begins("utf-32") || begins("utf32") || begins("ucs-4") || begins("ucs4")) return 4;
  return 1;
}

class IconvDecoder final : public TextDecoder {
 public:
  explicit IconvDecoder(const std::string& encoding)
      : toUtf8_("UTF-8", encoding), unit_(UnitBytes(encoding)) {}

  bool IsOpen() const { return toUtf8_.IsOpen(); }

  void Decode(std::string_view& bytes, std::span<char>& utf8, bool last) override {
    while (!bytes.empty() && !utf8.empty()) {
      const int failure = toUtf8_.Convert(bytes, utf8);
      if (failure == 0) break;
      const bool isCut = failure == EINVAL;
      if (failure == E2BIG || (isCut && !last) || utf8.empty()) return;
      utf8[0] = kInvalid;
      utf8 = utf8.subspan(1);
      bytes.remove_prefix(std::min(unit_, bytes.size()));
    }
    if (last && bytes.empty()) toUtf8_.Flush(utf8);
  }

 private:
  IconvHandle toUtf8_;
  std::size_t unit_;
};

class IconvEncoder final : public TextEncoder {
 public:
  explicit IconvEncoder(const std::string& encoding) : fromUtf8_(encoding, "UTF-8") {}

  bool IsOpen() const { return fromUtf8_.IsOpen(); }

  bool Encode(std::string_view utf8, std::string& bytes) override {
    const std::size_t before = bytes.size();
    std::array<char, 4096> buffer;
    fromUtf8_.Reset();
    for (bool flushed = false; !flushed;) {
      std::span<char> room(buffer);
      const int failure = fromUtf8_.Convert(utf8, room);
      if (failure != 0 && failure != E2BIG) {
        bytes.resize(before);
        return false;
      }
      if (failure == 0) flushed = fromUtf8_.Flush(room) == 0;
      bytes.append(buffer.data(), buffer.size() - room.size());
    }
    return true;
  }

 private:
  IconvHandle fromUtf8_;
};

template <typename Stream>
std::unique_ptr<Stream> OpenedOrNull(std::unique_ptr<Stream> stream) {
  return stream->IsOpen() ? std::move(stream) : nullptr;
}

}  // namespace

IconvHandle::IconvHandle(const std::string& to, const std::string& from)
    : handle_(iconv_open(to.c_str(), from.c_str())) {}

IconvHandle::~IconvHandle() {
  if (IsOpen()) iconv_close(handle_);
}

bool IconvHandle::IsOpen() const {
  return handle_ != reinterpret_cast<iconv_t>(-1);
}

void IconvHandle::Reset() {
  iconv(handle_, nullptr, nullptr, nullptr, nullptr);
}

int IconvHandle::Convert(std::string_view& in, std::span<char>& out) {
  char* from = const_cast<char*>(in.data());  // iconv only reads it
  char* to = out.data();
  std::size_t fromLeft = in.size(), toLeft = out.size();
  const bool failed =
      iconv(handle_, &from, &fromLeft, &to, &toLeft) == static_cast<std::size_t>(-1);
  const int failure = failed ? errno : 0;
  in.remove_prefix(in.size() - fromLeft);
  out = out.subspan(out.size() - toLeft);
  return failure;
}

int IconvHandle::Flush(std::span<char>& out) {
  char* to = out.data();
  std::size_t toLeft = out.size();
  const bool failed =
      iconv(handle_, nullptr, nullptr, &to, &toLeft) == static_cast<std::size_t>(-1);
  out = out.subspan(out.size() - toLeft);
  return failed ? errno : 0;
}

std::unique_ptr<TextDecoder> NewIconvDecoder(const std::string& encoding) {
  return OpenedOrNull(std::make_unique<IconvDecoder>(encoding));
}

std::unique_ptr<TextEncoder> NewIconvEncoder(const std::string& encoding) {
  return OpenedOrNull(std::make_unique<IconvEncoder>(encoding));
}

}  // namespace torvik
