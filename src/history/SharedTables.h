#pragma once

#include <span>
#include <string>
#include <vector>

#include "platform/Ado.h"
#include "platform/RunHistory.h"

/// How runs stand in the tables of a shared history: times are UTC in milliseconds, outcomes words.
namespace torvik {

struct SharedTable {
  const char* name;
  std::vector<ado::Column> columns;
};

SharedTable SharedRuns();
SharedTable SharedSteps();
SharedTable SharedFetches();
SharedTable SharedVariables();

/// What tells a run from all others: machine, number, begin.
std::string SharedKey(const RunRecord& run);

/// Rows of values, in the order of a table's columns.
using SharedRow = std::vector<ado::Value>;
SharedRow RowOfRun(const RunRecord& run);
std::vector<SharedRow> RowsOfSteps(const RunRecord& run);
std::vector<SharedRow> RowsOfFetches(const RunRecord& run);
std::vector<SharedRow> RowsOfVariables(const RunRecord& run);

/// The other way round, from a row that has all columns. Throws PlatformError for what is no time.
RunRecord RunOfRow(const ado::Recordset& row);
StepRecord StepOfRow(const ado::Recordset& row);
FetchRecord FetchOfRow(const ado::Recordset& row);

/// The job's name alone, without directory and ending, in small letters.
std::string SharedJobName(const std::string& job);

}  // namespace torvik
