// arcavera-cli add and extract, run as a build pipeline would run them.
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

#include "config/ini_file.h"
#include "support/archive_factory.h"
#include "support/cli_runner.h"

using namespace fixtures;

namespace {

using Run = CliRun;

// Stored name -> attribute letters, from `list`.
QMap<QString, QString> Attributes(const QString &ini, const QString &archive)
{
    QMap<QString, QString> result;
    const Run run = Cli({"--ini", ini, "list", archive});
    for (const QByteArray &line : run.out.split('\n')) {
        const QList<QByteArray> fields = line.split('\t');
        if (fields.size() == 6 && !fields[0].startsWith("~unknowns"))
            result.insert(QString::fromUtf8(fields[0]), QString::fromUtf8(fields[5]));
    }
    return result;
}

}  // namespace

class TestCliAddExtract : public QObject {
    Q_OBJECT
    QTemporaryDir dir;
    QString source, ini;

private slots:
    void initTestCase()
    {
        source = dir.filePath("source");
        WriteFile(source + "/tree/readme.txt", TextData(3000));
        WriteFile(source + "/tree/.hidden", "h");
        WriteFile(source + "/tree/units/grunt è.mdx", TextData(9000, 'g'));
        WriteFile(source + "/tree/sounds/hit.wav", WaveData(30000));
        WriteFile(source + "/solo.j", TextData(500, 'j'));
        ini = dir.filePath("plain-txt.ini");
        WriteIni("Config", "ExtCount", "1", ini);
        WriteIni("Config", "Ext1", ".txt,0,0", ini);
    }

    // Folders store their files relative to themselves, a file at the root
    // (or below the prefix), each compressed by its rule; extracting all
    // gives the same bytes back.
    void addThenExtractRoundTrips_data()
    {
        QTest::addColumn<QString>("prefix");
        QTest::addColumn<QString>("stored");  // what the prefix turns into
        QTest::newRow("no prefix") << "" << "";
        QTest::newRow("prefix with slashes") << "maps/custom" << "maps\\custom\\";
        QTest::newRow("prefix with backslash") << "maps\\" << "maps\\";
    }

    void addThenExtractRoundTrips()
    {
        QFETCH(QString, prefix);
        QFETCH(QString, stored);
        const QString tag = QString(QTest::currentDataTag()).replace(' ', '-');
        const QString archive = dir.filePath(tag + "/new.mpq");
        QDir().mkpath(dir.filePath(tag));
        QStringList arguments{"--ini", ini, "add", archive, source + "/tree", source + "/solo.j"};
        if (!prefix.isEmpty()) arguments << "--prefix" << prefix;
        const Run add = Cli(arguments);
        QCOMPARE(add.status, 0);
        QVERIFY(add.out.isEmpty());
        const QMap<QString, QString> attributes = Attributes(ini, archive);
        QCOMPARE(attributes.keys(), (QStringList{stored + ".hidden", stored + "readme.txt", stored + "solo.j",
                                                 stored + "sounds\\hit.wav", stored + "units\\grunt è.mdx"}));
        QCOMPARE(attributes.value(stored + "readme.txt"), QStringLiteral("---"));  // the ini's rule
        QCOMPARE(attributes.value(stored + "solo.j"), QStringLiteral("C--"));     // the default

        const QString out = dir.filePath(tag + "/out");
        const Run extract = Cli({"--ini", ini, "extract", archive, "--to", out});
        QCOMPARE(extract.status, 0);
        const QString below = out + "/" + QString(stored).replace('\\', '/');
        QCOMPARE(ReadFile(below + "readme.txt"), TextData(3000));
        QCOMPARE(ReadFile(below + "units/grunt è.mdx"), TextData(9000, 'g'));
        QCOMPARE(ReadFile(below + ".hidden"), QByteArray("h"));
        QCOMPARE(ReadFile(below + "solo.j"), TextData(500, 'j'));
    }

