// The commands that work on the rows of the archive list, driven in the real
// window offscreen: delete, rename in place, a new folder in the tree, the
// selection, find, the sort order, drops on the list, drags out of it and
// opening a stored file. After each change the archive is read back.
#include <QAction>
#include <QDir>
#include <QFile>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMimeData>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>
#include <QTreeWidget>
#include <QUrl>

#include <signal.h>
#include <sys/resource.h>

#include "editing/helpers/shell_open.h"
#include "shell/archive_list_model.h"
#include "shell/archive_list_view.h"
#include "shell/folder_tree_widget.h"
#include "shell/frm_main.h"
#include "support/archive_factory.h"
#include "support/window_fixture.h"
#include "support/scripted_dialogs.h"

using namespace fixtures;

namespace {

// The names the list shows, leaving out the internal list, which no list
// names and so shows as an unknown entry.
QStringList Names(const frmMain &window)
{
    QStringList names;
    for (int row = 0; row < window.Model()->rowCount(); ++row) {
        const QString name = window.Model()->Row(row).text();
        if (!name.startsWith(QLatin1String("~unknowns"))) names.append(name);
    }
    return names;
}

int RowOf(const frmMain &window, const QString &name)
{
    for (int row = 0; row < window.Model()->rowCount(); ++row)
        if (window.Model()->Row(row).text() == name) return row;
    return -1;
}

// Selects the rows of these names alone and makes `current` the current row
// without selecting it (an empty name: no current row is set).
void Select(frmMain &window, const QStringList &names, const QString &current = {})
{
    QItemSelectionModel *selection = window.List()->selectionModel();
    selection->clear();
    for (const QString &name : names)
        selection->select(window.Model()->index(RowOf(window, name), 0),
                          QItemSelectionModel::Select | QItemSelectionModel::Rows);
    if (!current.isEmpty())
        selection->setCurrentIndex(window.Model()->index(RowOf(window, current), 0), QItemSelectionModel::NoUpdate);
}

QStringList SelectedNames(const frmMain &window)
{
    QStringList names;
    for (int row = 0; row < window.Model()->rowCount(); ++row)
        if (window.List()->selectionModel()->isRowSelected(row, {})) names.append(window.Model()->Row(row).text());
    return names;
}

QString CurrentName(const frmMain &window)
{
    const QModelIndex current = window.List()->currentIndex();
    return current.isValid() ? window.Model()->Row(current.row()).text() : QString();
}

QString StatusText(const frmMain &window) { return window.findChild<QLabel *>("StatusBar1Panel1")->text(); }

QStringList MessagesAsked(const ScriptedDialogs &dialogs)
{
    QStringList texts;
    for (const auto &question : dialogs.asked) texts.append(question.kind + ": " + question.text);
    return texts;
}

}  // namespace

class TestRowCommands : public QObject {
    Q_OBJECT
    QTemporaryDir dir;
    int windows = 0;
    // name -> content of the archive every test starts from
    QMap<QString, QByteArray> files;
    QString master;

    // A copy of the master archive, for one test to change.
    QString FreshArchive()
    {
        const QString path = dir.filePath(QStringLiteral("copies/%1.mpq").arg(++windows));
        QDir().mkpath(dir.filePath("copies"));
        if (!QFile::copy(master, path)) return {};
        return path;
    }

    std::unique_ptr<frmMain> Start(const QString &archive, bool explorer = false)
    {
        auto window = StartWindow(WindowPaths(dir.filePath(QStringLiteral("w%1").arg(++windows))), archive);
        if (window && explorer) window->mnuExplorerStyle_Click();
        return window;
    }

    // Every file of the archive but `except` reads back as it was made.
    void VerifyOthersIntact(const QString &archive, const QStringList &except)
    {
        for (auto it = files.cbegin(); it != files.cend(); ++it) {
            if (except.contains(it.key())) continue;
            bool ok = false;
            const QByteArray data = ReadStored(archive, it.key().toStdString(), &ok);
            QVERIFY2(ok, qPrintable(it.key()));
            QCOMPARE(data, it.value());
        }
    }

private slots:
    void initTestCase();
    void cleanup() { SetShellOpener({}); }
    void deleteSelectedRows_data();
    void deleteSelectedRows();
    void deleteInExplorerStyleKeepsTheTree();
    void renameAfterTheQuestion_data();
    void renameAfterTheQuestion();
    void renameByEditingTheLabel();
    void controlCharactersShowAsMarks();
    void createFolderInTheTree_data();
    void createFolderInTheTree();
    void dropOnANewFolderStoresUnderItsKey();
    void selectionCommandsKeepTheCurrentRow();
    void findAndFindNext_data();
    void findAndFindNext();
    void findTextOutlivesTheArchive();
    void sortByHeaderAndMenu();
    void dragOverTheList_data();
    void dragOverTheList();
    void dropOfFilesAndFolders_data();
    void dropOfFilesAndFolders();
    void dragOutHandsTheScratchFolder();
    void openingAStoredFile_data();
    void openingAStoredFile();
    void aDropThatCannotBeWrittenSaysSo_data();
    void aDropThatCannotBeWrittenSaysSo();
};

