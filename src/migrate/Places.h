#pragma once

#include <map>
#include <set>
#include <string>
#include <string_view>

namespace torvik::migrate {

/// What the settings know already, in small letters.
struct KnownPlaces {
  std::set<std::string> drives;  ///< "s".
  std::set<std::string> shares;  ///< "\\files\incoming".
  std::set<std::string> servers, providers;
};

/// The places that an installation names, and who names each: a job file, a data link, a step.
class Places {
 public:
  /// Each in the spelling of its first use, letter case aside.
  struct Named {
    std::string text;
    std::set<std::string> by;
  };
  using Names = std::map<std::string, Named>;  ///< By small letters.

  void AddServer(std::string_view text, const std::string& by);
  void AddProvider(std::string_view name, const std::string& by);
  void AddFtpServer(std::string_view host, const std::string& by);
  /// A path on a drive or a share; others name no place.
  void AddPath(std::string_view path, const std::string& by);
  /// The "Data Source" of a connection: a path, a SQL Server, or, as its provider says, another
  /// server, which is reached by that provider's driver. Without a provider it is a SQL Server.
  void AddSource(std::string_view text, std::string_view provider, const std::string& by);

  const Names& Servers() const { return servers_; }
  const Names& OtherServers() const { return others_; }
  const Names& Providers() const { return providers_; }
  const Names& FtpServers() const { return ftp_; }
  const Names& Drives() const { return drives_; }
  const Names& Shares() const { return shares_; }

  /// A first torvik.conf: a section or line for each place that is not known yet, as a comment
  /// where a value has to be chosen. `oldServer` is what "(local)" meant.
  std::string FirstSettings(const KnownPlaces& known, const std::string& oldServer) const;

 private:
  Names servers_, others_, providers_, ftp_, drives_, shares_;
};

/// Whether a provider, in small letters, has no driver without a section of the settings.
bool NeedsSettings(const std::string& provider, const KnownPlaces& known);

/// "a, b and 3 more".
std::string NamedBy(const Places::Named& named);

}  // namespace torvik::migrate
