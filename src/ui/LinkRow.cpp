#include "ui/LinkRow.h"

#include "datalinks/cDataSource.h"

namespace torvik {
namespace {

void SetKind(LinkRow& row, std::int32_t etlType) {
  const auto set = [&row](const char* kind, LinkPicture picture) {
    row.kind = kind;
    row.picture = picture;
  };
  switch (etlType) {
    case EtlSqlServer: return set("SQL Server", LinkPicture::Server);
    case EtlFlatFile: return set("Flat files", LinkPicture::Files);
    case EtlExcel: return set("Excel", LinkPicture::Workbook);
    case EtlAccess: return set("Access", LinkPicture::Database);
    case EtlOracle:
    case EtlOracleSchemas: return set("Oracle", LinkPicture::Server);
    case EtlQuorServer: return set("Quor server", LinkPicture::Files);
    default: row.kind = "Kind " + std::to_string(etlType);
  }
}

std::string PlaceOf(const cDataSource& link) {
  if (!link.strDSFile.empty()) return link.strDSFile;
  if (!link.strDSDirectory.empty()) return link.strDSDirectory;
  const bool hasBoth = !link.strDSServer.empty() && !link.strDSDatabase.empty();
  return link.strDSServer + (hasBoth ? ", " : "") + link.strDSDatabase;
}

}  // namespace

LinkRow RowOf(const cDataSource& link) {
  LinkRow row;
  row.name = link.strName;
  SetKind(row, link.etlType);
  row.place = PlaceOf(link);
  if (link.intTransferData == TransferFtp) row.fetched = "by FTP";
  if (link.intTransferData == TransferShare) row.fetched = "from a share";
  return row;
}

}  // namespace torvik