void TestRowCommands::initTestCase()
{
    files = {{"a.txt", TextData(100, 'a')},         {"b.txt", TextData(2000, 'b')},
             {"c.wav", WaveData(3000)},              {"data\\d.txt", TextData(300, 'd')},
             {"data\\e.txt", TextData(40000, 'e')},  {"units\\footman.mdx", TextData(5000, 'f')}};
    QList<StoredFile> stored;
    for (auto it = files.cbegin(); it != files.cend(); ++it) stored.append({it.key().toUtf8(), it.value()});
    master = dir.filePath("master.mpq");
    QVERIFY(MakeArchive(master, stored, dir.filePath("scratch")));
}

// Rows are in name order: a.txt, b.txt, c.wav, data\d.txt, data\e.txt,
// units\footman.mdx, then the unnamed internal list.
void TestRowCommands::deleteSelectedRows_data()
{
    QTest::addColumn<QStringList>("selected");
    QTest::addColumn<QString>("current");
    QTest::addColumn<bool>("yes");
    QTest::addColumn<bool>("asked");
    QTest::addColumn<QStringList>("remaining");
    const QStringList all = {"a.txt", "b.txt", "c.wav", "data\\d.txt", "data\\e.txt", "units\\footman.mdx"};
    QTest::newRow("rows 2, 3 and 5 of 6") << QStringList{"b.txt", "c.wav", "data\\e.txt"} << "data\\e.txt"
                                          << true << true
                                          << QStringList{"a.txt", "data\\d.txt", "units\\footman.mdx"};
    QTest::newRow("current row not selected") << QStringList{} << "b.txt" << true << true << all;
    QTest::newRow("answer no") << QStringList{"a.txt"} << "a.txt" << false << true << all;
    QTest::newRow("no current row") << QStringList{} << QString() << true << false << all;
}

void TestRowCommands::deleteSelectedRows()
{
    QFETCH(QStringList, selected);
    QFETCH(QString, current);
    QFETCH(bool, yes);
    const MessageButton answer = yes ? MessageButton::Yes : MessageButton::No;
    QFETCH(bool, asked);
    QFETCH(QStringList, remaining);
    const QString archive = FreshArchive();
    auto window = Start(archive);
    QVERIFY(window);
    ScriptedDialogs dialogs;
    dialogs.messageAnswers = {answer};
    Select(*window, selected, current);
    window->mnuDelete_Click();

    QCOMPARE(MessagesAsked(dialogs),
             asked ? QStringList{"message: Sei sicuro di volere eliminare i files?"} : QStringList{});
    QCOMPARE(Names(*window), remaining);
    if (asked && answer == MessageButton::Yes && !selected.isEmpty()) QCOMPARE(StatusText(*window), QString("Pronto"));
    // The rows were fixed by hand; a refresh shows what the engine holds.
    window->mnuRefresh_Click();
    QCOMPARE(Names(*window), remaining);
    QStringList gone = QStringList(files.keys());
    for (const QString &name : remaining) gone.removeAll(name);
    VerifyOthersIntact(archive, gone);
    for (const QString &name : gone) {
        bool ok = true;
        ReadStored(archive, name.toStdString(), &ok);
        QVERIFY2(!ok, qPrintable(name));
    }
    window->Form_Unload();
}

void TestRowCommands::deleteInExplorerStyleKeepsTheTree()
{
    const QString archive = FreshArchive();
    auto window = Start(archive, true);
    QVERIFY(window);
    ScriptedDialogs dialogs;
    dialogs.messageAnswers = {MessageButton::Yes};
    FolderTreeWidget *tree = window->Tree();
    window->tvMPQ_NodeClick(tree->Node("UNITS\\"));
    QCOMPARE(Names(*window), QStringList{"units\\footman.mdx"});
    Select(*window, {"units\\footman.mdx"}, "units\\footman.mdx");
    window->mnuDelete_Click();
    QVERIFY(Names(*window).isEmpty());
    // The folder stays in the tree until the next load.
    QVERIFY(tree->NodeExists("UNITS\\"));
    window->mnuRefresh_Click();
    QVERIFY(!tree->NodeExists("UNITS\\"));
    VerifyOthersIntact(archive, {"units\\footman.mdx"});
    window->Form_Unload();
}

void TestRowCommands::renameAfterTheQuestion_data()
{
    QTest::addColumn<QString>("oldName");
    QTest::addColumn<QString>("newName");
    QTest::addColumn<bool>("yes");
    QTest::addColumn<bool>("inUse");
    QTest::newRow("to a new name") << "b.txt" << "b2.dat" << true << false;
    QTest::newRow("into another folder") << "units\\footman.mdx" << "art\\Footman è.mdx" << true << false;
    QTest::newRow("onto a stored name") << "a.txt" << "b.txt" << true << true;
    QTest::newRow("onto a stored name in other case") << "a.txt" << "DATA\\D.TXT" << true << true;
    QTest::newRow("the old name unchanged") << "a.txt" << "a.txt" << true << true;
    QTest::newRow("answer no") << "a.txt" << "z.txt" << false << false;
}

