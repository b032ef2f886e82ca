// Adding, extracting, deleting and renaming on archives the tests make, with the reason of each refusal.
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QtEndian>
#include <QTemporaryDir>
#include <QTest>

#include <fcntl.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <limits>
#include <set>

#include "config/app_config.h"
#include "editing/add_files.h"
#include "editing/archive_check.h"
#include "editing/archive_update.h"
#include "editing/compact.h"
#include "editing/delete_rename.h"
#include "editing/extract_files.h"
#include "base/file_walk.h"
#include "base/paths.h"
#include "support/archive_factory.h"
#include "support/damaged_data.h"
#include "support/file_size_limit.h"
#include "tools/verify_archive.h"

using namespace fixtures;

Q_DECLARE_METATYPE(Refusal)
Q_DECLARE_METATYPE(fixtures::HandFile)
Q_DECLARE_METATYPE(fixtures::StoredFile)

namespace {

// Rules as "ext,type,level", taken as written. Entry 0 is the spare.
QVector<ExtensionRule> Rules(const QStringList &texts, const ExtensionRule &spare = {})
{
    QVector<ExtensionRule> rules{spare};
    for (const QString &text : texts) {
        const QStringList f = text.split(',');
        rules.append({f[0], qint16(f[1].toInt()), qint16(f[2].toInt())});
    }
    return rules;
}

// The engine's entry of a stored name; of no name when there is none.
ListedFile Entry(const QString &archive, const std::string &name)
{
    for (const auto &entry : List(archive, name + "\n")) if (entry.StoredName == name) return entry;
    return {};
}

bool Opens(const QString &archive, const QByteArray &name)
{
    bool ok = false;
    ReadStored(archive, name.toStdString(), &ok);
    return ok;
}

std::set<std::string> InternalListLines(const QString &archive)
{
    std::set<std::string> lines;
    for (QByteArray line : QByteArray::fromStdString(InternalList(archive)).split('\n'))
        if (!(line = line.trimmed()).isEmpty()) lines.insert(line.toStdString());
    return lines;
}

QByteArray Noise(int size, quint32 seed)
{
    QByteArray data(size, Qt::Uninitialized);
    QRandomGenerator(seed).fillRange(reinterpret_cast<quint32 *>(data.data()), size / 4);
    return data;
}

QByteArray ContentOf(int index) { return TextData(300 + 6000 * index, char('a' + index)); }

// A user who presses Cancel before anything moves.
struct CancelAtOnce : NoEvents {
    bool Cancelled() override { return true; }
};

// The hidden copies compactions left in `folder`.
QStringList CompactCopies(const QString &folder)
{
    return QDir(folder).entryList({".arcavera-compact-*"}, QDir::Files | QDir::Hidden);
}

// An archive of `files` at `path`: made through our layer ("format 1"), or
// by StormLib ("format 4"; "map": without a list, behind a map's header of
// 512 bytes).
bool MakeKind(const QString &kind, const QString &path, const QList<StoredFile> &files)
{
    if (kind == "format 1") return MakeArchive(path, files, path + "-src", 2048);
    if (kind == "format 4") return !StormArchiveBytes(path, 4, files).isEmpty();
    const QByteArray map = ListlessArchiveBytes(path, files);
    return !map.isEmpty() && !WriteFile(path, QByteArray("HM3W").leftJustified(512, '\0') + map).isEmpty();
}

// Whether a process still holds the lock of a compaction's copy.
bool Locked(const QString &path)
{
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC);
    const bool locked = fd >= 0 && ::flock(fd, LOCK_EX | LOCK_NB) != 0;
    if (fd >= 0) ::close(fd);
    return locked;
}
}  // namespace

class TestEditing : public QObject {
    Q_OBJECT
    QTemporaryDir dir;
    QString Path(const QString &name) const { return dir.filePath(name); }

