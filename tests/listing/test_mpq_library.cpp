// The engine boundary, proved on archives the tests make: through our own
// layer, through smpq, and byte by byte.
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <set>

#include "support/archive_factory.h"

using namespace fixtures;

namespace {

bool IsUnknown(const std::string &name) { return name.rfind(mpq::kUnknownPrefix, 0) == 0; }

std::set<std::string> Names(const std::vector<mpq::FileListEntry> &entries)
{
    std::set<std::string> names;
    for (const auto &e : entries) names.insert(e.StoredName);
    return names;
}

const mpq::FileListEntry *Find(const std::vector<mpq::FileListEntry> &entries, const std::string &name)
{
    auto it = std::find_if(entries.begin(), entries.end(),
                           [&](const mpq::FileListEntry &e) { return e.StoredName == name; });
    return it == entries.end() ? nullptr : &*it;
}

std::int64_t HashSlots(const QString &path)
{
    return mpq::SFileGetFileInfo(mpq::SFileOpenArchive(Bytes(path)).get(), mpq::SFILE_INFO_HASH_TABLE_SIZE);
}

}  // namespace

class TestMpqLibrary : public QObject {
    Q_OBJECT
    QTemporaryDir dir;
    QString Path(const QString &name) const { return dir.filePath(name); }

private slots:
    void hashSlotsOfThingsThatAreNoArchive_data();
    void hashSlotsOfThingsThatAreNoArchive();
    void hashSlotsOfHandMadeArchives_data();
    void hashSlotsOfHandMadeArchives();
    void sizeOfStoredFileAndOfNothing();
    void listingNamesFromInternalList();
    void listingWithoutNamesGivesOpenableUnknowns();
    void externalListFileNamedByPath();
    void engineNamingNeverLeaks();
    void listingFillsFromIndexZeroAndStopsAtTheArraySize();
    void handMadeArchiveWithBrokenEntries();
    void flagsOfStoredFiles_data();
    void flagsOfStoredFiles();
    void smpqFlags_data();
    void smpqFlags();
    void openForUpdateRefusals_data();
    void openForUpdateRefusals();
    void createTakesOverEmptyFileWithMaximumSlots();
    void createNeverOverwritesAnArchive();
    void absurdMaximumStillMakesAUsableArchive();
    void addingToArchiveWithoutListKeepsNames();
    void fullHashTableGrows();
    void replaceFlagDecidesOverAnExistingName();
    void deleteAndRenameAreListed();
    void deleteAndRenameOfUnknownEntries();
    void waveQualities();
    void namesAreBytes();
    void versionString();
};

void TestMpqLibrary::hashSlotsOfThingsThatAreNoArchive_data()
{
    QTest::addColumn<QString>("kind");
    QTest::newRow("empty file") << "empty";
    QTest::newRow("text file") << "text";
    QTest::newRow("folder") << "folder";
    QTest::newRow("missing path") << "missing";
    QTest::newRow("empty path") << "";
}

void TestMpqLibrary::hashSlotsOfThingsThatAreNoArchive()
{
    QFETCH(QString, kind);
    QString path;
    if (kind == "empty") path = WriteFile(Path("empty.mpq"), {});
    if (kind == "text") path = WriteFile(Path("notes.txt"), "just some text\r\nand more\r\n");
    if (kind == "folder") { path = Path("folder.mpq"); QDir().mkpath(path); }
    if (kind == "missing") path = Path("nowhere/none.mpq");
    const mpq::Archive archive = mpq::SFileOpenArchive(Bytes(path));
    QVERIFY(!archive);
    mpq::MpqHandle h = archive.get();
    QVERIFY(mpq::SFileGetFileInfo(h, mpq::SFILE_INFO_HASH_TABLE_SIZE) < 0);
    std::vector<mpq::FileListEntry> entries(4);
    QVERIFY(!mpq::SFileListFiles(h, "", entries, 0));
    QVERIFY(std::all_of(entries.begin(), entries.end(), [](auto &e) { return e.FileExists == 0; }));
    const mpq::StoredFile f = mpq::SFileOpenFileEx(h, "(ListFile)");
    QVERIFY(!f);
    QVERIFY(mpq::SFileGetFileInfo(f.get(), mpq::SFILE_INFO_SIZE) < 0);
}

