// Drops on the archive list, and stored files handed out through the scratch
// folder, on real folders and archives.
#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

#include "editing/drag_drop.h"
#include "support/archive_factory.h"

using namespace fixtures;

class TestDragDrop : public QObject {
    Q_OBJECT
    QTemporaryDir dir;
    QString Path(const QString &name) const { return dir.filePath(name); }

    QString Archive(const QString &name, const QList<StoredFile> &files) { return ArchiveIn(dir.path(), name, files); }

    // The archive most cases hand out from.
    QString Sample()
    {
        return Archive("sample.mpq", {{"a.txt", TextData(5000, 'a')},
                                      {"units\\footman.mdx", TextData(70000, 'f')},
                                      {".cfg", "hidden"},
                                      {"b.bin", "b", 0, mpq::MAFA_COMPRESS_NONE},
                                      {"music\\deep\\song.mp3", TextData(900, 's')},
                                      {".cache\\state.txt", "state"},
                                      {"units\\.hidden\\x.txt", "x"}});
    }

private slots:
    void dropBatch_data();
    void dropBatch();
    void dropNothing();
    void scratchFolder();
    void dragOutStages();
    void dragOutReplacesTheLastDrag();
    void dragOutWithoutNames();
    void dragOutMakesTheFolder();
    void dragOutOntoAPlainFile();
    void aLinkInPlaceOfTheScratchFolderIsNotFollowed();
    void namesThatClimbOut_data();
    void namesThatClimbOut();
    void viewing();
};

void TestDragDrop::dropBatch_data()
{
    // Paths relative to the row's own folder; "made" entries ending in "/"
    // are empty folders, others files.
    QTest::addColumn<QStringList>("made");
    QTest::addColumn<QStringList>("dropped");
    QTest::addColumn<QString>("baseFolder");
    QTest::addColumn<QStringList>("names");

    const QStringList music = {"x/data/music/a.mp3", "x/data/music/sub/b.txt", "x/data/music/.hidden",
                               "x/data/cover.jpg"};
    QTest::newRow("one file") << QStringList{"x/data/a.txt", "x/data/b.txt"} << QStringList{"x/data/a.txt"}
                              << "x/data/" << QStringList{"a.txt"};
    QTest::newRow("a folder") << music << QStringList{"x/data/music"} << "x/data/"
                              << QStringList{"music/.hidden", "music/a.mp3", "music/sub/b.txt", ""};
    QTest::newRow("a folder with a closing /") << music << QStringList{"x/data/music/"} << "x/data/"
                                               << QStringList{"music/.hidden", "music/a.mp3", "music/sub/b.txt", ""};
    QTest::newRow("folder, then file") << music << QStringList{"x/data/music", "x/data/cover.jpg"} << "x/data/"
                                       << QStringList{"cover.jpg", "music/.hidden", "music/a.mp3",
                                                      "music/sub/b.txt", ""};
    QTest::newRow("last dropped first") << QStringList{"x/one.txt", "x/two.txt", "x/dir/c.txt", "x/three.txt"}
                                        << QStringList{"x/one.txt", "x/dir", "x/two.txt", "x/three.txt"} << "x/"
                                        << QStringList{"three.txt", "two.txt", "dir/c.txt", "", "one.txt"};
    QTest::newRow("an empty folder") << QStringList{"x/empty/"} << QStringList{"x/empty"} << "x/"
                                     << QStringList{""};
    QTest::newRow("a path that is gone") << QStringList{"x/here.txt"} << QStringList{"x/gone.txt"} << "x/"
                                         << QStringList{""};
    QTest::newRow("a gone path among files") << QStringList{"x/here.txt"}
                                             << QStringList{"x/here.txt", "x/gone.txt"} << "x/"
                                             << QStringList{"", "here.txt"};
    QTest::newRow("items of two folders") << QStringList{"x/one/a.txt", "x/two/b.txt"}
                                          << QStringList{"x/one/a.txt", "x/two/b.txt"} << "x/"
                                          << QStringList{"two/b.txt", "one/a.txt"};
    QTest::newRow("a deeper item after a shallower")
        << QStringList{"x/a.txt", "x/sub/deep/b.txt"} << QStringList{"x/a.txt", "x/sub/deep/b.txt"} << "x/"
        << QStringList{"sub/deep/b.txt", "a.txt"};
    QTest::newRow("a shallower item after a deeper")
        << QStringList{"x/a.txt", "x/sub/deep/b.txt"} << QStringList{"x/sub/deep/b.txt", "x/a.txt"} << "x/"
        << QStringList{"a.txt", "sub/deep/b.txt"};
    QTest::newRow("folders that share a prefix") << QStringList{"x/ab/c.txt", "x/abc/d.txt"}
                                                 << QStringList{"x/ab/c.txt", "x/abc/d.txt"} << "x/"
                                                 << QStringList{"abc/d.txt", "ab/c.txt"};
    QTest::newRow("a folder and a file of another folder")
        << QStringList{"x/a/music/s.mp3", "x/b/c.txt"} << QStringList{"x/a/music", "x/b/c.txt"} << "x/"
        << QStringList{"b/c.txt", "a/music/s.mp3", ""};
    QTest::newRow("non-ascii names") << QStringList{"x/música/ü.txt", "x/日本.txt"}
                                     << QStringList{"x/música", "x/日本.txt"} << "x/"
                                     << QStringList{"日本.txt", "música/ü.txt", ""};
}

