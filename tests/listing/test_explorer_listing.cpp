// The folder tree that stored names make, and the lists of single folders.
#include <QTemporaryDir>
#include <QTest>

#include "config/app_config.h"
#include "listing/explorer_listing.h"
#include "support/archive_factory.h"
#include "support/recording_ports.h"

using namespace fixtures;

namespace {

struct Node {
    QString parent, key, text;
    friend bool operator==(const Node &, const Node &) = default;
};

struct RecordingTree : FolderTree {
    QList<Node> nodes;  // the root first, with an empty parent
    void AddRootNode(const QString &key, const QString &text) override { nodes.append({"<root>", key, text}); }
    void AddFolderNode(const QString &parentKey, const QString &key, const QString &text) override
    {
        nodes.append({parentKey, key, text});
    }
    bool NodeExists(const QString &key) const override
    {
        return std::any_of(nodes.begin(), nodes.end(), [&](const Node &n) { return n.key == key; });
    }
};

QStringList Names(const RecordingPorts &ports, bool withUnknowns = false)
{
    QStringList names;
    for (const ListRow &row : ports.rows)
        if (withUnknowns || !row.text().startsWith("~unknowns")) names.append(row.text());
    std::sort(names.begin(), names.end());
    return names;
}

}  // namespace

class TestExplorerListing : public QObject {
    Q_OBJECT
    QTemporaryDir dir;
    QString archive;
    AppConfig config;

private slots:
    void initTestCase()
    {
        archive = dir.filePath("Maps/Tree.mpq");
        QVERIFY(MakeArchive(archive,
                            {{"data\\sound\\a.wav", TextData(100)},
                             {"DATA\\x.txt", TextData(20)},
                             {"Data\\y.txt", TextData(30)},
                             {"top.txt", TextData(5)},
                             {"a\\\\b.txt", "double"},
                             {"\\lead.txt", "lead"},
                             {"ends\\", "folder-like"}},
                            dir.filePath("src")));
    }

