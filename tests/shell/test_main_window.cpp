// The main window driven as a user drives it, offscreen: new archive, add,
// Explorer style, extract, close, the recent list, the enabled commands, the
// layout of the bars and the splitter, drag and drop.
#include <QAction>
#include <QActionGroup>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QMenu>
#include <QMimeData>
#include <QProgressBar>
#include <QStatusBar>
#include <QTemporaryDir>
#include <QTest>
#include <QToolBar>
#include <QTreeView>
#include <QTreeWidget>
#include <QUrl>

#include "config/ini_file.h"
#include "config/startup.h"
#include "editing/helpers/shell_open.h"
#include "listing/explorer_listing.h"
#include "shell/archive_list_model.h"
#include "shell/folder_tree_widget.h"
#include "shell/frm_main.h"
#include "support/archive_factory.h"
#include "support/window_fixture.h"
#include "support/scripted_dialogs.h"

using namespace fixtures;

namespace {

QStringList Column(const frmMain &window, int column)
{
    QStringList texts;
    const ArchiveListModel *model = window.Model();
    for (int row = 0; row < model->rowCount(); ++row) texts.append(model->index(row, column).data().toString());
    return texts;
}

// Name -> attribute letters, for the rows that are not the internal list.
QMap<QString, QString> Attributes(const frmMain &window)
{
    QMap<QString, QString> result;
    const ArchiveListModel *model = window.Model();
    for (int row = 0; row < model->rowCount(); ++row) {
        const ListRow &r = model->Row(row);
        if (!r.text().startsWith("~unknowns")) result.insert(r.text(), AttributeLetters(r.Flags));
    }
    return result;
}

QStringList TreeKeys(QTreeWidget *tree)
{
    QStringList keys;
    std::function<void(QTreeWidgetItem *)> walk = [&](QTreeWidgetItem *item) {
        keys.append(FolderTreeWidget::Key(item));
        for (int i = 0; i < item->childCount(); ++i) walk(item->child(i));
    };
    for (int i = 0; i < tree->topLevelItemCount(); ++i) walk(tree->topLevelItem(i));
    // The unnamed internal list makes a folder of its own.
    keys.removeAll(QStringLiteral("~UNKNOWNS\\"));
    return keys;
}

void SelectRows(frmMain &window, const QStringList &names)
{
    auto *list = window.findChild<QTreeView *>("lwMPQ");
    list->clearSelection();
    for (int row = 0; row < window.Model()->rowCount(); ++row) {
        if (!names.contains(window.Model()->Row(row).text())) continue;
        const QModelIndex index = window.Model()->index(row, 0);
        list->selectionModel()->select(index, QItemSelectionModel::Select | QItemSelectionModel::Rows);
        list->selectionModel()->setCurrentIndex(index, QItemSelectionModel::NoUpdate);
    }
}

}  // namespace

class TestMainWindow : public QObject {
    Q_OBJECT
    QTemporaryDir dir;
    QStringList archives;
    int windows = 0;

    StartupPaths Paths() { return WindowPaths(dir.filePath(QStringLiteral("w%1").arg(++windows))); }

    // A window started with no archive, shown offscreen at a known size.
    std::unique_ptr<frmMain> Start(const QString &commandLine = {}, const QSize size = {900, 600})
    {
        return StartWindow(Paths(), commandLine, size);
    }

private slots:
    void initTestCase();
    void newAddBrowseExtractClose();
    void addedFilesTakeTheCompressionOfTheirRules();
    void enabledCommandsFollowTheWindowState_data();
    void enabledCommandsFollowTheWindowState();
    void recentListAfterFiveArchives();
    void cancellingOpenClosesCancellingNewKeeps();
    void newReplacesAnExistingFileAndAddsTheExtension_data();
    void newReplacesAnExistingFileAndAddsTheExtension();
    void refreshAndStyleSwitchesKeepTheArchive();
    void folderClicksListTheirFiles();
    void popupsNeedANodeOrARowUnderThePointer();
    void dropOnTheEmptyWindowOpensAnArchive_data();
    void dropOnTheEmptyWindowOpensAnArchive();
    void layoutOfTheFourBarCombinations_data();
    void layoutOfTheFourBarCombinations();
    void splitterMovesOnlyWithinItsBounds_data();
    void splitterMovesOnlyWithinItsBounds();
    void storedSplitterOutsideTheBoundsIsRefused();
    void toolBarAndMenusAreComplete();
    void shortcutsReachTheCommands_data();
    void shortcutsReachTheCommands();
    void homePageOpensInTheBrowser();
};

