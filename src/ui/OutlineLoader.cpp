#include "ui/OutlineLoader.h"

#include <chrono>
#include <memory>
#include <system_error>
#include <utility>

#include "platform/PlatformError.h"

namespace torvik {
namespace {

OutlineLoader::Answer LoadNow(dts::PackageHost& packages, const OutlineLoader::Wanted& wanted) {
  OutlineLoader::Answer answer{wanted.versionGuid, {}, ""};
  try {
    const auto package = packages.NewPackage();
    const std::string none;
    package->LoadFromSQLServer(wanted.server, wanted.trusted ? none : wanted.user,
                               wanted.trusted ? none : wanted.password,
                               wanted.trusted ? dts::SqlServerStorageFlags::UseTrustedConnection
                                              : dts::SqlServerStorageFlags::Default,
                               none, none, wanted.versionGuid, wanted.package, none);
    answer.steps = package->Outline();
    package->UnInitialize();
  } catch (const std::exception& error) {
    answer.reason = WordsOf(error);
  }
  return answer;
}

}  // namespace

void OutlineLoader::Begin(const Wanted& wanted) {
  if (loading_.valid()) {
    next_ = wanted;
    return;
  }
  const auto load = [&packages = packages_, wanted] { return LoadNow(packages, wanted); };
  try {
    loading_ = std::async(std::launch::async, load);
  } catch (const std::system_error&) {  // there is no thread to be had
    loading_ = std::async(std::launch::deferred, load);
  }
}

std::optional<OutlineLoader::Answer> OutlineLoader::Take() {
  using std::chrono::seconds;
  if (!loading_.valid() || loading_.wait_for(seconds(0)) == std::future_status::timeout) return {};
  Answer answer = loading_.get();
  if (!next_) return answer;
  Begin(*std::exchange(next_, {}));
  return {};
}

}  // namespace torvik
