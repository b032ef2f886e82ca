// The engine layer on archives the tests make (through the engine, through
// smpq, byte by byte): its naming, its updates and their journal, its guards
// against damaged and hostile archives, and the header scan.
#include <QtTest>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <functional>
#include <set>

#include <StormLib.h>

#include "mpq/mpq_guards.h"
#include "mpq/mpq_header.h"
#include "mpq/mpq_isolation.h"
#include "mpq/mpq_journal.h"
#include "mpq/mpq_library.h"
#include "mpq/mpq_shape.h"
#include "support/archive_factory.h"
#include "support/file_size_limit.h"

using namespace fixtures;

namespace {

bool IsUnknown(const std::string &name) { return name.rfind(mpq::kUnknownPrefix, 0) == 0; }
std::set<std::string> Names(const std::vector<ListedFile> &entries)
{
    std::set<std::string> names;
    for (const auto &e : entries) names.insert(e.StoredName);
    return names;
}

std::int64_t HashSlots(const QString &path)
{
    return mpq::SFileGetFileInfo(mpq::SFileOpenArchive(Bytes(path)).get(), mpq::SFILE_INFO_HASH_TABLE_SIZE);
}

bool Add(mpq::MpqHandle update, const QString &source, const std::string &name, std::uint32_t flags = mpq::MAFA_COMPRESS)
{
    return mpq::MpqAddFileToArchiveEx(update, Bytes(source), name, flags, mpq::MAFA_COMPRESS_STANDARD, -1);
}

// Runs `work` in a child process bound to 10 seconds and 1 GiB; its exit
// status, -1 when it did not end normally.
int InChild(const std::function<void()> &work)
{
    const pid_t child = ::fork();
    if (child == 0) {
#if !defined(ARCAVERA_ADDRESS_SANITIZER)
        const rlimit limit{rlim_t{1} << 30, rlim_t{1} << 30};
        ::setrlimit(RLIMIT_AS, &limit);
#endif
        ::alarm(10);
        work();
        ::_exit(0);
    }
    int status = 0;
    if (child < 0 || ::waitpid(child, &status, 0) != child || !WIFEXITED(status)) return -1;
    return WEXITSTATUS(status);
}

// Lists the archive with its internal list and reads every entry whole, in a
// child; the number of entries, or -1.
int ListAndReadInChild(const QString &path)
{
    return InChild([&] {
        const auto entries = List(path, InternalList(path));
        for (const auto &e : entries) ReadStored(path, e.StoredName);
        ::_exit(static_cast<int>(std::min<std::size_t>(entries.size(), 100)));
    });
}

QByteArray Word(quint32 value)
{
    const quint32 le = qToLittleEndian(value);
    return QByteArray(reinterpret_cast<const char *>(&le), 4);
}

// A file compressed in one sector that holds `block` (its compression byte first).
HandFile CompressedBlock(const QByteArray &name, const QByteArray &block)
{
    QByteArray data = Word(8) + Word(8 + quint32(block.size())) + block;
    const auto stored = quint32(data.size());
    data.resize(200, 'x');  // the full size: the sector unpacks to 200 bytes
    return HandFile{name, data, 0xFFFFFFFF, 0x80000200u, stored};  // exists, compressed
}

const HandFile kEmptySignature{"(signature)", QByteArray(72, 's'), 0xFFFFFFFF, 0};  // its block holds no file
const QByteArray kLzmaBlock = '\x12' + QByteArray(23, 'x');  // LZMA exists from format version 2 on

QList<StoredFile> Files(int count)
{
    QList<StoredFile> files;
    for (int n = 0; n < count; ++n) {
        StoredFile file{"file" + QByteArray::number(n) + ".txt", TextData(300 + 37 * n, char('a' + n % 20))};
        if (n % 3 == 0) file.flags |= mpq::MAFA_ENCRYPT;
        files.append(file);
    }
    return files;
}

// Every file of `files` is listed in the archive and reads back as it was.
bool Holds(const QString &archive, const QList<StoredFile> &files)
{
    const auto names = Names(List(archive, InternalList(archive)));
    return std::all_of(files.begin(), files.end(), [&](const StoredFile &file) {
        bool ok = false;
        return names.count(file.name.toStdString()) && ReadStored(archive, file.name.toStdString(), &ok) == file.data && ok;
    });
}

// `length` zero bytes with `pieces` written over them at their offsets.
QByteArray Layout(qint64 length, const QList<QPair<qint64, QByteArray>> &pieces)
{
    QByteArray bytes(length, '\0');
    for (const auto &[offset, piece] : pieces) bytes.replace(offset, piece.size(), piece);
    return bytes;
}

// A header's first 32 bytes: the signature, then the entry count at 28.
QByteArray Header(const char *signature, quint32 count)
{
    return Layout(28, {{0, QByteArray(signature, 4)}}) + Word(count);
}

// A file of an archive that StormLib writes for the shape tests, in the
// order it is written, each with a time of its own in "(attributes)".
struct Made {
    QByteArray name;
    QByteArray data;
    quint32 flags = MPQ_FILE_COMPRESS;
    quint32 compression = MPQ_COMPRESSION_ZLIB;
    quint16 locale = 0;
    bool listed = true;    // the listing's text names it
    bool removed = false;  // removed again before the archive closes: its slot stays deleted
    quint32 next = 0;      // the compression of the sectors after the first, when another
};
constexpr quint64 kMadeTime = 0x01D5000000000000ull;

// The bytes of an archive in `format` with "(listfile)" and "(attributes)"
// that StormLib makes at `path` of `files`.
QByteArray MadeByStorm(const QString &path, int format, const QList<Made> &files)
{
    SFILE_CREATE_MPQ create{};
    create.cbSize = sizeof create;
    create.dwMpqVersion = DWORD(format - 1);
    create.dwFileFlags1 = create.dwFileFlags2 = MPQ_FILE_EXISTS | MPQ_FILE_COMPRESS;
    create.dwAttrFlags = MPQ_ATTRIBUTE_CRC32 | MPQ_ATTRIBUTE_FILETIME | MPQ_ATTRIBUTE_MD5;
    create.dwSectorSize = 4096;
    create.dwRawChunkSize = format == 4 ? 4096 : 0;
    create.dwMaxFileCount = 30;
    HANDLE archive = nullptr;
    if (!SFileCreateArchive2(QFile::encodeName(path).constData(), &create, &archive)) return {};
    bool ok = true;
    for (int n = 0; n < files.size(); ++n) {
        const Made &file = files[n];
        HANDLE stored = nullptr;
        const DWORD first = file.next != 0 ? 4096 : DWORD(file.data.size());  // a sector
        ok = ok && SFileCreateFile(archive, file.name.constData(), kMadeTime + n, DWORD(file.data.size()), file.locale,
                                   file.flags, &stored) &&
             SFileWriteFile(stored, file.data.constData(), first, file.compression) &&
             (first == file.data.size() ||
              SFileWriteFile(stored, file.data.constData() + first, DWORD(file.data.size()) - first, file.next)) &&
             SFileFinishFile(stored);
    }
    for (const Made &file : files) {
        SFileSetLocale(file.locale);
        ok = ok && (!file.removed || SFileRemoveFile(archive, file.name.constData(), 0));
    }
    SFileSetLocale(0);
    return SFileCloseArchive(archive) && ok ? ReadFile(path) : QByteArray();
}

// The shape of the archive at `path` with the names of `listText`.
bool ReadShape(const QString &path, const std::string &listText, mpq::ArchiveShape &shape)
{
    mpq::FileList names;
    return mpq::SFileListFiles(mpq::SFileOpenArchive(Bytes(path)).get(), listText, names) &&
           mpq::ReadArchiveShape(Bytes(path), names, shape);
}

// A shape as text, each file on a line, without the offsets, which the
// order already gives: two shapes compare line by line.
QString Described(const mpq::ArchiveShape &shape)
{
    QString text = QStringLiteral("format %1, sectors %2, slots %3, header at %4, chunks %5, attributes %6, list %7, held")
                       .arg(shape.format).arg(shape.sectorSize).arg(shape.hashTableSize).arg(shape.headerAt)
                       .arg(shape.rawChunkSize).arg(shape.attributes).arg(shape.listfile);
    for (const std::uint32_t held : shape.heldSlots) text += QStringLiteral(" %1").arg(held);
    for (const mpq::FileShape &f : shape.files)
        text += QStringLiteral("\n%1 named %2 key %3 slot %4 locale %5 platform %6 flags %7 compressions %8 %9 time %10 size %11 key %12")
                    .arg(QString::fromLatin1(QByteArray::fromStdString(f.name).replace('\0', '/')))
                    .arg(f.named).arg(f.nameKey, 0, 16).arg(f.slot).arg(f.locale, 0, 16).arg(f.platform)
                    .arg(f.flags, 0, 16).arg(f.compression, 0, 16).arg(f.nextCompression, 0, 16).arg(f.fileTime)
                    .arg(f.fullSize).arg(f.key, 0, 16);
    return text;
}

}  // namespace

