#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Ado.h"
#include "script/Object.h"
#include "script/Value.h"

/// What the database objects of scripts share.
namespace torvik::engine {

class ScriptDatabases;

inline constexpr const char* kAdoConnectionClass = "ADODB.Connection";
inline constexpr const char* kAdoRecordsetClass = "ADODB.Recordset";
inline constexpr const char* kAdoCommandClass = "ADODB.Command";

/// A connection object of a script.
class AdoConnectionObject : public script::Object {
 public:
  /// Throws when it is closed.
  virtual std::shared_ptr<ado::Connection> Opened() const = 0;
};

/// What an ActiveConnection stands for: a connection object's database, or one that is opened by
/// the text that it is.
std::shared_ptr<ado::Connection> ActiveConnectionOf(const script::Value& value,
                                                    ScriptDatabases& databases);

/// A recordset that stands on the first of `rows`; a closed one without them.
script::Value NewAdoRecordset(const std::shared_ptr<ScriptDatabases>& databases,
                              std::shared_ptr<ado::Connection> connection,
                              std::unique_ptr<ado::Recordset> rows);

/// Runs a statement; only what begins like a query gives rows.
std::unique_ptr<ado::Recordset> RunAdoStatement(ado::Connection& connection,
                                                const std::string& sql);

/// Rows that are held in memory, to be read.
std::unique_ptr<ado::Recordset> NewHeldRows(ado::StatementResult result);

script::Value NewAdoConnection(const std::shared_ptr<ScriptDatabases>& databases);
script::Value NewAdoCommand(const std::shared_ptr<ScriptDatabases>& databases);

/// A script's value for a database. Throws Type mismatch for an object or an array.
ado::Value AdoValueOf(const script::Value& value);

/// Whether an argument is there.
bool IsGiven(std::span<const script::Value> arguments, std::size_t position);

}  // namespace torvik::engine