void TestMainWindow::initTestCase()
{
    for (int i = 1; i <= 5; ++i) {
        const QString path = dir.filePath(QStringLiteral("archives/map%1.w3x").arg(i));
        QVERIFY(MakeArchive(path, {{"war3map.j", TextData(100 * i)}, {"units\\footman.mdx", TextData(50)}},
                            dir.filePath("scratch")));
        archives.append(path);
    }
}

// The whole road of a new user: New, add files, add a folder, Explorer style,
// a folder click, extract a selection, close.
void TestMainWindow::newAddBrowseExtractClose()
{
    auto window = Start();
    QVERIFY(window);
    ScriptedDialogs dialogs;
    const QString source = dir.filePath("story/source");
    const QByteArray readme = TextData(5000);
    const QByteArray wave = WaveData(40000);
    WriteFile(source + "/Readme.txt", readme);
    WriteFile(source + "/intro.wav", wave);
    WriteFile(source + "/tree/a b/notes è.txt", TextData(777, 'n'));
    WriteFile(source + "/tree/.hidden", "secret");
    WriteFile(source + "/tree/units/grunt.mdx", TextData(20000, 'g'));

    dialogs.answers = {{dir.filePath("story/new")}};
    window->mnuNew_Click();
    const QString archive = dir.filePath("story/new.mpq");
    QCOMPARE(window->Session().FileName, archive);
    QCOMPARE(QFileInfo(archive).size(), 0);
    QCOMPARE(window->windowTitle(), "Arcavera - " + archive);
    QCOMPARE(dialogs.asked.last().title, QStringLiteral("Salva File"));
    QCOMPARE(dialogs.asked.last().nameFilters.first(), QStringLiteral("Archivi MPQ (*.mpq) (*.mpq)"));

    dialogs.answers = {{source + "/Readme.txt", source + "/intro.wav"}};
    window->mnuAdd_Click();
    QCOMPARE(dialogs.asked.last().kind, QStringLiteral("open many"));
    QCOMPARE(dialogs.asked.last().title, QStringLiteral("Apri File"));
    dialogs.answers = {{source + "/tree"}};
    window->mnuAddDir_Click();
    QCOMPARE(window->findChild<QLabel *>("StatusBar1Panel1")->text(), QStringLiteral("Pronto"));
    const QMap<QString, QString> attributes = Attributes(*window);
    QCOMPARE(attributes.keys(), (QStringList{".hidden", "Readme.txt", "a b\\notes è.txt", "intro.wav",
                                             "units\\grunt.mdx"}));

    window->mnuExplorerStyle_Click();
    auto *tree = window->findChild<QTreeWidget *>("tvMPQ");
    QVERIFY(tree->isVisible());
    QCOMPARE(TreeKeys(tree).mid(1), (QStringList{"A B\\", "UNITS\\"}));
    QCOMPARE(tree->topLevelItem(0)->text(0), archive);
    QVERIFY(!Column(*window, 0).contains("units\\grunt.mdx"));
    window->tvMPQ_NodeClick(static_cast<FolderTreeWidget *>(tree)->Node("UNITS\\"));
    QCOMPARE(Column(*window, 0), QStringList{"units\\grunt.mdx"});

    window->mnuClassicStyle_Click();
    SelectRows(*window, {"Readme.txt", "a b\\notes è.txt", "units\\grunt.mdx"});
    const QString out = dir.filePath("story/out");
    QDir().mkpath(out);
    dialogs.answers = {{out}};
    window->mnuExtract_Click();
    QCOMPARE(ReadFile(out + "/Readme.txt"), readme);
    QCOMPARE(ReadFile(out + "/a b/notes è.txt"), TextData(777, 'n'));
    QCOMPARE(ReadFile(out + "/units/grunt.mdx"), TextData(20000, 'g'));
    QVERIFY(!QFileInfo::exists(out + "/intro.wav"));  // not selected

    window->mnuClose_Click();
    QCOMPARE(window->windowTitle(), QStringLiteral("Arcavera"));
    QCOMPARE(window->Model()->rowCount(), 0);
    QCOMPARE(tree->topLevelItemCount(), 0);
    window->Form_Unload();
}