void TestRowCommands::renameAfterTheQuestion()
{
    QFETCH(QString, oldName);
    QFETCH(QString, newName);
    QFETCH(bool, yes);
    const MessageButton answer = yes ? MessageButton::Yes : MessageButton::No;
    QFETCH(bool, inUse);
    const QString archive = FreshArchive();
    const QByteArray before = ReadFile(archive);
    auto window = Start(archive);
    QVERIFY(window);
    ScriptedDialogs dialogs;
    dialogs.messageAnswers = {answer, MessageButton::OK};
    Select(*window, {oldName}, oldName);
    bool cancel = false;
    window->lwMPQ_AfterLabelEdit(cancel, newName);

    QStringList expectedQuestions{
        QStringLiteral("message: Vuoi rinominare il file \"%1\" in \"%2\"?").arg(oldName, newName)};
    if (inUse) expectedQuestions.append("message: Impossibile rinominare il file! File gia esistente");
    QCOMPARE(MessagesAsked(dialogs), expectedQuestions);
    const bool renamed = answer == MessageButton::Yes && !inUse;
    QCOMPARE(cancel, !renamed);
    const int row = window->List()->currentIndex().row();
    QCOMPARE(window->Model()->Row(row).text(), renamed ? newName : oldName);
    QCOMPARE(window->Model()->Row(row).Tag, renamed ? newName.toUtf8() : oldName.toUtf8());
    if (!renamed) {
        QCOMPARE(ReadFile(archive), before);  // the archive was not touched
        window->Form_Unload();
        return;
    }
    // The extension column follows the new name at once.
    QCOMPARE(ColumnText(window->Model()->Row(row), ListRow::Ext), newName.section('.', -1));
    window->mnuRefresh_Click();
    QVERIFY(Names(*window).contains(newName));
    QVERIFY(!Names(*window).contains(oldName));
    bool ok = false;
    QCOMPARE(ReadStored(archive, newName.toUtf8().toStdString(), &ok), files.value(oldName));
    QVERIFY(ok);
    VerifyOthersIntact(archive, {oldName});
    window->Form_Unload();
}

// The user's road: the command opens the editor on the current row, the
// user types and presses Enter, the question comes, the row takes the name.
void TestRowCommands::renameByEditingTheLabel()
{
    const QString archive = FreshArchive();
    auto window = Start(archive);
    QVERIFY(window);
    ScriptedDialogs dialogs;
    dialogs.messageAnswers = {MessageButton::Yes};
    Select(*window, {"a.txt", "b.txt"}, "c.wav");
    window->mnuRename_Click();
    auto *editor = window->List()->findChild<QLineEdit *>();
    QVERIFY(editor);
    QCOMPARE(editor->text(), QString("c.wav"));
    editor->setText("sounds\\c.wav");
    QTest::keyClick(editor, Qt::Key_Return);
    QTRY_COMPARE(dialogs.asked.size(), 1);
    QCOMPARE(window->Model()->Row(window->List()->currentIndex().row()).Tag, QByteArray("sounds\\c.wav"));
    // The renamed row works under its new name: it extracts.
    ScriptedDialogs extract;
    extract.answers = {{dir.filePath("renamed-out")}};
    QDir().mkpath(dir.filePath("renamed-out"));
    Select(*window, {"sounds\\c.wav"}, "sounds\\c.wav");
    window->mnuExtract_Click();
    QCOMPARE(ReadFile(dir.filePath("renamed-out/sounds/c.wav")), files.value("c.wav"));
    // Clicking another row ends the edit too: it belongs to the row that
    // was edited, which becomes current again for the question.
    extract.messageAnswers = {MessageButton::Yes};
    Select(*window, {}, "a.txt");
    window->mnuRename_Click();
    editor = window->List()->findChild<QLineEdit *>();
    QVERIFY(editor);
    editor->setText("first.txt");
    window->List()->setCurrentIndex(window->Model()->index(RowOf(*window, "b.txt"), 0));
    QTRY_COMPARE(extract.asked.size(), 2);
    QCOMPARE(extract.asked.last().text, QString("Vuoi rinominare il file \"a.txt\" in \"first.txt\"?"));
    QCOMPARE(CurrentName(*window), QString("first.txt"));
    // Escape ends an edit without any question.
    window->mnuRename_Click();
    editor = window->List()->findChild<QLineEdit *>();
    QVERIFY(editor);
    QTest::keyClick(editor, Qt::Key_Escape);
    QCoreApplication::processEvents();
    QCOMPARE(extract.asked.size(), 2);
    window->Form_Unload();
}

