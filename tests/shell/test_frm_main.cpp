// The real main window, built offscreen: start-up, the listing in the list,
// status and progress, and shutdown.
#include <QDir>
#include <QFile>
#include <QHeaderView>
#include <QLabel>
#include <QProgressBar>
#include <QStatusBar>
#include <QTemporaryDir>
#include <QTest>
#include <QPushButton>
#include <QTabBar>
#include <QTimer>
#include <QToolBar>
#include <QTreeView>
#include <QTreeWidget>
#include <QScreen>

#include "config/app_config.h"
#include "config/ini_file.h"
#include "shell/archive_list_model.h"
#include "config/frm_config.h"
#include "shell/frm_main.h"
#include "config/startup.h"
#include "support/archive_factory.h"
#include "support/scripted_dialogs.h"

using namespace fixtures;

class TestFrmMain : public QObject {
    Q_OBJECT
    QTemporaryDir dir;
    QString archive;

    // With `settings`, the settings file that a first start leaves, so the
    // window does not ask for the language.
    StartupPaths Paths(const QString &tag, bool settings = true) const
    {
        StartupPaths paths;
        paths.programFolder = dir.filePath(tag + "/program");
        paths.launchFolder = dir.filePath(tag + "/launch");
        paths.iniPath = dir.filePath(tag + "/program/Arcavera.ini");
        paths.tempPath = dir.filePath(tag + "/scratch");
        QDir().mkpath(paths.programFolder);
        QDir().mkpath(paths.launchFolder);
        if (settings) SeedFirstRun(paths.iniPath);
        return paths;
    }

    static QStringList ColumnTexts(const frmMain &window, int column)
    {
        QStringList texts;
        const auto *model = window.Model();
        for (int row = 0; row < model->rowCount(); ++row)
            texts.append(model->index(row, column).data().toString());
        return texts;
    }

private slots:
    void initTestCase();
    void commandLineForms_data();
    void commandLineForms();
    void opensTheArchiveOfTheCommandLine();
    void commandLineThatNamesNothingLeavesTheWindowClosed_data();
    void commandLineThatNamesNothingLeavesTheWindowClosed();
    void relativeNameIsTakenFromTheLaunchFolder();
    void sortKeyOfTheSettingsOrdersTheList();
    void firstRunSeedsTheRulesOnce();
    void closingWritesSettingsAndRemovesScratchFolder();
    void everyWindowSettingComesBack();
    void noSettingSectionCentresTheDefaultWindow();
    void handEditedSettingsFallBack_data();
    void handEditedSettingsFallBack();
    void maximisedWindowStoresThoseMeasures();
    void addRecentKeepsFourNewestFirst_data();
    void addRecentKeepsFourNewestFirst();
    void tempPathIsPrivate();
    void programDataIsFoundBesideThenInstalled();
};

void TestFrmMain::initTestCase()
{
    archive = dir.filePath("maps/My Map.w3x");
    QVERIFY(MakeArchive(archive, {{"war3map.j", TextData(12345)}, {"units\\footman.mdx", TextData(9, 'f')},
                                  {"war3map.w3e", TextData(100000, 'e')}}, dir.filePath("src")));
}

void TestFrmMain::commandLineForms_data()
{
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("name");
    QTest::newRow("quoted") << "\"/maps/My Map.w3x\"" << "/maps/My Map.w3x";
    QTest::newRow("unquoted with blanks") << "/maps/My Map.w3x" << "/maps/My Map.w3x";
    QTest::newRow("quoted and another argument") << "\"/a.mpq\" /b.mpq" << "/a.mpq\" /b.mp";
    QTest::newRow("empty") << "" << "";
    QTest::newRow("lone quote") << "\"" << "";
}

void TestFrmMain::commandLineForms()
{
    QFETCH(QString, line);
    QFETCH(QString, name);
    QCOMPARE(FileNameFromCommandLine(line), name);
}

