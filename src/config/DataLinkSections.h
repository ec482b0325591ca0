#pragma once

#include <string>

namespace torvik {

/// Writes the sections of a job's data links into its job file; saving a job calls it last.
class DataLinkSectionWriter {
 public:
  virtual ~DataLinkSectionWriter() = default;
  virtual void WriteDataLinkSections(const std::string& file) = 0;
};

}  // namespace torvik
