#include "ui/qt/RecentJobs.h"

#include <QSettings>

namespace torvik {
namespace {

constexpr const char* kRecent = "recentJobFiles";
constexpr qsizetype kMostRecent = 8;

}  // namespace

QStringList RecentJobs() {
  return QSettings().value(kRecent).toStringList();
}

void AddRecentJob(const QString& fullPath) {
  QStringList files = RecentJobs();
  files.removeAll(fullPath);
  files.prepend(fullPath);
  QSettings().setValue(kRecent, files.mid(0, kMostRecent));
}

}  // namespace torvik
