// The listings of both styles and what stands behind them: the engine's names, the type guess, the
// texts of names and numbers, the order of the rows, and the core's side of drags and drops.
#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include <numeric>

#include "editing/drag_drop.h"
#include "listing/classic_listing.h"
#include "listing/content_type.h"
#include "listing/explorer_listing.h"
#include "listing/name_sources.h"
#include "listing/row_order.h"
#include "base/text_encoding.h"
#include "support/archive_factory.h"
#include "support/damaged_data.h"
#include "support/recording_ports.h"

using namespace fixtures;
using Node = RecordingTree::Node;

namespace {

// Texts of our own, so that a listing shows it takes what it is handed.
ListingOptions Options(bool autoDetect = true, qint16 useLists = 1, const QString &listFiles = {})
{
    return ListingOptions{"open %v", "list of %v", "external lists", "ready", "no archive: %v", "damaged: %v", "malformed: %v",
                          "stopped: %v", useLists,  listFiles,    autoDetect,       false,   {}};
}

ListRow Row(const QString &name, quint32 full = 0, quint32 compressed = 0, quint32 flags = 0)
{
    return ListRow{name.toUtf8(), full, compressed, flags};
}

// The bytes of a literal, NULs included.
template <qsizetype N>
QByteArray Raw(const char (&bytes)[N])
{
    return QByteArray(bytes, N - 1);
}

QStringList Names(const std::vector<ListRow> &rows, bool sorted = true)
{
    QStringList names;
    for (const ListRow &row : rows) names.append(row.text());
    return sorted ? (names.sort(), names) : names;
}

// Names in the order of their hash slots in a table of 64.
const QByteArray kCafe = "Caf\xE9\\menu.txt";                        // Windows-1252
const QByteArray kStrasse = "Stra\xC3\x9F" "e\\\xC3\x9C" "bung.txt";  // UTF-8
const QList<QByteArray> kSlotOrder = {"\\lead.txt",       "data\\sound\\a.wav", kCafe,   "top.txt",
                                      "Data\\readme.txt", "(listfile)",         "a\\\\b.txt", "ends\\",
                                      kStrasse,           "DATA\\x.txt"};

}  // namespace

class TestListing : public QObject {
    Q_OBJECT
    QTemporaryDir dir;
    QString tree;  // the archive of kSlotOrder
    QString Path(const QString &name) const { return dir.filePath(name); }

    RecordingPorts Classic(const QString &path, const ListingOptions &options, bool *ok = nullptr, qint64 *total = nullptr)
    {
        RecordingPorts out;
        auto ports = out.ports();
        qint64 sum = -7;
        const bool result = LoadArchiveClassic(path, options, ports, sum);
        if (ok) *ok = result;
        if (total) *total = sum;
        return out;
    }

private slots:
    void initTestCase()
    {
        QList<HandFile> files;
        QByteArray list;
        for (const QByteArray &name : kSlotOrder) list += name + "\r\n";
        for (const QByteArray &name : kSlotOrder) files.append({name, name == "(listfile)" ? list : "data of " + name});
        tree = WriteFile(Path("Maps/Tree.mpq"), HandMadeArchive(64, files));
    }

    // The column texts in the C locale: exact savings rounded half away
    // from zero, a file that grew keeps its sign, grouped sizes.
    void columnTexts_data()
    {
        QTest::addColumn<quint32>("full");
        QTest::addColumn<quint32>("compressed");
        QTest::addColumn<quint32>("flags");
        QTest::addColumn<QStringList>("texts");
        QTest::newRow("compressed") << 40000u << 30000u << 0x200u
                                    << QStringList{"a.b.mdx", "mdx", "40,000", "30,000", "25.00%", "C--"};
        QTest::newRow("imploded, encrypted, key fixed") << 3u << 1u << 0x30100u
                                                        << QStringList{"a.b.mdx", "mdx", "3", "1", "66.67%", "CEX"};
        QTest::newRow("grew") << 100u << 150u << 0x10000u
                              << QStringList{"a.b.mdx", "mdx", "100", "150", "-50.00%", "-E-"};
        QTest::newRow("grew by a little") << 1000000u << 1000001u << 0x80000000u
                                          << QStringList{"a.b.mdx", "mdx", "1,000,000", "1,000,001", "-0.00%", "---"};
        QTest::newRow("empty file") << 0u << 16u << 0u << QStringList{"a.b.mdx", "mdx", "0", "16", "0.00%", "---"};
    }

