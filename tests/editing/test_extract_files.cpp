// Extracting stored files from real archives to the disk.
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include "config/app_config.h"
#include "editing/extract_files.h"
#include "listing/classic_listing.h"
#include "support/archive_factory.h"
#include "support/recording_ports.h"

using namespace fixtures;

class TestExtractFiles : public QObject {
    Q_OBJECT
    QTemporaryDir dir;
    QString Path(const QString &name) const { return dir.filePath(name); }

    QString Archive(const QString &name, const QList<StoredFile> &files) { return ArchiveIn(dir.path(), name, files); }

private slots:
    void foldersAndBytes_data();
    void foldersAndBytes();
    void overwritesCompletely();
    void unopenedNamesAreSkipped();
    void namesThatClimbOut_data();
    void namesThatClimbOut();
    void linksAreNeverFollowed_data();
    void linksAreNeverFollowed();
    void diskFailureEndsTheBatch_data();
    void diskFailureEndsTheBatch();
    void unknownEntryByItsListedName();
    void emptyFolderDoesNothing();
};

void TestExtractFiles::foldersAndBytes_data()
{
    QTest::addColumn<QString>("folderEnd");
    QTest::newRow("plain folder") << "";
    QTest::newRow("closing /") << "/";
}

void TestExtractFiles::foldersAndBytes()
{
    QFETCH(QString, folderEnd);
    const QByteArray nested = TextData(70000, 'n');  // more than one sector
    const QString archive = Archive("nested.mpq", {{"a\\b\\c.txt", nested},
                                                   {"top.txt", "top"},
                                                   {"empty.bin", {}},
                                                   {"a\\b\\d.bin", "d", 0, mpq::MAFA_COMPRESS_NONE}});
    const QString out = Path("out-" + DataTagFileName());
    QDir().mkpath(out);
    BatchTrace trace;
    const ExtractReport report =
        ExtractFiles(archive, {"a\\b\\c.txt", "top.txt", "empty.bin", "a\\b\\d.bin"}, out + folderEnd, trace, trace);
    QCOMPARE(report.extracted, 4);
    QVERIFY(!report.diskFailure && report.missing.isEmpty() && report.refused.isEmpty());
    const QMap<QString, QByteArray> expected = {{"a/", "<dir>"},       {"a/b/", "<dir>"},   {"a/b/c.txt", nested},
                                                {"a/b/d.bin", "d"},    {"top.txt", "top"},  {"empty.bin", ""}};
    QCOMPARE(Tree(out), expected);
    const QStringList events = {"Estrazione file a\\b\\c.txt", "<yield>", "Estrazione file top.txt",   "<yield>",
                                "Estrazione file empty.bin",   "<yield>", "Estrazione file a\\b\\d.bin", "<yield>",
                                "Pronto"};
    QCOMPARE(trace.events, events);
}

void TestExtractFiles::overwritesCompletely()
{
    const QString archive = Archive("over.mpq", {{"dir\\f.txt", "short"}});
    const QString out = Path("over");
    WriteFile(out + "/dir/f.txt", TextData(5000, 'L'));  // longer than what replaces it
    for (int round = 0; round < 2; ++round) {
        BatchTrace trace;
        QCOMPARE(ExtractFiles(archive, {"dir\\f.txt"}, out, trace, trace).extracted, 1);
        QCOMPARE(ReadFile(out + "/dir/f.txt"), QByteArray("short"));
    }
}

void TestExtractFiles::unopenedNamesAreSkipped()
{
    const QString archive = Archive("skip.mpq", {{"one.txt", "1"}, {"two.txt", "2"}});
    const QString out = Path("skip");
    QDir().mkpath(out);
    BatchTrace trace;
    ExtractReport report = ExtractFiles(archive, {"one.txt", "gone.txt", "two.txt"}, out, trace, trace);
    QCOMPARE(report.extracted, 2);
    QCOMPARE(report.missing, QList<QByteArray>{"gone.txt"});
    QCOMPARE(Tree(out), (QMap<QString, QByteArray>{{"one.txt", "1"}, {"two.txt", "2"}}));
    QCOMPARE(trace.events.mid(2, 2), (QStringList{"Estrazione file gone.txt", "<yield>"}));
    QCOMPARE(trace.events.last(), QStringLiteral("Pronto"));

    // An archive that does not open: every name is missing, the end is the same.
    BatchTrace none;
    report = ExtractFiles(Path("no-such.mpq"), {"one.txt", "two.txt"}, out + "/none", none, none);
    QCOMPARE(report.missing, (QList<QByteArray>{"one.txt", "two.txt"}));
    QVERIFY(!QFileInfo::exists(out + "/none"));
    QCOMPARE(none.events.size(), 5);
    QCOMPARE(none.events.last(), QStringLiteral("Pronto"));
}

