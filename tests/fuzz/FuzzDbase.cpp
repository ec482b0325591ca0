#include <cstdint>

#include "fakes/TemporaryDirectory.h"
#include "platform/PlatformError.h"
#include "platform/linux/tables/AdoTableFile.h"

using namespace torvik;

/// Whatever a dBase file and its memo file hold, the table is read or refused. The first byte says
/// how long the table is, in pieces of 16 bytes, and which memo file there is.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 1) return 0;
  static const TemporaryDirectory directory;
  const std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
  const std::size_t length = std::min(text.size(), std::size_t{16} * (data[0] >> 1));
  directory.Write("t.dbf", text.substr(0, length));
  directory.Write(data[0] & 1 ? "t.fpt" : "t.dbt", text.substr(length));
  std::filesystem::remove(directory.PathOf(data[0] & 1 ? "t.dbt" : "t.fpt"));
  try {
    const auto database = OpenTableFile(directory.Path(), "dBase IV");
    for (auto rows = database->OpenRecordset("SELECT * FROM t LIMIT 100", {}); !rows->Eof();
         rows->MoveNext())
      for (int field = 0; field < rows->FieldCount(); ++field) rows->Field(field);
  } catch (const PlatformError&) {
    // What is damaged is refused in words.
  }
  return 0;
}