// A name with an escape character shows it as its mark, in the list, the
// editor, the question and the status bar; the row still reaches the stored
// file, and an edit beside the mark keeps the escape.
void TestRowCommands::controlCharactersShowAsMarks()
{
    const QString archive = dir.filePath("controls.mpq");
    QVERIFY(MakeArchive(archive, {{"red\x1b[31m.txt", "esc"}}, dir.filePath("controls-src")));
    auto window = Start(archive);
    QVERIFY(window);
    const QString name = QStringLiteral("red\x1b[31m.txt"), shown = QStringLiteral("red\u241b[31m.txt");
    QCOMPARE(window->Model()->index(RowOf(*window, name), ListRow::Name).data().toString(), shown);
    window->Reports().SetStatusText("Estrazione file " + name);
    QCOMPARE(StatusText(*window), "Estrazione file " + shown);

    ScriptedDialogs dialogs;
    dialogs.answers = {{dir.filePath("controls-out")}};
    dialogs.messageAnswers = {MessageButton::Yes};
    QDir().mkpath(dir.filePath("controls-out"));
    Select(*window, {name}, name);
    window->mnuExtract_Click();
    QCOMPARE(ReadFile(dir.filePath("controls-out/" + name)), QByteArray("esc"));

    window->mnuRename_Click();
    auto *editor = window->List()->findChild<QLineEdit *>();
    QVERIFY(editor);
    QCOMPARE(editor->text(), shown);
    editor->setText(QStringLiteral("red\u241b[31m2.txt"));
    QTest::keyClick(editor, Qt::Key_Return);
    QTRY_COMPARE(dialogs.asked.size(), 2);
    QCOMPARE(dialogs.asked.last().text, "Vuoi rinominare il file \"" + shown + "\" in \"red\u241b[31m2.txt\"?");
    QCOMPARE(ReadStored(archive, "red\x1b[31m2.txt"), QByteArray("esc"));
    window->Form_Unload();
}

void TestRowCommands::createFolderInTheTree_data()
{
    QTest::addColumn<QString>("selectedKey");  // empty: the root
    QTest::addColumn<QStringList>("answer");   // empty: cancelled
    QTest::addColumn<QString>("newKey");       // empty: nothing added
    QTest::newRow("under a folder") << "DATA\\" << QStringList{"Sounds"} << "DATA\\SOUNDS\\";
    QTest::newRow("under the root") << "" << QStringList{"Sounds"} << "SOUNDS\\";
    QTest::newRow("name of a folder in other case") << "" << QStringList{"units"} << "";
    QTest::newRow("empty name") << "DATA\\" << QStringList{""} << "";
    QTest::newRow("cancelled") << "DATA\\" << QStringList{} << "";
}

void TestRowCommands::createFolderInTheTree()
{
    QFETCH(QString, selectedKey);
    QFETCH(QStringList, answer);
    QFETCH(QString, newKey);
    const QString archive = FreshArchive();
    const QByteArray before = ReadFile(archive);
    auto window = Start(archive, true);
    QVERIFY(window);
    FolderTreeWidget *tree = window->Tree();
    const QString rootKey = FolderTreeWidget::Key(tree->topLevelItem(0));
    QTreeWidgetItem *parent = selectedKey.isEmpty() ? tree->topLevelItem(0) : tree->Node(selectedKey);
    QVERIFY(parent);
    tree->setCurrentItem(parent);
    const qsizetype nodesBefore = tree->findItems("*", Qt::MatchWildcard | Qt::MatchRecursive).size();
    ScriptedDialogs dialogs;
    dialogs.answers = {answer};
    window->mnuPopupCreateDir_Click();
    QCOMPARE(MessagesAsked(dialogs), QStringList{"input: Nuova cartella"});
    const qsizetype nodesAfter = tree->findItems("*", Qt::MatchWildcard | Qt::MatchRecursive).size();
    QCOMPARE(nodesAfter, nodesBefore + (newKey.isEmpty() ? 0 : 1));
    if (!newKey.isEmpty()) {
        QTreeWidgetItem *node = tree->Node(newKey);
        QVERIFY(node);
        QCOMPARE(node->text(0), answer.first());
        QCOMPARE(node->parent(), parent);
        QVERIFY(!node->isSelected());
        QVERIFY(!newKey.contains(rootKey));
        // A folder that got no file is gone after a refresh.
        window->mnuRefresh_Click();
        QVERIFY(!tree->NodeExists(newKey));
    }
    QCOMPARE(ReadFile(archive), before);
    window->Form_Unload();
}