void TestMainWindow::addedFilesTakeTheCompressionOfTheirRules()
{
    auto window = Start();
    QVERIFY(window);
    ScriptedDialogs dialogs;
    const QString source = dir.filePath("rules/source");
    WriteFile(source + "/movie.BIK", TextData(30000, 'b'));
    WriteFile(source + "/nested.mpq", TextData(30000, 'm'));
    WriteFile(source + "/script.j", TextData(30000, 'j'));
    WriteFile(source + "/voice.wav", WaveData(60000));
    dialogs.answers = {{dir.filePath("rules/new.mpq")}, {source}};
    window->mnuNew_Click();
    window->mnuAddDir_Click();
    QMap<QString, std::pair<quint32, quint32>> sizes;
    for (int row = 0; row < window->Model()->rowCount(); ++row) {
        const ListRow &r = window->Model()->Row(row);
        sizes.insert(r.text(), {r.FullSize, r.CompressedSize});
    }
    const QMap<QString, QString> attributes = Attributes(*window);
    // The first run's rules store these plain, whatever the case of the extension.
    QCOMPARE(attributes.value("movie.BIK"), QStringLiteral("---"));
    QCOMPARE(sizes.value("movie.BIK").second, sizes.value("movie.BIK").first);
    QCOMPARE(attributes.value("nested.mpq"), QStringLiteral("---"));
    // No rule: the default compression.
    QCOMPARE(attributes.value("script.j"), QStringLiteral("C--"));
    QVERIFY(sizes.value("script.j").second < 30000 / 4);
    // The wave goes through the audio compression: far smaller than the
    // data, and no longer the same bytes.
    QCOMPARE(attributes.value("voice.wav"), QStringLiteral("C--"));
    QVERIFY(sizes.value("voice.wav").second < sizes.value("voice.wav").first / 2);
    bool ok = false;
    QVERIFY(ReadStored(dir.filePath("rules/new.mpq"), "voice.wav", &ok) != WaveData(60000));
    QVERIFY(ok);
    window->Form_Unload();
}

void TestMainWindow::enabledCommandsFollowTheWindowState_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("closed");
    QTest::addColumn<bool>("open");
    for (const char *name : {"mnuClose", "mnuSelectAll", "mnuDeselectAll", "mnuReverse", "mnuFind", "mnuAdd",
                             "mnuAddDir", "mnuExtract", "mnuDelete", "mnuRename", "mnuRefresh", "mnuMakeEXE"})
        QTest::newRow(name) << QString(name) << false << true;
    for (const char *key : {"infompq", "add", "extract", "delete", "view", "infofile", "exe"})
        QTest::newRow(key) << QString(key) << false << true;
    for (const char *key : {"new", "open", "exit"}) QTest::newRow(key) << QString(key) << true << true;
    for (const char *name : {"mnuNew", "mnuOpen", "mnuExit", "mnuMPQEm", "mnuConfig", "mnuAbout", "mnuHomePage",
                             "mnuClassicStyle", "mnuExplorerStyle", "mnuTools", "mnuStatus"})
        QTest::newRow(name) << QString(name) << true << true;
    QTest::newRow("mnuFindNext") << "mnuFindNext" << false << false;
}

void TestMainWindow::enabledCommandsFollowTheWindowState()
{
    QFETCH(QString, name);
    QFETCH(bool, closed);
    QFETCH(bool, open);
    auto window = Start();
    QVERIFY(window);
    auto enabled = [&] {
        QAction *action = name.startsWith("mnu") ? window->MenuEntry(name) : window->ToolButton(name);
        return action && action->isEnabled();
    };
    QCOMPARE(enabled(), closed);
    ScriptedDialogs dialogs;
    dialogs.answers = {{archives[0]}};
    window->mnuOpen_Click();
    QCOMPARE(enabled(), open);
    QCOMPARE(window->windowTitle(), "Arcavera - " + archives[0]);
    window->mnuClose_Click();
    QCOMPARE(enabled(), closed);
    window->Form_Unload();
}

