// The main window, offscreen: its wiring to the session and the core, and what lives only in
// the window: the command table's enabling, the layout, new, rename, delete, find, new folders.
#include <QAction>
#include <QHeaderView>
#include <QLabel>
#include <QLibraryInfo>
#include <QLineEdit>
#include <QMessageBox>
#include <QMimeData>
#include <QProgressDialog>
#include <QProcess>
#include <QPushButton>
#include <QScopeGuard>
#include <QRandomGenerator>
#include <QScreen>
#include <QTabBar>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QUrl>
#include <QtEndian>

#include <signal.h>
#include <unistd.h>
#include <sys/resource.h>

#include "config/catalogue.h"
#include "config/frm_config.h"
#include "config/ini_file.h"
#include "dialogs/dialogs_qt.h"
#include "editing/helpers/shell_open.h"
#include "listing/explorer_listing.h"
#include "pane/preview_pane_widget.h"
#include "shell/archive_list_model.h"
#include "shell/archive_list_view.h"
#include "shell/folder_tree_widget.h"
#include "shell/frm_main.h"
#include "support/archive_factory.h"
#include "support/damaged_data.h"
#include "support/scripted_dialogs.h"
#include "support/window_fixture.h"

using namespace fixtures;

namespace {

// The names the list shows, without the internal list.
QStringList Names(const frmMain &window)
{
    QStringList names;
    for (int row = 0; row < window.Model()->rowCount(); ++row) names.append(window.Model()->Row(row).text());
    names.removeAll(QStringLiteral("(listfile)"));
    return names;
}

QModelIndex IndexOf(const frmMain &window, const QString &name)
{
    for (int row = 0; row < window.Model()->rowCount(); ++row)
        if (window.Model()->Row(row).text() == name) return window.Model()->index(row, 0);
    return {};
}

// Selects these rows alone and makes `current` the current row, unselected.
void Select(frmMain &window, const QStringList &names, const QString &current = {})
{
    QItemSelectionModel *selection = window.List()->selectionModel();
    selection->clear();
    for (const QString &name : names) selection->select(IndexOf(window, name), QItemSelectionModel::Select | QItemSelectionModel::Rows);
    selection->setCurrentIndex(IndexOf(window, current), QItemSelectionModel::NoUpdate);
}

QString CurrentName(const frmMain &window)
{
    const QModelIndex current = window.List()->currentIndex();
    return current.isValid() ? window.Model()->Row(current.row()).text() : QString();
}

QString StatusText(const frmMain &window) { return window.findChild<QLabel *>("StatusBar1Panel1")->text(); }

QStringList Asked(const ScriptedDialogs &dialogs)
{
    QStringList texts;
    for (const auto &question : dialogs.asked) texts.append(question.kind + ": " + question.text);
    return texts;
}

}  // namespace

class TestWindow : public QObject {
    Q_OBJECT
    QTemporaryDir dir;
    int windows = 0;
    QMap<QString, QByteArray> files;
    QString master;

    StartupPaths Paths() { return WindowPaths(dir.filePath(QStringLiteral("w%1").arg(++windows))); }
    QString FreshArchive()
    {
        const QString path = dir.filePath(QStringLiteral("copy%1.mpq").arg(++windows));
        return QFile::copy(master, path) ? path : QString();
    }
    std::unique_ptr<frmMain> Start(const QString &archive = {}, bool explorer = false)
    {
        auto window = StartWindow(Paths(), archive);
        QTEST_ASSERT(window);  // shown offscreen
        if (explorer) window->mnuExplorerStyle_Click();
        return window;
    }

private slots:
    void initTestCase()
    {
        files = {{"a.txt", TextData(100, 'a')},        {"b.txt", TextData(2000, 'b')},
                 {"c.wav", WaveData(3000)},             {"data\\d.txt", TextData(300, 'd')},
                 {"data\\e.txt", TextData(40000, 'e')}, {"units\\footman.mdx", TextData(5000, 'f')}};
        QList<StoredFile> stored;
        for (auto it = files.cbegin(); it != files.cend(); ++it) stored.append({it.key().toUtf8(), it.value()});
        master = ArchiveIn(dir.path(), "master.mpq", stored);
    }
    void cleanup() { SetShellOpener({}); LoadLanguage(QString()); }

    // The first start asks for the language on its tab before the window shows.
    void firstRunAsksForTheLanguageFirst()
    {
        StartupPaths paths = Paths();
        QFile::remove(paths.iniPath);
        frmMain window(paths);
        bool asked = false;
        QTimer::singleShot(0, &window, [&] {
            frmConfig *dialog = window.ConfigDialog();
            asked = dialog && dialog->isVisible() && !window.isVisible() &&
                    dialog->findChild<QTabBar *>("tabConfig")->currentIndex() == 3;
            if (dialog) dialog->findChild<QPushButton *>("cmdCancel")->click();
        });
        window.Form_Load({});
        QVERIFY(asked && window.FirstRun());
        QCOMPARE(ReadIni("Config", "Language", paths.iniPath, "absent"), QStringLiteral("absent"));
    }

    // The user sets the window up and closes it; the next start shows it as it
    // was, and the scratch folder is gone.
    void settingsComeBackAtTheNextStart()
    {
        const StartupPaths paths = Paths();
        const QString other = FreshArchive();
        WriteFile(paths.tempPath + "/window-gone/dragged/a.txt", "x");  // a window that crashed
        {
            auto window = StartWindow(paths, "\"" + other + "\"", QSize(820, 540));
            QCOMPARE(window->windowTitle() + " " + StatusText(*window), "Arcavera - " + other + " Pronto");
            window->move(window->screen()->availableGeometry().topLeft() + QPoint(31, 47));
            window->mnuExplorerStyle_Click();
            window->lblSplitter_MouseMove(1, 0, 600, 0);
            window->mnuTools_Click();
            window->mnuStatus_Click();
            window->mnuArrange_Click(3);
            window->mnuArrange_Click(3);
            ScriptedDialogs dialogs;
            dialogs.answers = {{master}};
            window->mnuOpen_Click();
            window->close();  // the window's own close runs the shutdown
        }
        QVERIFY(!QFileInfo::exists(paths.tempPath));
        const float splitter = ReadWindowSettings(paths.iniPath, 0, 0).Splitter;
        QCOMPARE(splitter, 3000.0f + 600);  // from the default
        auto again = StartWindow(paths, {}, QSize(820, 540));
        QCOMPARE(again->pos(), again->screen()->availableGeometry().topLeft() + QPoint(31, 47));
        QCOMPARE(again->Layout().splitter.left, splitter);
        QVERIFY(again->findChild<QWidget *>("tbMenu")->isHidden() && !again->MenuEntry("mnuTools")->isChecked());
        QVERIFY(again->findChild<QWidget *>("StatusBar1")->isHidden() && !again->MenuEntry("mnuStatus")->isChecked());
        QCOMPARE(again->Model()->SortKey() * 10 + again->Model()->SortOrder(), 31);
        QCOMPARE(again->List()->header()->sortIndicatorOrder(), Qt::DescendingOrder);
        QVERIFY(again->MenuEntry("mnuExplorerStyle")->isChecked() && !again->Tree()->isHidden());
        QCOMPARE(again->Session().RecentFiles, (QStringList{master, other, QString(), QString()}));
        QCOMPARE(again->MenuEntry("mnuRecents2")->text(), "&2  " + other);
        again->resize(500, 400);
        again->showMaximized();  // a maximised window keeps the measures it has
        QTRY_VERIFY(again->width() > 500);
        const QSize maximised = again->size();
        again->close();
        QCOMPARE(ToPixels({0, 0, ReadWindowSettings(paths.iniPath, 0, 0).Width, 1}, Dpi{96, 96}).width(), maximised.width());
    }