void TestRowCommands::dropOnANewFolderStoresUnderItsKey()
{
    const QString archive = FreshArchive();
    auto window = Start(archive, true);
    QVERIFY(window);
    FolderTreeWidget *tree = window->Tree();
    tree->setCurrentItem(tree->Node("DATA\\"));
    ScriptedDialogs dialogs;
    dialogs.answers = {{"Music"}};
    window->mnuPopupCreateDir_Click();
    tree->setCurrentItem(tree->Node("DATA\\MUSIC\\"));
    const QString source = dir.filePath("newfolder-drop");
    WriteFile(source + "/theme.mp3", TextData(900, 't'));
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(source + "/theme.mp3")});
    window->Model()->dropMimeData(&data, Qt::CopyAction, -1, -1, {});
    // The rebuilt tree shows the folder from the stored name.
    QVERIFY(tree->NodeExists("DATA\\MUSIC\\"));
    bool ok = false;
    QCOMPARE(ReadStored(archive, "DATA\\MUSIC\\theme.mp3", &ok), TextData(900, 't'));
    QVERIFY(ok);
    window->Form_Unload();
}

void TestRowCommands::selectionCommandsKeepTheCurrentRow()
{
    auto window = Start(FreshArchive());
    QVERIFY(window);
    const int rows = window->Model()->rowCount();
    Select(*window, {"a.txt", "c.wav"}, "b.txt");
    window->mnuReverse_Click();
    QCOMPARE(SelectedNames(*window).size(), rows - 2);
    QVERIFY(!SelectedNames(*window).contains("a.txt"));
    QVERIFY(SelectedNames(*window).contains("b.txt"));
    window->mnuSelectAll_Click();
    QCOMPARE(SelectedNames(*window).size(), rows);
    window->mnuDeselectAll_Click();
    QVERIFY(SelectedNames(*window).isEmpty());
    QCOMPARE(CurrentName(*window), QString("b.txt"));
    window->Form_Unload();
}

void TestRowCommands::findAndFindNext_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("steps");  // what find, then each find next, selects; "" for nothing
    QTest::newRow("text in names and folders") << "d"
                                               << QStringList{"data\\d.txt", "data\\e.txt", "units\\footman.mdx", ""};
    QTest::newRow("case plays no part") << "TXT" << QStringList{"a.txt", "b.txt", "data\\d.txt", "data\\e.txt", ""};
    QTest::newRow("folder part") << "units\\" << QStringList{"units\\footman.mdx", ""};
    QTest::newRow("lists") << "[b-c].[!m]" << QStringList{"b.txt", "c.wav", ""};
    QTest::newRow("no match") << "zzz" << QStringList{""};
    QTest::newRow("invalid pattern") << "[a" << QStringList{""};
}

void TestRowCommands::findAndFindNext()
{
    QFETCH(QString, text);
    QFETCH(QStringList, steps);
    auto window = Start(FreshArchive());
    QVERIFY(window);
    QVERIFY(!window->MenuEntry("mnuFindNext")->isEnabled());
    ScriptedDialogs dialogs;
    dialogs.answers = {{text}};
    Select(*window, {"a.txt", "b.txt"}, "a.txt");
    window->mnuFind_Click();
    QCOMPARE(MessagesAsked(dialogs), QStringList{"input: Trova:"});
    QVERIFY(window->MenuEntry("mnuFindNext")->isEnabled());
    QCOMPARE(window->Session().FindText, text);
    for (int step = 0; step < steps.size(); ++step) {
        if (step > 0) window->mnuFindNext_Click();
        const QStringList expected = steps[step].isEmpty() ? QStringList{} : QStringList{steps[step]};
        QCOMPARE(SelectedNames(*window), expected);
        if (!expected.isEmpty()) QCOMPARE(CurrentName(*window), expected.first());
    }
    // Past the last match the current row stays, and find next ends the same way again.
    const QString current = CurrentName(*window);
    window->mnuFindNext_Click();
    QVERIFY(SelectedNames(*window).isEmpty());
    QCOMPARE(CurrentName(*window), current);
    window->Form_Unload();
}

void TestRowCommands::findTextOutlivesTheArchive()
{
    const QString archive = FreshArchive();
    auto window = Start(archive);
    QVERIFY(window);
    ScriptedDialogs dialogs;
    dialogs.answers = {{"e.txt"}, {}, {archive}};
    window->mnuFind_Click();
    QCOMPARE(SelectedNames(*window), QStringList{"data\\e.txt"});
    window->mnuClose_Click();
    QVERIFY(!window->MenuEntry("mnuFindNext")->isEnabled());
    QCOMPARE(window->Session().FindText, QString("e.txt"));
    // A cancelled find empties the text, which then fits every row: the
    // first row is selected, and find next keeps its state.
    window->mnuFind_Click();
    QCOMPARE(window->Session().FindText, QString());
    QVERIFY(!window->MenuEntry("mnuFindNext")->isEnabled());
    window->mnuOpen_Click();
    window->mnuFind_Click();  // no answer queued: cancelled
    QCOMPARE(SelectedNames(*window), QStringList{"a.txt"});
    window->Form_Unload();
}

