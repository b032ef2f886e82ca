// The flat listing and the name sources behind it, on archives the tests make.
#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include "config/app_config.h"
#include "listing/classic_listing.h"
#include "listing/name_sources.h"
#include "listing/row_order.h"
#include "support/archive_factory.h"
#include "support/recording_ports.h"

using namespace fixtures;

class TestClassicListing : public QObject {
    Q_OBJECT
    QTemporaryDir dir;
    QString Path(const QString &name) const { return dir.filePath(name); }

    RecordingPorts Load(const QString &path, const AppConfig &config, bool *ok = nullptr, qint64 *total = nullptr)
    {
        RecordingPorts out;
        auto ports = out.ports();
        qint64 sum = -7;
        const bool result = LoadArchiveClassic(path, config, ports, sum);
        if (ok) *ok = result;
        if (total) *total = sum;
        return out;
    }

private slots:
    void attributeLetters_data();
    void attributeLetters();
    void ratioTexts_data();
    void ratioTexts();
    void numbersAgreeWithTheLocale();
    void extensionColumn_data();
    void extensionColumn();
    void listTextByTable_data();
    void listTextByTable();
    void rowsOfAnArchive();
    void statusAndProgressOfAListing();
    void pathsThatAreNoFile_data();
    void pathsThatAreNoFile();
    void filesThatHoldNoArchive_data();
    void filesThatHoldNoArchive();
    void unknownEntriesGetDetectedExtensions_data();
    void unknownEntriesGetDetectedExtensions();
    void emptyInternalListSkipsExternalLists_data();
    void emptyInternalListSkipsExternalLists();
    void noSourceOfNamesAtAll();
    void refreshGivesTheSameRows();
    void sortIsByText_data();
    void sortIsByText();
};

void TestClassicListing::attributeLetters_data()
{
    QTest::addColumn<quint32>("flags");
    QTest::addColumn<QString>("letters");
    QTest::newRow("compress") << 0x200u << "C--";
    QTest::newRow("implode") << 0x100u << "C--";
    QTest::newRow("compress, encrypt") << 0x10200u << "CE-";
    QTest::newRow("all") << 0x30200u << "CEX";
    QTest::newRow("key fix alone") << 0x20000u << "--X";
    QTest::newRow("none") << 0u << "---";
    QTest::newRow("exists bit only") << 0x80000000u << "---";
}

void TestClassicListing::attributeLetters()
{
    QFETCH(quint32, flags);
    QFETCH(QString, letters);
    QCOMPARE(AttributeLetters(flags), letters);
}

void TestClassicListing::ratioTexts_data()
{
    QTest::addColumn<quint32>("full");
    QTest::addColumn<quint32>("compressed");
    QTest::addColumn<QString>("text");
    // The tests run in the C locale: "." for decimals, "," for thousands.
    QTest::newRow("three quarters") << 4000u << 3000u << "25.00%";
    QTest::newRow("stored plain") << 100u << 100u << "0.00%";
    QTest::newRow("larger when stored") << 100u << 150u << "-50.00%";
    QTest::newRow("empty file") << 0u << 0u << "0.00%";
    QTest::newRow("empty file with overhead") << 0u << 16u << "0.00%";
    QTest::newRow("two decimals round") << 3u << 1u << "66.67%";
}

void TestClassicListing::ratioTexts()
{
    QFETCH(quint32, full);
    QFETCH(quint32, compressed);
    QFETCH(QString, text);
    QCOMPARE(FormatRatio(full, compressed), text);
    QCOMPARE(FormatSize(1234567), QStringLiteral("1,234,567"));
    QCOMPARE(FormatSize(0), QStringLiteral("0"));
}

void TestClassicListing::numbersAgreeWithTheLocale()
{
    // The quick formatting gives what the user's locale gives, for sizes and
    // savings of every magnitude and sign (exact ties in the third decimal
    // aside, which the quick path rounds away from zero).
    QLocale locale = QLocale::system();
    locale.setNumberOptions(locale.numberOptions() & ~QLocale::OmitGroupSeparator);
    std::uint32_t x = 2463534242u;
    auto next = [&x] { x ^= x << 13; x ^= x >> 17; x ^= x << 5; return x; };
    const std::uint32_t edges[] = {0u, 1u, 9u, 999u, 1000u, 999999u, 1000000u, 4294967295u};
    for (std::uint32_t value : edges) QCOMPARE(FormatSize(value), locale.toString(qulonglong{value}));
    for (int i = 0; i < 20000; ++i) {
        const std::uint32_t full = next() >> (next() % 32);
        const std::uint32_t compressed = i % 3 == 0 ? full + next() % 5000 : (full ? next() % (full + 1) : 0);
        QCOMPARE(FormatSize(full), locale.toString(qulonglong{full}));
        if (full == 0) continue;
        const std::int64_t numerator = (std::int64_t{full} - std::int64_t{compressed}) * 10000;
        if (std::abs(numerator % std::int64_t{full}) * 2 == std::int64_t{full}) continue;
        const double saving = 1.0 - double(compressed) / double(full);
        QCOMPARE(FormatRatio(full, compressed), locale.toString(saving * 100.0, 'f', 2) + locale.percent());
    }
}

