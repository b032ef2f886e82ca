// The main window's commands that take an archive to a folder with its
// manifest, and a folder back into an archive.
#include "shell/frm_main.h"

#include "config/catalogue.h"
#include "config/listing_setup.h"
#include "editing/archive_update.h"
#include "dialogs/dialogs.h"
#include "base/paths.h"
#include "base/text_encoding.h"
#include "shell/batch_progress.h"
#include "tools/folder_pack.h"

// Every stored file below a new or empty folder, with the manifest that
// packs them back.
void frmMain::mnuUnpack_Click()
{
    if (!session_.IsOpen()) return;
    const QString folder = BrowseForFolder(this, QString(), true);
    if (folder.isEmpty()) return;
    BatchProgress batch(this, *reports_);
    const FolderReport report = UnpackArchive(session_.FileName, folder, ListingOptionsOf(config_), batch, *reports_, batch);
    const MessageStrings &t = Texts();
    if (report.archive == Refusal::NameInUse) {
        reports_->SetStatusText(t.StatusBarReady);
        ShowMessageBox(this, ReplaceValue(t.MessageFolderNotEmpty, folder), QString(), MessageButton::OK,
                       MessageIcon::Exclamation, MessageButton::OK);
        return;
    }
    if (report.archive != Refusal::None) {
        reports_->SetStatusText(UnchangedArchiveText(report.archive, session_.FileName));
        return;
    }
    QStringList summary{ReplaceValue(t.StatusBarUnpacked, QString::number(report.files))};
    if (const qsizetype n = report.refused.size(); n > 0) summary.append(ReplaceValue(t.MessageExtractNotRead, QString::number(n)));
    if (!report.failedPath.isEmpty()) summary.append(ReplaceValue(t.MessageExtractStopped, report.failedPath));
    if (report.cancelled) summary.append(t.MessageCancelled);
    reports_->SetStatusText(t.StatusBarReady);
    ShowMessageBox(this, summary.join(QLatin1Char('\n')), QString(), MessageButton::OK,
                   summary.size() == 1 ? MessageIcon::Information : MessageIcon::Exclamation, MessageButton::OK);
}

// A folder (unpacked with its manifest, or a map kept as files) packed into
// an archive, which is then opened.
void frmMain::mnuPack_Click()
{
    const QString folder = BrowseForFolder(this, QString(), true);
    if (folder.isEmpty()) return;
    const QString archive = SaveFileDialog(this, kSaveFileTitle, Texts().FilterArchives);
    if (archive.isEmpty()) return;
    FolderReport report;
    {
        BatchProgress batch(this, *reports_);
        report = PackFolder(folder, archive, config_, batch, batch);
    }
    const MessageStrings &t = Texts();
    QString problem;
    if (report.problem.kind != FolderProblem::Fits) problem = FolderProblemText(report.problem);
    else if (report.archive == Refusal::ArchiveNotWritten) problem = ReplaceValue(t.MessagePackFailed, report.engineWhy);
    else if (report.archive != Refusal::None) problem = UnchangedArchiveText(report.archive, archive);
    if (!problem.isEmpty()) {
        reports_->SetStatusText(t.StatusBarReady);
        ShowMessageBox(this, problem, QString(), MessageButton::OK, MessageIcon::Exclamation, MessageButton::OK);
        return;
    }
    OpenArchive(archive);
    reports_->SetStatusText(ReplaceValue(t.StatusBarPacked, QString::number(report.files)));
}
