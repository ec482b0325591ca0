#pragma once

#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "engine/pump/TextFormat.h"
#include "platform/Ado.h"

namespace torvik {
class CodePages;
class Files;
}  // namespace torvik

namespace torvik::engine {

/// Where a pump's rows go.
class RowTarget {
 public:
  virtual ~RowTarget() = default;

  /// For messages: "table airport".
  virtual std::string Name() const = 0;

  /// The columns that it has; nothing when it takes whatever columns it is opened with.
  virtual std::optional<std::vector<ado::Column>> Columns() = 0;

  /// Begins a load of these columns. After Finish another may be opened.
  virtual std::unique_ptr<ado::BulkLoad> Open(std::span<const std::string> columns) = 0;
};

/// A text file; what it is opened with are its columns. It takes its place when the load has ended.
/// All must outlive the target.
std::unique_ptr<RowTarget> NewTextTarget(Files& files, const CodePages& codePages, std::string path,
                                         TextFormat format);

/// A table. `connection` must outlive the target.
std::unique_ptr<RowTarget> NewTableTarget(ado::Connection& connection, std::string table,
                                          std::string database,
                                          const ado::LoadOptions& options = {});

}  // namespace torvik::engine
