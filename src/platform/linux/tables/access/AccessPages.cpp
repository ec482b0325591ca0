#include "platform/linux/tables/access/AccessPages.h"

#include <algorithm>
#include <filesystem>

#include "platform/linux/text/IconvCodePages.h"

namespace torvik {
namespace {

std::uint32_t LongAt(std::string_view bytes, std::size_t at) {
  std::uint32_t number = 0;
  for (std::size_t i = 4; i > 0; --i)
    number = number << 8 | static_cast<unsigned char>(bytes[at + i - 1]);
  return number;
}

std::string_view CurrentPage(MdbHandle* handle) {
  return {reinterpret_cast<const char*>(handle->pg_buf),
          static_cast<std::size_t>(handle->fmt->pg_size)};
}

std::unique_ptr<CodePage> OpenCodePage(unsigned number) {
  const auto pages = NewIconvCodePages("windows-1252");
  auto page = pages->Open("cp" + std::to_string(number));
  return page ? std::move(page) : pages->Open("windows-1252");
}

}  // namespace

AccessPages::AccessPages(const std::string& path)
    : path_(path), handle_(mdb_open(path.c_str(), MDB_NOFLAGS)) {
  if (!handle_)
    throw TableFileError(path, "is an Access file of a version that is not read here, or damaged");
  RequireReadable();
  if (IS_JET3(handle_)) codePage_ = OpenCodePage(handle_->f->code_page);
  const auto pageSize = static_cast<std::uintmax_t>(handle_->fmt->pg_size);
  pages_ = static_cast<std::uint32_t>(std::filesystem::file_size(path) / pageSize);
}

AccessPages AccessPages::Clone() const {
  return {*this, mdb_clone_handle(handle_.get())};
}

void AccessPages::RequireReadable() const {
  const bool isAccess2007 = handle_->f->jet_version >= MDB_VER_ACCDB_2007;
  if (isAccess2007 && handle_->f->db_key != 0)
    throw TableFileError(path_,
                         "is encrypted with a password; open it in Access and save a copy "
                         "without one");
  if (!isAccess2007 && HasPassword())
    throw TableFileError(path_,
                         "is protected by a database password; open it in Access and take "
                         "the password away, or save a copy without one");
}

/// Reads the first page, which the library has just made readable. From Access 2000 on the password
/// is mixed with the day on which the file was made.
bool AccessPages::HasPassword() const {
  constexpr std::size_t kPassword = 0x42, kSize3 = 20, kSize4 = 40;
  constexpr int kCreated = 0x72;
  const bool isJet3 = IS_JET3(handle_);
  std::string password(CurrentPage(handle_.get()).substr(kPassword, isJet3 ? kSize3 : kSize4));
  if (!isJet3) {
    const double created = mdb_get_double(handle_->pg_buf, kCreated);
    const bool isDay = created > INT32_MIN && created < INT32_MAX;
    const auto day = static_cast<std::uint32_t>(isDay ? static_cast<std::int32_t>(created) : 0);
    for (std::size_t i = 0; i < password.size(); ++i)
      password[i] = static_cast<char>(password[i] ^ static_cast<char>(day >> i % 4 * 8));
  }
  return password.find_first_not_of('\0') != std::string::npos;
}

void AccessPages::RequirePage(std::uint32_t page) const {
  if (page == 0 || page >= pages_)
    throw Damaged("it refers to page " + std::to_string(page) + " and has " +
                  std::to_string(pages_) + " pages");
}

std::string_view AccessPages::Go(std::uint32_t page) const {
  RequirePage(page);
  if (mdb_read_pg(handle_.get(), page) != handle_->fmt->pg_size)
    throw Damaged("page " + std::to_string(page) + " cannot be read");
  return CurrentPage(handle_.get());
}

std::string AccessPages::Row(std::uint32_t number) const {
  RequirePage(number >> 8);
  void* page = nullptr;
  int offset = 0;
  std::size_t size = 0;
  const bool failed =
      mdb_find_pg_row(handle_.get(), static_cast<int>(number), &page, &offset, &size);
  const auto pageSize = static_cast<std::size_t>(handle_->fmt->pg_size);
  if (failed || offset < 0 || static_cast<std::size_t>(offset) + size > pageSize)
    throw Damaged("page " + std::to_string(number >> 8) + " has no row " +
                  std::to_string(number & 0xFF));
  return {static_cast<const char*>(page) + offset, size};
}

std::string AccessPages::LongValue(std::string_view reference) const {
  constexpr std::uint32_t kInline = 0x80000000, kOnePage = 0x40000000, kSize = 0x3FFFFFFF;
  constexpr std::size_t kReference = MDB_MEMO_OVERHEAD, kLink = 4;
  if (reference.size() < kReference) throw Damaged("a long value has no place");
  const std::uint32_t head = LongAt(reference, 0), size = head & kSize;
  if (head & kInline) return std::string(reference.substr(kReference, size));
  std::uint32_t row = LongAt(reference, 4);
  if (head & kOnePage) return Row(row).substr(0, size);
  std::string value;
  while (value.size() < size) {
    const std::string part = Row(row);
    if (part.size() <= kLink)
      throw Damaged("a long value ends after " + std::to_string(value.size()) + " of its " +
                    std::to_string(size) + " bytes");
    value += part.substr(kLink, size - value.size());
    row = LongAt(part, 0);
  }
  return value;
}

PlatformError AccessPages::Damaged(const std::string& reason) const {
  return TableFileError(path_, "is damaged: " + reason +
                                   "; open it in Access and let it be repaired, or get the file "
                                   "once more");
}

}  // namespace torvik