void TestDragDrop::dropBatch()
{
    QFETCH(QStringList, made);
    QFETCH(QStringList, dropped);
    QFETCH(QString, baseFolder);
    QFETCH(QStringList, names);
    const QString root = Path("drop-" + DataTagFileName()) + "/";
    for (const QString &item : made) {
        if (item.endsWith('/'))
            QVERIFY(QDir().mkpath(root + item));
        else
            WriteFile(root + item, item.toUtf8());
    }
    QStringList paths;
    for (const QString &item : dropped) paths.append(root + item);

    const DropBatch batch = BuildDropBatch(paths);
    QCOMPARE(batch.baseFolder, root + baseFolder);
    QCOMPARE(batch.names, names);
    // Every name that is not empty is a file below the base folder.
    for (const QString &name : batch.names)
        if (!name.isEmpty()) QVERIFY2(QFileInfo(batch.baseFolder + name).isFile(), qPrintable(name));
}

void TestDragDrop::dropNothing()
{
    const DropBatch batch = BuildDropBatch({});
    QVERIFY(batch.baseFolder.isEmpty());
    QVERIFY(batch.names.isEmpty());
}

void TestDragDrop::scratchFolder()
{
    const QString scratch = Path("own-scratch");
    QVERIFY(EnsureScratchFolder(scratch));
    QVERIFY(QFileInfo(scratch).isDir());
    // For this user only.
    const QFileDevice::Permissions others = QFileDevice::ReadGroup | QFileDevice::WriteGroup |
                                            QFileDevice::ExeGroup | QFileDevice::ReadOther |
                                            QFileDevice::WriteOther | QFileDevice::ExeOther;
    QCOMPARE(QFileInfo(scratch).permissions() & others, QFileDevice::Permissions());
    // An existing folder is kept as it is.
    WriteFile(scratch + "/kept.txt", "kept");
    QVERIFY(EnsureScratchFolder(scratch));
    QCOMPARE(ReadFile(scratch + "/kept.txt"), QByteArray("kept"));
    // A plain file in the way stays, and there is no folder.
    const QString plain = WriteFile(Path("plain-scratch"), "plain");
    QVERIFY(!EnsureScratchFolder(plain));
    QCOMPARE(ReadFile(plain), QByteArray("plain"));
    QVERIFY(!EnsureScratchFolder(QString()));
}

