#include "platform/linux/system/FileSystems.h"

#include <sys/statfs.h>

#include <filesystem>
#include <map>

namespace torvik {
namespace {

const std::map<long, const char*> kNetworkFileSystems = {
    {0x6969, "NFS"},      {0xFE534D42L, "SMB"}, {0xFF534D42L, "CIFS"},
    {0x65735546, "FUSE"}, {0x00C36400, "Ceph"}, {0x0BD00BD0, "Lustre"},
    {0x01021997, "9P"},   {0x47504653, "GPFS"}, {0x19830326, "BeeGFS"}};

}  // namespace

std::string PlaceThere(const std::string& path) {
  std::filesystem::path place = path;
  std::error_code error;
  while (!std::filesystem::exists(place, error) && place.has_relative_path())
    place = place.parent_path();
  return place.string();
}

std::string NetworkFileSystemOf(const std::string& path) {
  struct statfs system {};
  if (statfs(PlaceThere(path).c_str(), &system) != 0) return {};
  const auto network = kNetworkFileSystems.find(static_cast<long>(system.f_type));
  return network == kNetworkFileSystems.end() ? "" : network->second;
}

}  // namespace torvik
