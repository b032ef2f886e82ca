// The main window's Action menu: files in and out, rename and delete,
// compact, unpack and pack; and the popups' new folder and the properties
// of a file and of the archive.
#include "shell/frm_main.h"

#include "config/catalogue.h"
#include "config/listing_setup.h"
#include "editing/add_files.h"
#include "editing/archive_check.h"
#include "editing/archive_update.h"
#include "editing/compact.h"
#include "editing/delete_rename.h"
#include "editing/drag_drop.h"
#include "editing/extract_files.h"
#include "dialogs/dialogs.h"
#include "base/file_walk.h"
#include "base/paths.h"
#include "listing/classic_listing.h"
#include "listing/explorer_listing.h"
#include "listing/locale_tags.h"
#include "base/text_encoding.h"
#include "properties/archive_properties.h"
#include "properties/frm_info_file.h"
#include "properties/frm_info_mpq.h"
#include "shell/archive_list_model.h"
#include "shell/archive_list_view.h"
#include "shell/batch_progress.h"
#include "shell/folder_tree_widget.h"
#include "tools/folder_pack.h"

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
    const QStringList pieces = chosen.split(QChar(0));
    QString folder;
    QStringList names;
    if (pieces.size() == 1) {
        const qsizetype slash = chosen.lastIndexOf(QLatin1Char('/'));
        folder = chosen.left(slash + 1);
        names.append(chosen.mid(slash + 1));
    } else {
        folder = pieces.first();
        names = pieces.mid(1);
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

void frmMain::AddDroppedFiles(const DropBatch &batch)
{
    QByteArray prefix;
    if (session_.ExplorerStyle) {
        QTreeWidgetItem *node = tvMPQ_->SelectedNode();
        const QString key = node ? FolderTreeWidget::Key(node) : QString();
        if (node && key != FolderTreeWidget::Key(tvMPQ_->topLevelItem(0))) prefix = EncodeText(key);
    }
    BatchProgress progress(this, *reports_, int(batch.names.size()));
    ListAfterAdd(AddToArchive(batch.names, batch.baseFolder, prefix, progress, progress));
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

// ---------------------------------------------------------------------------
// Rename, delete, new folder

void frmMain::mnuRename_Click()
{
    const QModelIndex current = lwMPQ_->currentIndex();
    if (!current.isValid()) return;
    const QModelIndex name = model_->index(current.row(), ListRow::Name);
    lwMPQ_->scrollTo(name);
    lwMPQ_->edit(name);
}

void frmMain::lwMPQ_AfterLabelEdit(bool &cancel, const QString &newString)
{
    const int row = CurrentRow();
    if (row < 0) {
        cancel = true;
        return;
    }
    const QString oldName = model_->Row(row).text();
    const QString question = QStringLiteral("Vuoi rinominare il file \"%1\" in \"%2\"?")
                                 .arg(MarkControls(oldName), MarkControls(newString));
    if (ShowMessageBox(this, question, QString(), MessageButton::Yes | MessageButton::No, MessageIcon::Question,
                       MessageButton::Yes) != MessageButton::Yes) {
        cancel = true;
        return;
    }
    // A locale variant is renamed within its locale.
    const QByteArray newTag = VariantName(EncodeText(newString), NameLocale(model_->Row(row).Tag));
    const Refusal why = RenameStoredFile(session_.FileName, model_->Row(row).Tag, newTag, config_.DefaultMaxFiles);
    switch (why) {
    default:  // the archive could not be opened for update, or not written at the end
        reports_->SetStatusText(UnchangedArchiveText(why, session_.FileName));
        cancel = true;
        return;
    case Refusal::NameInUse:
        ShowMessageBox(this, QStringLiteral("Impossibile rinominare il file! File gia esistente"), QString(),
                       MessageButton::OK, MessageIcon::Exclamation, MessageButton::OK);
        cancel = true;
        return;
    case Refusal::NotStored:
    case Refusal::EngineRefused:  // the row stays as the archive does
        reports_->SetStatusText(UnchangedFileText(why, model_->Row(row).Tag));
        cancel = true;
        return;
    case Refusal::None: break;
    }
    session_.Folders.Rename(model_->Row(row).Tag, newTag);
    model_->RenameRow(row, newTag);
}

void frmMain::mnuDelete_Click()
{
    if (CurrentRow() < 0) return;
    if (ShowMessageBox(this, Texts().MessageDelete, QString(), MessageButton::Yes | MessageButton::No,
                       MessageIcon::Question, MessageButton::No) != MessageButton::Yes)
        return;
    std::vector<int> rows = SelectedRows();
    QList<QByteArray> tags = SelectedTags();
    const int current = CurrentRow();
    const DeleteReport report = DeleteStoredFiles(session_.FileName, tags, config_.DefaultMaxFiles, *reports_);
    if (!report.written()) return;  // the rows stay as the archive does
    // A name the archive did not let go of keeps its row, and the status bar says why.
    if (!report.refused.isEmpty()) {
        const Refused<QByteArray> &first = report.refused.front();
        reports_->SetStatusText(UnchangedFileText(first.why, first.name));
        for (const Refused<QByteArray> &kept : report.refused) {
            const qsizetype at = tags.indexOf(kept.name);
            if (at < 0) continue;
            tags.removeAt(at);
            rows.erase(rows.begin() + at);
        }
    }
    if (rows.empty()) return;
    model_->RemoveRows(rows);
    session_.Folders.Remove(tags);
    // The current row is the one that now stands in its place.
    if (model_->rowCount() == 0) return;
    const auto above = std::lower_bound(rows.begin(), rows.end(), current) - rows.begin();
    const int place = std::min(current - static_cast<int>(above), model_->rowCount() - 1);
    lwMPQ_->selectionModel()->setCurrentIndex(model_->index(place, ListRow::Name), QItemSelectionModel::NoUpdate);
}

void frmMain::mnuPopupCreateDir_Click()
{
    const InputAnswer answer = ShowInputBox(this, Texts().MessageCreateDir, QString(), QString());
    if (answer.text.isEmpty()) return;
    QTreeWidgetItem *parent = tvMPQ_->SelectedNode();
    if (parent == nullptr) return;
    const QString parentKey = FolderTreeWidget::Key(parent);
    const bool isRoot = parentKey == FolderTreeWidget::Key(tvMPQ_->topLevelItem(0));
    const QString key = (isRoot ? QString() : parentKey) + UpperKey(answer.text) + QLatin1Char('\\');
    if (tvMPQ_->NodeExists(key)) return;
    tvMPQ_->AddFolderNode(isRoot ? QString() : parentKey, key, answer.text);
    // The node stands until the next listing; files dropped on it could not go in.
    if (!ArchiveWritable(session_.FileName)) reports_->SetStatusText(Texts().StatusBarNotWritable);
}

// ---------------------------------------------------------------------------
// Compact, unpack, pack

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

// ---------------------------------------------------------------------------
// Properties

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