void TestFrmMain::opensTheArchiveOfTheCommandLine()
{
    frmMain window(Paths("open"));
    window.Form_Load("\"" + archive + "\"");
    QCOMPARE(window.Session().FileName, archive);
    QCOMPARE(window.windowTitle(), "Arcavera - " + archive);
    auto *list = window.findChild<QTreeView *>("lwMPQ");
    QVERIFY(list != nullptr);
    QCOMPARE(list->model()->columnCount(), 6);
    QStringList headers;
    for (int c = 0; c < 6; ++c) headers.append(list->model()->headerData(c, Qt::Horizontal).toString());
    QCOMPARE(headers, (QStringList{"Nome", "Est.", "Dimensione", "Dim. Compresse", "Percentuale", "Attributi"}));
    // Three named files and the internal list, sorted by name.
    QCOMPARE(list->model()->rowCount(), 4);
    const QStringList names = ColumnTexts(window, 0);
    QCOMPARE(names.mid(0, 3), (QStringList{"units\\footman.mdx", "war3map.j", "war3map.w3e"}));
    QVERIFY(names[3].startsWith("~unknowns\\"));
    QCOMPARE(ColumnTexts(window, 2)[1], QStringLiteral("12,345"));
    QCOMPARE(window.findChild<QLabel *>("StatusBar1Panel1")->text(), QStringLiteral("Pronto"));
    QVERIFY(window.findChild<QProgressBar *>("pbStatus")->isHidden());
    QCOMPARE(window.findChild<QProgressBar *>("pbStatus")->maximum(), 64);
    QVERIFY(window.Session().TotalSize >= 12345 + 9 + 100000);
    QCOMPARE(window.Session().RecentFiles.first(), archive);
    window.Form_Unload();
}

void TestFrmMain::commandLineThatNamesNothingLeavesTheWindowClosed_data()
{
    QTest::addColumn<QString>("line");
    QTest::newRow("missing file") << dir.filePath("nowhere.mpq");
    QTest::newRow("folder") << dir.filePath("maps");
    QTest::newRow("quoted name and another argument") << "\"" + archive + "\" --extra";
    QTest::newRow("empty") << "";
}

void TestFrmMain::commandLineThatNamesNothingLeavesTheWindowClosed()
{
    QFETCH(QString, line);
    frmMain window(Paths("closed-" + QString(QTest::currentDataTag()).replace(' ', '-')));
    window.Form_Load(line);
    QCOMPARE(window.windowTitle(), QStringLiteral("Arcavera"));
    QCOMPARE(window.Model()->rowCount(), 0);
    QCOMPARE(window.Session().RecentFiles, QStringList(4));
    window.Form_Unload();
}

void TestFrmMain::relativeNameIsTakenFromTheLaunchFolder()
{
    StartupPaths paths = Paths("relative");
    QVERIFY(QFile::copy(archive, paths.launchFolder + "/local.mpq"));
    frmMain window(paths);
    window.Form_Load("local.mpq");
    QCOMPARE(window.Session().FileName, paths.launchFolder + "/local.mpq");
    QCOMPARE(window.Model()->rowCount(), 4);
    window.Form_Unload();
}

void TestFrmMain::sortKeyOfTheSettingsOrdersTheList()
{
    StartupPaths paths = Paths("sorted");
    WriteIni("Setting", "SortKey", "2", paths.iniPath);
    WriteIni("Setting", "SortOrder", "1", paths.iniPath);
    frmMain window(paths);
    window.Form_Load(archive);
    const QStringList sizes = ColumnTexts(window, 2);
    QStringList expected = sizes;
    std::sort(expected.begin(), expected.end(),
              [](const QString &a, const QString &b) { return QString::compare(a, b, Qt::CaseInsensitive) > 0; });
    QCOMPARE(sizes, expected);
    QCOMPARE(sizes.first(), QStringLiteral("9"));  // text order: "9" after "12,345" and "100,000"
    window.Form_Unload();
    QCOMPARE(ReadIni("Setting", "SortKey", paths.iniPath, ""), QStringLiteral("2"));
    QCOMPARE(ReadIni("Setting", "SortOrder", paths.iniPath, ""), QStringLiteral("1"));
}