    void columnTexts()
    {
        QFETCH(quint32, full);
        QFETCH(quint32, compressed);
        QFETCH(quint32, flags);
        QFETCH(QStringList, texts);
        const ListRow row = Row("a.b.mdx", full, compressed, flags);
        for (int column = 0; column < ListRow::ColumnCount; ++column) QCOMPARE(ColumnText(row, column), texts[column]);
        QCOMPARE(ColumnText(Row("dir.x\\file"), ListRow::Ext), QStringLiteral("x\\file"));
    }

    // Run a second time under de_DE (tests/CMakeLists.txt): the numbers are
    // the user's locale's, for every magnitude and sign.
    void numbersAgreeWithTheLocale()
    {
        QLocale locale = QLocale::system();
        locale.setNumberOptions(locale.numberOptions() & ~QLocale::OmitGroupSeparator);
        const NumberTexts numbers;
        std::uint32_t x = 2463534242u;
        auto next = [&x] { x ^= x << 13; x ^= x >> 17; x ^= x << 5; return x; };
        QCOMPARE(FormatSize(4294967295u), locale.toString(qulonglong{4294967295u}));
        for (int i = 0; i < 5000; ++i) {
            const std::uint32_t full = next() >> (next() % 32);
            const std::uint32_t compressed = i % 3 == 0 ? full + next() % 5000 : (full ? next() % (full + 1) : 0);
            QCOMPARE(FormatSize(full), locale.toString(qulonglong{full}));
            // The texts for many rows are the same, in UTF-8.
            std::string size, ratio;
            numbers.AppendSize(size, full);
            numbers.AppendRatio(ratio, full, compressed);
            QCOMPARE(QString::fromStdString(size), FormatSize(full));
            QCOMPARE(QString::fromStdString(ratio), FormatRatio(full, compressed));
            const std::int64_t numerator = (std::int64_t{full} - std::int64_t{compressed}) * 10000;
            if (full == 0 || std::abs(numerator % std::int64_t{full}) * 2 == std::int64_t{full}) continue;
            const double saving = 1.0 - double(compressed) / double(full);
            QCOMPARE(FormatRatio(full, compressed), locale.toString(saving * 100.0, 'f', 2) + locale.percent());
        }
    }

    // The shown texts without regard to case, numbers as text, ties in the order the rows came; a
    // row put in alone goes where the sort would put it.
    void sortOrder_data()
    {
        QTest::addColumn<int>("key");
        QTest::addColumn<int>("order");
        QTest::addColumn<QStringList>("names");
        QTest::addColumn<QStringList>("expected");
        const QStringList mixed{"b.wav", "B.txt", "c.TXT", "É.txt", "é2.txt"};
        QTest::newRow("names without case") << 0 << 0 << mixed << QStringList{"B.txt", "b.wav", "c.TXT", "É.txt", "é2.txt"};
        QTest::newRow("names descending") << 0 << 1 << mixed << QStringList{"é2.txt", "É.txt", "c.TXT", "b.wav", "B.txt"};
        QTest::newRow("extension, ties as they came") << 1 << 0 << mixed << QStringList{"B.txt", "c.TXT", "É.txt", "é2.txt", "b.wav"};
        QTest::newRow("sizes are text") << 2 << 0 << mixed << QStringList{"B.txt", "c.TXT", "é2.txt", "b.wav", "É.txt"};
        QTest::newRow("sizes descending") << 2 << 1 << mixed << QStringList{"É.txt", "b.wav", "é2.txt", "B.txt", "c.TXT"};
        // Plain ASCII names that share long beginnings: they differ within,
        // just behind and far behind the shared part, or only in case, or
        // one is the beginning of another.
        const QStringList ascii{"units\\human\\footman.mdx", "Units\\Human\\Footman.mdx", "units\\human\\foot.mdx",
                                "units\\orc\\grunt.mdx",     "units\\human\\footman.mdx2", "units\\human\\footmen.mdx",
                                "units\\Human\\A.mdx"};
        QTest::newRow("shared beginnings") << 0 << 0 << ascii
                                           << QStringList{"units\\Human\\A.mdx", "units\\human\\foot.mdx",
                                                          "units\\human\\footman.mdx", "Units\\Human\\Footman.mdx",
                                                          "units\\human\\footman.mdx2", "units\\human\\footmen.mdx",
                                                          "units\\orc\\grunt.mdx"};
        QTest::newRow("shared beginnings descending") << 0 << 1 << ascii
                                                      << QStringList{"units\\orc\\grunt.mdx", "units\\human\\footmen.mdx",
                                                                     "units\\human\\footman.mdx2", "units\\human\\footman.mdx",
                                                                     "Units\\Human\\Footman.mdx", "units\\human\\foot.mdx",
                                                                     "units\\Human\\A.mdx"};
    }