void TestMpqLibrary::hashSlotsOfHandMadeArchives_data()
{
    QTest::addColumn<quint32>("slotCount");
    QTest::addColumn<int>("files");
    QTest::newRow("one slot") << 1u << 1;
    QTest::newRow("sixteen slots") << 16u << 5;
    QTest::newRow("4096 slots") << 4096u << 3;
}

void TestMpqLibrary::hashSlotsOfHandMadeArchives()
{
    QFETCH(quint32, slotCount);
    QFETCH(int, files);
    QList<HandFile> content;
    for (int i = 0; i < files; ++i)
        content.append({QByteArray("file") + QByteArray::number(i) + ".txt", TextData(100 + i)});
    const QString path = WriteFile(Path(QStringLiteral("hand%1.mpq").arg(slotCount)), HandMadeArchive(slotCount, content));
    QCOMPARE(HashSlots(path), qint64(slotCount));
    const auto entries = List(path, "");
    QCOMPARE(int(entries.size()), files);
    for (int i = 0; i < files; ++i) {
        const std::string name = content[i].name.toStdString();
        QCOMPARE(ReadStored(path, name), content[i].data);
    }
}

void TestMpqLibrary::sizeOfStoredFileAndOfNothing()
{
    const QString path = Path("sizes.mpq");
    QVERIFY(MakeArchive(path, {{"units\\a.txt", TextData(5000)}, {"empty.txt", {}}}, Path("src-sizes")));
    const mpq::Archive h = mpq::SFileOpenArchive(Bytes(path));
    QVERIFY(h);
    mpq::StoredFile f = mpq::SFileOpenFileEx(h.get(), "UNITS\\A.TXT");  // names are blind to case
    QVERIFY(f);
    QCOMPARE(mpq::SFileGetFileInfo(f.get(), mpq::SFILE_INFO_SIZE), qint64(5000));
    QVERIFY(mpq::SFileGetFileInfo(f.get(), mpq::SFILE_INFO_COMPRESSED_SIZE) < 5000);
    f = mpq::SFileOpenFileEx(h.get(), "empty.txt");
    QVERIFY(f);
    QCOMPARE(mpq::SFileGetFileInfo(f.get(), mpq::SFILE_INFO_SIZE), qint64(0));
    char buffer[3] = {1, 2, 3};
    std::uint32_t read = 7;
    mpq::SFileReadFile(f.get(), buffer, 3, &read, nullptr);
    QCOMPARE(read, 0u);
    f = mpq::SFileOpenFileEx(h.get(), "missing.txt");
    QVERIFY(!f);
}

void TestMpqLibrary::listingNamesFromInternalList()
{
    const QString path = Path("named.mpq");
    QVERIFY(MakeArchive(path, {{"war3map.j", TextData(900)}, {"units\\footman.mdx", TextData(300, 'f')},
                               {"Sound\\intro.wav", TextData(40, 'w')}}, Path("src-named")));
    const std::string list = InternalList(path);
    QVERIFY(list.find("war3map.j") != std::string::npos);
    const auto entries = List(path, list);
    const auto names = Names(entries);
    QVERIFY(names.count("war3map.j"));
    QVERIFY(names.count("units\\footman.mdx"));
    QVERIFY(names.count("Sound\\intro.wav"));
    QCOMPARE(Find(entries, "war3map.j")->FullSize, 900u);
    QCOMPARE(Find(entries, "units\\footman.mdx")->FullSize, 300u);
}

