// The main window: the toolbar, the menus, the archive list with the folder
// tree beside it, the status bar with its progress, and the one ordered
// start-up and shutdown of the program. Its commands gather what the user
// chose, hand it to the core and show what came back; which archive is open
// is the session's (session/archive_session.h), the menus and the toolbar
// come from the command table (commands.h), the measures from main_layout.h.
//
// Where the handlers are, one file a menu of the command table:
//   frm_main_file.cpp     File: new, open, close, recent archives, exit
//   frm_main_edit.cpp     Edit: the selection, find, find next
//   frm_main_view.cpp     View: the bars, the preview pane, the styles, the
//                         sort order (and a click on a header), refresh
//   frm_main_actions.cpp  Action: add, extract, rename, delete, compact,
//                         unpack, pack; the popups' new folder, the
//                         properties of a file and of the archive (buttons)
//   frm_main_tools.cpp    Tools: make EXE, verify, the embedder
//   frm_main_options.cpp  Options and "?": configuration, home page, about
//   frm_main.cpp          the controls, the layout, the events, the ports,
//                         drops on the window, opening a stored file (the
//                         popup's Open, a double click) and its write-back
//   frm_main_startup.cpp  start-up, shutdown and the window's settings
#pragma once

#include <QItemSelectionModel>
#include <QMainWindow>
#include <QUrl>

#include <memory>
#include <vector>

#include "config/app_config.h"
#include "dialogs/dialogs.h"
#include "session/archive_session.h"
#include "shell/archive_list_model.h"
#include "shell/commands.h"
#include "shell/main_layout.h"
#include "shell/window_ports.h"

class QLabel;
class QMenu;
class QMimeData;
class QToolBar;
class QTreeWidgetItem;
struct AddReport;
class ArchiveListModel;
class BatchProgress;
class ArchiveListView;
class FolderTreeWidget;
class PreviewPane;
class frmConfig;
class frmInfoFile;
class frmInfoMPQ;
class frmMPQEmbedder;
class WriteBackWatcher;
class WindowScratch;

// Where the window finds its files. Empty fields take the program's own:
// the executable's folder, the settings file found from there, the user's
// scratch folder.
struct StartupPaths {
    QString programFolder;
    QString launchFolder;  // the folder a relative command line is taken from
    QString iniPath;
    QString tempPath;
};

class frmMain : public QMainWindow, public ListTransferPort {
    Q_OBJECT
public:
    explicit frmMain(StartupPaths paths = {}, QWidget *parent = nullptr);
    ~frmMain() override;

    // The start-up sequence: settings, window state, then the archive that
    // the command line names. The shutdown: window state to the settings,
    // scratch folder gone.
    void Form_Load(const QString &commandLine);
    void Form_Unload();

    // File (frm_main_file.cpp): which archive is open.
    void mnuNew_Click();
    void mnuOpen_Click();
    void mnuClose_Click();
    void mnuRecents_Click(int index);  // 1 to 4
    void mnuExit_Click();

    // Edit (frm_main_edit.cpp): the selection and find.
    void mnuSelectAll_Click();
    void mnuDeselectAll_Click();
    void mnuReverse_Click();
    void mnuFind_Click();
    void mnuFindNext_Click();

    // View (frm_main_view.cpp): the bars, the preview pane, the styles, the
    // sort order, a new listing.
    void mnuTools_Click();
    void mnuStatus_Click();
    // Shows or hides the preview pane beside the list.
    void mnuPreview_Click();
    void mnuClassicStyle_Click();
    void mnuExplorerStyle_Click();
    void mnuArrange_Click(int index);     // 0 to 5
    void lwMPQ_ColumnClick(int column);   // the header's index, from 1
    void mnuRefresh_Click();

    // Action (frm_main_actions.cpp): files in and out; changes to the rows:
    // delete the selection, rename the current row in place, a new folder in
    // the tree; the properties of the current row and of the archive.
    void mnuAdd_Click();
    void mnuAddDir_Click();
    // Into the folder selected in the tree, in Explorer style.
    void AddDroppedFiles(const DropBatch &batch) override;
    void mnuExtract_Click();
    void mnuExtractAll_Click();
    void mnuRename_Click();
    // The end of an in-place edit of the current row's name with `newString`;
    // `cancel` comes back true when the row keeps its old name.
    void lwMPQ_AfterLabelEdit(bool &cancel, const QString &newString);
    void mnuDelete_Click();
    void mnuCompact_Click();
    // An archive to a folder with its manifest, and a folder into an archive.
    void mnuUnpack_Click();
    void mnuPack_Click();
    void mnuPopupCreateDir_Click();
    void mnuPopupInfoFile_Click();
    void ShowArchiveProperties();

    // Tools (frm_main_tools.cpp).
    void mnuMakeEXE_Click();
    void mnuVerify_Click();
    void mnuMPQEm_Click();

    // Options and "?" (frm_main_options.cpp).
    void mnuConfig_Click();
    void mnuHomePage_Click();
    void mnuAbout_Click();

