#include "shell/frm_main.h"

#include <QAction>
#include <QCoreApplication>
#include <QDir>
#include <QHeaderView>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QMimeData>
#include <QMouseEvent>
#include <QProgressBar>
#include <QStatusBar>
#include <QToolBar>
#include <QUrl>

#include "config/catalogue.h"
#include "config/listing_setup.h"
#include "editing/add_files.h"
#include "editing/archive_update.h"
#include "editing/delete_rename.h"
#include "editing/drag_drop.h"
#include "editing/window_scratch.h"
#include "editing/extract_files.h"
#include "editing/find_pattern.h"
#include "dialogs/dialogs.h"
#include "base/paths.h"
#include "editing/helpers/shell_open.h"
#include "layout/twips.h"
#include "listing/explorer_listing.h"
#include "listing/locale_tags.h"
#include "base/text_encoding.h"
#include "pane/preview_pane_widget.h"
#include "shell/archive_list_model.h"
#include "shell/archive_list_view.h"
#include "shell/batch_progress.h"
#include "shell/folder_tree_widget.h"
#include "shell/write_back.h"

namespace {

// The least width of each column of the list, in twips.
constexpr int kColumnWidths[ListRow::ColumnCount] = {3000, 400, 1100, 1100, 800, 800};

// Mouse buttons and modifier keys as numbers: left 1, right 2, middle 4;
// shift 1, control 2, alt 4.
int ButtonValue(Qt::MouseButtons buttons)
{
    return (buttons & Qt::LeftButton ? 1 : 0) | (buttons & Qt::RightButton ? 2 : 0) |
           (buttons & Qt::MiddleButton ? 4 : 0);
}

int ShiftValue(Qt::KeyboardModifiers modifiers)
{
    return (modifiers & Qt::ShiftModifier ? 1 : 0) | (modifiers & Qt::ControlModifier ? 2 : 0) |
           (modifiers & Qt::AltModifier ? 4 : 0);
}

}  // namespace

frmMain::frmMain(StartupPaths paths, QWidget *parent) : QMainWindow(parent), paths_(std::move(paths))
{
    if (paths_.programFolder.isEmpty()) paths_.programFolder = QCoreApplication::applicationDirPath();
    if (paths_.launchFolder.isEmpty()) paths_.launchFolder = QDir::currentPath();
    setObjectName(QStringLiteral("frmMain"));
    setWindowTitle(session_.Title());
    setAcceptDrops(true);
    BuildControls();
    commands_.Build(*this, menuBar(), tbMenu_);
    ApplyTexts();
    connect(&LanguageEvents::Instance(), &LanguageEvents::Loaded, this, &frmMain::ApplyTexts);
}

frmMain::~frmMain() = default;

// ---------------------------------------------------------------------------
// Composition