void TestMpqLibrary::listingWithoutNamesGivesOpenableUnknowns()
{
    const QString path = Path("nameless.mpq");
    const QList<StoredFile> files = {{"a.txt", TextData(10, 'a')}, {"b.txt", TextData(2000, 'b')},
                                     {"c\\d.bin", QByteArray("MPQ\x1a\x00", 5)}};
    QVERIFY(MakeArchive(path, files, Path("src-nameless")));
    const auto entries = List(path, "");
    QCOMPARE(int(entries.size()), 4);  // the three and the internal list
    std::set<std::string> seen;
    for (const auto &e : entries) {
        QVERIFY2(IsUnknown(e.StoredName), e.StoredName.c_str());
        QVERIFY(e.StoredName.find('\\') != std::string::npos);
        QVERIFY(seen.insert(e.StoredName).second);
        bool ok = false;
        const QByteArray bytes = ReadStored(path, e.StoredName, &ok);
        QVERIFY(ok);
        QCOMPARE(quint32(bytes.size()), e.FullSize);
        QCOMPARE(ReadStored(path, e.StoredName + ".wav"), bytes);  // an added extension still opens
    }
    // Each original's bytes come out of exactly one unknown entry.
    for (const StoredFile &f : files) {
        int matches = 0;
        for (const auto &e : entries) matches += ReadStored(path, e.StoredName) == f.data;
        QCOMPARE(matches, 1);
    }
    bool ok = true;
    ReadStored(path, std::string(mpq::kUnknownPrefix) + "unknown99999999", &ok);
    QVERIFY(!ok);
}

void TestMpqLibrary::externalListFileNamedByPath()
{
    const QString path = Path("external.mpq");
    QVERIFY(MakeArchive(path, {{"maps\\one.w3x", TextData(50)}, {"maps\\two.w3x", TextData(60)}},
                        Path("src-external")));
    const QString listFile = WriteFile(Path("lists/my list.txt"), "maps\\one.w3x\r\nnot\\stored.txt\n");
    const std::string listText = "maps\\two.w3x\r\n" + Bytes(listFile) + "\r\n";
    const auto names = Names(List(path, listText));
    QVERIFY(names.count("maps\\one.w3x"));
    QVERIFY(names.count("maps\\two.w3x"));
    QVERIFY(!names.count("not\\stored.txt"));
    // A path that has gone names nothing, and breaks nothing.
    QFile::remove(listFile);
    const auto after = Names(List(path, listText));
    QVERIFY(after.count("maps\\two.w3x"));
    QVERIFY(!after.count("maps\\one.w3x"));
}

void TestMpqLibrary::engineNamingNeverLeaks()
{
    if (!HaveSmpq()) QSKIP("smpq is not installed");
    const QString work = Path("smpq-leak");
    WriteFile(work + "/a.txt", TextData(100));
    WriteFile(work + "/sub/b.txt", TextData(200));
    QVERIFY(RunSmpq({"-c", "-M", "1", "made.mpq", "a.txt", "sub/b.txt"}, work));
    const QString path = work + "/made.mpq";
    // smpq writes "(listfile)" and "(attributes)"; with no names given, none of
    // them may come back under the engine's own names.
    for (const auto &e : List(path, "")) QVERIFY2(IsUnknown(e.StoredName), e.StoredName.c_str());
    const auto named = Names(List(path, InternalList(path)));
    QVERIFY(named.count("a.txt"));
    QVERIFY(named.count("sub\\b.txt"));  // smpq stores folders with "\\"
    QVERIFY(!named.count("(attributes)"));  // smpq's list does not name it
}

void TestMpqLibrary::listingFillsFromIndexZeroAndStopsAtTheArraySize()
{
    const QString path = Path("fill.mpq");
    QVERIFY(MakeArchive(path, {{"1.txt", "1"}, {"2.txt", "22"}, {"3.txt", "333"}}, Path("src-fill"), 16));
    const mpq::Archive archive = mpq::SFileOpenArchive(Bytes(path));
    QVERIFY(archive);
    mpq::MpqHandle h = archive.get();
    std::vector<mpq::FileListEntry> entries(17);
    QVERIFY(mpq::SFileListFiles(h, "1.txt\r\n2.txt\r\n3.txt", entries, 0));
    QVERIFY(std::all_of(entries.begin(), entries.begin() + 4, [](auto &e) { return e.FileExists != 0; }));
    QVERIFY(std::all_of(entries.begin() + 4, entries.end(), [](auto &e) { return e.FileExists == 0; }));
    std::vector<mpq::FileListEntry> small(2);
    QVERIFY(mpq::SFileListFiles(h, "", small, 0));
    QVERIFY(small[0].FileExists && small[1].FileExists);
}

