#include "shell/frm_main.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDir>
#include <QHeaderView>
#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QScreen>
#include <QStatusBar>
#include <QTreeView>

#include "editing/helpers/file_walk.h"
#include "editing/helpers/paths.h"
#include "listing/classic_listing.h"
#include "shell/archive_list_model.h"
#include "shell/startup.h"

namespace {

constexpr double kTwipsPerInch = 1440.0;
constexpr int kColumnWidths[ListRow::ColumnCount] = {3000, 400, 1100, 1100, 800, 800};
constexpr const char *kTitle = "Arcavera";

}  // namespace

frmMain::frmMain(StartupPaths paths, QWidget *parent) : QMainWindow(parent), paths_(std::move(paths))
{
    if (paths_.programFolder.isEmpty()) paths_.programFolder = QCoreApplication::applicationDirPath();
    if (paths_.launchFolder.isEmpty()) paths_.launchFolder = QDir::currentPath();
    setObjectName(QStringLiteral("frmMain"));
    setWindowTitle(QString::fromLatin1(kTitle));
    setAcceptDrops(false);
    BuildControls();
}

frmMain::~frmMain() = default;

void frmMain::BuildControls()
{
    model_ = new ArchiveListModel(this);
    lwMPQ_ = new QTreeView(this);
    lwMPQ_->setObjectName(QStringLiteral("lwMPQ"));
    lwMPQ_->setModel(model_);
    lwMPQ_->setRootIsDecorated(false);
    lwMPQ_->setItemsExpandable(false);
    lwMPQ_->setUniformRowHeights(true);
    lwMPQ_->setAllColumnsShowFocus(true);
    lwMPQ_->setSelectionMode(QAbstractItemView::ExtendedSelection);
    lwMPQ_->setSelectionBehavior(QAbstractItemView::SelectRows);
    lwMPQ_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    lwMPQ_->header()->setStretchLastSection(false);
    lwMPQ_->header()->setSectionsMovable(false);
    for (int column = 0; column < ListRow::ColumnCount; ++column)
        lwMPQ_->setColumnWidth(column, TwipsToPixelsX(kColumnWidths[column]));
    setCentralWidget(lwMPQ_);

    StatusBar1_ = new QStatusBar(this);
    StatusBar1_->setObjectName(QStringLiteral("StatusBar1"));
    StatusBar1_->setSizeGripEnabled(true);
    panel1_ = new QLabel(StatusBar1_);
    panel1_->setObjectName(QStringLiteral("StatusBar1Panel1"));
    panel1_->setMinimumWidth(TwipsToPixelsX(5000));
    panel1_->setTextFormat(Qt::PlainText);
    StatusBar1_->addWidget(panel1_, 1);
    panel2_ = new QWidget(StatusBar1_);
    panel2_->setObjectName(QStringLiteral("StatusBar1Panel2"));
    panel2_->setFixedWidth(TwipsToPixelsX(2500));
    auto *panel2Layout = new QHBoxLayout(panel2_);
    panel2Layout->setContentsMargins(0, 0, 0, 0);
    pbStatus_ = new QProgressBar(panel2_);
    pbStatus_->setObjectName(QStringLiteral("pbStatus"));
    pbStatus_->setRange(0, 100);
    pbStatus_->setTextVisible(false);
    pbStatus_->setFixedHeight(TwipsToPixelsY(255));
    pbStatus_->setVisible(false);
    panel2Layout->addWidget(pbStatus_);
    StatusBar1_->addPermanentWidget(panel2_);
    setStatusBar(StatusBar1_);
}

int frmMain::TwipsToPixelsX(double twips) const { return qRound(twips * logicalDpiX() / kTwipsPerInch); }
int frmMain::TwipsToPixelsY(double twips) const { return qRound(twips * logicalDpiY() / kTwipsPerInch); }
double frmMain::PixelsToTwipsX(int pixels) const { return pixels * kTwipsPerInch / logicalDpiX(); }
double frmMain::PixelsToTwipsY(int pixels) const { return pixels * kTwipsPerInch / logicalDpiY(); }

void frmMain::Form_Load(const QString &commandLine)
{
    // The program's own files are found from its folder.
    QDir::setCurrent(paths_.programFolder);
    session_.TempPath = paths_.tempPath.isEmpty() ? ComputeTempPath() : paths_.tempPath;
    config_.IniPath = paths_.iniPath.isEmpty() ? LocateIniPath(paths_.programFolder) : paths_.iniPath;

    ApplyWindowSettings();
    session_.RecentFiles = ReadRecentFiles(config_.IniPath);
    firstRun_ = SeedFirstRun(config_.IniPath);
    LoadAppConfig(config_);
    model_->RefreshHeaders();

    mnuClose_Click();
    session_.FileName = ResolveFromLaunchFolder(FileNameFromCommandLine(commandLine), paths_.launchFolder);
    if (IsFile(session_.FileName) && LoadArchive(session_.FileName)) {
        AddRecent(session_.RecentFiles, session_.FileName);
        ApplyOpenState();
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
    StatusBar1_->setVisible(settings_.StatusBar);
    model_->SetSortKey(settings_.SortKey);
    model_->SetSortOrder(settings_.SortOrder);
    lwMPQ_->header()->setSortIndicatorShown(true);
    lwMPQ_->header()->setSortIndicator(settings_.SortKey,
                                       settings_.SortOrder == 1 ? Qt::DescendingOrder : Qt::AscendingOrder);
    session_.ExplorerStyle = settings_.ExplorerStyle;
}

WindowSettings frmMain::CurrentWindowSettings() const
{
    WindowSettings settings = settings_;
    const QScreen *screen = this->screen() ? this->screen() : QGuiApplication::primaryScreen();
    const QPoint origin = screen ? screen->availableGeometry().topLeft() : QPoint();
    const QRect geometry = normalGeometry().isValid() ? normalGeometry() : this->geometry();
    settings.Width = static_cast<float>(PixelsToTwipsX(geometry.width()));
    settings.Height = static_cast<float>(PixelsToTwipsY(geometry.height()));
    settings.Left = static_cast<float>(PixelsToTwipsX(geometry.left() - origin.x()));
    settings.Top = static_cast<float>(PixelsToTwipsY(geometry.top() - origin.y()));
    settings.StatusBar = !StatusBar1_->isHidden();
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
    DeleteFiles(session_.TempPath, QStringLiteral("*"), 6, true);
    if (IsDirectory(session_.TempPath)) QDir().rmdir(session_.TempPath);
}

void frmMain::closeEvent(QCloseEvent *event)
{
    Form_Unload();
    event->accept();
}

void frmMain::mnuClose_Click()
{
    session_.FileName.clear();
    model_->Clear();
    setWindowTitle(QString::fromLatin1(kTitle));
}

void frmMain::ApplyOpenState() { setWindowTitle(QString::fromLatin1(kTitle) + QStringLiteral(" - ") + session_.FileName); }

bool frmMain::LoadArchive(const QString &path)
{
    ListingPorts ports{*this, *this, *model_};
    return LoadArchiveClassic(path, config_, ports, session_.TotalSize);
}

void frmMain::SetStatusText(const QString &text) { panel1_->setText(text); }
void frmMain::SetProgressMax(int max) { pbStatus_->setMaximum(std::max(max, 1)); }
void frmMain::SetProgressValue(int value) { pbStatus_->setValue(value); }
void frmMain::SetProgressVisible(bool visible) { pbStatus_->setVisible(visible); }
