// The session without a window: open, make, close, refresh, the recent list, the title, the command line.
#include <QTemporaryDir>
#include <QTest>

#include "config/app_config.h"
#include "config/startup.h"
#include "listing/explorer_listing.h"
#include "session/archive_session.h"
#include "support/archive_factory.h"
#include "support/recording_ports.h"

using namespace fixtures;

struct KeyTree : SessionTree {
    QStringList keys;
    void AddRootNode(const QString &key, const QString &) override { keys.append(key); }
    void AddFolderNode(const QString &, const QString &key, const QString &) override { keys.append(key); }
    bool NodeExists(const QString &key) const override { return keys.contains(key); }
    void ClearNodes() override { keys.clear(); }
};

class TestSession : public QObject {
    Q_OBJECT
    QTemporaryDir dir;
    QString archive;
    AppConfig config;
    RecordingPorts ports;
    KeyTree tree;
    SessionPorts Ports() { return SessionPorts{ports, ports, ports, tree}; }
private slots:
    void initTestCase() { archive = ArchiveIn(dir.path(), "My Map.w3x", {{"war3map.j", TextData(12345)}, {"units\\a.mdx", "a"}}); }
    void addRecentKeepsFourNewestFirst_data()
    {
        QTest::addColumn<QStringList>("before");
        QTest::addColumn<QString>("path");
        QTest::addColumn<QStringList>("after");
        QTest::newRow("fifth drops the oldest") << QStringList{"a", "b", "c", "d"} << "e" << QStringList{"e", "a", "b", "c"};
        QTest::newRow("third moves to the top") << QStringList{"a", "b", "c", "d"} << "c" << QStringList{"c", "a", "b", "d"};
        QTest::newRow("capitals make a new entry") << QStringList{"a", "b", "", ""} << "A" << QStringList{"A", "a", "b", ""};
    }
    void addRecentKeepsFourNewestFirst()
    {
        QFETCH(QStringList, before);
        QFETCH(QString, path);
        QFETCH(QStringList, after);
        AddRecent(before, path);
        QCOMPARE(before, after);
    }
    // After an open that fails the session is closed, the recent list as it was.
    void openListsOrLeavesTheSessionClosed_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<bool>("explorer");
        QTest::newRow("archive") << archive << false;
        QTest::newRow("archive, Explorer style") << archive << true;
        QTest::newRow("missing file") << dir.filePath("gone.mpq") << false;
        QTest::newRow("folder") << dir.path() << true;
    }
    void openListsOrLeavesTheSessionClosed()
    {
        QFETCH(QString, path);
        QFETCH(bool, explorer);
        ArchiveSession session;
        session.ExplorerStyle = explorer;
        session.RecentFiles = {"/old.mpq", dir.filePath("gone.mpq"), "", ""};
        QVERIFY(session.Open(archive, config, Ports()));
        const QStringList recentBefore = session.RecentFiles;
        const bool opens = path == archive;
        QCOMPARE(session.Open(path, config, Ports()), opens);
        QCOMPARE(session.Title(), opens ? "Arcavera - " + archive : QStringLiteral("Arcavera"));
        QCOMPARE(session.RecentFiles, recentBefore);  // the archive was on top already
        const qint64 total = session.TotalSize;  // a refresh empties and lists again, the same
        if (opens) QVERIFY(total >= 12345 + 1);
        for (bool again : {false, true}) {
            if (again) QCOMPARE(session.Refresh(config, Ports()), opens);
            QCOMPARE(int(ports.rows.size()), opens ? (explorer ? 2 : 3) : 0);  // Explorer: the root's files, "(listfile)" among them
            QCOMPARE(tree.keys.value(0), opens && explorer ? UpperKey(archive) : QString());  // the root first
            QCOMPARE(tree.keys.contains("UNITS\\"), opens && explorer);
            QCOMPARE(session.TotalSize, total);
        }
        session.Close(Ports());
        QCOMPARE(session.Title(), QStringLiteral("Arcavera"));
        QVERIFY(ports.rows.empty() && tree.keys.isEmpty());
        QVERIFY(!session.Refresh(config, Ports()));
    }
    void createEmptyReplacesTheFileAndShowsItsRoot()
    {
        ArchiveSession session;
        const QString made = WriteFile(dir.filePath("new/made.mpq"), "old bytes");
        QVERIFY(session.Open(archive, config, Ports()));
        QVERIFY(session.CreateEmpty(made, Ports()));
        QCOMPARE(QFileInfo(made).size(), 0);
        QCOMPARE(session.RecentFiles, (QStringList{made, archive, QString(), QString()}));
        QCOMPARE(session.TotalSize, qint64(0));
        QVERIFY(ports.rows.empty());
        QCOMPARE(tree.keys, QStringList{UpperKey(made)});  // the root alone
        // Nowhere to make it: the session stays as it was.
        QVERIFY(!session.CreateEmpty(dir.filePath("no folder/x.mpq"), Ports()));
        QCOMPARE(session.Title(), "Arcavera - " + made);
        QCOMPARE(session.RecentFiles.first(), made);
    }
    void commandLineNamesTheArchive_data()
    {
        QTest::addColumn<QString>("line");
        QTest::addColumn<QString>("name");
        QTest::newRow("quoted") << "\"/maps/My Map.w3x\"" << "/maps/My Map.w3x";
        QTest::newRow("unquoted with blanks") << "/maps/My Map.w3x" << "/maps/My Map.w3x";
        QTest::newRow("quoted and another argument") << "\"/a.mpq\" /b.mpq" << "/a.mpq\" /b.mp";
        QTest::newRow("lone quote") << "\"" << "";
        QTest::newRow("relative") << "local.mpq" << "/launch/local.mpq";
    }
    void commandLineNamesTheArchive()
    {
        QFETCH(QString, line);
        QFETCH(QString, name);
        QCOMPARE(ResolveFromLaunchFolder(FileNameFromCommandLine(line), "/launch"), name);
    }

    // Several files handed at once each get a window; a name with blanks stays one.
    void severalFilesAtOnce_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QStringList>("lines");
        QTest::newRow("none") << QStringList{} << QStringList{""};
        QTest::newRow("two files") << QStringList{"a.mpq", "b.mpq"} << QStringList{"a.mpq", "b.mpq"};
        QTest::newRow("a name with a blank") << QStringList{"My", "Map.w3x"} << QStringList{"My Map.w3x"};
        QTest::newRow("one of them gone") << QStringList{"a.mpq", "gone.mpq"} << QStringList{"a.mpq gone.mpq"};
    }
    void severalFilesAtOnce()
    {
        QFETCH(QStringList, arguments);
        for (const char *name : {"a.mpq", "b.mpq", "My Map.w3x", "My"}) WriteFile(dir.filePath(name), "x");
        QTEST(CommandLinesFromArguments(arguments, dir.path()), "lines");
    }
};
QTEST_MAIN(TestSession)
#include "test_session.moc"
