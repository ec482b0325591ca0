#include "datalinks/cDataSources.h"

#include "datalinks/FieldReaders.h"
#include "platform/Ado.h"

namespace torvik {

void cDataSources::Load(ado::Connection& dataWarehouse, const std::string& strModelName) {
  const auto rows = dataWarehouse.OpenRecordset(
      "SELECT * FROM dwm_data_link WHERE dwm_data_link.model = '" + strModelName + "'",
      {ado::CursorLocation::UseClient, ado::CursorType::Unspecified, ado::LockType::Pessimistic});
  for (; !rows->Eof(); rows->MoveNext()) {
    cDataSource link;
    link.strModelName = TextOf(rows->Field("model"));
    link.ReadRow(*rows);
    Add(std::move(link));
  }
  rows->Close();
}

cDataSource& cDataSources::Add(cDataSource link) {
  links_.push_back(std::make_unique<cDataSource>(std::move(link)));
  return *links_.back();
}

cDataSource* cDataSources::getDSByName(const std::string& strDSName) {
  for (const auto& link : links_) {
    if (link->strName == strDSName) return link.get();
  }
  return nullptr;
}

}  // namespace torvik
