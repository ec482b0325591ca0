// How a text file's columns get their names.

#include <cstdio>
#include <map>
#include <utility>

#include "engine/pump/text/TextSource.h"

namespace torvik::engine {
namespace {

std::string NumberedName(std::size_t column) {
  char name[32];
  std::snprintf(name, sizeof name, "Col%03zu", column + 1);
  return name;
}

}  // namespace

void TextSource::NameColumnsByHeader() {
  RowBatch header;
  const bool found = ReadRows(header, true);
  if (!header.BadRows().empty()) throw header.BadRows()[0].error;
  const std::string place = PlaceOfLine(found ? header.Origin(0).position : line_);
  if (!found || (header.Row(0).size() == 1 && header.Row(0)[0].IsNull()))
    throw RowError::MissingHeader({place});
  header_ += header.Origin(0).bytes;
  std::map<std::string, std::size_t> seen;
  for (const ado::LoadValue& name : header.Row(0)) {
    const std::size_t column = columns_.size();
    columns_.push_back(name.IsNull() ? NumberedName(column) : std::string(name.Text()));
    const auto [earlier, isNew] = seen.try_emplace(columns_.back(), column + 1);
    if (!isNew)
      throw RowError::DuplicateHeader({place, column + 1, columns_.back()}, earlier->second);
  }
}

/// The first row that can be read tells how many columns there are; rows before it are bad ones.
void TextSource::NameColumnsByFirstRow() {
  RowBatch first;
  if (!ReadRows(first, true)) return;
  if (first.RowCount() == 0) throw first.BadRows()[0].error;
  NameColumnsByNumber(first.Row(0).size());
  first_ = std::move(first);
}

void TextSource::NameColumnsByNumber(std::size_t count) {
  for (std::size_t column = 0; column < count; ++column) columns_.push_back(NumberedName(column));
}

}  // namespace torvik::engine
