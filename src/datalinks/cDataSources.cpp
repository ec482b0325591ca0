#include "datalinks/cDataSources.h"

#include "datalinks/FieldReaders.h"
#include "datalinks/LetterCase.h"
#include "platform/Ado.h"
#include "platform/PlatformError.h"

namespace torvik {
namespace {

/// The runtime's numbers for what a collection cannot do.
enum CollectionError : long { InvalidArgument = 5, OutOfRange = 9, KeyInUse = 457 };

PlatformError Failure(CollectionError number, const std::string& reason) {
  return PlatformError(number, reason, "data links");
}

}  // namespace

void cDataSources::Load(ado::Connection& dataWarehouse, const std::string& strModelName) {
  const auto rows = dataWarehouse.OpenRecordset(
      "SELECT * FROM dwm_data_link WHERE dwm_data_link.model = " +
          dataWarehouse.Literal(strModelName),
      {ado::CursorLocation::UseClient, ado::CursorType::Unspecified, ado::LockType::Pessimistic});
  for (; !rows->Eof(); rows->MoveNext()) {
    cDataSource link;
    link.strModelName = TextOf(rows->Field("model"));
    link.ReadRow(*rows);
    Add(std::move(link));
  }
  rows->Close();
}

cDataSource& cDataSources::Add(cDataSource link, const std::string& key) {
  if (!key.empty() && Find(key) != nullptr) {
    throw Failure(KeyInUse, "the key \"" + key + "\" belongs to another data link already");
  }
  keys_.push_back(key);
  links_.push_back(std::make_unique<cDataSource>(std::move(link)));
  return *links_.back();
}

cDataSource& cDataSources::Item(std::int32_t position) const {
  if (position < 1 || position > Count()) {
    throw Failure(OutOfRange, "there is no data link at position " + std::to_string(position) +
                                  "; there are " + std::to_string(Count()) + ", counted from 1");
  }
  return *links_[static_cast<std::size_t>(position) - 1];
}

cDataSource& cDataSources::Item(const std::string& key) const {
  cDataSource* link = key.empty() ? nullptr : Find(key);
  if (link == nullptr) throw Failure(InvalidArgument, "no data link has the key \"" + key + "\"");
  return *link;
}

void cDataSources::Clear() {
  links_.clear();
  keys_.clear();
}

cDataSource* cDataSources::Find(const std::string& key) const {
  for (std::size_t i = 0; i < keys_.size(); ++i) {
    if (!keys_[i].empty() && EqualsInAnyCase(keys_[i], key)) return links_[i].get();
  }
  return nullptr;
}

cDataSource* cDataSources::getDSByName(const std::string& strDSName) {
  for (const auto& link : links_) {
    if (link->strName == strDSName) return link.get();
  }
  return nullptr;
}

}  // namespace torvik
