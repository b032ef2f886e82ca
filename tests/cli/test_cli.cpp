// arcavera-cli through the real binary: one run of each command, and the
// exit status and message each reason of a refusal gives.
#include <QDir>
#include <QFile>
#include <QImage>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

#include <optional>

#include "support/archive_factory.h"
#include "support/cli_runner.h"
#include "support/damaged_data.h"
#include "support/file_size_limit.h"
#include "support/map_factory.h"

using namespace fixtures;

class TestCli : public QObject {
    Q_OBJECT
    QTemporaryDir dir;

private slots:
    void initTestCase()
    {
        const QString f = dir.path();
        const QList<StoredFile> files{{"a.txt", "a"}, {"..\\up.txt", "up"}, {"big.bin", TextData(5000)}};
        for (const char *name : {"good.mpq", "del.mpq", "ren.mpq", "compact.mpq"}) QVERIFY(MakeArchive(f + "/" + name, files, f + "/s"));
        QByteArray noise(600000, Qt::Uninitialized);  // no compression shrinks it
        QRandomGenerator(5).fillRange(reinterpret_cast<quint32 *>(noise.data()), noise.size() / 4);
        QVERIFY(MakeArchive(f + "/big.mpq", {{"noise.bin", noise.left(300000)}}, f + "/s"));
        WriteFile(f + "/more.bin", noise.mid(300000));
        WriteFile(f + "/text.mpq", "just some text\n");
        WriteFile(f + "/empty.mpq", {});
        WriteFile(f + "/src.txt", "source");
        // Behind a deleted file: x.dat moves, and neither a name nor its bytes give its key.
        const HandFile deleted{"gone", "gone", 0xFFFFFFFE, 0};
        WriteFile(f + "/nameless.mpq", HandMadeArchive(8, {deleted, {"x.dat", noise.left(64), 0xFFFFFFFF, 0x80030000}}));
        WriteFile(f + "/bare.w3x", HandMadeArchive(16, {{"war3map.j", "call X(\"war3mapImported\\\\a.blp\")"},
                                                     {"war3mapImported\\a.blp", "BLP1"}}));
        WriteFile(f + "/game.exe", ExeBytes(1000));
        QByteArray mapHeader = QByteArray("HM3W\0\0\0\0My Map\0\x24\0\0\0\x04\0\0\0", 23);
        WriteFile(f + "/map.w3x", mapHeader.leftJustified(512, '\0') + ReadFile(f + "/good.mpq"));
        WriteFile(f + "/stripped.w3x", mapHeader.leftJustified(512, '\0') + HandMadeArchive(8, {deleted, {"x.dat", "x"}}));
        WriteFile(f + "/embedded.exe", ExeBytes(1024) + ArchiveBytes(700));
        WriteFile(f + "/plain.mpq", ArchiveBytes(300));
        // The first sector of big.bin names a compression that no engine knows.
        QVERIFY(MakeArchive(f + "/damaged.mpq", files, f + "/s"));
        QByteArray damaged = ReadFile(f + "/damaged.mpq");
        const qint64 at = mpq::SFileGetFileInfo(
            mpq::SFileOpenFileEx(mpq::SFileOpenArchive(Bytes(f + "/damaged.mpq")).get(), "big.bin").get(), mpq::SFILE_INFO_POSITION);
        damaged[at + qFromLittleEndian<quint32>(damaged.constData() + at)] = '\x04';
        WriteFile(f + "/damaged.mpq", damaged);
        QVERIFY(QDir(f).mkdir("folder") && QDir(f).mkdir("o6") && QFile::link(f + "/text.mpq", f + "/o6/a.txt"));
        // A protected map: garbage in the header's size fields, a block table count far beyond the file.
        QByteArray protectedMap = HandMadeArchive(8, {{"(listfile)", "a.txt\r\n"}, {"a.txt", "protected"}});
        protectedMap.replace(4, 8, "(c)prot!").replace(28, 4, QByteArray("\xff\xff\xff\x0f", 4));
        WriteFile(f + "/protected.w3x", protectedMap);
        WriteFile(f + "/stuck.mpq", HandMadeArchive(8, {{"a.txt", "a"}, EndlessBzip2File("x.bin")}));
        WriteFile(f + "/look.w3x", LookMap());
        WriteFile(f + "/badpack/.arcavera-manifest", "arcavera-manifest 1\nformat 9\n");
    }

