#include "platform/linux/settings/ProfileFiles.h"

#include <memory>
#include <optional>
#include <utility>

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
    std::optional<IniText> read;
    if (const IniText* ini = HeldOrRead(file, read)) {
      const auto found = ini->Find(ansi_.Encode(section), ansi_.Encode(key));
      if (found) value = ansi_.Decode(*found);
    }
    value.resize(FirstCharacters(value, size - 1).size());
    return value;
  }

  std::vector<std::pair<std::string, std::string>> GetPrivateProfileSectionA(
      std::string_view section, const std::string& file) override {
    std::optional<IniText> read;
    const IniText* const ini = HeldOrRead(file, read);
    if (ini == nullptr) return {};
    std::vector<std::pair<std::string, std::string>> keys;
    for (const auto& [key, value] : ini->Keys(ansi_.Encode(section)))
      keys.emplace_back(ansi_.Decode(key), ansi_.Decode(value));
    return keys;
  }

  int WritePrivateProfileStringA(std::string_view section, std::string_view key,
                                 std::string_view value, const std::string& file) override {
    if (!FitsOnOneLine(section) || !FitsOnOneLine(key) || !FitsOnOneLine(value)) return 0;
    std::optional<IniText> read;
    IniText* const ini = HeldOrRead(file, read);
    if (ini == nullptr) return 0;
    ini->Set(ansi_.Encode(section), ansi_.Encode(key), ansi_.Encode(value));
    if (read) return !Write(file, *read);
    held_->isChanged = true;
    return 1;
  }

  std::error_code Together(const std::string& file, const std::function<void()>& use) override {
    std::optional<IniText> ini;
    if (const auto error = Read(file, ini)) return error;
    const auto letGo = [](std::optional<Held>* held) { held->reset(); };
    held_ = Held{file, std::move(*ini)};
    const std::unique_ptr<std::optional<Held>, decltype(letGo)> holding(&held_, letGo);
    use();
    return held_->isChanged ? Write(file, held_->text) : std::error_code();
  }

 private:
  /// A file that is in use, as it will be written.
  struct Held {
    std::string file;
    IniText text;
    bool isChanged = false;
  };

  /// The file that is in use, or this one in `read`; null when it cannot be read.
  IniText* HeldOrRead(const std::string& file, std::optional<IniText>& read) {
    if (held_ && held_->file == file) return &held_->text;
    return Read(file, read) ? nullptr : &*read;
  }

  /// An absent file is an empty one.
  std::error_code Read(const std::string& file, std::optional<IniText>& ini) const {
    std::error_code error;
    const std::string path = paths_.ToLinux(file, error);
    std::string bytes;
    if (!error) error = ReadFile(path, bytes);
    if (error && error != std::errc::no_such_file_or_directory) return error;
    ini.emplace(std::move(bytes));
    return {};
  }

  std::error_code Write(const std::string& file, const IniText& ini) const {
    std::error_code error;
    const std::string path = paths_.ToLinux(file, error);
    return error ? error : ReplaceFile(path, ini.Bytes(), kPrivateMode);
  }

  const PathMap paths_;
  const CodePage& ansi_;
  std::optional<Held> held_;
};

}  // namespace

std::unique_ptr<Profile> NewProfileFiles(const PathMap& paths, const CodePages& codePages) {
  return std::make_unique<ProfileFiles>(paths, codePages.Ansi());
}

}  // namespace torvik
