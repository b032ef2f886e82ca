#include "shell/frm_main.h"

#include <QAction>
#include <QActionGroup>
#include <QApplication>
#include <QCloseEvent>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QMimeData>
#include <QMouseEvent>
#include <QProgressBar>
#include <QScreen>
#include <QStatusBar>
#include <QToolBar>
#include <QToolButton>
#include <QTreeView>
#include <QUrl>

#include "about/frm_credits.h"
#include "config/catalogue.h"
#include "config/frm_config.h"
#include "editing/add_files.h"
#include "editing/delete_rename.h"
#include "editing/drag_drop.h"
#include "editing/extract_files.h"
#include "editing/find_pattern.h"
#include "editing/helpers/dialogs.h"
#include "editing/helpers/file_walk.h"
#include "editing/helpers/paths.h"
#include "editing/helpers/shell_open.h"
#include "listing/classic_listing.h"
#include "listing/explorer_listing.h"
#include "listing/text_encoding.h"
#include "config/registry.h"
#include "properties/archive_properties.h"
#include "properties/frm_info_file.h"
#include "properties/frm_info_mpq.h"
#include "shell/archive_list_model.h"
#include "shell/archive_list_view.h"
#include "shell/folder_tree_widget.h"
#include "shell/frm_main_icons.h"
#include "config/startup.h"
#include "layout/twips.h"
#include "tools/frm_mpq_embedder.h"
#include "tools/self_executing.h"

namespace {

constexpr int kColumnWidths[ListRow::ColumnCount] = {3000, 400, 1100, 1100, 800, 800};
constexpr const char *kTitle = "Arcavera";
constexpr float kToolBarHeight = 870;
constexpr float kStatusBarHeight = 300;
constexpr float kPanel1MinWidth = 5000;
constexpr float kPanel2Width = 2500;
constexpr float kSplitterBound = 2000;  // the tree and the list keep at least this much

// The toolbar from left to right; an empty key is a separator.
constexpr const char *kToolKeys[] = {"new",    "open",     "infompq", "",     "add", "extract", "delete",
                                     "view",   "infofile", "",        "exe",  "",    "exit"};

// The entries that only an open archive enables, and the buttons.
constexpr const char *kOpenStateEntries[] = {"mnuClose",  "mnuSelectAll", "mnuDeselectAll", "mnuReverse",
                                             "mnuFind",   "mnuAdd",       "mnuAddDir",      "mnuExtract",
                                             "mnuDelete", "mnuRename",    "mnuRefresh",     "mnuMakeEXE"};
constexpr const char *kOpenStateButtons[] = {"infompq", "add", "extract", "delete", "view", "infofile", "exe"};

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

// "&" shows as itself in a caption only when doubled.
QString Literal(const QString &text)
{
    QString escaped = text;
    return escaped.replace(QLatin1Char('&'), QLatin1String("&&"));
}

}  // namespace

frmMain::frmMain(StartupPaths paths, QWidget *parent) : QMainWindow(parent), paths_(std::move(paths))
{
    if (paths_.programFolder.isEmpty()) paths_.programFolder = QCoreApplication::applicationDirPath();
    if (paths_.launchFolder.isEmpty()) paths_.launchFolder = QDir::currentPath();
    setObjectName(QStringLiteral("frmMain"));
    setWindowTitle(QString::fromLatin1(kTitle));
    setAcceptDrops(true);
    BuildControls();
    BuildMenus();
    BuildToolBar();
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
    tvMPQ_->setObjectName(QStringLiteral("tvMPQ"));
    tvMPQ_->setVisible(false);
    connect(tvMPQ_, &FolderTreeWidget::NodeClick, this, &frmMain::tvMPQ_NodeClick);
    connect(tvMPQ_, &FolderTreeWidget::MouseUp, this, &frmMain::tvMPQ_MouseUp);

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
    lwMPQ_->onDragOver = [this](const QMimeData *drag) { return lwMPQ_OLEDragOver(drag); };
    lwMPQ_->onDragDrop = [this](const QMimeData *drag) { lwMPQ_OLEDragDrop(drag); };
    lwMPQ_->onStartDrag = [this] { return lwMPQ_OLEStartDrag(); };
    for (int column = 0; column < ListRow::ColumnCount; ++column)
        lwMPQ_->setColumnWidth(column, TwipsToPixelsX(kColumnWidths[column]));
    lwMPQ_->viewport()->installEventFilter(this);

    tbMenu_ = new QToolBar(client_);
    tbMenu_->setObjectName(QStringLiteral("tbMenu"));
    tbMenu_->setMovable(false);
    tbMenu_->setFloatable(false);
    tbMenu_->setIconSize(QSize(32, 32));
    tbMenu_->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);

    StatusBar1_ = new QStatusBar(client_);
    StatusBar1_->setObjectName(QStringLiteral("StatusBar1"));
    StatusBar1_->setSizeGripEnabled(false);
    panel1_ = new QLabel(StatusBar1_);
    panel1_->setObjectName(QStringLiteral("StatusBar1Panel1"));
    panel1_->setMinimumWidth(TwipsToPixelsX(kPanel1MinWidth) - 8);
    panel1_->setTextFormat(Qt::PlainText);
    StatusBar1_->addWidget(panel1_, 1);
    panel2_ = new QWidget(StatusBar1_);
    panel2_->setObjectName(QStringLiteral("StatusBar1Panel2"));
    panel2_->setFixedWidth(TwipsToPixelsX(kPanel2Width));
    StatusBar1_->addPermanentWidget(panel2_);

    // The progress bar stands over panel 2, not inside it: the layout places it.
    pbStatus_ = new QProgressBar(client_);
    pbStatus_->setObjectName(QStringLiteral("pbStatus"));
    pbStatus_->setRange(0, 100);
    pbStatus_->setTextVisible(false);
    pbStatus_->setVisible(false);
    pbStatus_->raise();
    // Every change of the client area's size runs the layout.
    client_->installEventFilter(this);
}

