// Names for what no list names: the standard names of map files and the
// names that a map's import list, scripts and models mention.
#include <QtTest>

#include "listing/classic_listing.h"
#include "listing/explorer_listing.h"
#include "listing/name_scanner.h"
#include "support/archive_factory.h"
#include "support/recording_ports.h"

using namespace fixtures;

namespace {

QByteArray Word(quint32 value)
{
    QByteArray bytes(4, '\0');
    for (int i = 0; i < 4; ++i) bytes[i] = char(value >> (8 * i));
    return bytes;
}

// An import list: version 1, the count, then a flag byte and a path per entry.
QByteArray ImportList(const QList<std::pair<char, QByteArray>> &entries, quint32 count)
{
    QByteArray bytes = Word(1) + Word(count);
    for (const auto &[flag, path] : entries) bytes += flag + path + '\0';
    return bytes;
}

// A model in its binary form naming textures, each in a 260-byte field.
QByteArray Model(const QList<QByteArray> &textures)
{
    QByteArray chunk;
    for (const QByteArray &texture : textures)
        chunk += Word(0) + texture.leftJustified(260, '\0', true) + Word(0);
    return "MDLX" + QByteArray("VERS") + Word(4) + Word(800) + "TEXS" + Word(quint32(chunk.size())) + chunk;
}

const QString kStandardNames = QStringLiteral(ARCAVERA_LANGUAGES_SOURCE "/../Names/standard.txt");
const QByteArray kPng = QByteArray::fromHex("89504e470d0a1a0a0000000d49484452");

struct Listed {
    QStringList named;  // sorted, the engine's own files left out
    QStringList nameless;
};

Listed ListOf(const QString &path, bool recover)
{
    ListingOptions options;
    options.recoverNames = recover;
    options.standardNames = kStandardNames;
    RecordingPorts out;
    auto ports = out.ports();
    qint64 total = 0;
    LoadArchiveClassic(path, options, ports, total);
    Listed listed;
    for (const ListRow &row : out.rows) {
        if (row.text().startsWith(QLatin1String("~unknowns\\"))) listed.nameless.append(row.text());
        else if (!row.text().startsWith(QLatin1Char('('))) listed.named.append(row.text());
    }
    listed.named.sort();
    return listed;
}

// The files in an archive without an internal list, as protection tools
// leave maps.
QString MakeBareArchive(const QString &path, const QList<StoredFile> &files)
{
    QList<HandFile> plain;
    for (const StoredFile &file : files) plain.append({file.name, file.data});
    return WriteFile(path, HandMadeArchive(64, plain));
}

}  // namespace

class TestNames : public QObject {
    Q_OBJECT
    QTemporaryDir dir;

private slots:
    // A map named through its list, and the same map without the list: every
    // file but the one nothing mentions gets its name back.
    void mapsWithoutTheirListGetTheirNamesBack_data()
    {
        QTest::addColumn<QList<StoredFile>>("files");
        const QByteArray script = "globals\nendglobals\nfunction main takes nothing returns nothing\n"
                                  "  call AddSpecialEffect(\"Abilities\\\\Spells\\\\Glow.mdl\", 0, 0)\n"
                                  "  call SetSkyModel(\"Environment\\\\Sky\\\\Sky.mdx\")\n"
                                  "  call PlaySound(\"war3mapImported\\\\Horn.mp3\")\nendfunction\n";
        QTest::newRow("WarCraft III map") << QList<StoredFile>{
            {"war3map.j", script},
            {"war3map.imp", ImportList({{5, "Hero.mdx"}, {13, "UI\\Custom\\Icon.blp"}}, 2)},
            {"war3map.w3e", "W3E!" + Word(11)},
            {"war3map.w3i", Word(25) + Word(1)},
            {"war3mapImported\\Hero.mdx", Model({"Textures\\HeroSkin.tga", "war3mapImported\\Cape.blp"})},
            {"war3mapImported\\Hero_Portrait.mdx", Model({})},
            {"Textures\\HeroSkin.blp", "BLP1"},
            {"war3mapImported\\Cape.blp", "BLP2"},
            {"UI\\Custom\\Icon.blp", "BLP1"},
            {"Abilities\\Spells\\Glow.mdx", Model({"Textures\\Glow.blp"})},
            {"Textures\\Glow.blp", "BLP1"},
            {"Environment\\Sky\\Sky.mdx", Model({"Environment\\Sky\\Clouds.blp"})},
            {"Environment\\Sky\\Clouds.blp", "BLP2"},
            {"war3mapImported\\Horn.mp3", "ID3"},
            {"units\\orphan.dat", kPng}};
        QTest::newRow("Lua map") << QList<StoredFile>{
            {"war3map.lua", "BlzLoadTOCFile(\"war3mapImported/Ui.toc\")\n-- war3mapImported\\Frame.blp\n"},
            {"war3mapImported\\Ui.toc", "war3mapImported\\Ui.fdf\r\n\r\n"},
            {"war3mapImported\\Ui.fdf", "Frame \"BACKDROP\" \"X\" {\n  BackdropBackground \"war3mapImported\\\\Back.blp\",\n}\n"},
            {"war3mapImported\\Back.blp", "BLP1"},
            {"war3mapImported\\Frame.blp", "BLP1"},
            {"notes\\orphan.dat", kPng}};
        QTest::newRow("campaign") << QList<StoredFile>{
            {"war3campaign.imp", ImportList({{8, "Map01.w3x"}, {10, "Maps\\Map02.w3x"}}, 2)},
            {"war3campaign.w3f", Word(1)},
            {"war3campaignImported\\Map01.w3x", "HM3W"},
            {"Maps\\Map02.w3x", "HM3W"},
            {"extra\\orphan.dat", kPng}};
    }
    void mapsWithoutTheirListGetTheirNamesBack()
    {
        QFETCH(QList<StoredFile>, files);
        const QString listed = dir.filePath(QString(QTest::currentDataTag()) + " listed.w3x");
        QVERIFY(MakeArchive(listed, files, dir.filePath("src")));
        const Listed withList = ListOf(listed, false);
        QCOMPARE(withList.named.size(), files.size());
        // The same map without its list, as protection tools leave it.
        const QString path = MakeBareArchive(dir.filePath(QString(QTest::currentDataTag()) + ".w3x"), files);

        const Listed bare = ListOf(path, false);  // the lists alone: nothing but the engine's own files
        QCOMPARE(bare.named, QStringList());
        QCOMPARE(bare.nameless.size(), files.size());
        QVERIFY(!bare.nameless.join(' ').contains(".png"));

        const Listed recovered = ListOf(path, true);
        QStringList expected = withList.named;
        expected.removeIf([](const QString &name) { return name.endsWith(QLatin1String("orphan.dat")); });
        QCOMPARE(recovered.named, expected);
        QCOMPARE(recovered.nameless.size(), 1);  // the file nothing mentions, typed by its first bytes
        QVERIFY(recovered.nameless.first().endsWith(QLatin1String(".png")));

        // The Explorer style's tree has the folders of the names found.
        RecordingPorts rows;
        RecordingTree tree;
        auto ports = rows.ports();
        qint64 total = 0;
        ListingOptions recovering;
        recovering.recoverNames = true;
        recovering.standardNames = kStandardNames;
        FolderIndex index;
        QVERIFY(LoadArchiveExplorer(path, recovering, ports, tree, index, total));
        for (const QString &name : expected)
            if (name.contains('\\')) QVERIFY2(tree.keys.contains(UpperKey(name.left(name.lastIndexOf('\\') + 1))), qPrintable(name));

        CollectingPorts status;
        ListingOptions off;  // the names command recovers whatever the setting says
        off.standardNames = kStandardNames;
        QStringList names;
        for (const QByteArray &name : ScanArchiveNames(path, off, status)) names.append(QString::fromUtf8(name));
        names.sort();
        QCOMPARE(names, expected);
    }

