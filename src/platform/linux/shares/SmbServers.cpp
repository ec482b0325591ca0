#include "platform/linux/shares/SmbServers.h"

#include <algorithm>

#include "platform/PlatformError.h"
#include "platform/Text.h"
#include "platform/linux/shares/ServerReach.h"

namespace torvik {
namespace {

/// True for what a server says about a file; after anything else its connection is of no more use.
bool IsAboutFile(const std::error_code& error) {
  constexpr std::errc kinds[] = {std::errc::no_such_file_or_directory,
                                 std::errc::not_a_directory,
                                 std::errc::no_such_device,
                                 std::errc::is_a_directory,
                                 std::errc::permission_denied,
                                 std::errc::device_or_resource_busy,
                                 std::errc::text_file_busy,
                                 std::errc::no_space_on_device,
                                 std::errc::file_exists,
                                 std::errc::read_only_file_system,
                                 std::errc::invalid_argument,
                                 std::errc::filename_too_long};
  return std::any_of(std::begin(kinds), std::end(kinds), [&](auto kind) { return error == kind; });
}

/// Why the logon was refused, and what to look at.
std::string Refusal(const SmbSettings& settings, const SmbLogon& logon) {
  const std::string section = "[" + settings.section + "] of torvik.conf";
  if (settings.kerberos)
    return "the server refused the logon by Kerberos: check with klist that there is a ticket, and "
           "that the path names the server by its full name";
  if (logon.user.empty())
    return "the server lets nobody in without a user: add user and password, or credentials, to " +
           section;
  return "the logon of user " + logon.user + " was refused: check user, password and domain in " +
         section;
}

std::string NoRights(const SmbSettings& settings, const SmbLogon& logon) {
  if (settings.kerberos) return "the user of the Kerberos ticket has no rights there";
  if (!logon.user.empty())
    return "the user " + logon.user +
           " has no rights there: check those of the share and of its files";
  return "a guest has no rights there: add user and password, or credentials, to [" +
         settings.section + "] of torvik.conf";
}

std::string Reason(const SmbSettings& settings, const SmbLogon& logon,
                   const std::error_code& error) {
  if (error == std::errc::operation_not_permitted) return Refusal(settings, logon);
  if (error == std::errc::permission_denied) return NoRights(settings, logon);
  if (error == std::errc::timed_out)
    return "the server has not answered for " + std::to_string(settings.timeoutSeconds) +
           " seconds: check that it is well, or raise timeout in [" + settings.section +
           "] of torvik.conf";
  if (IsAboutFile(error)) return error.message();
  return "the connection has broken (" + error.message() +
         "): check that the server is up and speaks SMB 2 or 3";
}

}  // namespace

FileFailure SmbServers::Do(const UncPath& path, const Work& work) {
  for (;;) {
    std::string problem;
    const auto known = servers_.find(LowerAscii(path.server));
    const bool hasServed = known != servers_.end() && !known->second.isSpent;
    Server* server = Connect(path, problem);
    if (server == nullptr)
      return {std::make_error_code(std::errc::not_connected), path.Text() + ": " + problem};
    const std::error_code refusal = OpenShare(*server, path);
    const std::error_code error = refusal ? refusal : work(*server->session);
    if (!error) return {};
    std::string words = Words(path, error);
    if (refusal == std::errc::no_such_file_or_directory)
      words = path.Text() + ": the server has no share \"" + path.share + "\"";
    if (!hasServed || !server->isSpent) return {error, std::move(words)};
  }
}

std::string SmbServers::Words(const UncPath& path, const std::error_code& error) {
  Server& server = servers_.at(LowerAscii(path.server));
  server.isSpent = server.isSpent || !IsAboutFile(error);
  return path.Text() + ": " + Reason(server.settings, server.logon, error);
}

bool SmbServers::HasBroken(const UncPath& path) const {
  return servers_.at(LowerAscii(path.server)).isSpent;
}

ReaderLogon SmbServers::LogonOf(const UncPath& path) const {
  const Server& server = servers_.at(LowerAscii(path.server));
  return {path.server, path.share, server.settings, server.logon};
}

std::error_code SmbServers::OpenShare(Server& server, const UncPath& path) {
  if (server.shares.contains(path.share)) return {};
  bool isDirectory = false;
  const std::error_code error = server.session->Stat(path.share, isDirectory);
  if (!error) server.shares.insert(path.share);
  // The library says the same when the server refuses the user and when the share does; whoever is
  // logged on may use the share of all servers.
  const bool isLogonRefused =
      error == std::errc::permission_denied &&
      server.session->Stat("IPC$", isDirectory) == std::errc::permission_denied;
  return isLogonRefused ? std::make_error_code(std::errc::operation_not_permitted) : error;
}

SmbServers::Server* SmbServers::Connect(const UncPath& path, std::string& problem) try {
  const std::string key = LowerAscii(path.server);
  const auto known = servers_.find(key);
  if (known != servers_.end() && !known->second.isSpent) return &known->second;
  if (known != servers_.end()) servers_.erase(known);
  Server server;
  server.settings = settings_.Smb(path.server);
  const SmbSettings& settings = server.settings;
  problem = ReadSmbLogon(settings, server.logon);
  if (!problem.empty()) return nullptr;
  problem = WhyUnreachable(path.server, settings.port, settings.timeoutSeconds);
  if (!problem.empty()) {
    problem = "the server cannot be reached at port " + std::to_string(settings.port) + " (" +
              problem + "): check its name and that it is up";
    return nullptr;
  }
  server.session = NewSmbSession(path.server, settings, server.logon);
  return &servers_.emplace(key, std::move(server)).first->second;
} catch (const PlatformError& error) {
  problem = error.Description();
  return nullptr;
}

}  // namespace torvik