void frmMain::BuildMenus()
{
    QMenuBar *bar = menuBar();
    auto menu = [this](QWidget *parent, const char *name) {
        auto *m = new QMenu(parent);
        m->setObjectName(QLatin1String(name));
        menus_.insert(QLatin1String(name), m);
        return m;
    };
    auto entry = [this](QMenu *m, const char *name, const QKeySequence &shortcut = {}) {
        QAction *action = m->addAction(QString());
        action->setObjectName(QLatin1String(name));
        action->setShortcut(shortcut);
        menuEntries_.insert(QLatin1String(name), action);
        return action;
    };
    auto separator = [](QMenu *m, const char *name) { m->addSeparator()->setObjectName(QLatin1String(name)); };
    auto run = [this](QAction *action, void (frmMain::*handler)()) {
        connect(action, &QAction::triggered, this, handler);
    };

    QMenu *file = menu(bar, "mnuFile");
    bar->addMenu(file);
    run(entry(file, "mnuNew", QKeySequence(Qt::CTRL | Qt::Key_N)), &frmMain::mnuNew_Click);
    run(entry(file, "mnuOpen", QKeySequence(Qt::CTRL | Qt::Key_O)), &frmMain::mnuOpen_Click);
    run(entry(file, "mnuClose", QKeySequence(Qt::CTRL | Qt::Key_L)), &frmMain::mnuClose_Click);
    separator(file, "mnusep0");
    QMenu *recent = menu(file, "mnuRecent");
    file->addMenu(recent);
    menuEntries_.insert(QStringLiteral("mnuRecent"), recent->menuAction());
    for (int i = 1; i <= 4; ++i) {
        QAction *action = recent->addAction(QString());
        action->setObjectName(QStringLiteral("mnuRecents%1").arg(i));
        action->setEnabled(false);
        action->setVisible(i == 1);
        menuEntries_.insert(action->objectName(), action);
        connect(action, &QAction::triggered, this, [this, i] { mnuRecents_Click(i); });
    }
    separator(file, "mnusep1");
    run(entry(file, "mnuExit"), &frmMain::mnuExit_Click);

    QMenu *edit = menu(bar, "mnuEdit");
    bar->addMenu(edit);
    run(entry(edit, "mnuSelectAll", QKeySequence(Qt::CTRL | Qt::Key_A)), &frmMain::mnuSelectAll_Click);
    run(entry(edit, "mnuDeselectAll", QKeySequence(Qt::CTRL | Qt::Key_U)), &frmMain::mnuDeselectAll_Click);
    run(entry(edit, "mnuReverse", QKeySequence(Qt::CTRL | Qt::Key_I)), &frmMain::mnuReverse_Click);
    separator(edit, "mnusep2");
    run(entry(edit, "mnuFind", QKeySequence(Qt::CTRL | Qt::Key_F)), &frmMain::mnuFind_Click);
    run(entry(edit, "mnuFindNext", QKeySequence(Qt::Key_F3)), &frmMain::mnuFindNext_Click);

    QMenu *view = menu(bar, "mnuView");
    bar->addMenu(view);
    QAction *tools = entry(view, "mnuTools");
    tools->setCheckable(true);
    run(tools, &frmMain::mnuTools_Click);
    QAction *status = entry(view, "mnuStatus");
    status->setCheckable(true);
    run(status, &frmMain::mnuStatus_Click);
    separator(view, "mnusep3");
    styleGroup_ = new QActionGroup(this);
    styleGroup_->setExclusive(true);
    QAction *classic = entry(view, "mnuClassicStyle");
    QAction *explorer = entry(view, "mnuExplorerStyle");
    for (QAction *action : {classic, explorer}) {
        action->setCheckable(true);
        styleGroup_->addAction(action);
    }
    run(classic, &frmMain::mnuClassicStyle_Click);
    run(explorer, &frmMain::mnuExplorerStyle_Click);
    separator(view, "mnusep8");
    QMenu *arranges = menu(view, "mnuArranges");
    view->addMenu(arranges);
    menuEntries_.insert(QStringLiteral("mnuArranges"), arranges->menuAction());
    arrangeGroup_ = new QActionGroup(this);
    arrangeGroup_->setExclusive(true);
    for (int i = 0; i < ListRow::ColumnCount; ++i) {
        QAction *action = arranges->addAction(QString());
        action->setObjectName(QStringLiteral("mnuArrange%1").arg(i));
        action->setCheckable(true);
        arrangeGroup_->addAction(action);
        menuEntries_.insert(action->objectName(), action);
        connect(action, &QAction::triggered, this, [this, i] { mnuArrange_Click(i); });
    }
    separator(view, "mnusep4");
    run(entry(view, "mnuRefresh", QKeySequence(Qt::Key_F5)), &frmMain::mnuRefresh_Click);

    QMenu *action = menu(bar, "mnuAction");
    bar->addMenu(action);
    run(entry(action, "mnuAdd", QKeySequence(Qt::CTRL | Qt::Key_D)), &frmMain::mnuAdd_Click);
    run(entry(action, "mnuAddDir", QKeySequence(Qt::CTRL | Qt::Key_G)), &frmMain::mnuAddDir_Click);
    run(entry(action, "mnuExtract", QKeySequence(Qt::CTRL | Qt::Key_E)), &frmMain::mnuExtract_Click);
    run(entry(action, "mnuRename", QKeySequence(Qt::CTRL | Qt::Key_R)), &frmMain::mnuRename_Click);
    run(entry(action, "mnuDelete", QKeySequence(Qt::Key_Delete)), &frmMain::mnuDelete_Click);

    QMenu *tool = menu(bar, "mnuTool");
    bar->addMenu(tool);
    run(entry(tool, "mnuMakeEXE"), &frmMain::mnuMakeEXE_Click);
    separator(tool, "mnusep5");
    run(entry(tool, "mnuMPQEm"), &frmMain::mnuMPQEm_Click);

    QMenu *option = menu(bar, "mnuOption");
    bar->addMenu(option);
    run(entry(option, "mnuConfig"), &frmMain::mnuConfig_Click);

    QMenu *info = menu(bar, "mnuInfo");
    bar->addMenu(info);
    run(entry(info, "mnuHomePage"), &frmMain::mnuHomePage_Click);
    separator(info, "mnusep9");
    run(entry(info, "mnuAbout"), &frmMain::mnuAbout_Click);

    // The two popups stand outside the menu bar.
    mnuPopup_ = menu(this, "mnuPopup");
    run(entry(mnuPopup_, "mnuPopupOpen"), &frmMain::mnuPopupOpen_Click);
    separator(mnuPopup_, "mnusep6");
    run(entry(mnuPopup_, "mnuPopupExtract"), &frmMain::mnuPopupExtract_Click);
    run(entry(mnuPopup_, "mnuPopupRename"), &frmMain::mnuPopupRename_Click);
    run(entry(mnuPopup_, "mnuPopupDelete"), &frmMain::mnuPopupDelete_Click);
    separator(mnuPopup_, "mnusep7");
    run(entry(mnuPopup_, "mnuPopupInfoFile"), &frmMain::mnuPopupInfoFile_Click);
    mnuPopup_->setDefaultAction(MenuEntry(QStringLiteral("mnuPopupOpen")));
    mnuExplorerPopup_ = menu(this, "mnuExplorerPopup");
    run(entry(mnuExplorerPopup_, "mnuPopupCreateDir"), &frmMain::mnuPopupCreateDir_Click);

    // The commands of the window work wherever the focus is.
    for (QAction *a : std::as_const(menuEntries_)) a->setShortcutContext(Qt::WindowShortcut);
}