void TestDragDrop::dragOutStages()
{
    const QString archive = Sample();
    const QString scratch = Path("stage");
    QVERIFY(QDir().mkpath(scratch));
    BatchTrace trace;
    const QStringList handed =
        StageDragOut(archive, {"units\\footman.mdx", "a.txt", ".cfg"}, scratch, trace, trace);
    QCOMPARE(handed, (QStringList{scratch + "/.cfg", scratch + "/a.txt", scratch + "/units"}));
    for (const QString &path : handed) QVERIFY2(QFileInfo(path).isAbsolute(), qPrintable(path));
    QCOMPARE(Tree(scratch), (QMap<QString, QByteArray>{{".cfg", "hidden"},
                                                       {"a.txt", TextData(5000, 'a')},
                                                       {"units/", "<dir>"},
                                                       {"units/footman.mdx", TextData(70000, 'f')}}));
    QCOMPARE(trace.events.last(), QStringLiteral("Pronto"));
    QCOMPARE(trace.events.count("<yield>"), 3);
}

void TestDragDrop::dragOutReplacesTheLastDrag()
{
    const QString archive = Sample();
    const QString scratch = Path("again");
    BatchTrace trace;
    // Hidden files and hidden folders, at the top and further down, go too.
    StageDragOut(archive,
                 {"units\\footman.mdx", "a.txt", ".cfg", "music\\deep\\song.mp3", ".cache\\state.txt",
                  "units\\.hidden\\x.txt"},
                 scratch, trace, trace);
    QCOMPARE(Tree(scratch).size(), 11);
    const QStringList handed = StageDragOut(archive, {"b.bin"}, scratch, trace, trace);
    QCOMPARE(handed, QStringList{scratch + "/b.bin"});
    QCOMPARE(Tree(scratch), (QMap<QString, QByteArray>{{"b.bin", "b"}}));
}

void TestDragDrop::dragOutWithoutNames()
{
    const QString archive = Sample();
    const QString scratch = Path("none");
    BatchTrace trace;
    QCOMPARE(StageDragOut(archive, {"a.txt", "units\\footman.mdx"}, scratch, trace, trace).size(), 2);
    // Something else that lies there, links among it: a link goes as a
    // link, and what it points to stays whole.
    WriteFile(scratch + "/left/over.txt", "left over");
    WriteFile(Path("outside/keep/deep.txt"), "deep");
    WriteFile(Path("outside/file.txt"), "file");
    QVERIFY(QFile::link(Path("outside/keep"), scratch + "/folder-link"));
    QVERIFY(QFile::link(Path("outside/file.txt"), scratch + "/left/file-link"));
    QVERIFY(QFile::link(Path("outside/gone"), scratch + "/.dangling"));
    QVERIFY(StageDragOut(archive, {}, scratch, trace, trace).isEmpty());
    QVERIFY(QFileInfo(scratch).isDir());
    QVERIFY(Tree(scratch).isEmpty());
    QCOMPARE(Tree(Path("outside")), (QMap<QString, QByteArray>{{"file.txt", "file"},
                                                               {"keep/", "<dir>"},
                                                               {"keep/deep.txt", "deep"}}));
}

void TestDragDrop::dragOutMakesTheFolder()
{
    const QString archive = Sample();
    const QString scratch = Path("made-by-drag");
    QVERIFY(!QFileInfo::exists(scratch));
    BatchTrace trace;
    const QStringList handed = StageDragOut(archive, {"music\\deep\\song.mp3"}, scratch, trace, trace);
    QCOMPARE(handed, QStringList{scratch + "/music"});
    QCOMPARE(ReadFile(scratch + "/music/deep/song.mp3"), TextData(900, 's'));
}

void TestDragDrop::dragOutOntoAPlainFile()
{
    const QString archive = Sample();
    const QString plain = WriteFile(Path("plain-drag"), "plain");
    BatchTrace trace;
    QVERIFY(StageDragOut(archive, {"a.txt"}, plain, trace, trace).isEmpty());
    QCOMPARE(ReadFile(plain), QByteArray("plain"));
    QVERIFY(ExtractForViewing(archive, "a.txt", plain, trace, trace).isEmpty());
    QCOMPARE(ReadFile(plain), QByteArray("plain"));
}

