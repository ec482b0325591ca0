#pragma once

class QTreeWidget;

namespace torvik {

/// Gives the rows of a table room to breathe, and numbers a distance from the texts right of them.
void SpaceRows(QTreeWidget& table);

/// Makes columns as wide as what they hold, from the first to the last but one.
void FitColumns(QTreeWidget& table);

}  // namespace torvik
