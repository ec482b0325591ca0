#include <cstdint>
#include <cstdlib>

#include "platform/linux/ftp/FtpListing.h"

using namespace torvik;

/// Whatever a server lists, its names are files of the directory, however the bytes are cut.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  const std::string_view text(reinterpret_cast<const char*>(data) + 2, size - 2);
  const std::size_t cut = std::min<std::size_t>(data[1], text.size());
  const auto kind = data[0] % 2 == 0 ? FtpListing::Kind::List : FtpListing::Kind::Mlsd;
  FtpListing whole(kind), cutUp(kind);
  const bool isGood = whole.Add(text) && whole.Finish();
  if ((cutUp.Add(text.substr(0, cut)) && cutUp.Add(text.substr(cut)) && cutUp.Finish()) != isGood)
    std::abort();
  if (isGood == !whole.Problem().empty() || whole.Entries().size() != cutUp.Entries().size())
    std::abort();
  for (const auto& entry : whole.Entries())
    if (entry.fileName.empty() || entry.fileName == ".." ||
        entry.fileName.find_first_of(std::string_view("/\\\0\r\n", 5)) != std::string::npos)
      std::abort();
  return 0;
}
