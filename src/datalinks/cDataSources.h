#pragma once

#include <memory>
#include <string>
#include <vector>

#include "datalinks/cDataSource.h"

namespace torvik {

/// The data links of a model, in the order in which they were added.
class cDataSources {
 public:
  /// Appends the model's rows of dwm_data_link in the server's order; what is here already stays.
  /// Throws PlatformError; the rows before the failing one stay.
  void Load(ado::Connection& dataWarehouse, const std::string& strModelName);

  cDataSource& Add(cDataSource link);

  /// The first link of exactly that name, or null.
  cDataSource* getDSByName(const std::string& strDSName);

  auto begin() const { return links_.begin(); }
  auto end() const { return links_.end(); }

 private:
  std::vector<std::unique_ptr<cDataSource>> links_;
};

}  // namespace torvik