void TestRowCommands::sortByHeaderAndMenu()
{
    auto window = Start(FreshArchive());
    QVERIFY(window);
    QHeaderView *header = window->List()->header();
    const auto clickHeader = [&](int section) {
        const QPoint centre(header->sectionViewportPosition(section) + header->sectionSize(section) / 2,
                            header->height() / 2);
        QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, centre);
    };
    const auto state = [&] {
        int checked = -1;
        for (int i = 0; i < 6; ++i)
            if (window->MenuEntry(QStringLiteral("mnuArrange%1").arg(i))->isChecked()) checked = checked < 0 ? i : 99;
        return QStringLiteral("%1 %2 mark %3 arrow %4")
            .arg(window->Model()->SortKey())
            .arg(window->Model()->SortOrder())
            .arg(checked)
            .arg(header->sortIndicatorOrder() == Qt::DescendingOrder ? 1 : 0);
    };
    QCOMPARE(state(), QString("0 0 mark 0 arrow 0"));
    QCOMPARE(Names(*window).first(), QString("a.txt"));
    clickHeader(0);  // the column in force turns
    QCOMPARE(state(), QString("0 1 mark 0 arrow 1"));
    QCOMPARE(Names(*window).first(), QString("units\\footman.mdx"));
    clickHeader(1);  // another column is always ascending
    QCOMPARE(state(), QString("1 0 mark 1 arrow 0"));
    QCOMPARE(ColumnText(window->Model()->Row(window->Model()->rowCount() - 1), ListRow::Ext), QString("wav"));
    clickHeader(1);
    QCOMPARE(state(), QString("1 1 mark 1 arrow 1"));
    window->MenuEntry("mnuArrange1")->trigger();  // the menu entry of the column turns it too
    QCOMPARE(state(), QString("1 0 mark 1 arrow 0"));
    window->MenuEntry("mnuArrange3")->trigger();
    QCOMPARE(state(), QString("3 0 mark 3 arrow 0"));
    QCOMPARE(header->sortIndicatorSection(), 3);
    // The rows move, the selection moves with them.
    Select(*window, {"c.wav"}, "c.wav");
    window->lwMPQ_ColumnClick(1);
    QCOMPARE(state(), QString("0 0 mark 0 arrow 0"));
    QCOMPARE(SelectedNames(*window), QStringList{"c.wav"});
    QCOMPARE(CurrentName(*window), QString("c.wav"));
    // Sizes sort as text: the Italian thousands point plays no part in it.
    window->lwMPQ_ColumnClick(3);
    QStringList sizes;
    for (int row = 0; row < window->Model()->rowCount(); ++row)
        sizes.append(ColumnText(window->Model()->Row(row), ListRow::Size));
    QStringList sorted = sizes;
    std::sort(sorted.begin(), sorted.end(),
              [](const QString &a, const QString &b) { return a.compare(b, Qt::CaseInsensitive) < 0; });
    QCOMPARE(sizes, sorted);
    window->Form_Unload();
}

void TestRowCommands::dragOverTheList_data()
{
    QTest::addColumn<bool>("archiveOpen");
    QTest::addColumn<bool>("urls");
    QTest::addColumn<bool>("taken");
    QTest::newRow("files over an open archive") << true << true << true;
    QTest::newRow("files with no archive open") << false << true << false;
    QTest::newRow("text over an open archive") << true << false << false;
}

void TestRowCommands::dragOverTheList()
{
    QFETCH(bool, archiveOpen);
    QFETCH(bool, urls);
    QFETCH(bool, taken);
    auto window = Start(archiveOpen ? FreshArchive() : QString());
    QVERIFY(window);
    QMimeData data;
    if (urls) data.setUrls({QUrl::fromLocalFile(master)});
    else data.setText("some text");
    QCOMPARE(window->Model()->canDropMimeData(&data, Qt::CopyAction, -1, -1, {}), taken);
    // The list itself answers the same to a real drag.
    QWidget *viewport = window->List()->viewport();
    QDragEnterEvent enter(viewport->rect().center(), Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton, {});
    QCoreApplication::sendEvent(viewport, &enter);
    if (taken) QCOMPARE(enter.dropAction(), Qt::CopyAction);
    window->Form_Unload();
}

void TestRowCommands::dropOfFilesAndFolders_data()
{
    QTest::addColumn<bool>("explorer");
    QTest::addColumn<QString>("nodeKey");  // selected in Explorer style; empty for the root
    QTest::addColumn<QStringList>("dropped");
    QTest::addColumn<QStringList>("stored");
    QTest::newRow("one file, Classic") << false << "" << QStringList{"drop/one.txt"} << QStringList{"one.txt"};
    QTest::newRow("a folder, Classic") << false << "" << QStringList{"drop/music"}
                                       << QStringList{"music\\.hidden", "music\\a.mp3", "music\\sub\\b.txt"};
    QTest::newRow("a folder, Explorer on DATA") << true << "DATA\\" << QStringList{"drop/music"}
                                                << QStringList{"DATA\\music\\.hidden", "DATA\\music\\a.mp3",
                                                               "DATA\\music\\sub\\b.txt"};
    QTest::newRow("a file, Explorer on the root") << true << "" << QStringList{"drop/one.txt"}
                                                  << QStringList{"one.txt"};
    QTest::newRow("file and folder together") << false << "" << QStringList{"drop/one.txt", "drop/music"}
                                              << QStringList{"music\\.hidden", "music\\a.mp3", "music\\sub\\b.txt",
                                                             "one.txt"};
    QTest::newRow("an empty folder") << false << "" << QStringList{"drop/empty"} << QStringList{};
}