void TestMpqLibrary::handMadeArchiveWithBrokenEntries()
{
    // A hash entry that points past the block table, and an archive behind a
    // 512-byte map header: the broken entry is skipped, the rest lists.
    QList<HandFile> files = {{"good.txt", TextData(70)}, {"bad.txt", TextData(80), 0x0FFFFFF0},
                             {"other.txt", TextData(90)}};
    const QString path = WriteFile(Path("broken.w3x"), HandMadeArchive(8, files, QByteArray(512, 'H')));
    const auto entries = List(path, "good.txt\nbad.txt\nother.txt\n");
    const auto names = Names(entries);
    QCOMPARE(int(entries.size()), 2);
    QVERIFY(names.count("good.txt") && names.count("other.txt"));
    QCOMPARE(ReadStored(path, "other.txt"), files[2].data);
    // Random bytes and a truncated archive: no crash, nothing listed.
    QByteArray damaged = HandMadeArchive(8, files);
    const QString cut = WriteFile(Path("cut.mpq"), damaged.left(40));
    QVERIFY(List(cut, "good.txt").size() <= 3);
    QByteArray noise(4096, '\0');
    for (int i = 0; i < noise.size(); ++i) noise[i] = char((i * 7919) & 0xFF);
    noise.replace(0, 4, "MPQ\x1a");
    QVERIFY(List(WriteFile(Path("noise.mpq"), noise), "x").size() <= 4096);
}

void TestMpqLibrary::flagsOfStoredFiles_data()
{
    QTest::addColumn<quint32>("flags");
    QTest::addColumn<quint32>("type");
    QTest::addColumn<bool>("compressed");
    QTest::addColumn<bool>("encrypted");
    QTest::newRow("none") << 0u << mpq::MAFA_COMPRESS_NONE << false << false;
    QTest::newRow("compress flag, type none") << mpq::MAFA_COMPRESS << mpq::MAFA_COMPRESS_NONE << false << false;
    QTest::newRow("standard") << mpq::MAFA_COMPRESS << mpq::MAFA_COMPRESS_STANDARD << true << false;
    QTest::newRow("deflate") << mpq::MAFA_COMPRESS << mpq::MAFA_COMPRESS_DEFLATE << true << false;
    QTest::newRow("encrypted plain") << mpq::MAFA_ENCRYPT << mpq::MAFA_COMPRESS_NONE << false << true;
    QTest::newRow("encrypted deflate") << (mpq::MAFA_COMPRESS | mpq::MAFA_ENCRYPT) << mpq::MAFA_COMPRESS_DEFLATE << true << true;
}

void TestMpqLibrary::flagsOfStoredFiles()
{
    QFETCH(quint32, flags);
    QFETCH(quint32, type);
    QFETCH(bool, compressed);
    QFETCH(bool, encrypted);
    const QString path = Path(QStringLiteral("flags-%1-%2.mpq").arg(flags).arg(type));
    const QByteArray data = TextData(20000);
    StoredFile file{"data\\file.txt", data, flags, type};
    QVERIFY(MakeArchive(path, {file}, Path("src-flags")));
    const auto entries = List(path, "data\\file.txt");
    const auto *e = Find(entries, "data\\file.txt");
    QVERIFY(e != nullptr);
    QCOMPARE(bool(e->Flags & (mpq::MAFA_FLAG_COMPRESS | mpq::MAFA_FLAG_IMPLODE)), compressed);
    QCOMPARE(bool(e->Flags & mpq::MAFA_FLAG_ENCRYPT), encrypted);
    QCOMPARE(e->FullSize, quint32(data.size()));
    if (compressed) QVERIFY(e->CompressedSize < e->FullSize / 4);
    else QCOMPARE(e->CompressedSize, e->FullSize);
    QCOMPARE(ReadStored(path, "data\\file.txt"), data);
}

