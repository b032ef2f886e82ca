// The folder tree that stored names make, and the lists of single folders.
#include <QDir>
#include <QHash>
#include <QTemporaryDir>
#include <QTest>

#include "config/app_config.h"
#include "listing/classic_listing.h"
#include "listing/explorer_listing.h"
#include "support/archive_factory.h"
#include "support/recording_ports.h"

using namespace fixtures;
using Node = RecordingTree::Node;

namespace {

// The names of the test archive, in the order of their hash slots in a table
// of 64 (the cases below rely on that order, which initTestCase checks).
const QByteArray kCafe = "Caf\xE9\\menu.txt";                        // Windows-1252
const QByteArray kStrasse = "Stra\xC3\x9F" "e\\\xC3\x9C" "bung.txt";  // UTF-8
const QList<QByteArray> kSlotOrder = {"\\lead.txt",       "data\\sound\\a.wav", kCafe,   "top.txt",
                                      "Data\\readme.txt", "(listfile)",         "a\\\\b.txt", "ends\\",
                                      kStrasse,           "DATA\\x.txt"};

QStringList Names(const RecordingPorts &ports)
{
    QStringList names;
    for (const ListRow &row : ports.rows) names.append(row.text());
    names.sort();
    return names;
}

// Ports that also keep the order of the calls that frame a fill.
struct JournalPorts : RecordingPorts {
    QStringList calls;
    void SetProgressVisible(bool visible) override
    {
        calls.append(visible ? "bar shown" : "bar hidden");
        RecordingPorts::SetProgressVisible(visible);
    }
    void SetSorted(bool on) override
    {
        calls.append(on ? "sorted" : "unsorted");
        RecordingPorts::SetSorted(on);
    }
    void ClearRows() override
    {
        calls.append("clear");
        RecordingPorts::ClearRows();
    }
    void AddRow(ListRow row) override
    {
        calls.append("row " + row.text());
        RecordingPorts::AddRow(std::move(row));
    }
};

ListRow OldRow()
{
    ListRow row;
    row.columns[ListRow::Name] = QStringLiteral("left from before");
    return row;
}

std::vector<int> Slots(int n)
{
    std::vector<int> values;
    for (int i = 0; i <= n; ++i) values.push_back(i);
    return values;
}

}  // namespace

class TestExplorerListing : public QObject {
    Q_OBJECT
    QTemporaryDir dir;
    QString archive;
    qint64 archiveSize = 0;           // the sum of all stored sizes
    QHash<QByteArray, ListRow> classic;  // the classic listing's rows by Tag
    AppConfig config;

private slots:
    void initTestCase()
    {
        QList<HandFile> files;
        QByteArray list;
        for (const QByteArray &name : kSlotOrder) list += name + "\r\n";
        for (const QByteArray &name : kSlotOrder) {
            const QByteArray data = name == "(listfile)" ? list : "data of " + name;
            files.append({name, data});
            archiveSize += data.size();
        }
        archive = WriteFile(dir.filePath("Maps/Tree.mpq"), HandMadeArchive(64, files));
        QStringList order;
        for (const mpq::FileListEntry &entry : List(archive, list.toStdString()))
            order.append(QString::fromLatin1(QByteArray::fromStdString(entry.StoredName)));
        QStringList expected;
        for (const QByteArray &name : kSlotOrder) expected.append(QString::fromLatin1(name));
        QCOMPARE(order, expected);

        RecordingPorts flat;
        auto ports = flat.ports();
        qint64 total = 0;
        QVERIFY(LoadArchiveClassic(archive, config, ports, total));
        for (const ListRow &row : flat.rows) classic.insert(row.Tag, row);
        QCOMPARE(int(classic.size()), int(kSlotOrder.size()));
    }

