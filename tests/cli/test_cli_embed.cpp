// arcavera-cli embed and split through the real binary: the round trip of an
// archive of our engine, which smpq then reads, and the refusals with their
// exit codes, which leave every file as it was.
#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <optional>

#include "support/archive_factory.h"
#include "support/cli_runner.h"
#include "tools/file_size_limit.h"

using namespace fixtures;

namespace {

// Options and command words stay; every other argument is a name in `folder`.
QStringList InFolder(const QString &folder, const QStringList &arguments)
{
    QStringList result;
    for (const QString &argument : arguments)
        result.append(argument.startsWith('-') || argument == "embed" || argument == "split" ? argument
                                                                                              : folder + '/' + argument);
    return result;
}

}  // namespace

class TestCliEmbed : public QObject {
    Q_OBJECT
    QTemporaryDir dir;

    QString Folder() { return CaseFolder(dir.path()); }

private slots:
    void embedThenSplitRoundTrip()
    {
        const QString folder = Folder();
        const QList<StoredFile> files{{"war3map.j", TextData(20000, 'j')}, {"units\\footman.mdx", TextData(3000, 'f')}};
        const QString archive = folder + "/map.mpq";
        QVERIFY(MakeArchive(archive, files, folder + "/scratch"));
        const QByteArray archiveBytes = ReadFile(archive);
        const QString exe = WriteFile(folder + "/game.exe", ExeBytes(1000));

        CliRun run = Cli({"embed", exe, archive});
        QCOMPARE(run.status, 0);
        QVERIFY2(run.err.isEmpty(), run.err.constData());
        QCOMPARE(ReadFile(exe), ExeBytes(1000) + QByteArray(24, '\0') + archiveBytes);
        // The engine finds the archive behind the executable.
        run = Cli({"--ini", folder + "/none.ini", "list", exe});
        QCOMPARE(run.status, 0);
        QVERIFY(run.out.contains("war3map.j\t") && run.out.contains("units\\footman.mdx\t"));

        run = Cli({"split", exe, "--exe", folder + "/out/part.exe", "--mpq", folder + "/out/part.mpq"});
        QCOMPARE(run.status, 5);  // the folder "out" does not exist: nothing is made
        QVERIFY(!QFileInfo::exists(folder + "/out"));
        QVERIFY(QDir(folder).mkdir("out"));
        run = Cli({"split", exe, "--exe", folder + "/out/part.exe", "--mpq", folder + "/out/part.mpq"});
        QCOMPARE(run.status, 0);
        QVERIFY2(run.err.isEmpty(), run.err.constData());
        QCOMPARE(ReadFile(folder + "/out/part.exe"), ExeBytes(1000) + QByteArray(24, '\0'));
        QCOMPARE(ReadFile(folder + "/out/part.mpq"), archiveBytes);

        if (!HaveSmpq()) QSKIP("smpq is not installed");
        QVERIFY(RunSmpq({"-x", "part.mpq"}, folder + "/out"));
        QCOMPARE(ReadFile(folder + "/out/war3map.j"), TextData(20000, 'j'));
        QCOMPARE(ReadFile(folder + "/out/units/footman.mdx"), TextData(3000, 'f'));
    }

