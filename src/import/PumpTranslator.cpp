#include "import/PumpTranslator.h"

#include <algorithm>
#include <optional>
#include <set>
#include <utility>

#include "import/PumpColumns.h"
#include "import/PumpTransformation.h"
#include "import/Remarks.h"
#include "platform/Text.h"

namespace torvik::importing {
namespace {

class PumpWriter {
 public:
  PumpWriter(TaskScope& scope, const Object& task)
      : scope_(scope), writer_(scope.writer), task_(task), properties_(&task, scope.notes) {
    hasQueries_ = ClassName(task.progId) == "datadrivenquerytask";
    if (const Object* all = task.Child("transformations"))
      for (const ObjectPtr& one : all->items) transformations_.emplace_back(*one, scope.notes);
  }

  void Write() {
    writer_.Text("task", hasQueries_ ? "DataDrivenQuery" : "DataPump");
    WriteEnds();
    const bool oneFlags = HaveOneSetOfFlags();
    if (oneFlags && !transformations_.empty() && !transformations_[0].Allowed().empty())
      writer_.List("allow", transformations_[0].Allowed());
    const bool asColumns = oneFlags && MayBeColumns();
    if (asColumns)
      WriteColumns();
    else
      writer_.Table("columns", {});
    WriteNumbers();
    if (!hasQueries_) WriteFastLoad();
    // Tables stand behind all keys.
    WriteStepOriginal(scope_, Rest());
    WriteLookups();
    if (hasQueries_) WriteQueries();
    for (PumpTransformation& one : transformations_) {
      if (one.Kind() == "copy")
        NoteDates(one.Original(), IsTextFile("SourceConnectionID"), scope_.notes);
      if (!asColumns || one.Kind() != "copy") one.Write(writer_, !oneFlags);
    }
  }

 private:
  /// `what` uses the connection, as "the pump's source".
  std::string ConnectionOf(Properties& properties, const char* property, const std::string& what) {
    const std::int64_t id = properties.Whole(property, 0);
    const auto found = scope_.connections.find(id);
    if (found != scope_.connections.end()) return found->second;
    scope_.notes.push_back({task_.line, what + " is the connection " + std::to_string(id) +
                                            ", which the package does not have"});
    return "connection " + std::to_string(id);
  }

  /// Of text files the designer keeps the file's path as the object's name.
  bool IsTextFile(const char* property) {
    return scope_.textFiles.contains(properties_.Whole(property, 0));
  }

  void WriteEnds() {
    writer_.Text("source", ConnectionOf(properties_, "SourceConnectionID", "the pump's source"));
    const std::string sql = properties_.Text("SourceSQLStatement");
    const std::string table = properties_.Text("SourceObjectName");
    if (!sql.empty())
      writer_.LongText("source_sql", sql);
    else if (!table.empty() && !IsTextFile("SourceConnectionID"))
      writer_.Text("source_table", table);
    writer_.Text("destination",
                 ConnectionOf(properties_, "DestinationConnectionID", "the pump's destination"));
    const std::string target = properties_.Text("DestinationObjectName");
    const bool isTable = !IsTextFile("DestinationConnectionID");
    if (!isTable || (hasQueries_ && target.empty())) return;
    if (!target.empty()) return writer_.Text("table", target);
    scope_.notes.push_back(
        {task_.line, "the pump's destination is no table; name one in \"table\""});
    writer_.Text("table", "${DestinationTable}");
  }

  bool HaveOneSetOfFlags() const {
    return std::ranges::all_of(transformations_, [&](const PumpTransformation& one) {
      return one.Allowed() == transformations_[0].Allowed();
    });
  }

  /// A table of columns has each source once.
  bool MayBeColumns() {
    std::set<std::string> sources;
    for (const PumpTransformation& one : transformations_) {
      if (one.Kind() != "copy") continue;
      if (!one.IsEven())
        scope_.notes.push_back(
            {one.Line(), "the copy " + one.Name() +
                             " has not as many sources as destinations; the pairs are imported"});
      for (const ColumnPair& pair : one.Pairs())
        if (!sources.insert(LowerAscii(pair.source)).second) return false;
    }
    return true;
  }

  void WriteColumns() {
    std::vector<std::pair<std::string, std::string>> columns;
    for (const PumpTransformation& one : transformations_)
      if (one.Kind() == "copy")
        for (const ColumnPair& pair : one.Pairs())
          columns.emplace_back(pair.source, pair.destination);
    if (!columns.empty() || !transformations_.empty()) writer_.Table("columns", columns);
  }

