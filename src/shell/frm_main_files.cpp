// The main window's commands that move files in and out of the archive,
// and the properties and tools.
#include "shell/frm_main.h"

#include <QApplication>

#include "config/catalogue.h"
#include "config/listing_setup.h"
#include "editing/add_files.h"
#include "editing/archive_check.h"
#include "editing/archive_update.h"
#include "editing/compact.h"
#include "editing/extract_files.h"
#include "dialogs/dialogs.h"
#include "base/file_walk.h"
#include "base/paths.h"
#include "listing/classic_listing.h"
#include "base/text_encoding.h"
#include "properties/archive_properties.h"
#include "properties/frm_info_file.h"
#include "properties/frm_info_mpq.h"
#include "shell/archive_list_model.h"
#include "shell/archive_list_view.h"
#include "shell/batch_progress.h"
#include "shell/write_back.h"
#include "tools/frm_mpq_embedder.h"
#include "tools/self_executing.h"
#include "tools/verify_archive.h"

// ---------------------------------------------------------------------------
// Files in and out

// After an add every row is new: the list, or tree and list, are made again.
void frmMain::ListAfterAdd(const AddReport &report)
{
    if (!report.opened()) {
        reports_->SetStatusText(UnchangedArchiveText(report.archive, session_.FileName));
        return;
    }
    if (session_.ExplorerStyle) {
        mnuRefresh_Click();
    } else {
        model_->Clear();
        BatchProgress listing(this, *reports_);
        session_.List(config_, Ports(&listing));
    }
    // The listing ends on "ready"; an archive that could not be written, or
    // files that did not go in (a full disk, a file gone), say so instead.
    if (!report.written())
        reports_->SetStatusText(UnchangedArchiveText(report.archive, session_.FileName));
    else if (const auto failed = RefusedFor(report.refused, Refusal::EngineRefused); !failed.isEmpty())
        reports_->SetStatusText(ReplaceValue(Texts().StatusBarNotAdded, QString::number(failed.size())));
}

AddReport frmMain::AddToArchive(const QStringList &names, const QString &folder, const QByteArray &prefix,
                               StatusPanel &status, EventQueue &events)
{
    const bool asked = !newArchivePath_.isEmpty() && newArchivePath_ == session_.FileName && !HasContent(newArchivePath_);
    AppConfig config = config_;
    if (asked) config.DefaultMaxFiles = newArchive_.maxFiles;
    const AddReport report =
        AddFiles(session_.FileName, names, folder, prefix, config, status, events, asked ? newArchive_.format : 1);
    if (HasContent(session_.FileName)) newArchivePath_.clear();
    return report;
}

void frmMain::mnuAdd_Click()
{
    const QString chosen = OpenFileDialog(this, kOpenFileTitle, kAllFilesFilter, QString(), true);
    if (chosen.isEmpty()) return;
    const QStringList parts = chosen.split(QChar(0));
    QString folder;
    QStringList names;
    if (parts.size() == 1) {
        const qsizetype slash = chosen.lastIndexOf(QLatin1Char('/'));
        folder = chosen.left(slash + 1);
        names.append(chosen.mid(slash + 1));
    } else {
        folder = parts.first();
        names = parts.mid(1);
    }
    BatchProgress batch(this, *reports_, int(names.size()));
    ListAfterAdd(AddToArchive(names, folder, QByteArray(), batch, batch));
}

void frmMain::mnuAddDir_Click()
{
    const QString folder = BrowseForFolder(this, QString(), true);
    if (folder.isEmpty()) return;
    QStringList paths = ScanFiles(folder, QStringLiteral("*"), kAttributeHidden | kAttributeSystem, true, QString(QChar(0)))
                            .split(QChar(0));
    paths.removeLast();  // the text ends in a separator
    if (paths.isEmpty()) return;
    const qsizetype cut = folder.endsWith(QLatin1Char('/')) ? folder.size() : folder.size() + 1;
    QStringList names;
    names.reserve(paths.size());
    for (const QString &path : std::as_const(paths)) names.append(path.mid(cut));
    BatchProgress batch(this, *reports_, int(names.size()));
    ListAfterAdd(AddToArchive(names, folder, QByteArray(), batch, batch));
}