void frmMain::BuildToolBar()
{
    for (const char *key : kToolKeys) {
        if (*key == '\0') {
            tbMenu_->addSeparator();
            continue;
        }
        const QString name = QLatin1String(key);
        QAction *action = tbMenu_->addAction(ToolIcon(name), QString());
        action->setObjectName(QStringLiteral("tbMenu_") + name);
        action->setData(name);
        if (QWidget *button = tbMenu_->widgetForAction(action)) button->setObjectName(name);
        toolButtons_.insert(name, action);
        connect(action, &QAction::triggered, this, [this, name] { tbMenu_ButtonClick(name); });
    }
}

QMenu *frmMain::Popup(const QString &name) const { return menus_.value(name); }

// The captions of the menus, the buttons and the list's headers, from the
// texts in force.
void frmMain::ApplyTexts()
{
    const MessageStrings &t = Texts();
    const std::pair<const char *, const QString *> menuTexts[] = {
        {"mnuFile", &t.MenuFile},
        {"mnuNew", &t.MenuNew},
        {"mnuOpen", &t.MenuOpen},
        {"mnuClose", &t.MenuClose},
        {"mnuRecent", &t.MenuRecents},
        {"mnuExit", &t.MenuExit},
        {"mnuEdit", &t.MenuEdit},
        {"mnuSelectAll", &t.MenuSelectAll},
        {"mnuDeselectAll", &t.MenuSelectNone},
        {"mnuReverse", &t.MenuInvert},
        {"mnuFind", &t.MenuFind},
        {"mnuFindNext", &t.MenuFindNext},
        {"mnuView", &t.MenuView},
        {"mnuTools", &t.MenuToolBar},
        {"mnuStatus", &t.MenuStatusBar},
        {"mnuClassicStyle", &t.MenuClassicStyle},
        {"mnuExplorerStyle", &t.MenuExplorerStyle},
        {"mnuArranges", &t.MenuSort},
        {"mnuArrange0", &t.MenuName},
        {"mnuArrange1", &t.MenuExt},
        {"mnuArrange2", &t.MenuSize},
        {"mnuArrange3", &t.MenuCompressed},
        {"mnuArrange4", &t.MenuRatio},
        {"mnuArrange5", &t.MenuAttribute},
        {"mnuRefresh", &t.MenuRefresh},
        {"mnuAction", &t.MenuAction},
        {"mnuAdd", &t.MenuAddFiles},
        {"mnuAddDir", &t.MenuAddDir},
        {"mnuExtract", &t.MenuExtract},
        {"mnuRename", &t.MenuRename},
        {"mnuDelete", &t.MenuDelete},
        {"mnuTool", &t.MenuTools},
        {"mnuMakeEXE", &t.MenuMakeEXE},
        {"mnuMPQEm", &t.MenuMPQEmbedder},
        {"mnuOption", &t.MenuOptions},
        {"mnuConfig", &t.MenuConfiguration},
        {"mnuAbout", &t.MenuAbout},
        {"mnuHomePage", &t.MenuHomePage},
        {"mnuPopupOpen", &t.MenuPopupOpen},
        {"mnuPopupExtract", &t.MenuPopupExtract},
        {"mnuPopupRename", &t.MenuPopupRename},
        {"mnuPopupDelete", &t.MenuPopupDelete},
        {"mnuPopupInfoFile", &t.MenuPopupInfoFile},
        {"mnuPopupCreateDir", &t.MenuPopupCreateDir},
    };
    for (const auto &[name, text] : menuTexts) {
        const QString key = QLatin1String(name);
        if (QAction *action = menuEntries_.value(key)) action->setText(*text);
        else if (QMenu *m = menus_.value(key)) m->setTitle(*text);
    }
    menus_.value(QStringLiteral("mnuInfo"))->setTitle(QStringLiteral("&?"));
    // A recent entry in use keeps its path.
    for (int i = 1; i <= 4; ++i) {
        QAction *entry = MenuEntry(QStringLiteral("mnuRecents%1").arg(i));
        if (!entry->isEnabled()) entry->setText(t.MenuNoRecents);
    }

    const std::tuple<const char *, const QString *, const QString *> buttonTexts[] = {
        {"new", &t.ToolBarNew, &t.ToolBarNewToolTip},
        {"open", &t.ToolBarOpen, &t.ToolBarOpenToolTip},
        {"infompq", &t.ToolBarInfoMPQ, &t.ToolBarInfoMPQToolTip},
        {"add", &t.ToolBarAdd, &t.ToolBarAddToolTip},
        {"extract", &t.ToolBarExtract, &t.ToolBarExtractToolTip},
        {"delete", &t.ToolBarDelete, &t.ToolBarDeleteToolTip},
        {"view", &t.ToolBarView, &t.ToolBarViewToolTip},
        {"infofile", &t.ToolBarInfoFile, &t.ToolBarInfoFileToolTip},
        {"exe", &t.ToolBarMakeEXE, &t.ToolBarMakeEXEToolTip},
        {"exit", &t.ToolBarExit, &t.ToolBarExitToolTip},
    };
    for (const auto &[key, caption, tip] : buttonTexts) {
        QAction *button = ToolButton(QLatin1String(key));
        button->setText(*caption);
        button->setToolTip(*tip);
    }
    model_->RefreshHeaders();
}