void TestMpqLibrary::smpqFlags_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<quint32>("mustHave");
    QTest::addColumn<quint32>("mustLack");
    QTest::newRow("plain") << QStringList{"-C", "none"} << 0u << (mpq::MAFA_FLAG_COMPRESS | mpq::MAFA_FLAG_ENCRYPT);
    QTest::newRow("pkware") << QStringList{"-C", "PKWARE"} << mpq::MAFA_FLAG_COMPRESS << mpq::MAFA_FLAG_ENCRYPT;
    QTest::newRow("encrypted") << QStringList{"-E"} << mpq::MAFA_FLAG_ENCRYPT << mpq::MAFA_FLAG_MODCRYPTKEY;
    QTest::newRow("key fix") << QStringList{"-E", "-F"} << (mpq::MAFA_FLAG_ENCRYPT | mpq::MAFA_FLAG_MODCRYPTKEY) << 0u;
}

void TestMpqLibrary::smpqFlags()
{
    if (!HaveSmpq()) QSKIP("smpq is not installed");
    QFETCH(QStringList, options);
    QFETCH(quint32, mustHave);
    QFETCH(quint32, mustLack);
    const QString work = Path("smpq-flags-" + QString(QTest::currentDataTag()).replace(' ', '-'));
    const QByteArray data = TextData(9000);
    WriteFile(work + "/f.txt", data);
    QVERIFY(RunSmpq({"-c", "-M", "1", "f.mpq"}, work));
    QVERIFY(RunSmpq(QStringList{"-a"} + options + QStringList{"f.mpq", "f.txt"}, work));
    const auto entries = List(work + "/f.mpq", "f.txt");
    const auto *e = Find(entries, "f.txt");
    QVERIFY(e != nullptr);
    QCOMPARE(e->Flags & mustHave, mustHave);
    QCOMPARE(e->Flags & mustLack, 0u);
    QCOMPARE(ReadStored(work + "/f.mpq", "f.txt"), data);
}

void TestMpqLibrary::openForUpdateRefusals_data()
{
    QTest::addColumn<QString>("kind");
    QTest::addColumn<quint32>("flags");
    QTest::addColumn<bool>("opens");
    const quint32 open = mpq::MOAU_OPEN_EXISTING | mpq::MOAU_MAINTAIN_LISTFILE;
    const quint32 create = mpq::MOAU_CREATE_NEW | mpq::MOAU_MAINTAIN_LISTFILE;
    QTest::newRow("open empty file") << "empty" << open << false;
    QTest::newRow("open text file") << "text" << open << false;
    QTest::newRow("open missing") << "missing" << open << false;
    QTest::newRow("open folder") << "folder" << open << false;
    QTest::newRow("open archive") << "archive" << open << true;
    QTest::newRow("create over text file") << "text" << create << false;
    QTest::newRow("create over folder") << "folder" << create << false;
    QTest::newRow("create missing") << "missing" << create << true;
    QTest::newRow("create over empty file") << "empty" << create << true;
}

void TestMpqLibrary::openForUpdateRefusals()
{
    QFETCH(QString, kind);
    QFETCH(quint32, flags);
    QFETCH(bool, opens);
    const QString tag = QString(QTest::currentDataTag()).replace(' ', '-');
    QString path = Path(tag + ".mpq");
    QByteArray before;
    if (kind == "empty") WriteFile(path, {});
    if (kind == "text") before = QFile::exists(WriteFile(path, "plain text, keep me")) ? ReadFile(path) : QByteArray();
    if (kind == "folder") QDir().mkpath(path);
    if (kind == "archive") QVERIFY(MakeArchive(path, {{"x.txt", "x"}}, Path("src-" + tag)));
    mpq::Update update = mpq::MpqOpenArchiveForUpdate(Bytes(path), flags, 32);
    QCOMPARE(bool(update), opens);
    if (update) QVERIFY(update.Close());
    if (kind == "text") QCOMPARE(ReadFile(path), before);  // never written over
}