    void withoutSettingsTheFirstRunRulesApply()
    {
        const QString archive = dir.filePath("first/a.mpq");
        QDir().mkpath(dir.filePath("first"));
        const QString missingIni = dir.filePath("first/none.ini");
        QCOMPARE(Cli({"--ini", missingIni, "add", archive, source + "/tree/sounds/hit.wav"}).status, 0);
        QVERIFY(!QFileInfo::exists(missingIni));  // nothing written
        bool ok = false;
        const QByteArray stored = ReadStored(archive, "hit.wav", &ok);
        QVERIFY(ok);
        QCOMPARE(stored.size(), WaveData(30000).size());
        QVERIFY(stored != WaveData(30000));  // through the audio compression
    }

    void extractsOnlyTheNamedEntries()
    {
        const QString archive = dir.filePath("named/a.mpq");
        QDir().mkpath(dir.filePath("named"));
        QCOMPARE(Cli({"--ini", ini, "add", archive, source + "/tree"}).status, 0);
        const QString out = dir.filePath("named/out");
        const Run run = Cli({"--ini", ini, "extract", archive, "units\\grunt è.mdx", "--to", out, "--verbose"});
        QCOMPARE(run.status, 0);
        QCOMPARE(ReadFile(out + "/units/grunt è.mdx"), TextData(9000, 'g'));
        QCOMPARE(QDir(out).entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden), QStringList{"units"});
        QCOMPARE(run.out, QByteArray("Estrazione file units\\grunt è.mdx\n"));
    }

    // --verbose: exactly one line per file, naming it, in the language the
    // settings name; without it, silence.
    void verbosePrintsALinePerFile_data()
    {
        QTest::addColumn<bool>("verbose");
        QTest::addColumn<QString>("language");
        QTest::addColumn<QString>("adding");
        QTest::addColumn<QString>("extracting");
        QTest::newRow("verbose") << true << "" << "Aggiunta file " << "Estrazione file ";
        QTest::newRow("verbose in English") << true << "English.lng" << "Adding file " << "Extracting file ";
        QTest::newRow("quiet") << false << "" << "" << "";
    }

    void verbosePrintsALinePerFile()
    {
        QFETCH(bool, verbose);
        QFETCH(QString, language);
        QFETCH(QString, adding);
        QFETCH(QString, extracting);
        const QString tag = QStringLiteral("verbose-") + QTest::currentDataTag();
        const QString archive = dir.filePath(tag + "/a.mpq");
        QDir().mkpath(dir.filePath(tag));
        const QString settings = dir.filePath(tag + "/settings.ini");
        QFile::copy(ini, settings);
        if (!language.isEmpty()) WriteIni("Config", "Language", language, settings);
        QStringList add{"--ini", settings, "add", archive, source + "/tree", source + "/solo.j"};
        QStringList extract{"--ini", settings, "extract", archive, "--to", dir.filePath(tag + "/out")};
        if (verbose) {
            add << "-v";
            extract << "--verbose";
        }
        const Run added = Cli(add);
        QCOMPARE(added.status, 0);
        const Run extracted = Cli(extract);
        QCOMPARE(extracted.status, 0);
        if (!verbose) {
            QVERIFY(added.out.isEmpty() && extracted.out.isEmpty());
            return;
        }
        QStringList addLines = QString::fromUtf8(added.out).split('\n');
        QCOMPARE(addLines.takeLast(), QString());
        addLines.sort();
        QCOMPARE(addLines, (QStringList{adding + ".hidden", adding + "readme.txt", adding + "solo.j",
                                        adding + "sounds/hit.wav", adding + "units/grunt è.mdx"}));
        QStringList extractLines = QString::fromUtf8(extracted.out).split('\n');
        QCOMPARE(extractLines.takeLast(), QString());
        extractLines.sort();
        // The internal list has no name of its own in the listing: it comes
        // out as an unknown, as every listed row does.
        QCOMPARE(extractLines.size(), 6);
        QVERIFY(extractLines.takeLast().startsWith(extracting + "~unknowns\\"));
        QCOMPARE(extractLines, (QStringList{extracting + ".hidden", extracting + "readme.txt", extracting + "solo.j",
                                            extracting + "sounds\\hit.wav", extracting + "units\\grunt è.mdx"}));
    }

    // A path that is missing is named, the others still go in; an archive
    // lying inside the folder being added is not stored in itself.
    void missingPathsAndTheArchiveItselfStayOut()
    {
        const QString folder = dir.filePath("self");
        WriteFile(folder + "/one.txt", "1");
        WriteFile(folder + "/two.txt", "22");
        const QString archive = folder + "/self.mpq";
        QCOMPARE(Cli({"--ini", ini, "add", archive, folder + "/one.txt"}).status, 0);
        const Run run = Cli({"--ini", ini, "add", archive, folder + "/gone.txt", folder + "/."});
        QCOMPARE(run.status, 2);
        QVERIFY2(run.err.contains("gone.txt: no such file or folder"), run.err.constData());
        QCOMPARE(Attributes(ini, archive).keys(), (QStringList{"one.txt", "two.txt"}));
    }

    void failuresExitWithTheirStatus_data()
    {
        QTest::addColumn<QStringList>("arguments");  // "@" stands for the test's folder
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("message");
        QTest::newRow("add without a path") << QStringList{"add", "@/x.mpq"} << 1 << "add takes";
        QTest::newRow("extract without --to") << QStringList{"extract", "@/good.mpq"} << 1 << "--to";
        QTest::newRow("add of a missing file") << QStringList{"add", "@/good.mpq", "@/nothing.txt"} << 2
                                               << "no such file";
        QTest::newRow("add to a folder") << QStringList{"add", "@", "@/source/solo.j"} << 2 << "is a folder";
        QTest::newRow("add to a text file") << QStringList{"add", "@/text.mpq", "@/source/solo.j"} << 3
                                            << "holds no MPQ archive";
        QTest::newRow("extract from a missing archive") << QStringList{"extract", "@/gone.mpq", "--to", "@/o1"}
                                                        << 2 << "no such file";
        QTest::newRow("extract of a missing name") << QStringList{"extract", "@/good.mpq", "nope", "--to", "@/o2"}
                                                   << 4 << "nope: not in the archive";
        QTest::newRow("extract of a climbing name") << QStringList{"extract", "@/good.mpq", "..\\up.txt", "--to",
                                                                   "@/o3"}
                                                    << 4 << "outside";
        QTest::newRow("add to an archive in a missing folder")
            << QStringList{"add", "@/no/such/folder/x.mpq", "@/source/solo.j"} << 2 << "cannot be made";
        QTest::newRow("add with --to") << QStringList{"add", "@/x.mpq", "@/source/solo.j", "--to", "@"} << 1
                                       << "--to belongs to extract";
        QTest::newRow("unknown option") << QStringList{"extract", "@/good.mpq", "--too", "@/o5"} << 1
                                        << "unknown option --too";
        QTest::newRow("extract all with a climbing name") << QStringList{"extract", "@/good.mpq", "--to", "@/o4"}
                                                          << 4 << "outside";
        QTest::newRow("extract through a link") << QStringList{"extract", "@/good.mpq", "a.txt", "--to", "@/o6"}
                                                << 4 << "a.txt: refused, a link stands in its place";
        QTest::newRow("extract onto a file") << QStringList{"extract", "@/good.mpq", "--to", "@/text.mpq"} << 2
                                             << "cannot be made a folder";
    }

    void failuresExitWithTheirStatus()
    {
        QFETCH(QStringList, arguments);
        QFETCH(int, status);
        QFETCH(QString, message);
        const QString folder = dir.path();
        if (!QFileInfo::exists(folder + "/good.mpq")) {
            QVERIFY(MakeArchive(folder + "/good.mpq", {{"a.txt", "a"}, {"..\\up.txt", "up"}}, folder + "/scratch"));
            WriteFile(folder + "/text.mpq", "just some text\n");
            QVERIFY(QDir().mkpath(folder + "/o6") && QFile::link(folder + "/text.mpq", folder + "/o6/a.txt"));
        }
        const QByteArray textBefore = ReadFile(folder + "/text.mpq");
        for (QString &argument : arguments) argument.replace('@', folder);
        const Run run = Cli(QStringList{"--ini", ini} + arguments);
        QCOMPARE(run.status, status);
        QVERIFY2(run.err.contains(message.toUtf8()), run.err.constData());
        QCOMPARE(ReadFile(folder + "/text.mpq"), textBefore);
        QVERIFY(!QFileInfo::exists(folder + "/up.txt"));
    }
};

QTEST_MAIN(TestCliAddExtract)
#include "test_cli_add_extract.moc"