// ---------------------------------------------------------------------------
// Measures

int frmMain::TwipsToPixelsX(double twips) const { return TwipsToPixels(twips, logicalDpiX()); }
int frmMain::TwipsToPixelsY(double twips) const { return TwipsToPixels(twips, logicalDpiY()); }
double frmMain::PixelsToTwipsX(int pixels) const { return PixelsToTwips(pixels, logicalDpiX()); }
double frmMain::PixelsToTwipsY(int pixels) const { return PixelsToTwips(pixels, logicalDpiY()); }

float frmMain::ScaleWidth() const { return static_cast<float>(PixelsToTwipsX(client_->width())); }
float frmMain::ScaleHeight() const { return static_cast<float>(PixelsToTwipsY(client_->height())); }

TwipsBox frmMain::Measure(const QWidget *control) const
{
    const QRect r = control->geometry();
    return TwipsBox{static_cast<float>(PixelsToTwipsX(r.left())), static_cast<float>(PixelsToTwipsY(r.top())),
                    static_cast<float>(PixelsToTwipsX(r.width())), static_cast<float>(PixelsToTwipsY(r.height()))};
}

void frmMain::Place(QWidget *control, const TwipsBox &box)
{
    control->setGeometry(TwipsToPixelsX(box.left), TwipsToPixelsY(box.top), TwipsToPixelsX(box.width),
                         TwipsToPixelsY(box.height));
}