    void upperKeysKeepTheirLength_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("key");
        QTest::newRow("ascii") << "data\\Sound\\" << "DATA\\SOUND\\";
        QTest::newRow("sharp s stays one character") << "straße\\" << "STRAßE\\";
        QTest::newRow("ligature stays one character") << "\uFB01le\\" << "\uFB01LE\\";
        QTest::newRow("accents") << "caffè\\" << "CAFFÈ\\";
    }

    void upperKeysKeepTheirLength()
    {
        QFETCH(QString, text);
        QFETCH(QString, key);
        QCOMPARE(UpperKey(text), key);
    }

    void namesMakeTheTree()
    {
        RecordingPorts ports;
        RecordingTree tree;
        auto listing = ports.ports();
        qint64 total = -1;
        QVERIFY(LoadArchiveExplorer(archive, config, listing, tree, total));
        // In slot order of first appearance; a later spelling of a folder
        // (Data\readme.txt, DATA\x.txt) makes no node and keeps the text.
        const QList<Node> expected = {{"<root>", UpperKey(archive), archive},
                                      {"", "\\", ""},
                                      {"", "DATA\\", "data"},
                                      {"DATA\\", "DATA\\SOUND\\", "sound"},
                                      {"", "CAFÉ\\", "Café"},
                                      {"", "A\\", "a"},
                                      {"A\\", "A\\\\", ""},
                                      {"", "ENDS\\", "ends"},
                                      {"", "STRAßE\\", "Straße"}};
        QCOMPARE(tree.nodes, expected);
        QVERIFY(UpperKey(archive) != archive);
        // The whole archive is summed; the root lists only its own files.
        QCOMPARE(total, archiveSize);
        QCOMPARE(Names(ports), (QStringList{"(listfile)", "top.txt"}));
        QCOMPARE(ports.statusTexts.last(), QStringLiteral("Pronto"));
    }

    void aLoadRunsTheBarTwice()
    {
        const QString path = WriteFile(dir.filePath("small.mpq"),
                                       HandMadeArchive(4, {{"(listfile)", "(listfile)\r\nsub\\a.txt\r\nb.txt\r\n"},
                                                           {"sub\\a.txt", "A"},
                                                           {"b.txt", "BB"}}));
        JournalPorts ports;
        RecordingTree tree;
        auto listing = ports.ports();
        qint64 total = 0;
        QVERIFY(LoadArchiveExplorer(path, config, listing, tree, total));
        const QStringList run = {"Estrazione lista da " + path,  "Apertura archivio MPQ - 0%",
                                 "Apertura archivio MPQ - 0%",   "Apertura archivio MPQ - 25%",
                                 "Apertura archivio MPQ - 50%",  "Apertura archivio MPQ - 75%",
                                 "Apertura archivio MPQ - 100%", "Pronto"};
        QCOMPARE(ports.statusTexts, run + run);
        std::vector<int> values = Slots(4);
        values.insert(values.end(), values.begin(), values.end());
        QCOMPARE(ports.progressValues, values);
        // The tree is complete before the root's list is filled.
        const QStringList frame = {"bar shown", "bar hidden", "bar shown", "clear", "unsorted"};
        QCOMPARE(ports.calls.mid(0, 5), frame);
        QCOMPARE(ports.calls.mid(7), (QStringList{"sorted", "bar hidden"}));
        QCOMPARE(Names(ports), (QStringList{"(listfile)", "b.txt"}));
        QCOMPARE(tree.nodes.size(), 2);
        QCOMPARE(total, qint64(QByteArray("(listfile)\r\nsub\\a.txt\r\nb.txt\r\n").size() + 1 + 2));
    }

    void folderListsHoldTheirOwnFiles_data()
    {
        QTest::addColumn<QString>("folder");
        QTest::addColumn<QStringList>("names");
        QTest::newRow("root") << "" << QStringList{"(listfile)", "top.txt"};
        QTest::newRow("data, each name in its own case") << "DATA\\" << QStringList{"DATA\\x.txt", "Data\\readme.txt"};
        QTest::newRow("key in small letters") << "data\\" << QStringList{"DATA\\x.txt", "Data\\readme.txt"};
        QTest::newRow("subfolder") << "DATA\\SOUND\\" << QStringList{"data\\sound\\a.wav"};
        QTest::newRow("name ending in a backslash") << "ENDS\\" << QStringList{"ends\\"};
        QTest::newRow("doubled backslash") << "A\\\\" << QStringList{"a\\\\b.txt"};
        QTest::newRow("folder above a doubled backslash") << "A\\" << QStringList{};
        QTest::newRow("leading backslash") << "\\" << QStringList{"\\lead.txt"};
        QTest::newRow("windows-1252 name") << "CAFÉ\\" << QStringList{"Café\\menu.txt"};
        QTest::newRow("utf-8 name") << "STRAßE\\" << QStringList{"Straße\\Übung.txt"};
        QTest::newRow("folder that is gone") << "GONE\\" << QStringList{};
    }

    void folderListsHoldTheirOwnFiles()
    {
        QFETCH(QString, folder);
        QFETCH(QStringList, names);
        JournalPorts ports;
        ports.rows.push_back(OldRow());
        auto listing = ports.ports();
        QVERIFY(FillFolderList(archive, folder, config, listing));
        QCOMPARE(Names(ports), names);
        // A row is the classic listing's row of the same file, whole name and all.
        for (const ListRow &row : ports.rows) {
            QVERIFY2(classic.contains(row.Tag), row.Tag.constData());
            const ListRow &flat = classic.value(row.Tag);
            QCOMPARE(row.columns, flat.columns);
            QCOMPARE(row.FullSize, flat.FullSize);
            QCOMPARE(row.CompressedSize, flat.CompressedSize);
            QCOMPARE(row.Flags, flat.Flags);
        }
        // Emptied right before the fill; progress over every slot whatever
        // the folder holds.
        QCOMPARE(ports.calls.mid(0, 3), (QStringList{"bar shown", "clear", "unsorted"}));
        QCOMPARE(ports.calls.mid(3 + names.size()), (QStringList{"sorted", "bar hidden"}));
        QCOMPARE(ports.progressMax, 64);
        QCOMPARE(ports.progressValues, Slots(64));
    }

    void unknownEntriesAreListedInTheirFolder_data()
    {
        QTest::addColumn<bool>("autoDetect");
        QTest::addColumn<QStringList>("extensions");
        QTest::newRow("detection on") << true << QStringList{"", "wav"};
        QTest::newRow("detection off") << false << QStringList{"", ""};
    }

    void unknownEntriesAreListedInTheirFolder()
    {
        QFETCH(bool, autoDetect);
        QFETCH(QStringList, extensions);
        // No internal list and no external one: every file is nameless.
        const QString path = WriteFile(dir.filePath(QStringLiteral("unknowns-%1.mpq").arg(autoDetect)),
                                       HandMadeArchive(16, {{"x.wav", WaveData(500)}, {"sub\\y.txt", "text"}}));
        AppConfig detecting;
        detecting.AutoDetectFile = autoDetect ? 1 : 0;
        RecordingPorts ports;
        ports.rows.push_back(OldRow());
        RecordingTree tree;
        auto listing = ports.ports();
        qint64 total = 0;
        QVERIFY(LoadArchiveExplorer(path, detecting, listing, tree, total));
        QCOMPARE(tree.nodes.mid(1), (QList<Node>{{"", "~UNKNOWNS\\", "~unknowns"}}));
        QVERIFY(ports.rows.empty());

        QVERIFY(FillFolderList(path, "~UNKNOWNS\\", detecting, listing));
        QCOMPARE(int(ports.rows.size()), 2);
        QStringList found;
        for (const ListRow &row : ports.rows) {
            QVERIFY(row.text().startsWith("~unknowns\\unknown"));
            QCOMPARE(row.Tag, row.text().toLatin1());
            found.append(row.columns[ListRow::Ext]);
        }
        found.sort();
        QCOMPARE(found, extensions);
    }

    void nothingToListKeepsTheList_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("text file") << QByteArray("no archive here\n");
        QTest::newRow("empty file") << QByteArray();
        QTest::newRow("one hash slot") << HandMadeArchive(1, {{"a\\b.txt", "a"}});
    }

    void nothingToListKeepsTheList()
    {
        QFETCH(QByteArray, content);
        const QString path =
            WriteFile(dir.filePath(QString("nothing-%1.mpq").arg(QTest::currentDataTag()).replace(' ', '-')), content);
        RecordingPorts ports;
        ports.rows.push_back(OldRow());
        RecordingTree tree;
        auto listing = ports.ports();
        qint64 total = 77;
        QVERIFY(LoadArchiveExplorer(path, config, listing, tree, total));
        QCOMPARE(tree.nodes, (QList<Node>{{"<root>", UpperKey(path), path}}));
        QCOMPARE(total, qint64(0));
        QVERIFY(FillFolderList(path, "", config, listing));
        QCOMPARE(int(ports.rows.size()), 1);
        QCOMPARE(ports.rows.front().text(), OldRow().text());
        QCOMPARE(ports.clears, 0);
        QVERIFY(ports.statusTexts.isEmpty());
        QVERIFY(ports.progressVisible.empty());
    }

    void pathsThatAreNoFile_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::newRow("empty path") << "";
        QTest::newRow("missing") << "missing";
        QTest::newRow("folder") << "folder";
    }

    void pathsThatAreNoFile()
    {
        QFETCH(QString, kind);
        QString path;
        if (kind == "missing") path = dir.filePath("gone.mpq");
        if (kind == "folder") {
            path = dir.filePath("a-folder.mpq");
            QVERIFY(QDir().mkpath(path));
        }
        RecordingPorts ports;
        ports.rows.push_back(OldRow());
        RecordingTree tree;
        auto listing = ports.ports();
        qint64 total = 77;
        QVERIFY(!LoadArchiveExplorer(path, config, listing, tree, total));
        QVERIFY(!FillFolderList(path, "", config, listing));
        QVERIFY(tree.nodes.isEmpty());
        QCOMPARE(total, qint64(77));
        QCOMPARE(int(ports.rows.size()), 1);
        QCOMPARE(ports.clears, 0);
        QVERIFY(ports.statusTexts.isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestExplorerListing)
#include "test_explorer_listing.moc"