    void upperKeysKeepTheirLength_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("key");
        QTest::newRow("ascii") << "data\\Sound\\" << "DATA\\SOUND\\";
        QTest::newRow("sharp s stays one character") << "straße\\" << "STRAßE\\";
        QTest::newRow("accents") << "caffè\\" << "CAFFÈ\\";
    }

    void upperKeysKeepTheirLength()
    {
        QFETCH(QString, text);
        QFETCH(QString, key);
        QCOMPARE(UpperKey(text), key);
        QCOMPARE(UpperKey(text).size(), text.size());
    }

    void namesMakeOneNodePerFolder()
    {
        RecordingPorts ports;
        RecordingTree tree;
        auto listing = ports.ports();
        qint64 total = -1;
        QVERIFY(LoadArchiveExplorer(archive, config, listing, tree, total));
        QCOMPARE(tree.nodes.first(), (Node{"<root>", UpperKey(archive), archive}));
        QList<Node> folders = tree.nodes.mid(1);
        folders.removeIf([](const Node &n) { return n.key.startsWith("~UNKNOWNS"); });
        // Keys are unique without regard to case; the text is the first
        // spelling met; a parent comes before its children.
        std::sort(folders.begin(), folders.end(), [](const Node &a, const Node &b) { return a.key < b.key; });
        QCOMPARE(folders, (QList<Node>{{"", "A\\", "a"},
                                       {"A\\", "A\\\\", ""},
                                       {"", "DATA\\", folders[2].text},
                                       {"DATA\\", "DATA\\SOUND\\", "sound"},
                                       {"", "ENDS\\", "ends"},
                                       {"", "\\", ""}}));
        for (int i = 1; i < tree.nodes.size(); ++i) {
            const QString parent = tree.nodes[i].parent;
            QVERIFY(parent.isEmpty() || tree.nodes.indexOf(tree.nodes[i]) >
                                            std::find_if(tree.nodes.begin(), tree.nodes.end(),
                                                         [&](const Node &n) { return n.key == parent; }) -
                                                tree.nodes.begin());
        }
        // The whole archive is summed; the root lists only its own files.
        QVERIFY(total >= 100 + 20 + 30 + 5);
        QCOMPARE(Names(ports), QStringList{"top.txt"});
        QCOMPARE(ports.statusTexts.last(), QStringLiteral("Pronto"));
    }

    void folderListsHoldTheirOwnFiles_data()
    {
        QTest::addColumn<QString>("folder");
        QTest::addColumn<QStringList>("names");
        QTest::newRow("root") << "" << QStringList{"top.txt"};
        QTest::newRow("data, any case") << "DATA\\" << QStringList{"DATA\\x.txt", "Data\\y.txt"};
        QTest::newRow("key in small letters") << "data\\" << QStringList{"DATA\\x.txt", "Data\\y.txt"};
        QTest::newRow("subfolder") << "DATA\\SOUND\\" << QStringList{"data\\sound\\a.wav"};
        QTest::newRow("name ending in a backslash") << "ENDS\\" << QStringList{"ends\\"};
        QTest::newRow("doubled backslash") << "A\\\\" << QStringList{"a\\\\b.txt"};
        QTest::newRow("leading backslash") << "\\" << QStringList{"\\lead.txt"};
        QTest::newRow("folder that is gone") << "GONE\\" << QStringList{};
    }

    void folderListsHoldTheirOwnFiles()
    {
        QFETCH(QString, folder);
        QFETCH(QStringList, names);
        RecordingPorts ports;
        ports.rows.push_back(ListRow{});  // an old row: the list is emptied first
        auto listing = ports.ports();
        QVERIFY(FillFolderList(archive, folder, config, listing));
        QCOMPARE(Names(ports), names);
        QCOMPARE(ports.clears, 1);
        // Progress runs over every slot whatever the folder holds.
        QCOMPARE(int(ports.progressValues.size()), ports.progressMax + 1);
    }

    void unknownEntriesAreProbedInTheirFolderOnly()
    {
        // No internal list: every file is nameless.
        const QString path = WriteFile(dir.filePath("unknowns.mpq"), HandMadeArchive(16, {{"x.wav", WaveData(500)}}));
        AppConfig detecting;
        detecting.AutoDetectFile = 1;
        RecordingPorts root;
        auto rootListing = root.ports();
        QVERIFY(FillFolderList(path, "", detecting, rootListing));
        QCOMPARE(Names(root, true), QStringList{});
        RecordingPorts unknowns;
        auto unknownListing = unknowns.ports();
        QVERIFY(FillFolderList(path, "~UNKNOWNS\\", detecting, unknownListing));
        QCOMPARE(Names(unknowns, true).size(), 1);
        QVERIFY(Names(unknowns, true).first().startsWith("~unknowns\\unknown"));
        QVERIFY(Names(unknowns, true).first().endsWith(".wav"));
    }

    void nothingToListKeepsTheList_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<bool>("isFile");
        QTest::newRow("text file") << QByteArray("no archive here\n") << true;
        QTest::newRow("empty file") << QByteArray() << true;
        QTest::newRow("one hash slot") << HandMadeArchive(1, {{"a.txt", "a"}}) << true;
        QTest::newRow("missing") << QByteArray() << false;
    }

    void nothingToListKeepsTheList()
    {
        QFETCH(QByteArray, content);
        QFETCH(bool, isFile);
        const QString path = dir.filePath(QString("nothing-%1").arg(QTest::currentDataTag()).replace(' ', '-'));
        if (isFile) WriteFile(path, content);
        RecordingPorts ports;
        ports.rows.push_back(ListRow{});
        RecordingTree tree;
        auto listing = ports.ports();
        qint64 total = 77;
        QCOMPARE(LoadArchiveExplorer(path, config, listing, tree, total), isFile);
        QCOMPARE(tree.nodes.size(), isFile ? 1 : 0);
        QCOMPARE(int(ports.rows.size()), 1);
        QVERIFY(ports.statusTexts.isEmpty());
        QCOMPARE(total, isFile ? 0 : 77);
    }
};

QTEST_MAIN(TestExplorerListing)
#include "test_explorer_listing.moc"
