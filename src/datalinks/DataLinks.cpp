#include "datalinks/DataLinks.h"

#include <array>
#include <utility>

#include "datalinks/ETLPackages.h"
#include "platform/Ado.h"
#include "platform/Messages.h"
#include "platform/PlatformError.h"

namespace torvik {

bool TableExists(ado::Connection& connection, const std::string& table) {
  const std::array<std::string, 4> restrictions = {"", "", table, ""};
  const auto columns = connection.OpenSchema(ado::SchemaQuery::Columns, restrictions);
  const bool exists = !columns->Eof();
  columns->Close();
  return exists;
}

bool DataLinks::LoadDataLinks(ado::Connection& dataWarehouse, const std::string& packageName,
                              std::vector<std::string>& listEntries) {
  links_ = std::make_unique<cDataSources>();
  const std::string model = ModelNameFromPackage(packageName);
  if (!TableExists(dataWarehouse, "dwm_data_link")) {
    messages_.Box(
        "dwm_data_link table not found in specified DataWarehouse database.\r\n"
        "Select a different database",
        "Checking DataWarehouse database", BoxIcon::Critical);
    return false;
  }
  links_->Load(dataWarehouse, model);
  ListNames(model, listEntries);
  return true;
}

void DataLinks::ReplaceDataLinks(std::unique_ptr<cDataSources> links,
                                 const std::string& packageName,
                                 std::vector<std::string>& listEntries) {
  links_ = std::move(links);
  ListNames(ModelNameFromPackage(packageName), listEntries);
}

void DataLinks::ListNames(const std::string& model, std::vector<std::string>& listEntries) const {
  listEntries.clear();
  for (const auto& link : *links_) {
    if (link->strModelName == model) listEntries.push_back(link->strName);
  }
}

cDataSource* DataLinks::FindDataLink(const std::string& name) {
  return links_ ? links_->getDSByName(name) : nullptr;
}

void DataLinks::RequireUsableNames() const {
  if (!links_) return;
  for (const auto& link : *links_) {
    if ((link->strName + link->strModelName).find('\'') == std::string::npos) continue;
    throw PlatformError(0,
                        "data link \"" + link->strName + "\" of model \"" + link->strModelName +
                            "\" holds the character ' in its name or model, and the statements "
                            "that read and store it would break at it; give it a name without it, "
                            "in dwm_data_link and in the job file",
                        "data link");
  }
}

void DataLinks::SaveAllDataLinks(ado::Connection& dataWarehouse) {
  RequireUsableNames();
  if (!links_) return;
  for (const auto& link : *links_) {
    try {
      link->Save(dataWarehouse);
    } catch (const PlatformError& error) {
      throw PlatformError(error.number,
                          "data link '" + link->strName + "' of model '" + link->strModelName +
                              "' cannot be saved: " + error.Description(),
                          error.source);
    }
  }
}

}  // namespace torvik