void TestMainWindow::recentListAfterFiveArchives()
{
    auto window = Start();
    QVERIFY(window);
    QAction *first = window->MenuEntry("mnuRecents1");
    QCOMPARE(first->text(), QStringLiteral("Nessun file recente"));
    QVERIFY(!first->isEnabled());
    QVERIFY(first->isVisible());
    QVERIFY(!window->MenuEntry("mnuRecents2")->isVisible());

    ScriptedDialogs dialogs;
    for (const QString &archive : archives) {
        dialogs.answers = {{archive}};
        window->mnuOpen_Click();
        QCOMPARE(dialogs.asked.last().title, QStringLiteral("Apri File"));
        QCOMPARE(dialogs.asked.last().nameFilters.size(), 7);
    }
    auto captions = [&] {
        QStringList texts;
        for (int i = 1; i <= 4; ++i) texts.append(window->MenuEntry(QStringLiteral("mnuRecents%1").arg(i))->text());
        return texts;
    };
    QCOMPARE(captions(), (QStringList{"&1  " + archives[4], "&2  " + archives[3], "&3  " + archives[2],
                                      "&4  " + archives[1]}));
    // The entry at place 3 moves to the top.
    window->mnuRecents_Click(3);
    QCOMPARE(window->Session().FileName, archives[2]);
    QCOMPARE(window->Session().RecentFiles, (QStringList{archives[2], archives[4], archives[3], archives[1]}));
    QCOMPARE(window->Model()->rowCount(), 3);
    // A recent path that is gone closes the window and stays listed.
    QFile::rename(archives[3], archives[3] + ".away");
    window->mnuRecents_Click(3);
    QCOMPARE(window->windowTitle(), QStringLiteral("Arcavera"));
    QVERIFY(!window->MenuEntry("mnuAdd")->isEnabled());
    QCOMPARE(window->Session().RecentFiles[2], archives[3]);
    QFile::rename(archives[3] + ".away", archives[3]);
    window->Form_Unload();
    QCOMPARE(ReadIni("Recent", "1", window->Config().IniPath, ""), archives[2]);
}

void TestMainWindow::cancellingOpenClosesCancellingNewKeeps()
{
    auto window = Start(archives[0]);
    QVERIFY(window);
    QCOMPARE(window->Model()->rowCount(), 3);
    ScriptedDialogs dialogs;
    window->mnuNew_Click();  // no answer: cancelled
    QCOMPARE(window->Session().FileName, archives[0]);
    QCOMPARE(window->Model()->rowCount(), 3);
    window->mnuOpen_Click();
    QCOMPARE(window->Session().FileName, QString());
    QCOMPARE(window->windowTitle(), QStringLiteral("Arcavera"));
    QCOMPARE(window->Model()->rowCount(), 0);
    window->Form_Unload();
}

void TestMainWindow::newReplacesAnExistingFileAndAddsTheExtension_data()
{
    QTest::addColumn<QString>("typed");
    QTest::addColumn<QString>("made");
    QTest::addColumn<bool>("existing");  // the made name is there already
    QTest::addColumn<MessageButton>("answer");
    QTest::addColumn<bool>("replaced");
    QTest::newRow("mpq replaced") << "a.mpq" << "a.mpq" << true << MessageButton::No << true;
    QTest::newRow("capital extension kept") << "b.MPQ" << "b.MPQ" << false << MessageButton::No << true;
    QTest::newRow("other archive type gets .mpq") << "c.w3x" << "c.w3x.mpq" << false << MessageButton::No << true;
    QTest::newRow("no extension") << "d" << "d.mpq" << false << MessageButton::No << true;
    QTest::newRow("added name exists, kept") << "e" << "e.mpq" << true << MessageButton::No << false;
    QTest::newRow("added name exists, replaced") << "f" << "f.mpq" << true << MessageButton::Yes << true;
}

void TestMainWindow::newReplacesAnExistingFileAndAddsTheExtension()
{
    QFETCH(QString, typed);
    QFETCH(QString, made);
    QFETCH(bool, existing);
    QFETCH(MessageButton, answer);
    QFETCH(bool, replaced);
    auto window = Start();
    QVERIFY(window);
    const QString folder = dir.filePath("new-" + QString(QTest::currentDataTag()).replace(' ', '-'));
    QDir().mkpath(folder);
    if (existing) QVERIFY(QFile::copy(archives[0], folder + "/" + made));
    ScriptedDialogs dialogs;
    dialogs.answers = {{folder + "/" + typed}};
    dialogs.messageAnswers = {answer};
    window->mnuNew_Click();
    QCOMPARE(QFileInfo(folder + "/" + made).size(), replaced ? 0 : QFileInfo(archives[0]).size());
    QCOMPARE(window->Session().FileName, replaced ? folder + "/" + made : QString());
    if (replaced) {
        auto *tree = window->findChild<QTreeWidget *>("tvMPQ");
        QCOMPARE(tree->topLevelItemCount(), 1);
        QCOMPARE(FolderTreeWidget::Key(tree->topLevelItem(0)), UpperKey(folder + "/" + made));
        QVERIFY(tree->topLevelItem(0)->isSelected());
    }
    window->Form_Unload();
}