void TestMpqLibrary::createTakesOverEmptyFileWithMaximumSlots()
{
    const QString path = WriteFile(Path("new.mpq"), {});
    mpq::Update update = mpq::MpqOpenArchiveForUpdate(Bytes(path), mpq::MOAU_OPEN_EXISTING | 1, 256);
    QVERIFY(!update);
    update = mpq::MpqOpenArchiveForUpdate(Bytes(path), mpq::MOAU_MAINTAIN_LISTFILE, 256);
    QVERIFY(update);
    const QString source = WriteFile(Path("new-src/readme.txt"), TextData(321));
    QVERIFY(mpq::MpqAddFileToArchiveEx(update.get(), Bytes(source), "docs\\readme.txt", mpq::MAFA_COMPRESS,
                                       mpq::MAFA_COMPRESS_STANDARD, -1));
    QVERIFY(update.Close());
    QCOMPARE(HashSlots(path), qint64(256));
    const auto names = Names(List(path, InternalList(path)));
    QVERIFY(names.count("docs\\readme.txt"));
}

void TestMpqLibrary::createNeverOverwritesAnArchive()
{
    const QString path = Path("keep.mpq");
    QVERIFY(MakeArchive(path, {{"keep.txt", "precious"}}, Path("src-keep")));
    const QByteArray before = ReadFile(path);
    QVERIFY(!mpq::MpqOpenArchiveForUpdate(Bytes(path), mpq::MOAU_MAINTAIN_LISTFILE, 16));
    QCOMPARE(ReadFile(path), before);
}

// StormLib itself fails or crashes on tables of 2^27 slots and more.
void TestMpqLibrary::absurdMaximumStillMakesAUsableArchive()
{
    for (const std::uint32_t maximum : {0xFFFFFFFEu, 0x7FFFFFFFu, 1u << 27}) {
        const QString path = Path(QStringLiteral("absurd-%1.mpq").arg(maximum));
        mpq::Update update = mpq::MpqOpenArchiveForUpdate(Bytes(path), mpq::MOAU_MAINTAIN_LISTFILE, maximum);
        QVERIFY(update);
        const QString source = WriteFile(Path("absurd-src/a.txt"), TextData(100));
        QVERIFY(mpq::MpqAddFileToArchiveEx(update.get(), Bytes(source), "a.txt", mpq::MAFA_COMPRESS,
                                           mpq::MAFA_COMPRESS_STANDARD, -1));
        QVERIFY(update.Close());
        QCOMPARE(HashSlots(path), qint64(1) << 20);
        QCOMPARE(ReadStored(path, "a.txt"), TextData(100));
    }
}

void TestMpqLibrary::addingToArchiveWithoutListKeepsNames()
{
    // An archive written by another tool, without an internal list.
    const QString path = WriteFile(Path("bare.mpq"), HandMadeArchive(16, {{"old.txt", TextData(100)}}));
    QVERIFY(InternalList(path).empty());
    mpq::Update update = mpq::MpqOpenArchiveForUpdate(Bytes(path), mpq::MOAU_OPEN_EXISTING | 1, 1024);
    QVERIFY(update);
    const QString source = WriteFile(Path("bare-src/new.txt"), TextData(200));
    QVERIFY(mpq::MpqAddFileToArchiveEx(update.get(), Bytes(source), "added\\new.txt", mpq::MAFA_COMPRESS,
                                       mpq::MAFA_COMPRESS_DEFLATE, 9));
    QVERIFY(update.Close());
    const std::string list = InternalList(path);
    QVERIFY(list.find("added\\new.txt") != std::string::npos);
    const auto entries = List(path, list);
    QVERIFY(Find(entries, "added\\new.txt") != nullptr);
    // The old file stays, nameless, with its bytes.
    int unknowns = 0;
    for (const auto &e : entries)
        if (IsUnknown(e.StoredName) && ReadStored(path, e.StoredName) == TextData(100)) ++unknowns;
    QCOMPARE(unknowns, 1);
    QCOMPARE(ReadStored(path, "old.txt"), TextData(100));
}

