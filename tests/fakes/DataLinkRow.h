#pragma once

#include <map>
#include <string>
#include <vector>

#include "platform/Ado.h"

namespace torvik {

inline const std::vector<std::string> kDataLinkColumns = {"model",
                                                          "source_name",
                                                          "Type",
                                                          "ds_server",
                                                          "ds_database",
                                                          "ds_trusted_login",
                                                          "ds_user",
                                                          "ds_password",
                                                          "ds_file",
                                                          "ds_directory",
                                                          "ds_connect_string",
                                                          "transfer_data",
                                                          "ftp_server",
                                                          "ftp_user",
                                                          "ftp_password",
                                                          "remote_directory",
                                                          "poll_duration",
                                                          "poll_interval"};

/// A row of dwm_data_link of the model Sales: NULLs but for its key and what is given.
inline std::vector<ado::Value> DataLinkRow(const char* name,
                                           const std::map<std::string, ado::Value>& values) {
  std::vector<ado::Value> row;
  for (const std::string& column : kDataLinkColumns) {
    const auto given = values.find(column);
    row.push_back(given == values.end() ? ado::Value(ado::Null{}) : given->second);
  }
  row[0] = std::string("Sales");
  row[1] = std::string(name);
  return row;
}

}  // namespace torvik