void TestFrmMain::firstRunSeedsTheRulesOnce()
{
    StartupPaths paths = Paths("first", false);
    {
        frmMain window(paths);
        // The configuration dialog comes first, on its language tab, before
        // the window shows; Cancel keeps the seeded rules and no language.
        bool asked = false;
        QTimer::singleShot(0, &window, [&] {
            frmConfig *dialog = window.ConfigDialog();
            asked = dialog && dialog->isVisible() && !window.isVisible() &&
                    dialog->findChild<QTabBar *>("tabConfig")->currentIndex() == 3 &&
                    dialog->findChild<QWidget *>("picLanguage")->isVisible();
            if (dialog) dialog->findChild<QPushButton *>("cmdCancel")->click();
        });
        window.Form_Load({});
        QVERIFY(asked);
        QVERIFY(window.FirstRun());
        QVERIFY(!window.ConfigDialog()->isVisible());
        QCOMPARE(window.Config().ExtensionRules.size(), 8);
        QCOMPARE(window.Config().ExtensionRules[7].Extension, QStringLiteral(".wav"));
        QCOMPARE(window.Config().ExtensionRules[7].CompressionType, qint16(3));
        QCOMPARE(ReadIni("Config", "Language", paths.iniPath, "absent"), QStringLiteral("absent"));
        window.Form_Unload();
    }
    WriteIni("Config", "ExtCount", "1", paths.iniPath);
    frmMain again(paths);
    again.Form_Load({});
    QVERIFY(!again.FirstRun());
    QCOMPARE(again.Config().ExtensionRules.size(), 2);
    again.Form_Unload();
}

void TestFrmMain::closingWritesSettingsAndRemovesScratchFolder()
{
    StartupPaths paths = Paths("close");
    WriteFile(paths.tempPath + "/dragged/units/a.txt", "x");
    WriteFile(paths.tempPath + "/.hidden", "y");
    WriteIni("Recent", "2", "/old/one.mpq", paths.iniPath);
    {
        frmMain window(paths);
        window.Form_Load(archive);
        window.resize(700, 500);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        window.close();  // the window's own close runs the shutdown
    }
    QVERIFY(!QFileInfo::exists(paths.tempPath));
    QCOMPARE(ReadIni("Recent", "1", paths.iniPath, "?"), archive);
    QCOMPARE(ReadIni("Recent", "3", paths.iniPath, "?"), QStringLiteral("/old/one.mpq"));  // shifted down one
    QCOMPARE(ReadIni("Recent", "4", paths.iniPath, "?"), QString());
    QVERIFY(!ReadIni("Setting", "Width", paths.iniPath, "").isEmpty());
    QCOMPARE(ReadIni("Setting", "StatusBar", paths.iniPath, ""), QStringLiteral("1"));
    // The next start finds the same place and size.
    frmMain again(paths);
    again.Form_Load({});
    QCOMPARE(again.size(), QSize(700, 500));
    QCOMPARE(again.Session().RecentFiles.first(), archive);
    again.Form_Unload();
}

