#include "platform/linux/database/RowSpool.h"

#include <cstdint>

#include "platform/PlatformError.h"
#include "platform/linux/system/Posix.h"

namespace torvik {
namespace {

using Kind = ado::LoadValue::Kind;

PlatformError Failure(const std::string& what) {
  const std::error_code reason = LastSystemError();
  return PlatformError(reason.value(),
                       "rows cannot be set aside in a temporary file: " + what + ": " +
                           reason.message() + "; make room in the system's directory for them",
                       "temporary file");
}

}  // namespace

RowSpool::RowSpool() : file_(std::tmpfile()) {
  if (!file_) throw Failure("none can be made");
}

void RowSpool::Write(const void* data, std::size_t size) {
  if (size > 0 && std::fwrite(data, 1, size, file_.get()) != size)
    throw Failure("it cannot be written");
}

void RowSpool::Read(void* data, std::size_t size) {
  if (size > 0 && std::fread(data, 1, size, file_.get()) != size)
    throw Failure("it cannot be read");
}

void RowSpool::Add(std::span<const ado::LoadValue> row) {
  for (const ado::LoadValue& value : row) {
    const Kind kind = value.GetKind();
    Write(&kind, sizeof kind);
    if (kind == Kind::Integer) {
      const std::int64_t number = value.Integer();
      Write(&number, sizeof number);
    } else if (kind == Kind::Real) {
      const double number = value.Real();
      Write(&number, sizeof number);
    } else if (kind == Kind::Text) {
      const std::size_t size = value.Text().size();
      Write(&size, sizeof size);
      Write(value.Text().data(), size);
    }
  }
  ++rows_;
}

void RowSpool::Rewind() {
  if (std::fflush(file_.get()) != 0 || std::fseek(file_.get(), 0, SEEK_SET) != 0)
    throw Failure("it cannot be written");
}

bool RowSpool::Next(std::span<ado::LoadValue> row) {
  if (rows_ == 0) return false;
  --rows_;
  texts_.resize(row.size());
  for (std::size_t i = 0; i < row.size(); ++i) {
    Kind kind{};
    std::int64_t whole = 0;
    double real = 0;
    std::size_t size = 0;
    Read(&kind, sizeof kind);
    switch (kind) {
      case Kind::Null: row[i] = {}; break;
      case Kind::Integer: Read(&whole, sizeof whole), row[i] = whole; break;
      case Kind::Real: Read(&real, sizeof real), row[i] = real; break;
      case Kind::Text:
        Read(&size, sizeof size);
        texts_[i].resize(size);
        Read(texts_[i].data(), size);
        row[i] = std::string_view(texts_[i]);
        break;
    }
  }
  return true;
}

}  // namespace torvik
