#include "editing/delete_rename.h"

#include "config/catalogue.h"
#include "editing/archive_update.h"
#include "mpq/mpq_library.h"
#include "listing/text_encoding.h"

DeleteReport DeleteStoredFiles(const QString &archivePath, const QList<QByteArray> &names, qint32 defaultMaxFiles,
                               StatusPanel &status)
{
    DeleteReport report;
    mpq::MpqHandle update = OpenArchiveForUpdate(archivePath, defaultMaxFiles);
    if (update == nullptr) return report;
    report.opened = true;
    for (const QByteArray &name : names) {
        status.SetStatusText(ReplaceValue(Texts().StatusBarDelete, DecodeBytes(name)));
        if (mpq::MpqDeleteFile(update, name.toStdString()))
            ++report.deleted;
        else
            report.notDeleted.append(name);
    }
    if (!mpq::MpqCloseUpdatedArchive(update, 0)) {
        report.written = false;
        report.deleted = 0;
        report.notDeleted = names;
        status.SetStatusText(Texts().StatusBarNotWritten);
        return report;
    }
    status.SetStatusText(Texts().StatusBarReady);
    return report;
}

RenameResult RenameStoredFile(const QString &archivePath, const QByteArray &oldName, const QByteArray &newName,
                              qint32 defaultMaxFiles)
{
    mpq::MpqHandle update = OpenArchiveForUpdate(archivePath, defaultMaxFiles);
    if (update == nullptr) return RenameResult::NotOpened;
    mpq::MpqHandle existing = nullptr;
    if (mpq::SFileOpenFileEx(update, newName.toStdString(), 0, &existing)) {
        mpq::SFileCloseFile(existing);
        mpq::MpqCloseUpdatedArchive(update, 0);
        return RenameResult::NameInUse;
    }
    const bool renamed = mpq::MpqRenameFile(update, oldName.toStdString(), newName.toStdString());
    if (!mpq::MpqCloseUpdatedArchive(update, 0)) return RenameResult::NotWritten;
    return renamed ? RenameResult::Renamed : RenameResult::Refused;
}
