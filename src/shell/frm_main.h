// The main window: the toolbar, the menus, the archive list with the folder
// tree beside it, the status bar with its progress, and the one ordered
// start-up and shutdown of the program.
//
// The window's measures are kept in twips, as the settings store them, and
// laid out by hand: the bars dock along the top and bottom edges of the
// client area, the list fills the rest, and in Explorer style the tree and a
// thin splitter stand at its left.
#pragma once

#include <QHash>
#include <QItemSelectionModel>
#include <QMainWindow>
#include <QUrl>

#include <vector>
#include <QVector>

#include "config/app_config.h"
#include "listing/reporting.h"
#include "session/archive_session.h"
#include "config/startup.h"

class QAction;
class QActionGroup;
class QLabel;
class QMenu;
class QMimeData;
class QProgressBar;
class QStatusBar;
class QToolBar;
class QTreeView;
class QTreeWidgetItem;
struct AddReport;
class ArchiveListModel;
class ArchiveListView;
class FolderTreeWidget;
class frmConfig;
class frmInfoFile;
class frmInfoMPQ;
class frmMPQEmbedder;

// Where the window finds its files. Empty fields take the program's own:
// the executable's folder, the settings file found from there, the user's
// scratch folder.
struct StartupPaths {
    QString programFolder;
    QString launchFolder;  // the folder a relative command line is taken from
    QString iniPath;
    QString tempPath;
};

// A control's place in twips, within the client area.
struct TwipsBox {
    float left = 0;
    float top = 0;
    float width = 0;
    float height = 0;
};


class frmMain : public QMainWindow, public StatusPanel, public ProgressBar, public EventQueue {
    Q_OBJECT
public:
    explicit frmMain(StartupPaths paths = {}, QWidget *parent = nullptr);
    ~frmMain() override;

    // The start-up sequence: settings, window state, then the archive that
    // the command line names.
    void Form_Load(const QString &commandLine);
    // The shutdown sequence: window state to the settings, scratch folder gone.
    void Form_Unload();

    // Which archive is open.
    void mnuClose_Click();
    void ApplyOpenState();
    bool LoadArchive(const QString &path);
    void mnuNew_Click();
    void mnuOpen_Click();
    void mnuRecents_Click(int index);  // 1 to 4
    void mnuRefresh_Click();
    // A drag over the window: the drop action it would take.
    Qt::DropAction Form_OLEDragOver(const QMimeData *drag) const;
    void Form_OLEDragDrop(const QMimeData *drag);

    // Files in and out.
    void mnuAdd_Click();
    void mnuAddDir_Click();
    void mnuExtract_Click();
    void mnuPopupExtract_Click() { mnuExtract_Click(); }

    // Changes to the rows: delete the selection, rename the current row in
    // place, a new folder in the tree.
    void mnuDelete_Click();
    void mnuPopupDelete_Click() { mnuDelete_Click(); }
    void mnuRename_Click();
    void mnuPopupRename_Click() { mnuRename_Click(); }
    // The end of an in-place edit of the current row's name with `newString`;
    // `cancel` comes back true when the row keeps its old name.
    void lwMPQ_AfterLabelEdit(bool &cancel, const QString &newString);
    void mnuPopupCreateDir_Click();

    // Selection, find and the sort order.
    void mnuSelectAll_Click();
    void mnuDeselectAll_Click();
    void mnuReverse_Click();
    void mnuFind_Click();
    void mnuFindNext_Click();
    void mnuArrange_Click(int index);     // 0 to 5
    void lwMPQ_ColumnClick(int column);   // the header's index, from 1

    // Drag and drop on the list, and opening a stored file.
    Qt::DropAction lwMPQ_OLEDragOver(const QMimeData *drag) const;
    void lwMPQ_OLEDragDrop(const QMimeData *drag);
    // The data of a drag of the selected rows: files, made when asked for.
    QMimeData *lwMPQ_OLEStartDrag();
    // What the place of the drop gets: the scratch folder's top entries.
    QList<QUrl> lwMPQ_OLESetData();
    void lwMPQ_DblClick();
    void mnuPopupOpen_Click() { lwMPQ_DblClick(); }

    // Properties of the current row and of the archive, and the tools.
    void mnuPopupInfoFile_Click();
    void ShowArchiveProperties();
    void mnuMakeEXE_Click();
    void mnuMPQEm_Click();

