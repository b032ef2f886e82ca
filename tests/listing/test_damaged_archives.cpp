// Damaged and deliberately broken archives: every one must list without a
// crash, and every listed row must be readable or fail cleanly.
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include "config/listing_setup.h"
#include "config/app_config.h"
#include "listing/classic_listing.h"
#include "support/archive_factory.h"
#include "support/recording_ports.h"

using namespace fixtures;

namespace {

struct Random {
    std::uint32_t state;
    std::uint32_t next()
    {
        state ^= state << 13;
        state ^= state >> 17;
        state ^= state << 5;
        return state;
    }
    int below(int n) { return n > 0 ? int(next() % std::uint32_t(n)) : 0; }
};

// Lists the file and reads every row whole, as extraction would.
int ListAndReadAll(const QString &path)
{
    AppConfig config;
    RecordingPorts out;
    auto ports = out.ports();
    qint64 total = 0;
    if (!LoadArchiveClassic(path, ListingOptionsOf(config), ports, total)) return -1;
    for (const ListRow &row : out.rows) ReadStored(path, row.Tag.toStdString());
    return int(out.rows.size());
}

}  // namespace

class TestDamagedArchives : public QObject {
    Q_OBJECT
    QTemporaryDir dir;
    QByteArray made, handMade;

private slots:
    void initTestCase()
    {
        const QString path = dir.filePath("base.mpq");
        QVERIFY(MakeArchive(path, {{"war3map.j", TextData(9000)},
                                   {"units\\a.mdx", TextData(5000, 'u'), mpq::MAFA_COMPRESS, mpq::MAFA_COMPRESS_DEFLATE},
                                   {"secret.txt", TextData(7000, 's'), mpq::MAFA_COMPRESS | mpq::MAFA_ENCRYPT,
                                    mpq::MAFA_COMPRESS_STANDARD},
                                   {"plain.bin", TextData(300, 'p'), 0, mpq::MAFA_COMPRESS_NONE}},
                            dir.filePath("src"), 16));
        made = ReadFile(path);
        handMade = HandMadeArchive(8, {{"(listfile)", "a.txt\r\nb.txt\r\n"}, {"a.txt", TextData(600)}, {"b.txt", "RIFF"}},
                                   QByteArray(512, 'H'));
        QVERIFY(made.size() > 1000);
    }

    void mutatedBytes_data()
    {
        QTest::addColumn<bool>("ours");
        QTest::addColumn<int>("region");  // 0 anywhere, 1 header, 2 the tables at the end
        QTest::newRow("our archive, anywhere") << true << 0;
        QTest::newRow("our archive, header") << true << 1;
        QTest::newRow("our archive, tables") << true << 2;
        QTest::newRow("hand-made, anywhere") << false << 0;
        QTest::newRow("hand-made, tables") << false << 2;
    }

    void mutatedBytes()
    {
        QFETCH(bool, ours);
        QFETCH(int, region);
        const QByteArray base = ours ? made : handMade;
        const int headerAt = ours ? 0 : 512;
        Random random{0x9E3779B9u + std::uint32_t(region) * 7919u + (ours ? 1u : 2u)};
        const QString path = dir.filePath(QStringLiteral("mutated-%1-%2.mpq").arg(ours).arg(region));
        int listedSome = 0;
        // ARCAVERA_FUZZ_ROUNDS asks for a longer run by hand.
        const int rounds = qEnvironmentVariableIntValue("ARCAVERA_FUZZ_ROUNDS") > 0
                               ? qEnvironmentVariableIntValue("ARCAVERA_FUZZ_ROUNDS") : 80;
        for (int round = 0; round < rounds; ++round) {
            QByteArray bytes = base;
            const int changes = 1 + random.below(8);
            for (int c = 0; c < changes; ++c) {
                int at = random.below(int(bytes.size()));
                if (region == 1) at = headerAt + random.below(32);
                if (region == 2) at = int(bytes.size()) - 1 - random.below(std::min<int>(256, int(bytes.size())));
                // The upper bytes of the table sizes are left alone: a table of
                // billions of entries only makes the engine allocate for
                // seconds (that case has its own row below).
                const int inHeader = at - headerAt;
                if (inHeader == 26 || inHeader == 27 || inHeader == 30 || inHeader == 31) continue;
                bytes[at] = char(random.next() & 0xFF);
            }
            WriteFile(path, bytes);
            const int rows = ListAndReadAll(path);
            QVERIFY(rows >= 0);
            listedSome += rows > 0;
        }
        QVERIFY(listedSome > 0);  // damage in the data alone still lists
    }