void TestMainWindow::refreshAndStyleSwitchesKeepTheArchive()
{
    auto window = Start(archives[1]);
    QVERIFY(window);
    const qint64 total = window->Session().TotalSize;
    window->mnuRefresh_Click();
    QCOMPARE(window->Model()->rowCount(), 3);
    QCOMPARE(window->Session().TotalSize, total);
    window->mnuExplorerStyle_Click();
    auto *tree = window->findChild<QTreeWidget *>("tvMPQ");
    const QStringList keys = TreeKeys(tree);
    QCOMPARE(keys, (QStringList{UpperKey(archives[1]), "UNITS\\"}));
    QCOMPARE(window->Session().TotalSize, total);
    QVERIFY(window->MenuEntry("mnuExplorerStyle")->isChecked());
    QVERIFY(!window->MenuEntry("mnuClassicStyle")->isChecked());
    window->mnuClassicStyle_Click();
    QVERIFY(tree->isHidden());
    QCOMPARE(tree->topLevelItemCount(), 0);
    window->mnuExplorerStyle_Click();
    QCOMPARE(TreeKeys(tree), keys);
    QCOMPARE(window->windowTitle(), "Arcavera - " + archives[1]);
    window->Form_Unload();
    QCOMPARE(ReadIni("Setting", "ExplorerStyle", window->Config().IniPath, ""), QStringLiteral("1"));
}

void TestMainWindow::folderClicksListTheirFiles()
{
    const QString archive = dir.filePath("folders.mpq");
    QVERIFY(MakeArchive(archive, {{"top.txt", "t"}, {"Data\\a.txt", "a"}, {"DATA\\b.txt", "b"},
                                  {"data\\sound\\c.wav", "c"}},
                        dir.filePath("scratch")));
    auto window = Start();
    QVERIFY(window);
    window->mnuExplorerStyle_Click();
    ScriptedDialogs dialogs;
    dialogs.answers = {{archive}};
    window->mnuOpen_Click();
    auto *tree = static_cast<FolderTreeWidget *>(window->findChild<QTreeWidget *>("tvMPQ"));
    QCOMPARE(TreeKeys(tree), (QStringList{UpperKey(archive), "DATA\\", "DATA\\SOUND\\"}));
    QStringList root = Column(*window, 0);
    root.removeIf([](const QString &name) { return name.startsWith("~unknowns"); });
    QCOMPARE(root, QStringList{"top.txt"});
    window->tvMPQ_NodeClick(tree->Node("DATA\\"));
    QCOMPARE(Column(*window, 0), (QStringList{"Data\\a.txt", "DATA\\b.txt"}));
    window->tvMPQ_NodeClick(tree->Node("DATA\\SOUND\\"));
    QCOMPARE(Column(*window, 0), QStringList{"data\\sound\\c.wav"});
    window->tvMPQ_NodeClick(tree->topLevelItem(0));
    QVERIFY(Column(*window, 0).contains("top.txt"));
    // A click with the mouse runs the same command.
    const QRect place = tree->visualItemRect(tree->Node("DATA\\"));
    QTest::mouseClick(tree->viewport(), Qt::LeftButton, {}, place.center());
    QCOMPARE(Column(*window, 0).size(), 2);
    window->Form_Unload();
}

void TestMainWindow::popupsNeedANodeOrARowUnderThePointer()
{
    auto window = Start();
    QVERIFY(window);
    window->mnuExplorerStyle_Click();
    ScriptedDialogs dialogs;
    dialogs.answers = {{archives[0]}};
    window->mnuOpen_Click();
    auto *tree = static_cast<FolderTreeWidget *>(window->findChild<QTreeWidget *>("tvMPQ"));
    QMenu *explorerPopup = window->Popup("mnuExplorerPopup");
    const QPoint onNode = tree->visualItemRect(tree->Node("UNITS\\")).center();
    // No node selected yet: no menu, and the right click selects nothing.
    QTest::mouseClick(tree->viewport(), Qt::RightButton, {}, onNode);
    QVERIFY(!explorerPopup->isVisible());
    QVERIFY(!tree->SelectedNode());
    tree->Node("UNITS\\")->setSelected(true);
    QTest::mouseClick(tree->viewport(), Qt::RightButton, {}, QPoint(5, tree->viewport()->height() - 5));
    QVERIFY(!explorerPopup->isVisible());
    QTest::mouseClick(tree->viewport(), Qt::RightButton, {}, onNode);
    QVERIFY(explorerPopup->isVisible());
    explorerPopup->hide();

    auto *list = window->findChild<QTreeView *>("lwMPQ");
    QMenu *popup = window->Popup("mnuPopup");
    const QPoint onRow = list->visualRect(window->Model()->index(0, 0)).center();
    QTest::mouseClick(list->viewport(), Qt::RightButton, {}, QPoint(5, list->viewport()->height() - 5));
    QVERIFY(!popup->isVisible());
    QTest::mouseClick(list->viewport(), Qt::RightButton, {}, onRow);
    QVERIFY(popup->isVisible());
    QCOMPARE(popup->defaultAction(), window->MenuEntry("mnuPopupOpen"));
    popup->hide();
    window->Form_Unload();
}