    void commands_data()
    {
        QTest::addColumn<QStringList>("arguments");  // "@" stands for the test's folder
        QTest::addColumn<int>("fileSizeLimit");      // 0 for none
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("said");  // on standard output for status 0, else on standard error
        const auto row = [](const char *tag, const QStringList &arguments, int status, const char *said, int limit = 0) {
            QTest::newRow(tag) << arguments << limit << status << QByteArray(said);
        };
        // One run of each command.
        row("list", {"list", "@/good.mpq"}, 0, "a.txt\ttxt\t1\t");
        row("info", {"info", "@/good.mpq"}, 0, "files\t");
        row("info of a map", {"info", "@/map.w3x"}, 0, "\nformat\t1\noffset\t512\nsector size\t4096\nhash table\t64\n"
            "used slots\t4\nblock table\t4\nmap name\tMy Map\nmap flags\t0x00000024\nsignature\tnone\n");
        row("add", {"add", "@/new.mpq", "@/src.txt", "-v"}, 0, "Adding file src.txt\n");
        row("extract", {"extract", "@/good.mpq", "a.txt", "--to", "@/out", "--verbose"}, 0, "Extracting file a.txt\n");
        row("delete", {"delete", "@/del.mpq", "a.txt", "-v"}, 0, "Deleting file a.txt\n");
        row("rename", {"rename", "@/ren.mpq", "--", "a.txt", "-b.txt"}, 0, "");
        row("embed", {"embed", "@/game.exe", "@/plain.mpq"}, 0, "");
        row("split", {"-v", "split", "@/embedded.exe", "--mpq", "@/split.mpq"}, 0, "");
        row("verify", {"verify", "@/good.mpq"}, 0, "Files checked: 4\nFiles with faults: 0\nSignature: none\n");
        row("help", {"--help"}, 0, "Usage: arcavera-cli");
        row("compact", {"compact", "@/compact.mpq"}, 0, " after\n");
        row("create", {"create", "@/made.mpq", "--format", "2", "--max-files", "100"}, 0, "");
        row("create, bad format", {"create", "@/made2.mpq", "--format", "5"}, 1, "--format takes 1, 2, 3 or 4");
        row("--format outside create", {"list", "@/good.mpq", "--format", "2"}, 1, "--format belongs to create");
        row("create over a file", {"create", "@/text.mpq"}, 5, "text.mpq: a file is there already; left as it is\n");
        row("compact a map without its list", {"compact", "@/stripped.w3x"}, 0, " after\n");
        row("compact without names", {"compact", "@/nameless.mpq"}, 7, "~unknowns\\unknown00000");
        row("names", {"names", "@/bare.w3x"}, 0, "war3map.j\nwar3mapImported\\a.blp\n");
        row("list recovering names", {"list", "@/bare.w3x"}, 0, "war3mapImported\\a.blp\tblp\t");
        row("list a protected map", {"list", "@/protected.w3x"}, 0, "a.txt\ttxt\t9\t");
        row("list with --no-scan", {"list", "@/bare.w3x", "--no-scan"}, 0, "~unknowns\\");
        row("info of a map's details", {"info", "@/look.w3x"}, 0, "\nmap title\tLook Map\nmap author\tBlizzard\n"
            "map description\tA red map\nmap players\t1v1\nmap size\t116x84\nmap tileset\tLordaeron Summer\n");
        row("cat", {"cat", "@/look.w3x", "war3map.j"}, 0, "function main takes nothing returns nothing\r\nendfunction\r\n");
        row("convert", {"convert", "@/look.w3x", "war3mapPreview.tga", "@/preview.png"}, 0, "");
        row("thumbnail", {"thumbnail", "@/look.w3x", "@/thumb.png", "--size", "1"}, 0, "");
        row("unpack", {"unpack", "@/map.w3x", "@/unpacked"}, 0, "");
        row("pack", {"pack", "@/folder", "@/packed.mpq", "-v"}, 0, "Archive made with 0 files\n");
        // Bad usage.
        row("no command", {}, 1, "a command is missing\n'arcavera-cli --help' lists");
        row("unknown command", {"explode", "x"}, 1, "unknown command: explode");
        row("unknown option", {"delete", "@/del.mpq", "--all"}, 1, "unknown option --all (put -- before names");
        row("--ini without file", {"list", "x", "--ini"}, 1, "--ini needs a file");
        row("--exe outside split", {"list", "x", "--exe", "y"}, 1, "--exe belongs to split");
        row("--to outside extract", {"delete", "@/del.mpq", "x", "--to", "o"}, 1, "--to belongs to extract");
        row("--prefix outside add", {"rename", "@/ren.mpq", "a", "b", "--prefix", "p"}, 1, "--prefix belongs to add");
        row("rename to nothing", {"rename", "@/ren.mpq", "a.txt", ""}, 1, "rename takes ARCHIVE OLD NEW");
        row("extract without --to", {"extract", "@/good.mpq"}, 1, "extract takes");
        row("split without output", {"split", "@/embedded.exe"}, 1, "split takes FILE [--exe OUT] [--mpq OUT]");
        row("split --exe twice", {"split", "@/embedded.exe", "--exe", "a", "--exe", "b"}, 1, "--exe is given twice");
        row("split with --to", {"split", "@/embedded.exe", "--to", "x"}, 1, "--to belongs to extract");
        row("--size outside thumbnail", {"convert", "@/look.w3x", "a", "b", "--size", "3"}, 1, "--size belongs to thumbnail");
        row("--locale outside its commands", {"list", "@/good.mpq", "--locale", "de-DE"}, 1, "--locale belongs to add, extract, delete, rename");
        row("--size of nothing", {"thumbnail", "@/look.w3x", "@/t.png", "--size", "0"}, 1, "--size takes 1 to 4096");
        // 2: a path that is missing, of the wrong kind, or cannot be made or written.
        row("missing archive", {"list", "@/gone.mpq"}, 2, "gone.mpq: no such file\n");
        row("missing source", {"add", "@/new.mpq", "@/gone.txt"}, 2, "gone.txt: no such file or folder\n");
        row("folder as archive", {"info", "@"}, 2, ": is a folder, not an archive\n");
        row("a protected map to change", {"delete", "@/protected.w3x", "a.txt"}, 2, "protected.w3x: a malformed archive (a protected map): it can be read, never changed\n");
        row("the archive as source", {"add", "@/new.mpq", "@/new.mpq"}, 2, "new.mpq: is the archive itself; left out\n");
        row("archive in a missing folder", {"add", "@/no/x.mpq", "@/src.txt"}, 2, "x.mpq: the archive cannot be made there\n");
        row("folder onto a file", {"extract", "@/good.mpq", "--to", "@/text.mpq"}, 2, "text.mpq: cannot be made or written\n");
        row("embed into itself", {"embed", "@/game.exe", "@/game.exe"}, 2, "game.exe: is the file it would be copied from");
        // 3: no archive; the file is left as it is.
        row("text as archive", {"list", "@/text.mpq"}, 3, "text.mpq: holds no MPQ archive; left as it is\n");
        row("text to add to", {"add", "@/text.mpq", "@/src.txt"}, 3, "text.mpq: holds no MPQ archive; left as it is\n");
        row("empty file to change", {"delete", "@/empty.mpq", "x"}, 3, "empty.mpq: is empty, it holds no MPQ archive; left as it is\n");
        row("embed into no executable", {"embed", "@/text.mpq", "@/plain.mpq"}, 3, "text.mpq: is not an executable");
        // 4: names refused, the others done; an archive not written is as it was.
        row("not stored", {"delete", "@/del.mpq", "nope", "big.bin"}, 4, "arcavera-cli: nope: not stored\n");
        row("rename of a name not stored", {"rename", "@/ren.mpq", "nope", "new"}, 4, "arcavera-cli: nope: not stored\n");
        row("not in the archive", {"extract", "@/good.mpq", "nope", "--to", "@/o2"}, 4, "nope: not in the archive, or unreadable\n");
        row("climbing out", {"extract", "@/good.mpq", "--to", "@/o3"}, 4, "..\\up.txt: refused, it would be written outside ");
        row("past a file that stops the engine", {"extract", "@/stuck.mpq", "a.txt", "x.bin", "--to", "@/o8"}, 4, "x.bin: damaged, reading it stopped the engine; not written\n");
        row("a link in its place", {"extract", "@/good.mpq", "a.txt", "--to", "@/o6"}, 4, "a.txt: refused, a link stands in its place below ");
        row("extraction on a full disk", {"extract", "@/good.mpq", "big.bin", "--to", "@/o7"}, 4, "big.bin: cannot be written; the work stopped there\n", 1000);
        row("archive not written", {"add", "@/big.mpq", "@/more.bin"}, 4, "big.mpq: the archive could not be written (is the disk full?); it is as it was\n", 200000);
        row("cat of a name not stored", {"cat", "@/look.w3x", "nope"}, 4, "nope: not stored\n");
        row("convert a damaged image", {"convert", "@/look.w3x", "broken.blp", "@/b.png"}, 4, "broken.blp: damaged image: ");
        row("convert a script", {"convert", "@/look.w3x", "war3map.j", "@/j.png"}, 4, "war3map.j: not an image Arcavera reads\n");
        row("thumbnail of no map", {"thumbnail", "@/good.mpq", "@/t.png"}, 4, "good.mpq: holds no map preview or minimap\n");
        row("thumbnail nowhere", {"thumbnail", "@/look.w3x", "@/folder"}, 2, "folder: cannot be made or written\n");
        row("embed twice", {"embed", "@/embedded.exe", "@/plain.mpq"}, 4, "holds an MPQ archive already, at offset 1024");
        // 5: the new name is stored already, whatever its case.
        row("rename onto a stored name", {"rename", "@/ren.mpq", "big.bin", "BIG.BIN"}, 5, "BIG.BIN: a file of that name is stored already\n");
        row("unpack into a folder with files", {"unpack", "@/good.mpq", "@/o6"}, 5, "o6 is not empty: choose an empty or new one.\n");
        row("split below a file", {"split", "@/embedded.exe", "--mpq", "@/text.mpq/o"}, 5, "cannot be opened");
        // 8: a folder that does not make an archive.
        row("pack a manifest that does not parse", {"pack", "@/badpack", "@/bad.w3x"}, 8, "The manifest does not parse at line 2: no archive was made.\n");
        // 6: a faulty file, said on standard output as the files a check found.
        row("verify a damaged archive", {"verify", "@/damaged.mpq"}, 6, "Files checked: 4\nFiles with faults: 1\nbig.bin: cannot be read completely\n");
    }