Q_DECLARE_METATYPE(Made)

class TestEngine : public QObject {
    Q_OBJECT
    QTemporaryDir dir;
    QString Path(const QString &name) const { return dir.filePath(name); }

private slots:
    // Work in a child process: what it sends arrives in order, and however it ends, the caller
    // goes on: a crash, an allocation past the memory limit and an endless loop are outcomes.
    void workInAChildEndsAsItMay_data()
    {
        QTest::addColumn<QString>("work");
        QTest::addColumn<int>("outcome");
        QTest::addColumn<QString>("heard");
        QTest::newRow("returns") << "return" << int(mpq::ChildOutcome::Finished) << "one,two,";
        QTest::newRow("aborts") << "abort" << int(mpq::ChildOutcome::Crashed) << "one,";
        QTest::newRow("loops for ever") << "loop" << int(mpq::ChildOutcome::Stalled) << "one,";
        QTest::newRow("beats while it works") << "beat" << int(mpq::ChildOutcome::Finished) << "one,h,h,h,h,h,h,two,";
        QTest::newRow("cancelled, stops") << "stop" << int(mpq::ChildOutcome::Cancelled) << "one,stopped,";
        QTest::newRow("reaches for the network") << "network" << int(mpq::ChildOutcome::Finished) << "one,refused,two,";
        // Landlock: below its folder a file is made, written, renamed and removed; elsewhere none.
        if (mpq::ChildWritesConfined())
            QTest::newRow("writes outside its folder")
                << "write" << int(mpq::ChildOutcome::Finished) << "one,inside,refused,refused,refused,two,";
#ifndef ARCAVERA_ADDRESS_SANITIZER
        QTest::newRow("allocates without end") << "allocate" << int(mpq::ChildOutcome::Crashed) << "one,";
#endif
    }
    void workInAChildEndsAsItMay()
    {
        QFETCH(QString, work);
        QString heard;
        mpq::ChildLimits limits;
        limits.memoryBytes = std::uint64_t{1} << 30;
        limits.stallMilliseconds = 300;
        const QByteArray inside = QFile::encodeName(Path("writable")), outside = QFile::encodeName(Path("kept"));
        QVERIFY(QDir().mkpath(Path("writable")) && QDir().mkpath(Path("kept")));
        WriteFile(Path("kept/old.txt"), "old");
        limits.writableFolders = {inside.toStdString()};
        const mpq::ChildResult result = mpq::RunInChild(
            [&](mpq::ChildChannel &channel) {
                channel.Send("one", 3);
                if (work == "abort") std::abort();
                if (work == "network") {
                    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
                    channel.Send(fd < 0 && errno == EACCES ? "refused" : "reached", 7);
                }
                if (work == "write") {
                    const auto made = [](const QByteArray &path) {
                        const int fd = ::open(path.constData(), O_CREAT | O_WRONLY | O_CLOEXEC, 0600);
                        return fd >= 0 && ::write(fd, "x", 1) == 1 && ::close(fd) == 0;
                    };
                    const bool in = made(inside + "/new.txt") && ::rename((inside + "/new.txt").constData(), (inside + "/b.txt").constData()) == 0 &&
                                    ::unlink((inside + "/b.txt").constData()) == 0;
                    channel.Send(in ? "inside" : "blocked", in ? 6 : 7);
                    const bool refused[] = {!made(outside + "/new.txt") && errno == EACCES,
                                            ::truncate((outside + "/old.txt").constData(), 0) != 0 && errno == EACCES,
                                            ::unlink((outside + "/old.txt").constData()) != 0 && errno == EACCES};
                    for (bool no : refused) channel.Send(no ? "refused" : "reached", 7);
                }
                if (work == "loop") for (volatile bool on = true; on;) {}
                if (work == "beat")
                    for (int n = 0; n < 6; ++n) {
                        ::usleep(100000);
                        mpq::Beat();
                    }
                if (work == "stop") {
                    while (!channel.StopAsked()) ::usleep(10000);
                    channel.Send("stopped", 7);
                    return 3;
                }
                if (work == "allocate")  // address space, not pages: the limit counts it
                    for (volatile char *grown = nullptr;;) (grown = new char[std::size_t{1} << 28])[1] = 'y';
                channel.Send("two", 3);
                return 5;
            },
            [&](std::string_view record) {
                if (!record.empty()) heard += QString::fromLatin1(record.data(), qsizetype(record.size())) + ',';
                return work != "stop" || !heard.contains("one");
            },
            limits);
        QTEST(int(result.outcome), "outcome");
        QTEST(heard, "heard");
        if (work == "return" || work == "stop") QCOMPARE(result.status, work == "return" ? 5 : 3);
    }