void frmMain::mnuExtract_Click()
{
    if (!lwMPQ_->currentIndex().isValid()) return;
    const QString folder = BrowseForFolder(this, QString(), true);
    if (folder.isEmpty()) return;
    const QList<QByteArray> names = SelectedTags();
    BatchProgress batch(this, *reports_, int(names.size()));
    ExtractFiles(session_.FileName, names, folder, batch, batch);
}

// Every stored file below a chosen folder, with its folders, whatever the
// list shows; a summary at the end.
void frmMain::mnuExtractAll_Click()
{
    if (!session_.IsOpen()) return;
    const QString folder = BrowseForFolder(this, QString(), true);
    if (folder.isEmpty()) return;
    const QList<QByteArray> names = ListStoredNames(session_.FileName, ListingOptionsOf(config_));
    BatchProgress batch(this, *reports_, int(names.size()));
    const ExtractReport report = ExtractFiles(session_.FileName, names, folder, batch, batch);
    const MessageStrings &t = Texts();
    QStringList summary{ReplaceValue(t.MessageExtractedAll, QString::number(report.extracted))};
    const std::pair<Refusal, const QString *> reasons[] = {{Refusal::NotRead, &t.MessageExtractNotRead},
                                                           {Refusal::Damaged, &t.MessageExtractDamaged},
                                                           {Refusal::OutsideFolder, &t.MessageExtractOutside},
                                                           {Refusal::Linked, &t.MessageExtractLinked}};
    for (const auto &[why, text] : reasons)
        if (const qsizetype n = RefusedFor(report.refused, why).size(); n > 0)
            summary.append(ReplaceValue(*text, QString::number(n)));
    if (!report.failedPath.isEmpty()) summary.append(ReplaceValue(t.MessageExtractStopped, report.failedPath));
    if (report.cancelled) summary.append(t.MessageCancelled);
    ShowMessageBox(this, summary.join(QLatin1Char('\n')), QString(), MessageButton::OK,
                   report.refused.isEmpty() ? MessageIcon::Information : MessageIcon::Exclamation, MessageButton::OK);
}

void frmMain::WriteBack(const QString &copy)
{
    const WriteBackWatcher::Origin *origin = writeBack_->OriginOf(copy);
    if (!origin) return;
    const QString shown = DecodeBytes(origin->storedName);
    // Another archive, or this one changed by another command: a silent
    // write could undo that change.
    if (!session_.IsOpen() || session_.FileName != origin->archive || !writeBack_->ArchiveUnchanged(copy)) {
        ShowMessageBox(this, ReplaceValue(Texts().MessageWriteBackStale, shown), QString(), MessageButton::OK,
                       MessageIcon::Exclamation, MessageButton::OK);
        return;
    }
    if (ShowMessageBox(this, ReplaceValue(Texts().MessageWriteBack, shown), QString(),
                       MessageButton::Yes | MessageButton::No, MessageIcon::Question,
                       MessageButton::Yes) != MessageButton::Yes)
        return;
    const QByteArray folder = origin->storedName.left(origin->storedName.lastIndexOf('\\') + 1);
    const QFileInfo file(copy);
    ListAfterAdd(AddToArchive({file.fileName()}, file.absolutePath(), folder, *reports_, *reports_));
    writeBack_->Rebase(copy);
}

// ---------------------------------------------------------------------------
// Properties and tools

frmInfoFile *frmMain::InfoFileDialog()
{
    if (!infoFile_) infoFile_ = new frmInfoFile(this);
    return infoFile_;
}

frmInfoMPQ *frmMain::InfoMPQDialog()
{
    if (!infoMPQ_) infoMPQ_ = new frmInfoMPQ(this);
    return infoMPQ_;
}

frmMPQEmbedder *frmMain::EmbedderDialog()
{
    if (!embedder_) embedder_ = new frmMPQEmbedder(this);
    return embedder_;
}