    // One output or both, with the options anywhere.
    void splitWritesTheAskedParts_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QStringList>("written");
        QTest::newRow("executable part only") << QStringList{"split", "embedded.exe", "--exe", "o.exe"}
                                              << QStringList{"o.exe"};
        QTest::newRow("archive part only") << QStringList{"split", "--mpq", "o.mpq", "embedded.exe"}
                                           << QStringList{"o.mpq"};
        QTest::newRow("options before the command") << QStringList{"-v", "split", "embedded.exe", "--mpq", "o.mpq"}
                                                    << QStringList{"o.mpq"};
    }

    void splitWritesTheAskedParts()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QStringList, written);
        const QString folder = Folder();
        WriteFile(folder + "/embedded.exe", ExeBytes(1024) + ArchiveBytes(700));
        const CliRun run = Cli(InFolder(folder, arguments));
        QCOMPARE(run.status, 0);
        QStringList expected = written + QStringList{"embedded.exe"};
        expected.sort();
        QCOMPARE(QDir(folder).entryList(QDir::Files), expected);
        if (written.contains("o.exe")) QCOMPARE(ReadFile(folder + "/o.exe"), ExeBytes(1024));
        if (written.contains("o.mpq")) QCOMPARE(ReadFile(folder + "/o.mpq"), ArchiveBytes(700));
    }

    void refusalsLeaveEveryFile_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<bool>("fullDisk");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("message");
        const auto row = [](const char *tag, const QStringList &arguments, int status, const char *message,
                            bool fullDisk = false) {
            QTest::newRow(tag) << arguments << fullDisk << status << QString(message);
        };
        row("embed one file", {"embed", "game.exe"}, 1, "embed takes an executable and an archive");
        row("embed a missing executable", {"embed", "gone.exe", "plain.mpq"}, 2, "gone.exe: no such file");
        row("embed into a folder", {"embed", "folder", "plain.mpq"}, 2, "folder: is a folder");
        row("embed into itself", {"embed", "game.exe", "game.exe"}, 2, "game.exe: is the executable itself");
        row("embed into no executable", {"embed", "text.txt", "plain.mpq"}, 3, "text.txt: is not an executable");
        row("embed a file with no header", {"embed", "game.exe", "text.txt"}, 3, "text.txt: is no plain MPQ archive");
        row("embed twice", {"embed", "embedded.exe", "plain.mpq"}, 4, "holds an MPQ archive already, at offset 1024");
        row("embed onto a full disk", {"embed", "game.exe", "big.mpq"}, 5, "game.exe: cannot be written", true);
        row("split with no output", {"split", "embedded.exe"}, 1, "split takes a file and --exe OUT");
        row("--exe with no file", {"split", "embedded.exe", "--exe"}, 1, "--exe needs a file");
        row("split with --to", {"split", "embedded.exe", "--to", "x"}, 1, "--to belongs to extract");
        row("split with an unknown option", {"split", "embedded.exe", "--all"}, 1, "unknown option --all");
        row("split onto itself", {"split", "embedded.exe", "--mpq", "embedded.exe"}, 2, "is the file to split itself");
        row("both outputs one file", {"split", "embedded.exe", "--exe", "o", "--mpq", "o"}, 2,
            "--exe and --mpq name the same file");
        row("split a plain archive", {"split", "plain.mpq", "--mpq", "o.mpq"}, 3, "is a plain MPQ archive");
        row("split a file without archive", {"split", "game.exe", "--exe", "o.exe"}, 3, "game.exe: holds no MPQ archive");
        row("split below a file", {"split", "embedded.exe", "--mpq", "text.txt/o.mpq"}, 5, "cannot be opened");
        row("split onto a full disk", {"split", "big.exe", "--mpq", "plain.mpq"}, 5, "plain.mpq: cannot be written",
            true);
    }

    void refusalsLeaveEveryFile()
    {
        QFETCH(QStringList, arguments);
        QFETCH(bool, fullDisk);
        QFETCH(int, status);
        QFETCH(QString, message);
        const QString folder = Folder();
        WriteFile(folder + "/game.exe", ExeBytes(1000));
        WriteFile(folder + "/embedded.exe", ExeBytes(1024) + ArchiveBytes(700));
        WriteFile(folder + "/plain.mpq", ArchiveBytes(300));
        WriteFile(folder + "/text.txt", "no executable");
        WriteFile(folder + "/big.mpq", ArchiveBytes(2 << 20));
        WriteFile(folder + "/big.exe", ExeBytes(1024) + ArchiveBytes(2 << 20));
        QVERIFY(QDir(folder).mkdir("folder"));
        const QMap<QString, QByteArray> before = Tree(folder);

        CliRun run;
        {
            std::optional<FileSizeLimit> limit;  // inherited by the started tool
            if (fullDisk) limit.emplace(1 << 20);
            run = Cli(InFolder(folder, arguments));
        }
        QCOMPARE(run.status, status);
        QVERIFY2(run.err.startsWith("arcavera-cli: ") && run.err.contains(message.toUtf8()), run.err.constData());
        QCOMPARE(Tree(folder), before);
    }

    void helpNamesBothCommands()
    {
        const CliRun run = Cli({"split", "--help"});
        QCOMPARE(run.status, 0);
        QVERIFY(run.out.contains("embed EXE ARCHIVE") && run.out.contains("split FILE [--exe OUT] [--mpq OUT]"));
    }
};

QTEST_MAIN(TestCliEmbed)
#include "test_cli_embed.moc"