void frmMain::BuildControls()
{
    client_ = new QWidget(this);
    client_->setObjectName(QStringLiteral("clientArea"));
    setCentralWidget(client_);

    lblSplitter_ = new QLabel(client_);
    lblSplitter_->setObjectName(QStringLiteral("lblSplitter"));
    lblSplitter_->setCursor(Qt::SplitHCursor);
    lblSplitter_->installEventFilter(this);

    tvMPQ_ = new FolderTreeWidget(client_);
    writeBack_ = new WriteBackWatcher(this);
    connect(writeBack_, &WriteBackWatcher::Saved, this, &frmMain::WriteBack);
    tvMPQ_->setObjectName(QStringLiteral("tvMPQ"));
    tvMPQ_->setVisible(false);
    connect(tvMPQ_, &FolderTreeWidget::NodeClick, this, &frmMain::tvMPQ_NodeClick);
    connect(tvMPQ_, &FolderTreeWidget::MouseUp, this, &frmMain::tvMPQ_MouseUp);
    treePort_ = std::make_unique<TreePort>(tvMPQ_);

    model_ = new ArchiveListModel(this);
    lwMPQ_ = new ArchiveListView(client_);
    lwMPQ_->setObjectName(QStringLiteral("lwMPQ"));
    lwMPQ_->setModel(model_);
    lwMPQ_->setRootIsDecorated(false);
    lwMPQ_->setItemsExpandable(false);
    lwMPQ_->setUniformRowHeights(true);
    lwMPQ_->setAllColumnsShowFocus(true);
    lwMPQ_->setSelectionMode(QAbstractItemView::ExtendedSelection);
    lwMPQ_->setSelectionBehavior(QAbstractItemView::SelectRows);
    // The name is edited in place by the rename command, or by F2.
    lwMPQ_->setEditTriggers(QAbstractItemView::EditKeyPressed);
    lwMPQ_->header()->setStretchLastSection(false);
    lwMPQ_->header()->setSectionsMovable(false);
    lwMPQ_->header()->setSectionsClickable(true);
    lwMPQ_->header()->setSortIndicatorShown(true);
    connect(lwMPQ_->header(), &QHeaderView::sectionClicked, this,
            [this](int section) { lwMPQ_ColumnClick(section + 1); });
    // The edit is taken up once the editor has closed, so that the questions
    // it asks do not come while the editor still has the focus.
    // An edit that ended because the user clicked another row still
    // belongs to the row that was edited, which becomes current again.
    connect(model_, &ArchiveListModel::LabelEdited, this,
            [this](int row, const QByteArray &tag, const QString &text) {
                if (row >= model_->rowCount() || model_->Row(row).Tag != tag) return;  // the list was filled anew
                if (row != CurrentRow())
                    lwMPQ_->selectionModel()->setCurrentIndex(model_->index(row, ListRow::Name),
                                                              QItemSelectionModel::NoUpdate);
                bool cancel = false;
                lwMPQ_AfterLabelEdit(cancel, text);
            },
            Qt::QueuedConnection);
    connect(lwMPQ_, &ArchiveListView::DblClick, this, &frmMain::lwMPQ_DblClick);
    model_->SetTransferPort(this);
    std::vector<int> leastWidths;
    for (int twips : kColumnWidths) leastWidths.push_back(TwipsToPixels(twips, logicalDpiX()));
    lwMPQ_->SetLeastWidths(std::move(leastWidths));
    lwMPQ_->viewport()->installEventFilter(this);

    // The preview follows the current row, and the list filled anew.
    preview_ = new PreviewPane(client_);
    preview_->setVisible(false);
    connect(lwMPQ_->selectionModel(), &QItemSelectionModel::currentChanged, this, &frmMain::UpdatePreview);
    connect(model_, &QAbstractItemModel::modelReset, this, &frmMain::UpdatePreview);
    connect(model_, &QAbstractItemModel::dataChanged, this, &frmMain::UpdatePreview);

    tbMenu_ = new QToolBar(client_);
    tbMenu_->setObjectName(QStringLiteral("tbMenu"));
    tbMenu_->setMovable(false);
    tbMenu_->setFloatable(false);
    tbMenu_->setIconSize(QSize(32, 32));
    tbMenu_->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);

    reports_ = std::make_unique<StatusReport>(client_, TwipsToPixels(kStatusPanel1MinWidth, logicalDpiX()),
                                              TwipsToPixels(kStatusPanel2Width, logicalDpiX()));
    // Every change of the client area's size runs the layout.
    client_->installEventFilter(this);
}

// The captions of the menus, the buttons and the list's headers, from the
// texts in force.
void frmMain::ApplyTexts()
{
    commands_.ApplyTexts(Texts());
    model_->RefreshHeaders();
}

// ---------------------------------------------------------------------------
// Layout

void frmMain::Place(QWidget *control, const TwipsBox &box) { control->setGeometry(ToPixels(box, ScreenDpi())); }

void frmMain::Form_Resize()
{
    QStatusBar *statusBar = reports_->Bar();
    LayoutInput input;
    input.client = client_->size();
    input.toolBarHint = tbMenu_->sizeHint().height();
    input.statusBarHint = statusBar->sizeHint().height();
    input.statusBarNow = statusBar->geometry();
    input.toolBarShown = !tbMenu_->isHidden();
    input.statusBarShown = !statusBar->isHidden();
    input.explorer = session_.ExplorerStyle;
    input.previewShown = !preview_->isHidden();
    input.dpi = ScreenDpi();
    const LayoutPlaces places = LayOutMainWindow(layout_, input);
    Place(tbMenu_, layout_.toolBar);
    if (places.statusBar) Place(statusBar, layout_.statusBar);
    if (places.progress) Place(reports_->Progress(), layout_.progress);
    Place(lwMPQ_, layout_.list);
    Place(tvMPQ_, layout_.tree);
    Place(lblSplitter_, layout_.splitter);
    if (!preview_->isHidden()) Place(preview_, layout_.preview);
}

