// The one road by which stored files leave an archive.
#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>

#include "base/refusal.h"
#include "listing/reporting.h"

// What an extraction did, for faces that report it.
struct ExtractReport {
    int extracted = 0;
    // In the order of the names: NotRead (the archive could not open or read
    // it whole), OutsideFolder (it would land outside the folder), Linked (its
    // place below the folder holds a link, as one of its folders or as the
    // file itself: nothing was written through it); nothing was written for
    // them. Last, DiskFailure: a folder or file could not be made, and the
    // batch ended there.
    QList<Refused<QByteArray>> refused;
    QString failedPath;  // with DiskFailure: the disk path that failed
    // The user stopped the batch: what was written before stays, the rest
    // was not tried.
    bool cancelled = false;
    // NotAnArchive when the archive did not open (every name is then
    // NotRead), Damaged when opening it took the engine down (every name is
    // then Damaged); None when it opened.
    Refusal archive = Refusal::None;
};

// Writes each stored name of `names` below `folder`, recreating the folder
// part of the name ("\" between levels) from the top down. A file is read
// whole and written whole, replacing a file of the same name. A name the
// archive cannot open or read is skipped; a name that would climb out of the
// folder ("..", absolute) is refused and skipped. Below `folder` no link is
// ever followed: a name whose folder level or file is a link on disk is
// skipped and reported as Linked, and the link and what it points to stay
// as they were (`folder` itself may be reached through links). A failure of
// the disk ends the batch, and what was written before it stays. Per name the status text
// "Estrazione file %v" with the stored name and a turn of `events`; at the
// end "Pronto" unless the disk failed.
// An empty `folder` does nothing.
ExtractReport ExtractFiles(const QString &archivePath, const QList<QByteArray> &names, const QString &folder,
                           StatusPanel &status, EventQueue &events);

// The same, each stored name of `names` written to the path at its place in
// `paths` (one for each name) instead of to its own: a path relative to
// `folder`, "\" or "/" between its levels, held to the rules the names are
// (one that climbs out is refused as OutsideFolder). The report and the
// status texts still name the stored names.
ExtractReport ExtractFilesTo(const QString &archivePath, const QList<QByteArray> &names, const QStringList &paths,
                             const QString &folder, StatusPanel &status, EventQueue &events);