    // Names come from the list text alone; a file no line names is a
    // "~unknowns" entry that opens again under that name, an extension behind it or not.
    void namesComeFromTheListTextOnly()
    {
        const QString path = Path("names.mpq");
        const QByteArray latin = "Suoni\\caff\xe9.wav", utf8 = "Karten\\gr\xc3\xbc\xc3\x9f.txt";
        const QList<StoredFile> files = {{"maps\\one.w3x", TextData(50)}, {latin, "one"}, {utf8, "two"}};
        QVERIFY(MakeArchive(path, files, Path("src-names")));
        const auto named = Names(List(path, InternalList(path)));
        for (const StoredFile &f : files) QVERIFY(named.count(f.name.toStdString()));
        QCOMPARE(ReadStored(path, latin.toStdString()), QByteArray("one"));  // names are bytes
        QCOMPARE(ReadStored(path, "MAPS\\ONE.W3X"), TextData(50));          // and blind to case
        bool ok = false;

        const QString listFile = WriteFile(Path("lists/my list.txt"), "maps\\one.w3x\r\nnot\\stored.txt\n");
        const auto external = Names(List(path, Bytes(listFile) + "\r\n"));
        QVERIFY(external.count("maps\\one.w3x") && !external.count("not\\stored.txt"));
        // A long list grows the table of names; the first spelling of a name stays.
        QByteArray many = "MAPS\\One.w3x\r\n";
        for (int i = 0; i < 500; ++i) many += "not\\stored" + QByteArray::number(i) + ".txt\r\n";
        const QString longList = WriteFile(Path("lists/long.txt"), many + "maps\\one.w3x\r\n");
        const auto grown = Names(List(path, Bytes(longList) + "\r\n"));
        QVERIFY(grown.count("MAPS\\One.w3x") && !grown.count("maps\\one.w3x"));

        const auto entries = List(path, "");
        QCOMPARE(int(entries.size()), 4);  // the three and the internal list, which is always named
        for (const auto &e : entries) {
            if (e.StoredName == "(listfile)") continue;
            QVERIFY2(IsUnknown(e.StoredName), e.StoredName.c_str());
            const QByteArray bytes = ReadStored(path, e.StoredName, &ok);
            QVERIFY(ok && quint32(bytes.size()) == e.FullSize);
            QCOMPARE(ReadStored(path, e.StoredName + ".wav"), bytes);
        }
        QCOMPARE(int(Names(entries).size()), 4);
        mpq::FileList held;  // what the records held goes: one per file
        const mpq::Archive again = mpq::SFileOpenArchive(Bytes(path));
        QVERIFY(mpq::SFileListFiles(again.get(), "a\nb\nc\nd\ne", held) && mpq::SFileListFiles(again.get(), "", held));
        QCOMPARE(int(held.size()), 4);
        // A new name goes behind the others, which stay as they are; a name
        // that would break its line is refused.
        const std::string last(held.Name(3));
        QVERIFY(!held.Rename(0, "a\nb") && !held.Rename(0, "a\rb") && !held.Rename(0, ""));
        QVERIFY(held.Rename(0, "named.txt") && held.Rename(1, "named.txt"));
        QVERIFY(held.Name(0) == "named.txt" && held.Name(1) == "named.txt" && held.Name(3) == last);
        ReadStored(path, std::string(mpq::kUnknownPrefix) + "unknown99999999", &ok);
        QVERIFY(!ok);
    }

    void engineNamingNeverLeaks()
    {
        if (!HaveSmpq()) QSKIP("smpq is not installed");
        const QString work = Path("smpq-leak");
        WriteFile(work + "/a.txt", TextData(100));
        WriteFile(work + "/sub/b.txt", TextData(200));
        QVERIFY(RunSmpq({"-c", "-M", "1", "made.mpq", "a.txt", "sub/b.txt"}, work));
        const QString path = work + "/made.mpq";
        // smpq writes "(listfile)" and "(attributes)": they are named, whatever the list text says,
        // and nothing that StormLib read in "(listfile)" names the files of the list.
        std::set<std::string> named0;
        for (const auto &e : List(path, "")) named0.insert(IsUnknown(e.StoredName) ? "?" : e.StoredName);
        QCOMPARE(named0, (std::set<std::string>{"(listfile)", "(attributes)", "?"}));
        const auto named = Names(List(path, InternalList(path)));
        QVERIFY(named.count("a.txt") && named.count("sub\\b.txt"));
    }

