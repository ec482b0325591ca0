#pragma once

#include <QStringList>

namespace torvik {

/// The job files that the operator has worked with, the latest first.
QStringList RecentJobs();
/// The file comes first from now on.
void AddRecentJob(const QString& fullPath);

}  // namespace torvik
