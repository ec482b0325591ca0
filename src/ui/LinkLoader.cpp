#include "ui/LinkLoader.h"

#include <chrono>
#include <exception>
#include <system_error>
#include <utility>

#include "datalinks/DataLinks.h"
#include "datalinks/ETLPackages.h"
#include "platform/Ado.h"

namespace torvik {
namespace {

/// Nobody has asked for them: a server that takes longer is left alone.
constexpr int kTimeoutSeconds = 2;

}  // namespace

LinkLoader::~LinkLoader() {
  const std::lock_guard lock(mutex_);
  isEnding_ = true;
  if (reading_ != nullptr) reading_->Cancel();
}

void LinkLoader::Begin(const Wanted& wanted) {
  Forget();
  if (loading_.valid())
    next_ = wanted;
  else
    Start(wanted);
}

void LinkLoader::Forget() {
  next_.reset();
  isWanted_ = false;
}

std::optional<LinkLoader::Answer> LinkLoader::Take() {
  using std::chrono::seconds;
  if (!loading_.valid() || loading_.wait_for(seconds(0)) == std::future_status::timeout) return {};
  Answer answer = loading_.get();
  if (std::exchange(isWanted_, false)) return answer;
  if (next_) Start(*std::exchange(next_, {}));
  return {};
}

void LinkLoader::Start(const Wanted& wanted) {
  isWanted_ = true;
  try {
    loading_ = std::async(std::launch::async, [this, wanted] {
      return Answer{wanted, Read(wanted)};
    });
  } catch (const std::system_error&) {  // there is no thread to be had
    loading_ = std::async(std::launch::deferred, [wanted] { return Answer{wanted, nullptr}; });
  }
}

std::unique_ptr<cDataSources> LinkLoader::Read(const Wanted& wanted) {
  DataWarehouse warehouse(databases_);
  auto links = std::make_unique<cDataSources>();
  try {
    std::string errorText;
    if (!warehouse.ConnectDataWarehouse(wanted.logon, wanted.database, errorText, kTimeoutSeconds))
      return nullptr;
    if (!BeginReading(warehouse.Connection())) return nullptr;
    if (TableExists(warehouse.Connection(), "dwm_data_link"))
      links->Load(warehouse.Connection(), ModelNameFromPackage(wanted.package));
    else
      links = nullptr;
  } catch (const std::exception&) {
    links = nullptr;
  }
  EndReading();
  return links;
}

bool LinkLoader::BeginReading(ado::Connection& connection) {
  const std::lock_guard lock(mutex_);
  if (!isEnding_) reading_ = &connection;
  return !isEnding_;
}

void LinkLoader::EndReading() {
  const std::lock_guard lock(mutex_);
  reading_ = nullptr;
}

}  // namespace torvik
