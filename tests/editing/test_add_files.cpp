// Choosing the compression of a file, and adding batches to real archives.
#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <limits>

#include "config/app_config.h"
#include "editing/add_files.h"
#include "editing/helpers/paths.h"
#include "listing/classic_listing.h"
#include "support/archive_factory.h"
#include "support/recording_ports.h"

using namespace fixtures;

namespace {

// Rules as "ext,type,level", taken as written: no range check, so that
// types the program does not know can be tried. Entry 0 is the spare.
QVector<ExtensionRule> Rules(const QStringList &texts, const ExtensionRule &spare = {})
{
    QVector<ExtensionRule> rules{spare};
    for (const QString &text : texts) {
        const QStringList f = text.split(',');
        rules.append({f[0], qint16(f[1].toInt()), qint16(f[2].toInt())});
    }
    return rules;
}

// The rows of a listing, by name.
RecordingPorts Listing(const QString &archive, const AppConfig &config = {})
{
    RecordingPorts out;
    auto ports = out.ports();
    qint64 total = 0;
    LoadArchiveClassic(archive, config, ports, total);
    return out;
}

}  // namespace

class TestAddFiles : public QObject {
    Q_OBJECT
    QTemporaryDir dir;
    QString Path(const QString &name) const { return dir.filePath(name); }

    AddReport Add(const QString &archive, const QStringList &names, const QString &folder,
                  const AppConfig &config = {}, const QByteArray &prefix = {})
    {
        BatchTrace trace;
        return AddFiles(archive, names, folder, prefix, config, trace, trace);
    }

private slots:
    void chooseMethod_data();
    void chooseMethod();
    void emptyFileBecomesAnArchive();
    void storedNameIsReplaced();
    void batchGoesOnPastFailures();
    void prefixAndDoubledSeparator();
    void pathsThatTakeNoArchive_data();
    void pathsThatTakeNoArchive();
    void anyMaximumFileCount_data();
    void anyMaximumFileCount();
    void firstRunRulesOnDisk_data();
    void firstRunRulesOnDisk();
    void waveQualities_data();
    void waveQualities();
};

void TestAddFiles::chooseMethod_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QStringList>("rules");
    QTest::addColumn<int>("defaultCompression");
    QTest::addColumn<int>("deflateLevel");
    QTest::addColumn<bool>("encrypt");
    QTest::addColumn<int>("kind");
    QTest::addColumn<uint>("flags");
    QTest::addColumn<uint>("type");
    QTest::addColumn<int>("level");

    const int file = AddMethod::File, wave = AddMethod::Wave, skip = AddMethod::Skip;
    const QStringList none;
    QTest::newRow("case of both sides") << "Readme.WAV" << QStringList{".txt,0,0", ".wav,3,2"} << 0 << 0 << false
                                        << wave << 0x201u << 0u << 2;
    QTest::newRow("rule written upper") << "a.mpq" << QStringList{".MPQ,0,0"} << 0 << 0 << false << file << 0x1u
                                        << 0u << 0;
    QTest::newRow("last point counts") << "archive.tar.gz" << QStringList{".tar,0,0", ".gz,2,0"} << 0 << 6 << false
                                       << file << 0x201u << 2u << 5;
    QTest::newRow("no point, no rule") << "readme" << QStringList{".txt,0,0"} << 0 << 0 << false << file << 0x201u
                                       << 8u << 0;
    QTest::newRow("no point, rule \".\"") << "readme" << QStringList{".txt,1,0", ".,0,0"} << 0 << 0 << false << file
                                          << 0x1u << 0u << 0;
    QTest::newRow("point in a folder, \\") << "v1.2\\readme" << QStringList{".,0,0", ".2,0,0"} << 0 << 0 << false
                                           << file << 0x201u << 8u << 0;
    QTest::newRow("point in a folder, /") << "v1.2/readme" << QStringList{".,0,0", ".2,0,0"} << 0 << 0 << false
                                          << file << 0x201u << 8u << 0;
    QTest::newRow("first of two rules") << "x.dat" << QStringList{".dat,1,0", ".DAT,0,0"} << 0 << 0 << false << file
                                        << 0x201u << 8u << 0;
    QTest::newRow("empty rule matches nothing") << "readme" << QStringList{",0,0"} << 1 << 3 << false << file
                                                << 0x201u << 2u << 2;
    QTest::newRow("default deflate, level -1") << "x.txt" << none << 1 << 0 << false << file << 0x201u << 2u << -1;
    QTest::newRow("default deflate, level 9") << "x.txt" << none << 1 << 10 << false << file << 0x201u << 2u << 9;
    QTest::newRow("hand-edited level, high") << "x.txt" << none << 1 << 99 << false << file << 0x201u << 2u << 9;
    QTest::newRow("hand-edited level, low") << "x.txt" << none << 1 << -7 << false << file << 0x201u << 2u << -1;
    QTest::newRow("deflate rule takes the default level") << "x.txt" << QStringList{".txt,2,2"} << 0 << 4 << false
                                                          << file << 0x201u << 2u << 3;
    QTest::newRow("standard rule under default deflate") << "x.txt" << QStringList{".txt,1,2"} << 1 << 4 << false
                                                         << file << 0x201u << 8u << 0;
    QTest::newRow("encrypt, none") << "m.bik" << QStringList{".bik,0,0"} << 0 << 0 << true << file << 0x10001u << 0u
                                   << 0;
    QTest::newRow("encrypt, default") << "m.txt" << QStringList{".bik,0,0"} << 0 << 0 << true << file << 0x10201u
                                      << 8u << 0;
    QTest::newRow("encrypt, wave") << "m.wav" << QStringList{".wav,3,1"} << 0 << 0 << true << wave << 0x10201u << 0u
                                   << 1;
    QTest::newRow("unknown type") << "x.odd" << QStringList{".odd,7,0"} << 0 << 0 << false << skip << 0u << 0u << 0;
}

