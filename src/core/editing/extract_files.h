// The one road by which stored files leave an archive.
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

#include "listing/reporting.h"

// What an extraction did, for faces that report it.
struct ExtractReport {
    int extracted = 0;
    QList<QByteArray> missing;   // names the archive could not open or read whole: nothing written
    QList<QByteArray> refused;   // names that would land outside the folder
    QList<QByteArray> linked;    // names whose place below the folder holds a link, as one of its
                                 // folders or as the file itself: nothing written through it
    bool diskFailure = false;    // a folder or file could not be made: the batch ended there
    QString failedPath;          // the disk path that failed
};

// Writes each stored name of `names` below `folder`, recreating the folder
// part of the name ("\" between levels) from the top down. A file is read
// whole and written whole, replacing a file of the same name. A name the
// archive cannot open or read is skipped; a name that would climb out of the
// folder ("..", absolute) is refused and skipped. Below `folder` no link is
// ever followed: a name whose folder level or file is a link on disk is
// skipped and reported in `linked`, and the link and what it points to stay
// as they were (`folder` itself may be reached through links). A failure of
// the disk ends the batch, and what was written before it stays. Per name the status text
// "Estrazione file %v" with the stored name and a turn of `events`; at the
// end "Pronto" unless the disk failed.
// An empty `folder` does nothing.
ExtractReport ExtractFiles(const QString &archivePath, const QList<QByteArray> &names, const QString &folder,
                           StatusPanel &status, EventQueue &events);
