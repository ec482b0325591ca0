#include "engine/model/AdoParts.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "engine/model/Problems.h"
#include "engine/model/ScriptDatabases.h"
#include "engine/model/ScriptValues.h"
#include "platform/Ado.h"
#include "platform/PlatformError.h"
#include "platform/Text.h"
#include "script/Conversion.h"
#include "script/Functions.h"

namespace torvik::engine {
namespace {

using script::Value;
using Arguments = std::span<const Value>;

/// Rows that a recordset and its fields share.
struct OpenRows {
  std::shared_ptr<ado::Connection> connection;  // outlives the rows
  std::unique_ptr<ado::Recordset> rows;
  bool isAtFirst = true;

  ado::Recordset& Rows() const {
    if (rows) return *rows;
    throw PlatformError(3704, "the recordset is closed; a statement without rows leaves one so",
                        kAdoRecordsetClass);
  }

  /// The rows go before the connection that they came by.
  void Take(std::shared_ptr<ado::Connection> by, std::unique_ptr<ado::Recordset> opened) {
    rows = std::move(opened);
    connection = std::move(by);
    isAtFirst = true;
  }
};

class AdoField final : public script::Object {
 public:
  AdoField(std::shared_ptr<OpenRows> open, int position)
      : open_(std::move(open)), position_(position) {}

  std::string_view TypeName() const override { return "Field"; }
  int FindMember(std::string_view name) const override {
    static constexpr std::string_view kMembers[] = {"value", "name"};
    return script::MemberNamed(kMembers, name);
  }
  Value Invoke(script::Context& context, int member, Arguments arguments) override {
    script::ExpectArguments(arguments, 0, 0);
    const ado::Recordset& rows = Rows();
    if (member != 0) return script::NewText(context, rows.FieldName(position_));
    if (rows.Eof())
      throw PlatformError(3021, "the recordset has no current row", kAdoRecordsetClass);
    return ScriptValueOf(rows.Field(position_), &context.heap);
  }
  void Put(script::Context&, int member, Arguments, const Value& value) override {
    if (member != 0) script::NoSuchMember("Name");
    ado::Recordset& rows = Rows();
    rows.SetField(rows.FieldName(position_), AdoValueOf(value));
  }

 private:
  /// The recordset may have been opened anew, with fewer fields.
  ado::Recordset& Rows() const {
    ado::Recordset& rows = open_->Rows();
    if (position_ < rows.FieldCount()) return rows;
    throw PlatformError(3265, "the recordset has no such field any more", kAdoRecordsetClass);
  }

  const std::shared_ptr<OpenRows> open_;
  const int position_;
};

class AdoFields final : public script::Object {
 public:
  explicit AdoFields(std::shared_ptr<OpenRows> open) : open_(std::move(open)) {}

  std::string_view TypeName() const override { return "Fields"; }
  int FindMember(std::string_view name) const override {
    static constexpr std::string_view kMembers[] = {"item", "count"};
    return script::MemberNamed(kMembers, name);
  }
  Value Invoke(script::Context&, int member, Arguments arguments) override {
    script::ExpectArguments(arguments, member == 0 ? 1 : 0, member == 0 ? 1 : 0);
    if (member != 0) return Value::OfLong(open_->Rows().FieldCount());
    return script::NewObject<AdoField>(open_, PositionOf(arguments[0]));
  }
  /// rs.Fields("x") = 1
  void Put(script::Context& context, int, Arguments indexes, const Value& value) override {
    script::ExpectArguments(indexes, 1, 1);
    AdoField(open_, PositionOf(indexes[0])).Put(context, 0, {}, value);
  }
  Value Items(script::Context& context) override {
    const int count = open_->Rows().FieldCount();
    Value array = script::NewArray(context.heap, static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i)
      array.AsArray()->elements[static_cast<std::size_t>(i)] =
          script::NewObject<AdoField>(open_, i);
    return array;
  }

 private:
  int PositionOf(const Value& key) const {
    const ado::Recordset& rows = open_->Rows();
    if (key.IsWhole() && key.Whole() >= 0 && key.Whole() < rows.FieldCount())
      return static_cast<int>(key.Whole());
    const std::string name = script::ToText(key);
    for (int i = 0; i < rows.FieldCount(); ++i)
      if (EqualsIgnoringCase(rows.FieldName(i), name)) return i;
    throw PlatformError(3265, "the recordset has no field " + Quoted(name), kAdoRecordsetClass);
  }

