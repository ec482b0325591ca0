#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/Bulk.h"
#include "platform/linux/postgres/PgRows.h"
#include "platform/linux/postgres/PgSession.h"

namespace torvik {

/// A field's text as a value; the text may be changed in its place.
ado::LoadValue PgLoadValue(PgForm form, char* text, std::size_t size);

/// What all ways to read a query in bulk share: names and types of the columns.
class PgNamedRead : public ado::BulkRead {
 public:
  explicit PgNamedRead(std::shared_ptr<PgSession> session) : session_(std::move(session)) {}
  const std::vector<std::string>& Columns() const override { return names_; }

 protected:
  void Describe(const PGresult* result);
  void RequireWidth(std::size_t width) const;
  PlatformError HasNoRows() const;

  const std::shared_ptr<PgSession> session_;
  std::vector<std::string> names_;
  std::vector<PgForm> forms_;
};

}  // namespace torvik
