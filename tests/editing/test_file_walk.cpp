// The folder walk and its destructive twin, on trees made by the test.
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include "editing/helpers/file_walk.h"

namespace {

void MakeFile(const QString &path)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    QVERIFY2(file.open(QIODevice::WriteOnly), qPrintable(path));
    file.write("x");
}

// The tree most cases walk:
//   a.txt  b.txt  noext  .hid
//   adir/a1.txt  adir/inner/i.txt  adir/.inner-hidden/x.txt
//   zdir/z1.txt
//   .hdir/h.txt          (a hidden folder)
//   empty/               (a folder with nothing in it)
void MakeTree(const QString &root)
{
    for (const char *name : {"b.txt", "a.txt", "noext", ".hid", "adir/a1.txt", "adir/inner/i.txt",
                             "adir/.inner-hidden/x.txt", "zdir/z1.txt", ".hdir/h.txt"})
        MakeFile(root + "/" + name);
    QDir(root).mkpath("empty");
}

// Turns "a|b|" into the full paths below `root`, in the same form.
QString Below(const QString &root, const QString &relatives, const QString &separator)
{
    QString result;
    for (const QString &r : relatives.split('|', Qt::SkipEmptyParts)) result += root + "/" + r + separator;
    return result;
}

// Everything left below `root`, relative and sorted, folders with a closing "/".
QStringList Remaining(const QString &root)
{
    QStringList out;
    QDirIterator it(root, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        const QFileInfo info(path);
        out << QDir(root).relativeFilePath(path) + (info.isDir() && !info.isSymLink() ? "/" : "");
    }
    out.sort();
    return out;
}

// Restores a folder's permissions when the test ends, however it ends.
struct PermissionGuard {
    QString path;
    QFileDevice::Permissions saved;
    ~PermissionGuard() { QFile::setPermissions(path, saved); }
};

}  // namespace

class TestFileWalk : public QObject {
    Q_OBJECT

private slots:
    void scanFiles_data();
    void scanFiles();
    void separatorsAndPathForms_data();
    void separatorsAndPathForms();
    void emptyPathIsTheCurrentFolder();
    void emptyAndMissingFoldersGiveNothing();
    void linksAreListedButNeverEntered();

    void deleteFiles_data();
    void deleteFiles();
    void deleteNeverReachesThroughLinks();
    void undeletableFileKeepsItsFolders();
};

void TestFileWalk::scanFiles_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<int>("attributes");
    QTest::addColumn<bool>("recursive");
    QTest::addColumn<QString>("expected");  // relative paths, each followed by "|"

    QTest::newRow("all files, hidden ones too, own before subfolders")
        << "*" << 6 << true << ".hid|a.txt|b.txt|noext|adir/a1.txt|adir/inner/i.txt|zdir/z1.txt|";
    QTest::newRow("hidden files need their bit")
        << "*" << 0 << true << "a.txt|b.txt|noext|adir/a1.txt|adir/inner/i.txt|zdir/z1.txt|";
    QTest::newRow("top folder only without recursion") << "*" << 6 << false << ".hid|a.txt|b.txt|noext|";
    QTest::newRow("extension pattern") << "*.txt" << 6 << true
                                       << "a.txt|b.txt|adir/a1.txt|adir/inner/i.txt|zdir/z1.txt|";
    QTest::newRow("question mark is one character") << "?.txt" << 6 << true << "a.txt|b.txt|adir/inner/i.txt|";
    QTest::newRow("star-point-star needs a point") << "*.*" << 6 << false << ".hid|a.txt|b.txt|";
    QTest::newRow("patterns are case sensitive") << "*.TXT" << 6 << true << "";
    QTest::newRow("no wildcard: top folder only") << "a.txt" << 6 << true << "a.txt|";
    QTest::newRow("no wildcard: subfolders not searched") << "i.txt" << 6 << true << "";
    QTest::newRow("empty pattern matches nothing") << "" << 6 << true << "";
    QTest::newRow("folders with points, hidden ones left out")
        << "*" << 16 << false << ".|..|adir|empty|zdir|";
    QTest::newRow("hidden folders with both bits")
        << "*" << 18 << false << ".|..|.hdir|adir|empty|zdir|";
    QTest::newRow("folders of the whole tree")
        << "*" << 16 << true
        << ".|..|adir|empty|zdir|adir/.|adir/..|adir/inner|adir/inner/.|adir/inner/..|"
           "empty/.|empty/..|zdir/.|zdir/..|";
    QTest::newRow("points match a point pattern") << "*.*" << 16 << false << ".|..|";
}

