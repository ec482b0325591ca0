#include "platform/linux/postgres/PgErrors.h"

#include <cstdlib>

#include "platform/linux/text/ErrorText.h"

namespace torvik {
namespace {

std::string Part(const PGresult* result, int field) {
  const char* text = PQresultErrorField(result, field);
  return text == nullptr ? "" : text;
}

bool IsOneOf(std::string_view text, std::initializer_list<std::string_view> others) {
  for (const std::string_view other : others)
    if (text == other) return true;
  return false;
}

}  // namespace

bool PgError::IsTransient() const {
  // Lost connections, rollbacks by the server, lack of resources, interventions but for a cancel,
  // which somebody has meant, a lock not got.
  if (state == "57014") return false;
  return IsOneOf(state.substr(0, 2), {"08", "40", "53", "57"}) || state == "55P03";
}

bool PgError::IsOfARow() const {
  // Values, constraints, checks of views, exceptions of triggers, a value of another type.
  return IsOneOf(state.substr(0, 2), {"22", "23", "44", "P0"}) || state == "42804";
}

PgError ErrorOfResult(const PGresult* result) {
  PgError error;
  error.state = Part(result, PG_DIAG_SQLSTATE);
  error.context = Part(result, PG_DIAG_CONTEXT);
  error.position = std::atoi(Part(result, PG_DIAG_STATEMENT_POSITION).c_str());
  std::string text = Part(result, PG_DIAG_MESSAGE_PRIMARY);
  if (text.empty()) text = PQresultErrorMessage(result);
  for (const int field : {PG_DIAG_MESSAGE_DETAIL, PG_DIAG_MESSAGE_HINT})
    if (const std::string more = Part(result, field); !more.empty()) text += "; " + more;
  error.text = OneLine(text);
  if (!error.state.empty()) error.text += " (SQLSTATE " + error.state + ")";
  return error;
}

}  // namespace torvik