void TestExtractFiles::namesThatClimbOut_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("parent") << QByteArray("..\\evil.txt");
    QTest::newRow("parent, deeper") << QByteArray("a\\..\\..\\evil.txt");
    QTest::newRow("parent, with /") << QByteArray("../evil.txt");
    QTest::newRow("root") << QByteArray("\\evil.txt");
    QTest::newRow("drive") << QByteArray("C:\\evil.txt");
}

void TestExtractFiles::namesThatClimbOut()
{
    // The engine stores and opens these names byte for byte; only the
    // extraction keeps them from the disk.
    QFETCH(QByteArray, name);
    const QString base = Path("climb-" + DataTagFileName());
    const QString archive = Archive("climb.mpq", {{name, "evil"}, {"ok.txt", "ok"}});
    QCOMPARE(ReadStored(archive, name.toStdString()), QByteArray("evil"));
    const QString out = base + "/dest/inner";
    QDir().mkpath(out);
    BatchTrace trace;
    const ExtractReport report = ExtractFiles(archive, {name, "ok.txt"}, out, trace, trace);
    QCOMPARE(report.refused, QList<QByteArray>{name});
    QCOMPARE(report.extracted, 1);
    // Nothing anywhere but the one good file, and the batch ended as usual.
    QCOMPARE(Tree(base), (QMap<QString, QByteArray>{{"dest/", "<dir>"}, {"dest/inner/", "<dir>"},
                                                    {"dest/inner/ok.txt", "ok"}}));
    QVERIFY(!QFileInfo::exists("/evil.txt"));
    QCOMPARE(trace.events.first(), "Estrazione file " + QString::fromLatin1(name));
    QCOMPARE(trace.events.last(), QStringLiteral("Pronto"));
}

void TestExtractFiles::linksAreNeverFollowed_data()
{
    QTest::addColumn<QString>("linkAt");    // below the chosen folder; empty for none
    QTest::addColumn<QString>("pointsTo");  // below a folder beside it
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("link to a folder outside as a folder level") << "sub" << "dir" << QByteArray("sub\\x.txt");
    QTest::newRow("link to a file outside as the file") << "f.txt" << "file.txt" << QByteArray("f.txt");
    QTest::newRow("dangling link as the file") << "f.txt" << "gone" << QByteArray("f.txt");
    QTest::newRow("dangling link as a folder level") << "sub" << "gone" << QByteArray("sub\\x.txt");
    QTest::newRow("no link") << "" << "" << QByteArray("sub\\x.txt");
}

void TestExtractFiles::linksAreNeverFollowed()
{
    QFETCH(QString, linkAt);
    QFETCH(QString, pointsTo);
    QFETCH(QByteArray, name);
    const QString base = Path("links-" + DataTagFileName());
    const QString archive = Archive("links.mpq", {{"sub\\x.txt", "x"}, {"f.txt", "f"}, {"ok.txt", "ok"}});
    WriteFile(base + "/outside/file.txt", "keep");
    QDir().mkpath(base + "/outside/dir");
    const QString out = base + "/out";
    QDir().mkpath(out);
    if (!linkAt.isEmpty()) QVERIFY(QFile::link(base + "/outside/" + pointsTo, out + "/" + linkAt));
    const QMap<QString, QByteArray> outside = Tree(base + "/outside");

    BatchTrace trace;
    const ExtractReport report = ExtractFiles(archive, {name, "ok.txt"}, out, trace, trace);
    const bool linked = !linkAt.isEmpty();
    QCOMPARE(report.linked, linked ? QList<QByteArray>{name} : QList<QByteArray>{});
    QCOMPARE(report.extracted, linked ? 1 : 2);
    QVERIFY(!report.diskFailure && report.refused.isEmpty() && report.missing.isEmpty());
    // Nothing went through the link, which stays; the rest of the batch goes on.
    QCOMPARE(Tree(base + "/outside"), outside);
    QCOMPARE(QFileInfo(out + "/" + linkAt).isSymLink(), linked);
    QCOMPARE(ReadFile(out + "/ok.txt"), QByteArray("ok"));
    if (!linked) QCOMPARE(ReadFile(out + "/sub/x.txt"), QByteArray("x"));
    QCOMPARE(trace.events.last(), QStringLiteral("Pronto"));
}

