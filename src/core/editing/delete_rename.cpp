#include "editing/delete_rename.h"

#include "config/catalogue.h"
#include "editing/archive_update.h"
#include "mpq/mpq_library.h"
#include "listing/text_encoding.h"

DeleteReport DeleteStoredFiles(const QString &archivePath, const QList<QByteArray> &names, qint32 defaultMaxFiles,
                               StatusPanel &status)
{
    DeleteReport report;
    mpq::Update update = OpenArchiveForUpdate(archivePath, defaultMaxFiles);
    if (!update) return report;
    report.opened = true;
    for (const QByteArray &name : names) {
        status.SetStatusText(ReplaceValue(Texts().StatusBarDelete, DecodeBytes(name)));
        if (mpq::MpqDeleteFile(update.get(), name.toStdString()))
            ++report.deleted;
        else
            report.notDeleted.append(name);
    }
    if (!update.Close()) {
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
    mpq::Update update = OpenArchiveForUpdate(archivePath, defaultMaxFiles);
    if (!update) return RenameResult::NotOpened;
    if (mpq::SFileOpenFileEx(update.get(), newName.toStdString())) return RenameResult::NameInUse;
    const bool renamed = mpq::MpqRenameFile(update.get(), oldName.toStdString(), newName.toStdString());
    if (!update.Close()) return RenameResult::NotWritten;
    return renamed ? RenameResult::Renamed : RenameResult::Refused;
}