void TestMainWindow::dropOnTheEmptyWindowOpensAnArchive_data()
{
    QTest::addColumn<bool>("archiveOpen");
    QTest::addColumn<QString>("dropped");
    QTest::addColumn<bool>("accepted");
    QTest::addColumn<QString>("openAfter");
    QTest::newRow("archive on the empty window") << false << "archive" << true << "archive";
    QTest::newRow("folder on the empty window") << false << "folder" << true << "";
    QTest::newRow("anything over an open archive") << true << "archive" << false << "open";
}

void TestMainWindow::dropOnTheEmptyWindowOpensAnArchive()
{
    QFETCH(bool, archiveOpen);
    QFETCH(QString, dropped);
    QFETCH(bool, accepted);
    QFETCH(QString, openAfter);
    auto window = Start(archiveOpen ? archives[0] : QString());
    QVERIFY(window);
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(dropped == "folder" ? dir.filePath("archives") : archives[4]),
                  QUrl::fromLocalFile(archives[3])});
    const QPoint centre = window->rect().center();
    QDragEnterEvent enter(centre, Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton, {});
    QApplication::sendEvent(window.get(), &enter);
    QCOMPARE(enter.isAccepted(), accepted);
    if (accepted) {
        QCOMPARE(enter.dropAction(), Qt::CopyAction);
        QDropEvent drop(centre, Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton, {});
        QApplication::sendEvent(window.get(), &drop);
    }
    const QString expected = openAfter == "archive" ? archives[4] : openAfter == "open" ? archives[0] : QString();
    QCOMPARE(window->Session().FileName, expected);
    QCOMPARE(window->windowTitle(), expected.isEmpty() ? QString("Arcavera") : "Arcavera - " + expected);
    window->Form_Unload();
}

void TestMainWindow::layoutOfTheFourBarCombinations_data()
{
    QTest::addColumn<bool>("toolBar");
    QTest::addColumn<bool>("statusBar");
    QTest::newRow("both bars") << true << true;
    QTest::newRow("status bar only") << false << true;
    QTest::newRow("toolbar only") << true << false;
    QTest::newRow("no bars") << false << false;
}

void TestMainWindow::layoutOfTheFourBarCombinations()
{
    QFETCH(bool, toolBar);
    QFETCH(bool, statusBar);
    auto window = Start();
    QVERIFY(window);
    if (!toolBar) window->mnuTools_Click();
    if (!statusBar) window->mnuStatus_Click();
    QCOMPARE(window->MenuEntry("mnuTools")->isChecked(), toolBar);
    QCOMPARE(window->MenuEntry("mnuStatus")->isChecked(), statusBar);
    auto *tools = window->findChild<QToolBar *>("tbMenu");
    auto *status = window->findChild<QStatusBar *>("StatusBar1");
    auto *list = window->findChild<QTreeView *>("lwMPQ");
    auto *client = window->centralWidget();
    const QRect tb = tools->geometry();
    const QRect sb = status->geometry();
    QCOMPARE(list->y(), toolBar ? tb.y() + tb.height() : 0);
    QCOMPARE(list->height(), client->height() - (toolBar ? tb.height() : 0) - (statusBar ? sb.height() : 0));
    QCOMPARE(list->x(), 0);
    QCOMPARE(list->width(), client->width());
    if (statusBar) QCOMPARE(sb.bottom(), client->height() - 1);
    // In Explorer style the tree takes the list's top and height.
    window->mnuExplorerStyle_Click();
    auto *tree = window->findChild<QTreeWidget *>("tvMPQ");
    QCOMPARE(tree->y(), list->y());
    QCOMPARE(tree->height(), list->height());
    QCOMPARE(tree->x(), 0);
    auto *splitter = window->findChild<QLabel *>("lblSplitter");
    QCOMPARE(splitter->x(), tree->width());
    QCOMPARE(splitter->y(), 64);  // 960 twips, with or without the toolbar
    QCOMPARE(list->x(), tree->width() + splitter->width());
    QCOMPARE(list->x() + list->width(), client->width());
    // The progress bar stands over the second panel.
    if (statusBar) {
        auto *progress = window->findChild<QProgressBar *>("pbStatus");
        QCOMPARE(progress->width(), qRound(2500 / 15.0));
        QCOMPARE(progress->x() + progress->width(), client->width());
        QCOMPARE(progress->y(), client->height() - progress->height() - 1);  // 20 twips above the edge
    }
    // Toggling back restores the full layout.
    if (!toolBar) window->mnuTools_Click();
    if (!statusBar) window->mnuStatus_Click();
    QCOMPARE(list->y(), tools->y() + tools->height());
    window->Form_Unload();
}