void frmMain::lblSplitter_MouseMove(int button, int /*shift*/, float x, float /*y*/)
{
    if (button != 1) return;
    // The list and the tree share what the preview pane leaves them.
    const float room = static_cast<float>(PixelsToTwips(client_->width(), logicalDpiX())) -
                       (preview_->isHidden() ? 0.0f : layout_.preview.width);
    if (!MoveSplitter(layout_, x, room)) return;
    Place(lblSplitter_, layout_.splitter);
    Place(tvMPQ_, layout_.tree);
    Place(lwMPQ_, layout_.list);
}

void frmMain::mnuTools_Click()
{
    tbMenu_->setVisible(tbMenu_->isHidden());
    MenuEntry(QStringLiteral("mnuTools"))->setChecked(!tbMenu_->isHidden());
    Form_Resize();
}

void frmMain::mnuPreview_Click()
{
    preview_->setVisible(preview_->isHidden());
    MenuEntry(QStringLiteral("mnuPreview"))->setChecked(!preview_->isHidden());
    Form_Resize();
    if (preview_->isHidden()) preview_->Clear();
    else UpdatePreview();
}

void frmMain::UpdatePreview()
{
    if (preview_->isHidden()) return;
    if (session_.FileName.isEmpty()) {
        preview_->Clear();
        return;
    }
    const int row = CurrentRow();
    if (row < 0) preview_->ShowArchive(session_.FileName);
    else preview_->ShowStoredFile(session_.FileName, model_->Row(row).Tag);
}

void frmMain::mnuStatus_Click()
{
    QStatusBar *statusBar = reports_->Bar();
    statusBar->setVisible(statusBar->isHidden());
    MenuEntry(QStringLiteral("mnuStatus"))->setChecked(!statusBar->isHidden());
    Form_Resize();
}

bool frmMain::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == client_ && event->type() == QEvent::Resize) {
        Form_Resize();
    } else if (watched == lblSplitter_ && event->type() == QEvent::MouseMove) {
        const auto *mouse = static_cast<QMouseEvent *>(event);
        lblSplitter_MouseMove(ButtonValue(mouse->buttons()), ShiftValue(mouse->modifiers()),
                              static_cast<float>(PixelsToTwips(qRound(mouse->position().x()), logicalDpiX())),
                              static_cast<float>(PixelsToTwips(qRound(mouse->position().y()), logicalDpiY())));
        return true;
    } else if (watched == lwMPQ_->viewport() && event->type() == QEvent::MouseButtonRelease) {
        const auto *mouse = static_cast<QMouseEvent *>(event);
        lwMPQ_MouseUp(ButtonValue(mouse->button()), ShiftValue(mouse->modifiers()), mouse->position().toPoint());
    }
    return QMainWindow::eventFilter(watched, event);
}

// ---------------------------------------------------------------------------
// The archive session

SessionPorts frmMain::Ports(BatchProgress *listing)
{
    if (listing != nullptr) return SessionPorts{*listing, *reports_, *model_, *treePort_, listing};
    return SessionPorts{*reports_, *reports_, *model_, *treePort_, reports_.get()};
}

void frmMain::ShowSession()
{
    commands_.ShowRecentFiles(session_.RecentFiles);
    commands_.ShowArchiveOpen(session_.IsOpen());
    setWindowTitle(session_.Title());
    UpdatePreview();
}

void frmMain::OpenArchive(const QString &path)
{
    mnuClose_Click();  // find next ends with the archive, whatever comes next
    BatchProgress listing(this, *reports_);  // a long listing can be stopped
    session_.Open(path, config_, Ports(&listing));
    ShowSession();
}

void frmMain::mnuClose_Click()
{
    session_.Close(Ports());
    ShowSession();
}

void frmMain::mnuNew_Click()
{
    QString path = SaveFileDialog(this, kSaveFileTitle, Texts().FilterArchives);
    if (path.isEmpty()) return;
    if (GetExtension(path).toLower() != QLatin1String("mpq")) {
        path += QStringLiteral(".mpq");
        // The dialog asked about the name as typed, not about this one.
        if (IsFile(path) &&
            ShowMessageBox(this, ReplaceValue(Texts().MessageFileExists, path), QString(),
                           MessageButton::Yes | MessageButton::No, MessageIcon::Exclamation,
                           MessageButton::No) != MessageButton::Yes)
            return;
    }
    if (!session_.CreateEmpty(path, Ports())) return;  // nowhere to make it: nothing changes
    // The archive itself is made at the first add, as the user asks here;
    // a cancel leaves the settings' table room and format 1.
    newArchive_ = AskNewArchive(this, NewArchiveChoice{true, 1, config_.DefaultMaxFiles});
    newArchivePath_ = newArchive_.accepted ? path : QString();
    ShowSession();
    tvMPQ_->Node(UpperKey(session_.FileName))->setSelected(true);
}