    // The window's events (frm_main.cpp): a drop of a file on the window
    // with no archive open, the layout, the splitter, the tree, the popups,
    // the toolbar.
    Qt::DropAction Form_OLEDragOver(const QMimeData *drag) const;
    void Form_OLEDragDrop(const QMimeData *drag);
    void Form_Resize();
    // A drag of the splitter: `x` twips from its left edge; button 1 alone drags.
    void lblSplitter_MouseMove(int button, int shift, float x, float y);
    void tbMenu_ButtonClick(const QString &key);
    void tvMPQ_NodeClick(QTreeWidgetItem *node);
    void tvMPQ_MouseUp(int button, int shift, QPoint position);
    void lwMPQ_MouseUp(int button, int shift, QPoint position);

    // Drag and drop on the list (the model carries them), and opening a
    // stored file: a double click, the popup's Open, the view button.
    QString TransferArchive() const override { return session_.FileName; }
    QString TransferScratchFolder() const override;
    StatusPanel &TransferStatus() override;
    EventQueue &TransferEvents() override;
    void lwMPQ_DblClick();
    // A stored file opened with a double click and saved since in another
    // program: asks whether to put it back under its stored name.
    void WriteBack(const QString &copy);
    WriteBackWatcher *WriteBacks() const { return writeBack_; }

    ArchiveSession &Session() { return session_; }
    AppConfig &Config() { return config_; }
    StatusReport &Reports() { return *reports_; }
    const MainLayout &Layout() const { return layout_; }
    ArchiveListModel *Model() const { return model_; }
    ArchiveListView *List() const { return lwMPQ_; }
    FolderTreeWidget *Tree() const { return tvMPQ_; }
    PreviewPane *Preview() const { return preview_; }
    bool FirstRun() const { return firstRun_; }
    // The configuration dialog, made at start-up and kept; the others are
    // loaded at their first use and kept.
    frmConfig *ConfigDialog() const { return config_dialog_; }
    frmInfoFile *InfoFileDialog();
    frmInfoMPQ *InfoMPQDialog();
    frmMPQEmbedder *EmbedderDialog();
    // A menu entry by its name ("mnuAdd", "mnuRecents2", "mnuArrange3"), a
    // toolbar button by its key ("add"), a menu or popup by its name.
    QAction *MenuEntry(const QString &name) const { return commands_.Entry(name); }
    QAction *ToolButton(const QString &key) const { return commands_.Button(key); }
    QMenu *Popup(const QString &name) const { return commands_.Menu(name); }

protected:
    void closeEvent(QCloseEvent *event) override;
    void dragEnterEvent(QDragEnterEvent *event) override;
    void dragMoveEvent(QDragMoveEvent *event) override;
    void dropEvent(QDropEvent *event) override;
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    void BuildControls();
    void ApplyTexts();
    void ApplyWindowSettings();
    WindowSettings CurrentWindowSettings() const;
    // What the session reports to; a listing's progress and Cancel go
    // through `listing` when given.
    SessionPorts Ports(BatchProgress *listing = nullptr);
    // Opens `path` through the session and shows the outcome.
    void OpenArchive(const QString &path);
    // The title, the recent entries and the commands as the session stands.
    void ShowSession();
    void SetStyle(bool explorer);
    // Lists the archive anew after an add that opened it.
    void ListAfterAdd(const AddReport &report);
    // Adds to the open archive, with what New asked for it while it is
    // still the empty file New left.
    AddReport AddToArchive(const QStringList &names, const QString &folder, const QByteArray &prefix,
                           StatusPanel &status, EventQueue &events);
    // The selected rows, and their Tags, in the order the list shows them.
    std::vector<int> SelectedRows() const;
    QList<QByteArray> SelectedTags() const;
    int CurrentRow() const;
    void SelectRowRange(int first, int last, QItemSelectionModel::SelectionFlags how);
    // Selects the first row from `start` on whose name the find text finds,
    // makes it current and scrolls to it.
    void FindFrom(int start);
    void ShowSortOrder();
    // The preview pane looks at the current row, or at the archive when
    // there is none; nothing when it is hidden.
    void UpdatePreview();
    Dpi ScreenDpi() const { return Dpi{logicalDpiX(), logicalDpiY()}; }
    void Place(QWidget *control, const TwipsBox &box);

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
    PreviewPane *preview_ = nullptr;
    QLabel *lblSplitter_ = nullptr;
    std::unique_ptr<StatusReport> reports_;
    std::unique_ptr<TreePort> treePort_;
    WindowCommands commands_;
    MainLayout layout_;
    frmConfig *config_dialog_ = nullptr;
    frmInfoFile *infoFile_ = nullptr;
    frmInfoMPQ *infoMPQ_ = nullptr;
    WriteBackWatcher *writeBack_ = nullptr;
    // This window's own scratch folder (session_.TempPath), gone with the window.
    std::unique_ptr<WindowScratch> scratch_;
    // What New asked for the archive at `newArchivePath_`, made at its first add.
    QString newArchivePath_;
    NewArchiveChoice newArchive_;
    frmMPQEmbedder *embedder_ = nullptr;
};
