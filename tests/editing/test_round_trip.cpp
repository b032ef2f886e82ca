// A folder tree goes into a new archive under the first-run rules and comes
// back out: every file is stored as its rule says and returns byte for byte.
#include <QDir>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

#include "config/app_config.h"
#include "editing/add_files.h"
#include "editing/extract_files.h"
#include "editing/helpers/file_walk.h"
#include "editing/helpers/paths.h"
#include "listing/classic_listing.h"
#include "support/archive_factory.h"
#include "support/recording_ports.h"

using namespace fixtures;

namespace {

// Bytes that no compression shrinks.
QByteArray Noise(int size, quint32 seed)
{
    QByteArray data(size, Qt::Uninitialized);
    QRandomGenerator(seed).fillRange(reinterpret_cast<quint32 *>(data.data()), size / 4);
    return data;
}

}  // namespace

class TestRoundTrip : public QObject {
    Q_OBJECT
    QTemporaryDir dir;

private slots:
    void folderTreeThereAndBack();
};

void TestRoundTrip::folderTreeThereAndBack()
{
    const QString source = dir.filePath("source");
    const QMap<QString, QByteArray> files = {
        {"empty.txt", {}},
        {"big.dat", TextData(3 << 20, 'b') + Noise(256 << 10, 7)},  // some MiB, many sectors
        {"noise.bin", Noise(100000, 3)},
        {"movie.bik", Noise(20000, 4)},
        {"Music.MP3", TextData(9000, 'm')},  // a none rule: stored as it is, even when it would shrink
        {"inner.mpq", TextData(5000, 'i')},
        {"with blank.txt", TextData(1000, 'w')},
        {"caffè.txt", TextData(700, 'e')},
        {"日本/語.dat", TextData(2000, 'j')},
        {".hidden", "hidden file"},
        {"sub/.hidden-too", "hidden below"},
        {"sub/deeper/map.w3x", TextData(4000, 'x')},
        {"sub/deeper/noext", TextData(600, 'n')},
        {"sub/empty", {}},
        {"sound.wav", WaveData(50000)},
        {"sub/voice.WAV", WaveData(20000)},
    };
    for (auto it = files.begin(); it != files.end(); ++it) WriteFile(source + "/" + it.key(), it.value());

    AppConfig config;
    config.IniPath = dir.filePath("Arcavera.ini");
    QVERIFY(SeedFirstRun(config.IniPath));
    LoadAppConfig(config);

    // The batch as adding a folder makes it: every file, relative to the folder.
    QStringList names = ScanFiles(source, "*", kAttributeHidden | kAttributeSystem, true, QString(QChar(0)))
                            .split(QChar(0));
    names.removeLast();
    for (QString &name : names) name.remove(0, source.size() + 1);
    QCOMPARE(names.size(), files.size());

    const QString archive = WriteFile(dir.filePath("trip.mpq"), {});  // as New leaves it
    NoEvents events;
    RecordingPorts status;
    const AddReport added = AddFiles(archive, names, source, {}, config, status, events);
    QCOMPARE(added.added, int(files.size()));

    RecordingPorts listing;
    auto ports = listing.ports();
    qint64 total = 0;
    QVERIFY(LoadArchiveClassic(archive, config, ports, total));
    QCOMPARE(int(listing.rows.size()), int(files.size()) + 1);  // and the internal list
    const QStringList plainExtensions = {"bik", "mp3", "mpq", "w3x"};
    QList<QByteArray> tags;
    for (auto it = files.begin(); it != files.end(); ++it) {
        const QString name = StoredNameFromRelativePath(it.key());
        const ListRow *row = listing.row(name);
        QVERIFY2(row != nullptr, qPrintable(name));
        QCOMPARE(row->Tag, name.toUtf8());
        QCOMPARE(row->FullSize, std::uint32_t(it.value().size()));
        const QString extension = GetExtension(name).toLower();
        if (plainExtensions.contains(extension)) {
            QCOMPARE(row->columns[ListRow::Attribute], QStringLiteral("---"));
            QCOMPARE(row->CompressedSize, row->FullSize);
        } else {
            QCOMPARE(row->columns[ListRow::Attribute], QStringLiteral("C--"));
            if (extension == "wav" || it.value().startsWith("line of sample text"))
                QVERIFY2(row->CompressedSize < row->FullSize / 2, qPrintable(name));
        }
        tags.append(row->Tag);
    }

    const QString back = dir.filePath("back");
    QDir().mkpath(back);
    const ExtractReport extracted = ExtractFiles(archive, tags, back, status, events);
    QCOMPARE(extracted.extracted, int(files.size()));
    QCOMPARE(status.statusTexts.last(), QStringLiteral("Pronto"));
    const QMap<QString, QByteArray> returned = Tree(back);
    QMap<QString, QByteArray> expected = Tree(source);
    // Audio compression loses detail: a wave returns as a wave of its size.
    for (const QString &wave : {QStringLiteral("sound.wav"), QStringLiteral("sub/voice.WAV")}) {
        QCOMPARE(returned.value(wave).size(), expected.value(wave).size());
        QCOMPARE(returned.value(wave).left(44), expected.value(wave).left(44));
        QVERIFY(returned.value(wave) != expected.value(wave));
        expected[wave] = returned.value(wave);
    }
    QCOMPARE(returned, expected);
}

QTEST_GUILESS_MAIN(TestRoundTrip)
#include "test_round_trip.moc"