    void commands()
    {
        QFETCH(QStringList, arguments);
        QFETCH(int, fileSizeLimit);
        QFETCH(int, status);
        QFETCH(QByteArray, said);
        const QString f = dir.path();
        for (QString &argument : arguments) argument.replace('@', f);
        const QStringList kept{"text.mpq", "empty.mpq", "game.exe", "big.mpq", "damaged.mpq"};
        QList<QByteArray> before;
        for (const QString &name : kept) before.append(ReadFile(f + "/" + name));
        CliRun run;
        {
            std::optional<FileSizeLimit> limit;  // inherited by the started tool
            if (fileSizeLimit > 0) limit.emplace(rlim_t(fileSizeLimit));
            run = Cli(QStringList{"--ini", f + "/none.ini"} + arguments);
        }
        QCOMPARE(run.status, status);
        const bool reportsOnOutput = status == 0 || status == 6;
        const QByteArray &text = reportsOnOutput ? run.out : run.err;
        QVERIFY2(text.contains(said), run.err.constData());
        if (!reportsOnOutput) QVERIFY2(run.err.startsWith("arcavera-cli: "), run.err.constData());
        // Pictures come out at their full size, or fitted to the size asked.
        if (status == 0 && (arguments[0] == "convert" || arguments[0] == "thumbnail")) {
            const QImage picture(arguments[arguments[0] == "convert" ? 3 : 2]);
            QCOMPARE(picture.size(), arguments[0] == "convert" ? QSize(2, 2) : QSize(1, 1));
            if (arguments[0] == "convert") QCOMPARE(picture.pixel(1, 0), 0xff00ff00u);
        }
        if (status == 0) return;
        for (qsizetype n = 0; n < kept.size(); ++n) QCOMPARE(ReadFile(f + "/" + kept[n]), before[n]);
        QVERIFY(!QFileInfo::exists(f + "/up.txt") && !QFileInfo::exists(f + "/no"));
    }

