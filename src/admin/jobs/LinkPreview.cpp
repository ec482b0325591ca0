#include "admin/jobs/LinkPreview.h"

#include <algorithm>
#include <memory>
#include <utility>

#include "config/FileUtils.h"
#include "datalinks/BuildConnection.h"
#include "datalinks/FieldReaders.h"
#include "datalinks/cDataSource.h"
#include "engine/pump/RowBatch.h"
#include "engine/pump/RowSource.h"
#include "engine/pump/text/DelimiterGuess.h"
#include "platform/PlatformError.h"
#include "platform/Text.h"
#include "platform/linux/LinuxPlatform.h"
#include "platform/linux/database/SqlNames.h"

namespace torvik::admin {
namespace {

/// So many names are listed: whoever looks for one among more knows it.
constexpr std::size_t kMostItems = 500;

PlatformError Problem(const std::string& reason) {
  return PlatformError(0, reason, "data link");
}

void Choose(LinkPreview& preview, const std::string& item, const std::string& owner) {
  if (item.empty()) {
    if (!preview.items.empty()) preview.item = preview.items.front();
    return;
  }
  const auto found = std::ranges::find_if(preview.items, [&](const std::string& one) {
    return one == item || one.ends_with("." + item);
  });
  if (found == preview.items.end() && preview.areAll) throw Problem(owner + " has no " + item);
  preview.item = found == preview.items.end() ? item : *found;
}

/// What a cell shows of a value; long ones are cut.
std::string Shown(const ado::LoadValue& value) {
  constexpr std::size_t kMostCharacters = 200;
  const std::string text = AsValidUtf8(TextOf(ado::ValueOf(value)));
  const std::string_view first = FirstCharacters(text, kMostCharacters);
  return std::string(first) + (first.size() < text.size() ? "\u2026" : "");
}

// Text files.

/// The first lines, each as the one value of a row. A delimiter that no text has leaves them whole.
std::vector<std::string> FirstLines(LinuxPlatform& platform, const std::string& path,
                                    const std::string& encoding, std::size_t count) {
  engine::TextFormat whole;
  whole.columnDelimiter = "\x01";
  whole.textQualifier = "";
  whole.encoding = encoding;
  const auto source = engine::OpenTextSource(*platform.files, *platform.codePages, path, whole);
  std::vector<std::string> lines;
  engine::RowBatch batch;
  while (lines.size() < count && source->Fetch(batch)) {
    if (!batch.BadRows().empty()) throw batch.BadRows().front().error;
    for (std::size_t row = 0; row < batch.RowCount() && lines.size() < count; ++row)
      lines.push_back(TextOf(ado::ValueOf(batch.Row(row)[0])));
  }
  return lines;
}

/// A text that is no UTF-8 is one of the jobs' own code page.
std::vector<std::string> FirstLines(LinuxPlatform& platform, const std::string& path,
                                    std::size_t count, std::string& encoding) {
  try {
    encoding = engine::kDetectEncoding;
    return FirstLines(platform, path, encoding, count);
  } catch (const PlatformError&) {
    encoding = platform.settings.codePage;
    return FirstLines(platform, path, encoding, count);
  }
}

const char* NameOf(const std::string& delimiter) {
  if (delimiter == "\t") return "a tab";
  return delimiter == "," ? "a comma" : delimiter == ";" ? "a semicolon" : "|";
}

void ReadTextFile(LinuxPlatform& platform, const std::string& path, std::size_t rows,
                  LinkPreview& preview) {
  FileStatus status;
  if (const auto error = platform.files->Status(path, status))
    throw Problem(path + ": " + error.message());
  engine::TextFormat format;
  const std::vector<std::string> lines = FirstLines(platform, path, rows, format.encoding);
  const std::vector<std::string_view> views(lines.begin(), lines.end());
  const std::string delimiter = engine::GuessDelimiter(views);
  if (!delimiter.empty()) format.columnDelimiter = delimiter;
  preview.note = lines.empty()       ? "The file is empty."
                 : delimiter.empty() ? "One column: its first line has no delimiter."
                                     : std::string("Delimiter: ") + NameOf(delimiter) + ".";
  if (format.encoding == platform.settings.codePage && !lines.empty())
    preview.note += " Not UTF-8: read as " + format.encoding + ".";
  const auto source = engine::OpenTextSource(*platform.files, *platform.codePages, path, format);
  preview.columns = source->Columns();
  engine::RowBatch batch;
  while (preview.rows.size() < rows && source->Fetch(batch)) {
    for (std::size_t row = 0; row < batch.RowCount() && preview.rows.size() < rows; ++row) {
      preview.rows.emplace_back();
      for (const ado::LoadValue& value : batch.Row(row))
        preview.rows.back().push_back(Shown(value));
    }
    if (!batch.BadRows().empty()) {
      preview.note += std::string(" ") + batch.BadRows().front().error.what();
      break;
    }
  }
}

LinkPreview PreviewOfFiles(LinuxPlatform& platform, const cDataSource& link,
                           const std::string& item, std::size_t rows) {
  if (link.strDSDirectory.empty()) throw Problem("no local directory is named; choose it first");
  std::string directory = link.strDSDirectory;
  AddTrailingSeparator(directory);
  LinkPreview preview;
  if (const auto error = platform.files->ListFiles(directory, preview.items))
    throw Problem(directory + ": " + error.message() +
                  "; choose another directory, or make it readable");
  std::ranges::sort(preview.items);
  Choose(preview, item, directory);
  preview.areAll = preview.items.size() <= kMostItems;
  if (!preview.areAll) preview.items.resize(kMostItems);
  if (preview.item.empty())
    preview.note = link.intTransferData == TransferNone
                       ? "There are no files in the directory."
                       : "There are no files yet: they are fetched before each run.";
  else
    ReadTextFile(platform, platform.files->FullPath(directory + preview.item), rows, preview);
  return preview;
}

// Tables.

bool IsSystemSchema(const std::string& schema) {
  return schema == "INFORMATION_SCHEMA" || schema == "information_schema" || schema == "sys" ||
         schema == "pg_catalog" || schema == "SYS" || schema == "SYSTEM";
}

/// "schema.table", each part in quotes where it holds a point.
std::string ItemName(const std::string& schema, const std::string& table) {
  const auto part = [](const std::string& name) {
    return name.find_first_of(".\"[ ") == std::string::npos ? name : QuotedName(name);
  };
  return schema.empty() ? part(table) : part(schema) + "." + part(table);
}

void ListTables(ado::Connection& connection, LinkPreview& preview) {
  const auto columns = connection.OpenSchema(ado::SchemaQuery::Columns, {});
  for (; !columns->Eof(); columns->MoveNext()) {
    const std::string schema = TextOf(columns->Field("TABLE_SCHEMA"));
    if (IsSystemSchema(schema)) continue;
    const std::string name = ItemName(schema, TextOf(columns->Field("TABLE_NAME")));
    if (std::ranges::find(preview.items, name) != preview.items.end()) continue;
    preview.areAll = preview.items.size() < kMostItems;
    if (!preview.areAll) return;
    preview.items.push_back(name);
  }
}

/// Servers that know how to stop by themselves do; of the others no more rows are asked for.
std::string QueryOf(ado::Connection& connection, const std::string& item, std::size_t rows) {
  const auto name = SplitTableName(item);
  if (!name) throw Problem(item + " is no name of a table");
  const std::string table =
      (name->schema.empty() ? "" : QuotedName(name->schema) + ".") + QuotedName(name->table);
  const auto columns = connection.TableColumns(item);
  const ado::SqlKind sql = columns.empty() ? ado::SqlKind::Other : columns.front().sql;
  const std::string most = std::to_string(rows);
  if (sql == ado::SqlKind::SqlServer) return "SELECT TOP " + most + " * FROM " + table;
  const bool hasLimit = sql == ado::SqlKind::PostgreSql || sql == ado::SqlKind::Embedded;
  return "SELECT * FROM " + table + (hasLimit ? " LIMIT " + most : "");
}

LinkPreview PreviewOfTables(LinuxPlatform& platform, const cDataSource& link,
                            const std::string& server, const std::string& item, std::size_t rows) {
  if (server.empty()) throw Problem("no server or file is named; choose it first");
  std::unique_ptr<ado::Connection> connection;
  std::string errorText;
  const ServerLogon logon{server, link.blnDSTrustedLogin, link.strDSUser, link.strDSPassword};
  if (!BuildConnection(*platform.databases, link.etlType, logon, connection, errorText,
                       link.strDSDatabase))
    throw Problem(server + " cannot be opened" + errorText);
  LinkPreview preview;
  ListTables(*connection, preview);
  Choose(preview, item, server);
  if (preview.item.empty()) {
    preview.note = "There are no tables.";
    return preview;
  }
  const auto read = connection->OpenBulkRead(QueryOf(*connection, preview.item, rows), false);
  preview.columns = read->Columns();
  std::vector<ado::LoadValue> row(preview.columns.size());
  while (preview.rows.size() < rows && read->Next(row)) {
    preview.rows.emplace_back();
    for (const ado::LoadValue& value : row) preview.rows.back().push_back(Shown(value));
  }
  return preview;
}

}  // namespace

LinkPreview PreviewOf(LinuxPlatform& platform, const cDataSource& link, const std::string& item,
                      std::size_t rows) {
  switch (link.etlType) {
    case EtlFlatFile:
    case EtlQuorServer: return PreviewOfFiles(platform, link, item, rows);
    case EtlExcel:
    case EtlAccess: return PreviewOfTables(platform, link, link.strDSFile, item, rows);
    case EtlSqlServer:
    case EtlOracle:
    case EtlOracleSchemas: return PreviewOfTables(platform, link, link.strDSServer, item, rows);
    default:
      throw Problem("nothing is opened for a link of the kind " + std::to_string(link.etlType));
  }
}

}  // namespace torvik::admin
