// The state of the main window: which archive it shows, and what lasts
// between commands.
#pragma once

#include <QString>
#include <QStringList>

struct ArchiveSession {
    QString FileName;                  // full path of the archive; empty when none is open
    qint64 TotalSize = 0;              // sum of the sizes of the listed files
    QString FindText;                  // last text searched for
    QStringList RecentFiles{4};        // recent paths, newest first; empty when unused
    bool ExplorerStyle = false;        // the folder tree is shown beside the list
    QString TempPath;                  // scratch folder
};

// Puts `path` at the top of the four recent entries: a path already listed
// (case matters) moves up, the oldest falls out.
void AddRecent(QStringList &recentFiles, const QString &path);
