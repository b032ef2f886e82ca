// Opening an archive for a change: the one way add, delete and rename reach
// the engine's update calls.
#pragma once

#include <QDataStream>

#include <functional>
#include <optional>

#include <QString>

#include "base/refusal.h"
#include "boundary/child_work.h"
#include "mpq/mpq_isolation.h"
#include "mpq/mpq_library.h"

// Opens the archive at `archivePath` for update, keeping its internal list
// current: as an existing archive first, otherwise made new where the file
// is empty or absent, with room for `defaultMaxFiles` files (held to
// 1..999999, what the settings dialog takes: larger tables break the
// engine). A file of any other content is never written over. Empty when
// both fail, with `why` telling the reason (NotCreatable, NotWritable or
// NotAnArchive); else `why` is None. The update is written at its Close().
// An archive made here is in `format` (1 to 4; see CreateArchive).
mpq::Update OpenArchiveForUpdate(const QString &archivePath, qint32 defaultMaxFiles, Refusal &why, int format = 1);

// What the status bar says when a change left the archive at `archivePath`
// as it was for `why` (not None): it could not be written at the end, it
// cannot be opened for a change, or it does not open as an archive.
QString UnchangedArchiveText(Refusal why, const QString &archivePath);

// How long an update in a child may go without a word: the engine tells of
// each piece of a file it writes, but writes its tables at the close with
// none.
// The child writes only where the archive's folders are (ArchiveLimits).
mpq::ChildLimits UpdateLimits(const QString &archivePath);
// After an update whose child the engine took down: the journal puts the
// archive back as it was, now rather than at its next open.
void UndoFailedUpdate(const QString &archivePath);

// Runs an update (`here`, which makes its report) in a child process and
// brings its report back through `Report`'s stream operators. When the
// engine failed there, the archive is put back as it was, every name of
// `names` is refused as Damaged, and the status says so.
template <typename Report, typename Name>
Report UpdateInChild(const QString &archivePath, const QList<Name> &names, StatusPanel &status, EventQueue &events,
                     const std::function<Report(ChildPorts &)> &here)
{
    const std::optional<QByteArray> result = RunForResult(
        [&](ChildPorts &ports) {
            QByteArray bytes;
            QDataStream out(&bytes, QIODevice::WriteOnly);
            out << here(ports);
            return bytes;
        },
        status, nullptr, events, UpdateLimits(archivePath));
    Report report;
    if (result) {
        QDataStream in(*result);
        in >> report;
        return report;
    }
    UndoFailedUpdate(archivePath);
    report.archive = Refusal::Damaged;
    for (const Name &name : names) report.refused.append({name, Refusal::Damaged});
    status.SetStatusText(UnchangedArchiveText(Refusal::Damaged, archivePath));
    return report;
}

// What the status bar says when a delete or rename left the stored file
// `storedName` (a stored name's bytes) as it was for `why`: the archive does
// not store it, or keeps it for itself (NotStored, EngineRefused).
QString UnchangedFileText(Refusal why, const QByteArray &storedName);

// Whether a change could be written at `archivePath`: the file, when there is
// one, and its folder are writable, on a file system mounted for writing
// (what holds root back too). Asked before anything is tried.
bool ArchiveWritable(const QString &archivePath);

// Makes an archive with no files at `archivePath`, in format 1 (what
// StarCraft, Diablo II and WarCraft III read), 2 (archives over 4 GiB, from
// The Burning Crusade on), 3 (HET and BET tables, World of Warcraft's
// Cataclysm beta) or 4 (World of Warcraft from Cataclysm on, StarCraft II), with room for
// `maxFiles` files (held as above). Only an absent or empty file is made an
// archive: NameInUse for a file with content, which is left as it is,
// NotCreatable when none can be made there, else None.
Refusal CreateArchive(const QString &archivePath, int format, qint32 maxFiles);
