#include "platform/linux/odbc/OdbcDataSources.h"

#include <sql.h>
#include <sqlext.h>

namespace torvik {

std::vector<std::string> OdbcDataSources() {
  std::vector<std::string> names;
  SQLHENV environment = SQL_NULL_HENV;
  if (!SQL_SUCCEEDED(SQLAllocHandle(SQL_HANDLE_ENV, SQL_NULL_HANDLE, &environment))) return names;
  SQLSetEnvAttr(environment, SQL_ATTR_ODBC_VERSION, reinterpret_cast<SQLPOINTER>(SQL_OV_ODBC3), 0);
  SQLCHAR name[SQL_MAX_DSN_LENGTH + 1], description[256];
  SQLSMALLINT length = 0, rest = 0;
  for (SQLUSMALLINT which = SQL_FETCH_FIRST; SQL_SUCCEEDED(SQLDataSources(
           environment, which, name, sizeof name, &length, description, sizeof description, &rest));
       which = SQL_FETCH_NEXT)
    names.emplace_back(reinterpret_cast<const char*>(name));
  SQLFreeHandle(SQL_HANDLE_ENV, environment);
  return names;
}

}  // namespace torvik
