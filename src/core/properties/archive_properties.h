// What the properties of the open archive show: its file as it stands on
// disk now, the entry count of its header, and the totals of the last
// listing.
#pragma once

#include <QDateTime>
#include <QString>

#include <optional>

#include "preview/map_details.h"

// A WarCraft III map's own header, the 512 bytes before its archive:
// "HM3W", four unused bytes, the map's name closed by a zero, its flags
// (32 bits), the most players it takes (32 bits).
struct MapHeader {
    QString name;
    quint32 flags = 0;
    friend bool operator==(const MapHeader &, const MapHeader &) = default;
};

// The signature an archive carries.
enum class ArchiveSignature { None, Weak, Strong };

// The archive's layout as the engine reads it.
struct ArchiveDetails {
    int formatVersion = 0;      // 1 to 4
    qint64 headerOffset = 0;    // where its header stands in the file
    quint32 sectorSize = 0;     // in bytes
    quint32 hashTableSize = 0;  // hash slots
    quint32 usedSlots = 0;      // slots that point at a stored file
    quint32 blockTableSize = 0; // entries of the block table
    ArchiveSignature signature = ArchiveSignature::None;
};

struct ArchiveProperties {
    QString folder;         // the archive's folder with its closing "/"
    QString name;           // the file's name
    bool onDisk = false;    // false when the file has gone: no length, no date
    qint64 size = 0;        // the whole file's length, an executable part included
    QDateTime lastChange;
    qint64 unpacked = 0;    // the sum of the listed sizes
    qint64 headerCount = 0; // the entry count the archive's header gives
    qint64 rowsShown = 0;   // the rows the list holds now
    std::optional<ArchiveDetails> details;  // none when the engine opens no archive there
    std::optional<MapHeader> mapHeader;     // when the file begins with one
    std::optional<MapDetails> mapDetails;   // when it stores a war3map.w3i that reads
};

// Reads the file's length, date, header count, layout, map header and map
// details (of a WarCraft III map) when
// asked, from the file as it then stands; `unpacked` and `rowsShown` come
// from the listing.
ArchiveProperties ReadArchiveProperties(const QString &fileName, qint64 unpacked, qint64 rowsShown);

// The map header the file at `path` begins with; none when it begins
// otherwise, cannot be read, or ends before the flags.
std::optional<MapHeader> ReadMapHeader(const QString &path);

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
