#include <algorithm>
#include <utility>

#include "engine/model/PackageControl.h"
#include "engine/model/Problems.h"
#include "engine/model/ScriptDatabases.h"
#include "platform/Ado.h"
#include "platform/PlatformError.h"
#include "platform/Text.h"

namespace torvik::engine {
namespace {

PlatformError CannotOpen(const std::string& reason) {
  return PlatformError(0, reason, "ADODB.Connection");
}

constexpr const char* kByName =
    "; open a connection of the package by its name, as in connection.Open \"NAME\"";

/// The parts NAME=VALUE of a connection string, without quotes around values.
class StringParts {
 public:
  explicit StringParts(std::string_view text) {
    for (std::size_t begin = 0; begin < text.size();) {
      const std::size_t end = std::min(text.find(';', begin), text.size());
      const std::string_view part = text.substr(begin, end - begin);
      const std::size_t equals = std::min(part.find('='), part.size());
      std::string_view value = part.substr(std::min(equals + 1, part.size()));
      value = Trimmed(value);
      if (value.size() >= 2 && value.front() == value.back() &&
          (value[0] == '"' || value[0] == '\''))
        value = value.substr(1, value.size() - 2);
      parts_.emplace_back(Trimmed(part.substr(0, equals)), value);
      begin = end + 1;
    }
  }

  /// The first one of these names; empty when there is none.
  std::string Of(std::initializer_list<const char*> names) const {
    for (const auto& [name, value] : parts_)
      for (const char* one : names)
        if (EqualsIgnoringCase(name, one)) return value;
    return {};
  }

 private:
  std::vector<std::pair<std::string, std::string>> parts_;
};

}  // namespace

std::shared_ptr<ado::Connection> ScriptDatabases::Open(const std::string& target) {
  const std::shared_ptr<ado::Connection> opened = package_.OpenConnection(ConnectionFor(target));
  const std::lock_guard lock(mutex_);
  if (isCancelled_) throw CannotOpen("the script is to end");
  std::erase_if(opened_, [](const auto& one) { return one.expired(); });
  opened_.push_back(opened);
  return opened;
}

void ScriptDatabases::Cancel() {
  const std::lock_guard lock(mutex_);
  isCancelled_ = true;
  for (const auto& one : opened_)
    if (const auto connection = one.lock()) connection->Cancel();
}

std::string ScriptDatabases::ConnectionFor(const std::string& target) const {
  const std::vector<std::string> names = package_.Connections();
  for (const std::string& name : names)
    if (EqualsIgnoringCase(name, target)) return name;
  if (target.find('=') == target.npos)
    throw CannotOpen("the package has no connection " + Quoted(target) + "; " +
                     DidYouMean(target, names, UseOneOf(names)));
  const StringParts parts(target);
  if (!parts.Of({"password", "pwd"}).empty())
    throw CannotOpen(std::string("a script may not hold a password") + kByName);
  const std::string server = parts.Of({"data source", "server", "address", "addr"});
  const std::string database = parts.Of({"initial catalog", "database"});
  for (const std::string& name : names)
    if (EqualsIgnoringCase(package_.ConnectionProperty(name, "Data Source"), server) &&
        EqualsIgnoringCase(package_.ConnectionProperty(name, "Initial Catalog"), database))
      return name;
  throw CannotOpen("no connection of the package leads to the database " + Quoted(database) +
                   " of " + Quoted(server) + ": add one, or correct the connection string");
}

}  // namespace torvik::engine
