#include "transfer/FetchClaims.h"

#include "platform/Registry.h"

namespace torvik {
namespace {

using namespace registry;

constexpr const char* kPath = "Software\\Quor\\Torvik\\Claims";

/// An open key of the registry, or none.
class OpenKey {
 public:
  OpenKey(Registry& registry, bool isMade) : registry_(registry) {
    const auto open = isMade ? &Registry::RegCreateKeyExA : &Registry::RegOpenKeyExA;
    if ((registry.*open)(kLocalMachine, kPath, kAllAccess, key_) != kSuccess) key_ = 0;
  }
  ~OpenKey() {
    if (key_ != 0) registry_.RegCloseKey(key_);
  }
  OpenKey(const OpenKey&) = delete;
  OpenKey& operator=(const OpenKey&) = delete;

  RegistryKey Number() const { return key_; }

 private:
  Registry& registry_;
  RegistryKey key_ = 0;
};

}  // namespace

void FetchClaims::Note(const std::string& place, const std::string& time) {
  const OpenKey key(registry_, true);
  if (key.Number() != 0) registry_.RegSetValueExA(key.Number(), place, kText, time);
}

void FetchClaims::Forget(const std::string& place) {
  const OpenKey key(registry_, false);
  if (key.Number() != 0) registry_.RegDeleteValueA(key.Number(), place);
}

std::string FetchClaims::Since(const std::string& place) {
  const OpenKey key(registry_, false);
  std::uint32_t size = 0;
  if (key.Number() == 0 ||
      registry_.RegQueryValueExA(key.Number(), place, nullptr, size) != kSuccess)
    return {};
  std::string time(size, ' ');
  if (registry_.RegQueryValueExA(key.Number(), place, time.data(), size) != kSuccess) return {};
  return time.substr(0, size);
}

}  // namespace torvik