// The user sets up the window, closes it, and the next start shows it as
// it was: place, size, splitter, bars, sort, style and recent archives.
void TestFrmMain::everyWindowSettingComesBack()
{
    const StartupPaths paths = Paths("roundtrip");
    const QString other = dir.filePath("maps/other.w3x");
    QVERIFY(QFile::copy(archive, other));
    WindowSettings written;
    {
        frmMain window(paths);
        window.Form_Load(other);
        window.show();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        window.resize(820, 540);
        window.move(window.screen()->availableGeometry().topLeft() + QPoint(31, 47));
        window.mnuExplorerStyle_Click();
        const float before = window.Layout().splitter.left;
        window.lblSplitter_MouseMove(1, 0, 600, 0);
        QCOMPARE(window.Layout().splitter.left, before + 600);
        window.mnuTools_Click();
        window.mnuStatus_Click();
        window.mnuArrange_Click(3);
        window.mnuArrange_Click(3);
        ScriptedDialogs dialogs;
        dialogs.answers = {{archive}};
        window.mnuOpen_Click();
        window.close();
        written = ReadWindowSettings(paths.iniPath, 0, 0);
    }
    QCOMPARE(ReadIni("Setting", "SortKey", paths.iniPath, ""), QStringLiteral("3"));
    QCOMPARE(ReadIni("Setting", "SortOrder", paths.iniPath, ""), QStringLiteral("1"));
    QCOMPARE(ReadIni("Setting", "ToolBar", paths.iniPath, ""), QStringLiteral("0"));
    QCOMPARE(ReadIni("Setting", "StatusBar", paths.iniPath, ""), QStringLiteral("0"));
    QCOMPARE(ReadIni("Setting", "ExplorerStyle", paths.iniPath, ""), QStringLiteral("1"));

    frmMain again(paths);
    again.Form_Load({});
    again.show();
    QVERIFY(QTest::qWaitForWindowExposed(&again));
    QCOMPARE(again.size(), QSize(820, 540));
    QCOMPARE(again.pos(), again.screen()->availableGeometry().topLeft() + QPoint(31, 47));
    QCOMPARE(again.Layout().splitter.left, written.Splitter);
    QVERIFY(!again.MenuEntry("mnuTools")->isChecked());
    QVERIFY(again.findChild<QToolBar *>("tbMenu")->isHidden());
    QVERIFY(!again.MenuEntry("mnuStatus")->isChecked());
    QVERIFY(again.findChild<QStatusBar *>("StatusBar1")->isHidden());
    QCOMPARE(again.Model()->SortKey(), 3);
    QCOMPARE(again.Model()->SortOrder(), 1);
    for (int i = 0; i < 6; ++i) QCOMPARE(again.MenuEntry(QStringLiteral("mnuArrange%1").arg(i))->isChecked(), i == 3);
    QVERIFY(again.Session().ExplorerStyle);
    QVERIFY(again.MenuEntry("mnuExplorerStyle")->isChecked());
    QVERIFY(!again.findChild<QTreeWidget *>("tvMPQ")->isHidden());
    QCOMPARE(again.Session().RecentFiles, (QStringList{archive, other, QString(), QString()}));
    QCOMPARE(again.MenuEntry("mnuRecents2")->text(), "&2  " + other);
    QVERIFY(again.MenuEntry("mnuRecents2")->isEnabled());
    QVERIFY(!again.MenuEntry("mnuRecents3")->isVisible());
    again.Form_Unload();
    // Unchanged, the file is written back the same.
    QCOMPARE(ReadWindowSettings(paths.iniPath, 0, 0).Splitter, written.Splitter);
}

void TestFrmMain::noSettingSectionCentresTheDefaultWindow()
{
    const StartupPaths paths = Paths("centred");
    WriteIni("Config", "ExtCount", "0", paths.iniPath);
    frmMain window(paths);
    window.Form_Load({});
    const QRect screen = window.screen()->availableGeometry();
    const int width = qRound(8400.0 * window.logicalDpiX() / 1440);
    const int height = qRound(5000.0 * window.logicalDpiY() / 1440);
    QCOMPARE(window.size(), QSize(width, height));
    QVERIFY(qAbs(window.x() - (screen.left() + (screen.width() - width) / 2)) <= 1);
    QVERIFY(qAbs(window.y() - (screen.top() + (screen.height() - height) / 2)) <= 1);
    QVERIFY(!window.FirstRun());
    window.Form_Unload();
}

void TestFrmMain::handEditedSettingsFallBack_data()
{
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("value");
    QTest::newRow("sort key too large") << "SortKey" << "9";
    QTest::newRow("sort key negative") << "SortKey" << "-1";
    QTest::newRow("sort key not a number") << "SortKey" << "name";
    QTest::newRow("sort order 7") << "SortOrder" << "7";
    QTest::newRow("width not a number") << "Width" << "wide";
    QTest::newRow("height zero") << "Height" << "0";
    QTest::newRow("splitter not a number") << "Splitter" << "x";
    QTest::newRow("toolbar not a number") << "ToolBar" << "yes";
}

