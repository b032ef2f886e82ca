#include "editing/delete_rename.h"

#include "config/catalogue.h"
#include "editing/archive_check.h"
#include "editing/archive_update.h"
#include "mpq/mpq_library.h"
#include "listing/text_encoding.h"

DeleteReport DeleteStoredFiles(const QString &archivePath, const QList<QByteArray> &names, qint32 defaultMaxFiles,
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
        status.SetStatusText(ReplaceValue(Texts().StatusBarDelete, DecodeBytes(name)));
        if (mpq::MpqDeleteFile(update.get(), name.toStdString()))
            ++report.deleted;
        else
            notDeleted.append(name);
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

Refusal RenameStoredFile(const QString &archivePath, const QByteArray &oldName, const QByteArray &newName,
                         qint32 defaultMaxFiles)
{
    Refusal why = Refusal::None;
    mpq::Update update = OpenArchiveForUpdate(archivePath, defaultMaxFiles, why);
    if (!update) return why;
    if (mpq::SFileOpenFileEx(update.get(), newName.toStdString())) return Refusal::NameInUse;
    const bool renamed = mpq::MpqRenameFile(update.get(), oldName.toStdString(), newName.toStdString());
    if (!update.Close()) return Refusal::ArchiveNotWritten;
    if (renamed) return Refusal::None;
    return AreStored(archivePath, {oldName}).first() ? Refusal::EngineRefused : Refusal::NotStored;
}
