#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace torvik {

/// A table as SQL text names it. An empty database is the current one, an empty schema the usual
/// one.
struct TableName {
  std::string database;
  std::string table;
  std::string schema;
};

/// The name as an identifier of SQL text, in double quotes.
std::string QuotedName(std::string_view name);

/// The text as a literal of SQL text, in single quotes.
std::string QuotedText(std::string_view text);

/// Reads "table", "schema.table", "database.schema.table" or "database..table", each part bare or
/// in quotes or brackets. Nothing when the text is no such name.
std::optional<TableName> SplitTableName(std::string_view text);

/// The one table whose rows a SELECT answers; nothing when it reads several tables, joins, groups
/// or is no SELECT.
std::optional<TableName> OneTableOf(std::string_view select);

/// Answers what the server wants before the name of a table: nothing, or a schema's name and a
/// point.
/// May throw; `line` is the name's place in the text, from 1.
using SchemaPrefix = std::function<std::string(const TableName& name, int line)>;

/// Puts SQL Server's names into another server's: names of three parts and those that begin with
/// "dbo." get the prefix that `prefixOf` answers, and ISNULL(a, b) becomes COALESCE(a, b). Strings,
/// comments and every other name stay as they are, and so does the number of lines.
std::string ResolveNames(std::string_view sql, const SchemaPrefix& prefixOf);

/// Every name that stands in SQL text, keywords among them, without its quotes.
std::vector<std::string> NamesIn(std::string_view sql);

/// The position of the first character from `from` on that is neither blank nor in a comment; the
/// text's length when there is none.
std::size_t SkipBlanks(std::string_view sql, std::size_t from);

/// The line, from 1, in which a position stands.
int LineOf(std::string_view sql, std::size_t position);

}  // namespace torvik
