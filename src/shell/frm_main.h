// The main window: the archive list, the status bar with its progress, and
// the one ordered start-up and shutdown of the program.
#pragma once

#include <QMainWindow>

#include "config/app_config.h"
#include "listing/reporting.h"
#include "shell/archive_session.h"

class QLabel;
class QProgressBar;
class QStatusBar;
class QTreeView;
class ArchiveListModel;

// Where the window finds its files. Empty fields take the program's own:
// the executable's folder, the settings file found from there, the user's
// scratch folder.
struct StartupPaths {
    QString programFolder;
    QString launchFolder;  // the folder a relative command line is taken from
    QString iniPath;
    QString tempPath;
};

class frmMain : public QMainWindow, public StatusPanel, public ProgressBar {
    Q_OBJECT
public:
    explicit frmMain(StartupPaths paths = {}, QWidget *parent = nullptr);
    ~frmMain() override;

    // The start-up sequence: settings, window state, then the archive that
    // the command line names.
    void Form_Load(const QString &commandLine);
    // The shutdown sequence: window state to the settings, scratch folder gone.
    void Form_Unload();

    // The closed state: no archive, empty list, title "Arcavera".
    void mnuClose_Click();
    // The open state for the archive in FileName.
    void ApplyOpenState();
    // Lists `path` in the style in force; false when it names no file.
    bool LoadArchive(const QString &path);

    // StatusPanel and ProgressBar, over panel 1 and pbStatus.
    void SetStatusText(const QString &text) override;
    void SetProgressMax(int max) override;
    void SetProgressValue(int value) override;
    void SetProgressVisible(bool visible) override;

    ArchiveSession &Session() { return session_; }
    const AppConfig &Config() const { return config_; }
    ArchiveListModel *Model() const { return model_; }
    bool FirstRun() const { return firstRun_; }

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    void BuildControls();
    void ApplyWindowSettings();
    WindowSettings CurrentWindowSettings() const;
    int TwipsToPixelsX(double twips) const;
    int TwipsToPixelsY(double twips) const;
    double PixelsToTwipsX(int pixels) const;
    double PixelsToTwipsY(int pixels) const;

    StartupPaths paths_;
    ArchiveSession session_;
    AppConfig config_;
    WindowSettings settings_;
    bool firstRun_ = false;
    bool unloaded_ = false;

    QTreeView *lwMPQ_ = nullptr;
    ArchiveListModel *model_ = nullptr;
    QStatusBar *StatusBar1_ = nullptr;
    QLabel *panel1_ = nullptr;
    QWidget *panel2_ = nullptr;
    QProgressBar *pbStatus_ = nullptr;
};