    // Budgets: what lies past them names nothing, and a search stops.
    void budgetsAreKept()
    {
        const QByteArray filler(4000, ' ');
        const QString path = dir.filePath("budget.w3x");
        MakeBareArchive(path, {{"war3map.j", filler + "\"late\\\\file.txt\""}, {"late\\file.txt", "x"}});
        QFile list(kStandardNames);
        QVERIFY(list.open(QIODevice::ReadOnly));
        const qint64 standard = list.readAll().trimmed().count('\n') + 1;  // the script is named, not read
        for (const auto &[budget, names] : {std::pair{NameScanBudget{}, 2}, {NameScanBudget{.perFile = 1000}, 1},
                                            {NameScanBudget{.bytes = 100}, 1}, {NameScanBudget{.tries = standard}, 1}}) {
            const mpq::Archive archive = mpq::SFileOpenArchive(Bytes(path));
            mpq::FileList records;
            QVERIFY(mpq::SFileListFiles(archive.get(), "", records));
            QCOMPARE(RecoverNames(archive.get(), records, kStandardNames, budget).size(), names);
        }
    }

    // What a file's bytes mention, from well-formed text to garbage.
    void candidates_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QByteArray>("importFolder");
        QTest::addColumn<QList<QByteArray>>("expected");
        QTest::newRow("jass string") << QByteArray("call X(\"Units\\\\Human\\\\Foot.mdl\")") << QByteArray()
                                     << QList<QByteArray>{"Units\\Human\\Foot.mdl", "Units\\Human\\Foot.mdx",
                                                          "Units\\Human\\Foot_Portrait.mdx"};
        QTest::newRow("data fields") << QByteArray("Art=Icons\\A.blp,Icons/b.TGA\r\nName=No point\r\n")
                                     << QByteArray()
                                     << QList<QByteArray>{"Icons\\A.blp", "Icons\\A.tga", "Icons\\b.TGA", "Icons\\b.blp"};
        QTest::newRow("words of a sentence") << QByteArray("see readme.txt and ./x/../y.j, not a.b.toolong")
                                             << QByteArray() << QList<QByteArray>{"readme.txt", "x\\..\\y.j"};
        QTest::newRow("cut import list") << ImportList({{5, "a.blp"}}, 1000).append("\x05half-a-na")
                                         << QByteArray("war3mapImported\\")
                                         << QList<QByteArray>{"a.blp", "a.tga", "war3mapImported\\a.blp",
                                                              "war3mapImported\\a.tga"};
        QTest::newRow("too short import list") << QByteArray("\x01\0\0", 3) << QByteArray("p\\") << QList<QByteArray>{};
        QTest::newRow("garbage") << QByteArray::fromHex("00ff2e2e2e5c5c2f2e00012e4102") << QByteArray()
                                 << QList<QByteArray>{};
        QTest::newRow("run longer than a name") << QByteArray(5000, 'a') + ".txt" << QByteArray() << QList<QByteArray>{};
    }
    void candidates()
    {
        QFETCH(QByteArray, content);
        QFETCH(QByteArray, importFolder);
        QFETCH(QList<QByteArray>, expected);
        QList<QByteArray> found;
        for (const QByteArray &name : CandidateNames(content, importFolder))
            if (!found.contains(name)) found.append(name);
        QCOMPARE(found, expected);
    }
};

QTEST_GUILESS_MAIN(TestNames)
#include "test_names.moc"