void TestAddFiles::chooseMethod()
{
    QFETCH(QString, name);
    QFETCH(QStringList, rules);
    QFETCH(int, defaultCompression);
    QFETCH(int, deflateLevel);
    QFETCH(bool, encrypt);
    QFETCH(int, kind);
    QFETCH(uint, flags);
    QFETCH(uint, type);
    QFETCH(int, level);
    AppConfig config;
    // The spare entry 0 would match every row; it must never be looked at.
    config.ExtensionRules = Rules(rules, ExtensionRule{"." + GetExtension(name), 0, 0});
    config.DefaultCompression = qint16(defaultCompression);
    config.DefaultDeflateLevel = qint16(deflateLevel);
    config.Encrypt = encrypt;
    const AddMethod method = ChooseAddMethod(name, config);
    QCOMPARE(int(method.kind), kind);
    if (kind == AddMethod::Skip) return;
    QCOMPARE(method.flags, flags);
    QCOMPARE(method.compressionType, type);
    QCOMPARE(method.level, level);
}

void TestAddFiles::emptyFileBecomesAnArchive()
{
    // What New leaves behind: an empty file, which only the second open takes.
    const QString archive = WriteFile(Path("new/new.mpq"), {});
    WriteFile(Path("new/src/a.txt"), TextData(5000));
    WriteFile(Path("new/src/sub/b.bin"), TextData(300, 'b'));
    const AddReport report = Add(archive, {"a.txt", "sub/b.bin"}, Path("new/src"));
    QVERIFY(report.opened);
    QCOMPARE(report.added, 2);
    QVERIFY(report.failed.isEmpty() && report.skipped.isEmpty());
    QCOMPARE(ReadStored(archive, "a.txt"), TextData(5000));
    QCOMPARE(ReadStored(archive, "sub\\b.bin"), TextData(300, 'b'));
    // The internal list is kept, so a listing names both files.
    const RecordingPorts listing = Listing(archive);
    QVERIFY(listing.row("a.txt") && listing.row("sub\\b.bin"));
}

void TestAddFiles::storedNameIsReplaced()
{
    const QString archive = Path("replace.mpq");
    WriteFile(Path("replace/a.txt"), TextData(4000, 'x'));
    WriteFile(Path("replace/b.txt"), TextData(10, 'y'));
    QCOMPARE(Add(archive, {"a.txt", "b.txt"}, Path("replace")).added, 2);
    const auto rowsBefore = Listing(archive).rows.size();

    WriteFile(Path("replace/a.txt"), TextData(123, 'z'));
    QCOMPARE(Add(archive, {"a.txt"}, Path("replace")).added, 1);
    QCOMPARE(Listing(archive).rows.size(), rowsBefore);
    QCOMPARE(ReadStored(archive, "a.txt"), TextData(123, 'z'));
    QCOMPARE(ReadStored(archive, "b.txt"), TextData(10, 'y'));
}