// The layout of every change of size, bar or style. A measure that comes
// out negative (a tiny or minimised window) is skipped and its control
// keeps its last value.
void frmMain::Form_Resize()
{
    const float scaleWidth = ScaleWidth();
    const float scaleHeight = ScaleHeight();

    // The bars dock along the top and bottom edges.
    const float toolBarHeight =
        std::max(kToolBarHeight, static_cast<float>(PixelsToTwipsY(tbMenu_->sizeHint().height())));
    const float statusBarHeight =
        std::max(kStatusBarHeight, static_cast<float>(PixelsToTwipsY(StatusBar1_->sizeHint().height())));
    Place(tbMenu_, {0, 0, scaleWidth, toolBarHeight});
    if (scaleHeight - statusBarHeight >= 0) Place(StatusBar1_, {0, scaleHeight - statusBarHeight, scaleWidth, statusBarHeight});

    const bool toolBarShown = !tbMenu_->isHidden();
    const bool statusBarShown = !StatusBar1_->isHidden();
    const TwipsBox toolBar = Measure(tbMenu_);
    const TwipsBox statusBar = Measure(StatusBar1_);
    lw_.top = toolBarShown ? toolBar.height + toolBar.top : 0;
    const float listHeight =
        scaleHeight - (toolBarShown ? toolBar.height : 0) - (statusBarShown ? statusBar.height : 0);
    if (listHeight >= 0) lw_.height = listHeight;
    tv_.top = lw_.top;
    tv_.height = lw_.height;

    if (statusBarShown) {
        pb_.left = std::max(kPanel1MinWidth, scaleWidth - kPanel2Width);
        if (scaleHeight - pb_.height - 20 >= 0) pb_.top = scaleHeight - pb_.height - 20;
        pb_.width = kPanel2Width;
        Place(pbStatus_, pb_);
    }

    if (session_.ExplorerStyle) {
        lw_.left = tv_.width + splitter_.width;
        if (scaleWidth - tv_.width - splitter_.width >= 0) lw_.width = scaleWidth - tv_.width - splitter_.width;
        splitter_.left = tv_.width;
        splitter_.height = tv_.height;
    } else {
        lw_.left = 0;
        lw_.width = scaleWidth;
    }
    Place(lwMPQ_, lw_);
    Place(tvMPQ_, tv_);
    Place(lblSplitter_, splitter_);
}

// One step of a drag of the splitter: `x` is the pointer's distance from the
// splitter's left edge. Only the left button alone drags, and a position
// that would leave less than the bound to the tree or the list is dropped.
void frmMain::lblSplitter_MouseMove(int button, int /*shift*/, float x, float /*y*/)
{
    if (button != 1) return;
    const float newLeft = splitter_.left + x;
    if (!(newLeft > kSplitterBound && newLeft < ScaleWidth() - kSplitterBound)) return;
    splitter_.left = newLeft;
    tv_.width = splitter_.left;
    lw_.left = splitter_.width + splitter_.left;
    const float listWidth = ScaleWidth() - lw_.left - 10;
    if (listWidth >= 0) lw_.width = listWidth;
    Place(lblSplitter_, splitter_);
    Place(tvMPQ_, tv_);
    Place(lwMPQ_, lw_);
}

void frmMain::mnuTools_Click()
{
    tbMenu_->setVisible(tbMenu_->isHidden());
    MenuEntry(QStringLiteral("mnuTools"))->setChecked(!tbMenu_->isHidden());
    Form_Resize();
}

void frmMain::mnuStatus_Click()
{
    StatusBar1_->setVisible(StatusBar1_->isHidden());
    MenuEntry(QStringLiteral("mnuStatus"))->setChecked(!StatusBar1_->isHidden());
    Form_Resize();
}

bool frmMain::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == client_ && event->type() == QEvent::Resize) {
        Form_Resize();
    } else if (watched == lblSplitter_ && event->type() == QEvent::MouseMove) {
        const auto *mouse = static_cast<QMouseEvent *>(event);
        lblSplitter_MouseMove(ButtonValue(mouse->buttons()), ShiftValue(mouse->modifiers()),
                              static_cast<float>(PixelsToTwipsX(qRound(mouse->position().x()))),
                              static_cast<float>(PixelsToTwipsY(qRound(mouse->position().y()))));
        return true;
    } else if (watched == lwMPQ_->viewport() && event->type() == QEvent::MouseButtonRelease) {
        const auto *mouse = static_cast<QMouseEvent *>(event);
        lwMPQ_MouseUp(ButtonValue(mouse->button()), ShiftValue(mouse->modifiers()), mouse->position().toPoint());
    }
    return QMainWindow::eventFilter(watched, event);
}

// ---------------------------------------------------------------------------
// Start-up and shutdown

void frmMain::Form_Load(const QString &commandLine)
{
    // The program's own files are found from its folder.
    QDir::setCurrent(paths_.programFolder);
    session_.TempPath = paths_.tempPath.isEmpty() ? ComputeTempPath() : paths_.tempPath;
    config_.IniPath = paths_.iniPath.isEmpty() ? LocateIniPath(paths_.programFolder) : paths_.iniPath;
    // The program's registry lives beside its settings.
    SetRegistryStorePath(QFileInfo(config_.IniPath).absoluteDir().filePath(QStringLiteral("Arcavera.reg")));

    // The window as the user left it: place and size, splitter, recent
    // files, bars, sort order, style.
    ApplyWindowSettings();

    // The settings file comes into being on the first run, with the rules.
    // The configuration dialog, made now and kept, reads the settings into
    // config_ and puts the configured language on screen.
    firstRun_ = SeedFirstRun(config_.IniPath);
    config_dialog_ = new frmConfig(config_, paths_.programFolder,
                                   QFileInfo(QCoreApplication::applicationFilePath()).fileName(), this);
    // A first start asks for the language before the window shows.
    if (firstRun_) {
        config_dialog_->SelectTab(3);
        config_dialog_->tabConfig_Click();
        config_dialog_->exec();
    }

    mnuClose_Click();
    session_.FileName = ResolveFromLaunchFolder(FileNameFromCommandLine(commandLine), paths_.launchFolder);
    if (IsFile(session_.FileName) && LoadArchive(session_.FileName)) {
        AddRecent(session_.RecentFiles, session_.FileName);
        ShowRecentEntries();
        ApplyOpenState();
    } else {
        session_.FileName.clear();  // the closed state names no archive
    }
}

