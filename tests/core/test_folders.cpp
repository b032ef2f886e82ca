// Archives unpacked to folders with their manifest and packed back; folders
// kept without one; folders that do not make an archive.
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <utime.h>

#include "config/app_config.h"
#include "listing/listing_options.h"
#include "support/archive_factory.h"
#include "support/map_factory.h"
#include "tools/folder_pack.h"

using namespace fixtures;

namespace {

const QByteArray kHeader = QByteArray("HM3W\0\0\0\0Old Map\0\x04\0\0\0\x02\0\0\0", 24).leftJustified(512, '\0');

// What a listing says of every file but the internal ones: name (a
// nameless one's "~unknowns" name, which follows its slot), size, flags and bytes.
QStringList Files(const QString &archive, const std::string &names)
{
    QStringList said;
    for (const ListedFile &file : List(archive, names)) {
        if (file.StoredName.rfind("(", 0) == 0) continue;
        const QByteArray bytes = ReadStored(archive, file.StoredName);
        said << QStringLiteral("%1 %2 %3 %4")
                    .arg(QString::fromStdString(file.StoredName).replace(QChar(0), '@'))
                    .arg(file.FullSize)
                    .arg(file.Flags, 0, 16)
                    .arg(QString::fromLatin1(bytes.left(24).toHex()));
    }
    said.sort();
    return said;
}

FolderReport Unpack(const QString &archive, const QString &folder)
{
    CollectingPorts ports;
    NoEvents events;
    ListingOptions options;
    return UnpackArchive(archive, folder, options, ports, ports, events);
}

FolderReport Pack(const QString &folder, const QString &archive)
{
    CollectingPorts ports;
    NoEvents events;
    AppConfig config;
    config.ExtensionRules = FirstRunRules();
    return PackFolder(folder, archive, config, ports, events);
}

void Touch(const QString &folder)
{
    for (const QString &path : Tree(folder).keys()) {
        const utimbuf times{1000000000, 1000000000};
        ::utime(QFile::encodeName(folder + "/" + path).constData(), &times);
    }
}

}  // namespace

class TestFolders : public QObject {
    Q_OBJECT
    QTemporaryDir dir;

private slots:
    // Unpacked and packed back: every file with its name, locale, size,
    // flags and bytes, the same bytes in front; packed twice, with the
    // files touched between, the same archive.
    void archivesComeBackFromTheirFolder_data()
    {
        QTest::addColumn<QByteArray>("archive");
        QTest::addColumn<int>("nameless");  // files no list names
        const QString f = dir.path();
        const QByteArray secret = TextData(9000, 's');
        QTest::newRow("a map without its list, behind its header")
            << kHeader + ListlessArchiveBytes(f + "/listless.mpq", {{"data\\secret.dat", secret, 0x00030200},
                                                                     {"plain.bin", TextData(300, 'p'), 0},
                                                                     {"war3map.j", TextData(2000, 'j')}})
            << 3;
        QVERIFY(MakeArchive(f + "/variants.mpq",
                            {{"war3map.wts", "neutral"}, {QByteArray("war3map.wts\0" "0407", 16), "german"},
                             {QByteArray("war3map.wts\0" "040c", 16), "french"}, {"big.txt", TextData(20000)}},
                            f + "/s"));
        QTest::newRow("three locale variants") << ReadFile(f + "/variants.mpq") << 0;
    }
    void archivesComeBackFromTheirFolder()
    {
        QFETCH(QByteArray, archive);
        QFETCH(int, nameless);
        const QString f = dir.filePath(DataTagFileName());
        const QString original = WriteFile(f + "/original.w3x", archive);
        QVERIFY(Unpack(original, f + "/folder").archive == Refusal::None);
        QCOMPARE(QDir(f + "/folder/.arcavera-nameless").entryList(QDir::Files).size(), nameless);
        QCOMPARE(Pack(f + "/folder", f + "/packed.w3x").archive, Refusal::None);
        const std::string names = InternalList(f + "/packed.w3x");  // the same names for both
        QCOMPARE(Files(f + "/packed.w3x", names), Files(original, names));
        QCOMPARE(ReadFile(f + "/packed.w3x").left(512).startsWith("HM3W"), archive.startsWith("HM3W"));
        if (archive.startsWith("HM3W")) QCOMPARE(ReadFile(f + "/packed.w3x").left(512), kHeader);
        Touch(f + "/folder");
        QCOMPARE(Pack(f + "/folder", f + "/again.w3x").archive, Refusal::None);
        QCOMPARE(ReadFile(f + "/again.w3x"), ReadFile(f + "/packed.w3x"));
        // Unpacked again, the folder is the same.
        QVERIFY(Unpack(f + "/packed.w3x", f + "/folder2").archive == Refusal::None);
        QCOMPARE(Tree(f + "/folder2"), Tree(f + "/folder"));
    }

