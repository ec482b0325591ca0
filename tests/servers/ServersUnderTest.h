#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "platform/linux/sqlite/EmbeddedFixture.h"
#include "servers/PostgreSqlServer.h"

namespace torvik {

/// The kinds of servers that take SQL, PostgreSQL by its own library and by ODBC.
inline const auto kSqlServers = testing::Values("Sqlite", "PostgreSql", "PsqlOdbc");

/// An empty database "dw" of each kind.
class DatabaseUnderTest {
 public:
  explicit DatabaseUnderTest(const std::string& kind) : kind_(kind) {
    if (kind_ != "Sqlite") PostgreSqlServer::Instance().MakeDatabase("dw");
  }

  std::unique_ptr<ado::Connection> Open() {
    if (kind_ == "Sqlite") return embedded_.Open("dw");
    auto connection =
        PostgreSqlServer::Instance().NewConnection("dw", kind_ == "PsqlOdbc" ? "by ODBC" : "pg");
    connection->Open();
    return connection;
  }

 private:
  const std::string kind_;
  EmbeddedFixture embedded_;
};

}  // namespace torvik