void TestMainWindow::splitterMovesOnlyWithinItsBounds_data()
{
    QTest::addColumn<int>("button");
    QTest::addColumn<float>("to");  // the splitter's new left in twips, in a client area 6000 twips wide
    QTest::addColumn<bool>("moves");
    QTest::newRow("inside") << 1 << 3000.0f << true;
    QTest::newRow("just inside the left bound") << 1 << 2010.0f << true;
    QTest::newRow("on the left bound") << 1 << 2000.0f << false;
    QTest::newRow("left of the bound") << 1 << 1500.0f << false;
    QTest::newRow("on the right bound") << 1 << 4000.0f << false;
    QTest::newRow("just inside the right bound") << 1 << 3990.0f << true;
    QTest::newRow("beyond the right") << 1 << 5000.0f << false;
    QTest::newRow("right button") << 2 << 3000.0f << false;
    QTest::newRow("left and right") << 3 << 3000.0f << false;
}

void TestMainWindow::splitterMovesOnlyWithinItsBounds()
{
    QFETCH(int, button);
    QFETCH(float, to);
    QFETCH(bool, moves);
    auto window = Start({}, QSize(400, 400));  // 15 twips to the pixel offscreen
    QVERIFY(window);
    QCOMPARE(window->centralWidget()->width() * 15, 6000);
    window->mnuExplorerStyle_Click();
    auto *tree = window->findChild<QTreeWidget *>("tvMPQ");
    auto *splitter = window->findChild<QLabel *>("lblSplitter");
    auto *list = window->findChild<QTreeView *>("lwMPQ");
    auto px = [](float twips) { return qRound(twips / 15.0); };
    window->lblSplitter_MouseMove(1, 0, 2400 - window->Layout().splitter.left, 0);
    QCOMPARE(window->Layout().splitter.left, 2400.0f);
    window->lblSplitter_MouseMove(button, 0, to - 2400, 0);
    const float left = moves ? to : 2400.0f;
    QCOMPARE(splitter->x(), px(left));
    QCOMPARE(tree->width(), px(left));
    QCOMPARE(list->x(), px(left + 50));
    QCOMPARE(list->width(), px(6000 - left - 50 - 10));  // ten short of the edge until the next resize
    window->Form_Resize();
    QCOMPARE(list->width(), px(6000 - left - 50));
    window->Form_Unload();
    QCOMPARE(ReadIni("Setting", "Splitter", window->Config().IniPath, "").toFloat(), left);
}

void TestMainWindow::storedSplitterOutsideTheBoundsIsRefused()
{
    StartupPaths paths = Paths();
    WriteIni("Setting", "Splitter", "1000", paths.iniPath);
    WriteIni("Setting", "ExplorerStyle", "1", paths.iniPath);
    frmMain window(paths);
    window.Form_Load({});
    window.resize(900, 600);
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QCOMPARE(window.findChild<QTreeWidget *>("tvMPQ")->width(), qRound(3135 / 15.0));
    QCOMPARE(window.Layout().tree.width, 3135.0f);
    QCOMPARE(window.Layout().splitter.left, 3135.0f);
    window.Form_Unload();
}

