// arcavera-cli delete and rename, on archives of our own and of smpq.
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

#include "support/archive_factory.h"
#include "support/cli_runner.h"

using namespace fixtures;

namespace {

// The archive every case starts from: files at the root and in folders, a
// name that is not ASCII, an encrypted file.
QList<StoredFile> Contents()
{
    return {
        {"war3map.j", TextData(5000, 'j')},
        {"units\\footman.mdx", TextData(9000, 'f')},
        {"units\\grunt è.mdx", TextData(7000, 'g')},
        {"sounds\\hit.wav", TextData(3000, 'w'), mpq::MAFA_COMPRESS | mpq::MAFA_ENCRYPT},
    };
}

QByteArray DataOf(const QString &name)
{
    for (const StoredFile &file : Contents())
        if (file.name == name.toUtf8()) return file.data;
    return {};
}

QStringList AllNames()
{
    QStringList names;
    for (const StoredFile &file : Contents()) names.append(QString::fromUtf8(file.name));
    return names;
}

struct Listing {
    QStringList named;  // sorted
    int unknown = 0;    // rows no list names (the internal list is one)
};

Listing ListArchive(const QString &ini, const QString &archive)
{
    Listing listing;
    const CliRun run = Cli({"--ini", ini, "list", archive});
    for (const QByteArray &line : run.out.split('\n')) {
        const QList<QByteArray> fields = line.split('\t');
        if (fields.size() != 6) continue;
        if (fields[0].startsWith("~unknowns\\"))
            ++listing.unknown;
        else
            listing.named.append(QString::fromUtf8(fields[0]));
    }
    listing.named.sort();
    return listing;
}

QStringList Sorted(QStringList names)
{
    names.sort();
    return names;
}

}  // namespace

class TestCliDeleteRename : public QObject {
    Q_OBJECT
    QTemporaryDir dir;
    QString ini;

    // A fresh copy of the starting archive, in a folder of the test's own.
    QString MakeStartingArchive()
    {
        const QString tag = QString(QTest::currentTestFunction()) + '-' +
                            QString(QTest::currentDataTag()).replace(' ', '-');
        const QString archive = dir.filePath(tag + "/map.w3x");
        if (!MakeArchive(archive, Contents(), dir.filePath(tag + "/scratch"))) return {};
        return archive;
    }

private slots:
    void initTestCase()
    {
        QVERIFY(dir.isValid());
        ini = dir.filePath("none.ini");  // no settings file: nothing of the user's is read
    }

    // The named files go, each other file stays listed under its name with
    // its bytes; no deleted file lingers as a nameless entry.
    void deleteRemovesOnlyTheNamedFiles_data()
    {
        QTest::addColumn<QStringList>("names");
        QTest::addColumn<QStringList>("gone");
        QTest::addColumn<int>("status");
        QTest::addColumn<QStringList>("errors");
        QTest::newRow("two of four") << QStringList{"war3map.j", "units\\grunt è.mdx"}
                                     << QStringList{"war3map.j", "units\\grunt è.mdx"} << 0 << QStringList{};
        QTest::newRow("two missing names") << QStringList{"gone.j", "sounds\\hit.wav", "units"}
                                           << QStringList{"sounds\\hit.wav"} << 4
                                           << QStringList{"gone.j: not stored", "units: not stored"};
        // Stored names keep the "\" that list prints; "/" names another file.
        QTest::newRow("slash instead of backslash") << QStringList{"units/footman.mdx"} << QStringList{} << 4
                                                    << QStringList{"units/footman.mdx: not stored"};
        QTest::newRow("a name given twice") << QStringList{"war3map.j", "war3map.j"} << QStringList{"war3map.j"}
                                            << 4 << QStringList{"war3map.j: not stored"};
    }

    void deleteRemovesOnlyTheNamedFiles()
    {
        QFETCH(QStringList, names);
        QFETCH(QStringList, gone);
        QFETCH(int, status);
        QFETCH(QStringList, errors);
        const QString archive = MakeStartingArchive();
        QVERIFY(!archive.isEmpty());
        const Listing before = ListArchive(ini, archive);
        QCOMPARE(before.named, Sorted(AllNames()));

        const CliRun run = Cli(QStringList{"--ini", ini, "delete", archive} + names);
        QCOMPARE(run.status, status);
        QVERIFY(run.out.isEmpty());
        QStringList errorLines = QString::fromUtf8(run.err).split('\n', Qt::SkipEmptyParts);
        QCOMPARE(errorLines.size(), errors.size());
        for (qsizetype i = 0; i < errors.size(); ++i)
            QVERIFY2(errorLines[i].endsWith(errors[i]), qPrintable(errorLines[i]));

        QStringList kept = AllNames();
        for (const QString &name : gone) kept.removeAll(name);
        const Listing after = ListArchive(ini, archive);
        QCOMPARE(after.named, Sorted(kept));
        QCOMPARE(after.unknown, before.unknown);
        for (const QString &name : kept) {
            bool ok = false;
            QCOMPARE(ReadStored(archive, name.toStdString(), &ok), DataOf(name));
            QVERIFY(ok);
        }
        for (const QString &name : gone) {
            bool ok = true;
            ReadStored(archive, name.toStdString(), &ok);
            QVERIFY(!ok);
        }
    }

