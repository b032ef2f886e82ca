// Archives made to meet faults of the engine: each one lists and reads in a
// child process that must end normally, within 10 seconds and (outside the
// sanitizer build) 1 GiB of address space.
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "config/listing_setup.h"
#include "config/app_config.h"
#include "listing/classic_listing.h"
#include "mpq/mpq_guards.h"
#include "support/archive_factory.h"
#include "support/recording_ports.h"

using namespace fixtures;

namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kBoundMemory = false;  // the sanitizer reserves terabytes of address space
#else
constexpr bool kBoundMemory = true;
#endif

// Lists the archive as the window does and reads every row; the number of
// rows listed, or -1 for a process that did not end normally.
int ListAndReadInChild(const QString &path)
{
    const pid_t child = ::fork();
    if (child == 0) {
        if (kBoundMemory) {
            const rlimit limit{rlim_t{1} << 30, rlim_t{1} << 30};
            ::setrlimit(RLIMIT_AS, &limit);
        }
        ::alarm(10);
        AppConfig config;
        RecordingPorts out;
        auto ports = out.ports();
        qint64 total = 0;
        LoadArchiveClassic(path, ListingOptionsOf(config), ports, total);
        for (const ListRow &row : out.rows) ReadStored(path, row.Tag.toStdString());
        ::_exit(static_cast<int>(std::min<std::size_t>(out.rows.size(), 100)));
    }
    int status = 0;
    if (child < 0 || ::waitpid(child, &status, 0) != child || !WIFEXITED(status)) return -1;
    return WEXITSTATUS(status);
}

QByteArray Word(quint32 value)
{
    QByteArray bytes(4, '\0');
    for (int i = 0; i < 4; ++i) bytes[i] = char((value >> (8 * i)) & 0xFF);
    return bytes;
}

// A file compressed in one sector that holds `block` (its compression byte first).
HandFile CompressedBlock(const QByteArray &name, const QByteArray &block)
{
    QByteArray data = Word(8) + Word(8 + quint32(block.size())) + block;
    const auto stored = quint32(data.size());
    data.resize(200, 'x');  // the full size: the sector unpacks to 200 bytes
    HandFile file{name, data};
    file.flags = 0x80000200u;  // exists, compressed
    file.storedSizeOverride = stored;
    return file;
}

// A "(signature)" entry whose block holds no file.
const HandFile kEmptySignature = [] {
    HandFile signature{"(signature)", QByteArray(72, 's')};
    signature.flags = 0;
    return signature;
}();

// LZMA exists from format version 2 on.
const QByteArray kLzmaBlock = '\x12' + QByteArray(23, 'x');
// A Huffman stream (type 1) whose escapes grow the engine's decoding tree
// past its end.
const QByteArray kHuffmanBlock = QByteArray::fromHex("0101fd182238bcc5ca2512f651");

}  // namespace

class TestHostileArchives : public QObject {
    Q_OBJECT
    QTemporaryDir dir;

private slots:
    void listsWithinBounds_data()
    {
        QTest::addColumn<QByteArray>("archive");
        QTest::addColumn<int>("rows");

        const HandFile list{"(listfile)", "a.txt\r\nlzma.txt\r\n"};
        const HandFile a{"a.txt", TextData(600)};
        // Opened as a copy without the entry: the other file lists.
        QTest::newRow("signature entry without a file") << HandMadeArchive(8, {kEmptySignature, a}) << 1;

        // Blocks the engine cannot unpack safely: listed, but unreadable.
        const HandFile lzma = CompressedBlock("lzma.txt", kLzmaBlock);
        QTest::newRow("LZMA in version 1, named") << HandMadeArchive(8, {list, a, lzma}) << 3;
        // Nameless: the type detection reads its first bytes while listing.
        QTest::newRow("LZMA in version 1, nameless") << HandMadeArchive(8, {a, lzma}) << 2;
        QTest::newRow("Huffman stream that breaks the decoder")
            << HandMadeArchive(8, {a, CompressedBlock("huff.wav", kHuffmanBlock)}) << 2;

        // A list file that claims 2 GiB of a few stored bytes: unreadable, so
        // the files list without names.
        const auto listSize = quint32(list.data.size());
        QTest::newRow("list file claims gigabytes")
            << WithBlockEntry(HandMadeArchive(8, {list, a}), 0, 0, 32, listSize, 0x7FFFFFF0u, 0x80000000u) << 2;
        // Sectors of 2 GiB would be allocated for every file read.
        QByteArray hugeSectors = HandMadeArchive(8, {list, a});
        hugeSectors[14] = 22;
        QTest::newRow("sectors of 2 GiB") << hugeSectors << 0;

        // A version 2 header whose hash table begins further before its block
        // table than its entries need: the engine read the whole gap into the
        // hash table's buffer.
        QByteArray gap = HandMadeArchive(8, {list, a});
        gap.replace(4, 4, Word(44));
        gap[12] = 1;
        gap.replace(32, 12, QByteArray(12, '\0'));
        gap.replace(16, 4, Word(qFromLittleEndian<quint32>(gap.constData() + 16) - 24));
        QTest::newRow("version 2 hash table with a gap") << gap << 0;

        // Tables far larger than the file: refused before the engine allocates
        // them. The engine itself would list these after seconds and gigabytes
        // for the largest size, or quickly for the smaller one.
        QByteArray mapHeader = QByteArray("HM3W") + QByteArray(4, '\0');
        mapHeader.resize(512, '\0');
        QByteArray userData = "MPQ\x1B" + Word(16) + Word(512) + Word(16);
        userData.resize(512, '\0');
        const struct { const char *tag; QByteArray prefix; int field; quint32 size; } tables[] = {
            {"hash table, largest", {}, 6, 0x0FFFFFFFu},
            {"block table, largest", {}, 7, 0x0FFFFFFFu},
            {"hash table behind a map header", mapHeader, 6, 0x00400000u},
            {"block table behind user data", userData, 7, 0x00400000u},
        };
        for (const auto &table : tables) {
            QByteArray bytes = HandMadeArchive(8, {list, a}, table.prefix);
            bytes.replace(table.prefix.size() + table.field * 4, 4, Word(table.size));
            QTest::newRow(table.tag) << bytes << 0;
        }
    }

