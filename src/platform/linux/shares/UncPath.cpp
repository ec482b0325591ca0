#include "platform/linux/shares/UncPath.h"

#include <algorithm>
#include <cctype>
#include <filesystem>

namespace torvik {
namespace {

/// Letters, digits and what else stands in names and addresses of servers.
bool IsServerName(const std::string& name) {
  return !name.empty() && std::all_of(name.begin(), name.end(), [](char c) {
    const auto byte = static_cast<unsigned char>(c);
    return byte >= 0x80 || std::isalnum(byte) || c == '.' || c == '-' || c == '_' || c == ':';
  });
}

}  // namespace

std::string UncPath::Text() const {
  std::string text = "\\\\" + server + "/" + InServer();
  std::replace(text.begin(), text.end(), '/', '\\');
  return text;
}

std::string UncPath::InServer() const {
  return rest.empty() ? share : share + "/" + rest;
}

UncPath UncPath::Below(const std::string& name) const {
  return {server, share, rest.empty() ? name : rest + "/" + name};
}

UncPath UncPath::Directory() const {
  return {server, share, std::filesystem::path(rest).parent_path().string()};
}

std::optional<UncPath> ParseUncPath(const std::string& path) {
  if (!path.starts_with("\\\\") || path.find('\0') != std::string::npos) return std::nullopt;
  std::string text = path.substr(2);
  std::replace(text.begin(), text.end(), '\\', '/');
  const std::size_t serverEnd = std::min(text.find('/'), text.size());
  const std::size_t shareEnd = std::min(text.find('/', serverEnd + 1), text.size());
  UncPath parsed{.server = text.substr(0, serverEnd)};
  if (serverEnd < text.size()) parsed.share = text.substr(serverEnd + 1, shareEnd - serverEnd - 1);
  if (!IsServerName(parsed.server) || parsed.share.empty()) return std::nullopt;
  // Windows resolves ".." by the path's text too.
  parsed.rest = std::filesystem::path("/" + text.substr(shareEnd)).lexically_normal().string();
  parsed.rest.erase(0, parsed.rest.find_first_not_of('/'));
  if (parsed.rest.ends_with('/')) parsed.rest.pop_back();
  return parsed;
}

}  // namespace torvik