    void sortOrder()
    {
        QFETCH(int, key);
        QFETCH(int, order);
        QFETCH(QStringList, names);
        QFETCH(QStringList, expected);
        const quint32 sizes[] = {2000, 10000, 10000, 9, 100, 7, 7};
        std::vector<ListRow> rows;
        for (qsizetype i = 0; i < names.size(); ++i) rows.push_back(Row(names[i], sizes[i]));
        std::vector<ListRow> sorted = rows;
        SortRows(sorted, key, order);
        QCOMPARE(Names(sorted, false), expected);
        std::vector<ListRow> oneByOne;
        for (const ListRow &row : rows)
            oneByOne.insert(oneByOne.begin() + std::ptrdiff_t(SortedPlace(oneByOne, row, key, order)), row);
        QCOMPARE(Names(oneByOne, false), expected);

        // A listing's records, sorted without rows, stand as their rows do.
        QList<HandFile> files;
        std::string listText;
        for (const ListRow &row : rows) {
            files.append({row.Tag, QByteArray(qsizetype(row.FullSize), 'x')});
            listText += row.Tag.toStdString() + "\r\n";
        }
        const QString path = WriteFile(Path("sorted-" + DataTagFileName() + ".mpq"), HandMadeArchive(16, files));
        const mpq::Archive archive = mpq::SFileOpenArchive(Bytes(path));
        mpq::FileList records;
        QVERIFY(mpq::SFileListFiles(archive.get(), listText, records));
        std::vector<ListRow> recordRows;
        for (std::size_t i = 0; i < records.size(); ++i)
            recordRows.push_back(ListRow{QByteArray::fromStdString(std::string(records.Name(i))), records[i].FullSize, 0, 0});
        QStringList fromRecords;
        for (std::uint32_t i : SortRecords(records, key, order)) fromRecords.append(recordRows[i].text());
        SortRows(recordRows, key, order);
        QCOMPARE(fromRecords, Names(recordRows, false));
    }

    void rowsOfAnArchive()
    {
        const QString path = Path("rows.mpq");
        QVERIFY(MakeArchive(path, {{"war3map.j", TextData(40000), mpq::MAFA_COMPRESS, mpq::MAFA_COMPRESS_DEFLATE},
                                   {"Units\\plain.blp", TextData(3000, 'p'), 0, mpq::MAFA_COMPRESS_NONE},
                                   {"secret.txt", TextData(500, 's'), mpq::MAFA_COMPRESS | mpq::MAFA_ENCRYPT,
                                    mpq::MAFA_COMPRESS_STANDARD}},
                            Path("src-rows")));
        bool ok = false;
        qint64 total = 0;
        const RecordingPorts out = Classic(path, Options(), &ok, &total);
        QVERIFY(ok);
        // The three files and the internal list, named by the engine.
        QCOMPARE(Names(out.rows), (QStringList{"(listfile)", "Units\\plain.blp", "secret.txt", "war3map.j"}));
        const ListRow *j = out.row("war3map.j");
        QCOMPARE(j->Tag, QByteArray("war3map.j"));
        QCOMPARE(j->FullSize, 40000u);
        QVERIFY(j->CompressedSize < 4000);
        QCOMPARE(AttributeLetters(j->Flags) + AttributeLetters(out.row("Units\\plain.blp")->Flags) +
                     AttributeLetters(out.row("secret.txt")->Flags), QStringLiteral("C-----CE-"));
        QCOMPARE(total, std::accumulate(out.rows.begin(), out.rows.end(), qint64(0),
                                        [](qint64 sum, const ListRow &r) { return sum + r.FullSize; }));
    }

