#include <cstdint>

#include "fakes/TemporaryDirectory.h"
#include "platform/PlatformError.h"
#include "platform/linux/tables/AdoTableFile.h"

using namespace torvik;

/// Whatever a workbook or an Access file holds, its tables are read or refused.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const TemporaryDirectory directory;
  directory.Write("input", {reinterpret_cast<const char*>(data), size});
  try {
    const auto database = OpenTableFile(directory.PathOf("input"), "");
    const auto tables = database->OpenSchema(ado::SchemaQuery::Columns, {});
    for (; !tables->Eof(); tables->MoveNext()) {
      const auto name = std::get<std::string>(tables->Field("TABLE_NAME"));
      for (auto rows = database->OpenRecordset("SELECT * FROM [" + name + "] LIMIT 100", {});
           !rows->Eof(); rows->MoveNext())
        for (int field = 0; field < rows->FieldCount(); ++field) rows->Field(field);
    }
  } catch (const PlatformError&) {
    // What is damaged is refused in words.
  }
  return 0;
}
