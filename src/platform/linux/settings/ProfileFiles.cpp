#include "platform/linux/settings/ProfileFiles.h"

#include "platform/CodePage.h"
#include "platform/Text.h"
#include "platform/linux/settings/IniText.h"
#include "platform/linux/system/Posix.h"
#include "platform/linux/system/ReplaceFile.h"

namespace torvik {
namespace {

constexpr mode_t kPrivateMode = 0600;  // job files hold passwords

bool FitsOnOneLine(std::string_view text) {
  return text.find_first_of(std::string_view("\r\n\0", 3)) == std::string_view::npos;
}

class ProfileFiles final : public Profile {
 public:
  ProfileFiles(const PathMap& paths, const CodePage& ansi) : paths_(paths), ansi_(ansi) {}

  std::string GetPrivateProfileStringA(std::string_view section, std::string_view key,
                                       std::string_view fallback, std::size_t size,
                                       const std::string& file) override {
    if (size == 0) return {};
    std::string value(fallback);
    std::string bytes;
    if (!Read(file, bytes)) {
      const IniText ini(std::move(bytes));
      const auto found = ini.Find(ansi_.Encode(section), ansi_.Encode(key));
      if (found) value = ansi_.Decode(*found);
    }
    value.resize(FirstCharacters(value, size - 1).size());
    return value;
  }

  int WritePrivateProfileStringA(std::string_view section, std::string_view key,
                                 std::string_view value, const std::string& file) override {
    if (!FitsOnOneLine(section) || !FitsOnOneLine(key) || !FitsOnOneLine(value)) return 0;
    std::string bytes;
    const std::error_code unread = Read(file, bytes);
    if (unread && unread != std::errc::no_such_file_or_directory) return 0;
    IniText ini(std::move(bytes));
    ini.Set(ansi_.Encode(section), ansi_.Encode(key), ansi_.Encode(value));
    std::error_code error;
    const std::string path = paths_.ToLinux(file, error);
    return !error && !ReplaceFile(path, ini.Bytes(), kPrivateMode);
  }

 private:
  std::error_code Read(const std::string& file, std::string& bytes) const {
    std::error_code error;
    const std::string path = paths_.ToLinux(file, error);
    return error ? error : ReadFile(path, bytes);
  }

  const PathMap paths_;
  const CodePage& ansi_;
};

}  // namespace

std::unique_ptr<Profile> NewProfileFiles(const PathMap& paths, const CodePages& codePages) {
  return std::make_unique<ProfileFiles>(paths, codePages.Ansi());
}

}  // namespace torvik