    // What needs an archive waits for one; find next waits for a find and ends
    // with the archive. Buttons, shortcuts and entries run their commands.
    void commandsFollowTheTable()
    {
        const QString launched = QDir::currentPath();
        auto window = Start();
        QCOMPARE(window->MenuEntry("mnuRecents1")->text(), QStringLiteral("Nessun file recente"));
        const auto enabled = [&](const Command &command, bool open) {
            const bool expected = command.needs == Needs::Nothing || (command.needs == Needs::Archive && open);
            if (command.name && command.run) QCOMPARE(window->MenuEntry(command.name)->isEnabled(), expected);
            if (command.tool.key) QCOMPARE(window->ToolButton(command.tool.key)->isEnabled(), expected);
        };
        for (const Command &command : Commands()) enabled(command, false);
        ScriptedDialogs dialogs;
        dialogs.answers = {{master}, {"e.txt"}};
        window->ToolButton("open")->trigger();
        QCOMPARE(window->Session().FileName, master);
        for (const Command &command : Commands()) enabled(command, true);
        window->MenuEntry("mnuFind")->trigger();
        QVERIFY(window->MenuEntry("mnuFindNext")->isEnabled());
        window->MenuEntry("mnuClose")->trigger();
        for (const Command &command : Commands()) enabled(command, false);
        QCOMPARE(window->Session().FindText, QStringLiteral("e.txt"));  // the text outlives the archive
        window->MenuEntry("mnuRecents1")->trigger();
        QCOMPARE(window->windowTitle(), "Arcavera - " + master);
        window->activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(window.get()));
        QTest::keySequence(window.get(), QKeySequence("Ctrl+O"));
        QCOMPARE(dialogs.asked.last().kind, QStringLiteral("open"));
        // The first file dialog opens where the program was started, the next where that one ended.
        QCOMPARE(QStringList({dialogs.asked.first().folder, dialogs.asked.last().folder}), QStringList({launched, dir.path()}));
    }

    void newAddsTheExtensionAndAsksBeforeReplacing_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("made");
        QTest::addColumn<MessageButton>("answer");  // to the question about a file there already
        QTest::addColumn<bool>("replaced");
        QTest::newRow("mpq replaced unasked") << "a.mpq" << "a.mpq" << MessageButton::No << true;
        QTest::newRow("other type gets .mpq, kept") << "c.w3x" << "c.w3x.mpq" << MessageButton::No << false;
        QTest::newRow("added name replaced") << "f" << "f.mpq" << MessageButton::Yes << true;
    }
    void newAddsTheExtensionAndAsksBeforeReplacing()
    {
        QFETCH(QString, typed);
        QFETCH(QString, made);
        QFETCH(MessageButton, answer);
        QFETCH(bool, replaced);
        auto window = Start(master);
        const QString folder = CaseFolder(dir.path());
        QVERIFY(QFile::copy(master, folder + "/" + made));
        ScriptedDialogs dialogs;
        dialogs.answers = {{folder + "/" + typed}};
        dialogs.messageAnswers = {answer};
        window->mnuNew_Click();
        QCOMPARE(QFileInfo(folder + "/" + made).size(), replaced ? 0 : QFileInfo(master).size());
        QCOMPARE(window->Session().FileName, replaced ? folder + "/" + made : master);  // a refusal keeps the archive
        if (replaced) QVERIFY(window->Tree()->Node(UpperKey(folder + "/" + made))->isSelected());
        window->mnuNew_Click();  // cancelled: the archive stays open
        window->mnuOpen_Click();  // cancelled: the archive is closed
        QCOMPARE(dialogs.asked.size(), (typed == made ? 3 : 4) + (replaced ? 1 : 0));  // the new archive's box
        QCOMPARE(window->windowTitle() + QString::number(window->Model()->rowCount()), QStringLiteral("Arcavera0"));
    }

    // New leaves an empty file; its first add makes the archive in the
    // format and with the table room asked for after the name.
    void newArchiveOptions_data()
    {
        QTest::addColumn<bool>("accepted");
        QTest::addColumn<QList<int>>("header");  // format field, hash slots
        QTest::newRow("format 2, 5000 files") << true << QList<int>{1, 8192};
        QTest::newRow("box cancelled: the settings") << false << QList<int>{0, 1024};
    }
    void newArchiveOptions()
    {
        QFETCH(bool, accepted);
        QFETCH(QList<int>, header);
        auto window = Start();
        const QString folder = CaseFolder(dir.path());
        const QString source = WriteFile(folder + "/one.txt", "one");
        ScriptedDialogs dialogs;
        dialogs.answers = {{folder + "/new.mpq"}, {source}};
        dialogs.newArchiveAnswers = {NewArchiveChoice{accepted, 2, 5000}};
        window->mnuNew_Click();
        QCOMPARE(QFileInfo(folder + "/new.mpq").size(), 0);
        QCOMPARE(dialogs.asked.value(1).title, QStringLiteral("1 %1").arg(window->Config().DefaultMaxFiles));
        window->mnuAdd_Click();
        const QByteArray bytes = ReadFile(folder + "/new.mpq");
        QCOMPARE((QList<int>{int(qFromLittleEndian<quint16>(bytes.constData() + 12)),
                             int(qFromLittleEndian<quint32>(bytes.constData() + 24))}), header);
        QCOMPARE(Names(*window), QStringList{"one.txt"});
    }

    // While the engine is stuck on a file (its child is ended after a few seconds), the window's
    // timers and paints go on, and a dialog comes whose Cancel stops the listing; left alone,
    // the archive still lists.
    void theWindowLivesWhileTheEngineIsStuck_data()
    {
        QTest::addColumn<bool>("cancel");
        QTest::addColumn<int>("rows");
        QTest::addColumn<QString>("status");
        QTest::newRow("left alone") << false << 2 << "Pronto";
        QTest::newRow("cancelled") << true << 0 << "Lettura di %1 interrotta: Aggiorna la riprende";
    }
    void theWindowLivesWhileTheEngineIsStuck()
    {
        QFETCH(bool, cancel);
        QFETCH(int, rows);
        QFETCH(QString, status);
        const QString archive = WriteFile(dir.filePath("stuck.mpq"), HandMadeArchive(8, {{"pic", "GIF89a......"}, EndlessBzip2File("stuck")}));
        auto window = Start();
        int ticks = 0, dialogsSeen = 0;
        QTimer timer;
        connect(&timer, &QTimer::timeout, [&] {
            ++ticks;
            auto *progress = window->findChild<QProgressDialog *>("dlgBatchProgress");
            dialogsSeen += progress != nullptr;
            if (progress != nullptr && cancel) progress->cancel();
        });
        timer.start(100);
        ScriptedDialogs dialogs;
        dialogs.answers = {{archive}};
        window->mnuOpen_Click();
        QVERIFY2(ticks >= (cancel ? 5 : 10), qPrintable(QString::number(ticks)));
        QVERIFY(dialogsSeen > 0);
        QCOMPARE(window->Model()->rowCount(), rows);
        QCOMPARE(StatusText(*window), status.replace("%1", archive));
        QCOMPARE(window->windowTitle(), "Arcavera - " + archive);
        QVERIFY(!window->findChild<QProgressDialog *>("dlgBatchProgress"));
    }

    // Over an open archive the window takes no drop; on the empty window a file opens, a folder not.
    void dropOnTheWindowOpensAnArchive()
    {
        auto window = Start(master);
        QMimeData data;
        const auto drop = [&](const QString &path) {
            data.setUrls({QUrl::fromLocalFile(path), QUrl::fromLocalFile(master)});
            QDragEnterEvent enter(window->rect().center(), Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton, {});
            QDropEvent event(window->rect().center(), Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton, {});
            if (QApplication::sendEvent(window.get(), &enter), enter.isAccepted()) QApplication::sendEvent(window.get(), &event);
            return (enter.isAccepted() && enter.dropAction() == Qt::CopyAction ? "taken, " : "refused, ") + window->windowTitle();
        };
        const QString other = FreshArchive();
        QCOMPARE(drop(other), "refused, Arcavera - " + master);
        window->mnuClose_Click();
        QCOMPARE(drop(dir.path()), QStringLiteral("taken, Arcavera"));
        QCOMPARE(drop(other), "taken, Arcavera - " + other);
    }

    // At 15 twips to the pixel the bars dock at the edges, the list fills the rest, the tree and
    // the splitter stand at its left in Explorer style, the progress bar over the second panel.
    void layoutOfTheBarsAndStyles_data()
    {
        QTest::addColumn<bool>("toolBar");
        QTest::addColumn<bool>("statusBar");
        QTest::addColumn<bool>("explorer");
        QTest::addColumn<QRect>("list");
        QTest::addColumn<QRect>("progress");  // empty: not placed
        QTest::newRow("both bars") << true << true << false << QRect(0, 58, 400, 322) << QRect(333, 382, 167, 17);
        QTest::newRow("status bar only") << false << true << false << QRect(0, 0, 400, 380) << QRect(333, 382, 167, 17);
        QTest::newRow("no bars, Explorer") << false << false << true << QRect(212, 0, 188, 400) << QRect();
        QTest::newRow("toolbar, Explorer") << true << false << true << QRect(212, 58, 188, 342) << QRect();
        // The preview pane takes 3000 twips at the least, here more than two fifths.
        QTest::newRow("preview") << true << true << false << QRect(0, 58, 200, 322) << QRect(333, 382, 167, 17);
    }
    void layoutOfTheBarsAndStyles()
    {
        QFETCH(bool, toolBar);
        QFETCH(bool, statusBar);
        QFETCH(bool, explorer);
        QFETCH(QRect, list);
        QFETCH(QRect, progress);
        MainLayout layout;
        const bool preview = QByteArray(QTest::currentDataTag()) == "preview";
        const LayoutInput input{QSize(400, 400), 40, 20, QRect(0, 0, 100, 30), toolBar, statusBar, explorer, Dpi{96, 96}, preview};
        const LayoutPlaces places = LayOutMainWindow(layout, input);
        if (preview) QCOMPARE(ToPixels(layout.preview, input.dpi), QRect(200, 58, 200, 322));
        QCOMPARE(ToPixels(layout.toolBar, input.dpi), QRect(0, 0, 400, 58));
        QCOMPARE(places.statusBar ? ToPixels(layout.statusBar, input.dpi) : QRect(), QRect(0, 380, 400, 20));
        QCOMPARE(ToPixels(layout.list, input.dpi), list);
        QCOMPARE(places.progress, !progress.isNull());
        if (places.progress) QCOMPARE(ToPixels(layout.progress, input.dpi), progress);
        if (explorer) QCOMPARE(ToPixels(layout.tree, input.dpi), QRect(0, list.top(), 209, list.height()));
        if (explorer) QCOMPARE(ToPixels(layout.splitter, input.dpi), QRect(209, 64, 3, list.height()));
        // Too small for the status bar: it stays where it stood.
        QVERIFY(!LayOutMainWindow(layout, {QSize(400, 10), 40, 20, QRect(1, 2, 3, 4), toolBar, statusBar, explorer,
                                           Dpi{96, 96}}).statusBar);
        QCOMPARE(ToPixels(layout.statusBar, input.dpi), QRect(1, 2, 3, 4));
    }

    // The preview pane is hidden at the first start; shown, it follows the current row, and the
    // next start shows it again.
    void previewFollowsTheRowAndIsRemembered()
    {
        const StartupPaths paths = Paths();
        {
            auto window = StartWindow(paths, "\"" + master + "\"");
            QVERIFY(window->Preview()->isHidden() && !window->MenuEntry("mnuPreview")->isChecked());
            window->MenuEntry("mnuPreview")->trigger();
            QVERIFY(window->Preview()->isVisible() && window->MenuEntry("mnuPreview")->isChecked());
            QCOMPARE(window->Preview()->geometry().left(), window->List()->geometry().right() + 1);
            Select(*window, {"data\\e.txt"}, "data\\e.txt");
            QTRY_VERIFY(window->Preview()->Kind() == PreviewKind::Text && !window->Preview()->Reading());
            QCOMPARE(window->Preview()->Text().toLatin1(), QByteArray(files["data\\e.txt"]).replace("\r\n", "\n"));
            window->close();
        }
        QCOMPARE(ReadIni("Preview", "Shown", paths.iniPath, {}), QStringLiteral("1"));
        auto again = StartWindow(paths, {});
        QVERIFY(again->Preview()->isVisible() && again->MenuEntry("mnuPreview")->isChecked());
    }

    // A splitter that would leave less than 2000 twips to the tree or the list (of 6000) is refused.
    void splitterMovesOnlyWithinItsBounds()
    {
        for (const auto &[to, moves] : {std::pair{3000.0f, true}, {2010.0f, true}, {2000.0f, false}, {4000.0f, false},
                                        {3990.0f, true}}) {
            MainLayout layout;
            layout.splitter.left = 2400;
            QCOMPARE(MoveSplitter(layout, to - 2400, 6000), moves);
            const float left = moves ? to : 2400.0f;
            QCOMPARE(layout.splitter.left, left);
            QCOMPARE(layout.tree.width, moves ? left : 3135.0f);
            if (moves) QCOMPARE(layout.list.left + layout.list.width, 6000.0f - 10);  // ten short until the next layout
        }
    }

    // Rows: a.txt, b.txt, c.wav, data\d.txt, data\e.txt, units\footman.mdx, the internal
    // list. After a delete the current row is the one that stands in its place.
    void deleteTheSelectedRows_data()
    {
        QTest::addColumn<QStringList>("selected");
        QTest::addColumn<QString>("current");
        QTest::addColumn<MessageButton>("answer");
        QTest::addColumn<QStringList>("gone");
        QTest::addColumn<QString>("currentAfter");
        QTest::newRow("rows 2, 3 and 5") << QStringList{"b.txt", "c.wav", "data\\e.txt"} << "data\\e.txt"
                                         << MessageButton::Yes << QStringList{"b.txt", "c.wav", "data\\e.txt"}
                                         << "units\\footman.mdx";
        QTest::newRow("answer no") << QStringList{"a.txt"} << "a.txt" << MessageButton::No << QStringList{} << "a.txt";
    }
    void deleteTheSelectedRows()
    {
        QFETCH(QStringList, selected);
        QFETCH(QString, current);
        QFETCH(MessageButton, answer);
        QFETCH(QStringList, gone);
        QFETCH(QString, currentAfter);
        const QString archive = FreshArchive();
        auto window = Start(archive);
        QVERIFY(IndexOf(*window, "(listfile)").isValid());  // the internal list under its own name
        ScriptedDialogs dialogs;
        dialogs.messageAnswers = {answer};
        Select(*window, selected, current);
        window->mnuDelete_Click();
        QCOMPARE(Asked(dialogs), QStringList{"message: Sei sicuro di volere eliminare i files?"});
        QStringList remaining = QStringList(files.keys());
        for (const QString &name : gone) remaining.removeAll(name);
        QCOMPARE(Names(*window), remaining);
        QCOMPARE(CurrentName(*window), currentAfter);
        window->mnuRefresh_Click();  // the rows were taken out by hand; the archive agrees
        QCOMPARE(Names(*window), remaining);
    }

    // A name the archive keeps for itself keeps its row, and the status bar says why; the other
    // names of the same delete go.
    void refusedNamesKeepTheirRows_data()
    {
        QTest::addColumn<QString>("command");
        QTest::addColumn<QStringList>("selected");
        QTest::addColumn<QStringList>("gone");
        QTest::newRow("delete the list") << "delete" << QStringList{"(listfile)"} << QStringList{};
        QTest::newRow("delete the list and a file") << "delete" << QStringList{"(listfile)", "a.txt"} << QStringList{"a.txt"};
        QTest::newRow("rename the list") << "rename" << QStringList{"(listfile)"} << QStringList{};
    }
    void refusedNamesKeepTheirRows()
    {
        QFETCH(QString, command);
        QFETCH(QStringList, selected);
        QFETCH(QStringList, gone);
        const QString archive = FreshArchive();
        auto window = Start(archive);
        ScriptedDialogs dialogs;
        dialogs.messageAnswers = {MessageButton::Yes};
        Select(*window, selected, selected.front());
        bool cancel = false;
        if (command == "delete") window->mnuDelete_Click();
        else window->lwMPQ_AfterLabelEdit(cancel, "renamed.txt");
        QCOMPARE(cancel, command == "rename");
        QCOMPARE(StatusText(*window), QStringLiteral("(listfile) non si può eliminare né rinominare: l'archivio lo tiene per sé."));
        QStringList remaining = QStringList(files.keys());
        for (const QString &name : gone) remaining.removeAll(name);
        QCOMPARE(Names(*window), remaining);
        window->mnuRefresh_Click();  // the archive agrees
        QCOMPARE(Names(*window), remaining);
    }

    // The editor opens on the current row, Enter asks the question; a click on another row ends
    // the edit for the row edited. Names with controls show their marks.
    void renameInPlace()
    {
        const QString archive = FreshArchive();
        WriteFile(dir.filePath("esc/red\x1b.txt"), "esc");
        QMimeData drop;
        drop.setUrls({QUrl::fromLocalFile(dir.filePath("esc/red\x1b.txt"))});
        auto window = Start(archive);
        QVERIFY(window->Model()->dropMimeData(&drop, Qt::CopyAction, -1, -1, {}));
        ScriptedDialogs dialogs;
        dialogs.messageAnswers = {MessageButton::Yes, MessageButton::Yes};
        Select(*window, {"a.txt", "b.txt"}, "red\x1b.txt");
        window->mnuRename_Click();
        auto *editor = window->List()->findChild<QLineEdit *>();
        QCOMPARE(editor->text(), QStringLiteral("red\u241b.txt"));
        editor->setText(QStringLiteral("sounds\\red\u241b.txt"));
        QTest::keyClick(editor, Qt::Key_Return);
        QTRY_COMPARE(dialogs.asked.size(), 1);
        QCOMPARE(dialogs.asked.last().text, QStringLiteral("Vuoi rinominare il file \"red\u241b.txt\" in \"sounds\\red\u241b.txt\"?"));
        QCOMPARE(ReadStored(archive, "sounds\\red\x1b.txt"), QByteArray("esc"));
        Select(*window, {}, "a.txt");
        window->mnuRename_Click();
        window->List()->findChild<QLineEdit *>()->setText("first.txt");
        window->List()->setCurrentIndex(IndexOf(*window, "b.txt"));
        QTRY_COMPARE(dialogs.asked.size(), 2);
        QCOMPARE(dialogs.asked.last().text, QStringLiteral("Vuoi rinominare il file \"a.txt\" in \"first.txt\"?"));
        QCOMPARE(CurrentName(*window), QStringLiteral("first.txt"));
        // A name in use is refused with a message; the archive stays as it was.
        const QByteArray before = ReadFile(archive);
        dialogs.messageAnswers = {MessageButton::Yes, MessageButton::OK};
        bool cancel = false;
        window->lwMPQ_AfterLabelEdit(cancel, "b.txt");
        QCOMPARE(dialogs.asked.last().text, QStringLiteral("Impossibile rinominare il file! File gia esistente"));
        QVERIFY(cancel && CurrentName(*window) == "first.txt" && ReadFile(archive) == before);
        window->Reports().SetStatusText("Estrazione file red\x1b.txt");
        QCOMPARE(StatusText(*window), QStringLiteral("Estrazione file red\u241b.txt"));
    }

    // Find selects the first match and makes it current; find next goes on
    // from the current row; past the last nothing is selected.
    void findAndFindNext()
    {
        auto window = Start(master);
        ScriptedDialogs dialogs;
        dialogs.answers = {{"d"}};
        Select(*window, {"a.txt", "b.txt"}, "a.txt");
        window->mnuFind_Click();
        QCOMPARE(Asked(dialogs), QStringList{"input: Trova:"});
        for (const QString &found : QStringList{"data\\d.txt", "data\\e.txt", "units\\footman.mdx", ""}) {
            QCOMPARE(window->List()->selectionModel()->selectedRows().size(), found.isEmpty() ? 0 : 1);
            if (!found.isEmpty()) QCOMPARE(CurrentName(*window), found);
            window->mnuFindNext_Click();
        }
        QList<QUrl> shown;  // past the last the current row stays, and it alone opens
        SetShellOpener([&](const QUrl &url, const NoProgram &) { shown.append(url); });
        window->MenuEntry("mnuPopupOpen")->trigger();
        QCOMPARE(shown, QList<QUrl>{QUrl::fromLocalFile(window->Session().TempPath + "/open/units/footman.mdx")});
    }

    // Explorer style: the tree beside the list, a folder's click lists its
    // files, a new folder from the popup takes a drop under its key.
    void explorerStyleTreeAndNewFolder_data()
    {
        QTest::addColumn<QString>("parentKey");  // empty: the root
        QTest::addColumn<QStringList>("answer");  // empty: cancelled
        QTest::addColumn<QString>("newKey");     // empty: nothing added
        QTest::newRow("under a folder") << "DATA\\" << QStringList{"Music"} << "DATA\\MUSIC\\";
        QTest::newRow("a folder's name in other case") << "" << QStringList{"units"} << "";
        QTest::newRow("cancelled") << "DATA\\" << QStringList{} << "";
    }
    void explorerStyleTreeAndNewFolder()
    {
        QFETCH(QString, parentKey);
        QFETCH(QStringList, answer);
        QFETCH(QString, newKey);
        const QString archive = FreshArchive();
        auto window = Start(archive, true);
        FolderTreeWidget *tree = window->Tree();
        window->tvMPQ_NodeClick(tree->Node("DATA\\"));
        QCOMPARE(Names(*window), (QStringList{"data\\d.txt", "data\\e.txt"}));
        QTreeWidgetItem *parent = parentKey.isEmpty() ? tree->topLevelItem(0) : tree->Node(parentKey);
        tree->setCurrentItem(parent);
        const qsizetype nodes = tree->findItems("*", Qt::MatchWildcard | Qt::MatchRecursive).size();
        ScriptedDialogs dialogs;
        dialogs.answers = {answer};
        window->mnuPopupCreateDir_Click();
        QCOMPARE(Asked(dialogs), QStringList{"input: Nuova cartella"});
        QCOMPARE(tree->findItems("*", Qt::MatchWildcard | Qt::MatchRecursive).size(), nodes + !newKey.isEmpty());
        if (newKey.isEmpty()) return;
        QCOMPARE(tree->Node(newKey)->parent(), parent);
        tree->setCurrentItem(tree->Node(newKey));
        const QString source = WriteFile(CaseFolder(dir.path()) + "/theme.mp3", TextData(900, 't'));
        QMimeData data;
        data.setUrls({QUrl::fromLocalFile(source)});
        QVERIFY(window->Model()->dropMimeData(&data, Qt::CopyAction, -1, -1, {}));  // under the selected folder
        QCOMPARE(ReadStored(archive, (newKey + "theme.mp3").toStdString()), TextData(900, 't'));
        QVERIFY(tree->NodeExists(newKey));  // the rebuilt tree shows it from the stored name
    }

    // Compact gives the room back and lists again; an archive with a file
    // that has no name is left as it is, and the user is told why.
    void compactTheArchive_data()
    {
        QTest::addColumn<bool>("nameless");
        QTest::newRow("named") << false;
        QTest::newRow("a file without a name") << true;
    }
    void compactTheArchive()
    {
        QFETCH(bool, nameless);
        const QString archive = dir.filePath(QString("compact %1.mpq").arg(nameless));
        QByteArray noise(60000, Qt::Uninitialized);
        QRandomGenerator(3).fillRange(reinterpret_cast<quint32 *>(noise.data()), noise.size() / 4);
        if (nameless)  // behind a deleted file, encrypted with a key that follows its place
            WriteFile(archive, HandMadeArchive(8, {{"gone.bin", "g", 0xFFFFFFFE, 0}, {"a.bin", noise, 0xFFFFFFFF, 0x80030000}}));
        else
            QVERIFY(MakeArchive(archive, {{"a.bin", noise}, {"b.bin", noise.left(100)}}, dir.filePath("compact-src")));
        auto window = Start(archive);
        if (!nameless) {
            Select(*window, {"a.bin"}, "a.bin");
            ScriptedDialogs yes;
            yes.messageAnswers = {MessageButton::Yes};
            window->mnuDelete_Click();
        }
        const QByteArray before = ReadFile(archive);
        ScriptedDialogs dialogs;
        window->mnuCompact_Click();
        if (nameless) {
            QCOMPARE(Asked(dialogs), QStringList{"message: 1 file non hanno un nome con cui riscriverli: l'archivio non è stato compattato."});
            QCOMPARE(ReadFile(archive), before);
        } else {
            QVERIFY(Asked(dialogs).isEmpty());
            QVERIFY(ReadFile(archive).size() < before.size() - 50000);
            QCOMPARE(Names(*window), QStringList{"b.bin"});
            QVERIFY(StatusText(*window).startsWith("Archivio compattato: "));
        }
    }

    // Extract all writes every stored file with its folders, in Explorer style
    // too, and sums up what it did.
    void extractAll()
    {
        const QString archive = dir.filePath("all.mpq");
        QVERIFY(MakeArchive(archive, {{"top.txt", "t"}, {"units\\a.mdx", "a"}, {"units\\deep\\b.blp", "b"},
                                      {"..\\up.txt", "u"}}, dir.filePath("all-src")));
        auto window = Start(archive, true);
        const QString out = dir.filePath("all-out");
        QVERIFY(QDir().mkpath(out));
        ScriptedDialogs dialogs;
        dialogs.answers = {{out}};
        window->mnuExtractAll_Click();
        QCOMPARE(Asked(dialogs).mid(1), QStringList{"message: File estratti: 4\n"
                                                    "Rifiutati perché finirebbero fuori dalla cartella: 1"});
        QMap<QString, QByteArray> written = Tree(out);
        QVERIFY(written.remove("(listfile)"));  // the archive's own list is a stored file too
        QCOMPARE(written, (QMap<QString, QByteArray>{{"top.txt", "t"}, {"units/", "<dir>"}, {"units/a.mdx", "a"},
                                                       {"units/deep/", "<dir>"}, {"units/deep/b.blp", "b"}}));
    }

    // The open archive unpacked to a folder with its manifest, the folder
    // packed into a new archive, which opens with the same rows; a folder
    // with files refused for the unpack.
    void unpackAndPackBack()
    {
        const QString archive = ArchiveIn(dir.path(), "unpack.mpq", {{"top.txt", "t"}, {"units\\a.mdx", "a"}});
        auto window = Start(archive);
        const QStringList rows = Names(*window);
        ScriptedDialogs dialogs;
        const QString folder = dir.filePath("unpacked"), packed = dir.filePath("packed.mpq");
        dialogs.answers = {{dir.path()}, {folder}, {folder}, {packed}};
        window->mnuUnpack_Click();  // the test folder holds files
        window->mnuUnpack_Click();
        QCOMPARE(Asked(dialogs).filter("message: "),
                 QStringList({"message: La cartella " + dir.path() + " non è vuota: scegline una vuota o nuova.",
                              "message: File estratti con il manifesto: 2"}));
        QVERIFY(QFileInfo::exists(folder + "/.arcavera-manifest"));
        QCOMPARE(ReadFile(folder + "/units/a.mdx"), QByteArray("a"));
        window->mnuPack_Click();
        QCOMPARE(window->Session().FileName, packed);
        QCOMPARE(Names(*window), rows);
        QCOMPARE(StatusText(*window), QStringLiteral("Archivio creato con 2 file"));
    }

    // A stored file opened with a double click and saved in another program
    // goes back after the question; not once another command changed the
    // archive since it was opened. Another window of the same user, opened and closed meanwhile,
    // leaves the copy alone.
    void writeBack_data()
    {
        QTest::addColumn<bool>("changedSince");
        QTest::addColumn<bool>("anotherWindow");
        QTest::newRow("saved") << false << false;
        QTest::newRow("archive changed since") << true << false;
        QTest::newRow("another window opened and closed") << false << true;
    }
    void writeBack()
    {
        QFETCH(bool, changedSince);
        QFETCH(bool, anotherWindow);
        const QString archive = FreshArchive();
        const StartupPaths paths = Paths();
        auto window = StartWindow(paths, archive);
        QList<QUrl> opened;
        SetShellOpener([&](const QUrl &url, const NoProgram &) { opened.append(url); });
        Select(*window, {"data\\d.txt"}, "data\\d.txt");
        window->lwMPQ_DblClick();
        QCOMPARE(opened.size(), 1);
        if (anotherWindow) {
            auto other = StartWindow(paths, FreshArchive());
            QVERIFY(other && other->Session().TempPath != window->Session().TempPath);
            Select(*other, {"a.txt"}, "a.txt");
            other->lwMPQ_DblClick();
            other->close();
            QVERIFY(QFileInfo::exists(opened.first().toLocalFile()) && !QFileInfo::exists(opened.last().toLocalFile()));
            opened.removeLast();
        }
        if (changedSince) {
            Select(*window, {"a.txt"}, "a.txt");
            ScriptedDialogs yes;
            yes.messageAnswers = {MessageButton::Yes};
            window->mnuDelete_Click();
        }
        ScriptedDialogs dialogs;
        dialogs.messageAnswers = {MessageButton::Yes};
        WriteFile(opened.first().toLocalFile(), "edited");
        QTRY_COMPARE(Asked(dialogs).size(), 1);
        QCOMPARE(Asked(dialogs).first().startsWith("message: Il file data\\d.txt è stato salvato"), changedSince);
        QCOMPARE(ReadStored(archive, "data\\d.txt"), changedSince ? files["data\\d.txt"] : QByteArray("edited"));
        QCOMPARE(Names(*window).size(), changedSince ? 5 : 6);
    }

    // Cancel in a long batch keeps what was done: a partial folder and an
    // archive as it was after an extraction, an archive that opens and lists
    // what went in after an add. A cancelled compaction leaves the archive and
    // no copy; a cancelled verification says what it left unchecked.
    void cancelALongBatch_data()
    {
        QTest::addColumn<QString>("command");
        for (const char *command : {"extraction", "add", "compaction", "verification"}) QTest::newRow(command) << command;
    }
    void cancelALongBatch()
    {
        QFETCH(QString, command);
        const bool add = command == "add";
        const QString folder = CaseFolder(dir.path());
        QList<StoredFile> many;
        // Files large enough that the engine's child is still at work when Cancel comes; an
        // extraction, which reads ahead of its writing, gets more of them.
        const int count = command == "extraction" ? 1600 : 400;
        for (int i = 0; i < count; ++i) many.append({"f\\" + QByteArray::number(i) + ".txt", QByteArray::number(i).repeated(30000)});
        const QString archive = folder + "/many.mpq";
        QVERIFY(MakeArchive(archive, add ? many.mid(0, 1) : many, folder + "/src", 2048));
        for (const StoredFile &file : many) WriteFile(folder + "/in/" + file.name.mid(2), file.data);
        QVERIFY(QDir().mkpath(folder + "/out"));
        auto window = Start(archive);
        const QByteArray before = ReadFile(archive);
        ScriptedDialogs dialogs;
        dialogs.answers = {{folder + (add ? "/in" : "/out")}};
            QTimer cancel;  // presses Cancel once the dialog is up (for an add, once a file went in)
        connect(&cancel, &QTimer::timeout, this, [&] {
            auto *progress = window->findChild<QProgressDialog *>("dlgBatchProgress");
            if (progress != nullptr && (!add || progress->value() > 0)) progress->cancel();
        });
        cancel.start(0);
        if (add) {
            window->mnuAddDir_Click();
            const int listed = int(List(archive, InternalList(archive)).size());
            QVERIFY2(listed > 2 && listed < 401, qPrintable(QString::number(listed)));  // with the internal list
            QCOMPARE(window->Model()->rowCount(), listed);
            return;
        }
        if (command == "extraction") {
            window->mnuSelectAll_Click();
            window->mnuExtract_Click();
            const qsizetype written = Tree(folder + "/out").size();  // all of it: the files, "f/", "(listfile)"
            QVERIFY2(written >= 1 && written < count + 2, qPrintable(QString::number(written)));
        } else if (command == "compaction") {
            window->mnuCompact_Click();
            QCOMPARE(QDir(folder).entryList({".arcavera-compact*"}, QDir::Files | QDir::Hidden), QStringList());
            QCOMPARE(StatusText(*window), QStringLiteral("Pronto"));
        } else {
            window->mnuVerify_Click();
            const QString stopped = Asked(dialogs).value(0).split('\n').last();
            QVERIFY2(stopped.startsWith("Verifica interrotta: "), qPrintable(stopped));
        }
        QCOMPARE(ReadFile(archive), before);
    }

    // Verify through the menu: the report of the open archive in a box
    // (its lines are the core's), and nothing changed.
    void verifyReports()
    {
        const QString archive = dir.filePath("verify.mpq");
        // Deflate keeps a checksum of each sector's data.
        QVERIFY(MakeArchive(archive, {{"big.txt", TextData(200000, 'v'), mpq::MAFA_COMPRESS, mpq::MAFA_COMPRESS_DEFLATE}},
                            dir.filePath("verify-src")));
        QByteArray bytes = ReadFile(archive);
        bytes[2000] = char(bytes[2000] ^ 0x55);  // inside the compressed text, past its sector table
        WriteFile(archive, bytes);
        auto window = Start(archive);
        ScriptedDialogs dialogs;
        window->mnuVerify_Click();
        const QStringList lines = Asked(dialogs).value(0).split('\n');
        QCOMPARE(lines.value(0), QStringLiteral("message: File controllati: 2"));  // and the internal list
        QVERIFY2(lines.value(2).startsWith("big.txt: "), qPrintable(lines.value(2)));
        QCOMPARE(ReadFile(archive), bytes);
    }

    // A stored file opened with a double click that no program on the
    // desktop opens says so. The desktop's opener hears it from xdg-open
    // (a stand-in here), which exits 3 when no program opens the file.
    void noProgramOpensTheFile_data()
    {
        QTest::addColumn<int>("xdgOpenExit");
        QTest::addColumn<QString>("status");
        QTest::newRow("opened") << 0 << "Pronto";
        QTest::newRow("no program") << 3 << "Nessun programma apre data\\d.txt: estrailo e aprilo con un programma a scelta.";
    }
    void noProgramOpensTheFile()
    {
        QFETCH(int, xdgOpenExit);
        const QString bin = dir.filePath("bin"), path = qEnvironmentVariable("PATH");
        const QString script = WriteFile(bin + "/xdg-open", QByteArray("#!/bin/sh\nexit ") + QByteArray::number(xdgOpenExit) + '\n');
        QFile::setPermissions(script, QFile::permissions(script) | QFile::ExeOwner);
        qputenv("PATH", (bin + ':' + path).toUtf8());
        const auto restore = qScopeGuard([&] { qputenv("PATH", path.toUtf8()); });
        SetShellOpener(OpenOnDesktop);
        auto window = Start(master);
        Select(*window, {"data\\d.txt"}, "data\\d.txt");
        window->lwMPQ_DblClick();
        QTRY_VERIFY(qApp->findChildren<QProcess *>().isEmpty());  // xdg-open ended
        QTEST(StatusText(*window), "status");
    }

    // --help and --version answer on the terminal, with no window.
    void helpAndVersion_data()
    {
        QTest::addColumn<QString>("word");
        QTest::addColumn<QString>("firstLine");
        QTest::newRow("help") << "--help" << "Usage: arcavera [ARCHIVE]";
        QTest::newRow("version") << "--version" << "arcavera " ARCAVERA_VERSION;
    }
    void helpAndVersion()
    {
        QFETCH(QString, word);
        QProcess gui;
        gui.start(ARCAVERA_GUI_PATH, {word});
        QVERIFY(gui.waitForFinished(30000));
        QCOMPARE(gui.exitStatus(), QProcess::NormalExit);
        QCOMPARE(gui.exitCode(), 0);
        QTEST(QString::fromUtf8(gui.readAllStandardOutput()).section('\n', 0, 0), "firstLine");
    }

    void aDropThatCannotBeWrittenSaysSo_data()
    {
        QTest::addColumn<int>("size");
        QTest::addColumn<QString>("status");
        QTest::newRow("the file does not fit") << 40000 << "File non aggiunti all'archivio: 1";
        QTest::newRow("the tables do not fit") << 100 << "Impossibile scrivere l'archivio: è rimasto com'era.";
    }
    void aDropThatCannotBeWrittenSaysSo()
    {
        QFETCH(int, size);
        QFETCH(QString, status);
        const QString archive = FreshArchive();
        QByteArray noise(size, Qt::Uninitialized);
        for (char &c : noise) c = static_cast<char>(QRandomGenerator::global()->generate());
        const QString dropped = WriteFile(CaseFolder(dir.path()) + "/new.bin", noise);
        auto window = Start(archive);
        rlimit old{};
        ::getrlimit(RLIMIT_FSIZE, &old);
        const rlimit full{static_cast<rlim_t>(QFileInfo(archive).size()), old.rlim_max};
        ::signal(SIGXFSZ, SIG_IGN);
        ::setrlimit(RLIMIT_FSIZE, &full);
        QMimeData data;
        data.setUrls({QUrl::fromLocalFile(dropped)});
        window->Model()->dropMimeData(&data, Qt::CopyAction, -1, -1, {});
        ::setrlimit(RLIMIT_FSIZE, &old);
        QCOMPARE(StatusText(*window), status);
        QCOMPARE(Names(*window), QStringList(files.keys()));
        for (auto it = files.cbegin(); it != files.cend(); ++it)
            QCOMPARE(ReadStored(archive, it.key().toStdString()), it.value());
    }

    // An archive that cannot be written (read-only) stays as it was, rows and all, and the
    // status bar says so; a file that holds no archive says that it does not open.
    void aReadOnlyArchiveSaysSo_data()
    {
        QTest::addColumn<QString>("command");
        QTest::newRow("delete") << "delete";
        QTest::newRow("rename") << "rename";
        QTest::newRow("add") << "add";
        QTest::newRow("new folder") << "new folder";
    }
    void aReadOnlyArchiveSaysSo()
    {
        QFETCH(QString, command);
        const QString folder = CaseFolder(dir.path()), archive = folder + "/ro.mpq";
        // Root writes whatever the permissions say: a read-only mount stops it.
        const bool mount = ::geteuid() == 0;
        if (mount && QProcess::execute("mount", {"-t", "tmpfs", "tmpfs", folder}) != 0) QSKIP("no file system to mount");
        const auto restore = qScopeGuard([&] {
            if (mount) QProcess::execute("umount", {folder});
            QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        });
        QVERIFY(QFile::copy(master, archive));
        if (mount) QVERIFY(QProcess::execute("mount", {"-o", "remount,ro", folder}) == 0);
        else QVERIFY(QFile::setPermissions(archive, QFile::ReadOwner) && QFile::setPermissions(folder, QFile::ReadOwner | QFile::ExeOwner));
        const QByteArray before = ReadFile(archive);
        auto window = Start(archive, command == "new folder");
        ScriptedDialogs dialogs;
        dialogs.messageAnswers = {MessageButton::Yes};
        Select(*window, {"a.txt"}, "a.txt");
        if (command == "delete") window->mnuDelete_Click();
        bool cancel = false;
        if (command == "rename") window->lwMPQ_AfterLabelEdit(cancel, "z.txt");
        QCOMPARE(cancel, command == "rename");
        QMimeData data;
        data.setUrls({QUrl::fromLocalFile(WriteFile(dir.filePath("ro-new.txt"), "new"))});
        if (command == "add") window->Model()->dropMimeData(&data, Qt::CopyAction, -1, -1, {});
        dialogs.answers = {{"Sounds"}};
        if (command == "new folder") {
            window->Tree()->setCurrentItem(window->Tree()->topLevelItem(0));
            window->mnuPopupCreateDir_Click();
            QVERIFY(window->Tree()->NodeExists("SOUNDS\\"));
        }
        QCOMPARE(StatusText(*window), QStringLiteral("Impossibile scrivere l'archivio: nulla è stato cambiato."));
        QCOMPARE(ReadFile(archive), before);
        if (command != "new folder") QCOMPARE(Names(*window), QStringList(files.keys()));

        const QString plain = WriteFile(dir.filePath("plain.txt"), "no archive here");
        dialogs.answers = {{plain}};
        window->mnuOpen_Click();
        QCOMPARE(StatusText(*window), "Impossibile aprire " + plain + " come archivio MPQ");
    }

    // Each column opens as wide as its header and its values; the name takes the room the list
    // gains; a width the user dragged stays through a new listing.
    void columnsShowWhatTheyHold()
    {
        auto window = Start(FreshArchive());
        ArchiveListView *list = window->List();
        const int margin = 2 * (list->style()->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, list) + 1);
        for (int column = 0; column < ListRow::ColumnCount; ++column) {
            QVERIFY(list->columnWidth(column) >= list->header()->sectionSizeHint(column));
            for (int row = 0; row < window->Model()->rowCount(); ++row) {
                const QString text = window->Model()->index(row, column).data().toString();
                QVERIFY2(list->fontMetrics().horizontalAdvance(text) + margin <= list->columnWidth(column), qPrintable(text));
            }
        }
        const int name = list->columnWidth(0), ext = list->columnWidth(1), wider = 300;
        window->resize(window->width() + wider, window->height());
        QTRY_COMPARE(list->columnWidth(0), name + wider);
        QCOMPARE(list->columnWidth(1), ext);
        list->header()->resizeSection(2, 30);  // as the user drags it
        window->mnuRefresh_Click();
        QCOMPARE(list->columnWidth(2), 30);
    }

    // A name stored in two locales: the Locale column is there while a variant is, and a
    // delete reaches the selected variant alone.
    void localeVariantsHaveTheirColumn()
    {
        const QString archive =
            ArchiveIn(dir.path(), "variants.mpq", {{"a.txt", "neutral"}, {QByteArray("a.txt\0" "0407", 10), "german"}});
        auto window = Start(archive);
        const ArchiveListModel *model = window->Model();
        QCOMPARE(model->columnCount(), ListRow::ColumnCount + 1);
        QCOMPARE(model->headerData(ListRow::Locale, Qt::Horizontal, Qt::DisplayRole).toString(), QStringLiteral("Lingua"));
        int german = -1;
        for (int row = 0; row < model->rowCount(); ++row)
            if (model->index(row, ListRow::Locale).data().toString() == QLatin1String("de-DE")) german = row;
        QVERIFY(german >= 0);
        QCOMPARE(model->index(german, ListRow::Name).data().toString(), QStringLiteral("a.txt"));
        ScriptedDialogs dialogs;
        dialogs.messageAnswers = {MessageButton::Yes};
        window->List()->selectionModel()->setCurrentIndex(model->index(german, 0),
                                                          QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
        window->mnuDelete_Click();
        window->mnuRefresh_Click();
        QCOMPARE(Names(*window), QStringList{"a.txt"});
        QCOMPARE(model->columnCount(), int(ListRow::ColumnCount));
        QCOMPARE(model->index(IndexOf(*window, "a.txt").row(), ListRow::Size).data().toString(), QStringLiteral("7"));
    }

    // Qt's own buttons speak the program's language, Qt's English when Qt has no translation for it.
    void questionBoxesSpeakTheLanguage_data()
    {
        QTest::addColumn<QByteArray>("file");  // the language file; null: the built-in Italian
        QTest::addColumn<QString>("buttons");
        QTest::newRow("Italiano") << QByteArray() << QString::fromUtf8("Sì No");
        QTest::newRow("English") << ReadFile(ARCAVERA_LANGUAGES_SOURCE "/English.lng") << "Yes No";
        QTest::newRow("no translation") << QByteArray("[Language]\nQtLocale=tlh\n") << "Yes No";
        QTest::newRow("no locale's name: Italian") << QByteArray("[Language]\nQtLocale=../en\n") << QString::fromUtf8("Sì No");
    }
    void questionBoxesSpeakTheLanguage()
    {
        QFETCH(QByteArray, file);
        if (!QFile::exists(QLibraryInfo::path(QLibraryInfo::TranslationsPath) + "/qtbase_it.qm"))
            QSKIP("Qt's translations (qt6-translations-l10n) are not installed");
        LoadLanguage(file.isNull() ? QString() : WriteFile(dir.filePath("qt.lng"), file));
        const auto box = MakeMessageBox(nullptr, "?", {}, MessageButton::Yes | MessageButton::No, MessageIcon::Question, MessageButton::No);
        QTEST(QString(box->button(QMessageBox::Yes)->text() + " " + box->button(QMessageBox::No)->text()).remove('&'), "buttons");
    }
};

QTEST_MAIN(TestWindow)
#include "test_window.moc"