void TestClassicListing::extensionColumn_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QString>("ext");
    QTest::newRow("plain") << QByteArray("war3map.j") << "j";
    QTest::newRow("no point") << QByteArray("units\\readme") << "";
    QTest::newRow("point in a folder") << QByteArray("dir.x\\file") << "x\\file";
    QTest::newRow("last point counts") << QByteArray("a.b.mdx") << "mdx";
}

void TestClassicListing::extensionColumn()
{
    QFETCH(QByteArray, name);
    QFETCH(QString, ext);
    mpq::FileListEntry record;
    record.FileExists = 1;
    QCOMPARE(MakeListRow(record, name).columns[ListRow::Ext], ext);
    QCOMPARE(MakeListRow(record, name).Tag, name);
}

void TestClassicListing::listTextByTable_data()
{
    QTest::addColumn<bool>("found");
    QTest::addColumn<qint16>("useLists");
    QTest::addColumn<QByteArray>("expected");
    const QByteArray internal = "a.txt\r\nb.txt";
    QTest::newRow("found, skip lists") << true << qint16(1) << internal;
    QTest::newRow("found, use lists") << true << qint16(0) << internal + "\r\n/l/one.txt\r\n/l/two.txt\r\n";
    QTest::newRow("found, odd value uses lists") << true << qint16(7) << internal + "\r\n/l/one.txt\r\n/l/two.txt\r\n";
    QTest::newRow("absent") << false << qint16(1) << QByteArray("/l/one.txt\r\n/l/two.txt\r\n");
}

void TestClassicListing::listTextByTable()
{
    QFETCH(bool, found);
    QFETCH(qint16, useLists);
    QFETCH(QByteArray, expected);
    QCOMPARE(FormListText(found, "a.txt\r\nb.txt", useLists, "/l/one.txt\r\n/l/two.txt\r\n"), expected);
    QCOMPARE(FormListText(false, {}, useLists, {}), QByteArray());
}

void TestClassicListing::rowsOfAnArchive()
{
    const QString path = Path("rows.mpq");
    const QByteArray text = TextData(40000);
    QVERIFY(MakeArchive(path, {{"war3map.j", text, mpq::MAFA_COMPRESS, mpq::MAFA_COMPRESS_DEFLATE},
                               {"Units\\plain.blp", TextData(3000, 'p'), 0, mpq::MAFA_COMPRESS_NONE},
                               {"secret.txt", TextData(500, 's'), mpq::MAFA_COMPRESS | mpq::MAFA_ENCRYPT,
                                mpq::MAFA_COMPRESS_STANDARD}},
                        Path("src-rows")));
    AppConfig config;
    bool ok = false;
    qint64 total = 0;
    const RecordingPorts out = Load(path, config, &ok, &total);
    QVERIFY(ok);
    const ListRow *j = out.row("war3map.j");
    QVERIFY(j != nullptr);
    QCOMPARE(j->columns[ListRow::Ext], QStringLiteral("j"));
    QCOMPARE(j->columns[ListRow::Size], QStringLiteral("40,000"));
    QCOMPARE(j->columns[ListRow::Compressed], FormatSize(j->CompressedSize));
    QVERIFY(j->CompressedSize < 4000);
    QCOMPARE(j->columns[ListRow::Ratio], FormatRatio(40000, j->CompressedSize));
    QCOMPARE(j->columns[ListRow::Attribute], QStringLiteral("C--"));
    QCOMPARE(j->Tag, QByteArray("war3map.j"));
    const ListRow *blp = out.row("Units\\plain.blp");
    QVERIFY(blp != nullptr);
    QCOMPARE(blp->columns[ListRow::Attribute], QStringLiteral("---"));
    QCOMPARE(blp->columns[ListRow::Ratio], QStringLiteral("0.00%"));
    QCOMPARE(out.row("secret.txt")->columns[ListRow::Attribute], QStringLiteral("CE-"));
    // The three files and the internal list, which no list names.
    QCOMPARE(int(out.rows.size()), 4);
    qint64 sum = 0;
    for (const ListRow &r : out.rows) sum += r.FullSize;
    QCOMPARE(total, sum);
    QVERIFY(total >= 40000 + 3000 + 500);
}