void TestFileWalk::scanFiles()
{
    QFETCH(QString, pattern);
    QFETCH(int, attributes);
    QFETCH(bool, recursive);
    QFETCH(QString, expected);
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    MakeTree(dir.path());
    QCOMPARE(ScanFiles(dir.path(), pattern, attributes, recursive, "|"), Below(dir.path(), expected, "|"));
}

void TestFileWalk::separatorsAndPathForms_data()
{
    QTest::addColumn<bool>("closingSlash");
    QTest::addColumn<QString>("separator");
    QTest::newRow("NUL") << false << QString(QChar(0));
    QTest::newRow("CR LF") << false << "\r\n";
    QTest::newRow("bar, path with closing slash") << true << "|";
}

void TestFileWalk::separatorsAndPathForms()
{
    QFETCH(bool, closingSlash);
    QFETCH(QString, separator);
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    MakeFile(dir.path() + "/one");
    MakeFile(dir.path() + "/sub/two");
    const QString path = dir.path() + (closingSlash ? "/" : "");
    // One "/" between folder and name, whichever form the path had.
    QCOMPARE(ScanFiles(path, "*", 6, true, separator),
             dir.path() + "/one" + separator + dir.path() + "/sub/two" + separator);
}

void TestFileWalk::emptyPathIsTheCurrentFolder()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    MakeTree(dir.path());
    const QString saved = QDir::currentPath();
    QVERIFY(QDir::setCurrent(dir.path()));
    const QString found = ScanFiles("", "*.txt", 6, true, "|");
    QDir::setCurrent(saved);
    QCOMPARE(found, "a.txt|b.txt|adir/a1.txt|adir/inner/i.txt|zdir/z1.txt|");
}

void TestFileWalk::emptyAndMissingFoldersGiveNothing()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    QCOMPARE(ScanFiles(dir.path(), "*", 6, true, "|"), "");
    QCOMPARE(ScanFiles(dir.path() + "/missing", "*", 22, true, "|"), "");
    DeleteFiles(dir.path() + "/missing", "*", 6, true);  // nothing to do, nothing breaks
    QVERIFY(QDir(dir.path()).exists());
}

void TestFileWalk::linksAreListedButNeverEntered()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString root = dir.path();
    MakeFile(root + "/sub/f.txt");
    QVERIFY(QFile::link(root, root + "/sub/loop"));           // a loop back to the top
    QVERIFY(QFile::link(root + "/sub", root + "/sub-link"));  // a second way into sub
    QVERIFY(QFile::link(root + "/sub/f.txt", root + "/f-link"));

    // The walk ends, and finds each real file once; a link to a file is a file.
    QCOMPARE(ScanFiles(root, "*", 6, true, "|"), Below(root, "f-link|sub/f.txt|", "|"));
    // Links to folders are folders when folders are asked for, and stay closed.
    QCOMPARE(ScanFiles(root, "*", 16, true, "|"),
             Below(root, ".|..|sub|sub-link|sub/.|sub/..|sub/loop|", "|"));
}