void TestMainWindow::toolBarAndMenusAreComplete()
{
    auto window = Start();
    QVERIFY(window);
    auto *tools = window->findChild<QToolBar *>("tbMenu");
    QStringList layout;
    for (QAction *action : tools->actions()) layout.append(action->isSeparator() ? "|" : action->data().toString());
    QCOMPARE(layout, (QStringList{"new", "open", "infompq", "|", "add", "extract", "delete", "view", "infofile",
                                  "|", "exe", "|", "exit"}));
    QCOMPARE(window->ToolButton("infofile")->text(), QStringLiteral("Info File"));
    QCOMPARE(window->ToolButton("exit")->toolTip(), QStringLiteral("Esci da Arcavera"));
    for (QAction *action : tools->actions()) {
        if (!action->isSeparator()) QVERIFY2(!action->icon().isNull(), qPrintable(action->data().toString()));
    }
    QCOMPARE(window->Popup("mnuFile")->title(), QStringLiteral("&File"));
    QCOMPARE(window->Popup("mnuInfo")->title(), QStringLiteral("&?"));
    QCOMPARE(window->MenuEntry("mnuAddDir")->text(), QStringLiteral("A&ggiungi cartella..."));
    QStringList view;
    for (QAction *action : window->Popup("mnuView")->actions())
        view.append(action->isSeparator() ? "-" : action->objectName().isEmpty() ? action->menu()->objectName()
                                                                                  : action->objectName());
    QCOMPARE(view, (QStringList{"mnuTools", "mnuStatus", "-", "mnuClassicStyle", "mnuExplorerStyle", "-",
                                "mnuArranges", "-", "mnuRefresh"}));
    // The sort column and the style carry exclusive marks.
    QVERIFY(window->MenuEntry("mnuArrange0")->isChecked());
    QVERIFY(window->MenuEntry("mnuArrange0")->actionGroup()->isExclusive());
    QVERIFY(window->MenuEntry("mnuClassicStyle")->actionGroup()->isExclusive());
    // A button runs its command: "add" asks for files.
    ScriptedDialogs dialogs;
    dialogs.answers = {{archives[0]}};
    window->ToolButton("open")->trigger();
    QCOMPARE(window->Session().FileName, archives[0]);
    window->ToolButton("add")->trigger();
    QCOMPARE(dialogs.asked.last().kind, QStringLiteral("open many"));
    window->Form_Unload();
}

void TestMainWindow::shortcutsReachTheCommands_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QKeySequence>("keys");
    QTest::addColumn<QString>("question");  // what the command asks first; empty: not built yet
    QTest::newRow("new") << "mnuNew" << QKeySequence("Ctrl+N") << "save";
    QTest::newRow("open") << "mnuOpen" << QKeySequence("Ctrl+O") << "open";
    QTest::newRow("close") << "mnuClose" << QKeySequence("Ctrl+L") << "";
    QTest::newRow("select all") << "mnuSelectAll" << QKeySequence("Ctrl+A") << "";
    QTest::newRow("deselect") << "mnuDeselectAll" << QKeySequence("Ctrl+U") << "";
    QTest::newRow("invert") << "mnuReverse" << QKeySequence("Ctrl+I") << "";
    QTest::newRow("find") << "mnuFind" << QKeySequence("Ctrl+F") << "";
    QTest::newRow("find next") << "mnuFindNext" << QKeySequence("F3") << "";
    QTest::newRow("refresh") << "mnuRefresh" << QKeySequence("F5") << "";
    QTest::newRow("add") << "mnuAdd" << QKeySequence("Ctrl+D") << "open many";
    QTest::newRow("add folder") << "mnuAddDir" << QKeySequence("Ctrl+G") << "folder";
    QTest::newRow("extract") << "mnuExtract" << QKeySequence("Ctrl+E") << "folder";
    QTest::newRow("rename") << "mnuRename" << QKeySequence("Ctrl+R") << "";
    QTest::newRow("delete") << "mnuDelete" << QKeySequence("Del") << "";
}

void TestMainWindow::shortcutsReachTheCommands()
{
    QFETCH(QString, name);
    QFETCH(QKeySequence, keys);
    QFETCH(QString, question);
    auto window = Start(archives[0]);
    QVERIFY(window);
    QCOMPARE(window->MenuEntry(name)->shortcut(), keys);
    if (!question.isEmpty()) {
        window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(window.get()));
        SelectRows(*window, {"war3map.j"});
        ScriptedDialogs dialogs;
        QTest::keySequence(window.get(), keys);
        QCOMPARE(dialogs.asked.size(), 1);
        QCOMPARE(dialogs.asked.first().kind, question);
    }
    window->Form_Unload();
}

void TestMainWindow::homePageOpensInTheBrowser()
{
    auto window = Start();
    QVERIFY(window);
    QList<QUrl> opened;
    const ShellOpener previous = SetShellOpener([&](const QUrl &url) { opened.append(url); });
    window->MenuEntry("mnuHomePage")->trigger();
    SetShellOpener(previous);
    QCOMPARE(opened, QList<QUrl>{QUrl(kHomePage)});
    window->Form_Unload();
}

QTEST_MAIN(TestMainWindow)
#include "test_main_window.moc"
