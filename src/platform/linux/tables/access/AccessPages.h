#pragma once

// The library's header includes this one as C, which it is not.
#include <glib.h>
#include <mdbtools.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "platform/CodePage.h"
#include "platform/linux/tables/common/TableFile.h"

namespace torvik {

/// The pages of an Access file. What is damaged throws PlatformError.
class AccessPages {
 public:
  /// Throws PlatformError when the file cannot be opened, or read without a password.
  explicit AccessPages(const std::string& path);

  /// The same file with a page of its own in memory.
  AccessPages Clone() const;

  const std::string& Path() const { return path_; }
  MdbHandle* Handle() const { return handle_.get(); }
  /// That of texts; null where they are UTF-16.
  const CodePage* TextCodePage() const { return codePage_.get(); }

  /// Makes a page the library's current one. Its bytes stay until the next call.
  std::string_view Go(std::uint32_t page) const;

  /// The bytes of a row by its number in the file, which holds its page and its place there. The
  /// current page stays.
  std::string Row(std::uint32_t number) const;

  /// The bytes of a value too long for its row, by what the row holds in its stead.
  std::string LongValue(std::string_view reference) const;

  PlatformError Damaged(const std::string& reason) const;

 private:
  struct Close {
    void operator()(MdbHandle* handle) const { mdb_close(handle); }
  };

  AccessPages(const AccessPages& other, MdbHandle* handle)
      : path_(other.path_), handle_(handle), codePage_(other.codePage_), pages_(other.pages_) {}
  void RequireReadable() const;
  bool HasPassword() const;
  void RequirePage(std::uint32_t page) const;

  std::string path_;
  std::unique_ptr<MdbHandle, Close> handle_;
  std::shared_ptr<const CodePage> codePage_;
  std::uint32_t pages_ = 0;
};

}  // namespace torvik
