#pragma once

#include <cstdint>
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

  /// Appends a link, under the key when one is given. Throws PlatformError when another link has
  /// that key.
  cDataSource& Add(cDataSource link, const std::string& key = {});

  /// The link at a position from 1, or under a key, letter case aside. Both throw PlatformError
  /// when there is none.
  cDataSource& Item(std::int32_t position) const;
  cDataSource& Item(const std::string& key) const;

  std::int32_t Count() const { return static_cast<std::int32_t>(links_.size()); }

  void Clear();

  /// The first link of exactly that name, or null.
  cDataSource* getDSByName(const std::string& strDSName);

  auto begin() const { return links_.begin(); }
  auto end() const { return links_.end(); }

 private:
  cDataSource* Find(const std::string& key) const;

  std::vector<std::unique_ptr<cDataSource>> links_;
  std::vector<std::string> keys_;  ///< Of the link at the same place; empty for none.
};

}  // namespace torvik
