#pragma once

#include <string>

namespace torvik {

class OdbcSession;
struct OdbcTable;

/// The settings of a SQL Server session that loads rely on, whatever a script has left behind: rows
/// are counted, a refused row ends no transaction, no more than texts that are too long are
/// refused. What the script had is put back at the end of the scope. Other servers have none.
class OdbcLoadSettings {
 public:
  /// `givesIdentity`: the rows bring the numbers of the table's identity column along.
  OdbcLoadSettings(OdbcSession& session, const OdbcTable& table, bool givesIdentity);
  ~OdbcLoadSettings();
  OdbcLoadSettings(const OdbcLoadSettings&) = delete;
  OdbcLoadSettings& operator=(const OdbcLoadSettings&) = delete;

 private:
  OdbcSession& session_;
  std::string putBack_;
};

}  // namespace torvik