void TestAddFiles::batchGoesOnPastFailures()
{
    const QString archive = Path("batch.mpq");
    WriteFile(Path("batch/one.txt"), "1");
    WriteFile(Path("batch/x.odd"), "odd");
    WriteFile(Path("batch/two.txt"), "22");
    AppConfig config;
    config.ExtensionRules = Rules({".odd,7,0"});
    BatchTrace trace;
    const AddReport report =
        AddFiles(archive, {"one.txt", "gone.txt", "", "x.odd", "two.txt"}, Path("batch"), {}, config, trace, trace);
    QVERIFY(report.opened);
    QCOMPARE(report.added, 2);
    QCOMPARE(report.failed, (QStringList{"gone.txt", ""}));
    QCOMPARE(report.skipped, QStringList{"x.odd"});
    // Every entry is named and gets its turn, the skipped one too; nothing
    // follows the last turn: the listing that comes next says "ready".
    const QStringList expected = {"Aggiunta file one.txt", "<yield>", "Aggiunta file gone.txt", "<yield>",
                                  "Aggiunta file ",        "<yield>", "Aggiunta file x.odd",    "<yield>",
                                  "Aggiunta file two.txt", "<yield>"};
    QCOMPARE(trace.events, expected);
    QCOMPARE(ReadStored(archive, "one.txt"), QByteArray("1"));
    QCOMPARE(ReadStored(archive, "two.txt"), QByteArray("22"));
    bool ok = true;
    ReadStored(archive, "x.odd", &ok);
    QVERIFY(!ok);
}

void TestAddFiles::prefixAndDoubledSeparator()
{
    const QString archive = Path("prefix.mpq");
    WriteFile(Path("prefix/dir/x.txt"), "x");
    WriteFile(Path("prefix/è.txt"), "e");
    // A folder that ends in "/" gives "//" before the name: still found.
    const AddReport report = Add(archive, {"dir/x.txt", "è.txt"}, Path("prefix/"), {}, "Data\\");
    QCOMPARE(report.added, 2);
    QCOMPARE(ReadStored(archive, "Data\\dir\\x.txt"), QByteArray("x"));
    QCOMPARE(ReadStored(archive, "Data\\\xC3\xA8.txt"), QByteArray("e"));
}

void TestAddFiles::pathsThatTakeNoArchive_data()
{
    QTest::addColumn<QString>("kind");
    QTest::newRow("text file") << "text";
    QTest::newRow("folder") << "folder";
    QTest::newRow("in a missing folder") << "missing";
}

void TestAddFiles::pathsThatTakeNoArchive()
{
    QFETCH(QString, kind);
    const QString source = WriteFile(Path("none/src/a.txt"), "a");
    const QByteArray text = "this is no archive\r\n";
    QString archive = Path("none/" + kind + ".mpq");
    if (kind == "text") WriteFile(archive, text);
    if (kind == "folder") QDir().mkpath(archive);
    if (kind == "missing") archive = Path("none/absent/x.mpq");
    BatchTrace trace;
    const AddReport report = AddFiles(archive, {"a.txt"}, Path("none/src"), {}, AppConfig{}, trace, trace);
    QVERIFY(!report.opened);
    QCOMPARE(report.added, 0);
    QVERIFY(trace.events.isEmpty());
    if (kind == "text") QCOMPARE(ReadFile(archive), text);
    if (kind == "folder") QVERIFY(QDir(archive).isEmpty());
    if (kind == "missing") QVERIFY(!QFileInfo::exists(Path("none/absent")));
    QCOMPARE(ReadFile(source), QByteArray("a"));
}

void TestAddFiles::anyMaximumFileCount_data()
{
    QTest::addColumn<int>("maximum");
    QTest::addColumn<int>("tableSize");  // of the new archive's table; 0: not looked at
    QTest::newRow("default") << 1024 << 1024;
    QTest::newRow("largest the dialog takes") << 999999 << 1048576;
    QTest::newRow("one: the table grows") << 1 << 0;
    QTest::newRow("zero") << 0 << 0;
    QTest::newRow("negative") << -1 << 0;
    QTest::newRow("hand-edited, StormLib crashes") << 200000000 << 1048576;
    QTest::newRow("hand-edited, largest") << std::numeric_limits<qint32>::max() << 1048576;
}

void TestAddFiles::anyMaximumFileCount()
{
    // The count reaches the engine as the settings hold it; whatever it is, a
    // new archive takes the whole batch (a full table grows) and nothing crashes.
    QFETCH(int, maximum);
    QFETCH(int, tableSize);
    const QString archive = WriteFile(Path(QStringLiteral("max/%1.mpq").arg(maximum)), {});
    QStringList names;
    for (int i = 0; i < 6; ++i) names.append(QString::number(i) + ".txt");
    for (const QString &name : names) WriteFile(Path("max/src/" + name), name.toUtf8());
    AppConfig config;
    config.DefaultMaxFiles = maximum;
    const AddReport report = Add(archive, names, Path("max/src"), config);
    QVERIFY(report.opened);
    QCOMPARE(report.added, int(names.size()));
    for (const QString &name : names) QCOMPARE(ReadStored(archive, name.toStdString()), name.toUtf8());
    if (tableSize == 0) return;
    const mpq::Archive handle = mpq::SFileOpenArchive(Bytes(archive));
    QVERIFY(handle);
    QCOMPARE(mpq::SFileGetFileInfo(handle.get(), mpq::SFILE_INFO_HASH_TABLE_SIZE), std::int64_t(tableSize));
}

