#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace torvik {

/// One file inside a container, read from its start to its end.
class ContainedFile {
 public:
  virtual ~ContainedFile() = default;
  /// The next bytes, valid until the next call; empty at the end. Throws PlatformError when they
  /// are damaged.
  virtual std::string_view Next() = 0;
};

/// A file that holds other files.
class ContainerFile {
 public:
  virtual ~ContainerFile() = default;
  /// By its path, whose folders end with '/'; letter case does not matter. Null when there is none.
  virtual std::unique_ptr<ContainedFile> Open(std::string_view path) = 0;
};

/// Both throw PlatformError when the file cannot be opened or is damaged.
std::unique_ptr<ContainerFile> OpenZipFile(const std::string& path);
/// The kind of file in which earlier office programs keep a document.
std::unique_ptr<ContainerFile> OpenCompoundFile(const std::string& path);

/// All that is left of a contained file.
std::string ReadContained(ContainedFile& file);

}  // namespace torvik
