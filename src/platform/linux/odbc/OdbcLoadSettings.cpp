#include "platform/linux/odbc/OdbcLoadSettings.h"

#include <algorithm>
#include <cstdint>
#include <variant>

#include "platform/linux/odbc/OdbcCatalogue.h"
#include "platform/linux/odbc/OdbcStatement.h"

namespace torvik {
namespace {

/// A setting by its bit of @@OPTIONS, and how loads need it.
constexpr struct {
  std::int64_t bit;
  const char* name;
  bool on;
} kSettings[] = {
    {2, "IMPLICIT_TRANSACTIONS", false},
    {8, "ANSI_WARNINGS", true},
    {16, "ANSI_PADDING", true},
    {32, "ANSI_NULLS", true},
    {64, "ARITHABORT", true},
    {256, "QUOTED_IDENTIFIER", true},
    {512, "NOCOUNT", false},
    {4096, "CONCAT_NULL_YIELDS_NULL", true},
    {8192, "NUMERIC_ROUNDABORT", false},
    {16384, "XACT_ABORT", false},
};

std::string SettingText(const char* name, bool on) {
  return std::string("SET ") + name + (on ? " ON " : " OFF ");
}

/// ROWCOUNT is nowhere to be read: it ends here.
std::int64_t OptionsOf(OdbcSession& session) {
  OdbcStatement query(session);
  query.Execute("SET ROWCOUNT 0 SELECT @@OPTIONS");
  std::int64_t options = 0;
  while (query.Step())
    if (const ado::Value value = query.Column(0); std::holds_alternative<std::int64_t>(value))
      options = std::get<std::int64_t>(value);
  return options;
}

}  // namespace

OdbcLoadSettings::OdbcLoadSettings(OdbcSession& session, const OdbcTable& table, bool givesIdentity)
    : session_(session) {
  if (session.Dialect().Server() != OdbcServer::SqlServer) return;
  const std::int64_t options = OptionsOf(session);
  std::string set;
  for (const auto& [bit, name, on] : kSettings) {
    const bool isOn = (options & bit) != 0;
    if (isOn == on) continue;
    set += SettingText(name, on);
    putBack_ += SettingText(name, isOn);
  }
  if (std::ranges::any_of(table.columns, &ado::Column::isIdentity)) {
    const std::string identity = "IDENTITY_INSERT " + QuotedTable(table);
    set += SettingText(identity.c_str(), givesIdentity);
    if (givesIdentity) putBack_ += SettingText(identity.c_str(), false);
  }
  if (!set.empty()) session_.Run(set);
}

OdbcLoadSettings::~OdbcLoadSettings() {
  if (putBack_.empty()) return;
  const auto errors = session_.Errors();
  try {
    session_.Run(putBack_);
  } catch (const PlatformError&) {
    // The connection is gone, and its settings with it.
  }
  session_.RestoreErrors(errors);
}

}  // namespace torvik