// Another user may put a link where the scratch folder goes: nothing is
// emptied or written through it.
void TestDragDrop::aLinkInPlaceOfTheScratchFolderIsNotFollowed()
{
    const QString archive = Sample();
    const QString elsewhere = Path("someone-elses");
    WriteFile(elsewhere + "/precious.txt", "keep me");
    const QString scratch = Path("linked-scratch");
    QVERIFY(QFile::link(elsewhere, scratch));
    QVERIFY(!IsOwnFolder(scratch));
    BatchTrace trace;
    QVERIFY(StageDragOut(archive, {"a.txt"}, scratch, trace, trace).isEmpty());
    QVERIFY(ExtractForViewing(archive, "a.txt", scratch, trace, trace).isEmpty());
    EmptyScratchFolder(scratch);
    QCOMPARE(Tree(elsewhere), (QMap<QString, QByteArray>{{"precious.txt", "keep me"}}));
}

void TestDragDrop::namesThatClimbOut_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("parent") << QByteArray("..\\evil.txt");
    QTest::newRow("parent, deeper") << QByteArray("a\\..\\..\\evil.txt");
    QTest::newRow("parent, with /") << QByteArray("../evil.txt");
    QTest::newRow("root") << QByteArray("\\evil.txt");
}

void TestDragDrop::namesThatClimbOut()
{
    QFETCH(QByteArray, name);
    const QString base = Path("climb-" + DataTagFileName());
    const QString archive = Archive("climb-" + DataTagFileName() + ".mpq", {{name, "evil"}, {"ok.txt", "ok"}});
    QCOMPARE(ReadStored(archive, name.toStdString()), QByteArray("evil"));
    const QString scratch = base + "/outer/scratch";
    QVERIFY(QDir().mkpath(scratch));
    BatchTrace trace;
    const QStringList handed = StageDragOut(archive, {name, "ok.txt"}, scratch, trace, trace);
    QCOMPARE(handed, QStringList{scratch + "/ok.txt"});
    QCOMPARE(ExtractForViewing(archive, name, scratch, trace, trace), QString());
    QCOMPARE(Tree(base), (QMap<QString, QByteArray>{{"outer/", "<dir>"},
                                                    {"outer/scratch/", "<dir>"},
                                                    {"outer/scratch/ok.txt", "ok"}}));
    QVERIFY(!QFileInfo::exists("/evil.txt"));
}

void TestDragDrop::viewing()
{
    const QString archive = Sample();
    const QString scratch = Path("view");
    BatchTrace trace;

    // The scratch folder and the file's folders are made.
    const QString copy = ExtractForViewing(archive, "units\\footman.mdx", scratch, trace, trace);
    QCOMPARE(copy, scratch + "/units/footman.mdx");
    QCOMPARE(ReadFile(copy), TextData(70000, 'f'));

    // Other content stays; an earlier copy, longer than the file, is replaced.
    WriteFile(scratch + "/other.txt", "other");
    WriteFile(copy, TextData(90000, 'L'));
    QCOMPARE(ExtractForViewing(archive, "units\\footman.mdx", scratch, trace, trace), copy);
    QCOMPARE(ReadFile(copy), TextData(70000, 'f'));
    QCOMPARE(ExtractForViewing(archive, "a.txt", scratch, trace, trace), scratch + "/a.txt");
    QCOMPARE(Tree(scratch), (QMap<QString, QByteArray>{{"other.txt", "other"},
                                                       {"a.txt", TextData(5000, 'a')},
                                                       {"units/", "<dir>"},
                                                       {"units/footman.mdx", TextData(70000, 'f')}}));

    // A name the archive does not hold gives no path and writes nothing.
    QCOMPARE(ExtractForViewing(archive, "gone\\x.txt", scratch, trace, trace), QString());
    QVERIFY(!QFileInfo::exists(scratch + "/gone"));
    QCOMPARE(Tree(scratch).size(), 4);

    // A link in the copy's place is neither written through nor handed on.
    WriteFile(Path("view-outside.txt"), "keep");
    QVERIFY(QFile::remove(scratch + "/a.txt") && QFile::link(Path("view-outside.txt"), scratch + "/a.txt"));
    QCOMPARE(ExtractForViewing(archive, "a.txt", scratch, trace, trace), QString());
    QCOMPARE(ReadFile(Path("view-outside.txt")), QByteArray("keep"));
}

QTEST_GUILESS_MAIN(TestDragDrop)
#include "test_drag_drop.moc"
