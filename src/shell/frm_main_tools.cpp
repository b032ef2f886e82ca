// The main window's Tools menu: the self-executing archive, the check of
// the archive, the embedder.
#include "shell/frm_main.h"

#include <QApplication>

#include "config/catalogue.h"
#include "config/listing_setup.h"
#include "dialogs/dialogs.h"
#include "editing/archive_update.h"
#include "shell/batch_progress.h"
#include "tools/frm_mpq_embedder.h"
#include "tools/self_executing.h"
#include "tools/verify_archive.h"

// The window waits for the tool, and takes no input meanwhile.
void frmMain::mnuMakeEXE_Click()
{
    if (session_.FileName.isEmpty()) return;
    QApplication::setOverrideCursor(Qt::WaitCursor);
    MakeSelfExecutable(session_.FileName, paths_.programFolder, session_.TempPath);
    QApplication::restoreOverrideCursor();
}

// Every listed file checked against the archive's checksums, and the
// signature; a report at the end. Changes nothing.
void frmMain::mnuVerify_Click()
{
    if (!session_.IsOpen()) return;
    BatchProgress batch(this, *reports_);
    batch.SetStatusText(Texts().StatusBarVerifying);
    const VerifyReport report = VerifyArchive(session_.FileName, ListingOptionsOf(config_), *reports_, *reports_, batch);
    if (report.archive != Refusal::None) {
        reports_->SetStatusText(UnchangedArchiveText(report.archive, session_.FileName));
        return;
    }
    constexpr qsizetype kShown = 20;  // a box of a reasonable height; the rest are counted
    const QStringList lines = VerifyReportLines(report, kShown);
    ShowMessageBox(this, lines.join(QLatin1Char('\n')), QString(), MessageButton::OK,
                   report.Sound() ? MessageIcon::Information : MessageIcon::Exclamation, MessageButton::OK);
}

// The embedder works on files alone, whether an archive is open or not.
void frmMain::mnuMPQEm_Click() { EmbedderDialog()->exec(); }

frmMPQEmbedder *frmMain::EmbedderDialog()
{
    if (!embedder_) embedder_ = new frmMPQEmbedder(this);
    return embedder_;
}
