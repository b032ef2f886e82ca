#include "editing/archive_check.h"

#include <QFileInfo>

#include "editing/helpers/paths.h"
#include "listing/text_encoding.h"
#include "mpq/mpq_library.h"

namespace {

bool OpensAsArchive(const QString &path)
{
    return static_cast<bool>(mpq::SFileOpenArchive(PathBytes(path).toStdString()));
}

}  // namespace

Refusal CheckPath(const QString &path)
{
    if (!QFileInfo::exists(path)) return Refusal::Missing;
    return IsDirectory(path) ? Refusal::WrongKind : Refusal::None;
}

Refusal CheckArchive(const QString &path, ArchiveUse use)
{
    if (use == ArchiveUse::Change && IsFile(path) && QFileInfo(path).size() == 0) return Refusal::EmptyFile;
    if (!QFileInfo::exists(path)) return Refusal::Missing;
    if (IsDirectory(path)) return Refusal::WrongKind;
    return OpensAsArchive(path) ? Refusal::None : Refusal::NotAnArchive;
}

mpq::Archive OpenArchiveToRead(const QString &path, Refusal &why)
{
    why = !QFileInfo::exists(path) ? Refusal::Missing : IsDirectory(path) ? Refusal::WrongKind : Refusal::None;
    if (why != Refusal::None) return nullptr;
    mpq::Archive archive = mpq::SFileOpenArchive(PathBytes(path).toStdString());
    if (!archive) why = Refusal::NotAnArchive;
    return archive;
}

bool HasContent(const QString &path)
{
    return IsFile(path) && QFileInfo(path).size() > 0;
}

Refusal WhyUpdateNotOpened(const QString &path, bool hadContent)
{
    if (!hadContent) return Refusal::NotCreatable;
    return OpensAsArchive(path) ? Refusal::NotWritable : Refusal::NotAnArchive;
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