void TestRowCommands::dropOfFilesAndFolders()
{
    QFETCH(bool, explorer);
    QFETCH(QString, nodeKey);
    QFETCH(QStringList, dropped);
    QFETCH(QStringList, stored);
    const QString source = dir.filePath(QStringLiteral("sources%1").arg(windows));
    WriteFile(source + "/drop/one.txt", TextData(10, '1'));
    WriteFile(source + "/drop/music/a.mp3", TextData(20, '2'));
    WriteFile(source + "/drop/music/.hidden", TextData(30, '3'));
    WriteFile(source + "/drop/music/sub/b.txt", TextData(40, '4'));
    QDir().mkpath(source + "/drop/empty");
    const QMap<QString, QByteArray> content = {{"one.txt", TextData(10, '1')},     {"a.mp3", TextData(20, '2')},
                                               {".hidden", TextData(30, '3')},     {"b.txt", TextData(40, '4')}};
    const QString archive = FreshArchive();
    const QStringList before = [&] {
        QStringList names;
        for (const auto &entry : List(archive, InternalList(archive))) names.append(QString::fromStdString(entry.StoredName));
        return names;
    }();
    auto window = Start(archive, explorer);
    QVERIFY(window);
    if (explorer && !nodeKey.isEmpty()) window->Tree()->setCurrentItem(window->Tree()->Node(nodeKey));
    QMimeData data;
    QList<QUrl> urls;
    for (const QString &path : dropped) urls.append(QUrl::fromLocalFile(source + "/" + path));
    data.setUrls(urls);
    QWidget *viewport = window->List()->viewport();
    // A drop reaches the widget that took the drag when it entered.
    QDragEnterEvent enter(viewport->rect().center(), Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton, {});
    QCoreApplication::sendEvent(viewport, &enter);
    QVERIFY(enter.isAccepted());
    QDropEvent drop(viewport->rect().center(), Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton, {});
    QCoreApplication::sendEvent(viewport, &drop);
    QVERIFY(drop.isAccepted());
    QCOMPARE(drop.dropAction(), Qt::CopyAction);

    QStringList after;
    for (const auto &entry : List(archive, InternalList(archive))) after.append(QString::fromStdString(entry.StoredName));
    for (const QString &name : before) after.removeAll(name);
    after.removeIf([](const QString &name) { return name.startsWith("~unknowns"); });
    after.sort();
    QCOMPARE(after, stored);
    for (const QString &name : stored) QCOMPARE(ReadStored(archive, name.toStdString()), content.value(name.section('\\', -1)));
    // The list shows the new files at once; in Explorer style the tree is
    // rebuilt and the list shows the root.
    if (!explorer && !stored.isEmpty()) QVERIFY(Names(*window).contains(stored.first()));
    if (explorer) {
        QVERIFY(Names(*window).contains("a.txt"));
        QVERIFY(!Names(*window).contains("data\\d.txt"));
        if (!stored.isEmpty() && stored.first().contains(QLatin1Char('\\')))
            QVERIFY(window->Tree()->NodeExists(stored.first().section('\\', 0, -2).toUpper() + '\\'));
    }
    window->Form_Unload();
}

void TestRowCommands::dragOutHandsTheScratchFolder()
{
    auto window = Start(FreshArchive());
    QVERIFY(window);
    const QString scratch = window->Session().TempPath;
    Select(*window, {"b.txt", "units\\footman.mdx"}, "b.txt");
    std::unique_ptr<QMimeData> data(window->Model()->mimeData(window->List()->selectionModel()->selectedIndexes()));
    QCOMPARE(data->formats(), QStringList{"text/uri-list"});
    QVERIFY(data->hasUrls());
    // Nothing is extracted until the place of the drop asks for the data.
    QVERIFY(!QFileInfo::exists(scratch));
    QCOMPARE(data->urls(), (QList<QUrl>{QUrl::fromLocalFile(scratch + "/b.txt"), QUrl::fromLocalFile(scratch + "/units")}));
    QCOMPARE(ReadFile(scratch + "/b.txt"), files.value("b.txt"));
    QCOMPARE(ReadFile(scratch + "/units/footman.mdx"), files.value("units\\footman.mdx"));
    // The bytes a file manager receives name the same entries.
    QCOMPARE(data->data("text/uri-list").split('\n').size(), 3);

    // A second drag empties the folder first.
    Select(*window, {"a.txt"}, "a.txt");
    std::unique_ptr<QMimeData> second(window->Model()->mimeData(window->List()->selectionModel()->selectedIndexes()));
    QCOMPARE(second->urls(), QList<QUrl>{QUrl::fromLocalFile(scratch + "/a.txt")});
    QVERIFY(!QFileInfo::exists(scratch + "/b.txt"));
    QVERIFY(!QFileInfo::exists(scratch + "/units"));
    // No row selected: the target finds the scratch folder empty.
    window->mnuDeselectAll_Click();
    std::unique_ptr<QMimeData> none(window->Model()->mimeData(window->List()->selectionModel()->selectedIndexes()));
    QVERIFY(none->urls().isEmpty());
    QVERIFY(QDir(scratch).isEmpty());
    window->Form_Unload();
    QVERIFY(!QFileInfo::exists(scratch));
}