void frmMain::mnuOpen_Click()
{
    mnuClose_Click();
    OpenArchive(OpenFileDialog(this, kOpenFileTitle, Texts().FilterArchives, QString(), false));
}

// A path that is gone closes the window and stays listed.
void frmMain::mnuRecents_Click(int index)
{
    if (index < 1 || index > session_.RecentFiles.size()) return;
    OpenArchive(session_.RecentFiles[index - 1]);
}

void frmMain::mnuRefresh_Click()
{
    BatchProgress listing(this, *reports_);
    session_.Refresh(config_, Ports(&listing));
}

Qt::DropAction frmMain::Form_OLEDragOver(const QMimeData *drag) const
{
    // Over an open archive the window takes no drop. The drop copies: a file
    // manager that saw a move could remove the user's file.
    return drag && drag->hasUrls() && !session_.IsOpen() ? Qt::CopyAction : Qt::IgnoreAction;
}

void frmMain::Form_OLEDragDrop(const QMimeData *drag)
{
    mnuClose_Click();
    if (!drag || drag->urls().isEmpty()) return;
    const QString path = drag->urls().first().toLocalFile();
    if (path.isEmpty() || IsDirectory(path)) return;
    OpenArchive(path);
}

void frmMain::dragEnterEvent(QDragEnterEvent *event) { dragMoveEvent(event); }

void frmMain::dragMoveEvent(QDragMoveEvent *event)
{
    if (Form_OLEDragOver(event->mimeData()) == Qt::IgnoreAction) {
        event->ignore();
        return;
    }
    event->setDropAction(Qt::CopyAction);
    event->accept();
}

void frmMain::dropEvent(QDropEvent *event)
{
    if (Form_OLEDragOver(event->mimeData()) == Qt::IgnoreAction) {
        event->ignore();
        return;
    }
    event->setDropAction(Qt::CopyAction);
    event->accept();
    Form_OLEDragDrop(event->mimeData());
}

// ---------------------------------------------------------------------------
// The styles, the tree, the popups, the toolbar

void frmMain::SetStyle(bool explorer)
{
    session_.ExplorerStyle = explorer;
    tvMPQ_->setVisible(explorer);
    MenuEntry(QStringLiteral("mnuClassicStyle"))->setChecked(!explorer);
    MenuEntry(QStringLiteral("mnuExplorerStyle"))->setChecked(explorer);
    // Out of reach behind the list in Classic style.
    if (explorer) lblSplitter_->raise();
    else lblSplitter_->lower();
    Form_Resize();
    mnuRefresh_Click();
}

void frmMain::mnuClassicStyle_Click() { SetStyle(false); }
void frmMain::mnuExplorerStyle_Click() { SetStyle(true); }

void frmMain::tvMPQ_NodeClick(QTreeWidgetItem *node)
{
    if (!node) return;
    const QString key = FolderTreeWidget::Key(node);
    const QString folder = key == UpperKey(session_.FileName) ? QString() : key;
    session_.Folders.Fill(folder, *model_);
}

void frmMain::tvMPQ_MouseUp(int button, int /*shift*/, QPoint position)
{
    if (button != 2) return;
    if (!tvMPQ_->SelectedNode() || !tvMPQ_->itemAt(position)) return;
    Popup(QStringLiteral("mnuExplorerPopup"))->popup(tvMPQ_->viewport()->mapToGlobal(position));
}

void frmMain::lwMPQ_MouseUp(int button, int /*shift*/, QPoint position)
{
    if (button != 2) return;
    if (!lwMPQ_->currentIndex().isValid() || !lwMPQ_->indexAt(position).isValid()) return;
    Popup(QStringLiteral("mnuPopup"))->popup(lwMPQ_->viewport()->mapToGlobal(position));
}

void frmMain::tbMenu_ButtonClick(const QString &key) { commands_.RunTool(*this, key); }