void TestMpqLibrary::fullHashTableGrows()
{
    const QString path = Path("grow.mpq");
    QList<StoredFile> files;
    for (int i = 0; i < 40; ++i) files.append({QByteArray("f") + QByteArray::number(i) + ".txt", TextData(10 + i)});
    QVERIFY(MakeArchive(path, files, Path("src-grow"), 4));
    const auto entries = List(path, InternalList(path));
    for (const StoredFile &f : files) {
        const auto *e = Find(entries, f.name.toStdString());
        QVERIFY2(e != nullptr, f.name.constData());
        QCOMPARE(e->FullSize, quint32(f.data.size()));
    }
}

void TestMpqLibrary::replaceFlagDecidesOverAnExistingName()
{
    const QString path = Path("replace.mpq");
    QVERIFY(MakeArchive(path, {{"x.txt", "first"}}, Path("src-replace")));
    const QString second = WriteFile(Path("src-replace/second.txt"), "second version");
    mpq::Update update = mpq::MpqOpenArchiveForUpdate(Bytes(path), 5, 64);
    QVERIFY(!mpq::MpqAddFileToArchiveEx(update.get(), Bytes(second), "x.txt", 0, 0, -1));
    QVERIFY(update.Close());
    QCOMPARE(ReadStored(path, "x.txt"), QByteArray("first"));
    update = mpq::MpqOpenArchiveForUpdate(Bytes(path), 5, 64);
    QVERIFY(mpq::MpqAddFileToArchiveEx(update.get(), Bytes(second), "X.TXT", mpq::MAFA_REPLACE_EXISTING, 0, -1));
    QVERIFY(update.Close());
    QCOMPARE(ReadStored(path, "x.txt"), QByteArray("second version"));
    QCOMPARE(int(List(path, InternalList(path)).size()), 2);  // the file and the list, once each
}

void TestMpqLibrary::deleteAndRenameAreListed()
{
    const QString path = Path("edit.mpq");
    QVERIFY(MakeArchive(path, {{"keep.txt", TextData(11)}, {"gone.txt", TextData(22)},
                               {"old\\name.txt", TextData(33)}}, Path("src-edit")));
    mpq::Update update = mpq::MpqOpenArchiveForUpdate(Bytes(path), 5, 64);
    QVERIFY(mpq::MpqDeleteFile(update.get(), "gone.txt"));
    QVERIFY(mpq::MpqRenameFile(update.get(), "old\\name.txt", "new\\place\\name.txt"));
    QVERIFY(!mpq::MpqRenameFile(update.get(), "keep.txt", "new\\place\\name.txt"));  // the name is taken
    QVERIFY(!mpq::MpqDeleteFile(update.get(), "never.txt"));
    QVERIFY(update.Close());
    const std::string list = InternalList(path);
    QVERIFY(list.find("gone.txt") == std::string::npos);
    const auto entries = List(path, list);
    const auto names = Names(entries);
    QVERIFY(names.count("keep.txt") && names.count("new\\place\\name.txt"));
    QVERIFY(!names.count("gone.txt") && !names.count("old\\name.txt"));
    // Every file is named but the list itself, which names only the others.
    QCOMPARE(std::count_if(entries.begin(), entries.end(), [](auto &e) { return IsUnknown(e.StoredName); }), 1);
    QCOMPARE(ReadStored(path, "new\\place\\name.txt"), TextData(33));
    QCOMPARE(ReadStored(path, "keep.txt"), TextData(11));
}

