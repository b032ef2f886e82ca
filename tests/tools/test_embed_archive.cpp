// Embedding an archive behind an executable and cutting it out again: the
// layout byte for byte, the copy loop's passes, a real archive that the
// engine reads after the round trip, and refusals and failures that leave
// every file as it was.
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>

#include "support/archive_factory.h"
#include "tools/embed_archive.h"
#include "tools/file_size_limit.h"
#include "tools/mpq_header.h"

using namespace fixtures;

class TestEmbedArchive : public QObject {
    Q_OBJECT
    QTemporaryDir dir;

    QString Folder() { return CaseFolder(dir.path()); }

private slots:
    // The executable unchanged, zeros to the next multiple of 512, the
    // archive; the two exports give back the padded executable and the
    // archive. The copy loop moves at most 1 MiB a pass.
    void embedThenExportBothParts_data()
    {
        QTest::addColumn<qint64>("exeSize");
        QTest::addColumn<qint64>("archiveSize");
        QTest::addColumn<qint64>("padding");
        QTest::addColumn<qint64>("passes");
        QTest::addColumn<qint64>("lastPass");
        QTest::newRow("1000 and 300") << 1000LL << 300LL << 24LL << 1LL << 300LL;
        QTest::newRow("a multiple of 512 gets no padding") << 1024LL << 300LL << 0LL << 1LL << 300LL;
        QTest::newRow("one byte over 512") << 513LL << 4LL << 511LL << 1LL << 4LL;
        QTest::newRow("an archive of one chunk") << 1000LL << 1048576LL << 24LL << 1LL << 1048576LL;
        QTest::newRow("one byte over a chunk") << 1000LL << 1048577LL << 24LL << 2LL << 1LL;
    }

    void embedThenExportBothParts()
    {
        QFETCH(qint64, exeSize);
        QFETCH(qint64, archiveSize);
        QFETCH(qint64, padding);
        QFETCH(qint64, passes);
        QFETCH(qint64, lastPass);
        const QString folder = Folder();
        const QByteArray exe = ExeBytes(exeSize), archive = ArchiveBytes(archiveSize);
        const QString exePath = WriteFile(folder + "/game.exe", exe);
        const QString archivePath = WriteFile(folder + "/data.mpq", archive);

        const EmbedResult embedded = EmbedArchive(exePath, archivePath);
        QVERIFY(embedded.ok());
        QCOMPARE(embedded.passes, passes);
        QCOMPARE(embedded.lastPassBytes, lastPass);
        const QByteArray padded = exe + QByteArray(padding, '\0');
        QCOMPARE(ReadFile(exePath), padded + archive);
        QCOMPARE(FindMPQHeader(exePath), exeSize + padding);
        QCOMPARE(ReadFile(archivePath), archive);

        const EmbedResult exePart = ExportExecutablePart(exePath, folder + "/part.exe");
        QVERIFY(exePart.ok());
        QCOMPARE(ReadFile(folder + "/part.exe"), padded);
        // An export replaces a file that stands at its target.
        WriteFile(folder + "/part.mpq", QByteArray(5000, 'x'));
        const EmbedResult archivePart = ExportArchivePart(exePath, folder + "/part.mpq");
        QVERIFY(archivePart.ok());
        QCOMPARE(archivePart.passes, passes);
        QCOMPARE(ReadFile(folder + "/part.mpq"), archive);
        QCOMPARE(FindMPQHeader(folder + "/part.mpq"), 0LL);
        QCOMPARE(QDir(folder).entryList(QDir::Files), (QStringList{"data.mpq", "game.exe", "part.exe", "part.mpq"}));
    }

    // An archive of our own engine, embedded and cut out again, lists the
    // same files with the same bytes; the engine also finds it behind the
    // executable.
    void realArchiveSurvivesTheRoundTrip()
    {
        const QString folder = Folder();
        const QList<StoredFile> files{{"war3map.j", TextData(20000, 'j')},
                                      {"units\\footman.mdx", TextData(3000, 'f'), mpq::MAFA_COMPRESS | mpq::MAFA_ENCRYPT}};
        const QString archive = folder + "/map.mpq";
        QVERIFY(MakeArchive(archive, files, folder + "/scratch"));
        const QString exe = WriteFile(folder + "/game.exe", ExeBytes(3000));
        QVERIFY(EmbedArchive(exe, archive).ok());
        QVERIFY(ExportArchivePart(exe, folder + "/split.mpq").ok());

        const auto NamesOf = [](const QString &path) {
            std::vector<std::string> names;
            for (const mpq::FileListEntry &entry : List(path, "war3map.j\r\nunits\\footman.mdx\r\n"))
                names.push_back(entry.StoredName);
            std::sort(names.begin(), names.end());
            return names;
        };
        const std::vector<std::string> expected = NamesOf(archive);
        QCOMPARE(expected.size(), std::size_t(3));  // with the internal list
        for (const QString &path : {folder + "/split.mpq", exe}) {
            QVERIFY(NamesOf(path) == expected);
            for (const StoredFile &file : files) {
                bool ok = false;
                QCOMPARE(ReadStored(path, file.name.toStdString(), &ok), file.data);
                QVERIFY(ok);
            }
        }
    }

