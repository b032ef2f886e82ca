// The main window's composition: its controls and their layout, the events
// of the list, the tree and the splitter, the ports it hands the session
// and the core, drops on the window and the opening of a stored file. The
// menus' commands are in the files frm_main.h names.
#include "shell/frm_main.h"

#include <QCoreApplication>
#include <QDir>
#include <QHeaderView>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QMimeData>
#include <QMouseEvent>
#include <QPointer>
#include <QProgressBar>
#include <QStatusBar>
#include <QToolBar>
#include <QUrl>

#include "config/catalogue.h"
#include "editing/add_files.h"
#include "editing/drag_drop.h"
#include "editing/window_scratch.h"
#include "dialogs/dialogs.h"
#include "base/paths.h"
#include "editing/helpers/shell_open.h"
#include "layout/twips.h"
#include "listing/explorer_listing.h"
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

// ---------------------------------------------------------------------------
// Drops on the window, the tree, the popups, the toolbar

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
// The rows, the ports of drag and drop on the list, opening a stored file

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

QString frmMain::TransferScratchFolder() const { return scratch_ ? scratch_->DragFolder() : QString(); }
StatusPanel &frmMain::TransferStatus() { return *reports_; }
EventQueue &frmMain::TransferEvents() { return *reports_; }

void frmMain::lwMPQ_DblClick()
{
    const int row = CurrentRow();
    if (row < 0) return;
    const QString copy = ExtractForViewing(session_.FileName, model_->Row(row).Tag, scratch_->OpenFolder(), *reports_, *reports_);
    if (copy.isEmpty()) return;
    writeBack_->Watch(copy, session_.FileName, model_->Row(row).Tag);
    // The desktop may answer after the window is gone.
    ShellOpen(QUrl::fromLocalFile(copy), [window = QPointer<frmMain>(this), shown = model_->Row(row).text()] {
        if (window) window->reports_->SetStatusText(ReplaceValue(Texts().StatusBarNoProgram, shown));
    });
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