    void truncations()
    {
        const QString path = dir.filePath("cut.mpq");
        for (int length = 0; length < made.size(); length += std::max<int>(1, int(made.size()) / 97)) {
            WriteFile(path, made.left(length));
            QVERIFY(ListAndReadAll(path) >= 0);
        }
    }

    void storedSizeLargerThanTheFile()
    {
        // A file stored whole claims more stored bytes than it has: refused,
        // not read past its buffer; the file beside it still reads.
        HandFile liar{"liar.txt", TextData(64)};
        liar.flags = 0x80000000u | 0x01000000u;  // exists, stored whole
        liar.storedSizeOverride = 4000;
        const QString path = WriteFile(dir.filePath("liar.mpq"),
                                       HandMadeArchive(8, {liar, {"honest.txt", TextData(3000, 'h')}}));
        bool ok = true;
        ReadStored(path, "liar.txt", &ok);
        QVERIFY(!ok);
        QCOMPARE(ReadStored(path, "honest.txt"), TextData(3000, 'h'));
        QCOMPARE(ListAndReadAll(path), 2);
        // A damaged flag word that makes a file a patch of an update.
        // Its data begins as a patch header would: length 28, flags, a data size of 10.
        QByteArray patchData("\x1c\x00\x00\x00\x00\x00\x00\x80\x0a\x00\x00\x00", 12);
        patchData += QByteArray(16, '\0') + TextData(672);
        HandFile patch{"patch.txt", patchData};
        patch.flags = 0x95100000u;
        const QString patched = WriteFile(dir.filePath("patch.mpq"), HandMadeArchive(8, {patch, {"b.txt", "b"}}));
        ReadStored(patched, "patch.txt", &ok);
        QVERIFY(!ok);
        QCOMPARE(ReadStored(patched, "b.txt"), QByteArray("b"));
    }

    void tablesThatLie_data()
    {
        QTest::addColumn<int>("field");  // header field index in 32-bit words
        QTest::addColumn<quint32>("value");
        QTest::newRow("hash table size huge") << 6 << 0x00FFFFFFu;
        QTest::newRow("hash table size not a power of two") << 6 << 7u;
        QTest::newRow("hash table size zero") << 6 << 0u;
        QTest::newRow("block table size huge") << 7 << 0x00FFFFFFu;
        QTest::newRow("block table size zero") << 7 << 0u;
        QTest::newRow("hash table past the end") << 4 << 0x7FFFFFF0u;
        QTest::newRow("block table before the header") << 5 << 0xFFFFFF00u;
        QTest::newRow("archive size lies") << 2 << 16u;
        QTest::newRow("header size lies") << 1 << 0xFFFFu;
        QTest::newRow("header of another game's kind") << 0 << 0x1A4B504Du;  // "MPK\x1a", size field off
        QTest::newRow("sector size shifted to nothing") << 3 << 0x00200000u;  // format 0, shift 32
        QTest::newRow("sector size shifted far") << 3 << 0x00170000u;
    }

    void tablesThatLie()
    {
        QFETCH(int, field);
        QFETCH(quint32, value);
        QByteArray bytes = made;
        for (int i = 0; i < 4; ++i) bytes[field * 4 + i] = char((value >> (8 * i)) & 0xFF);
        const QString path = WriteFile(dir.filePath(QString(QTest::currentDataTag()).replace(' ', '_') + ".mpq"), bytes);
        QVERIFY(ListAndReadAll(path) >= 0);
    }
};

QTEST_GUILESS_MAIN(TestDamagedArchives)
#include "test_damaged_archives.moc"