    // A new archive of `names`, the i-th holding ContentOf(i), with `flags` for the first.
    QString Archive(const QString &name, const QList<QByteArray> &names, std::uint32_t flags = mpq::MAFA_COMPRESS)
    {
        QList<StoredFile> files;
        for (int i = 0; i < names.size(); ++i) files.append({names[i], ContentOf(i), i == 0 ? flags : mpq::MAFA_COMPRESS});
        const QString path = Path(name);
        if (!MakeArchive(path, files, Path("scratch-" + name))) qWarning("archive %s not made", qPrintable(name));
        return path;
    }

private slots:
    // The compression of a name comes from the first rule of its extension.
    void chooseMethod_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QStringList>("rules");
        QTest::addColumn<QList<int>>("defaults");  // compression, deflate level index, encrypt
        QTest::addColumn<QString>("method");       // kind flags type level
        QTest::newRow("case of both sides") << "Readme.WAV" << QStringList{".txt,0,0", ".wav,3,2"} << QList{0, 0, 0}
                                            << "2 0x201 0 2";
        QTest::newRow("last point counts") << "a.tar.gz" << QStringList{".tar,0,0", ".gz,2,0"} << QList{0, 6, 0}
                                           << "1 0x201 2 5";
        QTest::newRow("no point, rule \".\"") << "readme" << QStringList{".txt,1,0", ".,0,0"} << QList{0, 0, 0}
                                              << "1 0x1 0 0";
        QTest::newRow("point in a folder") << "v1.2\\readme" << QStringList{".,0,0", ".2,0,0"} << QList{0, 0, 0}
                                           << "1 0x201 8 0";
        QTest::newRow("first of two rules") << "x.dat" << QStringList{".dat,1,0", ".DAT,0,0"} << QList{0, 0, 0}
                                            << "1 0x201 8 0";
        QTest::newRow("hand-edited level, high") << "x.txt" << QStringList{} << QList{1, 99, 0} << "1 0x201 2 9";
        QTest::newRow("hand-edited level, low") << "x.txt" << QStringList{} << QList{1, -7, 0} << "1 0x201 2 -1";
        QTest::newRow("deflate rule takes the default level") << "x.txt" << QStringList{".txt,2,2"} << QList{0, 4, 0}
                                                              << "1 0x201 2 3";
        QTest::newRow("encrypt, none") << "m.bik" << QStringList{".bik,0,0"} << QList{0, 0, 1} << "1 0x10001 0 0";
        QTest::newRow("encrypt, wave") << "m.wav" << QStringList{".wav,3,1"} << QList{0, 0, 1} << "2 0x10201 0 1";
        QTest::newRow("unknown type") << "x.odd" << QStringList{".odd,7,0"} << QList{0, 0, 0} << "0 0x0 0 0";
    }

    void chooseMethod()
    {
        QFETCH(QString, name);
        QFETCH(QStringList, rules);
        QFETCH(QList<int>, defaults);
        QFETCH(QString, method);
        AppConfig config;
        // The spare entry 0 would match every row; it must never be looked at.
        config.ExtensionRules = Rules(rules, ExtensionRule{"." + GetExtension(name), 0, 0});
        config.DefaultCompression = qint16(defaults[0]);
        config.DefaultDeflateLevel = qint16(defaults[1]);
        config.Encrypt = defaults[2] != 0;
        const AddMethod m = ChooseAddMethod(name, config);
        QCOMPARE(QString::asprintf("%d 0x%x %u %d", int(m.kind), m.flags, m.compressionType, m.level), method);
    }

    // An empty file becomes an archive; a stored name is replaced; a refused
    // file does not stop the batch and is named with its reason.
    void addBatch()
    {
        const QString archive = WriteFile(Path("add/new.mpq"), {});
        WriteFile(Path("add/src/one.txt"), TextData(5000));
        WriteFile(Path("add/src/sub/two.bin"), "22");
        WriteFile(Path("add/src/x.odd"), "odd");
        AppConfig config;
        config.ExtensionRules = Rules({".odd,7,0"});
        BatchTrace trace;
        AddReport report = AddFiles(archive, {"one.txt", "gone.txt", "x.odd", "sub/two.bin"}, Path("add/src/"),
                                    "Data\\", config, trace, trace);
        QCOMPARE(report.archive, Refusal::None);
        QCOMPARE(report.added, 2);
        QCOMPARE(report.refused, (QList<Refused<QString>>{{"gone.txt", Refusal::EngineRefused},
                                                          {"x.odd", Refusal::UnknownCompression}}));
        // Each file is announced under the name it is stored by.
        QCOMPARE(trace.events, (QStringList{"Aggiunta file Data\\one.txt", "<yield>", "Aggiunta file Data\\gone.txt", "<yield>",
                                            "Aggiunta file Data\\x.odd", "<yield>", "Aggiunta file Data\\sub\\two.bin", "<yield>"}));
        QCOMPARE(ReadStored(archive, "Data\\one.txt"), TextData(5000));
        QCOMPARE(ReadStored(archive, "Data\\sub\\two.bin"), QByteArray("22"));
        QVERIFY(!Opens(archive, "Data\\x.odd"));
        QVERIFY(InternalListLines(archive).count("Data\\sub\\two.bin"));

        WriteFile(Path("add/src/one.txt"), "new");
        const auto entries = List(archive, "").size();
        report = AddFiles(archive, {"one.txt"}, Path("add/src"), "Data\\", config, trace, trace);
        QCOMPARE(report.added, 1);
        QCOMPARE(ReadStored(archive, "Data\\one.txt"), QByteArray("new"));
        QCOMPARE(List(archive, "").size(), entries);
    }

    // A change the disk has no room for leaves the archive's every byte, and
    // every name is refused for it.
    void changesThatCannotBeWritten()
    {
        const QString archive = WriteFile(Path("full/a.mpq"), {});
        WriteFile(Path("full/big1.bin"), Noise(300000, 1));
        WriteFile(Path("full/big2.bin"), Noise(300000, 2));
        WriteFile(Path("full/x.odd"), "odd");
        AppConfig config;
        config.ExtensionRules = Rules({".odd,7,0"});
        BatchTrace trace;
        QCOMPARE(AddFiles(archive, {"big1.bin"}, Path("full"), {}, config, trace, trace).added, 1);
        const QByteArray before = ReadFile(archive);
        FileSizeLimit limit(200000);
        const AddReport added = AddFiles(archive, {"big2.bin", "x.odd"}, Path("full"), {}, config, trace, trace);
        QCOMPARE(added.archive, Refusal::ArchiveNotWritten);
        QCOMPARE(added.added, 0);
        QCOMPARE(added.refused, (QList<Refused<QString>>{{"big2.bin", Refusal::ArchiveNotWritten},
                                                         {"x.odd", Refusal::UnknownCompression}}));
        QCOMPARE(ReadFile(archive), before);
    }

    // Whatever the count of the settings, a new archive takes the whole batch.
    void anyMaximumFileCount_data()
    {
        QTest::addColumn<int>("maximum");
        QTest::addColumn<int>("tableSize");  // 0: not looked at
        QTest::newRow("zero") << 0 << 0;
        QTest::newRow("hand-edited, StormLib crashes") << 200000000 << 1048576;
        QTest::newRow("hand-edited, largest") << std::numeric_limits<qint32>::max() << 1048576;
    }

    void anyMaximumFileCount()
    {
        QFETCH(int, maximum);
        QFETCH(int, tableSize);
        const QString archive = WriteFile(Path(QStringLiteral("max/%1.mpq").arg(maximum)), {});
        QStringList names;
        for (int i = 0; i < 6; ++i) WriteFile(Path("max/src/") + names.emplace_back(QString::number(i)), "n");
        AppConfig config;
        config.DefaultMaxFiles = maximum;
        BatchTrace trace;
        QCOMPARE(AddFiles(archive, names, Path("max/src"), {}, config, trace, trace).added, int(names.size()));
        if (tableSize == 0) return;
        const mpq::Archive handle = mpq::SFileOpenArchive(Bytes(archive));
        QCOMPARE(mpq::SFileGetFileInfo(handle.get(), mpq::SFILE_INFO_HASH_TABLE_SIZE), std::int64_t(tableSize));
    }

    // A folder tree goes in under the first-run rules and comes back out byte
    // for byte; waves come back as waves of their size.
    void roundTrip()
    {
        const QString source = Path("trip/source");
        const QMap<QString, QByteArray> files = {
            {"empty.txt", {}},
            {"big.dat", TextData(3 << 20, 'b') + Noise(256 << 10, 7)},
            {"movie.bik", Noise(20000, 4)},
            {"Music.MP3", TextData(9000, 'm')},
            {"日本/語.dat", TextData(2000, 'j')},
            {".hidden", "hidden file"},
            {"sub/deeper/map.w3x", TextData(4000, 'x')},
            {"sub/deeper/noext", TextData(600, 'n')},
            {"sound.wav", WaveData(50000)},
        };
        for (auto it = files.begin(); it != files.end(); ++it) WriteFile(source + "/" + it.key(), it.value());
        AppConfig config;
        config.IniPath = Path("trip/Arcavera.ini");
        QVERIFY(SeedFirstRun(config.IniPath));
        LoadAppConfig(config);
        QStringList names = ScanFiles(source, "*", kAttributeHidden | kAttributeSystem, true, QString(QChar(0)))
                                .split(QChar(0), Qt::SkipEmptyParts);
        for (QString &name : names) name.remove(0, source.size() + 1);
        const QString archive = WriteFile(Path("trip/trip.mpq"), {});
        BatchTrace trace;
        QCOMPARE(AddFiles(archive, names, source, {}, config, trace, trace).added, int(files.size()));

        QList<QByteArray> tags;
        for (auto it = files.begin(); it != files.end(); ++it) {
            const QByteArray name = StoredNameFromRelativePath(it.key()).toUtf8();
            const ListedFile entry = Entry(archive, name.toStdString());
            QVERIFY2(!entry.StoredName.empty(), name.constData());
            const bool plain = QStringList{"bik", "mp3", "mpq", "w3x"}.contains(GetExtension(it.key()).toLower());
            QCOMPARE(bool(entry.Flags & mpq::MAFA_FLAG_COMPRESS), !plain);
            if (it.key() == "sound.wav" || it.key() == "big.dat") QVERIFY(entry.CompressedSize < entry.FullSize / 2);
            tags.append(name);
        }
        const QString back = Path("trip/back");
        QVERIFY(QDir().mkpath(back));
        const ExtractReport extracted = ExtractFiles(archive, tags, back, trace, trace);
        QCOMPARE(extracted.extracted, int(files.size()));
        QMap<QString, QByteArray> returned = Tree(back), expected = Tree(source);
        QCOMPARE(returned.value("sound.wav").size(), expected.value("sound.wav").size());
        QVERIFY(returned.value("sound.wav") != expected.value("sound.wav"));  // audio compression loses detail
        returned.remove("sound.wav");
        expected.remove("sound.wav");
        QCOMPARE(returned, expected);
    }

    // Folders are made from the top down; a file is replaced whole; a name
    // that cannot be read or would climb out is refused with its reason.
    void extractNames_data()
    {
        QTest::addColumn<QByteArray>("name");
        QTest::addColumn<Refusal>("why");
        QTest::newRow("nested") << QByteArray("a\\b\\c.txt") << Refusal::None;
        QTest::newRow("not stored") << QByteArray("gone.txt") << Refusal::NotRead;
        QTest::newRow("parent") << QByteArray("..\\evil.txt") << Refusal::OutsideFolder;
        QTest::newRow("parent, deeper") << QByteArray("a\\..\\..\\evil.txt") << Refusal::OutsideFolder;
        QTest::newRow("parent, with /") << QByteArray("../evil.txt") << Refusal::OutsideFolder;
        QTest::newRow("root") << QByteArray("\\evil.txt") << Refusal::OutsideFolder;
        QTest::newRow("drive") << QByteArray("C:\\evil.txt") << Refusal::OutsideFolder;
    }

    void extractNames()
    {
        QFETCH(QByteArray, name);
        QFETCH(Refusal, why);
        const QString base = Path("x-" + DataTagFileName());
        const QString archive = ArchiveIn(base, "a.mpq", {{why == Refusal::NotRead ? "other" : name, TextData(70000, 'n')},
                                                          {"ok.txt", "ok"}, {"empty.bin", {}}});
        const QString out = base + "/dest/inner";
        WriteFile(out + "/ok.txt", TextData(5000, 'L'));  // longer than what replaces it
        BatchTrace trace;
        const ExtractReport report = ExtractFiles(archive, {name, "ok.txt", "empty.bin"}, out, trace, trace);
        QCOMPARE(report.refused, (why == Refusal::None ? QList<Refused<QByteArray>>() : QList{Refused<QByteArray>{name, why}}));
        QCOMPARE(report.extracted, why == Refusal::None ? 3 : 2);
        QMap<QString, QByteArray> expected{{"inner/", "<dir>"}, {"inner/ok.txt", "ok"}, {"inner/empty.bin", ""}};
        if (why == Refusal::None) {
            expected.insert("inner/a/", "<dir>");
            expected.insert("inner/a/b/", "<dir>");
            expected.insert("inner/a/b/c.txt", TextData(70000, 'n'));
        }
        QCOMPARE(Tree(base + "/dest"), expected);
        QVERIFY(!QFileInfo::exists("/evil.txt") && !QFileInfo::exists(base + "/evil.txt"));
        QCOMPARE(trace.events.last(), QStringLiteral("Pronto"));
    }

    // Below the chosen folder no link is followed, nor replaced.
    void extractNeverFollowsLinks_data()
    {
        QTest::addColumn<QString>("linkAt");
        QTest::addColumn<QString>("pointsTo");
        QTest::addColumn<QByteArray>("name");
        QTest::newRow("link to a folder as a folder level") << "sub" << "dir" << QByteArray("sub\\x.txt");
        QTest::newRow("link to a file as the file") << "f.txt" << "file.txt" << QByteArray("f.txt");
        QTest::newRow("dangling link as the file") << "f.txt" << "gone" << QByteArray("f.txt");
        QTest::newRow("dangling link as a folder level") << "sub" << "gone" << QByteArray("sub\\x.txt");
    }

    void extractNeverFollowsLinks()
    {
        QFETCH(QString, linkAt);
        QFETCH(QString, pointsTo);
        QFETCH(QByteArray, name);
        const QString base = Path("links-" + DataTagFileName());
        const QString archive = ArchiveIn(base, "l.mpq", {{"sub\\x.txt", "x"}, {"f.txt", "f"}, {"ok.txt", "ok"}});
        WriteFile(base + "/outside/file.txt", "keep");
        QDir().mkpath(base + "/outside/dir");
        const QString out = base + "/out";
        QVERIFY(QDir().mkpath(out) && QFile::link(base + "/outside/" + pointsTo, out + "/" + linkAt));
        const QMap<QString, QByteArray> outside = Tree(base + "/outside");
        BatchTrace trace;
        const ExtractReport report = ExtractFiles(archive, {name, "ok.txt"}, out, trace, trace);
        QCOMPARE(report.refused, (QList<Refused<QByteArray>>{{name, Refusal::Linked}}));
        QCOMPARE(report.extracted, 1);
        QCOMPARE(Tree(base + "/outside"), outside);
        QVERIFY(QFileInfo(out + "/" + linkAt).isSymLink());
    }

    // A failure of the disk ends the batch; what came before stays.
    // A file whose reading keeps the engine busy for ever or crashes it is refused as damaged,
    // within seconds; the files before and after it are written, and nothing half-written stays.
    void extractGoesOnPastADamagedFile_data()
    {
        QTest::addColumn<HandFile>("damaged");
        QTest::newRow("endless bzip2") << EndlessBzip2File("x.bin");
        QTest::newRow("Huffman that crashes the engine") << BrokenHuffmanFile("x.bin");
    }
    void extractGoesOnPastADamagedFile()
    {
        QFETCH(HandFile, damaged);
        const QString folder = CaseFolder(dir.path()), archive = folder + "/damaged.mpq";
        WriteFile(archive, HandMadeArchive(16, {{"a.txt", "first"}, damaged, {"z.txt", "last"}}));
        QVERIFY(QDir().mkpath(folder + "/out"));
        BatchTrace trace;
        const ExtractReport report = ExtractFiles(archive, {"a.txt", "x.bin", "z.txt"}, folder + "/out", trace, trace);
        QCOMPARE(report.refused, (QList<Refused<QByteArray>>{{"x.bin", Refusal::Damaged}}));
        QCOMPARE(report.extracted, 2);
        QCOMPARE(Tree(folder + "/out"), (QMap<QString, QByteArray>{{"a.txt", "first"}, {"z.txt", "last"}}));
        QCOMPARE(trace.events.count("<yield>"), 3);
        QCOMPARE(trace.events.last(), QStringLiteral("Pronto"));
    }

    void extractDiskFailure_data()
    {
        QTest::addColumn<QString>("blocker");
        QTest::addColumn<QString>("failedAt");
        QTest::newRow("file where a folder is needed") << "file:sub" << "sub";
        QTest::newRow("folder where the file goes") << "folder:sub/x.txt" << "sub/x.txt";
    }

    void extractDiskFailure()
    {
        QFETCH(QString, blocker);
        QFETCH(QString, failedAt);
        const QString out = Path("blocked-" + DataTagFileName());
        const QString archive = ArchiveIn(out + "-a", "b.mpq", {{"a.txt", "a"}, {"sub\\x.txt", "x"}, {"z.txt", "z"}});
        const QString where = out + "/" + blocker.section(':', 1);
        blocker.startsWith("file") ? void(WriteFile(where, "in the way")) : void(QDir().mkpath(where));
        BatchTrace trace;
        const ExtractReport report = ExtractFiles(archive, {"a.txt", "sub\\x.txt", "z.txt"}, out, trace, trace);
        QCOMPARE(report.refused, (QList<Refused<QByteArray>>{{"sub\\x.txt", Refusal::DiskFailure}}));
        QCOMPARE(report.failedPath, out + "/" + failedAt);
        QCOMPARE(report.extracted, 1);
        QCOMPARE(ReadFile(out + "/a.txt"), QByteArray("a"));
        QVERIFY(!QFileInfo::exists(out + "/z.txt"));
        QCOMPARE(trace.events, (QStringList{"Estrazione file a.txt", "<yield>", "Estrazione file sub\\x.txt"}));
    }

    void extractToNoFolderDoesNothing()
    {
        const QString archive = ArchiveIn(Path("cwd"), "c.mpq", {{"here.txt", "h"}}), cwd = QDir::currentPath();
        QVERIFY(QDir::setCurrent(Path("cwd")));
        BatchTrace trace;
        QCOMPARE(ExtractFiles(archive, {"here.txt"}, QString(), trace, trace).extracted, 0);
        QDir::setCurrent(cwd);
        QVERIFY(trace.events.isEmpty() && !QFileInfo::exists(Path("cwd/here.txt")));
    }

    // Each named file goes; a name that is not (or no longer) stored is
    // named as such; the internal list follows and is never deleted.
    void deleteNames()
    {
        const QString archive = Archive("delete.mpq", {"one.txt", "units\\two.mdx", "caf\xc3\xa9.txt", "four.txt"});
        const QByteArray internalList = "(listfile)";  // listed under its own name
        BatchTrace trace;
        const DeleteReport report = DeleteStoredFiles(
            archive, {"units\\two.mdx", "gone.txt", "caf\xc3\xa9.txt", "units\\two.mdx", internalList}, 64, trace);
        QCOMPARE(report.archive, Refusal::None);
        QCOMPARE(report.deleted, 2);
        QCOMPARE(report.refused, (QList<Refused<QByteArray>>{{"gone.txt", Refusal::NotStored},
                                                             {"units\\two.mdx", Refusal::NotStored},
                                                             {internalList, Refusal::EngineRefused}}));
        // Only the names that went are announced.
        QCOMPARE(trace.events, (QStringList{"Eliminazione file units\\two.mdx", "Eliminazione file caf\u00e9.txt", "Pronto"}));
        QVERIFY(!Opens(archive, "units\\two.mdx") && !Opens(archive, "caf\xc3\xa9.txt"));
        QCOMPARE(ReadStored(archive, "four.txt"), ContentOf(3));
        QCOMPARE(InternalListLines(archive), (std::set<std::string>{"one.txt", "four.txt"}));
    }

    // Why a path is no archive to read (an extraction's own opening says),
    // to change or to update; what cannot be updated keeps its every byte,
    // and no folder is made.
    void checkArchive_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<Refusal>("forReading");
        QTest::addColumn<Refusal>("forChange");
        QTest::addColumn<Refusal>("forUpdate");
        QTest::newRow("archive") << "archive" << Refusal::None << Refusal::None << Refusal::None;
        QTest::newRow("missing") << "missing" << Refusal::NotAnArchive << Refusal::Missing << Refusal::None;
        QTest::newRow("in a missing folder") << "no/x" << Refusal::NotAnArchive << Refusal::Missing << Refusal::NotCreatable;
        QTest::newRow("folder") << "folder" << Refusal::NotAnArchive << Refusal::WrongKind << Refusal::NotCreatable;
        QTest::newRow("empty file") << "empty" << Refusal::NotAnArchive << Refusal::EmptyFile << Refusal::None;
        QTest::newRow("noise") << "noise" << Refusal::NotAnArchive << Refusal::None << Refusal::NotAnArchive;  // the change finds out
    }

    void checkArchive()
    {
        QFETCH(QString, kind);
        QFETCH(Refusal, forReading);
        QFETCH(Refusal, forChange);
        QFETCH(Refusal, forUpdate);
        const QString path = Path("check/" + kind);
        QDir().mkpath(Path("check"));
        if (kind == "archive") QVERIFY(MakeArchive(path, {{"a.txt", "a"}}, Path("check/scratch")));
        if (kind == "folder") QDir().mkpath(path);
        if (kind == "empty") WriteFile(path, {});
        if (kind == "noise") WriteFile(path, "xxxx" + Noise(20000, 9));
        const QByteArray before = ReadFile(path);
        BatchTrace reading;
        QVERIFY(QDir().mkpath(Path("check-out/" + kind)));
        const ExtractReport extracted = ExtractFiles(path, {"a.txt"}, Path("check-out/" + kind), reading, reading);
        QCOMPARE(extracted.archive, forReading);
        QCOMPARE(extracted.extracted, int(forReading == Refusal::None));
        QCOMPARE(CheckArchiveToChange(path), forChange);
        QCOMPARE(AreStored(path, {"a.txt", "A.TXT", "b.txt"}), (QList<bool>{kind == "archive", kind == "archive", false}));
        WriteFile(Path("check-src/a.txt"), "a");
        BatchTrace trace;
        QCOMPARE(AddFiles(path, {"a.txt"}, Path("check-src"), {}, AppConfig{}, trace, trace).archive, forUpdate);
        if (forUpdate == Refusal::None) return;
        QCOMPARE(DeleteStoredFiles(path, {"a.txt"}, 64, trace).archive, forUpdate);
        QCOMPARE(RenameStoredFile(path, "a.txt", "b.txt", 64), forUpdate);
        QCOMPARE(trace.events, QStringList{UnchangedArchiveText(forUpdate, path)});  // the delete says why
        QCOMPARE(ReadFile(path), before);
        QVERIFY(!QFileInfo::exists(Path("check/no")));
        if (kind == "folder") QVERIFY(QDir(path).isEmpty());
    }

    void rename_data()
    {
        QTest::addColumn<uint>("flags");  // of the file renamed, "a.txt"
        QTest::addColumn<QByteArray>("oldName");
        QTest::addColumn<QByteArray>("newName");
        QTest::addColumn<Refusal>("why");
        const uint compress = mpq::MAFA_COMPRESS;
        QTest::newRow("into a folder, not ASCII") << compress << QByteArray("a.txt")
                                                  << QByteArray("musica\\caff\xc3\xa8.wav") << Refusal::None;
        QTest::newRow("stored plain") << 0u << QByteArray("a.txt") << QByteArray("z.txt") << Refusal::None;
        QTest::newRow("encrypted") << (compress | mpq::MAFA_ENCRYPT) << QByteArray("a.txt") << QByteArray("zz.txt")
                                   << Refusal::None;
        QTest::newRow("onto a stored name") << compress << QByteArray("a.txt") << QByteArray("c.txt")
                                            << Refusal::NameInUse;
        // The engine's names know no case...
        QTest::newRow("onto itself, other case") << compress << QByteArray("a.txt") << QByteArray("A.TXT")
                                                 << Refusal::NameInUse;
        QTest::newRow("onto another, other case") << compress << QByteArray("a.txt") << QByteArray("B.Txt")
                                                  << Refusal::NameInUse;
        // ...but "/" and "\" are different bytes to them.
        QTest::newRow("beside a name with \\") << compress << QByteArray("a.txt") << QByteArray("d/e.txt")
                                               << Refusal::None;
        QTest::newRow("old name not stored") << compress << QByteArray("gone.txt") << QByteArray("z.txt")
                                             << Refusal::NotStored;
        QTest::newRow("empty new name") << compress << QByteArray("a.txt") << QByteArray() << Refusal::EngineRefused;
    }

    void rename()
    {
        QFETCH(uint, flags);
        QFETCH(QByteArray, oldName);
        QFETCH(QByteArray, newName);
        QFETCH(Refusal, why);
        const QString archive = Archive("rename-" + DataTagFileName() + ".mpq", {"a.txt", "b.txt", "c.txt", "d\\e.txt"}, flags);
        const QByteArray before = ReadFile(archive);
        QCOMPARE(RenameStoredFile(archive, oldName, newName, 64), why);
        if (why != Refusal::None) {
            QCOMPARE(ReadFile(archive), before);
            return;
        }
        QCOMPARE(ReadStored(archive, newName.toStdString()), ContentOf(0));
        QVERIFY(Opens(archive, newName) && !Opens(archive, oldName));
        QCOMPARE(InternalListLines(archive), (std::set<std::string>{newName.toStdString(), "b.txt", "c.txt", "d\\e.txt"}));
        QCOMPARE(ReadStored(archive, "d\\e.txt"), ContentOf(3));
    }

    // An archive another tool made, with a file whose key depends on its
    // place: after a delete and a rename that tool itself reads the rest back.
    void anotherToolsArchive()
    {
        if (!HaveSmpq()) QSKIP("smpq is not installed");
        const QString work = Path("smpq");
        WriteFile(work + "/a.txt", ContentOf(0));
        WriteFile(work + "/sub/b.txt", ContentOf(1));
        WriteFile(work + "/c.txt", ContentOf(2));
        QVERIFY(RunSmpq({"-c", "-M", "1", "made.mpq", "a.txt", "c.txt"}, work));
        QVERIFY(RunSmpq({"-a", "-E", "-F", "made.mpq", "sub/b.txt"}, work));
        const QString archive = work + "/made.mpq";
        BatchTrace trace;
        QCOMPARE(DeleteStoredFiles(archive, {"a.txt"}, 64, trace).deleted, 1);
        QCOMPARE(RenameStoredFile(archive, "sub\\b.txt", "sub\\d.txt", 64), Refusal::None);
        const QString check = work + "/check";
        QVERIFY(QDir().mkpath(check) && QFile::copy(archive, check + "/made.mpq"));
        QVERIFY(RunSmpq({"-x", "made.mpq"}, check));
        QVERIFY(QFile::remove(check + "/made.mpq"));
        QCOMPARE(Tree(check), (QMap<QString, QByteArray>{{"c.txt", ContentOf(2)}, {"sub/", "<dir>"}, {"sub/d.txt", ContentOf(1)}}));
    }

    // A new archive in the format and with the table asked for; nothing
    // with content is made one.
    void createArchive_data()
    {
        QTest::addColumn<int>("format");
        QTest::addColumn<int>("maxFiles");
        QTest::addColumn<QByteArray>("before");
        QTest::addColumn<Refusal>("refusal");
        QTest::addColumn<QList<int>>("header");  // header size, format (0 for the first), hash slots
        QTest::newRow("format 1") << 1 << 1024 << QByteArray() << Refusal::None << QList<int>{32, 0, 1024};
        QTest::newRow("format 2, rounded up") << 2 << 5000 << QByteArray() << Refusal::None << QList<int>{44, 1, 8192};
        QTest::newRow("format 3") << 3 << 1024 << QByteArray() << Refusal::None << QList<int>{68, 2, 1024};
        QTest::newRow("format 4") << 4 << 1024 << QByteArray() << Refusal::None << QList<int>{208, 3, 1024};
        QTest::newRow("hand-edited count") << 1 << -3 << QByteArray() << Refusal::None << QList<int>{32, 0, 2};
        QTest::newRow("a file with content") << 1 << 64 << QByteArray("text") << Refusal::NameInUse << QList<int>{};
    }
    void createArchive()
    {
        QFETCH(int, format);
        QFETCH(int, maxFiles);
        QFETCH(QByteArray, before);
        QFETCH(Refusal, refusal);
        QFETCH(QList<int>, header);
        const QString path = WriteFile(CaseFolder(dir.path()) + "/new.mpq", before);
        QCOMPARE(CreateArchive(path, format, maxFiles), refusal);
        const QByteArray bytes = ReadFile(path);
        if (refusal != Refusal::None) {
            QCOMPARE(bytes, before);
            return;
        }
        QVERIFY(bytes.startsWith("MPQ\x1A"));
        const auto word = [&](int at) { return int(qFromLittleEndian<quint32>(bytes.constData() + at)); };
        QCOMPARE((QList<int>{word(4), int(qFromLittleEndian<quint16>(bytes.constData() + 12)), word(24)}), header);
        CollectingPorts quiet;
        mpq::FileList records;
        QCOMPARE(WhyNotRead(ReadArchiveRecords(path, ListingOptions{}, quiet, quiet, records, nullptr)), Refusal::None);
    }

    // The room of deleted files comes back, near what a new archive of the files that stay takes;
    // they read as before under the names the listing gives them, nameless ones too, and the bytes
    // in front of the archive stay. Sound after it, the archive takes the next change.
    void compactGivesBackTheRoom_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QList<StoredFile>>("files");
        QTest::addColumn<QList<QByteArray>>("gone");
        QTest::addColumn<QByteArray>("names");  // the list the listing takes
        QList<StoredFile> many;
        QList<QByteArray> gone;
        for (int i = 0; i < 2000; ++i) {
            many.append({"units\\f" + QByteArray::number(i) + ".bin", Noise(3000 + i % 7, quint32(i))});
            if (i % 20 != 0) gone.append(many.last().name);
        }
        const QByteArray list = [&] {
            QByteArray text;
            for (const StoredFile &file : many) text += file.name + "\n";
            return text;
        }();
        QTest::newRow("format 1") << "format 1" << many << gone << list;
        QTest::newRow("format 4, StormLib's compaction") << "format 4" << many << gone << list;
        // The deleted file lies first: the others move, two of them compressed, with sector
        // checksums and encrypted for their place, one of these and a plain one named by nothing.
        const std::uint32_t placed = 0x04030200;
        QTest::newRow("map without its list")
            << "map"
            << QList<StoredFile>{{"gone.bin", Noise(60000, 1), 0}, {"named.txt", TextData(20000, 'n'), placed},
                                 {"hidden.txt", TextData(30000, 'h'), placed}, {"plain.bin", Noise(5000, 2), 0}}
            << QList<QByteArray>{"gone.bin"} << QByteArray("gone.bin\nnamed.txt\n");
    }
    void compactGivesBackTheRoom()
    {
        QFETCH(QString, kind);
        QFETCH(QList<StoredFile>, files);
        QFETCH(QList<QByteArray>, gone);
        QFETCH(QByteArray, names);
        const QString folder = CaseFolder(dir.path()), archive = folder + "/compact.mpq", fresh = folder + "/fresh.mpq";
        QList<StoredFile> kept;
        for (const StoredFile &file : files)
            if (!gone.contains(file.name)) kept.append(file);
        QVERIFY(MakeKind(kind, archive, files) && MakeKind(kind, fresh, kept));
        BatchTrace trace;
        QCOMPARE(DeleteStoredFiles(archive, gone, 2048, trace).deleted, int(gone.size()));
        const auto contents = [&] {
            QMap<QString, QByteArray> read;
            for (const ListedFile &file : List(archive, names.toStdString()))
                read[QString::fromStdString(file.StoredName)] = ReadStored(archive, file.StoredName);
            return read;
        };
        const QMap<QString, QByteArray> before = contents();
        const QByteArray front = ReadFile(archive).left(kind == "map" ? 512 : 0);
        CollectingPorts ports;
        NoEvents events;
        ListingOptions options;
        options.listFiles = WriteFile(folder + "/list.txt", names) + "\r\n";
        const CompactReport report = CompactArchive(archive, options, ports, events);
        QCOMPARE(report.archive, Refusal::None);
        QVERIFY2(10 * report.sizeAfter <= 12 * QFileInfo(fresh).size(), qPrintable(QString::number(report.sizeAfter)));
        QVERIFY(ReadFile(archive).startsWith(front));
        QCOMPARE(contents(), before);
        for (const StoredFile &file : kept) QVERIFY2(before.values().contains(file.data), file.name);
        QVERIFY(VerifyArchive(archive, options, ports, ports, events).Sound());
        QCOMPARE(DeleteStoredFiles(archive, {kept.first().name}, 2048, trace).deleted, 1);
        QCOMPARE(contents().size(), before.size() - 1);
    }

    // A change replaces or rewrites the archive itself: it keeps its mode, and through a link the
    // file the link points to changes while the link stays a link. A link that leads nowhere is
    // refused and leads nowhere after it.
    void changesKeepTheFileAndItsLinks_data()
    {
        QTest::addColumn<QString>("change");
        QTest::addColumn<QString>("reach");  // "file", "link" or "dangling link"
        QTest::addColumn<Refusal>("refusal");
        for (const char *change : {"add", "delete", "rename", "compact"}) {
            QTest::addRow("%s, mode 0600", change) << change << "file" << Refusal::None;
            QTest::addRow("%s through a link", change) << change << "link" << Refusal::None;
        }
        QTest::newRow("add through a dangling link") << "add" << "dangling link" << Refusal::NotCreatable;
        QTest::newRow("delete through a dangling link") << "delete" << "dangling link" << Refusal::NotCreatable;
    }
    void changesKeepTheFileAndItsLinks()
    {
        QFETCH(QString, change);
        QFETCH(QString, reach);
        const QString folder = CaseFolder(dir.path()), real = folder + "/real/map.w3x", link = folder + "/link.w3x";
        if (reach != "dangling link") {
            QVERIFY(MakeArchive(real, {{"a.txt", Noise(40000, 1)}, {"b.txt", Noise(40000, 2)}}, folder + "/src"));
            QVERIFY(QFile::setPermissions(real, QFile::ReadOwner | QFile::WriteOwner));
        }
        if (reach != "file") QVERIFY(QFile::link(reach == "link" ? real : folder + "/real/gone.w3x", link));
        const QString used = reach == "file" ? real : link;
        const QByteArray before = ReadFile(real);
        BatchTrace trace;
        NoEvents events;
        Refusal got = Refusal::None;
        if (change == "add") {
            WriteFile(folder + "/c.txt", "new");
            got = AddFiles(used, {"c.txt"}, folder, {}, AppConfig{}, trace, events).archive;
        } else if (change == "delete") {
            got = DeleteStoredFiles(used, {"a.txt"}, 64, trace).archive;
        } else if (change == "rename") {
            got = RenameStoredFile(used, "a.txt", "z.txt", 64);
        } else {
            QCOMPARE(DeleteStoredFiles(used, {"a.txt"}, 64, trace).deleted, 1);
            CollectingPorts ports;
            got = CompactArchive(used, ListingOptions{}, ports, events).archive;
        }
        QTEST(got, "refusal");
        if (reach == "dangling link") {
            QVERIFY(QFileInfo(link).isSymLink() && !QFileInfo::exists(link) && !QFileInfo::exists(real));
            return;
        }
        QVERIFY(ReadFile(real) != before);
        const QStringList names = [&] {
            QStringList listed;
            for (const ListedFile &file : List(real, InternalList(real))) listed << QString::fromStdString(file.StoredName);
            listed.sort();
            return listed;
        }();
        const QMap<QString, QStringList> expected{{"add", {"(listfile)", "a.txt", "b.txt", "c.txt"}},
            {"delete", {"(listfile)", "b.txt"}}, {"rename", {"(listfile)", "b.txt", "z.txt"}},
            {"compact", {"(listfile)", "b.txt"}}};
        QCOMPARE(names, expected[change]);
        struct stat st {};
        QVERIFY(::stat(QFile::encodeName(real).constData(), &st) == 0);
        QCOMPARE(st.st_mode & 07777, 0600u);
        if (reach == "link") QCOMPARE(QFileInfo(link).symLinkTarget(), real);
    }

    // An archive whose internal files, which an update's open reads, keep the engine busy for
    // ever or crash it: an add is refused as damaged, and the archive is left as it was.
    void anUpdateThatStopsTheEngineChangesNothing_data()
    {
        QTest::addColumn<HandFile>("damaged");
        QTest::newRow("list in endless bzip2") << EndlessBzip2File("(listfile)");
        QTest::newRow("attributes in broken Huffman") << BrokenHuffmanFile("(attributes)");
    }
    void anUpdateThatStopsTheEngineChangesNothing()
    {
        QFETCH(HandFile, damaged);
        const QString folder = CaseFolder(dir.path());
        const QString archive = WriteFile(folder + "/stuck.mpq", HandMadeArchive(8, {damaged, {"a.txt", "aaa"}}));
        WriteFile(folder + "/new.txt", "new");
        const QByteArray before = ReadFile(archive);
        BatchTrace trace;
        const AddReport report = AddFiles(archive, {"new.txt"}, folder, {}, AppConfig{}, trace, trace);
        QCOMPARE(report.archive, Refusal::Damaged);
        QCOMPARE(ReadFile(archive), before);
        QCOMPARE(trace.events.last(), archive + " è danneggiato: la sua lettura ha fermato il motore");
    }

    // A compaction that cannot finish leaves every byte of the archive.
    void compactFailsWhole_data()
    {
        QTest::addColumn<QString>("why");
        QTest::addColumn<Refusal>("refusal");
        QTest::newRow("full disk") << "full disk" << Refusal::ArchiveNotWritten;
        QTest::newRow("read-only folder") << "read-only" << Refusal::NotWritable;
        QTest::newRow("a file encrypted for its place without a name") << "nameless" << Refusal::Nameless;
        QTest::newRow("cancelled") << "cancelled" << Refusal::ArchiveNotWritten;
    }
    void compactFailsWhole()
    {
        QFETCH(QString, why);
        QFETCH(Refusal, refusal);
        const QString folder = CaseFolder(dir.path());
        // Root writes whatever the permissions say: a read-only mount stops it.
        const bool mount = why == "read-only" && ::geteuid() == 0;
        if (mount && QProcess::execute("mount", {"-t", "tmpfs", "tmpfs", folder}) != 0) QSKIP("no file system to mount");
        const auto unmount = qScopeGuard([&] { if (mount) QProcess::execute("umount", {folder}); });
        QString archive = folder + "/a.mpq";
        // "other.txt" moves, and neither a name nor its bytes give its key.
        if (why == "nameless")
            archive = WriteFile(archive, HandMadeArchive(16, {{"gone.txt", "g", 0xFFFFFFFE, 0}, {"named.txt", "a"},
                                                              {"other.txt", Noise(400, 3), 0xFFFFFFFF, 0x80030000}}));
        else
            QVERIFY(MakeArchive(archive, {{"a.txt", Noise(40000, 1)}, {"b.txt", Noise(40000, 2)}}, folder + "-src"));
        if (why != "nameless") {
            BatchTrace trace;
            QCOMPARE(DeleteStoredFiles(archive, {"a.txt"}, 64, trace).deleted, 1);
        }
        const QByteArray before = ReadFile(archive);
        CollectingPorts ports;
        ListingOptions options;
        options.listFiles = WriteFile(folder + "-list.txt", "named.txt\r\n") + "\r\n";  // "other.txt" stays nameless
        CompactReport report;
        {
            const FileSizeLimit limit(why == "full disk" ? rlim_t(before.size() / 2) : RLIM_INFINITY);
            if (why == "read-only" && mount) QVERIFY(QProcess::execute("mount", {"-o", "remount,ro", folder}) == 0);
            else if (why == "read-only") QFile::setPermissions(folder, QFile::ReadOwner | QFile::ExeOwner);
            NoEvents goOn;
            CancelAtOnce cancel;
            report = CompactArchive(archive, options, ports, why == "cancelled" ? static_cast<EventQueue &>(cancel) : goOn);
            QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        }
        QCOMPARE(report.archive, refusal);
        QCOMPARE(ReadFile(archive), before);
        QCOMPARE(CompactCopies(folder), QStringList());  // no copy left behind
        if (why == "nameless") QCOMPARE(report.nameless.size(), 1);
        QCOMPARE(report.cancelled, why == "cancelled");
    }

    // A compaction killed halfway leaves the archive as it was; the copy it
    // left goes with the next compaction in the folder.
    void compactKilledHalfway()
    {
        const QString folder = CaseFolder(dir.path()), archive = folder + "/a.mpq";
        QList<StoredFile> files;
        for (int i = 0; i < 200; ++i) files.append({"f" + QByteArray::number(i), Noise(5000, quint32(i))});
        QVERIFY(MakeArchive(archive, files, folder + "-src", 512));
        BatchTrace trace;
        QCOMPARE(DeleteStoredFiles(archive, {"f0"}, 512, trace).deleted, 1);
        const QByteArray before = ReadFile(archive);
        int halfway[2];
        QVERIFY(::pipe(halfway) == 0);
        const pid_t compacting = ::fork();
        if (compacting == 0) {
            // Tells, once files move, that it is halfway; then waits to be killed.
            struct Halfway : NoEvents {
                int tell;
                void Yield() override { (void)!::write(tell, "h", 1), ::pause(); }
            } events;
            events.tell = halfway[1];
            CollectingPorts ports;
            CompactArchive(archive, ListingOptions{}, ports, events);
            ::_exit(0);
        }
        ::close(halfway[1]);
        char told = 0;
        const ssize_t heard = ::read(halfway[0], &told, 1);
        ::close(halfway[0]);
        ::kill(compacting, SIGKILL);
        ::waitpid(compacting, nullptr, 0);
        QCOMPARE(heard, ssize_t(1));
        QCOMPARE(ReadFile(archive), before);
        const QStringList left = CompactCopies(folder).filter(QRegularExpression("mpq$"));
        QCOMPARE(left.size(), 1);
        QTRY_VERIFY(!Locked(folder + "/" + left.first()));  // the compacting process died with it

        CollectingPorts ports;
        NoEvents events;
        QCOMPARE(CompactArchive(archive, ListingOptions{}, ports, events).archive, Refusal::None);
        QCOMPARE(CompactCopies(folder), QStringList());
        QCOMPARE(ReadStored(archive, "f199"), files.last().data);
    }
};

QTEST_GUILESS_MAIN(TestEditing)
#include "test_editing.moc"