void TestMpqLibrary::deleteAndRenameOfUnknownEntries()
{
    const QString path = Path("unknown-edit.mpq");
    QVERIFY(MakeArchive(path, {{"a.txt", TextData(101, 'a')}, {"b.txt", TextData(202, 'b')}}, Path("src-ue")));
    auto entries = List(path, "");
    std::string nameOfA, nameOfB;
    for (const auto &e : entries) {
        if (e.FullSize == 101) nameOfA = e.StoredName;
        if (e.FullSize == 202) nameOfB = e.StoredName;
    }
    QVERIFY(IsUnknown(nameOfA) && IsUnknown(nameOfB));
    mpq::Update update = mpq::MpqOpenArchiveForUpdate(Bytes(path), 5, 64);
    QVERIFY(mpq::MpqRenameFile(update.get(), nameOfA + ".txt", "found\\again.txt"));
    QVERIFY(update.Close());
    QCOMPARE(ReadStored(path, "found\\again.txt"), TextData(101, 'a'));
    QCOMPARE(ReadStored(path, "b.txt"), TextData(202, 'b'));
    entries = List(path, "");
    for (const auto &e : entries)
        if (e.FullSize == 202) nameOfB = e.StoredName;
    update = mpq::MpqOpenArchiveForUpdate(Bytes(path), 5, 64);
    QVERIFY(mpq::MpqDeleteFile(update.get(), nameOfB));
    QVERIFY(update.Close());
    bool ok = true;
    ReadStored(path, "b.txt", &ok);
    QVERIFY(!ok);
    QCOMPARE(ReadStored(path, "found\\again.txt"), TextData(101, 'a'));
}

void TestMpqLibrary::waveQualities()
{
    const QString path = Path("waves.mpq");
    const QString source = WriteFile(Path("src-waves/tone.wav"), WaveData(44100));
    mpq::Update update = mpq::MpqOpenArchiveForUpdate(Bytes(path), 1, 64);
    QVERIFY(update);
    for (std::uint32_t q : {mpq::MAWA_QUALITY_MEDIUM, mpq::MAWA_QUALITY_LOW, mpq::MAWA_QUALITY_HIGH})
        QVERIFY(mpq::MpqAddWaveToArchive(update.get(), Bytes(source), "q" + std::to_string(q) + ".wav",
                                         mpq::MAFA_COMPRESS, q));
    QVERIFY(update.Close());
    const auto entries = List(path, InternalList(path));
    const quint32 normal = Find(entries, "q0.wav")->CompressedSize;
    const quint32 smallest = Find(entries, "q1.wav")->CompressedSize;
    const quint32 best = Find(entries, "q2.wav")->CompressedSize;
    // The engine's normal and smallest wave compressions may coincide.
    QVERIFY2(smallest <= normal && normal < best,
             qPrintable(QStringLiteral("%1 %2 %3").arg(smallest).arg(normal).arg(best)));
    for (const char *name : {"q0.wav", "q1.wav", "q2.wav"}) {
        QCOMPARE(Find(entries, name)->FullSize, quint32(WaveData(44100).size()));
        QVERIFY(Find(entries, name)->Flags & mpq::MAFA_FLAG_COMPRESS);
    }
}

void TestMpqLibrary::namesAreBytes()
{
    const QString path = Path("bytes.mpq");
    const QByteArray latin = "Suoni\\caff\xe9.wav";          // Windows-1252
    const QByteArray utf8 = "Karten\\gr\xc3\xbc\xc3\x9f.txt";  // UTF-8
    QVERIFY(MakeArchive(path, {{latin, "one"}, {utf8, "two"}}, Path("src-bytes")));
    const auto names = Names(List(path, InternalList(path)));
    QVERIFY(names.count(latin.toStdString()));
    QVERIFY(names.count(utf8.toStdString()));
    QCOMPARE(ReadStored(path, latin.toStdString()), QByteArray("one"));
    QCOMPARE(ReadStored(path, utf8.toStdString()), QByteArray("two"));
}

void TestMpqLibrary::versionString()
{
    char buffer[64] = {};
    QVERIFY(mpq::SFMpqGetVersionString2(buffer, sizeof buffer));
    QVERIFY(QByteArray(buffer).startsWith("StormLib 9."));
    char tiny[4] = {'x', 'x', 'x', 'x'};
    QVERIFY(mpq::SFMpqGetVersionString2(tiny, sizeof tiny));
    QCOMPARE(tiny[3], '\0');
}

QTEST_GUILESS_MAIN(TestMpqLibrary)
#include "test_mpq_library.moc"