void frmMain::ApplyWindowSettings()
{
    const QScreen *screen = this->screen() ? this->screen() : QGuiApplication::primaryScreen();
    const QRect available = screen ? screen->availableGeometry() : QRect(0, 0, 1024, 768);
    settings_ = ReadWindowSettings(config_.IniPath, PixelsToTwipsX(available.width()),
                                   PixelsToTwipsY(available.height()));
    resize(std::max(TwipsToPixelsX(settings_.Width), 200), std::max(TwipsToPixelsY(settings_.Height), 150));
    move(available.left() + TwipsToPixelsX(settings_.Left), available.top() + TwipsToPixelsY(settings_.Top));
    // The client area takes its size now, so the layout below works on it.
    if (layout()) layout()->activate();

    splitter_.left = settings_.Splitter;
    lblSplitter_MouseMove(1, 0, 0, 0);

    session_.RecentFiles = ReadRecentFiles(config_.IniPath);
    ShowRecentEntries();

    MenuEntry(QStringLiteral("mnuTools"))->setChecked(settings_.ToolBar);
    tbMenu_->setVisible(settings_.ToolBar);
    MenuEntry(QStringLiteral("mnuStatus"))->setChecked(settings_.StatusBar);
    StatusBar1_->setVisible(settings_.StatusBar);

    model_->SetSortKey(settings_.SortKey);
    model_->SetSortOrder(settings_.SortOrder);
    ShowSortOrder();

    if (settings_.ExplorerStyle) mnuExplorerStyle_Click();
    else mnuClassicStyle_Click();
}

WindowSettings frmMain::CurrentWindowSettings() const
{
    WindowSettings settings = settings_;
    const QScreen *screen = this->screen() ? this->screen() : QGuiApplication::primaryScreen();
    const QPoint origin = screen ? screen->availableGeometry().topLeft() : QPoint();
    // The measures as they stand, maximised or not; the place is the
    // frame's, as the start puts it back with move().
    settings.Width = static_cast<float>(PixelsToTwipsX(width()));
    settings.Height = static_cast<float>(PixelsToTwipsY(height()));
    settings.Left = static_cast<float>(PixelsToTwipsX(x() - origin.x()));
    settings.Top = static_cast<float>(PixelsToTwipsY(y() - origin.y()));
    settings.Splitter = splitter_.left;
    settings.ToolBar = MenuEntry(QStringLiteral("mnuTools"))->isChecked();
    settings.StatusBar = MenuEntry(QStringLiteral("mnuStatus"))->isChecked();
    settings.SortKey = static_cast<qint16>(model_->SortKey());
    settings.SortOrder = model_->SortOrder();
    settings.ExplorerStyle = session_.ExplorerStyle;
    return settings;
}

void frmMain::Form_Unload()
{
    if (unloaded_) return;
    unloaded_ = true;
    WriteWindowSettings(CurrentWindowSettings(), config_.IniPath);
    WriteRecentFiles(session_.RecentFiles, config_.IniPath);
    EmptyScratchFolder(session_.TempPath);
    if (IsOwnFolder(session_.TempPath)) QDir().rmdir(session_.TempPath);
}

void frmMain::closeEvent(QCloseEvent *event)
{
    Form_Unload();
    event->accept();
}

void frmMain::mnuExit_Click() { close(); }

void frmMain::mnuHomePage_Click() { ShellOpen(QUrl(QString::fromLatin1(kHomePage))); }

void frmMain::mnuConfig_Click() { config_dialog_->exec(); }

void frmMain::mnuAbout_Click()
{
    frmCredits credits(this);
    credits.exec();
}

// ---------------------------------------------------------------------------
// The archive session

void frmMain::SetOpenCommandsEnabled(bool enabled)
{
    for (const char *name : kOpenStateEntries) MenuEntry(QLatin1String(name))->setEnabled(enabled);
    for (const char *key : kOpenStateButtons) ToolButton(QLatin1String(key))->setEnabled(enabled);
}

void frmMain::mnuClose_Click()
{
    session_.FileName.clear();
    tvMPQ_->ClearNodes();
    model_->Clear();
    setWindowTitle(QString::fromLatin1(kTitle));
    SetOpenCommandsEnabled(false);
    MenuEntry(QStringLiteral("mnuFindNext"))->setEnabled(false);
}

void frmMain::ApplyOpenState()
{
    SetOpenCommandsEnabled(true);
    setWindowTitle(QString::fromLatin1(kTitle) + QStringLiteral(" - ") + session_.FileName);
}

// The recent entries in use: enabled, shown, numbered as their access key.
void frmMain::ShowRecentEntries()
{
    for (int i = 1; i <= 4 && i <= session_.RecentFiles.size(); ++i) {
        const QString &path = session_.RecentFiles[i - 1];
        if (path.isEmpty()) continue;
        QAction *entry = MenuEntry(QStringLiteral("mnuRecents%1").arg(i));
        entry->setEnabled(true);
        entry->setVisible(true);
        entry->setText(QStringLiteral("&%1  %2").arg(i).arg(Literal(path)));
    }
}