void TestExtractFiles::diskFailureEndsTheBatch_data()
{
    QTest::addColumn<QString>("blocker");  // what stands in the way of "sub\x.txt"
    QTest::addColumn<QString>("failedAt");
    QTest::newRow("plain file where a folder is needed") << "file:sub" << "sub";
    QTest::newRow("folder where the file goes") << "folder:sub/x.txt" << "sub/x.txt";
}

void TestExtractFiles::diskFailureEndsTheBatch()
{
    QFETCH(QString, blocker);
    QFETCH(QString, failedAt);
    const QString archive = Archive("blocked.mpq", {{"a.txt", "a"}, {"sub\\x.txt", "x"}, {"z.txt", "z"}});
    const QString out = Path("blocked-" + DataTagFileName());
    const QString kind = blocker.section(':', 0, 0), where = out + "/" + blocker.section(':', 1);
    if (kind == "file") WriteFile(where, "in the way");
    if (kind == "folder") QDir().mkpath(where);
    BatchTrace trace;
    const ExtractReport report = ExtractFiles(archive, {"a.txt", "sub\\x.txt", "z.txt"}, out, trace, trace);
    QVERIFY(report.diskFailure);
    QCOMPARE(report.failedPath, out + "/" + failedAt);
    QCOMPARE(report.extracted, 1);
    // What came before stays; nothing after is written; the status names the failing entry.
    QCOMPARE(ReadFile(out + "/a.txt"), QByteArray("a"));
    QVERIFY(!QFileInfo::exists(out + "/z.txt"));
    QCOMPARE(trace.events, (QStringList{"Estrazione file a.txt", "<yield>", "Estrazione file sub\\x.txt"}));
    if (kind == "file") QCOMPARE(ReadFile(where), QByteArray("in the way"));
}

void TestExtractFiles::unknownEntryByItsListedName()
{
    // A file that no list names: the listing makes up its name, with the
    // detected extension, and that name extracts it.
    const QByteArray wave = WaveData(3000);
    const QString archive = WriteFile(Path("unknown.mpq"), HandMadeArchive(8, {{"sound.wav", wave}}));
    RecordingPorts listing;
    auto ports = listing.ports();
    qint64 total = 0;
    QVERIFY(LoadArchiveClassic(archive, AppConfig{}, ports, total));
    QCOMPARE(int(listing.rows.size()), 1);
    const QByteArray tag = listing.rows.front().Tag;
    QVERIFY2(tag.startsWith("~unknowns\\unknown") && tag.endsWith(".wav"), tag.constData());

    const QString out = Path("unknown");
    QDir().mkpath(out);
    BatchTrace trace;
    QCOMPARE(ExtractFiles(archive, {tag}, out, trace, trace).extracted, 1);
    QCOMPARE(Tree(out), (QMap<QString, QByteArray>{{"~unknowns/", "<dir>"},
                                                   {"~unknowns/" + QString::fromLatin1(tag.mid(10)), wave}}));
}

void TestExtractFiles::emptyFolderDoesNothing()
{
    const QString archive = Archive("cwd.mpq", {{"here.txt", "h"}});
    const QString cwd = QDir::currentPath();
    QVERIFY(QDir::setCurrent(Path("")));
    BatchTrace trace;
    const ExtractReport report = ExtractFiles(archive, {"here.txt"}, QString(), trace, trace);
    QDir::setCurrent(cwd);
    QCOMPARE(report.extracted, 0);
    QVERIFY(trace.events.isEmpty());
    QVERIFY(!QFileInfo::exists(Path("here.txt")));
}

QTEST_GUILESS_MAIN(TestExtractFiles)
#include "test_extract_files.moc"