  const std::shared_ptr<OpenRows> open_;
};

class AdoConnection final : public AdoConnectionObject {
 public:
  explicit AdoConnection(std::shared_ptr<ScriptDatabases> databases)
      : databases_(std::move(databases)) {}

  std::string_view TypeName() const override { return "Connection"; }
  int FindMember(std::string_view name) const override;
  Value Invoke(script::Context& context, int member, Arguments arguments) override;
  void Put(script::Context& context, int member, Arguments indexes, const Value& value) override;

  void Open(const std::string& target) { connection_ = databases_->Open(target); }
  std::shared_ptr<ado::Connection> Opened() const override {
    if (connection_) return connection_;
    throw PlatformError(3704, "the connection is closed; open it before", kAdoConnectionClass);
  }

 private:
  enum Member {
    kConnectionString,
    kOpen,
    kClose,
    kExecute,
    kBegin,
    kCommit,
    kRollback,
    kState,
    kIgnored  // and those behind it
  };

  const std::shared_ptr<ScriptDatabases> databases_;
  std::string target_;
  std::shared_ptr<ado::Connection> connection_;
};

class AdoRecordset final : public script::Object {
 public:
  explicit AdoRecordset(std::shared_ptr<ScriptDatabases> databases,
                        std::shared_ptr<OpenRows> open = std::make_shared<OpenRows>())
      : databases_(std::move(databases)), open_(std::move(open)) {}

  std::string_view TypeName() const override { return "Recordset"; }
  int FindMember(std::string_view name) const override {
    static constexpr std::string_view kMembers[] = {
        "fields",           "open",        "close",    "eof",        "bof",
        "movenext",         "movefirst",   "update",   "state",      "source",
        "activeconnection", "recordcount", "locktype", "cursortype", "cursorlocation"};
    return script::MemberNamed(kMembers, name);
  }

  Value Invoke(script::Context& context, int member, Arguments arguments) override {
    if (member == kFields) {
      const Value fields = script::NewObject<AdoFields>(open_);
      return arguments.empty() ? fields : fields.AsObject()->Invoke(context, 0, arguments);
    }
    script::ExpectArguments(arguments, 0, member == kOpen ? 5 : 0);
    switch (member) {
      case kOpen: Open(arguments); return {};
      case kClose: open_->Rows().Close(), open_->Take({}, {}); return {};
      case kEof: return Value::OfBoolean(open_->Rows().Eof());
      case kBof: return Value::OfBoolean(open_->Rows().Eof() && open_->isAtFirst);
      case kMoveNext: open_->Rows().MoveNext(), open_->isAtFirst = false; return {};
      case kMoveFirst: MoveFirst(); return {};
      case kUpdate: open_->Rows().Update(); return {};
      case kState: return Value::OfLong(open_->rows ? 1 : 0);
      case kSource: return script::NewText(context, source_);
      case kRecordCount: open_->Rows(); return Value::OfLong(-1);
      case kLockType: return Value::OfLong(lockType_);
      default: script::NoSuchMember("");
    }
  }

  void Put(script::Context& context, int member, Arguments indexes, const Value& value) override {
    switch (member) {
      case kFields: return AdoFields(open_).Put(context, 0, indexes, value);
      case kSource: source_ = script::ToText(value); return;
      case kActiveConnection: connection_ = value; return;
      case kLockType: lockType_ = script::ToLong(value); return;
      case kCursorType:
      case kCursorLocation: return;  // rows come one after the other whatever is asked
      default: script::NoSuchMember("");
    }
  }

 private:
  enum Member {
    kFields,
    kOpen,
    kClose,
    kEof,
    kBof,
    kMoveNext,
    kMoveFirst,
    kUpdate,
    kState,
    kSource,
    kActiveConnection,
    kRecordCount,
    kLockType,
    kCursorType,
    kCursorLocation
  };
  static constexpr std::int32_t kReadOnly = 1;

  void Open(Arguments arguments) {
    if (IsGiven(arguments, 0)) source_ = script::ToText(arguments[0]);
    if (IsGiven(arguments, 1)) connection_ = arguments[1];
    if (IsGiven(arguments, 3)) lockType_ = script::ToLong(arguments[3]);
    const auto connection = ActiveConnectionOf(connection_, *databases_);
    const ado::CursorOptions options =
        lockType_ > kReadOnly
            ? ado::CursorOptions{ado::CursorLocation::UseClient, ado::CursorType::Dynamic,
                                 ado::LockType::Pessimistic}
            : ado::CursorOptions{};
    open_->Take(connection, connection->OpenRecordset(source_, options));
  }

