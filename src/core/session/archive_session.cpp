#include "session/archive_session.h"

void AddRecent(QStringList &recentFiles, const QString &path)
{
    while (recentFiles.size() < 4) recentFiles.append(QString());
    for (int i = 0; i < 4; ++i) {
        if (recentFiles[i] == path) {
            for (int j = i; j < 3; ++j) recentFiles[j] = recentFiles[j + 1];  // entry 4 keeps its text
        }
    }
    for (int i = 3; i > 0; --i) recentFiles[i] = recentFiles[i - 1];
    recentFiles[0] = path;
}
