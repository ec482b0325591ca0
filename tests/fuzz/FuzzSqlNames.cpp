#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "platform/linux/database/SqlNames.h"

/// Resolving names keeps the number of lines, which error messages count.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string sql(reinterpret_cast<const char*>(data), size);
  const auto none = [](const torvik::TableName&, int) { return std::string(); };
  const std::string resolved = torvik::ResolveNames(sql, none);
  if (std::count(sql.begin(), sql.end(), '\n') !=
      std::count(resolved.begin(), resolved.end(), '\n'))
    std::abort();
  for (const auto& name : {torvik::SplitTableName(sql), torvik::OneTableOf(sql)}) {
    if (!name) continue;
    const auto again = torvik::SplitTableName(torvik::QuotedName(name->table));
    if (!again || again->table != name->table) std::abort();
  }
  return 0;
}
