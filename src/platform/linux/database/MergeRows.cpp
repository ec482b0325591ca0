#include "platform/linux/database/MergeRows.h"

#include <algorithm>

#include "platform/Text.h"
#include "platform/linux/database/LoadText.h"
#include "platform/linux/database/SqlNames.h"

namespace torvik {
namespace {

using ado::SqlKind;

std::string Joined(const std::vector<std::string>& parts, const char* between) {
  std::string text;
  for (const std::string& part : parts) text += (text.empty() ? "" : between) + part;
  return text;
}

/// The statements of one merge, in the server's own SQL: `t` is the table, `s` the one beside it.
class MergeText {
 public:
  MergeText(const MergePlan& plan, const RefusalFactory& refuse) : plan_(plan) {
    for (const std::string& key : plan.keys) {
      const auto found = std::ranges::find_if(plan.columns, [&](const ado::Column& column) {
        return EqualsIgnoringCase(column.name, key);
      });
      if (found == plan.columns.end())
        throw refuse("the key column " + key + " of table " + plan.name +
                     " gets no values; fill it, or leave it out of \"keys\"");
      keys_.push_back(QuotedName(found->name));
    }
  }

  const std::vector<std::string>& Keys() const { return keys_; }

  std::string FirstNull(const std::string& key) const {
    return First("1", "WHERE s." + key + " IS NULL");
  }

  /// A key that several rows have, as texts.
  std::string FirstTwice() const {
    const char* type = plan_.server == SqlKind::SqlServer ? " AS nvarchar(4000))" : " AS text)";
    std::vector<std::string> texts, names;
    for (const std::string& key : keys_) {
      texts.push_back("CAST(s." + key + type);
      names.push_back("s." + key);
    }
    return First(Joined(texts, ", "), "GROUP BY " + Joined(names, ", ") + " HAVING COUNT(*) > 1");
  }

  std::string Delete() const {
    return std::string(IsSqlServer() ? "DELETE t FROM " : "DELETE FROM ") + plan_.table +
           " AS t WHERE NOT EXISTS (SELECT 1 FROM " + plan_.staging + " AS s WHERE " + SameKey() +
           ")";
  }

  /// Empty when the rows bring nothing but keys.
  std::string Update() const {
    std::vector<std::string> sets, differences, ours, theirs;
    for (const ado::Column& column : plan_.columns) {
      const std::string name = QuotedName(column.name);
      if (column.isIdentity || std::ranges::count(keys_, name) > 0) continue;
      sets.push_back(name + " = s." + name);
      ours.push_back(Compared(column, "t." + name));
      theirs.push_back(Compared(column, "s." + name));
      differences.push_back(ours.back() + Differs() + theirs.back());
    }
    if (sets.empty()) return {};
    const std::string set = " SET " + Joined(sets, ", "), from = plan_.staging + " AS s";
    if (IsSqlServer())
      return "UPDATE t" + set + " FROM " + plan_.table + " AS t JOIN " + from + " ON " + SameKey() +
             " WHERE EXISTS (SELECT " + Joined(ours, ", ") + " EXCEPT SELECT " +
             Joined(theirs, ", ") + ")";
    return "UPDATE " + plan_.table + " AS t" + set + " FROM " + from + " WHERE " + SameKey() +
           " AND (" + Joined(differences, " OR ") + ")";
  }

  std::string Insert() const {
    std::vector<std::string> names;
    for (const ado::Column& column : plan_.columns) names.push_back("s." + QuotedName(column.name));
    return "INSERT " + IntoText(plan_.table, plan_.columns) +
           (plan_.server == SqlKind::PostgreSql ? " OVERRIDING SYSTEM VALUE" : "") + " SELECT " +
           Joined(names, ", ") + " FROM " + plan_.staging +
           " AS s WHERE NOT EXISTS (SELECT 1 FROM " + plan_.table + " AS t WHERE " + SameKey() +
           ")";
  }

 private:
  bool IsSqlServer() const { return plan_.server == SqlKind::SqlServer; }

  std::string First(const std::string& columns, const std::string& rest) const {
    return std::string("SELECT ") + (IsSqlServer() ? "TOP 1 " : "") + columns + " FROM " +
           plan_.staging + " AS s " + rest + (IsSqlServer() ? "" : " LIMIT 1");
  }

  std::string SameKey() const {
    std::vector<std::string> parts;
    for (const std::string& key : keys_) parts.push_back("t." + key + " = s." + key);
    return Joined(parts, " AND ");
  }

  const char* Differs() const {
    return plan_.server == SqlKind::Embedded ? " IS NOT " : " IS DISTINCT FROM ";
  }

  /// Byte by byte: "a" and "A" are not the same text, whatever the column's collation says. Some
  /// types cannot be compared but as texts.
  std::string Compared(const ado::Column& column, const std::string& name) const {
    if (plan_.server == SqlKind::Embedded) return name + " COLLATE BINARY";
    if (column.kind == ado::ColumnKind::Binary)
      return IsSqlServer() ? "CAST(" + name + " AS varbinary(max))" : name;
    if (column.kind != ado::ColumnKind::Text) return name;
    return IsSqlServer() ? "CAST(CAST(" + name + " AS nvarchar(max)) AS varbinary(max))"
                         : "CAST(" + name + " AS text) COLLATE \"C\"";
  }

  const MergePlan& plan_;
  std::vector<std::string> keys_;  // quoted
};

std::string KeyOf(const ado::StatementResult& found) {
  std::vector<std::string> texts;
  for (const ado::Value& value : found.rows.front()) {
    const auto* text = std::get_if<std::string>(&value);
    texts.push_back(text ? *text : "?");
  }
  return Joined(texts, ", ");
}

void RequireKeys(const MergePlan& plan, const MergeText& text, const RunStatement& run,
                 const RefusalFactory& refuse) {
  for (const std::string& key : text.Keys())
    if (!run(text.FirstNull(key)).rows.empty())
      throw refuse("table " + plan.name + ": a row has NULL in the key column " + key +
                   "; give every row a value there, or leave out the rows without one");
  const ado::StatementResult twice = run(text.FirstTwice());
  if (!twice.rows.empty())
    throw refuse("table " + plan.name + ": several rows have the key (" +
                 Joined(text.Keys(), ", ") + ") = (" + KeyOf(twice) +
                 "); let the source have one row for each key");
}

}  // namespace

ado::MergeCounts MergeRows(const MergePlan& plan, const RunStatement& run,
                           const RefusalFactory& refuse) {
  const MergeText text(plan, refuse);
  RequireKeys(plan, text, run, refuse);
  ado::MergeCounts counts;
  if (plan.deletesMissing) counts.deleted = run(text.Delete()).changedRows;
  if (const std::string update = text.Update(); !update.empty())
    counts.updated = run(update).changedRows;
  counts.inserted = run(text.Insert()).changedRows;
  run("DROP TABLE " + plan.staging);
  return counts;
}

}  // namespace torvik
