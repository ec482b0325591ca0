#include "platform/linux/postgres/PgConnect.h"

#include <libpq-fe.h>
#include <poll.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <utility>

#include "platform/PlatformError.h"
#include "platform/linux/text/ErrorText.h"

namespace torvik {
namespace {

using Clock = std::chrono::steady_clock;
using Keywords = std::vector<std::pair<std::string, std::string>>;
using Connection = std::unique_ptr<PGconn, void (*)(PGconn*)>;

constexpr const char* kSource = "PostgreSQL";
constexpr const char* kCannotConnect = " (SQLSTATE 08001)";

std::string LibpqName(const std::string& key) {
  if (key == "uid") return "user";
  if (key == "pwd") return "password";
  return key;
}

Keywords KeywordsOf(const DatabaseLogon& logon) {
  const ServerAddress& address = logon.address;
  Keywords keywords = {{"host", address.host},
                       {"port", address.port.empty() ? "5432" : address.port},
                       {"dbname", PgDatabaseOf(logon)}};
  for (const auto& [key, value] : address.options) {
    const std::string name = LibpqName(key);
    if (logon.isTrusted || (name != "user" && name != "password"))
      keywords.emplace_back(name, value);
  }
  if (!logon.isTrusted) {
    keywords.emplace_back("user", logon.user);
    keywords.emplace_back("password", logon.password);
  }
  return keywords;
}

std::string Shown(const Keywords& keywords) {
  std::string text;
  for (const auto& [name, value] : keywords)
    if (!value.empty())
      text += (text.empty() ? "" : ";") + name + "=" +
              (name.ends_with("password") ? std::string("***") : value);
  return text;
}

Connection Start(const Keywords& keywords) {
  std::vector<const char*> names, values;
  for (const auto& [name, value] : keywords) {
    names.push_back(name.c_str());
    values.push_back(value.c_str());
  }
  for (const char* text :
       {"application_name", "client_encoding", static_cast<const char*>(nullptr)})
    names.push_back(text);
  for (const char* text : {"torvik", "UTF8", static_cast<const char*>(nullptr)})
    values.push_back(text);
  return Connection(PQconnectStartParams(names.data(), values.data(), 0), &PQfinish);
}

/// How an attempt to connect ended.
struct Outcome {
  std::string failure;  ///< Empty: connected.
  bool isTransient = false;
};

/// True when the socket can do what the library waits for before the time is over.
bool Wait(PGconn* connection, PostgresPollingStatusType want, Clock::time_point until) {
  const auto left =
      std::chrono::duration_cast<std::chrono::milliseconds>(until - Clock::now()).count();
  pollfd waiting{PQsocket(connection),
                 static_cast<short>(want == PGRES_POLLING_READING ? POLLIN : POLLOUT), 0};
  // A signal ends the wait early, which does no harm: the library is asked again.
  return left > 0 && poll(&waiting, 1, static_cast<int>(left)) != 0;
}

/// Servers that are starting, stopping or full take a connection later.
bool IsBusyServer(const std::string& text) {
  for (const char* phrase : {"starting up", "shutting down", "recovery", "too many", "slots are"})
    if (text.find(phrase) != std::string::npos) return true;
  return false;
}

Outcome Connect(PGconn* connection, int timeoutSeconds) {
  if (connection == nullptr) return {"there is no memory for a connection"};
  const auto until = Clock::now() + std::chrono::seconds(std::max(timeoutSeconds, 1));
  ConnStatusType stage = PQstatus(connection);
  for (PostgresPollingStatusType want = PGRES_POLLING_WRITING;; want = PQconnectPoll(connection)) {
    if (want == PGRES_POLLING_OK) return {};
    const bool hasFailed = want == PGRES_POLLING_FAILED || PQstatus(connection) == CONNECTION_BAD;
    if (hasFailed) {
      const std::string text = OneLine(PQerrorMessage(connection));
      const bool isNetwork = stage == CONNECTION_STARTED || stage == CONNECTION_NEEDED;
      return {text, isNetwork || IsBusyServer(text)};
    }
    stage = PQstatus(connection);
    if (!Wait(connection, want, until))
      return {"the server does not answer: timeout expired after " +
                  std::to_string(std::max(timeoutSeconds, 1)) + " seconds",
              true};
  }
}

}  // namespace

std::vector<std::string> KeysUnknownToLibpq(const ServerAddress& address) {
  const std::unique_ptr<PQconninfoOption, void (*)(PQconninfoOption*)> known(PQconndefaults(),
                                                                             &PQconninfoFree);
  std::vector<std::string> unknown;
  for (const auto& [key, value] : address.options) {
    const PQconninfoOption* option = known.get();
    while (option != nullptr && option->keyword != nullptr && LibpqName(key) != option->keyword)
      ++option;
    if (option == nullptr || option->keyword == nullptr) unknown.push_back(key);
  }
  return unknown;
}

std::string PgDatabaseOf(const DatabaseLogon& logon) {
  if (!logon.database.empty() && !IsSystemDatabase(logon.database)) return logon.database;
  return logon.address.database.empty() ? "postgres" : logon.address.database;
}

pg_conn* ConnectToPg(const DatabaseLogon& logon, int timeoutSeconds,
                     std::vector<ado::ProviderError>& errors) {
  const Keywords keywords = KeywordsOf(logon);
  Connection connection = Start(keywords);
  const Outcome outcome = Connect(connection.get(), timeoutSeconds);
  if (outcome.failure.empty()) return connection.release();
  errors = {{0, outcome.failure + kCannotConnect}, {0, "asked for: " + Shown(keywords)}};
  PlatformError error(0, InOneLine(errors), kSource);
  error.isTransient = outcome.isTransient;
  throw error;
}

}  // namespace torvik
