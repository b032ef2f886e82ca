// Path tests, splitting of stored names, and the mapping of stored names to
// disk paths below a folder.
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include "editing/helpers/paths.h"

class TestPaths : public QObject {
    Q_OBJECT

private slots:
    void initTestCase();

    void getExtension_data();
    void getExtension();
    void splitting_data();
    void splitting();

    void fileAndFolderTests_data();
    void fileAndFolderTests();

    void diskPathBelow_data();
    void diskPathBelow();
    void relativePathsComeBackBelowTheirFolder_data();
    void relativePathsComeBackBelowTheirFolder();

private:
    QTemporaryDir m_dir;
};

void TestPaths::initTestCase()
{
    QVERIFY(m_dir.isValid());
    const QString root = m_dir.path();
    QVERIFY(QDir(root).mkpath("folder"));
    QFile file(root + "/file.txt");
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();
    QVERIFY(QFile::link(root + "/folder", root + "/link-to-folder"));
    QVERIFY(QFile::link(root + "/file.txt", root + "/link-to-file"));
    QVERIFY(QFile::link(root + "/gone", root + "/dangling"));
}

void TestPaths::getExtension_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("extension");
    QTest::newRow("last of several points") << "a.b.c" << "c";
    QTest::newRow("no point") << "a" << "";
    QTest::newRow("point at the end") << "a." << "";
    QTest::newRow("point at the start") << ".bik" << "bik";
    QTest::newRow("folders play no part") << "dir.x\\file" << "x\\file";
    QTest::newRow("stored name") << "war3map\\units.w3u" << "w3u";
    QTest::newRow("empty") << "" << "";
}

void TestPaths::getExtension()
{
    QFETCH(QString, name);
    QFETCH(QString, extension);
    QCOMPARE(GetExtension(name), extension);
}

void TestPaths::splitting_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("fileName");
    QTest::addColumn<QString>("folder");
    QTest::newRow("in a folder") << "C:\\a\\b.txt" << "b.txt" << "C:\\a\\";
    QTest::newRow("no folder") << "b.txt" << "b.txt" << "";
    QTest::newRow("ends in a separator") << "C:\\a\\" << "" << "C:\\a\\";
    QTest::newRow("doubled separator") << "a\\\\b" << "b" << "a\\\\";
    QTest::newRow("slash is no separator") << "/home/u/b.txt" << "/home/u/b.txt" << "";
    QTest::newRow("empty") << "" << "" << "";
}

void TestPaths::splitting()
{
    QFETCH(QString, path);
    QFETCH(QString, fileName);
    QFETCH(QString, folder);
    QCOMPARE(GetFileName(path), fileName);
    QCOMPARE(GetFolder(path), folder);
    QCOMPARE(GetFolder(path) + GetFileName(path), path);
}

void TestPaths::fileAndFolderTests_data()
{
    QTest::addColumn<QString>("name");  // below the test folder; "" is the empty path itself
    QTest::addColumn<bool>("isDirectory");
    QTest::addColumn<bool>("isFile");
    QTest::newRow("empty path") << "" << false << false;
    QTest::newRow("missing") << "nothing-here" << false << false;
    QTest::newRow("file") << "file.txt" << false << true;
    QTest::newRow("folder") << "folder" << true << false;
    QTest::newRow("folder with closing slash") << "folder/" << true << false;
    QTest::newRow("below a file") << "file.txt/x" << false << false;
    QTest::newRow("link to a folder") << "link-to-folder" << true << false;
    QTest::newRow("link to a file") << "link-to-file" << false << true;
    QTest::newRow("dangling link") << "dangling" << false << false;
}

void TestPaths::fileAndFolderTests()
{
    QFETCH(QString, name);
    QFETCH(bool, isDirectory);
    QFETCH(bool, isFile);
    const QString path = name.isEmpty() ? QString() : m_dir.path() + "/" + name;
    QCOMPARE(IsDirectory(path), isDirectory);
    QCOMPARE(IsFile(path), isFile);
}

void TestPaths::diskPathBelow_data()
{
    QTest::addColumn<QString>("folder");
    QTest::addColumn<QString>("storedName");
    QTest::addColumn<QString>("diskPath");  // "" for a refusal

    QTest::newRow("plain name") << "/base" << "b.txt" << "/base/b.txt";
    QTest::newRow("in folders") << "/base" << "units\\human\\a.mdx" << "/base/units/human/a.mdx";
    QTest::newRow("folder with closing slash") << "/base/" << "a\\b" << "/base/a/b";
    QTest::newRow("root folder") << "/" << "a\\b" << "/a/b";
    QTest::newRow("empty folder is the current one") << "" << "a\\b" << "a/b";
    QTest::newRow("doubled separator collapses") << "/base" << "a\\\\b.txt" << "/base/a/b.txt";
    QTest::newRow("point component collapses") << "/base" << "a\\.\\b" << "/base/a/b";
    QTest::newRow("closing separator: the folder") << "/base" << "units\\" << "/base/units";
    QTest::newRow("three points is a name") << "/base" << "...\\x" << "/base/.../x";
    QTest::newRow("points inside a name") << "/base" << "a..b" << "/base/a..b";
    QTest::newRow("blank in a name") << "/base" << "my maps\\x.w3m" << "/base/my maps/x.w3m";

    QTest::newRow("climbs at the start") << "/base" << "..\\x" << "";
    QTest::newRow("climbs out in the middle") << "/base" << "a\\..\\..\\x" << "";
    QTest::newRow("climbs and comes back") << "/base" << "a\\..\\b" << "";
    QTest::newRow("is only a climb") << "/base" << ".." << "";
    QTest::newRow("climbs with slashes") << "/base" << "a/../../x" << "";
    QTest::newRow("climbs behind doubled separators") << "/base" << "a\\\\..\\\\..\\x" << "";
    QTest::newRow("absolute with backslash") << "/base" << "\\etc\\passwd" << "";
    QTest::newRow("absolute with slash") << "/base" << "/etc/passwd" << "";
    QTest::newRow("network path") << "/base" << "\\\\server\\share\\x" << "";
    QTest::newRow("drive") << "/base" << "C:\\x" << "";
    QTest::newRow("drive-relative") << "/base" << "c:x" << "";
    QTest::newRow("empty") << "/base" << "" << "";
    QTest::newRow("only separators") << "/base" << "\\\\" << "";
    QTest::newRow("only a point") << "/base" << "." << "";
    QTest::newRow("NUL cuts nothing short") << "/base" << QString("a") + QChar(0) + "\\..\\..\\x" << "";
}

void TestPaths::diskPathBelow()
{
    QFETCH(QString, folder);
    QFETCH(QString, storedName);
    QFETCH(QString, diskPath);
    QCOMPARE(DiskPathBelow(folder, storedName), diskPath);
}

void TestPaths::relativePathsComeBackBelowTheirFolder_data()
{
    QTest::addColumn<QString>("relative");
    QTest::addColumn<QString>("storedName");
    QTest::newRow("top") << "readme.txt" << "readme.txt";
    QTest::newRow("nested") << "units/human/footman.mdx" << "units\\human\\footman.mdx";
    QTest::newRow("hidden") << ".cfg/a" << ".cfg\\a";
}

void TestPaths::relativePathsComeBackBelowTheirFolder()
{
    QFETCH(QString, relative);
    QFETCH(QString, storedName);
    QCOMPARE(StoredNameFromRelativePath(relative), storedName);
    QCOMPARE(DiskPathBelow("/data", StoredNameFromRelativePath(relative)), "/data/" + relative);
}

QTEST_GUILESS_MAIN(TestPaths)
#include "test_paths.moc"