  void MoveFirst() const {
    open_->Rows();
    if (open_->isAtFirst) return;
    throw PlatformError(3219,
                        "the rows come one after the other: open the recordset again, or keep "
                        "what is needed of them in an array",
                        kAdoRecordsetClass);
  }

  const std::shared_ptr<ScriptDatabases> databases_;
  const std::shared_ptr<OpenRows> open_;
  std::string source_;
  Value connection_;
  std::int32_t lockType_ = kReadOnly;
};

int AdoConnection::FindMember(std::string_view name) const {
  static constexpr std::string_view kMembers[] = {
      "connectionstring", "open",          "close", "execute",  "begintrans",
      "committrans",      "rollbacktrans", "state", "provider", "connectiontimeout",
      "commandtimeout",   "cursorlocation"};
  return script::MemberNamed(kMembers, name);
}

Value AdoConnection::Invoke(script::Context& context, int member, Arguments arguments) {
  const bool takesSome = member == kOpen || member == kExecute;
  script::ExpectArguments(arguments, member == kExecute ? 1 : 0,
                          takesSome ? (member == kOpen ? 4 : 3) : 0);
  switch (member) {
    case kConnectionString: return script::NewText(context, target_);
    case kOpen:
      if (IsGiven(arguments, 0)) target_ = script::ToText(arguments[0]);
      if (IsGiven(arguments, 2) && !script::ToText(arguments[2]).empty())
        throw PlatformError(0,
                            "a script may not hold a password; open a connection of the package "
                            "by its name",
                            kAdoConnectionClass);
      Open(target_);
      return {};
    case kClose: Opened(), connection_.reset(); return {};
    case kExecute:
      return NewAdoRecordset(databases_, Opened(),
                             RunAdoStatement(*Opened(), script::ToText(arguments[0])));
    case kBegin: Opened()->BeginTrans(); return Value::OfLong(1);
    case kCommit: Opened()->CommitTrans(); return {};
    case kRollback: Opened()->RollbackTrans(); return {};
    case kState: return Value::OfLong(connection_ ? 1 : 0);
    default: script::NoSuchMember("");
  }
}

void AdoConnection::Put(script::Context&, int member, Arguments, const Value& value) {
  if (member == kConnectionString) {
    target_ = script::ToText(value);
    return;
  }
  // Providers and time-outs are the package's: those of its connections and steps.
  if (member < kIgnored) script::NoSuchMember("");
}

/// Only what begins like a query gives rows.
bool IsQuery(std::string_view sql) {
  const std::string_view text = Trimmed(sql, " \t\r\n");
  return std::ranges::any_of(
      std::initializer_list<std::string_view>{"select", "with", "exec", "execute", "values",
                                              "show"},
      [&](std::string_view word) {
        const bool isWhole = text.size() > word.size() &&
                             !std::isalnum(static_cast<unsigned char>(text[word.size()]));
        return isWhole && EqualsIgnoringCase(text.substr(0, word.size()), word);
      });
}

}  // namespace

bool IsGiven(Arguments arguments, std::size_t position) {
  return arguments.size() > position && !arguments[position].Is(script::Kind::Missing);
}

ado::Value AdoValueOf(const Value& value) {
  std::string kept;
  return ado::ValueOf(LoadValueOf(value, [&](std::string_view text) {
    kept = text;
    return std::string_view(kept);
  }));
}

std::shared_ptr<ado::Connection> ActiveConnectionOf(const Value& value,
                                                    ScriptDatabases& databases) {
  if (!value.Is(script::Kind::Object)) return databases.Open(script::ToText(value));
  if (auto* const object = dynamic_cast<AdoConnectionObject*>(value.AsObject()))
    return object->Opened();
  throw script::TypeMismatch("ActiveConnection");
}

std::unique_ptr<ado::Recordset> RunAdoStatement(ado::Connection& connection,
                                                const std::string& sql) {
  if (IsQuery(sql)) return connection.OpenRecordset(sql, {});
  connection.Execute(sql);
  return nullptr;
}

Value NewAdoRecordset(const std::shared_ptr<ScriptDatabases>& databases,
                      std::shared_ptr<ado::Connection> connection,
                      std::unique_ptr<ado::Recordset> rows) {
  auto open = std::make_shared<OpenRows>();
  open->Take(std::move(connection), std::move(rows));
  return script::NewObject<AdoRecordset>(databases, std::move(open));
}

Value NewAdoConnection(const std::shared_ptr<ScriptDatabases>& databases) {
  return script::NewObject<AdoConnection>(databases);
}

}  // namespace torvik::engine