void TestFileWalk::deleteFiles_data()
{
    QTest::addColumn<QString>("pattern");
    QTest::addColumn<int>("attributes");
    QTest::addColumn<bool>("recursive");
    QTest::addColumn<QStringList>("remaining");

    QTest::newRow("everything that is walked")
        << "*" << 6 << true
        << QStringList{".hdir/", ".hdir/h.txt", "adir/", "adir/.inner-hidden/", "adir/.inner-hidden/x.txt"};
    QTest::newRow("hidden files need their bit")
        << "*" << 0 << true
        << QStringList{".hdir/", ".hdir/h.txt", ".hid", "adir/", "adir/.inner-hidden/",
                       "adir/.inner-hidden/x.txt"};
    QTest::newRow("top folder only")
        << "*" << 6 << false
        << QStringList{".hdir/", ".hdir/h.txt", "adir/", "adir/.inner-hidden/", "adir/.inner-hidden/x.txt",
                       "adir/a1.txt", "adir/inner/", "adir/inner/i.txt", "empty/", "zdir/", "zdir/z1.txt"};
    QTest::newRow("pattern: matches go, emptied folders go")
        << "*.txt" << 6 << true
        << QStringList{".hdir/", ".hdir/h.txt", ".hid", "adir/", "adir/.inner-hidden/",
                       "adir/.inner-hidden/x.txt", "noext"};
    QTest::newRow("no wildcard: one file, nothing below")
        << "a.txt" << 6 << true
        << QStringList{".hdir/", ".hdir/h.txt", ".hid", "adir/", "adir/.inner-hidden/",
                       "adir/.inner-hidden/x.txt", "adir/a1.txt", "adir/inner/", "adir/inner/i.txt",
                       "b.txt", "empty/", "noext", "zdir/", "zdir/z1.txt"};
}

void TestFileWalk::deleteFiles()
{
    QFETCH(QString, pattern);
    QFETCH(int, attributes);
    QFETCH(bool, recursive);
    QFETCH(QStringList, remaining);
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    MakeTree(dir.path());
    DeleteFiles(dir.path(), pattern, attributes, recursive);
    QVERIFY(QDir(dir.path()).exists());  // the folder itself is never removed
    QCOMPARE(Remaining(dir.path()), remaining);
}

void TestFileWalk::deleteNeverReachesThroughLinks()
{
    QTemporaryDir outside;
    QTemporaryDir dir;
    QVERIFY(outside.isValid() && dir.isValid());
    MakeFile(outside.path() + "/keep/precious.txt");
    MakeFile(outside.path() + "/single.txt");
    const QString root = dir.path();
    MakeFile(root + "/sub/own.txt");
    QVERIFY(QFile::link(outside.path() + "/keep", root + "/sub/folder-link"));
    QVERIFY(QFile::link(outside.path() + "/single.txt", root + "/file-link"));
    QVERIFY(QFile::link(root, root + "/sub/loop"));
    QVERIFY(QFile::link(root + "/gone", root + "/dangling"));

    DeleteFiles(root, "*", 6, true);

    // The links are gone, what they pointed to is untouched.
    QCOMPARE(Remaining(root), QStringList{});
    QVERIFY(QFile::exists(outside.path() + "/keep/precious.txt"));
    QVERIFY(QFile::exists(outside.path() + "/single.txt"));
}

void TestFileWalk::undeletableFileKeepsItsFolders()
{
    QTemporaryDir dir;
    QVERIFY(dir.isValid());
    const QString root = dir.path();
    MakeFile(root + "/a.txt");
    MakeFile(root + "/outer/locked/keep.txt");
    MakeFile(root + "/outer/z.txt");
    MakeFile(root + "/zlast/z.txt");

    const QString locked = root + "/outer/locked";
    PermissionGuard guard{locked, QFile::permissions(locked)};
    QVERIFY(QFile::setPermissions(locked, QFileDevice::ReadOwner | QFileDevice::ExeOwner));
    QFile probe(locked + "/probe");
    if (probe.open(QIODevice::WriteOnly)) {
        probe.close();
        probe.remove();
        QSKIP("permissions do not stop this user from deleting (running as root?)");
    }

    DeleteFiles(root, "*", 6, true);

    // The walk went on past the failure, and only the chain above it stays.
    QCOMPARE(Remaining(root), (QStringList{"outer/", "outer/locked/", "outer/locked/keep.txt"}));
}

QTEST_GUILESS_MAIN(TestFileWalk)
#include "test_file_walk.moc"