    // --verbose: a line per name, as the window's status bar says it; else silence.
    void deleteVerbosePrintsALinePerName_data()
    {
        QTest::addColumn<bool>("verbose");
        QTest::newRow("verbose") << true;
        QTest::newRow("quiet") << false;
    }

    void deleteVerbosePrintsALinePerName()
    {
        QFETCH(bool, verbose);
        const QString archive = MakeStartingArchive();
        QVERIFY(!archive.isEmpty());
        QStringList arguments{"--ini", ini, "delete", archive, "units\\grunt è.mdx", "war3map.j"};
        if (verbose) arguments << "-v";
        const CliRun run = Cli(arguments);
        QCOMPARE(run.status, 0);
        QCOMPARE(run.out, verbose ? QByteArray("Eliminazione file units\\grunt è.mdx\nEliminazione file war3map.j\n")
                                  : QByteArray());
    }

    // The file goes under its new name with the same bytes, the old name is
    // free, and nothing else in the archive moves.
    void renameMovesTheFile_data()
    {
        QTest::addColumn<QString>("oldName");
        QTest::addColumn<QString>("newName");
        QTest::newRow("into a folder") << "war3map.j" << "scripts\\war3map.j";
        QTest::newRow("out of a folder, not ASCII") << "units\\grunt è.mdx" << "grunt ù.mdx";
        QTest::newRow("a name beginning with -") << "war3map.j" << "-war3map.j";
    }

    void renameMovesTheFile()
    {
        QFETCH(QString, oldName);
        QFETCH(QString, newName);
        const QString archive = MakeStartingArchive();
        QVERIFY(!archive.isEmpty());
        const Listing before = ListArchive(ini, archive);

        const CliRun run = Cli({"--ini", ini, "rename", archive, "--", oldName, newName});
        QCOMPARE(run.status, 0);
        QVERIFY2(run.err.isEmpty(), run.err.constData());
        QVERIFY(run.out.isEmpty());

        QStringList expected = AllNames();
        expected.replace(expected.indexOf(oldName), newName);
        const Listing after = ListArchive(ini, archive);
        QCOMPARE(after.named, Sorted(expected));
        QCOMPARE(after.unknown, before.unknown);
        bool ok = false;
        QCOMPARE(ReadStored(archive, newName.toStdString(), &ok), DataOf(oldName));
        QVERIFY(ok);
        ReadStored(archive, oldName.toStdString(), &ok);
        QVERIFY(!ok);
    }

    // A refused rename names the reason and leaves the archive's every byte.
    void renameRefusalsLeaveTheArchiveAlone_data()
    {
        QTest::addColumn<QString>("oldName");
        QTest::addColumn<QString>("newName");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("message");
        QTest::newRow("onto another stored file")
            << "war3map.j" << "units\\footman.mdx" << 5
            << "units\\footman.mdx: a file of that name is stored already; nothing renamed";
        // The archive finds names whatever their case.
        QTest::newRow("onto itself in capitals")
            << "units\\footman.mdx" << "UNITS\\FOOTMAN.MDX" << 5
            << "UNITS\\FOOTMAN.MDX: a file of that name is stored already; nothing renamed";
        QTest::newRow("a name not stored") << "nope.j" << "new.j" << 4 << "nope.j: not stored; nothing renamed";
        QTest::newRow("a name not stored onto a stored one")
            << "nope.j" << "war3map.j" << 5 << "war3map.j: a file of that name is stored already";
    }

    void renameRefusalsLeaveTheArchiveAlone()
    {
        QFETCH(QString, oldName);
        QFETCH(QString, newName);
        QFETCH(int, status);
        QFETCH(QString, message);
        const QString archive = MakeStartingArchive();
        QVERIFY(!archive.isEmpty());
        const QByteArray bytes = ReadFile(archive);
        const CliRun run = Cli({"--ini", ini, "rename", archive, oldName, newName});
        QCOMPARE(run.status, status);
        QVERIFY2(run.err.contains(message.toUtf8()), run.err.constData());
        QCOMPARE(ReadFile(archive), bytes);
    }

    // Nothing is made, and a file that is no archive keeps its bytes.
    void archivesThatCannotBeChanged_data()
    {
        QTest::addColumn<QString>("command");
        QTest::addColumn<QString>("archive");  // relative to the test's folder
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("message");
        for (const QString &command : {QStringLiteral("delete"), QStringLiteral("rename")}) {
            const auto row = [&](const char *what) -> QTestData & { return QTest::addRow("%s %s", qPrintable(command), what); };
            row("a missing archive") << command << "gone.mpq" << 2 << "gone.mpq: no such file";
            row("in a missing folder") << command << "no/such/x.mpq" << 2 << "x.mpq: no such file";
            row("a folder") << command << "folder" << 2 << "is a folder, not an archive";
            row("an empty file") << command << "empty.mpq" << 3 << "empty.mpq: is empty, it holds no MPQ archive";
            row("a text file") << command << "text.mpq" << 3 << "text.mpq: holds no MPQ archive";
        }
    }

