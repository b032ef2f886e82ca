// arcavera-cli list, run as a script would run it.
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include "config/app_config.h"
#include "config/ini_file.h"
#include "listing/classic_listing.h"
#include "listing/row_order.h"
#include "support/archive_factory.h"
#include "support/cli_runner.h"
#include "support/recording_ports.h"

using namespace fixtures;

namespace {

using Run = CliRun;

}  // namespace

class TestCliList : public QObject {
    Q_OBJECT
    QTemporaryDir dir;
    QString archive, ini;

private slots:
    void initTestCase()
    {
        archive = dir.filePath("map.w3x");
        QVERIFY(MakeArchive(archive, {{"war3map.j", TextData(2500)}, {"Units\\b.mdx", TextData(10)},
                                      {"a\\tab\there.txt", "x"}, {"caf\xc3\xa9.txt", "utf"},
                                      {"esc\x1b[31m.txt", "esc"}},
                            dir.filePath("src")));
        ini = dir.filePath("cli.ini");
        WriteIni("Config", "AutoDetectFile", "1", ini);
    }

    void printsTheRowsOfTheListingInItsOrder()
    {
        const Run run = Cli({"--ini", ini, "list", archive});
        QCOMPARE(run.status, 0);
        QVERIFY(run.err.isEmpty());
        // The same rows as the listing itself, sorted as the window sorts them.
        AppConfig config;
        config.IniPath = ini;
        LoadAppConfig(config);
        RecordingPorts ports;
        auto listing = ports.ports();
        qint64 total = 0;
        QVERIFY(LoadArchiveClassic(archive, config, listing, total));
        SortRows(ports.rows, 0, 0);
        QStringList lines = QString::fromUtf8(run.out).split('\n');
        QCOMPARE(lines.takeLast(), QString());  // the output ends with a line end
        QCOMPARE(lines.size(), 6);
        // Control characters of names are written out, never sent raw.
        QVERIFY(!run.out.contains('\x1b'));
        QVERIFY(run.out.contains("\nesc\\x1b[31m.txt\ttxt\t3\t"));
        QCOMPARE(lines[0], QStringLiteral("a\\tab\\x09here.txt\ttxt\t1\t") + ports.rows[0].columns[3] + "\t" +
                               ports.rows[0].columns[4] + "\tC--");
        QVERIFY(lines.contains(QStringLiteral("war3map.j\tj\t2,500\t") + FormatSize(ports.row("war3map.j")->CompressedSize) +
                               "\t" + ports.row("war3map.j")->columns[4] + "\tC--"));
        QVERIFY(lines.contains(QString::fromUtf8("caf\xc3\xa9.txt\ttxt\t3\t") + ports.row(QString::fromUtf8("caf\xc3\xa9.txt"))->columns[3] +
                               "\t" + ports.row(QString::fromUtf8("caf\xc3\xa9.txt"))->columns[4] + "\tC--"));
        for (int i = 0; i < lines.size(); ++i)
            QCOMPARE(lines[i].section('\t', 0, 0),
                     QString(ports.rows[size_t(i)].text()).replace('\t', "\\x09").replace('\x1b', "\\x1b"));
        QVERIFY(lines.last().startsWith("~unknowns\\"));
    }

    void settingsSteerTheListing()
    {
        // An external list names the internal list; a descending sort by size.
        const QString listFile = WriteFile(dir.filePath("names.txt"), "(listfile)\r\n");
        const QString own = dir.filePath("own.ini");
        WriteIni("Config", "UseLists", "0", own);
        WriteIni("Lists", "Count", "1", own);
        WriteIni("Lists", "File1", listFile, own);
        WriteIni("Setting", "SortKey", "2", own);
        WriteIni("Setting", "SortOrder", "1", own);
        const Run run = Cli({"--ini=" + own, "list", archive});
        QCOMPARE(run.status, 0);
        const QStringList lines = QString::fromUtf8(run.out).trimmed().split('\n');
        QVERIFY(!run.out.contains("~unknowns"));
        QVERIFY(lines.filter(QRegularExpression("^\\(listfile\\)\t")).size() == 1);
        QStringList sizes;
        for (const QString &line : lines) sizes.append(line.section('\t', 2, 2));
        QStringList sorted = sizes;
        std::sort(sorted.begin(), sorted.end(), [](const QString &a, const QString &b) { return a > b; });
        QCOMPARE(sizes, sorted);
    }

    void failuresAreReported_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("message");
        QTest::newRow("missing archive") << QStringList{"list", "/no/such/file.mpq"} << 2 << "no such file";
        QTest::newRow("folder") << QStringList{"list", "/tmp"} << 2 << "is a folder";
        QTest::newRow("not an archive") << QStringList{"list", QStringLiteral(ARCAVERA_CLI_PATH)} << 3 << "holds no MPQ archive";
        QTest::newRow("no archive given") << QStringList{"list"} << 1 << "list takes one archive";
        QTest::newRow("unknown command") << QStringList{"explode", "x"} << 1 << "unknown command";
        QTest::newRow("ini without file") << QStringList{"list", "x", "--ini"} << 1 << "--ini needs a file";
        QTest::newRow("nothing") << QStringList{} << 1 << "Usage:";
    }

    void failuresAreReported()
    {
        QFETCH(QStringList, arguments);
        QFETCH(int, status);
        QFETCH(QString, message);
        const Run run = Cli(arguments);
        QCOMPARE(run.status, status);
        QVERIFY(run.out.isEmpty());
        QVERIFY2(run.err.contains(message.toUtf8()), run.err.constData());
    }

    void emptyFileAndOneSlotArchiveListNothing()
    {
        const QString oneSlot = WriteFile(dir.filePath("one.mpq"), HandMadeArchive(1, {{"a.txt", "a"}}));
        const Run run = Cli({"--ini", ini, "list", oneSlot});
        QCOMPARE(run.status, 0);
        QVERIFY(run.out.isEmpty());
        const Run empty = Cli({"--ini", ini, "list", WriteFile(dir.filePath("empty.mpq"), {})});
        QCOMPARE(empty.status, 3);  // an empty file holds no archive
    }

    void helpExplainsTheTool()
    {
        const Run run = Cli({"--help"});
        QCOMPARE(run.status, 0);
        QVERIFY(run.out.contains("list ARCHIVE"));
        QVERIFY(run.out.contains("--ini FILE"));
    }
};

QTEST_GUILESS_MAIN(TestCliList)
#include "test_cli_list.moc"
