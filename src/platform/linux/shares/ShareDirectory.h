#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/linux/shares/SmbReaders.h"
#include "platform/linux/shares/SmbServers.h"
#include "platform/linux/shares/UncPath.h"
#include "platform/linux/system/CopyFiles.h"

namespace torvik {

/// A directory of a server, of which the files are copied: over one connection, and where it has
/// many small ones over several.
class ShareDirectory final : public SourceDirectory {
 public:
  /// `readerProgram` is torvik-admin; without it there is one connection. The servers must live as
  /// long.
  ShareDirectory(SmbServers& servers, UncPath path, std::string readerProgram);

  std::vector<Entry> List(FileFailure& failure) override;
  std::unique_ptr<SourceFile> Open(const std::string& name, std::error_code& error) override;
  bool HasAnotherWay() override;
  std::string PathOf(const std::string& name) const override;
  std::string Words(const std::string& name, const std::error_code& error) const override;

 private:
  void StartReaders(const std::vector<Entry>& files);

  SmbServers& servers_;
  const UncPath path_;
  const std::string readerProgram_;
  SmbSession* session_ = nullptr;
  std::optional<SmbReaders> readers_;
};

}  // namespace torvik
