// The helpers of the editing commands: stored names as disk paths, the
// folder walk, the questions asked through the dialog seam, Find's patterns.
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include "editing/find_pattern.h"
#include "dialogs/dialogs.h"
#include "base/file_walk.h"
#include "base/paths.h"
#include "support/archive_factory.h"
#include "support/scripted_dialogs.h"

using namespace fixtures;

namespace {

QString Nul(const QStringList &parts) { return parts.join(QChar(0)); }

// A tree below `root` with links in it, and a folder beside it that a link points into:
//   .hid  a.txt  f-link -> a.txt  sub-link -> adir  out-link -> ../outside
//   adir/a1.txt  adir/inner/i.txt  adir/loop -> root  .hdir/h.txt
QString MakeTree(const QString &folder)
{
    const QString root = folder + "/root";
    for (const char *name : {"root/.hid", "root/a.txt", "root/adir/a1.txt", "root/adir/inner/i.txt", "root/.hdir/h.txt",
                             "outside/keep.txt"})
        WriteFile(folder + "/" + name, "x");
    QFile::link(root + "/a.txt", root + "/f-link");
    QFile::link(root + "/adir", root + "/sub-link");
    QFile::link(folder + "/outside", root + "/out-link");
    QFile::link(root, root + "/adir/loop");
    return root;
}

}  // namespace

class TestHelpers : public QObject {
    Q_OBJECT
    QTemporaryDir dir;

private slots:
    // A stored name below a folder on disk, never outside it.
    void diskPathBelow_data()
    {
        QTest::addColumn<QString>("folder");
        QTest::addColumn<QString>("storedName");
        QTest::addColumn<QString>("diskPath");  // empty: refused
        QTest::newRow("in folders, case kept") << "/base" << "Units\\Human\\A.mdx" << "/base/Units/Human/A.mdx";
        QTest::newRow("doubled separators, points, a closing one") << "/base/" << "a\\\\.\\b\\" << "/base/a/b";
        QTest::newRow("no folder: the current one") << "" << "a\\b" << "a/b";
        QTest::newRow("climbs at the start") << "/base" << "..\\x" << "";
        QTest::newRow("climbs and comes back") << "/base" << "a\\..\\b" << "";
        QTest::newRow("climbs with slashes") << "/base" << "a/../../x" << "";
        QTest::newRow("absolute") << "/base" << "\\etc\\passwd" << "";
        QTest::newRow("a drive") << "/base" << "c:x" << "";
        QTest::newRow("a NUL before a climb") << "/base" << QString("a") + QChar(0) + "\\..\\..\\x" << "";
    }
    void diskPathBelow()
    {
        QFETCH(QString, folder);
        QFETCH(QString, storedName);
        QTEST(DiskPathBelow(folder, storedName), "diskPath");
    }

    // Own matches first, then each subfolder's tree; hidden folders and links are never entered.
    void scanFiles_data()
    {
        QTest::addColumn<QString>("pattern");
        QTest::addColumn<int>("attributes");
        QTest::addColumn<bool>("recursive");
        QTest::addColumn<QString>("expected");  // below the root, each followed by "|"
        QTest::newRow("every file, hidden too") << "*" << 6 << true << ".hid|a.txt|f-link|adir/a1.txt|adir/inner/i.txt|";
        QTest::newRow("hidden files need their bit") << "*" << 0 << true << "a.txt|f-link|adir/a1.txt|adir/inner/i.txt|";
        QTest::newRow("the top folder only") << "*.txt" << 6 << false << "a.txt|";
        QTest::newRow("patterns are case sensitive") << "*.TXT" << 6 << true << "";
        QTest::newRow("no wildcard: the top folder only") << "i.txt" << 6 << true << "";
        QTest::newRow("folders, links to folders among them")
            << "*" << 16 << true << ".|..|adir|out-link|sub-link|adir/.|adir/..|adir/inner|adir/loop|adir/inner/.|adir/inner/..|";
    }
    void scanFiles()
    {
        QFETCH(QString, pattern);
        QFETCH(int, attributes);
        QFETCH(bool, recursive);
        QFETCH(QString, expected);
        const QString root = MakeTree(CaseFolder(dir.path()));
        QString full;
        for (const QString &name : expected.split('|', Qt::SkipEmptyParts)) full += root + "/" + name + "|";
        QCOMPARE(ScanFiles(root, pattern, attributes, recursive, "|"), full);
        QCOMPARE(ScanFiles(root + "/", pattern, attributes, recursive, "|"), full);
    }

    // What the walk finds goes, emptied folders too; a link goes as a link, never followed.
    void deleteFiles_data()
    {
        QTest::addColumn<bool>("recursive");
        QTest::addColumn<QStringList>("remaining");
        QTest::newRow("the whole tree") << true << QStringList{".hdir/", ".hdir/h.txt"};
        QTest::newRow("the top folder only") << false << QStringList{".hdir/", ".hdir/h.txt", "adir/", "adir/a1.txt", "adir/inner/",
                                                                     "adir/inner/i.txt", "adir/loop/", "out-link/", "sub-link/"};
    }
    void deleteFiles()
    {
        QFETCH(bool, recursive);
        const QString folder = CaseFolder(dir.path()), root = MakeTree(folder);
        DeleteFiles(root, "*", 6, recursive);
        QTEST(Tree(root).keys(), "remaining");
        QCOMPARE(Tree(folder + "/outside").keys(), QStringList{"keep.txt"});
    }

