#pragma once

#include <memory>
#include <optional>
#include <string>

namespace torvik {

namespace ado {
class Connection;
class Provider;
}  // namespace ado

/// How to log on to a database server.
struct ServerLogon {
  std::string server;
  bool isTrusted = false;  ///< With the account of the process; user and password are not sent.
  std::string user;
  std::string password;  ///< In clear.
  bool operator==(const ServerLogon&) const = default;
};

/// Every caller waits this long for a server.
inline constexpr int kConnectionTimeoutSeconds = 20;

/// The program's one connection to the data-warehouse database, made on first use and reused.
class DataWarehouse {
 public:
  explicit DataWarehouse(ado::Provider& databases);
  ~DataWarehouse();

  /// Opens the connection, again when it was open. Without a database the server chooses one. On
  /// failure false; `errorText` is then replaced by the server's name and a line for each error of
  /// the provider.
  bool ConnectDataWarehouse(const ServerLogon& logon, const std::optional<std::string>& database,
                            std::string& errorText, int timeoutSeconds = kConnectionTimeoutSeconds);

  bool HasBeenOpened() const;

  /// The open connection; throws PlatformError when there is none.
  ado::Connection& Connection();

 private:
  ado::Provider& databases_;
  std::unique_ptr<ado::Connection> connection_;
};

}  // namespace torvik
