// The main window's start and end: the settings, the window as the user
// left it, the first run's question, the archive of the command line; and
// the shutdown that writes the window's state back and removes the scratch
// folder.
#include "shell/frm_main.h"

#include <QCloseEvent>
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QLayout>
#include <QLocale>
#include <QScreen>
#include <QStatusBar>
#include <QToolBar>

#include "config/frm_config.h"
#include "config/registry.h"
#include "config/startup.h"
#include "base/paths.h"
#include "editing/window_scratch.h"
#include "layout/twips.h"
#include "pane/preview_pane_widget.h"
#include "shell/archive_list_model.h"

void frmMain::Form_Load(const QString &commandLine)
{
    // The current folder stays where the program was started, so that the
    // first file dialog opens there; the program's own files are found by
    // their full paths.
    // Each window has a scratch folder of its own below the user's.
    scratch_ = std::make_unique<WindowScratch>(paths_.tempPath.isEmpty() ? ComputeTempPath() : paths_.tempPath);
    session_.TempPath = scratch_->Path();
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
    // A first start asks for the language before the window shows, the
    // system's language chosen when one ships.
    if (firstRun_) {
        config_dialog_->SelectLanguageOfLocale(QLocale::system().name());
        config_dialog_->SelectTab(3);
        config_dialog_->tabConfig_Click();
        config_dialog_->exec();
    }

    OpenArchive(ResolveFromLaunchFolder(FileNameFromCommandLine(commandLine), paths_.launchFolder));
}

void frmMain::ApplyWindowSettings()
{
    const Dpi dpi = ScreenDpi();
    const QScreen *screen = this->screen() ? this->screen() : QGuiApplication::primaryScreen();
    const QRect available = screen ? screen->availableGeometry() : QRect(0, 0, 1024, 768);
    settings_ = ReadWindowSettings(config_.IniPath, PixelsToTwips(available.width(), dpi.x),
                                   PixelsToTwips(available.height(), dpi.y));
    const QRect frame = ToPixels({settings_.Left, settings_.Top, settings_.Width, settings_.Height}, dpi);
    resize(std::max(frame.width(), 200), std::max(frame.height(), 150));
    move(available.topLeft() + frame.topLeft());
    // The client area takes its size now, so the layout below works on it.
    if (layout()) layout()->activate();

    layout_.splitter.left = settings_.Splitter;
    lblSplitter_MouseMove(1, 0, 0, 0);

    session_.RecentFiles = ReadRecentFiles(config_.IniPath);
    commands_.ShowRecentFiles(session_.RecentFiles);

    MenuEntry(QStringLiteral("mnuTools"))->setChecked(settings_.ToolBar);
    tbMenu_->setVisible(settings_.ToolBar);
    MenuEntry(QStringLiteral("mnuStatus"))->setChecked(settings_.StatusBar);
    reports_->Bar()->setVisible(settings_.StatusBar);
    if (ReadPreviewShown(config_.IniPath) != !preview_->isHidden()) mnuPreview_Click();

    model_->sort(settings_.SortKey, settings_.SortOrder == 1 ? Qt::DescendingOrder : Qt::AscendingOrder);
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
    const TwipsBox frame = ToTwips(QRect(pos() - origin, size()), ScreenDpi());
    settings.Width = frame.width;
    settings.Height = frame.height;
    settings.Left = frame.left;
    settings.Top = frame.top;
    settings.Splitter = layout_.splitter.left;
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
    WritePreviewShown(!preview_->isHidden(), config_.IniPath);
    WriteRecentFiles(session_.RecentFiles, config_.IniPath);
    if (scratch_) scratch_->Release();
}

void frmMain::closeEvent(QCloseEvent *event)
{
    Form_Unload();
    event->accept();
}