    // Each refusal names its reason and leaves every file in the folder as it was.
    void refusalsChangeNothing_data()
    {
        QTest::addColumn<QString>("operation");
        QTest::addColumn<QString>("first");
        QTest::addColumn<QString>("second");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("concerned");
        const auto row = [](const char *tag, const char *operation, const char *first, const char *second,
                            EmbedStatus status, const char *concerned) {
            QTest::newRow(tag) << operation << first << second << int(status) << concerned;
        };
        row("embed a file with no header", "embed", "game.exe", "text.txt", EmbedStatus::NotPlainArchive, "text.txt");
        row("embed an archive behind an executable", "embed", "game.exe", "embedded.exe",
            EmbedStatus::NotPlainArchive, "embedded.exe");
        row("embed the executable into itself", "embed", "game.exe", "game.exe", EmbedStatus::NotPlainArchive,
            "game.exe");
        row("embed a plain archive into itself by a link", "embed", "plain.mpq", "link-to-plain.mpq",
            EmbedStatus::SameFile, "link-to-plain.mpq");
        row("embed a missing archive", "embed", "game.exe", "gone.mpq", EmbedStatus::OpenFailed, "gone.mpq");
        row("embed into a missing executable", "embed", "gone.exe", "plain.mpq", EmbedStatus::OpenFailed, "gone.exe");
        row("export the archive onto a link to its source", "mpq", "embedded.exe", "link.exe",
            EmbedStatus::SameFile, "link.exe");
        row("export the archive onto another spelling of its source", "mpq", "embedded.exe",
            "folder/../embedded.exe", EmbedStatus::SameFile, "folder/../embedded.exe");
        row("export from a plain archive", "mpq", "plain.mpq", "out.mpq", EmbedStatus::NoEmbeddedArchive,
            "plain.mpq");
        row("export from a file without archive", "exe", "game.exe", "out.exe", EmbedStatus::NoEmbeddedArchive,
            "game.exe");
        row("export below a file", "mpq", "embedded.exe", "text.txt/out.mpq", EmbedStatus::OpenFailed,
            "text.txt/out.mpq");
        row("export onto a folder", "exe", "embedded.exe", "folder", EmbedStatus::OpenFailed, "folder");
    }

    void refusalsChangeNothing()
    {
        QFETCH(QString, operation);
        QFETCH(QString, first);
        QFETCH(QString, second);
        QFETCH(int, status);
        QFETCH(QString, concerned);
        const QString folder = Folder();
        WriteFile(folder + "/game.exe", ExeBytes(1000));
        WriteFile(folder + "/plain.mpq", ArchiveBytes(700));
        WriteFile(folder + "/embedded.exe", ExeBytes(1024) + ArchiveBytes(700));
        WriteFile(folder + "/text.txt", "just text");
        QVERIFY(QDir(folder).mkdir("folder"));
        QVERIFY(QFile::link(folder + "/embedded.exe", folder + "/link.exe"));
        QVERIFY(QFile::link(folder + "/plain.mpq", folder + "/link-to-plain.mpq"));
        const QMap<QString, QByteArray> before = Tree(folder);

        const QString a = folder + '/' + first, b = folder + '/' + second;
        const EmbedResult result = operation == "embed" ? EmbedArchive(a, b)
                                   : operation == "exe" ? ExportExecutablePart(a, b)
                                                        : ExportArchivePart(a, b);
        QCOMPARE(int(result.status), status);
        QCOMPARE(result.path, folder + '/' + concerned);
        QCOMPARE(Tree(folder), before);
    }

    // A write that fails midway, as on a full disk: the executable keeps its
    // old length, an export's old target its bytes, and no stray file stays.
    void failedWritesLeaveFilesAsTheyWere_data()
    {
        QTest::addColumn<QString>("operation");
        QTest::newRow("embed") << "embed";
        QTest::newRow("export the executable part") << "exe";
        QTest::newRow("export the archive part") << "mpq";
    }

    void failedWritesLeaveFilesAsTheyWere()
    {
        QFETCH(QString, operation);
        const QString folder = Folder();
        const QString exe = WriteFile(folder + "/game.exe", ExeBytes(1000));
        const QString archive = WriteFile(folder + "/big.mpq", ArchiveBytes(3 << 20));
        const QString embedded = WriteFile(folder + "/embedded.exe", ExeBytes(3 << 20) + ArchiveBytes(3 << 20));
        const QString target = WriteFile(folder + "/out.bin", "the old target");
        const QMap<QString, QByteArray> before = Tree(folder);

        EmbedResult result;
        {
            FileSizeLimit limit(1 << 20);
            result = operation == "embed" ? EmbedArchive(exe, archive)
                     : operation == "exe" ? ExportExecutablePart(embedded, target)
                                          : ExportArchivePart(embedded, target);
        }
        QCOMPARE(result.status, EmbedStatus::WriteFailed);
        QCOMPARE(result.path, operation == "embed" ? exe : target);
        QCOMPARE(Tree(folder), before);
    }
};

QTEST_MAIN(TestEmbedArchive)
#include "test_embed_archive.moc"