    // An archive made new in each format takes adds, renames, deletes and a
    // compaction, and verifies clean.
    void everyFormatTakesChanges_data()
    {
        QTest::addColumn<int>("format");
        for (int format = 1; format <= 4; ++format) QTest::addRow("format %d", format) << format;
    }
    void everyFormatTakesChanges()
    {
        QFETCH(int, format);
        const QString f = dir.filePath(QStringLiteral("format%1").arg(format)), archive = f + "/new.mpq";
        WriteFile(f + "/a.txt", TextData(3000));
        WriteFile(f + "/b.txt", TextData(9000, 'b'));
        const QStringList ini{"--ini", f + "/none.ini"};
        for (const QStringList &command : QList<QStringList>{{"create", archive, "--format", QString::number(format)},
                                                             {"add", archive, f + "/a.txt", f + "/b.txt"},
                                                             {"rename", archive, "a.txt", "c.txt"},
                                                             {"delete", archive, "b.txt"},
                                                             {"compact", archive}}) {
            const CliRun run = Cli(ini + command);
            QVERIFY2(run.status == 0, qPrintable(command.first() + ": " + run.err));
        }
        QVERIFY(Cli(ini + QStringList{"verify", archive}).out.contains("Files checked: 2\nFiles with faults: 0\n"));
        QCOMPARE(Cli(ini + QStringList{"extract", archive, "c.txt", "--to", f + "/out"}).status, 0);
        QCOMPARE(ReadFile(f + "/out/c.txt"), TextData(3000));
        QVERIFY(!Cli(ini + QStringList{"list", archive}).out.contains("b.txt"));
    }