// A value that cannot be read as its type gives the window its default.
void TestFrmMain::handEditedSettingsFallBack()
{
    QFETCH(QString, key);
    QFETCH(QString, value);
    const StartupPaths paths = Paths("edited-" + key + value);
    WriteIni("Setting", key, value, paths.iniPath);
    frmMain window(paths);
    window.Form_Load(archive);
    QCOMPARE(window.Model()->SortKey(), 0);
    QCOMPARE(window.Model()->SortOrder(), 0);
    QVERIFY(window.MenuEntry("mnuArrange0")->isChecked());
    QCOMPARE(window.size(), QSize(qRound(8400.0 * window.logicalDpiX() / 1440), qRound(5000.0 * window.logicalDpiY() / 1440)));
    QVERIFY(window.MenuEntry("mnuTools")->isChecked());
    QCOMPARE(window.Model()->rowCount(), 4);
    window.Form_Unload();
    // The shutdown writes a value of the right form back.
    const QString written = ReadIni("Setting", key, paths.iniPath, "");
    bool number = false;
    written.toFloat(&number);
    QVERIFY2(number, qPrintable(written));
}

void TestFrmMain::maximisedWindowStoresThoseMeasures()
{
    const StartupPaths paths = Paths("maximised");
    frmMain window(paths);
    window.Form_Load({});
    window.resize(500, 400);
    window.showMaximized();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QTRY_VERIFY(window.width() > 500);
    const QSize maximised = window.size();
    window.close();
    QVERIFY(qAbs(ReadIni("Setting", "Width", paths.iniPath, "").toDouble() -
                 maximised.width() * 1440.0 / window.logicalDpiX()) < 1);
    QVERIFY(qAbs(ReadIni("Setting", "Height", paths.iniPath, "").toDouble() -
                 maximised.height() * 1440.0 / window.logicalDpiY()) < 1);
}

void TestFrmMain::addRecentKeepsFourNewestFirst_data()
{
    QTest::addColumn<QStringList>("before");
    QTest::addColumn<QString>("path");
    QTest::addColumn<QStringList>("after");
    QTest::newRow("fifth drops the oldest") << QStringList{"a", "b", "c", "d"} << "e" << QStringList{"e", "a", "b", "c"};
    QTest::newRow("third moves to the top") << QStringList{"a", "b", "c", "d"} << "c" << QStringList{"c", "a", "b", "d"};
    QTest::newRow("capitals make a new entry") << QStringList{"a", "b", "", ""} << "A" << QStringList{"A", "a", "b", ""};
    QTest::newRow("into an empty list") << QStringList{"", "", "", ""} << "x" << QStringList{"x", "", "", ""};
}

void TestFrmMain::addRecentKeepsFourNewestFirst()
{
    QFETCH(QStringList, before);
    QFETCH(QString, path);
    QFETCH(QStringList, after);
    AddRecent(before, path);
    QCOMPARE(before, after);
}

void TestFrmMain::tempPathIsPrivate()
{
    const QString temp = ComputeTempPath();
    QVERIFY(temp.contains("Arcavera"));
    QVERIFY(!temp.endsWith('/'));
    QVERIFY(temp.startsWith(qEnvironmentVariable("TMPDIR", "/tmp").chopped(qEnvironmentVariable("TMPDIR", "/tmp").endsWith('/') ? 1 : 0)));
}

void TestFrmMain::programDataIsFoundBesideThenInstalled()
{
    const QString prefix = dir.filePath("prefix");
    QDir().mkpath(prefix + "/bin");
    QCOMPARE(ProgramDataPath(prefix + "/bin", "Languages"), QString());
    QDir().mkpath(prefix + "/share/arcavera/Languages");
    QCOMPARE(ProgramDataPath(prefix + "/bin", "Languages"), prefix + "/share/arcavera/Languages");
    QDir().mkpath(prefix + "/bin/Languages");
    QCOMPARE(ProgramDataPath(prefix + "/bin", "Languages"), prefix + "/bin/Languages");
}

QTEST_MAIN(TestFrmMain)
#include "test_frm_main.moc"
