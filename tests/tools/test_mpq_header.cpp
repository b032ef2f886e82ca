// The header scan, the entry count and the executable test on files built
// byte by byte.
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include "support/archive_factory.h"
#include "tools/mpq_header.h"

using namespace fixtures;

namespace {

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
    QByteArray header = Layout(32, {{0, QByteArray(signature, 4)}});
    for (int i = 0; i < 4; ++i) header[28 + i] = char((count >> (8 * i)) & 0xFF);
    return header;
}

}  // namespace

class TestMpqHeader : public QObject {
    Q_OBJECT
    QTemporaryDir dir;

private slots:
    void scanFindsTheFirstAlignedHeader_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<qint64>("offset");
        QTest::addColumn<qint64>("count");
        QTest::addColumn<bool>("executable");
        const QByteArray mz("MZ\x90\0", 4);
        QTest::newRow("empty file") << QByteArray() << -1LL << 0LL << false;
        QTest::newRow("one byte M") << QByteArray("M") << -1LL << 0LL << false;
        QTest::newRow("MZ alone") << QByteArray("MZ") << -1LL << 0LL << true;
        QTest::newRow("mz in lower case") << QByteArray("mz\0\0", 4) << -1LL << 0LL << false;
        QTest::newRow("MPQ at 0") << Layout(600, {{0, Header("MPQ\x1A", 7)}}) << 0LL << 7LL << false;
        QTest::newRow("BN3 at 0") << Layout(64, {{0, Header("BN3\x1A", 3)}}) << 0LL << 3LL << false;
        QTest::newRow("MPQ at 512") << Layout(1024, {{0, mz}, {512, Header("MPQ\x1A", 9)}}) << 512LL << 9LL << true;
        QTest::newRow("MPQ at 513 only") << Layout(1024, {{0, mz}, {513, Header("MPQ\x1A", 9)}}) << -1LL << 0LL << true;
        QTest::newRow("case counts") << Layout(1024, {{512, Header("mpq\x1A", 9)}}) << -1LL << 0LL << false;
        QTest::newRow("no 0x1A") << Layout(1024, {{512, Header("MPQ\x1B", 9)}}) << -1LL << 0LL << false;
        QTest::newRow("signature in the last four bytes")
            << Layout(516, {{512, QByteArray("MPQ\x1A")}}) << 512LL << 0LL << false;
        QTest::newRow("three bytes of a signature at the end")
            << Layout(515, {{512, QByteArray("MPQ")}}) << -1LL << 0LL << false;
        // The count's missing bytes count as zeros.
        QTest::newRow("count cut off by the end")
            << Layout(512 + 30, {{512, Header("MPQ\x1A", 0x44332211).left(30)}}) << 512LL << 0x2211LL << false;
        QTest::newRow("count is unsigned") << Layout(32, {{0, Header("MPQ\x1A", 0xFFFFFFFF)}}) << 0LL
                                           << 4294967295LL << false;
        QTest::newRow("BN3 at 1024 before MPQ at 2048")
            << Layout(4096, {{1024, Header("BN3\x1A", 5)}, {2048, Header("MPQ\x1A", 6)}}) << 1024LL << 5LL
            << false;
        QTest::newRow("unaligned MPQ before aligned BN3")
            << Layout(4096, {{700, Header("MPQ\x1A", 5)}, {1536, Header("BN3\x1A", 6)}}) << 1536LL << 6LL
            << false;
        // An executable that holds a signature at an aligned offset by chance
        // counts as holding an archive there.
        QTest::newRow("signature by chance in an executable")
            << Layout(3000, {{0, mz}, {1536, QByteArray("BN3\x1A" "data")}}) << 1536LL << 0LL << true;
        QTest::newRow("far in a long file")
            << Layout(300000, {{0, mz}, {262144 + 512, Header("MPQ\x1A", 12)}}) << 262656LL << 12LL << true;
    }

    void scanFindsTheFirstAlignedHeader()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(qint64, offset);
        QFETCH(qint64, count);
        QFETCH(bool, executable);
        const QString path = WriteFile(dir.filePath(DataTagFileName()), bytes);
        QCOMPARE(FindMPQHeader(path), offset);
        QCOMPARE(GetMPQFileCount(path), count);
        QCOMPARE(IsExecutable(path), executable);
    }

    // Each call reads the file anew.
    void secondCallSeesTheChangedFile()
    {
        const QString path = WriteFile(dir.filePath("changing"), Layout(2048, {{1024, Header("MPQ\x1A", 1)}}));
        QCOMPARE(FindMPQHeader(path), 1024LL);
        WriteFile(path, Layout(2048, {{512, Header("BN3\x1A", 2)}}));
        QCOMPARE(FindMPQHeader(path), 512LL);
        QCOMPARE(GetMPQFileCount(path), 2LL);
    }

    void pathsThatCannotBeReadGiveNothing_data()
    {
        QTest::addColumn<QString>("path");
        QTest::newRow("missing file") << "no-such-file";
        QTest::newRow("below a missing folder") << "no/such/file";
        QTest::newRow("a folder") << "folder";
    }

    void pathsThatCannotBeReadGiveNothing()
    {
        QFETCH(QString, path);
        QDir(dir.path()).mkpath("folder");
        const QString full = dir.filePath(path);
        QCOMPARE(FindMPQHeader(full), -1LL);
        QCOMPARE(GetMPQFileCount(full), 0LL);
        QVERIFY(!IsExecutable(full));
    }

    // A sparse file: only its first bytes and the header beyond 2 GiB take
    // room on disk.
    void headerBeyondTwoGiB()
    {
        const qint64 offset = (qint64(1) << 31) + 512;
        const QString path = dir.filePath("huge.exe");
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        if (!file.resize(offset + 1024) || !file.seek(0) || file.write("MZ") != 2 || !file.seek(offset) ||
            file.write(Header("MPQ\x1A", 77)) != 32 || !file.flush())
            QSKIP("this file system cannot hold a file over 2 GiB");
        file.close();
        QCOMPARE(FindMPQHeader(path), offset);
        QCOMPARE(GetMPQFileCount(path), 77LL);
        QVERIFY(IsExecutable(path));
        QFile::remove(path);
    }
};

QTEST_MAIN(TestMpqHeader)
#include "test_mpq_header.moc"