void TestClassicListing::statusAndProgressOfAListing()
{
    QList<HandFile> files = {{"(listfile)", "a.txt\r\nb.txt\r\n"}, {"a.txt", "A"}, {"b.txt", "BB"}};
    const QString path = WriteFile(Path("progress.mpq"), HandMadeArchive(4, files));
    AppConfig config;
    const RecordingPorts out = Load(path, config);
    QCOMPARE(out.progressMax, 4);
    QCOMPARE(out.progressValues, (std::vector<int>{0, 1, 2, 3, 4}));
    QCOMPARE(out.progressVisible, (std::vector<bool>{true, false}));
    QCOMPARE(out.sortedSwitches, (std::vector<bool>{false, true}));
    for (bool whileSorted : out.rowAddedWhileSorted) QVERIFY(!whileSorted);
    const QStringList expected = {"Estrazione lista da " + path, "Apertura archivio MPQ - 0%",
                                  "Apertura archivio MPQ - 0%", "Apertura archivio MPQ - 25%",
                                  "Apertura archivio MPQ - 50%", "Apertura archivio MPQ - 75%",
                                  "Apertura archivio MPQ - 100%", "Pronto"};
    QCOMPARE(out.statusTexts, expected);
    QVERIFY(out.row("a.txt") && out.row("b.txt") && out.row("(listfile)") == nullptr);
}

void TestClassicListing::pathsThatAreNoFile_data()
{
    QTest::addColumn<QString>("kind");
    QTest::newRow("empty path") << "";
    QTest::newRow("missing") << "missing";
    QTest::newRow("folder") << "folder";
}

void TestClassicListing::pathsThatAreNoFile()
{
    QFETCH(QString, kind);
    QString path;
    if (kind == "missing") path = Path("gone.mpq");
    if (kind == "folder") { path = Path("a-folder.mpq"); QDir().mkpath(path); }
    AppConfig config;
    bool ok = true;
    qint64 total = 0;
    const RecordingPorts out = Load(path, config, &ok, &total);
    QVERIFY(!ok);
    QCOMPARE(total, qint64(-7));  // not even the total is touched
    QVERIFY(out.statusTexts.isEmpty() && out.rows.empty() && out.progressVisible.empty());
}

void TestClassicListing::filesThatHoldNoArchive_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::newRow("empty file") << QByteArray();
    QTest::newRow("text") << QByteArray("hello, this is no archive\r\n");
    QTest::newRow("one hash slot") << HandMadeArchive(1, {{"only.txt", "x"}});
}

void TestClassicListing::filesThatHoldNoArchive()
{
    QFETCH(QByteArray, content);
    const QString path = WriteFile(Path(QString(QTest::currentDataTag()).replace(' ', '_') + ".mpq"), content);
    AppConfig config;
    bool ok = false;
    qint64 total = -1;
    const RecordingPorts out = Load(path, config, &ok, &total);
    QVERIFY(ok);
    QCOMPARE(total, qint64(0));
    QVERIFY(out.rows.empty() && out.statusTexts.isEmpty() && out.progressVisible.empty());
}

void TestClassicListing::unknownEntriesGetDetectedExtensions_data()
{
    QTest::addColumn<bool>("autoDetect");
    QTest::newRow("detection on") << true;
    QTest::newRow("detection off") << false;
}

void TestClassicListing::unknownEntriesGetDetectedExtensions()
{
    QFETCH(bool, autoDetect);
    const QList<HandFile> files = {{"sound.wav", "RIFF\x10\x00\x00\x00WAVE"}, {"tiny", "MZ"},
                                   {"pic", "GIF89a......"}, {"text", "just text"}};
    const QString path = WriteFile(Path(QStringLiteral("unknown-%1.mpq").arg(autoDetect)), HandMadeArchive(8, files));
    AppConfig config;
    config.AutoDetectFile = autoDetect ? 1 : 0;
    const RecordingPorts out = Load(path, config);
    QCOMPARE(int(out.rows.size()), 4);
    QStringList extensions;
    for (const ListRow &r : out.rows) {
        QVERIFY(r.text().startsWith(QStringLiteral("~unknowns\\")));
        QCOMPARE(r.Tag, r.text().toLatin1());
        extensions.append(r.columns[ListRow::Ext]);
        // The shown name, extension and all, opens the stored file.
        bool ok = false;
        ReadStored(path, r.Tag.toStdString(), &ok);
        QVERIFY(ok);
    }
    extensions.sort();
    if (autoDetect) QCOMPARE(extensions, (QStringList{"", "", "gif", "wav"}));
    else QCOMPARE(extensions, (QStringList{"", "", "", ""}));
}

