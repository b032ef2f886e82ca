// What the properties of the open archive show: its file as it stands on
// disk now, the entry count of its header, and the totals of the last
// listing.
#pragma once

#include <QDateTime>
#include <QString>

#include <optional>

struct ArchiveProperties {
    QString folder;         // the archive's folder with its closing "/"
    QString name;           // the file's name
    bool onDisk = false;    // false when the file has gone: no length, no date
    qint64 size = 0;        // the whole file's length, an executable part included
    QDateTime lastChange;
    qint64 unpacked = 0;    // the sum of the listed sizes
    qint64 headerCount = 0; // the entry count the archive's header gives
    qint64 rowsShown = 0;   // the rows the list holds now
};

// Reads the file's length, date and header count when asked, from the file
// as it then stands; `unpacked` and `rowsShown` come from the listing.
ArchiveProperties ReadArchiveProperties(const QString &fileName, qint64 unpacked, qint64 rowsShown);

// The saving of the whole file against the unpacked sizes, 1 - size /
// unpacked: none when nothing was listed or the file has gone. An archive of
// small stored files saves less than nothing.
std::optional<double> ArchiveSaving(const ArchiveProperties &properties);

// A date and time as the user's locale writes them in full: the short date
// and the time with seconds.
QString FormatGeneralDate(const QDateTime &when);

// The height of the saved part of a bar `barHeight` high: the share of it,
// or nothing for a share of 0 or less.
float SavingHeight(double share, float barHeight);