  void WriteNumbers() {
    const struct {
      const char* property;
      const char* key;
    } numbers[] = {{"FirstRow", "first_row"},
                   {"LastRow", "last_row"},
                   {"InsertCommitSize", "insert_commit_size"},
                   {"MaximumErrorCount", "maximum_error_count"}};
    for (const auto& number : numbers)
      if (const std::int64_t value = properties_.Whole(number.property, 0); value > 0)
        writer_.Whole(number.key, value);
    const std::string file = properties_.Text("ExceptionFileName");
    if (!file.empty()) writer_.Text("exception_file", file);
    constexpr std::int64_t kOverwrite = 0x1000;  // of the mask, whose rest is kept
    const Property* const options = task_.Find("ExceptionFileOptions");
    if (options && static_cast<std::int64_t>(options->value.number) & kOverwrite)
      writer_.Boolean("exception_file_overwrite", true);
  }

  /// Without the fast load, rows were inserted one by one as they are.
  void WriteFastLoad() {
    constexpr std::int64_t kKeepNulls = 1, kCheckConstraints = 2, kTableLock = 4;
    std::int64_t options = properties_.Whole("FastLoadOptions", kCheckConstraints);
    if (!properties_.Boolean("UseFastLoad", true)) options = kKeepNulls | kCheckConstraints;
    const bool givesIdentity = properties_.Boolean("AllowIdentityInserts", false);
    if (IsTextFile("DestinationConnectionID")) return;
    if (options & kKeepNulls) writer_.Boolean("keep_nulls", true);
    if (!(options & kCheckConstraints)) writer_.Boolean("check_constraints", false);
    if (options & kTableLock) writer_.Boolean("table_lock", true);
    if (givesIdentity) writer_.Boolean("identity_insert", true);
  }

  std::vector<Property> Rest() {
    for (const char* idle : {"Name", "Description"}) properties_.Take(idle);
    if (hasQueries_)
      for (const char* query : {"InsertQuery", "UpdateQuery", "DeleteQuery", "UserQuery"})
        properties_.Take(query);
    std::vector<Property> rest = properties_.Rest();
    NoteKept("datapump", "the pump", rest, scope_.notes);
    const Object* const all = task_.Child("transformations");
    if (all == nullptr) return rest;
    // A column of several transformations is told once.
    std::set<std::string> seen;
    for (const ObjectPtr& one : all->items)
      for (Property& fact : ColumnFacts(*one))
        if (seen.insert(LowerAscii(fact.name)).second) rest.push_back(std::move(fact));
    return rest;
  }

  void WriteLookups() {
    const Object* const lookups = task_.Child("lookups");
    if (lookups == nullptr) return;
    for (const ObjectPtr& item : lookups->items) {
      Properties lookup(item.get(), scope_.notes);
      writer_.Header("[[steps.lookups]]");
      writer_.Text("name", lookup.Plain("Name"));
      writer_.Text("connection", ConnectionOf(lookup, "ConnectionID", "a lookup's connection"));
      writer_.LongText("sql", lookup.Text("Query"));
      if (const std::int64_t rows = lookup.Whole("MaxCacheRows", 0); rows > 0)
        writer_.Whole("cache_size", rows);
    }
  }

  /// Those of a data-driven query that the text gives.
  void WriteQueries() {
    const struct {
      const char* property;
      const char* choice;
      const char* columns;
    } queries[] = {{"InsertQuery", "insert", "insertquerycolumns"},
                   {"UpdateQuery", "update", "updatequerycolumns"},
                   {"DeleteQuery", "delete", "deletequerycolumns"},
                   {"UserQuery", "user", "userquerycolumns"}};
    for (const auto& query : queries) {
      const std::string sql = properties_.Text(query.property);
      if (sql.empty()) continue;
      writer_.Header("[[steps.queries]]");
      writer_.Text("on", query.choice);
      const std::vector<std::string> columns = ColumnNames(task_, query.columns);
      if (!columns.empty()) writer_.List("parameters", columns);
      writer_.LongText("sql", sql);
    }
  }

  TaskScope& scope_;
  DocumentWriter& writer_;
  const Object& task_;
  Properties properties_;
  std::vector<PumpTransformation> transformations_;
  bool hasQueries_ = false;  // it is a data-driven query
};

}  // namespace

void WritePump(TaskScope& scope, const Object& task) {
  PumpWriter(scope, task).Write();
}

}  // namespace torvik::importing
