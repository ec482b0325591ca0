#pragma once

#include <memory>
#include <optional>
#include <span>
#include <vector>

#include "platform/linux/postgres/PgCopyOut.h"
#include "platform/linux/postgres/PgNamedRead.h"
#include "platform/linux/postgres/PgStatements.h"

namespace torvik {

/// The type of a column, by its number in the catalogue, and what the declaration adds: a length, a
/// precision; -1: nothing.
struct PgType {
  unsigned number = 0;
  int modifier = -1;
};

/// The rows of a query by COPY's text format, each in the library's memory until the next one.
class PgCopyRead final : public PgNamedRead {
 public:
  PgCopyRead(std::shared_ptr<PgSession> session, PgStatement query);

  void Start() override;
  bool Next(std::span<ado::LoadValue> row) override;

  bool HasBegun() const { return hasBegun_; }
  const std::vector<PgType>& Types() const { return types_; }
  /// The same rows from their beginning in COPY's binary format, without the other columns. Null
  /// where SQL cannot say which columns are meant, or may not say it twice.
  std::unique_ptr<PgCopyOut> OpenImages(std::span<const std::size_t> columns);

 private:
  void Prepare();
  std::optional<PgStatement> Picking(std::span<const std::size_t> columns) const;
  void Split(std::span<char> line, std::span<ado::LoadValue> row) const;

  const PgStatement query_;
  std::vector<PgType> types_;
  std::optional<PgCopyOut> rows_;
  bool hasBegun_ = false;
};

}  // namespace torvik