bool frmMain::LoadArchive(const QString &path)
{
    ListingPorts ports{*this, *this, *model_};
    if (session_.ExplorerStyle) return LoadArchiveExplorer(path, config_, ports, *tvMPQ_, session_.TotalSize);
    return LoadArchiveClassic(path, config_, ports, session_.TotalSize);
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
    if (IsFile(path)) QFile::remove(path);
    QFile empty(path);
    if (!empty.open(QIODevice::WriteOnly | QIODevice::NewOnly)) return;  // nowhere to make it: nothing changes
    empty.close();

    session_.FileName = path;
    AddRecent(session_.RecentFiles, session_.FileName);
    ShowRecentEntries();
    ApplyOpenState();
    model_->Clear();
    tvMPQ_->ClearNodes();
    session_.TotalSize = 0;
    tvMPQ_->AddRootNode(UpperKey(session_.FileName), session_.FileName);
    tvMPQ_->Node(UpperKey(session_.FileName))->setSelected(true);
}

void frmMain::mnuOpen_Click()
{
    mnuClose_Click();
    session_.FileName = OpenFileDialog(this, kOpenFileTitle, Texts().FilterArchives, QString(), false);
    if (LoadArchive(session_.FileName)) {
        AddRecent(session_.RecentFiles, session_.FileName);
        ShowRecentEntries();
        ApplyOpenState();
    } else {
        session_.FileName.clear();
    }
}

void frmMain::mnuRecents_Click(int index)
{
    if (index < 1 || index > session_.RecentFiles.size()) return;
    const QString path = session_.RecentFiles[index - 1];
    mnuClose_Click();
    session_.FileName = path;
    if (LoadArchive(session_.FileName)) {
        AddRecent(session_.RecentFiles, session_.FileName);
        ShowRecentEntries();
        ApplyOpenState();
    } else {
        session_.FileName.clear();  // a path that is gone stays listed
    }
}

void frmMain::mnuRefresh_Click()
{
    model_->Clear();
    tvMPQ_->ClearNodes();
    LoadArchive(session_.FileName);
}

Qt::DropAction frmMain::Form_OLEDragOver(const QMimeData *drag) const
{
    // Over an open archive the window takes no drop. The drop copies: a file
    // manager that saw a move could remove the user's file.
    return drag && drag->hasUrls() && session_.FileName.isEmpty() ? Qt::CopyAction : Qt::IgnoreAction;
}

void frmMain::Form_OLEDragDrop(const QMimeData *drag)
{
    mnuClose_Click();
    if (!drag || drag->urls().isEmpty()) return;
    const QString path = drag->urls().first().toLocalFile();
    if (path.isEmpty() || IsDirectory(path)) return;
    session_.FileName = path;
    if (LoadArchive(session_.FileName)) {
        AddRecent(session_.RecentFiles, session_.FileName);
        ShowRecentEntries();
        ApplyOpenState();
    } else {
        session_.FileName.clear();
    }
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
// The styles and the tree

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
    ListingPorts ports{*this, *this, *model_};
    FillFolderList(session_.FileName, folder, config_, ports);
}

void frmMain::tvMPQ_MouseUp(int button, int /*shift*/, QPoint position)
{
    if (button != 2) return;
    if (!tvMPQ_->SelectedNode() || !tvMPQ_->itemAt(position)) return;
    mnuExplorerPopup_->popup(tvMPQ_->viewport()->mapToGlobal(position));
}

void frmMain::lwMPQ_MouseUp(int button, int /*shift*/, QPoint position)
{
    if (button != 2) return;
    if (!lwMPQ_->currentIndex().isValid() || !lwMPQ_->indexAt(position).isValid()) return;
    mnuPopup_->popup(lwMPQ_->viewport()->mapToGlobal(position));
}

void frmMain::tbMenu_ButtonClick(const QString &key)
{
    if (key == QLatin1String("new")) mnuNew_Click();
    else if (key == QLatin1String("open")) mnuOpen_Click();
    else if (key == QLatin1String("add")) mnuAdd_Click();
    else if (key == QLatin1String("extract")) mnuExtract_Click();
    else if (key == QLatin1String("delete")) mnuDelete_Click();
    else if (key == QLatin1String("view")) lwMPQ_DblClick();
    else if (key == QLatin1String("infompq")) ShowArchiveProperties();
    else if (key == QLatin1String("infofile")) mnuPopupInfoFile_Click();
    else if (key == QLatin1String("exe")) mnuMakeEXE_Click();
    else if (key == QLatin1String("exit")) mnuExit_Click();
}

// ---------------------------------------------------------------------------
// Files in and out