// The archive rewritten without the room of deleted and replaced files, then
// listed anew.
void frmMain::mnuCompact_Click()
{
    if (!session_.IsOpen()) return;
    BatchProgress batch(this, *reports_);
    batch.SetStatusText(Texts().StatusBarCompacting);
    const CompactReport report = CompactArchive(session_.FileName, ListingOptionsOf(config_), *reports_, batch);
    if (report.cancelled) {
        reports_->SetStatusText(Texts().StatusBarReady);
        return;
    }
    if (report.archive == Refusal::Nameless) {
        reports_->SetStatusText(Texts().StatusBarReady);
        ShowMessageBox(this, ReplaceValue(Texts().MessageCompactNameless, QString::number(report.nameless.size())),
                       QString(), MessageButton::OK, MessageIcon::Exclamation, MessageButton::OK);
        return;
    }
    if (report.archive != Refusal::None) {
        reports_->SetStatusText(UnchangedArchiveText(report.archive, session_.FileName));
        return;
    }
    mnuRefresh_Click();
    reports_->SetStatusText(ReplaceValue(Texts().StatusBarCompacted, FormatLength(report.sizeBefore - report.sizeAfter)));
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
    const MessageStrings &t = Texts();
    QStringList lines{ReplaceValue(t.MessageVerifyChecked, QString::number(report.filesChecked)),
                      ReplaceValue(t.MessageVerifyFaulty, QString::number(report.faulty.size()))};
    const std::pair<FileFault, const QString *> kinds[] = {
        {FaultNotOpened, &t.FaultNotOpened}, {FaultNotRead, &t.FaultNotRead}, {FaultSectorChecksum, &t.FaultSectorChecksum},
        {FaultCrc32, &t.FaultCrc32},         {FaultMd5, &t.FaultMd5},         {FaultRawMd5, &t.FaultRawMd5},
        {FaultEngine, &t.FaultEngine}};
    constexpr qsizetype kShown = 20;  // a box of a reasonable height; the rest are counted
    for (const FaultyFile &file : report.faulty.mid(0, kShown)) {
        QStringList faults;
        for (const auto &[bit, text] : kinds)
            if (file.faults & bit) faults.append(*text);
        lines.append(DecodeBytes(file.name) + QStringLiteral(": ") + faults.join(QStringLiteral("; ")));
    }
    if (report.faulty.size() > kShown)
        lines.append(ReplaceValue(t.MessageVerifyMore, QString::number(report.faulty.size() - kShown)));
    const QString *signature[] = {&t.SignatureNone, &t.SignatureWeak, &t.SignatureStrong, &t.SignatureMismatch};
    lines.append(report.filesLeft > 0 ? ReplaceValue(t.MessageVerifyStopped, QString::number(report.filesLeft))
                                      : *signature[static_cast<int>(report.signature)]);
    ShowMessageBox(this, lines.join(QLatin1Char('\n')), QString(), MessageButton::OK,
                   report.Sound() ? MessageIcon::Information : MessageIcon::Exclamation, MessageButton::OK);
}

// The embedder works on files alone, whether an archive is open or not.
void frmMain::mnuMPQEm_Click() { EmbedderDialog()->exec(); }

void frmMain::mnuPopupInfoFile_Click()
{
    const int row = CurrentRow();
    if (row < 0) return;
    InfoFileDialog()->ShowRow(model_->Row(row));
    infoFile_->exec();
}

void frmMain::ShowArchiveProperties()
{
    InfoMPQDialog()->ShowArchive(ReadArchiveProperties(session_.FileName, session_.TotalSize, model_->rowCount()));
    infoMPQ_->exec();
}

// The window waits for the tool, and takes no input meanwhile.
void frmMain::mnuMakeEXE_Click()
{
    if (session_.FileName.isEmpty()) return;
    QApplication::setOverrideCursor(Qt::WaitCursor);
    MakeSelfExecutable(session_.FileName, paths_.programFolder, session_.TempPath);
    QApplication::restoreOverrideCursor();
}