    void nameFilters_data()
    {
        QTest::addColumn<QString>("filter");
        QTest::addColumn<QStringList>("expected");
        QTest::newRow("*.* takes names without a point") << Nul({"File di testo (*.txt)", "*.txt", "Titti i files (*.*)", "*.*"})
                                                         << QStringList{"File di testo (*.txt) (*.txt)", "Titti i files (*.*) (*)"};
        QTest::newRow("several patterns") << Nul({"Mappe (*.scm;*.scx)", "*.scm;*.scx"}) << QStringList{"Mappe (*.scm;*.scx) (*.scm *.scx)"};
        QTest::newRow("no description, no pattern") << Nul({"", "*.w3n", "Orphan"}) << QStringList{"*.w3n (*.w3n)"};
    }
    void nameFilters()
    {
        QFETCH(QString, filter);
        QTEST(NameFiltersFromFilter(filter), "expected");
    }

    // Several files come back as their folder, NUL, the names; files of
    // several folders cannot, and come back as a cancel does.
    void openMany_data()
    {
        QTest::addColumn<QStringList>("chosen");
        QTest::addColumn<QString>("result");
        QTest::newRow("several") << QStringList{"/data/a.w3m", "/data/b c.w3x"} << Nul({"/data", "a.w3m", "b c.w3x"});
        QTest::newRow("the root keeps its slash") << QStringList{"/a", "/b"} << Nul({"/", "a", "b"});
        QTest::newRow("a folder and its subfolder") << QStringList{"/data/a", "/data/sub/b"} << "";
    }
    void openMany()
    {
        QFETCH(QStringList, chosen);
        ScriptedDialogs dialogs;
        dialogs.answers = {chosen};
        QTEST(OpenFileDialog(nullptr, kOpenFileTitle, kAllFilesFilter, "", true), "result");
        QCOMPARE(dialogs.asked.value(0).kind + " " + dialogs.asked.value(0).nameFilters.join(','), QStringLiteral("open many Titti i files (*)"));
    }

    void foldersAndTheAnswersWithoutAProvider()
    {
        {
            ScriptedDialogs dialogs;
            dialogs.answers = {{dir.path() + "/"}};
            QCOMPARE(BrowseForFolder(nullptr, "", true), dir.path());
            QCOMPARE(QDir::currentPath(), dir.path());  // where the next dialog opens
        }
        // Without a provider every question is answered as a cancel: what changes nothing.
        QCOMPARE(OpenFileDialog(nullptr, kOpenFileTitle, kAllFilesFilter, "", false) + SaveFileDialog(nullptr, kSaveFileTitle, kAllFilesFilter),
                 QString());
        QVERIFY(!ShowInputBox(nullptr, "Trova:", "", "x").accepted);
        using B = MessageButton;
        QCOMPARE(ShowMessageBox(nullptr, "?", "", B::Yes | B::No, MessageIcon::Question, B::Yes), B::No);
        QCOMPARE(ShowMessageBox(nullptr, "?", "", B::Yes | B::No | B::Cancel, MessageIcon::None, B::Yes), B::Cancel);
    }

    void patterns_data()
    {
        QTest::addColumn<QString>("pattern");
        QTest::addColumn<QByteArray>("text");  // a stored name's bytes for a find
        QTest::addColumn<bool>("find");        // as Find takes it: anywhere, any case
        QTest::addColumn<bool>("fits");
        QTest::newRow("stars give characters back") << "*a*b" << QByteArray("aaab") << false << true;
        QTest::newRow("# is an ASCII digit") << "unit##" << QByteArray("unit4\xd9\xa3") << false << false;
        QTest::newRow("a negated range") << "[!a-c]x" << QByteArray("dx") << false << true;
        QTest::newRow("wildcards plain in a list") << "[*?#[]" << QByteArray("#") << false << true;
        QTest::newRow("an unclosed list, not even itself") << "[abc" << QByteArray("[abc") << false << false;
        QTest::newRow("a reversed range fits nothing") << "x[z-a]" << QByteArray("x[z-a]") << false << false;
        QTest::newRow("by character code") << "[\xc3\xa0-\xc3\xaf]" << QByteArray("\xc3\xa8") << false << true;
        QTest::newRow("find: anywhere, any case") << "Foot" << QByteArray("Units\\FOOTMAN.mdx") << true << true;
        QTest::newRow("find: across the separator") << "s\\f" << QByteArray("units\\footman.mdx") << true << true;
        QTest::newRow("find: a pattern to the end") << "*.wav" << QByteArray("wave\\y.txt") << true << false;
        QTest::newRow("find: Windows-1252 in upper case") << "\xc3\x89" << QByteArray("CAF\xc9.TXT") << true << true;
        QTest::newRow("find: UTF-8") << "\xe6\x97\xa5\xe6\x9c\xac" << QByteArray("\xe6\x97\xa5\xe6\x9c\xac\\a.txt") << true << true;
    }
    void patterns()
    {
        QFETCH(QString, pattern);
        QFETCH(QByteArray, text);
        QFETCH(bool, find);
        QTEST(find ? StoredNameMatches(FindPattern(pattern), text) : LikePattern(pattern).Matches(QString::fromUtf8(text)), "fits");
    }
};

QTEST_GUILESS_MAIN(TestHelpers)
#include "test_helpers.moc"