    // The view.
    void Form_Resize();
    void lblSplitter_MouseMove(int button, int shift, float x, float y);
    void mnuTools_Click();
    void mnuStatus_Click();
    void mnuClassicStyle_Click();
    void mnuExplorerStyle_Click();
    void tbMenu_ButtonClick(const QString &key);
    void tvMPQ_NodeClick(QTreeWidgetItem *node);
    void tvMPQ_MouseUp(int button, int shift, QPoint position);
    void lwMPQ_MouseUp(int button, int shift, QPoint position);
    void mnuExit_Click();
    void mnuHomePage_Click();
    // The configuration dialog, modal; the credits.
    void mnuConfig_Click();
    void mnuAbout_Click();

    // StatusPanel and ProgressBar, over panel 1 and pbStatus; EventQueue over
    // the application's queue (repaints and timers, no input).
    void SetStatusText(const QString &text) override;
    void SetProgressMax(int max) override;
    void SetProgressValue(int value) override;
    void SetProgressVisible(bool visible) override;
    void Yield() override;

    ArchiveSession &Session() { return session_; }
    AppConfig &Config() { return config_; }
    ArchiveListModel *Model() const { return model_; }
    ArchiveListView *List() const { return lwMPQ_; }
    FolderTreeWidget *Tree() const { return tvMPQ_; }
    bool FirstRun() const { return firstRun_; }
    // The configuration dialog, made at start-up and kept.
    frmConfig *ConfigDialog() const { return config_dialog_; }
    // The dialogs, loaded at their first use and kept.
    frmInfoFile *InfoFileDialog();
    frmInfoMPQ *InfoMPQDialog();
    frmMPQEmbedder *EmbedderDialog();
    // A menu entry or toolbar action by its name ("mnuAdd", "mnuRecents2",
    // "mnuArrange3") or a toolbar button by its key ("add").
    QAction *MenuEntry(const QString &name) const { return menuEntries_.value(name); }
    QAction *ToolButton(const QString &key) const { return toolButtons_.value(key); }
    QMenu *Popup(const QString &name) const;
    // Measures in twips of the client area and of a control.
    float ScaleWidth() const;
    float ScaleHeight() const;
    TwipsBox Measure(const QWidget *control) const;

protected:
    void closeEvent(QCloseEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dragMoveEvent(QDragMoveEvent *event) override;
    void dropEvent(QDropEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void BuildControls();
    void BuildMenus();
    void BuildToolBar();
    void ApplyTexts();
    void ApplyWindowSettings();
    WindowSettings CurrentWindowSettings() const;
    void SetOpenCommandsEnabled(bool enabled);
    void ShowRecentEntries();
    void SetStyle(bool explorer);
    // Lists the archive anew after an add that opened it.
    void ListAfterAdd(const AddReport &report);
    // The selected rows, and their Tags, in the order the list shows them.
    std::vector<int> SelectedRows() const;
    QList<QByteArray> SelectedTags() const;
    int CurrentRow() const;
    void SelectRowRange(int first, int last, QItemSelectionModel::SelectionFlags how);
    // Selects the first row from `start` on whose name the find text finds,
    // makes it current and scrolls to it.
    void FindFrom(int start);
    void ShowSortOrder();
    void Place(QWidget *control, const TwipsBox &box);
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

    QWidget *client_ = nullptr;
    QToolBar *tbMenu_ = nullptr;
    ArchiveListView *lwMPQ_ = nullptr;
    ArchiveListModel *model_ = nullptr;
    FolderTreeWidget *tvMPQ_ = nullptr;
    QLabel *lblSplitter_ = nullptr;
    QStatusBar *StatusBar1_ = nullptr;
    QLabel *panel1_ = nullptr;
    QWidget *panel2_ = nullptr;
    QProgressBar *pbStatus_ = nullptr;
    QMenu *mnuPopup_ = nullptr;
    QMenu *mnuExplorerPopup_ = nullptr;
    QActionGroup *styleGroup_ = nullptr;
    QActionGroup *arrangeGroup_ = nullptr;
    frmConfig *config_dialog_ = nullptr;
    frmInfoFile *infoFile_ = nullptr;
    frmInfoMPQ *infoMPQ_ = nullptr;
    frmMPQEmbedder *embedder_ = nullptr;

    QHash<QString, QAction *> menuEntries_;
    QHash<QString, QAction *> toolButtons_;
    QHash<QString, QMenu *> menus_;

    // The measures the layout keeps, in twips.
    TwipsBox lw_;
    TwipsBox tv_{0, 0, 3135, 0};
    TwipsBox splitter_{0, 960, 50, 0};
    TwipsBox pb_{0, 0, 0, 255};
};
