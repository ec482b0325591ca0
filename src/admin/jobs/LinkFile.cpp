#include "admin/jobs/LinkFile.h"

#include <algorithm>

#include "admin/common/StoredName.h"
#include "datalinks/cDataSource.h"
#include "engine/model/TomlTable.h"
#include "platform/NumberText.h"

namespace torvik::admin {
namespace {

enum class ColumnType { Text, Number, Truth };

struct LinkColumn {
  const char* name;
  ColumnType type;
};

constexpr LinkColumn kColumns[] = {
    {"model", ColumnType::Text},
    {"source_name", ColumnType::Text},
    {"Type", ColumnType::Number},
    {"ds_server", ColumnType::Text},
    {"ds_database", ColumnType::Text},
    {"ds_trusted_login", ColumnType::Truth},
    {"ds_user", ColumnType::Text},
    {"ds_password", ColumnType::Text},
    {"ds_file", ColumnType::Text},
    {"ds_directory", ColumnType::Text},
    {"ds_connect_string", ColumnType::Text},
    {"transfer_data", ColumnType::Number},
    {"ftp_server", ColumnType::Text},
    {"ftp_user", ColumnType::Text},
    {"ftp_password", ColumnType::Text},
    {"remote_directory", ColumnType::Text},
    {"poll_duration", ColumnType::Number},
    {"poll_interval", ColumnType::Number},
};

constexpr std::int64_t kLargestNumber = 32767;  // the runner reads 16 bits

/// Every value is a text, which every server takes for its column's own type.
std::optional<std::string> ValueOf(engine::TableReader& reader, const LinkColumn& column,
                                   engine::Problems& problems) {
  const engine::TomlValue* value = reader.Find(column.name);
  if (value == nullptr) return {};
  if (column.type == ColumnType::Text) {
    const auto text = reader.Text(column.name);
    return text ? std::optional(text->text) : std::nullopt;
  }
  if (column.type == ColumnType::Truth) return reader.Boolean(column.name, false) ? "1" : "0";
  const std::int64_t number = reader.Integer(column.name, 0);
  if (number < 0 || number > kLargestNumber) {
    problems.Add(value->place, std::string(column.name) + " must be from 0 to 32767");
  }
  return std::to_string(number);
}

std::string LinkName(engine::TableReader& reader, const char* key, engine::Problems& problems) {
  const engine::PlacedText name = reader.RequiredText(key);
  if (const std::string problem = LinkNameProblem(name.text); !problem.empty())
    problems.Add(name.place, engine::Quoted(key) + " " + problem);
  return name.text;
}

}  // namespace

const std::vector<std::string>& LinkColumns() {
  static const std::vector<std::string> names = [] {
    std::vector<std::string> list;
    for (const LinkColumn& column : kColumns) list.emplace_back(column.name);
    return list;
  }();
  return names;
}

bool IsSecretColumn(const std::string& column) {
  return column == "ds_password" || column == "ftp_password" || column == "ds_connect_string";
}

bool LinkFile::HasSecret() const {
  return std::any_of(columns.begin(), columns.end(), [](const auto& column) {
    return IsSecretColumn(column.first) && !column.second.value_or("").empty();
  });
}

cDataSource LinkFile::Record() const {
  const auto value = [this](std::string_view column) {
    const auto found =
        std::ranges::find(columns, column, [](const auto& one) { return one.first; });
    return found == columns.end() ? std::string() : found->second.value_or("");
  };
  cDataSource record;
  record.strModelName = model;
  record.strName = name;
  record.etlType = NumberOf<std::int32_t>(value("Type")).value_or(0);
  record.strDSServer = value("ds_server");
  record.strDSDatabase = value("ds_database");
  record.blnDSTrustedLogin = value("ds_trusted_login") == "1";
  record.strDSUser = value("ds_user");
  record.strDSPassword = value("ds_password");
  record.strDSFile = value("ds_file");
  record.strDSDirectory = value("ds_directory");
  record.intTransferData = NumberOf<std::int16_t>(value("transfer_data")).value_or(0);
  return record;
}

LinkFile ReadLinkFile(const std::string& path, const std::string& text) {
  engine::Problems problems(path);
  const engine::TomlTable table = engine::ParseToml(text, problems);
  problems.ThrowIfAny();
  engine::TableReader reader(table, {}, problems);
  LinkFile link;
  link.model = LinkName(reader, "model", problems);
  link.name = LinkName(reader, "source_name", problems);
  for (const LinkColumn& column : kColumns) {
    link.columns.emplace_back(column.name, ValueOf(reader, column, problems));
  }
  if (reader.Find("Type") == nullptr) {
    problems.Add({},
                 "the key \"Type\" is missing; add it: 1 is a SQL Server, 3 flat files, 4 Excel, 5 "
                 "Access, 6 Oracle");
  }
  reader.Finish();
  problems.ThrowIfAny();
  return link;
}

}  // namespace torvik::admin
