#include "datalinks/ETLPackages.h"

#include <algorithm>
#include <array>

#include "datalinks/DataWarehouse.h"
#include "datalinks/DropDown.h"
#include "datalinks/FieldReaders.h"
#include "datalinks/LetterCase.h"
#include "platform/Ado.h"
#include "platform/PlatformError.h"
#include "platform/Text.h"

namespace torvik {
namespace {

// The order of the list wins over the position in the name.
constexpr std::array<std::string_view, 10> kSuffixes = {"_CleanUpAll",  "_CleanUpIntermediate",
                                                        "_Init",        "_Transformations",
                                                        "_LoadDummies", "_LoadDW",
                                                        "_Overall",     "_ProcessTransformations",
                                                        "_Upload",      "_AlterTableDW"};

}  // namespace

std::string ModelNameFromPackage(std::string_view packageName) {
  for (const std::string_view suffix : kSuffixes) {
    const auto found =
        std::search(packageName.begin(), packageName.end(), suffix.begin(), suffix.end(),
                    [](char a, char b) { return LowerAscii(a) == LowerAscii(b); });
    if (found != packageName.end()) return {packageName.begin(), found};
  }
  return {};
}

bool ETLPackages::RetrievePackages() {
  try {
    ReadNames();
    return true;
  } catch (const PlatformError&) {
    return false;
  }
}

void ETLPackages::ReadNames() {
  const auto connection = databases_.NewConnection();
  connection->SetConnectionTimeout(kConnectionTimeoutSeconds);
  connection->SetProvider("sqloledb");
  connection->SetProperty("Data Source", strSQLServer);
  if (blnSQLTrustedLogin) {
    connection->SetProperty("Integrated Security", "SSPI");
  } else {
    connection->SetProperty("User ID", strSQLUser);
    connection->SetProperty("Password", strSQLPassword);
  }
  connection->Open();
  const auto rows =
      connection->OpenRecordset("SELECT DISTINCT name FROM msdb.dbo.sysdtspackages", {});
  for (; !rows->Eof(); rows->MoveNext()) AddPackage(TextOf(rows->Field(0)));
  rows->Close();
  connection->Close();
}

void ETLPackages::AddPackage(std::string name) {
  const std::string model = ModelNameFromPackage(name);
  packages_.push_back(std::move(name));
  const bool isKnown = std::any_of(models_.begin(), models_.end(), [&](const std::string& known) {
    return EqualsInAnyCase(known, model);
  });
  if (!isKnown) models_.push_back(model);
}

void ETLPackages::FillComboBoxWithETLModels(DropDown& oComboBox) const {
  std::vector<std::string> entries;
  for (const std::string& model : models_) {
    if (!model.empty()) entries.push_back(model);
  }
  oComboBox.Refill(std::move(entries), -1);
}

void ETLPackages::FillComboBoxWithPackageFromETLModel(DropDown& oComboBox,
                                                      const std::string& strModel) const {
  std::vector<std::string> entries;
  for (const std::string& package : packages_) {
    const std::string model = ModelNameFromPackage(package);
    if (!model.empty() && model == strModel) entries.push_back(package);
  }
  oComboBox.Refill(std::move(entries), -1);
}

}  // namespace torvik