    // A map kept as plain files: each file under its path, the header the
    // game looks for made from war3map.w3i, version control left out.
    void aMapFolderPacksAsItIs()
    {
        const QString f = dir.filePath("plain");
        WriteFile(f + "/map/war3map.w3i", W3i({}));
        WriteFile(f + "/map/war3map.wts", "STRING 1\r\n{\r\nJust a map\r\n}\r\n");
        WriteFile(f + "/map/war3map.j", TextData(500));
        WriteFile(f + "/map/Units/footman.mdx", TextData(700, 'm'));
        WriteFile(f + "/map/.git/HEAD", "ref: refs/heads/main\n");
        const FolderReport report = Pack(f + "/map", f + "/map.w3x");
        QCOMPARE(report.archive, Refusal::None);
        QVERIFY(report.mapHeader);
        QStringList names;
        for (const ListedFile &file : List(f + "/map.w3x", InternalList(f + "/map.w3x"))) names << QString::fromStdString(file.StoredName);
        names.sort();
        QCOMPARE(names, QStringList({"(attributes)", "(listfile)", "Units\\footman.mdx", "war3map.j", "war3map.w3i",
                                    "war3map.wts"}));
        QCOMPARE(ReadStored(f + "/map.w3x", "Units\\footman.mdx"), TextData(700, 'm'));
        const QByteArray header = ReadFile(f + "/map.w3x").left(512);
        QVERIFY(header.startsWith(QByteArray("HM3W\0\0\0\0Just a map\0", 19)));
    }

    // Each fault of a folder is named, and no archive is written.
    void badFoldersMakeNoArchive_data()
    {
        QTest::addColumn<QString>("change");  // what is done to a folder unpacked from a map
        QTest::addColumn<int>("kind");
        QTest::addColumn<int>("line");
        QTest::addColumn<QString>("path");
        QTest::newRow("a line that does not parse") << "append:bogus line" << int(FolderProblem::BadLine) << 10 << "";
        QTest::newRow("a locale that does not exist") << "replace:\t-\tcompress:\txx-YY\tcompress"
                                                      << int(FolderProblem::UnknownLocale) << 9 << "";
        QTest::newRow("a path that climbs out") << "replace:\ta.txt\t:\t../a.txt\t" << int(FolderProblem::Climbs) << 9 << "";
        QTest::newRow("a file the folder lacks") << "remove:a.txt" << int(FolderProblem::Missing) << 0 << "a.txt";
        QTest::newRow("a file the manifest lacks") << "add:extra.txt" << int(FolderProblem::Unlisted) << 0 << "extra.txt";
        QTest::newRow("names that differ in case") << "plain:A.TXT" << int(FolderProblem::CaseClash) << 0 << "a.txt";
        QTest::newRow("a front cut short") << "front:100" << int(FolderProblem::BadFront) << 0 << ".arcavera-front.bin";
    }
    void badFoldersMakeNoArchive()
    {
        QFETCH(QString, change);
        QFETCH(int, kind);
        QFETCH(int, line);
        QFETCH(QString, path);
        const QString f = dir.filePath(DataTagFileName()), folder = f + "/folder";
        QVERIFY(MakeArchive(f + "/a.mpq", {{"a.txt", "a"}}, f + "/s"));
        WriteFile(f + "/map.w3x", kHeader + ReadFile(f + "/a.mpq"));
        QVERIFY(Unpack(f + "/map.w3x", folder).archive == Refusal::None);
        const QString what = change.section(':', 0, 0), value = change.section(':', 1);
        const QString manifest = folder + "/.arcavera-manifest";
        QByteArray text = ReadFile(manifest);
        if (what == "append") text += value.toUtf8() + '\n';
        if (what == "replace") text.replace(value.section(':', 0, 0).toUtf8(), value.section(':', 1).toUtf8());
        if (what == "remove") QFile::remove(folder + "/" + value);
        if (what == "add") WriteFile(folder + "/" + value, "x");
        if (what == "plain") QFile::remove(manifest), QFile::remove(folder + "/.arcavera-front.bin"), WriteFile(folder + "/" + value, "A");
        if (what == "front") WriteFile(folder + "/.arcavera-front.bin", QByteArray(value.toInt(), 'f'));
        if (what == "append" || what == "replace") WriteFile(manifest, text);
        const FolderReport report = Pack(folder, f + "/packed.w3x");
        QCOMPARE(int(report.problem.kind), kind);
        QCOMPARE(report.problem.line, line);
        if (!path.isEmpty()) QVERIFY2(report.problem.path == path || report.problem.other == path, qPrintable(report.problem.path));
        QVERIFY(!QFileInfo::exists(f + "/packed.w3x"));
        QCOMPARE(QDir(f).entryList({".arcavera-*"}, QDir::Files | QDir::Hidden), QStringList());
    }
};

QTEST_GUILESS_MAIN(TestFolders)
#include "test_folders.moc"