void TestClassicListing::emptyInternalListSkipsExternalLists_data()
{
    QTest::addColumn<qint16>("useLists");
    QTest::addColumn<bool>("named");
    QTest::newRow("skip lists") << qint16(1) << false;
    QTest::newRow("use lists") << qint16(0) << true;
}

void TestClassicListing::emptyInternalListSkipsExternalLists()
{
    QFETCH(qint16, useLists);
    QFETCH(bool, named);
    const QString path = WriteFile(Path(QStringLiteral("empty-list-%1.mpq").arg(useLists)),
                                   HandMadeArchive(8, {{"(listfile)", ""}, {"units\\hero.mdx", "MDLX"}}));
    const QString external = WriteFile(Path("lists/external.txt"), "units\\hero.mdx\r\n");
    AppConfig config;
    config.UseLists = useLists;
    config.ListFiles = external + "\r\n";
    const RecordingPorts out = Load(path, config);
    QCOMPARE(out.statusTexts.first(), "Estrazione lista da " + path);  // size 0 counts as found
    QCOMPARE(out.row("units\\hero.mdx") != nullptr, named);
}

void TestClassicListing::noSourceOfNamesAtAll()
{
    const QString path = WriteFile(Path("no-names.mpq"), HandMadeArchive(8, {{"a.txt", "a"}, {"b.txt", "b"}}));
    AppConfig config;
    config.AutoDetectFile = 0;
    const RecordingPorts out = Load(path, config);
    QCOMPARE(out.statusTexts.first(), QStringLiteral("Lettura lista esterna"));
    QCOMPARE(int(out.rows.size()), 2);
    for (const ListRow &r : out.rows) QVERIFY(r.text().contains(QStringLiteral("~unknowns")));
}

void TestClassicListing::refreshGivesTheSameRows()
{
    const QString path = Path("twice.mpq");
    QVERIFY(MakeArchive(path, {{"a.txt", TextData(100)}, {"b\\c.txt", TextData(200)}}, Path("src-twice")));
    AppConfig config;
    qint64 first = 0, second = 0;
    const RecordingPorts one = Load(path, config, nullptr, &first);
    const RecordingPorts two = Load(path, config, nullptr, &second);
    QCOMPARE(first, second);
    QCOMPARE(one.rows.size(), two.rows.size());
    for (std::size_t i = 0; i < one.rows.size(); ++i) {
        QCOMPARE(one.rows[i].columns, two.rows[i].columns);
        QCOMPARE(one.rows[i].Tag, two.rows[i].Tag);
    }
}

void TestClassicListing::sortIsByText_data()
{
    QTest::addColumn<int>("key");
    QTest::addColumn<int>("order");
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("size is text, ascending") << 2 << 0 << QStringList{"big", "small", "middle"};
    QTest::newRow("size is text, descending") << 2 << 1 << QStringList{"middle", "small", "big"};
    QTest::newRow("name without case") << 0 << 0 << QStringList{"big", "middle", "small"};
}

void TestClassicListing::sortIsByText()
{
    QFETCH(int, key);
    QFETCH(int, order);
    QFETCH(QStringList, expected);
    auto row = [](const char *name, const char *size) {
        ListRow r;
        r.columns[ListRow::Name] = QString::fromLatin1(name);
        r.columns[ListRow::Size] = QString::fromLatin1(size);
        return r;
    };
    std::vector<ListRow> rows = {row("small", "2,000"), row("Middle", "9"), row("big", "10,000")};
    rows[1].columns[ListRow::Name] = QStringLiteral("middle");
    SortRows(rows, key, order);
    QStringList names;
    for (const ListRow &r : rows) names.append(r.text());
    QCOMPARE(names, expected);
}

QTEST_GUILESS_MAIN(TestClassicListing)
#include "test_classic_listing.moc"