    void listsWithinBounds()
    {
        QFETCH(QByteArray, archive);
        QFETCH(int, rows);
        const QString path = WriteFile(dir.filePath(DataTagFileName() + ".mpq"), archive);
        QCOMPARE(ListAndReadInChild(path), rows);
    }

    void packedFileIsUnreadableAndItsNeighbourReads_data()
    {
        QTest::addColumn<QByteArray>("block");
        QTest::newRow("LZMA in version 1") << kLzmaBlock;
        QTest::newRow("Huffman stream that breaks the decoder") << kHuffmanBlock;
    }

    void packedFileIsUnreadableAndItsNeighbourReads()
    {
        QFETCH(QByteArray, block);
        const QString path = WriteFile(dir.filePath(DataTagFileName() + "-read.mpq"),
                                       HandMadeArchive(8, {{"a.txt", TextData(600)}, CompressedBlock("b.bin", block)}));
        bool ok = true;
        ReadStored(path, "b.bin", &ok);
        QVERIFY(!ok);
        QCOMPARE(ReadStored(path, "a.txt"), TextData(600));
    }

    void signatureEntryIsScreenedOut()
    {
        const QString path = WriteFile(dir.filePath("signature.mpq"),
                                       HandMadeArchive(8, {kEmptySignature, {"a.txt", TextData(600)}}));
        QCOMPARE(ReadStored(path, "a.txt"), TextData(600));
        QCOMPARE(ReadFile(path), HandMadeArchive(8, {kEmptySignature, {"a.txt", TextData(600)}}));  // left as it was
    }

    // An update's open reads the internal list and attributes by itself.
    void updateOpenScreensTheInternalFiles_data()
    {
        QTest::addColumn<QByteArray>("archive");
        QTest::addColumn<bool>("safe");
        const HandFile a{"a.txt", TextData(600)};
        QTest::newRow("sound") << HandMadeArchive(8, {{"(listfile)", "a.txt\r\n"}, a}) << true;
        QTest::newRow("list file in LZMA") << HandMadeArchive(8, {CompressedBlock("(listfile)", kLzmaBlock), a}) << false;
        QTest::newRow("signature entry without a file") << HandMadeArchive(8, {kEmptySignature, a}) << false;
        QTest::newRow("attributes in broken Huffman")
            << HandMadeArchive(8, {CompressedBlock("(attributes)", kHuffmanBlock), a}) << false;
    }

    void updateOpenScreensTheInternalFiles()
    {
        QFETCH(QByteArray, archive);
        QFETCH(bool, safe);
        const QString path = WriteFile(dir.filePath(DataTagFileName() + "-update.mpq"), archive);
        QCOMPARE(mpq::guards::UpdateOpenIsSafe(Bytes(path)), safe);
    }
};

QTEST_GUILESS_MAIN(TestHostileArchives)
#include "test_hostile_archives.moc"