    void openingDecidesWhatIsWritten_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<quint32>("flags");
        QTest::addColumn<bool>("opens");
        const quint32 open = mpq::MOAU_OPEN_EXISTING | mpq::MOAU_MAINTAIN_LISTFILE;
        const quint32 create = mpq::MOAU_CREATE_NEW | mpq::MOAU_MAINTAIN_LISTFILE;
        QTest::newRow("open text file") << "text" << open << false;
        QTest::newRow("open folder") << "folder" << open << false;
        QTest::newRow("open archive") << "archive" << open << true;
        QTest::newRow("create over text file") << "text" << create << false;
        QTest::newRow("create over archive") << "archive" << create << false;
        QTest::newRow("create missing") << "missing" << create << true;
        QTest::newRow("create over empty file") << "empty" << create << true;
    }

    // Only an archive opens for reading; nothing but an archive or an empty
    // file is ever written over; a handle that did not open is harmless.
    void openingDecidesWhatIsWritten()
    {
        QFETCH(QString, kind);
        QFETCH(quint32, flags);
        QFETCH(bool, opens);
        const QString path = Path(DataTagFileName() + ".mpq");
        if (kind == "empty") WriteFile(path, {});
        if (kind == "text") WriteFile(path, "plain text, keep me");
        if (kind == "folder") QDir().mkpath(path);
        if (kind == "archive") QVERIFY(MakeArchive(path, {{"x.txt", "x"}}, Path("src-" + DataTagFileName())));
        const QByteArray before = ReadFile(path);
        const mpq::Archive reading = mpq::SFileOpenArchive(Bytes(path));
        QCOMPARE(bool(reading), kind == "archive");
        mpq::FileList entries;
        if (!reading) QVERIFY(!mpq::SFileListFiles(nullptr, "", entries) && entries.empty() && !mpq::SFileOpenFileEx(nullptr, "x.txt"));
        mpq::Update update = mpq::MpqOpenArchiveForUpdate(Bytes(path), flags, 256);
        QCOMPARE(bool(update), opens);
        if (!opens) QCOMPARE(ReadFile(path), before);
        if (!opens || kind == "archive") return;
        QVERIFY(Add(update.get(), WriteFile(Path("src-new/a.txt"), "new"), "docs\\a.txt") && update.Close());
        QCOMPARE(HashSlots(path), qint64(256));
        QVERIFY(Names(List(path, InternalList(path))).count("docs\\a.txt"));
    }

    // StormLib fails or crashes on tables of 2^27 slots and more; a full table grows.
    void tableSizesStayWithinTheEngine()
    {
        const QString source = WriteFile(Path("absurd-src/a.txt"), TextData(100));
        for (const std::uint32_t maximum : {0xFFFFFFFEu, 1u << 27}) {
            const QString path = Path(QStringLiteral("absurd-%1.mpq").arg(maximum));
            mpq::Update update = mpq::MpqOpenArchiveForUpdate(Bytes(path), mpq::MOAU_MAINTAIN_LISTFILE, maximum);
            QVERIFY(update && Add(update.get(), source, "a.txt") && update.Close());
            QCOMPARE(HashSlots(path), qint64(1) << 20);
        }
        const QList<StoredFile> files = Files(40);
        QVERIFY(MakeArchive(Path("grow.mpq"), files, Path("src-grow"), 4));
        QVERIFY(Holds(Path("grow.mpq"), files));
    }

    void editsKeepTheList()
    {
        const QString path = Path("edit.mpq");
        QVERIFY(MakeArchive(path, {{"keep.txt", TextData(11)}, {"gone.txt", TextData(22)},
                                   {"old\\name.txt", TextData(300, 'o')}}, Path("src-edit")));
        std::string listEntry, oldEntry;  // their "~unknowns" names
        for (const auto &e : List(path, ""))
            if (e.FullSize > 22) (e.FullSize == 300 ? oldEntry : listEntry) = e.StoredName;
        const QString second = WriteFile(Path("src-edit/second.txt"), "second version");
        mpq::Update update = mpq::MpqOpenArchiveForUpdate(Bytes(path), mpq::MOAU_OPEN_EXISTING | mpq::MOAU_MAINTAIN_LISTFILE, 64);
        QVERIFY(!Add(update.get(), second, "keep.txt", 0));  // taken, and no replace flag
        QVERIFY(Add(update.get(), second, "KEEP.TXT", mpq::MAFA_REPLACE_EXISTING));
        QVERIFY(mpq::MpqDeleteFile(update.get(), "gone.txt"));
        QVERIFY(mpq::MpqRenameFile(update.get(), oldEntry + ".txt", "new\\place\\name.txt"));  // by its unknown name
        QVERIFY(!mpq::MpqRenameFile(update.get(), "keep.txt", "new\\place\\name.txt"));    // the name is taken
        // The internal list names every other file: it stays the engine's.
        QVERIFY(!mpq::MpqDeleteFile(update.get(), listEntry));
        QVERIFY(!mpq::MpqRenameFile(update.get(), listEntry, "list.txt"));
        QVERIFY(update.Close());
        const auto entries = List(path, InternalList(path));
        QCOMPARE(int(entries.size()), 3);  // the two files and the list, once each
        QCOMPARE(ReadStored(path, "keep.txt"), QByteArray("second version"));
        QCOMPARE(ReadStored(path, "new\\place\\name.txt"), TextData(300, 'o'));

        // An archive another tool wrote without a list gets one that names what is added.
        const QString bare = WriteFile(Path("bare.mpq"), HandMadeArchive(16, {{"old.txt", TextData(100)}}));
        update = mpq::MpqOpenArchiveForUpdate(Bytes(bare), mpq::MOAU_OPEN_EXISTING | mpq::MOAU_MAINTAIN_LISTFILE, 64);
        QVERIFY(Add(update.get(), second, "added\\new.txt") && update.Close());
        QVERIFY(InternalList(bare).find("added\\new.txt") != std::string::npos);
        QCOMPARE(ReadStored(bare, "old.txt"), TextData(100));
    }

    void waveQualities()
    {
        const QString path = Path("waves.mpq");
        const QString source = WriteFile(Path("src-waves/tone.wav"), WaveData(44100));
        mpq::Update update = mpq::MpqOpenArchiveForUpdate(Bytes(path), mpq::MOAU_MAINTAIN_LISTFILE, 64);
        for (std::uint32_t q : {mpq::MAWA_QUALITY_MEDIUM, mpq::MAWA_QUALITY_LOW, mpq::MAWA_QUALITY_HIGH})
            QVERIFY(mpq::MpqAddWaveToArchive(update.get(), Bytes(source), std::to_string(q), mpq::MAFA_COMPRESS, q));
        QVERIFY(update.Close());
        QHash<QByteArray, quint32> size;
        for (const auto &e : List(path, "0\n1\n2")) size[QByteArray::fromStdString(e.StoredName)] = e.CompressedSize;
        QVERIFY(size["1"] <= size["0"] && size["0"] < size["2"]);  // normal and smallest may coincide
    }

    void cutOffUpdateIsUndone_data()
    {
        QTest::addColumn<QString>("change");
        for (const char *change : {"add", "delete the last files then add", "rename an encrypted file", "grow the table",
                                   "make a new archive", "make an archive over an empty file"})
            QTest::newRow(change) << change;
    }

    // Stopped where the engine has written everything but not yet dropped its
    // journal, the next open puts the archive back byte for byte.
    void cutOffUpdateIsUndone()
    {
        QFETCH(QString, change);
        const QString folder = CaseFolder(dir.path()), archive = folder + "/a.mpq";
        const QList<StoredFile> files = Files(12);
        const bool fresh = change.startsWith("make");
        if (!fresh) QVERIFY(MakeArchive(archive, files, folder + "/src", 16));
        if (change.contains("empty")) WriteFile(archive, {});
        const QByteArray before = ReadFile(archive);
        const QString extra = WriteFile(folder + "/extra.bin", TextData(5000, 'q'));
        const int status = InChild([&] {
            ::setenv("ARCAVERA_FAULT", "before-commit", 1);
            mpq::Update update = mpq::MpqOpenArchiveForUpdate(
                Bytes(archive), mpq::MOAU_MAINTAIN_LISTFILE | (fresh ? mpq::MOAU_CREATE_NEW : mpq::MOAU_OPEN_EXISTING), 16);
            bool ok = bool(update);
            if (change == "add" || fresh) ok = ok && Add(update.get(), extra, "new.bin");
            if (change.startsWith("delete"))
                ok = mpq::MpqDeleteFile(update.get(), "file11.txt") && mpq::MpqDeleteFile(update.get(), "file10.txt") &&
                     Add(update.get(), extra, "x.bin");
            if (change.startsWith("rename")) ok = mpq::MpqRenameFile(update.get(), "file3.txt", "moved\\f.txt");
            for (int n = 0; change.startsWith("grow") && n < 40; ++n) ok = Add(update.get(), extra, ("g" + QByteArray::number(n)).toStdString()) && ok;
            if (!ok) ::_exit(2);
            update.Close();
        });
        QCOMPARE(status, 86);  // the exit status of the engine's fault point
        const QString journal = QString::fromStdString(mpq::JournalPath(Bytes(archive)));
        QVERIFY(QFile::exists(journal));
        if (!fresh) QVERIFY(ReadFile(archive) != before);
        mpq::SFileOpenArchive(Bytes(archive));  // any open puts it back first
        QCOMPARE(QFile::exists(archive), change != "make a new archive");
        if (QFile::exists(archive)) QVERIFY(ReadFile(archive) == before);
        QVERIFY(!QFile::exists(journal));
        if (!fresh) QVERIFY(Holds(archive, files));
    }

    void failedWritesLeaveTheArchive_data()
    {
        QTest::addColumn<bool>("fullDisk");
        QTest::newRow("files held below a size") << false;
        QTest::newRow("full disk") << true;  // no full table: the table once doubled at every refusal, to gigabytes
    }

    // Writes that fail, at the adds and at the close, leave the archive as it was.
    void failedWritesLeaveTheArchive()
    {
        QFETCH(bool, fullDisk);
        const QString disk = Path(DataTagFileName());
        QDir().mkpath(disk);
        if (fullDisk && (::geteuid() != 0 || QProcess::execute("mount", {"-t", "tmpfs", "-o", "size=400k", "tmpfs", disk})))
            QSKIP("a small file system can be mounted only by root");
        const auto unmount = qScopeGuard([&] { if (fullDisk) QProcess::execute("umount", {disk}); });
        const QString archive = disk + "/a.mpq";
        QVERIFY(MakeArchive(archive, Files(40), Path("src-" + DataTagFileName()), 64));
        const QByteArray before = ReadFile(archive);
        QByteArray noise(1000, Qt::Uninitialized);  // random bytes do not compress
        for (char &c : noise) c = static_cast<char>(QRandomGenerator::global()->generate());
        const QString source = WriteFile(Path("noise.bin"), noise);
        struct statvfs room {};
        const int filler = fullDisk ? ::open(QFile::encodeName(disk + "/filler").constData(), O_CREAT | O_WRONLY, 0600) : -1;
        QVERIFY(!fullDisk || (::statvfs(QFile::encodeName(disk).constData(), &room) == 0 &&  // some 12 KiB left
                              ::posix_fallocate(filler, 0, qint64(room.f_bavail * room.f_frsize) - 12 * 1024) == 0));
        ::close(filler);
        {
            const FileSizeLimit limit(fullDisk ? RLIM_INFINITY : static_cast<rlim_t>(before.size() + 12 * 1024));
            mpq::Update update = mpq::MpqOpenArchiveForUpdate(Bytes(archive), mpq::MOAU_OPEN_EXISTING, 64);
            int refused = 0;
            for (int n = 0; n < 30; ++n) refused += !Add(update.get(), source, ("n" + QByteArray::number(n)).toStdString());
            QVERIFY(refused >= 15);
            QCOMPARE(mpq::SFileGetFileInfo(update.get(), mpq::SFILE_INFO_HASH_TABLE_SIZE), 64);
            QVERIFY(!update.Close());
        }
        QVERIFY(ReadFile(archive) == before);
    }

    // One row per guard of the engine against a fault of StormLib: each
    // archive lists and reads in a child that must end normally, within 10
    // seconds and 1 GiB, with the entries the guard lets through; a file a
    // guard refuses is unreadable, and "a.txt" beside it reads. An update's
    // open reads the internal list and attributes by itself: it must refuse
    // where they are unsafe.
    void guardsKeepTheEngineWithinBounds_data()
    {
        QTest::addColumn<QByteArray>("archive");
        QTest::addColumn<int>("entries");
        QTest::addColumn<QByteArray>("unreadable");  // and so what an update's own open reads, when in brackets
        const HandFile list{"(listfile)", "a.txt\r\nb.bin\r\n"}, a{"a.txt", TextData(600)};
        const QByteArray plain = HandMadeArchive(8, {list, a});
        const auto with = [&](const HandFile &b) { return HandMadeArchive(8, {list, a, b}); };
        const auto patched = [&](int at, const QByteArray &bytes) { return QByteArray(plain).replace(at, bytes.size(), bytes); };
        const QByteArray none;
        QTest::newRow("signature entry without a file, screened out") << HandMadeArchive(8, {kEmptySignature, a}) << 1 << none;
        QTest::newRow("LZMA in version 1") << with(CompressedBlock("b.bin", kLzmaBlock)) << 3 << QByteArray("b.bin");
        QTest::newRow("stored whole, claims more stored bytes than it has")
            << with(HandFile{"b.bin", TextData(64), 0xFFFFFFFF, 0x81000000u, 4000}) << 3 << QByteArray("b.bin");
        // A damaged flag word that makes it a patch; its data begins as a patch header would.
        const QByteArray patch = QByteArray("\x1c\0\0\0\0\0\0\x80\x0a\0\0\0", 12) + QByteArray(16, '\0') + TextData(672);
        QTest::newRow("patch flag") << with(HandFile{"b.bin", patch, 0xFFFFFFFF, 0x95100000u}) << 3 << QByteArray("b.bin");
        QTest::newRow("list file claims gigabytes")
            << WithBlockEntry(plain, 0, 0, 32, quint32(list.data.size()), 0x7FFFFFF0u, 0x80000000u) << 2
            << QByteArray("(listfile)");
        QTest::newRow("MPK header") << patched(0, Word(0x1A4B504Du)) << 0 << none;
        // Found by fuzzing: StormLib measured the tables of this cut header from what lay past the end.
        QTest::newRow("version 2 header cut by the end of the file")
            << QByteArray::fromHex("4d50511a2c0000000000805f0100c060") + QByteArray(24, '\0') + QByteArray::fromHex("000178")
            << 0 << none;
        QTest::newRow("sector size shifted to nothing") << patched(14, QByteArray(1, char(23))) << 0 << none;
        QTest::newRow("sectors of 2 GiB") << patched(14, QByteArray(1, char(22))) << 0 << none;
        // The engine read the whole gap into the hash table's buffer.
        QByteArray gap = patched(4, Word(44));
        gap[12] = 1;
        gap.replace(32, 12, QByteArray(12, '\0'));
        gap.replace(16, 4, Word(qFromLittleEndian<quint32>(gap.constData() + 16) - 24));
        QTest::newRow("version 2 hash table with a gap") << gap << 0 << none;
        QTest::newRow("hash entry past the block table")
            << with(HandFile{"b.bin", TextData(80), 0x0FFFFFF0}) << 2 << QByteArray("b.bin");
        QTest::newRow("list file in LZMA, for an update")
            << HandMadeArchive(8, {CompressedBlock("(listfile)", kLzmaBlock), a}) << 2 << QByteArray("(listfile)");
    }

    void guardsKeepTheEngineWithinBounds()
    {
        QFETCH(QByteArray, archive);
        QFETCH(int, entries);
        QFETCH(QByteArray, unreadable);
        const QString path = WriteFile(Path(DataTagFileName() + ".mpq"), archive);
        // What lists nothing is refused before StormLib sees it: some of its faults there depend
        // on what its memory held, so a child that ends well proves nothing.
        QCOMPARE(mpq::guards::CheckOpen(Bytes(path)) == mpq::guards::OpenVerdict::Unsafe, entries == 0);
        QCOMPARE(ListAndReadInChild(path), entries);
        if (entries > 0) QCOMPARE(ReadStored(path, "a.txt"), TextData(600));
        bool ok = true;
        if (!unreadable.isEmpty()) ReadStored(path, unreadable.toStdString(), &ok);
        QCOMPARE(ok, unreadable.isEmpty());
        QCOMPARE(ReadFile(path), archive);  // a screened archive is left as it was
        const bool updatable = entries > 0 && !unreadable.startsWith('(') && !archive.contains(kEmptySignature.data);
        QCOMPARE(bool(mpq::MpqOpenArchiveForUpdate(Bytes(path), mpq::MOAU_OPEN_EXISTING, 16)), updatable);
    }

    // Protected maps claim more than the file holds, and the game plays
    // them: garbage text in the header's size fields, tables far past the
    // end, the header behind a user-data redirect. Each archive here was
    // refused or cost gigabytes; every file now lists and reads in a child
    // bound to 10 seconds and 1 GiB, and the archive stays as it was.
    void format1TablesAreBoundByTheFile_data()
    {
        QTest::addColumn<QByteArray>("archive");
        const QList<HandFile> files = {{"(listfile)", "a.txt\r\nb.txt\r\n"}, {"a.txt", TextData(600)}, {"b.txt", "bee"}};
        const auto patched = [&](const QByteArray &prefix, QList<QPair<int, QByteArray>> fields) {
            QByteArray bytes = HandMadeArchive(8, files, prefix);
            for (const auto &[at, field] : fields) bytes.replace(prefix.size() + at, field.size(), field);
            return bytes;
        };
        const QByteArray garbage = "(c)prot!", allBlocks = Word(0x0FFFFFFFu);  // header and archive size; entries
        const QByteArray userData = "MPQ\x1B" + Word(16) + Word(512) + Word(16) + QByteArray(496, '\0');
        const QByteArray mapHeader = QByteArray("HM3W") + QByteArray(508, '\0');
        // A redirect to where no header is: the search goes on from there.
        const QByteArray missed = "MPQ\x1B" + Word(16) + Word(16) + Word(16) + QByteArray(512, '\0');
        QTest::newRow("garbage sizes, block table past the end") << patched({}, {{4, garbage}, {28, allBlocks}});
        QTest::newRow("hash table past the end") << patched({}, {{24, allBlocks}});
        QTest::newRow("behind user data, garbage sizes") << patched(userData, {{4, garbage}, {28, allBlocks}});
        QTest::newRow("behind a map header") << patched(mapHeader, {{24, Word(0x00400000u)}, {28, allBlocks}});
        QTest::newRow("behind a redirect that misses") << patched(missed, {{28, allBlocks}});
    }

    void format1TablesAreBoundByTheFile()
    {
        QFETCH(QByteArray, archive);
        const QString path = WriteFile(Path(DataTagFileName() + ".w3x"), archive);
        QCOMPARE(ListAndReadInChild(path), 3);
        QCOMPARE(ReadStored(path, "a.txt"), TextData(600));
        QCOMPARE(ReadStored(path, "b.txt"), QByteArray("bee"));
        QCOMPARE(ReadFile(path), archive);
    }

    // HET and BET tables of formats 3 and 4 with a field changed, on which
    // StormLib aborts, crashes or writes past a buffer: the engine opens the
    // archive through its classic tables, or refuses it when it has none.
    void extTablesStormLibCannotReadAreLeftOut_data()
    {
        QTest::addColumn<QByteArray>("archive");
        QTest::addColumn<int>("verdict");
        QTest::addColumn<int>("entries");
        const QList<StoredFile> files = Files(4);
        const QByteArray v3 = StormArchiveBytes(Path("v3.mpq"), 3, files);
        const QByteArray v4 = StormArchiveBytes(Path("v4.mpq"), 4, files);
        QList<StoredFile> same;  // whose BET table compresses
        for (int n = 0; n < 40; ++n) same.append({"same" + QByteArray::number(n), TextData(100)});
        const QByteArray many = StormArchiveBytes(Path("many.mpq"), 4, same);
        QVERIFY(!v3.isEmpty() && !v4.isEmpty() && !many.isEmpty());
        const int safe = int(mpq::guards::OpenVerdict::Safe), screened = int(mpq::guards::OpenVerdict::Screened);
        const bool het = false, bet = true;
        QTest::newRow("sound tables") << v4 << safe << 5;
        QTest::newRow("HET of another version") << WithExtTableWord(v3, het, 4, 2) << screened << 5;
        QTest::newRow("HET slots past its table") << WithExtTableWord(v4, het, 20, 0x1000) << screened << 5;
        QTest::newRow("BET entries off the block table") << WithExtTableWord(v3, bet, 16, 0x1000) << screened << 5;
        QTest::newRow("BET flag index past its entry") << WithExtTableWord(v4, bet, 60, 20) << screened << 5;
        const QByteArray packed = WithCompressedBet(WithExtTableWord(many, bet, 16, 5));
        QVERIFY(!packed.isEmpty());
        QTest::newRow("compressed BET entries off the block table") << packed << screened << 41;
        const int unsafe = int(mpq::guards::OpenVerdict::Unsafe);
        QTest::newRow("broken HET, no hash table")
            << WithExtTableWord(v3, het, 4, 2).replace(24, 4, Word(0)) << unsafe << 0;
        // Measured up to the block table, the hash table is read past its buffer.
        const quint32 hashAt = qFromLittleEndian<quint32>(v3.constData() + 16);
        QTest::newRow("hash table longer than its entries")
            << QByteArray(v3).replace(16, 4, Word(hashAt - 64)) << unsafe << 0;
    }

    void extTablesStormLibCannotReadAreLeftOut()
    {
        QFETCH(QByteArray, archive);
        QFETCH(int, verdict);
        QFETCH(int, entries);
        const QString path = WriteFile(Path(DataTagFileName() + ".SC2Map"), archive);
        QCOMPARE(int(mpq::guards::CheckOpen(Bytes(path))), verdict);
        QCOMPARE(ListAndReadInChild(path), entries);
    }

    void headerScan_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<qint64>("offset");
        QTest::addColumn<qint64>("count");
        QTest::addColumn<bool>("executable");
        const QByteArray mz("MZ\x90\0", 4);
        QTest::newRow("empty file") << QByteArray() << -1LL << 0LL << false;
        QTest::newRow("MPQ at 512") << Layout(1024, {{0, mz}, {512, Header("MPQ\x1A", 9)}}) << 512LL << 9LL << true;
        QTest::newRow("MPQ at 513 only") << Layout(1024, {{0, mz}, {513, Header("MPQ\x1A", 9)}}) << -1LL << 0LL << true;
        QTest::newRow("signature in the last four bytes") << Layout(516, {{512, "MPQ\x1A"}}) << 512LL << 0LL << false;
        QTest::newRow("count cut off by the end")  // the missing bytes count as zeros
            << Layout(512 + 30, {{512, Header("MPQ\x1A", 0x44332211).left(30)}}) << 512LL << 0x2211LL << false;
        QTest::newRow("count is unsigned") << Header("MPQ\x1A", 0xFFFFFFFF) << 0LL << 4294967295LL << false;
        QTest::newRow("unaligned MPQ before aligned BN3")
            << Layout(4096, {{700, Header("MPQ\x1A", 5)}, {1536, Header("BN3\x1A", 6)}}) << 1536LL << 6LL << false;
        QTest::newRow("far in a long file")
            << Layout(300000, {{0, mz}, {262144 + 512, Header("MPQ\x1A", 12)}}) << 262656LL << 12LL << true;
    }

    void headerScan()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(qint64, offset);
        QFETCH(qint64, count);
        QFETCH(bool, executable);
        const std::string path = Bytes(WriteFile(Path(DataTagFileName()), bytes));
        QCOMPARE(qint64(mpq::FindHeaderSignature(path)), offset);
        QCOMPARE(qint64(mpq::HeaderFileCount(path)), count);
        QCOMPARE(mpq::StartsAsExecutable(path), executable);
        QCOMPARE(qint64(mpq::FindHeaderSignature(Bytes(dir.path()))), -1LL);  // a folder is no file
    }

    // A sparse file: only its first bytes and the header beyond 2 GiB take room on disk.
    void headerBeyondTwoGiB()
    {
        const qint64 offset = (qint64(1) << 31) + 512;
        const QString path = Path("huge.exe");
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        if (!file.resize(offset + 1024) || !file.seek(0) || file.write("MZ") != 2 || !file.seek(offset) ||
            file.write(Header("MPQ\x1A", 77)) != 32 || !file.flush())
            QSKIP("this file system cannot hold a file over 2 GiB");
        file.close();
        QCOMPARE(qint64(mpq::FindHeaderSignature(Bytes(path))), offset);
        QCOMPARE(qint64(mpq::HeaderFileCount(Bytes(path))), 77LL);
    }

    // An archive read into its shape and built back from it and its files:
    // the new archive has the same shape (its files in the same slots, under
    // the same names, hashes, keys and compressions) and the same files, and
    // building it twice, whatever the sources' times, gives the same bytes.
    void shapeBuildsTheArchiveBack_data()
    {
        QTest::addColumn<int>("format");
        QTest::addColumn<QByteArray>("front");
        QTest::addColumn<QList<Made>>("files");
        const QByteArray mapHeader = "HM3W" + QByteArray(508, '\0');
        const QByteArray userData = "MPQ\x1B" + Word(16) + Word(512) + Word(16) + QByteArray(496, 'u');
        const Made plain{"war3map.j", TextData(9000, 'j')}, stored{"war3map.w3e", TextData(5000, 'e'), 0, 0};
        const quint32 encrypted = MPQ_FILE_COMPRESS | MPQ_FILE_ENCRYPTED | MPQ_FILE_FIX_KEY;
        QTest::newRow("format 1 behind a map header")
            << 1 << mapHeader << QList<Made>{plain, stored, {"Units\\bzip2.txt", TextData(300, 'b'), MPQ_FILE_COMPRESS, MPQ_COMPRESSION_BZIP2}};
        QTest::newRow("format 4 behind user data")
            << 4 << userData << QList<Made>{plain, {"bzip2.txt", TextData(12000, 'z'), MPQ_FILE_COMPRESS, MPQ_COMPRESSION_BZIP2}};
        Made pkware{"pk.txt", TextData(9000, 'p'), MPQ_FILE_COMPRESS, MPQ_COMPRESSION_PKWARE};
        pkware.next = MPQ_COMPRESSION_ZLIB;
        QTest::newRow("PKWARE, then zlib") << 1 << QByteArray() << QList<Made>{pkware};
        QTest::newRow("imploded") << 1 << QByteArray() << QList<Made>{{"imploded.txt", TextData(9000, 'i'), MPQ_FILE_IMPLODE}, plain};
        QTest::newRow("encrypted, its key fixed by its place")
            << 2 << QByteArray() << QList<Made>{plain, {"Scripts\\key.ai", TextData(9000, 'k'), encrypted | MPQ_FILE_SECTOR_CRC}};
        QTest::newRow("three locale variants of one name")
            << 1 << QByteArray()
            << QList<Made>{{"units.txt", TextData(700, 'd'), MPQ_FILE_COMPRESS, MPQ_COMPRESSION_ZLIB, 0x407},
                           {"units.txt", TextData(800, 'e'), MPQ_FILE_COMPRESS, MPQ_COMPRESSION_ZLIB, 0x409},
                           {"units.txt", TextData(900, 'f'), MPQ_FILE_COMPRESS, MPQ_COMPRESSION_ZLIB, 0x40c}};
        Made nameless{"secret\\hidden.ai", TextData(9000, 'h'), encrypted};
        nameless.listed = false;
        Made removed{"gone.txt", "gone"};
        removed.removed = true;
        Made storedNameless = stored;
        storedNameless.listed = false;
        QTest::newRow("nameless, one encrypted, beside a deleted entry")
            << 2 << QByteArray() << QList<Made>{removed, plain, nameless, storedNameless};
    }

    void shapeBuildsTheArchiveBack()
    {
        QFETCH(int, format);
        QFETCH(QByteArray, front);
        QFETCH(QList<Made>, files);
        const QString folder = CaseFolder(dir.path());
        const QByteArray made = MadeByStorm(folder + "/made.mpq", format, files);
        QVERIFY(!made.isEmpty());
        const QString original = WriteFile(folder + "/original.mpq", front + made);
        std::string listText;
        QList<Made> kept;
        QList<quint64> times;
        std::set<std::string> listed;  // what the archive's own list names
        for (int n = 0; n < files.size(); ++n) {
            if (files[n].listed) listText += files[n].name.toStdString() + "\n";
            if (!files[n].removed) kept.append(files[n]), times.append(kMadeTime + quint64(n));
            if (files[n].listed && !files[n].removed) listed.insert(files[n].name.toStdString());
        }
        mpq::ArchiveShape shape;
        QVERIFY(ReadShape(original, listText, shape));
        QCOMPARE(shape.format, format);
        QCOMPARE(qint64(shape.headerAt), front.size());
        QVERIFY(shape.listfile && shape.attributes == 7);
        QCOMPARE(int(shape.files.size()), kept.size());
        for (int n = 0; n < kept.size(); ++n) {  // written in this order, so stored in it
            const Made &file = kept[n];
            const mpq::FileShape &read = shape.files[std::size_t(n)];
            QCOMPARE(read.named, file.listed);
            if (file.listed) QCOMPARE(read.name, mpq::LocaleVariant(file.name.toStdString(), file.locale));
            QCOMPARE(read.locale, file.locale);
            QCOMPARE(read.compression, quint8((file.flags & MPQ_FILE_COMPRESS) ? file.compression : 0));
            QCOMPARE(read.nextCompression, quint8(file.next));
            QCOMPARE(read.fileTime, times[n]);
            QCOMPARE(read.key != 0, !file.listed && (file.flags & MPQ_FILE_ENCRYPTED));
        }

        std::vector<std::string> sources;
        for (const mpq::FileShape &file : shape.files) {
            bool ok = false;
            const QByteArray bytes = ReadStored(original, file.name, &ok);
            QVERIFY(ok);
            sources.push_back(Bytes(WriteFile(folder + "/files/" + QString::number(sources.size()), bytes)));
        }
        const std::string frontFile = front.isEmpty() ? std::string() : Bytes(WriteFile(folder + "/front", front));
        std::string why;
        QVERIFY2(mpq::BuildArchive(Bytes(folder + "/built.mpq"), shape, sources, frontFile, why), why.c_str());
        for (const std::string &source : sources) {
            QFile file(QFile::decodeName(source.c_str()));
            QVERIFY(file.open(QIODevice::ReadWrite) && file.setFileTime(QDateTime::currentDateTime().addYears(-3), QFileDevice::FileModificationTime));
        }
        QVERIFY2(mpq::BuildArchive(Bytes(folder + "/again.mpq"), shape, sources, frontFile, why), why.c_str());
        QVERIFY(ReadFile(folder + "/again.mpq") == ReadFile(folder + "/built.mpq"));
        QVERIFY(ReadFile(folder + "/built.mpq").startsWith(front));

        mpq::ArchiveShape rebuilt;
        QVERIFY(ReadShape(folder + "/built.mpq", listText, rebuilt));
        QCOMPARE(Described(rebuilt), Described(shape));
        std::set<std::string> lines;  // and no stand-in name
        for (const QByteArray &line : QByteArray::fromStdString(InternalList(folder + "/built.mpq")).split('\n'))
            if (!line.trimmed().isEmpty()) lines.insert(line.trimmed().toStdString());
        QVERIFY(lines == listed);
        for (std::size_t n = 0; n < shape.files.size(); ++n)
            QVERIFY(ReadStored(folder + "/built.mpq", shape.files[n].name) == ReadFile(QFile::decodeName(sources[n].c_str())));
    }

    // What cannot be built is refused before anything is made, with the reason.
    void buildRefusesWhatItCannotMake_data()
    {
        QTest::addColumn<QString>("change");
        for (const char *change : {"a source of another size", "bytes in front not a multiple of 512", "a slot taken twice",
                                   "slots beside files without", "a nameless file without its slot",
                                   "a nameless file in format 3", "an encrypted nameless file without its key",
                                   "a hash table too small", "sectors of 512 bytes"})
            QTest::newRow(change) << change;
    }

    void buildRefusesWhatItCannotMake()
    {
        QFETCH(QString, change);
        const QString folder = CaseFolder(dir.path());
        mpq::ArchiveShape shape;
        shape.hashTableSize = 4;
        mpq::FileShape a{"a.txt"}, b{"b.txt"}, c{"c.txt"};
        a.slot = 1, b.slot = 2, c.slot = 3, a.fullSize = 3, b.fullSize = 4;
        shape.files = {a, b, c};
        std::vector<std::string> sources = {Bytes(WriteFile(folder + "/a", "aaa")), Bytes(WriteFile(folder + "/b", "bbbb")),
                                            Bytes(WriteFile(folder + "/c", ""))};
        std::string front;
        mpq::FileShape &second = shape.files[1];
        if (change == "a source of another size") second.fullSize = 5;
        if (change == "bytes in front not a multiple of 512") front = Bytes(WriteFile(folder + "/front", QByteArray(100, 'f')));
        if (change == "a slot taken twice") second.slot = 1;
        if (change == "slots beside files without") second.slot = mpq::kAnySlot;
        if (change == "a nameless file without its slot") second.named = false, shape.files[0].slot = second.slot = mpq::kAnySlot;
        if (change == "a nameless file in format 3") second.named = false, shape.format = 3;
        if (change == "an encrypted nameless file without its key") second.named = false, second.flags = MPQ_FILE_ENCRYPTED;
        if (change == "a hash table too small") shape.listfile = true, shape.attributes = 7;
        if (change == "sectors of 512 bytes") shape.sectorSize = 512;
        std::string why;
        QVERIFY(!mpq::BuildArchive(Bytes(folder + "/built.mpq"), shape, sources, front, why));
        QVERIFY(!why.empty());
        QCOMPARE(QDir(folder).entryList(QDir::Files).filter("built"), QStringList());
        shape.files = {a, b, c};  // as it was: made
        shape.format = 1, shape.sectorSize = 4096, shape.listfile = false, shape.attributes = 0;
        QVERIFY2(mpq::BuildArchive(Bytes(folder + "/built.mpq"), shape, sources, {}, why), why.c_str());
    }
};

QTEST_GUILESS_MAIN(TestEngine)
#include "test_engine.moc"
