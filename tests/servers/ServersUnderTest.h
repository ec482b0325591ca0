#pragma once

#include <memory>
#include <string>

#include "platform/EmbeddedFixture.h"
#include "servers/PostgreSqlServer.h"

namespace torvik {

/// An empty database "dw" of each kind of server that takes SQL.
class DatabaseUnderTest {
 public:
  explicit DatabaseUnderTest(const std::string& kind) : isPostgreSql_(kind == "PostgreSql") {
    if (isPostgreSql_) PostgreSqlServer::Instance().MakeDatabase("dw");
  }

  std::unique_ptr<ado::Connection> Open() {
    if (!isPostgreSql_) return embedded_.Open("dw");
    auto connection = PostgreSqlServer::Instance().NewConnection("dw");
    connection->Open();
    return connection;
  }

 private:
  const bool isPostgreSql_;
  EmbeddedFixture embedded_;
};

}  // namespace torvik