// After an add every row is new: the list, or tree and list, are made again.
void frmMain::ListAfterAdd(const AddReport &report)
{
    if (!report.opened) return;
    if (session_.ExplorerStyle) {
        mnuRefresh_Click();
    } else {
        model_->Clear();
        ListingPorts ports{*this, *this, *model_};
        LoadArchiveClassic(session_.FileName, config_, ports, session_.TotalSize);
    }
    // The listing ends on "ready"; an archive that could not be written, or
    // files that did not go in (a full disk, a file gone), say so instead.
    if (!report.written)
        SetStatusText(Texts().StatusBarNotWritten);
    else if (!report.failed.isEmpty())
        SetStatusText(ReplaceValue(Texts().StatusBarNotAdded, QString::number(report.failed.size())));
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
    ListAfterAdd(AddFiles(session_.FileName, names, folder, QByteArray(), config_, *this, *this));
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
    ListAfterAdd(AddFiles(session_.FileName, names, folder, QByteArray(), config_, *this, *this));
}

void frmMain::mnuExtract_Click()
{
    if (!lwMPQ_->currentIndex().isValid()) return;
    const QString folder = BrowseForFolder(this, QString(), true);
    if (folder.isEmpty()) return;
    ExtractFiles(session_.FileName, SelectedTags(), folder, *this, *this);
}

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
    const std::vector<int> rows = SelectedRows();
    const QList<QByteArray> tags = SelectedTags();
    // The rows go whatever the engine answered; the next listing shows the truth.
    const int current = CurrentRow();
    const DeleteReport report = DeleteStoredFiles(session_.FileName, tags, config_.DefaultMaxFiles, *this);
    if (!report.opened || !report.written) return;  // the rows stay as the archive does
    model_->RemoveRows(rows);
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
    const QByteArray newTag = EncodeText(newString);
    switch (RenameStoredFile(session_.FileName, model_->Row(row).Tag, newTag, config_.DefaultMaxFiles)) {
    case RenameResult::NotOpened:
        cancel = true;
        return;
    case RenameResult::NotWritten:
        SetStatusText(Texts().StatusBarNotWritten);
        cancel = true;
        return;
    case RenameResult::NameInUse:
        ShowMessageBox(this, QStringLiteral("Impossibile rinominare il file! File gia esistente"), QString(),
                       MessageButton::OK, MessageIcon::Exclamation, MessageButton::OK);
        cancel = true;
        return;
    case RenameResult::Renamed:
    case RenameResult::Refused:  // the row follows the user all the same; a refresh shows the truth
        break;
    }
    model_->RenameRow(row, newString, newTag);
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
}

// ---------------------------------------------------------------------------
// Selection, find, sort order

void frmMain::SelectRowRange(int first, int last, QItemSelectionModel::SelectionFlags how)
{
    if (first > last) return;
    const QItemSelection rows(model_->index(first, 0), model_->index(last, ListRow::ColumnCount - 1));
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
    if (model_->SortKey() == index) {
        model_->SetSortOrder(model_->SortOrder() == 0 ? 1 : 0);
    } else {
        model_->SetSortOrder(0);
        model_->SetSortKey(index);
    }
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

Qt::DropAction frmMain::lwMPQ_OLEDragOver(const QMimeData *drag) const
{
    return drag && drag->hasUrls() && !session_.FileName.isEmpty() ? Qt::CopyAction : Qt::IgnoreAction;
}

void frmMain::lwMPQ_OLEDragDrop(const QMimeData *drag)
{
    if (!drag) return;
    QStringList paths;
    for (const QUrl &url : drag->urls())
        if (url.isLocalFile()) paths.append(url.toLocalFile());
    if (paths.isEmpty()) return;
    const DropBatch batch = BuildDropBatch(paths);
    QByteArray prefix;
    if (session_.ExplorerStyle) {
        QTreeWidgetItem *node = tvMPQ_->SelectedNode();
        const QString key = node ? FolderTreeWidget::Key(node) : QString();
        if (node && key != FolderTreeWidget::Key(tvMPQ_->topLevelItem(0))) prefix = EncodeText(key);
    }
    ListAfterAdd(AddFiles(session_.FileName, batch.names, batch.baseFolder, prefix, config_, *this, *this));
}

QMimeData *frmMain::lwMPQ_OLEStartDrag()
{
    return new DeferredUrlData([this] { return lwMPQ_OLESetData(); });
}

QList<QUrl> frmMain::lwMPQ_OLESetData()
{
    QList<QUrl> urls;
    for (const QString &path : StageDragOut(session_.FileName, SelectedTags(), session_.TempPath, *this, *this))
        urls.append(QUrl::fromLocalFile(path));
    return urls;
}

void frmMain::lwMPQ_DblClick()
{
    const int row = CurrentRow();
    if (row < 0) return;
    const QString copy = ExtractForViewing(session_.FileName, model_->Row(row).Tag, session_.TempPath, *this, *this);
    if (!copy.isEmpty()) ShellOpen(QUrl::fromLocalFile(copy));
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

// ---------------------------------------------------------------------------
// Reports

void frmMain::SetStatusText(const QString &status)
{
    const QString text = MarkControls(status);  // the names in it may hold controls
    if (panel1_->text() == text) return;
    panel1_->setText(text);
    // The listings do not yield: the panel shows each new text at once.
    if (panel1_->isVisible()) panel1_->repaint();
}

void frmMain::SetProgressMax(int max) { pbStatus_->setMaximum(std::max(max, 1)); }
void frmMain::SetProgressValue(int value) { pbStatus_->setValue(value); }
void frmMain::SetProgressVisible(bool visible) { pbStatus_->setVisible(visible); }

void frmMain::Yield() { QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents); }
