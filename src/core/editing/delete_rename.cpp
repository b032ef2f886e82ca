#include "editing/delete_rename.h"

#include <QDataStream>

#include "boundary/child_work.h"
#include "config/catalogue.h"
#include "editing/archive_check.h"
#include "editing/archive_update.h"
#include "listing/locale_tags.h"
#include "mpq/mpq_library.h"
#include "base/text_encoding.h"

namespace {

DeleteReport DeleteHere(const QString &archivePath, const QList<QByteArray> &names, qint32 defaultMaxFiles,
                        StatusPanel &status)
{
    DeleteReport report;
    mpq::Update update = OpenArchiveForUpdate(archivePath, defaultMaxFiles, report.archive);
    if (!update) {
        status.SetStatusText(UnchangedArchiveText(report.archive, archivePath));
        return report;
    }
    QList<QByteArray> notDeleted;
    for (const QByteArray &name : names) {
        // Announced once gone, so that a name the archive does not store is
        // never said to be deleted.
        if (mpq::MpqDeleteFile(update.get(), name.toStdString())) {
            status.SetStatusText(ReplaceValue(Texts().StatusBarDelete, DecodeBytes(name)));
            ++report.deleted;
        } else {
            notDeleted.append(name);
        }
    }
    const bool written = update.Close();
    if (!written) {
        report.archive = Refusal::ArchiveNotWritten;
        report.deleted = 0;
        notDeleted = names;
    }
    // Whether a refused name is stored at all, asked of the archive as it is now.
    const QList<bool> stored = AreStored(archivePath, notDeleted);
    for (qsizetype n = 0; n < notDeleted.size(); ++n)
        report.refused.append({notDeleted[n], !stored[n] ? Refusal::NotStored
                                              : written  ? Refusal::EngineRefused
                                                         : Refusal::ArchiveNotWritten});
    status.SetStatusText(written ? Texts().StatusBarReady : UnchangedArchiveText(report.archive, archivePath));
    return report;
}

Refusal RenameHere(const QString &archivePath, const QByteArray &oldName, const QByteArray &newName,
                  qint32 defaultMaxFiles)
{
    Refusal why = Refusal::None;
    mpq::Update update = OpenArchiveForUpdate(archivePath, defaultMaxFiles, why);
    if (!update) return why;
    if (mpq::SFileOpenFileEx(update.get(), newName.toStdString())) return Refusal::NameInUse;
    // A variant keeps its locale: the new name's variant form only checks that none of that locale is in the way.
    const bool renamed = mpq::MpqRenameFile(update.get(), oldName.toStdString(), BareName(newName).toStdString());
    if (!update.Close()) return Refusal::ArchiveNotWritten;
    if (renamed) return Refusal::None;
    return AreStored(archivePath, {oldName}).first() ? Refusal::EngineRefused : Refusal::NotStored;
}

}  // namespace

// A report through a stream: how it comes back from the child.
QDataStream &operator<<(QDataStream &out, const DeleteReport &report)
{
    return out << report.archive << report.deleted << report.refused;
}

QDataStream &operator>>(QDataStream &in, DeleteReport &report)
{
    return in >> report.archive >> report.deleted >> report.refused;
}

// Both work in a child process: an archive that takes the engine down is
// left as it was, and the change is refused as damaged.
DeleteReport DeleteStoredFiles(const QString &archivePath, const QList<QByteArray> &names, qint32 defaultMaxFiles,
                               StatusPanel &status)
{
    NoEvents events;
    return UpdateInChild<DeleteReport>(archivePath, names, status, events, [&](ChildPorts &ports) {
        return DeleteHere(archivePath, names, defaultMaxFiles, ports);
    });
}

Refusal RenameStoredFile(const QString &archivePath, const QByteArray &oldName, const QByteArray &newName,
                         qint32 defaultMaxFiles)
{
    NoEvents events;
    CollectingPorts quiet;
    const std::optional<QByteArray> result = RunForResult(
        [&](ChildPorts &) { return QByteArray(1, static_cast<char>(RenameHere(archivePath, oldName, newName, defaultMaxFiles))); },
        quiet, nullptr, events, UpdateLimits(archivePath));
    if (result && result->size() == 1) return static_cast<Refusal>(result->front());
    UndoFailedUpdate(archivePath);
    return Refusal::Damaged;
}