// ---------------------------------------------------------------------------
// Delete, rename, new folder

int frmMain::CurrentRow() const
{
    const QModelIndex current = lwMPQ_->currentIndex();
    return current.isValid() ? current.row() : -1;
}

std::vector<int> frmMain::SelectedRows() const
{
    std::vector<int> rows;
    for (const QModelIndex &index : lwMPQ_->selectionModel()->selectedRows()) rows.push_back(index.row());
    std::sort(rows.begin(), rows.end());
    return rows;
}

QList<QByteArray> frmMain::SelectedTags() const
{
    QList<QByteArray> tags;
    for (int row : SelectedRows()) tags.append(model_->Row(row).Tag);
    return tags;
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
// Selection, find, sort order

void frmMain::SelectRowRange(int first, int last, QItemSelectionModel::SelectionFlags how)
{
    if (first > last) return;
    const QItemSelection rows(model_->index(first, 0), model_->index(last, model_->columnCount() - 1));
    lwMPQ_->selectionModel()->select(rows, how | QItemSelectionModel::Rows);
}

void frmMain::mnuSelectAll_Click() { SelectRowRange(0, model_->rowCount() - 1, QItemSelectionModel::Select); }

void frmMain::mnuDeselectAll_Click() { lwMPQ_->selectionModel()->clearSelection(); }

void frmMain::mnuReverse_Click() { SelectRowRange(0, model_->rowCount() - 1, QItemSelectionModel::Toggle); }

void frmMain::FindFrom(int start)
{
    mnuDeselectAll_Click();
    const LikePattern pattern = FindPattern(session_.FindText);
    if (!pattern.IsValid()) return;
    for (int row = std::max(start, 0); row < model_->rowCount(); ++row) {
        if (!StoredNameMatches(pattern, model_->Row(row).Tag)) continue;
        const QModelIndex found = model_->index(row, ListRow::Name);
        lwMPQ_->selectionModel()->setCurrentIndex(found, QItemSelectionModel::Select | QItemSelectionModel::Rows);
        lwMPQ_->scrollTo(found);
        return;
    }
}

void frmMain::mnuFind_Click()
{
    session_.FindText = ShowInputBox(this, QStringLiteral("Trova:"), QString(), session_.FindText).text;
    if (!session_.FindText.isEmpty()) MenuEntry(QStringLiteral("mnuFindNext"))->setEnabled(true);
    FindFrom(0);
}

void frmMain::mnuFindNext_Click()
{
    // Past the last row nothing is selected and the current row stays.
    const int current = CurrentRow();
    mnuDeselectAll_Click();
    if (current < 0) return;
    FindFrom(current + 1);
}

void frmMain::mnuArrange_Click(int index)
{
    if (index < 0 || index >= ListRow::ColumnCount) return;
    // The column in force turns its order; another column sorts ascending.
    const bool turn = model_->SortKey() == index && model_->SortOrder() == 0;
    model_->sort(index, turn ? Qt::DescendingOrder : Qt::AscendingOrder);
    ShowSortOrder();
}

void frmMain::lwMPQ_ColumnClick(int column) { mnuArrange_Click(column - 1); }

// The mark of the menu entry and the arrow of the header follow the list.
void frmMain::ShowSortOrder()
{
    if (QAction *entry = MenuEntry(QStringLiteral("mnuArrange%1").arg(model_->SortKey()))) entry->setChecked(true);
    lwMPQ_->header()->setSortIndicator(model_->SortKey(),
                                       model_->SortOrder() == 1 ? Qt::DescendingOrder : Qt::AscendingOrder);
}

// ---------------------------------------------------------------------------
// Drag and drop on the list, opening a stored file

QString frmMain::TransferScratchFolder() const { return scratch_ ? scratch_->DragFolder() : QString(); }
StatusPanel &frmMain::TransferStatus() { return *reports_; }
EventQueue &frmMain::TransferEvents() { return *reports_; }

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

void frmMain::lwMPQ_DblClick()
{
    const int row = CurrentRow();
    if (row < 0) return;
    const QString copy = ExtractForViewing(session_.FileName, model_->Row(row).Tag, scratch_->OpenFolder(), *reports_, *reports_);
    if (copy.isEmpty()) return;
    writeBack_->Watch(copy, session_.FileName, model_->Row(row).Tag);
    ShellOpen(QUrl::fromLocalFile(copy));
}