    void archivesThatCannotBeChanged()
    {
        QFETCH(QString, command);
        QFETCH(QString, archive);
        QFETCH(int, status);
        QFETCH(QString, message);
        const QString folder = dir.filePath("unchangeable");
        QDir().mkpath(folder + "/folder");
        WriteFile(folder + "/empty.mpq", {});
        WriteFile(folder + "/text.mpq", "just some text\n");
        const QString path = folder + '/' + archive;
        const bool existed = QFileInfo::exists(path);
        const QByteArray bytes = ReadFile(path);

        const QStringList names = command == "delete" ? QStringList{"war3map.j"} : QStringList{"war3map.j", "x.j"};
        const CliRun run = Cli(QStringList{"--ini", ini, command, path} + names);
        QCOMPARE(run.status, status);
        QVERIFY2(run.err.contains(message.toUtf8()), run.err.constData());
        QCOMPARE(QFileInfo::exists(path), existed);
        QCOMPARE(ReadFile(path), bytes);
        QVERIFY(!QFileInfo::exists(folder + "/no"));
    }

    void usageErrors_data()
    {
        QTest::addColumn<QStringList>("arguments");  // after the archive
        QTest::addColumn<QString>("command");
        QTest::addColumn<QString>("message");
        QTest::newRow("delete without names") << QStringList{} << "delete" << "delete takes";
        QTest::newRow("rename with one name") << QStringList{"war3map.j"} << "rename" << "rename takes";
        QTest::newRow("rename to an empty name") << QStringList{"war3map.j", ""} << "rename" << "rename takes";
        QTest::newRow("delete with --to") << QStringList{"war3map.j", "--to", "out"} << "delete"
                                          << "--to belongs to extract";
        QTest::newRow("rename with --prefix") << QStringList{"war3map.j", "a.j", "--prefix", "p"} << "rename"
                                              << "--prefix belongs to add";
        QTest::newRow("delete with an unknown option") << QStringList{"--all"} << "delete" << "unknown option --all";
    }

    void usageErrors()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, command);
        QFETCH(QString, message);
        const QString archive = MakeStartingArchive();
        QVERIFY(!archive.isEmpty());
        const QByteArray bytes = ReadFile(archive);
        const CliRun run = Cli(QStringList{"--ini", ini, command, archive} + arguments);
        QCOMPARE(run.status, 1);
        QVERIFY2(run.err.contains(message.toUtf8()), run.err.constData());
        QCOMPARE(ReadFile(archive), bytes);
    }

    // An archive that smpq made, with its own list and attributes and a file
    // whose key depends on its place: after a delete and a rename smpq itself
    // reads the rest back.
    void smpqArchiveIsChangedInPlace()
    {
        if (!HaveSmpq()) QSKIP("smpq is not installed");
        const QString work = dir.filePath("smpq");
        WriteFile(work + "/a.txt", TextData(4000, 'a'));
        WriteFile(work + "/sub/b.txt", TextData(12000, 'b'));
        WriteFile(work + "/c.txt", TextData(6000, 'c'));
        QVERIFY(RunSmpq({"-c", "-M", "1", "made.mpq", "a.txt", "c.txt"}, work));
        QVERIFY(RunSmpq({"-a", "-E", "-F", "made.mpq", "sub/b.txt"}, work));
        const QString archive = work + "/made.mpq";
        QCOMPARE(ListArchive(ini, archive).named, (QStringList{"a.txt", "c.txt", "sub\\b.txt"}));

        QCOMPARE(Cli({"--ini", ini, "delete", archive, "a.txt"}).status, 0);
        QCOMPARE(Cli({"--ini", ini, "rename", archive, "sub\\b.txt", "sub\\d.txt"}).status, 0);
        QCOMPARE(ListArchive(ini, archive).named, (QStringList{"c.txt", "sub\\d.txt"}));

        const QString check = work + "/check";
        QVERIFY(QDir().mkpath(check));
        QVERIFY(QFile::copy(archive, check + "/made.mpq"));
        QVERIFY(RunSmpq({"-x", "made.mpq"}, check));
        QVERIFY(QFile::remove(check + "/made.mpq"));
        const QMap<QString, QByteArray> expected{
            {"c.txt", TextData(6000, 'c')}, {"sub/", "<dir>"}, {"sub/d.txt", TextData(12000, 'b')}};
        QCOMPARE(Tree(check), expected);
    }
};

QTEST_MAIN(TestCliDeleteRename)
#include "test_cli_delete_rename.moc"
