#include <cstdio>
#include <iostream>
#include <iterator>

#include "admin/common/Commands.h"
#include "admin/common/Secrets.h"
#include "admin/jobs/LinkFile.h"
#include "admin/jobs/LinkPreview.h"
#include "datalinks/DataWarehouse.h"
#include "datalinks/FieldReaders.h"
#include "datalinks/cDataSource.h"
#include "platform/Ado.h"
#include "platform/Files.h"
#include "platform/PlatformError.h"
#include "platform/Text.h"
#include "platform/linux/LinuxPlatform.h"

namespace torvik::admin {
namespace {

struct LinkOptions {
  std::string database;
  std::string model;
  std::vector<std::string> files;
  std::string name;
  std::string item;
  int rows = 20;
};

Json JsonOf(const ado::Value& value) {
  if (std::holds_alternative<ado::Null>(value)) return nullptr;
  if (const auto* whole = std::get_if<std::int64_t>(&value)) return *whole;
  return TextOf(value);
}

void Connect(DataWarehouse& warehouse, const ServerChoice& choice, const std::string& database) {
  const ServerLogon logon{choice.server, choice.user.empty(), choice.user, ReadPassword(choice)};
  std::string errorText;
  if (!warehouse.ConnectDataWarehouse(logon, database, errorText)) {
    throw PlatformError(0, errorText, "data warehouse");
  }
}

std::string RowOf(ado::Connection& connection, const std::string& model, const std::string& name) {
  return " WHERE model = " + connection.Literal(model) +
         " AND source_name = " + connection.Literal(name);
}

void Store(ado::Connection& connection, const LinkFile& link) {
  std::string columns;
  std::string values;
  for (const auto& [column, value] : link.columns) {
    columns += (columns.empty() ? "" : ", ") + column;
    values += (values.empty() ? "" : ", ") + (value ? connection.Literal(*value) : "NULL");
  }
  connection.Execute("DELETE FROM dwm_data_link" + RowOf(connection, link.model, link.name));
  connection.Execute("INSERT INTO dwm_data_link (" + columns + ") VALUES (" + values + ")");
}

int PutLinks(LinuxPlatform& platform, const Invocation& invocation, const LinkOptions& options) {
  std::vector<LinkFile> links;
  for (const std::string& file : options.files) {
    links.push_back(ReadLinkFile(file, ReadText(*platform.files, file)));
    const std::string reason = OpenToOthers(platform.settings.Paths(), file);
    if (links.back().HasSecret() && !reason.empty()) Warn(reason);
  }
  DataWarehouse warehouse(*platform.databases);
  Connect(warehouse, invocation.server, options.database);
  ado::Connection& connection = warehouse.Connection();
  connection.BeginTrans();
  std::vector<JsonRow> rows;
  for (const LinkFile& link : links) {
    Store(connection, link);
    rows.push_back({link.model, link.name});
  }
  connection.CommitTrans();
  PrintRows({"model", "source_name"}, rows, invocation.json);
  return 0;
}

int ListLinks(LinuxPlatform& platform, const Invocation& invocation, const LinkOptions& options) {
  DataWarehouse warehouse(*platform.databases);
  Connect(warehouse, invocation.server, options.database);
  std::vector<std::string> headings;
  for (const std::string& column : LinkColumns()) {
    if (!IsSecretColumn(column)) headings.push_back(column);
  }
  ado::Connection& connection = warehouse.Connection();
  const std::string where =
      options.model.empty() ? "" : " WHERE model = " + connection.Literal(options.model);
  const auto links = connection.OpenRecordset(
      "SELECT * FROM dwm_data_link" + where + " ORDER BY model, source_name", {});
  std::vector<JsonRow> rows;
  for (; !links->Eof(); links->MoveNext()) {
    rows.emplace_back();
    for (const auto& column : headings) rows.back().push_back(JsonOf(links->Field(column)));
  }
  PrintRows(headings, rows, invocation.json);
  return 0;
}

/// All at once, so that whoever asks may be a program.
std::string StandardInput() {
  return {std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>()};
}

int PreviewLink(LinuxPlatform& platform, const Invocation& invocation, const LinkOptions& options) {
  const std::string& file = options.files.front();
  const LinkFile link =
      ReadLinkFile(file == "-" ? "standard input" : file,
                   file == "-" ? StandardInput() : ReadText(*platform.files, file));
  const LinkPreview preview =
      PreviewOf(platform, link.Record(), options.item, static_cast<std::size_t>(options.rows));
  if (invocation.json) {
    PrintResult({{"items", preview.items},
                 {"all_items", preview.areAll},
                 {"item", preview.item},
                 {"note", preview.note},
                 {"columns", preview.columns},
                 {"rows", preview.rows}},
                "", true);
    return 0;
  }
  for (const std::string& item : preview.items)
    std::printf("%s %s\n", item == preview.item ? "*" : " ", item.c_str());
  if (!preview.areAll) std::puts("  ...");
  if (!preview.note.empty()) std::puts(preview.note.c_str());
  if (preview.item.empty()) return 0;
  std::vector<JsonRow> rows;
  for (const auto& row : preview.rows) {
    rows.emplace_back();
    for (const std::string& value : row) rows.back().push_back(ControlsAsBlanks(value));
    rows.back().resize(preview.columns.size());
  }
  PrintRows(preview.columns, rows, false);
  return 0;
}

int RemoveLink(LinuxPlatform& platform, const Invocation& invocation, const LinkOptions& options) {
  DataWarehouse warehouse(*platform.databases);
  Connect(warehouse, invocation.server, options.database);
  const std::string label = "data link '" + options.name + "' of model '" + options.model + "'";
  if (warehouse.Connection().Execute("DELETE FROM dwm_data_link" +
                                     RowOf(warehouse.Connection(), options.model, options.name)) ==
      0) {
    throw PlatformError(0, "there is no " + label + " in " + options.database, "data link");
  }
  PrintResult({{"model", options.model}, {"source_name", options.name}}, label + " is removed",
              invocation.json);
  return 0;
}

}  // namespace

void AddLinkCommands(CLI::App& app, Invocation& invocation) {
  CommandGroup<LinkOptions> group(app, invocation, "link",
                                  "data links of a data-warehouse database");
  LinkOptions& given = group.Given();
  CLI::App* put = group.Add("put", "store data links; one that is there is replaced", PutLinks);
  put->add_option("FILE", given.files, "TOML file whose keys are columns of dwm_data_link")
      ->required();
  CLI::App* list = group.Add("list", "list the data links, without their passwords", ListLinks);
  list->add_option("--model", given.model, "only those of this ETL model");
  CLI::App* remove = group.Add("remove", "remove a data link", RemoveLink);
  remove->add_option("MODEL", given.model)->required();
  remove->add_option("NAME", given.name)->required();
  CLI::App* preview = group.Add(
      "preview", "the first rows of what a data link leads to: a file, a table", PreviewLink);
  preview->add_option("FILE", given.files, "TOML file as for put; -: standard input")
      ->required()
      ->expected(1);
  preview->add_option("--item", given.item,
                      "file of the directory, or table; the first one without it");
  preview->add_option("--rows", given.rows, "at most so many")->check(CLI::Range(1, 1000));
  for (CLI::App* command : {put, list, remove}) {
    command->add_option("--database", given.database, "the data-warehouse database")->required();
    AddServerOptions(*command, invocation);
  }
}

}  // namespace torvik::admin