void TestAddFiles::firstRunRulesOnDisk_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("encrypt");
    QTest::addColumn<QString>("letters");
    QTest::addColumn<bool>("plain");  // stored as it is: the stored size is the size
    QTest::newRow("rule none") << "movie.bik" << false << "---" << true;
    QTest::newRow("no rule") << "notes.txt" << false << "C--" << false;
    QTest::newRow("audio") << "sound.wav" << false << "C--" << false;
    QTest::newRow("encrypted, rule none") << "movie.bik" << true << "-E-" << true;
    QTest::newRow("encrypted, no rule") << "notes.txt" << true << "CE-" << false;
    QTest::newRow("encrypted, audio") << "sound.wav" << true << "CE-" << false;
}

void TestAddFiles::firstRunRulesOnDisk()
{
    QFETCH(QString, name);
    QFETCH(bool, encrypt);
    QFETCH(QString, letters);
    QFETCH(bool, plain);
    // The rules as a first run writes them and the settings read them back.
    AppConfig config;
    config.IniPath = Path("seeded/Arcavera.ini");
    QDir().mkpath(Path("seeded"));
    if (!QFileInfo::exists(config.IniPath)) QVERIFY(SeedFirstRun(config.IniPath));
    LoadAppConfig(config);
    QCOMPARE(config.ExtensionRules.size(), 8);
    config.Encrypt = encrypt;

    const QByteArray data = name.endsWith(".wav") ? WaveData(40000) : TextData(30000);
    const QString tag = QString(QTest::currentDataTag()).replace(' ', '_').remove(',');
    WriteFile(Path("seeded/" + tag + "/" + name), data);
    const QString archive = Path("seeded/" + tag + ".mpq");
    QCOMPARE(Add(archive, {name}, Path("seeded/" + tag), config).added, 1);

    const RecordingPorts listing = Listing(archive, config);
    const ListRow *row = listing.row(name);
    QVERIFY(row != nullptr);
    QCOMPARE(row->columns[ListRow::Attribute], letters);
    QCOMPARE(row->FullSize, std::uint32_t(data.size()));
    if (plain)
        QCOMPARE(row->CompressedSize, row->FullSize);
    else
        QVERIFY2(row->CompressedSize < row->FullSize / 2, qPrintable(QString::number(row->CompressedSize)));
    if (!name.endsWith(".wav")) QCOMPARE(ReadStored(archive, name.toStdString()), data);
}

void TestAddFiles::waveQualities_data()
{
    QTest::addColumn<int>("quality");
    QTest::addColumn<bool>("lossy");
    // StormLib gives "medium" and "low" the same audio compression; "high"
    // keeps every sample.
    QTest::newRow("normal") << 0 << true;
    QTest::newRow("smallest") << 1 << true;
    QTest::newRow("best") << 2 << false;
}

void TestAddFiles::waveQualities()
{
    QFETCH(int, quality);
    QFETCH(bool, lossy);
    const QByteArray wave = WaveData(60000);
    WriteFile(Path("wave/sound.wav"), wave);
    AppConfig config;
    config.ExtensionRules = Rules({QStringLiteral(".wav,3,%1").arg(quality)});
    const QString archive = Path(QStringLiteral("wave-%1.mpq").arg(quality));
    QCOMPARE(Add(archive, {"sound.wav"}, Path("wave"), config).added, 1);
    const QByteArray back = ReadStored(archive, "sound.wav");
    QCOMPARE(back.size(), wave.size());
    QCOMPARE(back.left(44), wave.left(44));  // the header is no sound
    QCOMPARE(back != wave, lossy);
    const RecordingPorts listing = Listing(archive);
    const ListRow *row = listing.row("sound.wav");
    QVERIFY(row != nullptr);
    QCOMPARE(row->columns[ListRow::Attribute], QStringLiteral("C--"));
    // Noise does not shrink without loss; the audio compression takes it to
    // well under half.
    QCOMPARE(row->CompressedSize < row->FullSize / 2, lossy);
}

QTEST_GUILESS_MAIN(TestAddFiles)
#include "test_add_files.moc"