void TestRowCommands::openingAStoredFile_data()
{
    QTest::addColumn<QString>("how");
    QTest::addColumn<QString>("current");
    QTest::addColumn<QString>("opened");  // relative to the scratch folder; empty: nothing opens
    QTest::newRow("double click on a row") << "double click row" << "a.txt" << "a.txt";
    QTest::newRow("double click beside the rows") << "double click empty" << "data\\e.txt" << "data/e.txt";
    QTest::newRow("popup entry") << "popup" << "units\\footman.mdx" << "units/footman.mdx";
    QTest::newRow("toolbar view") << "view" << "c.wav" << "c.wav";
    QTest::newRow("no current row") << "view" << "" << "";
}

void TestRowCommands::openingAStoredFile()
{
    QFETCH(QString, how);
    QFETCH(QString, current);
    QFETCH(QString, opened);
    auto window = Start(FreshArchive());
    QVERIFY(window);
    QList<QUrl> shown;
    SetShellOpener([&](const QUrl &url) { shown.append(url); });
    const QString scratch = window->Session().TempPath;
    WriteFile(scratch + "/kept.txt", "stays");
    // Several rows selected: only the current one opens.
    Select(*window, {"a.txt", "b.txt", "c.wav"}, current);
    ArchiveListView *list = window->List();
    if (how == "double click row") {
        QTest::mouseDClick(list->viewport(), Qt::LeftButton, {}, list->visualRect(list->currentIndex()).center());
    } else if (how == "double click empty") {
        QTest::mouseDClick(list->viewport(), Qt::LeftButton, {}, QPoint(20, list->viewport()->height() - 5));
    } else if (how == "popup") {
        window->MenuEntry("mnuPopupOpen")->trigger();
    } else {
        window->tbMenu_ButtonClick("view");
    }
    if (opened.isEmpty()) {
        QVERIFY(shown.isEmpty());
    } else {
        QCOMPARE(shown, QList<QUrl>{QUrl::fromLocalFile(scratch + "/" + opened)});
        QCOMPARE(ReadFile(scratch + "/" + opened), files.value(current));
    }
    QCOMPARE(ReadFile(scratch + "/kept.txt"), QByteArray("stays"));
    window->Form_Unload();
}

QTEST_MAIN(TestRowCommands)
// A drop on an archive that cannot grow (the file-size limit stands for a
// full disk): the rows and the files stay, and the status bar says what
// happened. A file too large for the room goes nowhere; a small one fits,
// but the tables of the archive after it do not.
void TestRowCommands::aDropThatCannotBeWrittenSaysSo_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<QString>("status");
    QTest::newRow("the file does not fit") << 40000 << "File non aggiunti all'archivio: 1";
    QTest::newRow("the tables do not fit") << 100 << "Impossibile scrivere l'archivio: è rimasto com'era.";
}

void TestRowCommands::aDropThatCannotBeWrittenSaysSo()
{
    QFETCH(int, size);
    QFETCH(QString, status);
    const QString archive = FreshArchive();
    QByteArray noise(size, Qt::Uninitialized);
    for (char &c : noise) c = static_cast<char>(QRandomGenerator::global()->generate());
    const QString dropped = WriteFile(dir.filePath(QStringLiteral("noise%1/new.bin").arg(windows)), noise);
    auto window = Start(archive);
    QVERIFY(window);
    const QStringList rows = Names(*window);

    rlimit old {};
    ::getrlimit(RLIMIT_FSIZE, &old);
    const rlimit full{static_cast<rlim_t>(QFileInfo(archive).size()), old.rlim_max};
    ::signal(SIGXFSZ, SIG_IGN);
    ::setrlimit(RLIMIT_FSIZE, &full);
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(dropped)});
    window->Model()->dropMimeData(&data, Qt::CopyAction, -1, -1, {});
    ::setrlimit(RLIMIT_FSIZE, &old);

    QCOMPARE(StatusText(*window), status);
    QCOMPARE(Names(*window), rows);
    VerifyOthersIntact(archive, {});
    window->Form_Unload();
}

#include "test_row_commands.moc"