    // Status and progress move with the percentage, not with each file.
    void statusAndProgressOfAListing()
    {
        QList<HandFile> files{{"(listfile)", ""}};
        for (int i = 0; i < 249; ++i) files.append({"f" + QByteArray::number(i), "x"});
        const QString path = WriteFile(Path("progress.mpq"), HandMadeArchive(512, files));
        const RecordingPorts out = Classic(path, Options());
        QCOMPARE(out.progressValues.size(), std::size_t(101));  // the start, then each percent once
        QCOMPARE(out.progressValues.back(), 249);  // 99.6% shows as 100%
        QCOMPARE(out.progressVisible, (std::vector<bool>{true, false}));
        // The rows come while Sorted is off: the list sorts once.
        QCOMPARE(out.sortedSwitches, (std::vector<bool>{false, true}));
        QCOMPARE(out.statusTexts.size(), 103);
        QCOMPARE(out.statusTexts.mid(0, 4), (QStringList{"list of " + path, "open 0%", "open 1%", "open 2%"}));
        QCOMPARE(out.statusTexts.mid(101), (QStringList{"open 100%", "ready"}));
    }

    // Nothing is listed; only a path that names no file fails; Explorer keeps its list. What
    // does not open as an archive says so, a new archive (an empty file) does not.
    void nothingToList_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<bool>("said");
        QTest::newRow("empty path") << "" << QByteArray() << false;
        QTest::newRow("missing") << "missing" << QByteArray() << true;
        QTest::newRow("folder") << "folder" << QByteArray() << true;
        QTest::newRow("empty file") << "file" << QByteArray() << false;
        QTest::newRow("plain text") << "file" << QByteArray("plain text, no archive") << true;
        QTest::newRow("one hash slot") << "file" << HandMadeArchive(1, {{"a\\b.txt", "x"}}) << false;
    }

    void nothingToList()
    {
        QFETCH(QString, kind);
        QFETCH(QByteArray, content);
        const QString path = kind.isEmpty() ? QString() : Path("nothing-" + DataTagFileName());
        if (kind == "folder") QVERIFY(QDir().mkpath(path));
        if (kind == "file") WriteFile(path, content);
        bool ok = false;
        qint64 total = 0;
        const RecordingPorts flat = Classic(path, Options(), &ok, &total);
        QCOMPARE(ok, kind == "file");
        QCOMPARE(total, qint64(kind == "file" ? 0 : -7));
        QFETCH(bool, said);
        const QStringList status = said ? QStringList{"no archive: " + path} : QStringList{};
        QCOMPARE(flat.statusTexts, status);
        QVERIFY(flat.rows.empty() && flat.progressVisible.empty());

        RecordingPorts ports;
        ports.rows.push_back(Row("left from before"));
        RecordingTree nodes;
        auto listing = ports.ports();
        FolderIndex index;
        QCOMPARE(LoadArchiveExplorer(path, Options(), listing, nodes, index, total), kind == "file");
        QCOMPARE(nodes.nodes.size(), kind == "file" ? 1 : 0);
        QCOMPARE(Names(ports.rows), QStringList{"left from before"});
        QCOMPARE(ports.statusTexts, status);
    }

    // A nameless entry shows the engine's name, plus the extension its first bytes suggest.
    void unknownEntries_data()
    {
        QTest::addColumn<bool>("autoDetect");
        QTest::addColumn<QStringList>("extensions");
        QTest::newRow("detection on") << true << QStringList{"", "", "gif", "wav"};
        QTest::newRow("detection off") << false << QStringList{"", "", "", ""};
    }

    void unknownEntries()
    {
        QFETCH(bool, autoDetect);
        QFETCH(QStringList, extensions);
        const QString path = WriteFile(Path(QStringLiteral("unknown-%1.mpq").arg(autoDetect)),
                                       HandMadeArchive(8, {{"sound.wav", "RIFF\x10\x00\x00\x00WAVE"}, {"tiny", "MZ"},
                                                           {"pic", "GIF89a......"}, {"sub\\text", "just text"}}));
        const RecordingPorts out = Classic(path, Options(autoDetect));
        QCOMPARE(out.statusTexts.first(), QStringLiteral("external lists"));
        QStringList found;
        for (const ListRow &r : out.rows) {
            QVERIFY(r.text().startsWith(QStringLiteral("~unknowns\\unknown")));
            QCOMPARE(r.Tag, r.text().toLatin1());
            found.append(ColumnText(r, ListRow::Ext));
            QVERIFY(!ReadStored(path, r.Tag.toStdString()).isEmpty());  // the shown name opens it
        }
        found.sort();
        QCOMPARE(found, extensions);
    }

    // A nameless file whose probe keeps the engine busy for ever still lists, untyped, beside the
    // others; the listing says nothing of damage.
    void aProbeThatStopsTheEngineStillLists()
    {
        const QString path = WriteFile(Path("probe-stops.mpq"),
                                       HandMadeArchive(8, {{"pic", "GIF89a......"}, EndlessBzip2File("stuck")}));
        const RecordingPorts out = Classic(path, Options());
        QStringList found;
        for (const ListRow &r : out.rows) found.append(ColumnText(r, ListRow::Ext));
        found.sort();
        QCOMPARE(found, (QStringList{"", "gif"}));
        QVERIFY(!out.statusTexts.join('|').contains("damaged"));
    }

    // What more of the first bytes tell where the three-byte signatures find nothing; a size of 0 is the head's own.
    void contentTypes_data()
    {
        QTest::addColumn<QByteArray>("head");
        QTest::addColumn<qint64>("size");
        QTest::addColumn<QString>("extension");
        const QByteArray frame = Raw("\xFF\xFB\x90\0");  // MPEG-1 layer III, 128 kbit/s, 44.1 kHz: 417 bytes
        const QByteArray tga = Raw("\0\0\x02\0\0\0\0\0\0\0\0\0\x02\0\x02\0\x20\x28");  // 2 x 2, 32 bits, 8 of alpha
        QTest::newRow("png") << Raw("\x89PNG\r\n\x1A\n\0\0\0\rIHDR") << qint64(0) << ".png";
        QTest::newRow("dds") << Raw("DDS |\0\0\0") << qint64(0) << ".dds";
        QTest::newRow("dds, another header size") << Raw("DDS }\0\0\0") << qint64(0) << "";
        QTest::newRow("ogg") << Raw("OggS\0\x02") << qint64(0) << ".ogg";
        QTest::newRow("w3e") << Raw("W3E!\x0B\0\0\0L") << qint64(0) << ".w3e";
        QTest::newRow("mp3, two frames") << frame + QByteArray(413, '\0') + frame << qint64(0) << ".mp3";
        QTest::newRow("mp3, no second frame") << frame + QByteArray(417, '\0') << qint64(0) << "";
        QTest::newRow("mp3, next frame past the head") << Raw("\xFF\xFB\xE0\0") << qint64(5000) << ".mp3";
        QTest::newRow("mp3, impossible bitrate") << Raw("\xFF\xFB\xF0\0") << qint64(5000) << "";
        QTest::newRow("tga") << tga << qint64(34) << ".tga";
        QTest::newRow("tga without its pixels") << tga << qint64(0) << "";
        QTest::newRow("truncated tga header") << tga.left(17) << qint64(34) << "";
        QTest::newRow("random binary") << QByteArray::fromHex("5be1c7093f88a2d40e71f6b29c3a5e0d47c2b8f1") << qint64(0) << "";
        QTest::newRow("BM garbage") << Raw("BM\x12\x34\0\0\x01\x02") << qint64(0) << "";
        QTest::newRow("empty") << QByteArray() << qint64(0) << "";
        QTest::newRow("jass") << Raw("\xEF\xBB\xBF// Made by hand\r\n\r\nglobals\r\n    integer x = 0\r\nendglobals\r\n")
                              << qint64(0) << ".j";
        QTest::newRow("words before a keyword") << Raw("see globals below\n") << qint64(0) << ".txt";
        QTest::newRow("text") << Raw("Hello,\tworld\r\nsecond line \xC3\xA4\r\n") << qint64(0) << ".txt";
        QTest::newRow("text with a NUL") << Raw("plain\0text") << qint64(0) << "";
        QTest::newRow("too short for text") << Raw("ab") << qint64(0) << "";
        QTest::newRow("character cut by the head") << Raw("abc \xC3") << qint64(100) << ".txt";
        QTest::newRow("character cut by the file") << Raw("abc \xC3") << qint64(0) << "";
        QTest::newRow("past the looked-at bytes") << QByteArray(kContentHeadSize, 'a') + Raw("\0") << qint64(0) << ".txt";
    }

    void contentTypes()
    {
        QFETCH(QByteArray, head);
        QFETCH(qint64, size);
        QFETCH(QString, extension);
        QCOMPARE(DetectContentExtension(head, size ? size : head.size()), extension);
    }

    // The built-in names, in case-blind order and none twice: stored names ignore case.
    void standardNames()
    {
        QFile file(QStringLiteral(ARCAVERA_LANGUAGES_SOURCE "/../Names/standard.txt"));
        QVERIFY(file.open(QIODevice::ReadOnly));
        QList<QByteArray> names = file.readAll().split('\n');
        QCOMPARE(names.takeLast(), QByteArray());  // the last line ends too
        const auto notBefore = [](const QByteArray &a, const QByteArray &b) { return a.toLower() >= b.toLower(); };
        QVERIFY(std::adjacent_find(names.begin(), names.end(), notBefore) == names.end());
        QVERIFY(names.contains("war3map.j"));
    }

    void listText_data()
    {
        QTest::addColumn<bool>("found");
        QTest::addColumn<qint16>("useLists");
        QTest::addColumn<QByteArray>("expected");
        QTest::newRow("found, skip lists") << true << qint16(1) << QByteArray("a.txt");
        QTest::newRow("found, odd value uses lists") << true << qint16(7) << QByteArray("a.txt\r\n/l/one.txt\r\n");
        QTest::newRow("absent") << false << qint16(1) << QByteArray("/l/one.txt\r\n");
    }

    void listText()
    {
        QFETCH(bool, found);
        QFETCH(qint16, useLists);
        QFETCH(QByteArray, expected);
        QCOMPARE(QByteArray::fromStdString(FormListText(found, "a.txt", useLists, "/l/one.txt\r\n")), expected);
        // An empty internal list counts as found.
        const QString path = WriteFile(Path(QStringLiteral("empty-list-%1.mpq").arg(useLists)),
                                       HandMadeArchive(8, {{"(listfile)", ""}, {"units\\hero.mdx", "MDLX"}}));
        const QString external = WriteFile(Path("lists/external.txt"), "units\\hero.mdx\r\n");
        const RecordingPorts out = Classic(path, Options(true, useLists, external + "\r\n"));
        QCOMPARE(out.statusTexts.first(), "list of " + path);
        QCOMPARE(out.row("units\\hero.mdx") != nullptr, useLists != 1);
    }

    // In slot order of first appearance; a later spelling of a folder makes
    // no node. The whole archive is summed; the root lists its own files.
    void namesMakeTheTree()
    {
        RecordingPorts ports;
        RecordingTree nodes;
        auto listing = ports.ports();
        qint64 total = -1;
        FolderIndex index;
        QVERIFY(LoadArchiveExplorer(tree, Options(), listing, nodes, index, total));
        const QList<Node> expected = {{"<root>", UpperKey(tree), tree}, {"", "\\", ""},
                                      {"", "DATA\\", "data"},           {"DATA\\", "DATA\\SOUND\\", "sound"},
                                      {"", "CAFÉ\\", "Café"},           {"", "A\\", "a"},
                                      {"A\\", "A\\\\", ""},             {"", "ENDS\\", "ends"},
                                      {"", "STRAßE\\", "Straße"}};
        QCOMPARE(nodes.nodes, expected);
        QCOMPARE(UpperKey(QStringLiteral("stra\u00dfe\\\uFB01le")), QStringLiteral("STRA\u00dfE\\\uFB01LE"));
        const std::vector<ListRow> all = Classic(tree, Options()).rows;
        QCOMPARE(total, std::accumulate(all.begin(), all.end(), qint64(0), [](qint64 n, const ListRow &r) { return n + r.FullSize; }));
        QCOMPARE(Names(ports.rows), (QStringList{"(listfile)", "top.txt"}));
    }

    void folderLists_data()
    {
        QTest::addColumn<QString>("folder");
        QTest::addColumn<QStringList>("names");
        QTest::newRow("each name in its own case") << "data\\" << QStringList{"DATA\\x.txt", "Data\\readme.txt"};
        QTest::newRow("name ending in a backslash") << "ENDS\\" << QStringList{"ends\\"};
        QTest::newRow("doubled backslash") << "A\\\\" << QStringList{"a\\\\b.txt"};
        QTest::newRow("folder above a doubled backslash") << "A\\" << QStringList{};
        QTest::newRow("leading backslash") << "\\" << QStringList{"\\lead.txt"};
        QTest::newRow("windows-1252 name") << "CAFÉ\\" << QStringList{"Café\\menu.txt"};
        QTest::newRow("utf-8 name") << "STRAßE\\" << QStringList{"Straße\\Übung.txt"};
    }

    void folderLists()
    {
        QFETCH(QString, folder);
        QFETCH(QStringList, names);
        // The index lists a folder without the archive, which is gone by then.
        const QString copy = Path("folders-" + DataTagFileName() + ".mpq");
        QVERIFY(QFile::copy(tree, copy));
        RecordingPorts loading;
        RecordingTree nodes;
        auto listing = loading.ports();
        FolderIndex index;
        qint64 total = 0;
        QVERIFY(LoadArchiveExplorer(copy, Options(), listing, nodes, index, total));
        QVERIFY(QFile::remove(copy));
        RecordingPorts ports;
        ports.rows.push_back(Row("left from before"));
        index.Fill(UpperKey(folder), ports);
        QCOMPARE(Names(ports.rows), names);
        QCOMPARE(ports.clears, 1);
        QCOMPARE(ports.sortedSwitches, (std::vector<bool>{false, true}));
    }

    // Delete and rename keep the index true: a deleted file leaves its
    // folder, a renamed one moves to the folder its new name gives it.
    void folderIndexFollowsChanges()
    {
        FolderIndex index;
        for (const char *name : {"top.txt", "Data\\a.txt", "DATA\\b.txt", "data\\sub\\c.txt"})
            index.Add(FolderIndex::FolderKeyOf(name), Row(name));
        index.Remove({"DATA\\b.txt", "not\\stored.txt"});
        index.Rename("Data\\a.txt", "data\\sub\\A.txt");
        const auto listed = [&](const QString &key) {
            RecordingPorts ports;
            index.Fill(key, ports);
            return Names(ports.rows);
        };
        QCOMPARE(listed(""), QStringList{"top.txt"});
        QCOMPARE(listed("DATA\\"), QStringList());
        QCOMPARE(listed("DATA\\SUB\\"), (QStringList{"data\\sub\\A.txt", "data\\sub\\c.txt"}));
    }

    void controlsShownSafely_data()
    {
        QTest::addColumn<QByteArray>("stored");
        QTest::addColumn<QString>("escaped");  // arcavera-cli
        QTest::addColumn<QString>("marked");   // the window
        QTest::newRow("escape") << QByteArray("a\x1b[31mb") << "a\\x1b[31mb" << QStringLiteral("a\u241b[31mb");
        QTest::newRow("line ends and NUL") << QByteArray("a\r\n\0", 4) << "a\\x0d\\x0a\\x00" << QStringLiteral("a\u240d\u240a\u2400");
        QTest::newRow("C1 control in UTF-8") << QByteArray("a\xc2\x9b" "b") << "a\\x9bb" << QStringLiteral("a\u009bb");
        QTest::newRow("C1 control in Windows-1252") << QByteArray("a\x81\xe9") << QStringLiteral("a\\x81\u00e9") << QStringLiteral("a\u0081\u00e9");
    }

    void controlsShownSafely()
    {
        QFETCH(QByteArray, stored);
        QFETCH(QString, escaped);
        QFETCH(QString, marked);
        const QString name = DecodeBytes(stored);
        QCOMPARE(EscapeControls(name), escaped);
        QCOMPARE(MarkControls(name), marked);
        QCOMPARE(UnmarkEdit(name, marked), name);  // an edit that changes nothing
    }

    // An edit of a marked name keeps the controls whose marks it left alone.
    void editsOfMarkedNames()
    {
        QCOMPARE(UnmarkEdit("a\x1b.txt", QStringLiteral("a\u241b2.txt")), QString("a\x1b" "2.txt"));
        QCOMPARE(UnmarkEdit("a\x1b\x1b" "b", QStringLiteral("a\u241bb")), QString("a\x1b" "b"));
        QCOMPARE(UnmarkEdit("ab", QStringLiteral("a\u241bb")), QStringLiteral("a\u241bb"));  // typed anew: a mark
        QCOMPARE(UnmarkEdit("a\x1b", "new.txt"), QString("new.txt"));
    }

    // What a drop adds: names below the folder that holds the dropped items,
    // the last dropped first, a folder's files then an empty entry.
    void dropBatch_data()
    {
        QTest::addColumn<QStringList>("made");  // "/" at the end: an empty folder
        QTest::addColumn<QStringList>("dropped");
        QTest::addColumn<QString>("baseFolder");
        QTest::addColumn<QStringList>("names");
        const QStringList music = {"x/data/music/a.mp3", "x/data/music/sub/b.txt", "x/data/music/.hidden", "x/data/cover.jpg"};
        QTest::newRow("folder, then file") << music << QStringList{"x/data/music/", "x/data/cover.jpg"} << "x/data/"
                                           << QStringList{"cover.jpg", "music/.hidden", "music/a.mp3", "music/sub/b.txt", ""};
        QTest::newRow("an empty folder, a path that is gone") << QStringList{"x/empty/"} << QStringList{"x/empty", "x/gone"}
                                                              << "x/" << QStringList{"", ""};
        QTest::newRow("folders that share a prefix") << QStringList{"x/ab/c.txt", "x/abc/d.txt"}
                                                     << QStringList{"x/ab/c.txt", "x/abc/d.txt"} << "x/"
                                                     << QStringList{"abc/d.txt", "ab/c.txt"};
    }

    void dropBatch()
    {
        QFETCH(QStringList, made);
        QFETCH(QStringList, dropped);
        QFETCH(QString, baseFolder);
        QFETCH(QStringList, names);
        const QString root = Path("drop-" + DataTagFileName()) + "/";
        for (const QString &item : made)
            QVERIFY(item.endsWith('/') ? QDir().mkpath(root + item) : !WriteFile(root + item, item.toUtf8()).isEmpty());
        QStringList paths;
        for (const QString &item : dropped) paths.append(root + item);
        const DropBatch batch = BuildDropBatch(paths);
        QCOMPARE(batch.baseFolder, root + baseFolder);
        QCOMPARE(batch.names, names);
    }

    // A link where the copy goes or inside the scratch folder is never
    // followed: nothing is emptied or written through it.
    void linksAreNotFollowed()
    {
        const QString archive = ArchiveIn(dir.path(), "links.mpq", {{"a.txt", "a"}});
        const QString precious = WriteFile(Path("someone-elses/precious.txt"), "keep me");
        const QString stage = Path("stage");
        QVERIFY(EnsureScratchFolder(stage) && QFile::link(Path("someone-elses"), stage + "/folder-link"));
        BatchTrace trace;
        QCOMPARE(StageDragOut(archive, {"a.txt"}, stage, trace, trace), QStringList{stage + "/a.txt"});
        QVERIFY(QFile::remove(stage + "/a.txt") && QFile::link(precious, stage + "/a.txt"));
        QCOMPARE(ExtractForViewing(archive, "a.txt", stage, trace, trace), QString());
        QCOMPARE(Tree(Path("someone-elses")), (QMap<QString, QByteArray>{{"precious.txt", "keep me"}}));
    }
};

QTEST_GUILESS_MAIN(TestListing)
#include "test_listing.moc"
