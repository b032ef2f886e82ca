#include "editing/archive_check.h"

#include <QFileInfo>

#include "boundary/child_work.h"
#include "base/paths.h"
#include "base/text_encoding.h"
#include "mpq/mpq_library.h"

namespace {

// None when the archive opens; Malformed when it opens only as a protected
// map does; NotAnArchive, or Damaged when the engine's child died or
// stalled opening it.
Refusal OpenInChild(const QString &path)
{
    CollectingPorts quiet;
    NoEvents events;
    const std::optional<QByteArray> opened = RunForResult(
        [&](ChildPorts &) {
            const mpq::Archive archive = mpq::SFileOpenArchive(PathBytes(path).toStdString());
            if (!archive) return QByteArray("0");
            return QByteArray(mpq::SFileGetFileInfo(archive.get(), mpq::SFILE_INFO_MALFORMED) == 1 ? "m" : "1");
        },
        quiet, nullptr, events, ArchiveLimits(path));
    if (!opened) return Refusal::Damaged;
    return *opened == "1" ? Refusal::None : *opened == "m" ? Refusal::Malformed : Refusal::NotAnArchive;
}

}  // namespace

Refusal CheckPath(const QString &path)
{
    if (!QFileInfo::exists(path)) return Refusal::Missing;
    return IsDirectory(path) ? Refusal::WrongKind : Refusal::None;
}

Refusal CheckArchiveToChange(const QString &path)
{
    if (IsFile(path) && QFileInfo(path).size() == 0) return Refusal::EmptyFile;
    return CheckPath(path);
}

Refusal WhyNotRead(RecordsRead read)
{
    switch (read) {
    case RecordsRead::NoArchive: return Refusal::NotAnArchive;
    case RecordsRead::Damaged: return Refusal::Damaged;
    case RecordsRead::Stopped: return Refusal::ArchiveNotWritten;  // nothing was read
    case RecordsRead::Listed:
    case RecordsRead::Malformed:
    case RecordsRead::Empty: break;
    }
    return Refusal::None;
}

bool HasContent(const QString &path)
{
    return IsFile(path) && QFileInfo(path).size() > 0;
}

Refusal WhyUpdateNotOpened(const QString &path, bool hadContent)
{
    if (!hadContent) return Refusal::NotCreatable;
    const Refusal opened = OpenInChild(path);
    return opened == Refusal::None ? Refusal::NotWritable : opened;
}

QList<bool> AreStored(const QString &archivePath, const QList<QByteArray> &names)
{
    QList<bool> stored(names.size(), false);
    const mpq::Archive reading = mpq::SFileOpenArchive(PathBytes(archivePath).toStdString());
    if (!reading) return stored;
    for (qsizetype n = 0; n < names.size(); ++n)
        stored[n] = static_cast<bool>(mpq::SFileOpenFileEx(reading.get(), names[n].toStdString()));
    return stored;
}
