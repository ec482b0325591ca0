#include "platform/linux/postgres/PgNamedRead.h"

namespace torvik {

ado::LoadValue PgLoadValue(PgForm form, char* text, std::size_t size) {
  switch (form) {
    case PgForm::Boolean: return text[0] == 't' ? "1" : "0";
    case PgForm::ZonedMoment: size = LengthWithoutZone({text, size}); break;
    case PgForm::Bytes: size = DecodeBytes(text, size); break;
    case PgForm::Identifier:
      for (std::size_t i = 0; i < size; ++i)
        if (text[i] >= 'a' && text[i] <= 'z') text[i] = static_cast<char>(text[i] - 32);
      break;
    default: break;
  }
  return std::string_view(text, size);
}

void PgNamedRead::Describe(const PGresult* result) {
  for (int column = 0; column < PQnfields(result); ++column) {
    names_.emplace_back(PQfname(result, column));
    forms_.push_back(FormOf(PQftype(result, column)));
  }
}

void PgNamedRead::RequireWidth(std::size_t width) const {
  if (width != forms_.size())
    throw session_->Refusal("a row of the query has " + std::to_string(forms_.size()) +
                            " values, " + std::to_string(width) + " are asked for");
}

PlatformError PgNamedRead::HasNoRows() const {
  return session_->Refusal("the statement has no rows to read: it is no query");
}

}  // namespace torvik