    // One name stored neutral, in German and in French: each command reaches
    // the variant --locale names, and no other.
    void localeVariants_data()
    {
        QTest::addColumn<QStringList>("command");  // "@" the archive, "%" the output folder
        QTest::addColumn<int>("status");
        QTest::addColumn<QByteArray>("said");
        QTest::addColumn<QStringList>("listed");    // lines of `list` afterwards, each by its start and locale
        QTest::addColumn<QStringList>("written");   // path=content below the output folder
        const QStringList all{"war3map.wts\twts\t7\t|", "war3map.wts\twts\t6\t|de-DE", "war3map.wts\twts\t6\t|fr-FR"};
        QTest::newRow("extract all") << QStringList{"extract", "@", "--to", "%"} << 0 << QByteArray() << all
                                     << QStringList{"war3map.wts=neutral", "war3map.de-DE.wts=german", "war3map.fr-FR.wts=french"};
        QTest::newRow("extract one") << QStringList{"extract", "--locale", "de-de", "@", "war3map.wts", "--to", "%"} << 0
                                     << QByteArray() << all << QStringList{"war3map.wts=german"};
        QTest::newRow("extract by LCID") << QStringList{"extract", "--locale", "0x40c", "@", "--to", "%"} << 0 << QByteArray()
                                         << all << QStringList{"war3map.wts=french"};
        QTest::newRow("delete one") << QStringList{"delete", "--locale", "fr-FR", "@", "war3map.wts"} << 0 << QByteArray()
                                    << all.mid(0, 2) << QStringList{};
        QTest::newRow("delete neutral") << QStringList{"delete", "@", "war3map.wts"} << 0 << QByteArray() << all.mid(1)
                                        << QStringList{};
        QTest::newRow("rename one") << QStringList{"rename", "--locale", "de-DE", "@", "war3map.wts", "new.wts"} << 0
                                    << QByteArray()
                                    << QStringList{all[0], "new.wts\twts\t6\t|de-DE", all[2]} << QStringList{};
        QTest::newRow("a variant not stored") << QStringList{"delete", "--locale", "it-IT", "@", "war3map.wts"} << 4
                                              << QByteArray("war3map.wts [it-IT]: not stored") << all << QStringList{};
        QTest::newRow("no such locale") << QStringList{"delete", "--locale", "xx-YY", "@", "war3map.wts"} << 1
                                        << QByteArray("xx-YY: no such locale; give a tag (") << all << QStringList{};
    }
    void localeVariants()
    {
        QFETCH(QStringList, command);
        QFETCH(int, status);
        QFETCH(QByteArray, said);
        QFETCH(QStringList, listed);
        QFETCH(QStringList, written);
        const QString f = dir.filePath(QStringLiteral("locales-%1").arg(QTest::currentDataTag()).replace(' ', '-'));
        const QString archive = f + "/map.w3x", out = f + "/out";
        const QStringList ini{"--ini", f + "/none.ini"};
        for (const auto &[locale, text] : {std::pair{"neutral", "neutral"}, {"de-DE", "german"}, {"fr-FR", "french"}}) {
            WriteFile(f + "/in/war3map.wts", text);
            QCOMPARE(Cli(ini + QStringList{"add", "--locale", locale, archive, f + "/in/war3map.wts"}).status, 0);
        }
        for (QString &argument : command) argument = argument == "@" ? archive : argument == "%" ? out : argument;
        const CliRun run = Cli(ini + command);
        QCOMPARE(run.status, status);
        QVERIFY2(run.err.contains(said), run.err.constData());
        const QList<QByteArray> lines = Cli(ini + QStringList{"list", archive}).out.split('\n');
        QCOMPARE(lines.size() - 2, listed.size());  // "(listfile)" and the last line's end besides
        for (const QString &line : listed) {
            const QStringList parts = line.split('|');
            QVERIFY2(std::any_of(lines.begin(), lines.end(),
                                 [&](const QByteArray &l) { return l.startsWith(parts[0].toUtf8()) && l.endsWith("\t" + parts[1].toUtf8()); }),
                     qPrintable(line));
        }
        QCOMPARE(QDir(out).entryList({"*.wts"}, QDir::Files).size(), written.size());
        for (const QString &file : written) QCOMPARE(ReadFile(out + "/" + file.section('=', 0, 0)), file.section('=', 1).toUtf8());
    }
};

QTEST_GUILESS_MAIN(TestCli)
#include "test_cli.moc"
