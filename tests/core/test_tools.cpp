// An archive put behind an executable and cut out again, handed to the self-executing-archive tool, and
// checked for damage.
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QtEndian>

#include <optional>

#include "config/registry.h"
#include "listing/locale_tags.h"
#include "properties/archive_properties.h"
#include "support/archive_factory.h"
#include "support/damaged_data.h"
#include "tools/embed_archive.h"
#include "support/file_size_limit.h"
#include "support/signed_archive.h"
#include "tools/mpq_header.h"
#include "tools/self_executing.h"
#include "tools/verify_archive.h"

using namespace fixtures;

Q_DECLARE_METATYPE(VerifyReport)

namespace {

const QString kWizard = QStringLiteral("HKEY_CURRENT_USER\\Software\\Team MoPaQ\\MPQDraft for Windows\\");

// A Wine first on the PATH that notes each call, keeps the registry file it is handed and runs a slow tool.
void WriteFakeWine(const QString &folder)
{
    const QString script = WriteFile(folder + "/wine", R"sh(#!/bin/sh
printf "%s\n" "$*" >> "$(dirname "$0")/calls.log"
if [ "$1" = regedit ]; then
  cp "$(printf '%s' "$3" | sed -e 's/^Z://' -e 's/\\/\//g')" "$(dirname "$0")/imported.reg"
else sleep 0.3; echo finished >> "$(dirname "$0")/calls.log"
fi
)sh");
    QFile::setPermissions(script, QFile::permissions(script) | QFile::ExeOwner);
    qputenv("PATH", (folder + ":/usr/bin:/bin").toUtf8());
}

// Where a stored file's bytes lie in its archive: their offset and their count.
std::pair<qint64, qint64> StoredSpan(const QString &archive, const char *name)
{
    const mpq::Archive reading = mpq::SFileOpenArchive(Bytes(archive));
    const mpq::StoredFile file = mpq::SFileOpenFileEx(reading.get(), name);
    return {mpq::SFileGetFileInfo(file.get(), mpq::SFILE_INFO_POSITION),
            mpq::SFileGetFileInfo(file.get(), mpq::SFILE_INFO_COMPRESSED_SIZE)};
}

// A check's findings as "name=fault+fault, ..., N checked, signature S".
QString Findings(const VerifyReport &report)
{
    QStringList said;
    const std::pair<quint32, const char *> kinds[] = {{FaultNotOpened, "open"}, {FaultNotRead, "read"},
        {FaultSectorChecksum, "sector"}, {FaultCrc32, "crc32"}, {FaultMd5, "md5"}, {FaultRawMd5, "raw"},
        {FaultEngine, "engine"}};
    for (const FaultyFile &file : report.faulty) {
        QStringList faults;
        for (const auto &[bit, kind] : kinds)
            if (file.faults & bit) faults << kind;
        said << file.name + '=' + faults.join('+');
    }
    return (said << QString("%1 checked, signature %2").arg(report.filesChecked).arg(int(report.signature))).join(", ");
}

}  // namespace

class TestTools : public QObject {
    Q_OBJECT
    QTemporaryDir dir;
    QByteArray savedPath;

private slots:
    void initTestCase()
    {
        savedPath = qgetenv("PATH");
        SetRegistryStorePath(dir.filePath("Arcavera.reg"));
    }
    void cleanup() { qputenv("PATH", savedPath); }

    // The executable, zeros up to a multiple of 512, the archive; a pass of the copy moves 1 MiB at most.
    void embedThenExportBothParts_data()
    {
        QTest::addColumn<qint64>("exeSize");
        QTest::addColumn<qint64>("archiveSize");
        QTest::addColumn<qint64>("padding");
        QTest::addColumn<qint64>("passes");
        QTest::addColumn<qint64>("lastPass");
        QTest::newRow("1000 and 300") << 1000LL << 300LL << 24LL << 1LL << 300LL;
        QTest::newRow("a multiple of 512: no padding") << 1024LL << 300LL << 0LL << 1LL << 300LL;
        QTest::newRow("one byte over a pass") << 1000LL << 1048577LL << 24LL << 2LL << 1LL;
    }
    void embedThenExportBothParts()
    {
        QFETCH(qint64, exeSize);
        QFETCH(qint64, archiveSize);
        QFETCH(qint64, padding);
        const QString folder = CaseFolder(dir.path());
        const QByteArray exe = ExeBytes(exeSize), archive = ArchiveBytes(archiveSize), padded = exe + QByteArray(padding, '\0');
        const QString exePath = WriteFile(folder + "/game.exe", exe);
        const EmbedResult embedded = EmbedArchive(exePath, WriteFile(folder + "/data.mpq", archive));
        QVERIFY(embedded.ok());
        QTEST(embedded.passes, "passes");
        QTEST(embedded.lastPassBytes, "lastPass");
        QCOMPARE(ReadFile(exePath), padded + archive);
        QCOMPARE(FindMPQHeader(exePath), exeSize + padding);

        WriteFile(folder + "/part.mpq", QByteArray(5000, 'x'));  // an export replaces what stands there
        QVERIFY(ExportExecutablePart(exePath, folder + "/part.exe").ok() && ExportArchivePart(exePath, folder + "/part.mpq").ok());
        QCOMPARE(ReadFile(folder + "/part.exe"), padded);
        QCOMPARE(ReadFile(folder + "/part.mpq"), archive);
        QCOMPARE(QDir(folder).entryList(QDir::Files), (QStringList{"data.mpq", "game.exe", "part.exe", "part.mpq"}));
    }

    // An archive of our engine, embedded and cut out again, holds the same files, and does behind the executable.
    void realArchiveSurvivesTheRoundTrip()
    {
        const QString folder = CaseFolder(dir.path());
        const QList<StoredFile> files{{"war3map.j", TextData(20000, 'j')},
                                      {"units\\footman.mdx", TextData(3000, 'f'), mpq::MAFA_COMPRESS | mpq::MAFA_ENCRYPT}};
        const QString archive = folder + "/map.mpq", exe = WriteFile(folder + "/game.exe", ExeBytes(3000));
        QVERIFY(MakeArchive(archive, files, folder + "/scratch"));
        QVERIFY(EmbedArchive(exe, archive).ok());
        QVERIFY(ExportArchivePart(exe, folder + "/split.mpq").ok());
        for (const QString &path : {folder + "/split.mpq", exe}) {
            QCOMPARE(List(path, "war3map.j\r\nunits\\footman.mdx\r\n").size(), std::size_t(3));  // with the internal list
            for (const StoredFile &file : files) QCOMPARE(ReadStored(path, file.name.toStdString()), file.data);
        }
    }

    // A refusal, or a write that fails midway as on a full disk, names the file concerned and
    // leaves every file as it was: the executable its length, an export's old target its bytes.
    void failuresChangeNothing_data()
    {
        QTest::addColumn<QString>("operation");
        QTest::addColumn<QString>("first");
        QTest::addColumn<QString>("second");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("concerned");
        QTest::addColumn<bool>("fullDisk");
        const auto row = [](const char *tag, const char *operation, const char *first, const char *second,
                            EmbedStatus status, const char *concerned, bool fullDisk = false) {
            QTest::newRow(tag) << operation << first << second << int(status) << concerned << fullDisk;
        };
        row("embed a file with no header", "embed", "game.exe", "text.txt", EmbedStatus::NotPlainArchive, "text.txt");
        row("embed an archive behind an executable", "embed", "game.exe", "embedded.exe", EmbedStatus::NotPlainArchive,
            "embedded.exe");
        row("embed an archive into itself by a link", "embed", "plain.mpq", "link.mpq", EmbedStatus::SameFile, "link.mpq");
        row("export onto a link to the source", "mpq", "embedded.exe", "link.exe", EmbedStatus::SameFile, "link.exe");
        row("export onto another spelling of the source", "exe", "embedded.exe", "folder/../embedded.exe",
            EmbedStatus::SameFile, "folder/../embedded.exe");
        row("export from a plain archive", "mpq", "plain.mpq", "out.bin", EmbedStatus::NoEmbeddedArchive, "plain.mpq");
        row("export below a file", "mpq", "embedded.exe", "text.txt/out.mpq", EmbedStatus::OpenFailed, "text.txt/out.mpq");
        row("embed onto a full disk", "embed", "game.exe", "plain.mpq", EmbedStatus::WriteFailed, "game.exe", true);
        row("export the executable onto a full disk", "exe", "embedded.exe", "out.bin", EmbedStatus::WriteFailed, "out.bin", true);
        row("export the archive onto a full disk", "mpq", "embedded.exe", "out.bin", EmbedStatus::WriteFailed, "out.bin", true);
    }
    void failuresChangeNothing()
    {
        QFETCH(QString, operation);
        QFETCH(QString, first);
        QFETCH(QString, second);
        QFETCH(bool, fullDisk);
        const QString folder = CaseFolder(dir.path());
        WriteFile(folder + "/game.exe", ExeBytes(1000));
        WriteFile(folder + "/plain.mpq", ArchiveBytes(700));
        WriteFile(folder + "/embedded.exe", ExeBytes(2048) + ArchiveBytes(2000));
        WriteFile(folder + "/text.txt", "just text");
        WriteFile(folder + "/out.bin", "the old target");
        QVERIFY(QDir(folder).mkdir("folder"));
        QVERIFY(QFile::link(folder + "/embedded.exe", folder + "/link.exe"));
        QVERIFY(QFile::link(folder + "/plain.mpq", folder + "/link.mpq"));
        const QMap<QString, QByteArray> before = Tree(folder);
        const QString a = folder + '/' + first, b = folder + '/' + second;
        std::optional<FileSizeLimit> limit;
        if (fullDisk) limit.emplace(1500);
        const EmbedResult result = operation == "embed" ? EmbedArchive(a, b)
                                   : operation == "exe" ? ExportExecutablePart(a, b)
                                                        : ExportArchivePart(a, b);
        limit.reset();
        QTEST(int(result.status), "status");
        QFETCH(QString, concerned);
        QCOMPARE(result.path, folder + '/' + concerned);
        QCOMPARE(Tree(folder), before);
    }

    // Every listed file is read whole and held against the checksums the archive keeps; what is
    // found wrong is named, damage that would make the engine fault included, and nothing is written.
    void verifyArchive_data()
    {
        QTest::addColumn<QStringList>("smpq");  // how smpq makes big.txt and small.txt; empty: hand-made
        QTest::addColumn<QString>("damage");
        QTest::addColumn<QString>("findings");
        QTest::newRow("intact, with (attributes) and sector checksums") << QStringList{"-M", "1", "-S"} << "" << "4 checked, signature 0";
        QTest::newRow("a compressed file with a byte flipped") << QStringList{"-M", "1", "-S"} << "flip" << "big.txt=sector, 4 checked, signature 0";
        QTest::newRow("a plain file with a byte flipped") << QStringList{"-M", "1", "-C", "none"} << "flip" << "big.txt=crc32+md5, 4 checked, signature 0";
        QTest::newRow("format 4, a byte flipped") << QStringList{"-M", "4"} << "flip" << "big.txt=read+raw, 4 checked, signature 0";
        QTest::newRow("sector checksums longer than their table") << QStringList{"-M", "1", "-S"} << "checksums" << "small.txt=read, 4 checked, signature 0";
        QTest::newRow("compressed, says the block table of plain bytes") << QStringList() << "" << "x.wav=read, 2 checked, signature 0";
        QTest::newRow("a weak signature that does not match") << QStringList() << "signature" << "2 checked, signature 3";
        QTest::newRow("a bzip2 sector that never ends") << QStringList() << "bzip2" << "x.wav=engine, 2 checked, signature 0";
        // Written as map makers' tools write them: the engine's own files have no checksums of their own.
        QTest::newRow("signed by its maker") << QStringList{"signed"} << "" << "5 checked, signature 1";
        QTest::newRow("signed, a compressed file changed") << QStringList{"signed"} << "flip" << "big.txt=crc32+md5, 5 checked, signature 3";
        QTest::newRow("signed, a file added since") << QStringList{"signed"} << "add" << "6 checked, signature 1";
        QTest::newRow("(attributes) without MD5s") << QStringList{"crc32 only"} << "" << "4 checked, signature 0";
    }
    void verifyArchive()
    {
        QFETCH(QStringList, smpq);
        QFETCH(QString, damage);
        const QString folder = CaseFolder(dir.path()), archive = folder + "/made.mpq";
        if (smpq.isEmpty()) {
            const HandFile second = damage == "signature" ? HandFile{"(signature)", QByteArray(8, '\0') + QByteArray(64, 's')}
                                  : damage == "bzip2"     ? EndlessBzip2File("x.wav")
                                                          : HandFile{"x.wav", QByteArray(1000, 'w'), 0xFFFFFFFF, 0x80000200, 500};
            WriteFile(archive, HandMadeArchive(16, {{"(listfile)", second.name + "\r\n"}, second}));
        } else if (smpq.front() == "signed" || smpq.front() == "crc32 only") {
            const QList<StoredFile> files{{"big.txt", TextData(200000)}, {"small.txt", TextData(100, 's')}};
            const bool sign = smpq.front() == "signed";
            QVERIFY(MakeStormArchive(archive, files, sign ? kAttributeCrc32 | kAttributeMd5 : kAttributeCrc32, sign));
        } else {
            if (!HaveSmpq()) QSKIP("smpq is not installed");
            WriteFile(folder + "/big.txt", TextData(200000));
            WriteFile(folder + "/small.txt", TextData(100, 's'));
            QVERIFY(RunSmpq(QStringList{"-c"} + smpq + QStringList{"made.mpq", "big.txt", "small.txt"}, folder));
        }
        QByteArray bytes = ReadFile(archive);
        if (damage == "flip") {
            const auto [at, size] = StoredSpan(archive, "big.txt");
            bytes[at + size / 2] = char(bytes[at + size / 2] ^ 0x20);
        } else if (damage == "checksums") {  // the block behind the one sector runs eight bytes, not four
            const auto [at, size] = StoredSpan(archive, "small.txt");
            qToLittleEndian<quint32>(qFromLittleEndian<quint32>(bytes.constData() + at + 4) + 8, bytes.data() + at + 8);
        }
        WriteFile(archive, bytes);
        if (damage == "add") {  // the update signs the archive anew
            mpq::Update update = mpq::MpqOpenArchiveForUpdate(Bytes(archive), mpq::MOAU_OPEN_EXISTING | mpq::MOAU_MAINTAIN_LISTFILE, 64);
            const QString added = WriteFile(folder + "/added.txt", "added");
            QVERIFY(update && mpq::MpqAddFileToArchiveEx(update.get(), Bytes(added), "added.txt", mpq::MAFA_COMPRESS, mpq::MAFA_COMPRESS_STANDARD, -1));
            QVERIFY(update.Close());
            bytes = ReadFile(archive);
        }
        CollectingPorts ports;
        NoEvents events;
        const VerifyReport report = VerifyArchive(archive, ListingOptions{}, ports, ports, events);
        QTEST(Findings(report), "findings");
        QCOMPARE(ReadFile(archive), bytes);
    }

    // The report's lines: what was checked, each faulty file by its name (a variant's with its locale)
    // and its faults, those past the shown ones counted, then the signature or what a stop left.
    void verifyReportLines_data()
    {
        QTest::addColumn<VerifyReport>("report");
        QTest::addColumn<qsizetype>("shown");
        QTest::addColumn<QStringList>("lines");
        const QList<FaultyFile> faulty{{"a.txt", FaultCrc32 | FaultMd5},
                                       {VariantName("war3map.wts", 0x0407), FaultNotRead | FaultRawMd5},
                                       {"b.txt", FaultSectorChecksum}};
        const auto report = [](qint64 checked, const QList<FaultyFile> &files, SignatureVerdict signature, qint64 left = 0) {
            return VerifyReport{Refusal::None, checked, files, signature, left};
        };
        QTest::newRow("sound") << report(3, {}, SignatureVerdict::StrongValid) << qsizetype(20)
                               << QStringList{"File controllati: 3", "File con difetti: 0", "Firma: forte, valida"};
        QTest::newRow("all shown, a variant") << report(5, faulty, SignatureVerdict::None) << qsizetype(-1)
            << QStringList{"File controllati: 5", "File con difetti: 3",
                           "a.txt: CRC32 diverso da (attributes); MD5 diverso da (attributes)",
                           "war3map.wts [de-DE]: non si legge per intero; MD5 dei dati memorizzati errato",
                           "b.txt: checksum di un settore errato", "Firma: nessuna"};
        QTest::newRow("more than shown") << report(5, faulty, SignatureVerdict::Mismatch) << qsizetype(1)
            << QStringList{"File controllati: 5", "File con difetti: 3",
                           "a.txt: CRC32 diverso da (attributes); MD5 diverso da (attributes)", "... e altri 2",
                           "Firma: non corrisponde all'archivio"};
        QTest::newRow("stopped") << report(2, {}, SignatureVerdict::WeakValid, 7) << qsizetype(20)
            << QStringList{"File controllati: 2", "File con difetti: 0",
                           "Verifica interrotta: 7 file e la firma non sono stati controllati"};
    }
    void verifyReportLines()
    {
        QFETCH(VerifyReport, report);
        QFETCH(qsizetype, shown);
        QTEST(VerifyReportLines(report, shown), "lines");
    }

    // A WarCraft III map's header gives its name and flags only when they are there whole.
    void mapHeader_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<QString>("found");
        const QByteArray header = QByteArray("HM3W\0\0\0\0My Map\0\x24\0\0\0\x04\0\0\0", 23).leftJustified(512, '\0');
        QTest::newRow("whole, an archive behind") << header + ArchiveBytes(300) << "My Map 0x24";
        QTest::newRow("cut in the name") << header.left(12) << "none";
        QTest::newRow("cut in the flags") << header.left(18) << "none";
        QTest::newRow("another signature") << QByteArray("HM3X") + header.mid(4) << "none";
        QTest::newRow("empty") << QByteArray() << "none";
    }
    void mapHeader()
    {
        QFETCH(QByteArray, bytes);
        const std::optional<MapHeader> found = ReadMapHeader(WriteFile(CaseFolder(dir.path()) + "/map.w3x", bytes));
        QTEST(found ? found->name + " 0x" + QString::number(found->flags, 16) : "none", "found");
    }

    // The wizards' values are written whether the tool runs or not; a
    // Windows tool runs through Wine alone, which gets the values first
    // with Z: paths, and the tool is waited for.
    void selfExecutingArchive_data()
    {
        QTest::addColumn<bool>("withTool");
        QTest::addColumn<bool>("withWine");
        QTest::newRow("no tool") << false << true;
        QTest::newRow("no Wine") << true << false;
        QTest::newRow("the tool through Wine") << true << true;
    }
    void selfExecutingArchive()
    {
        QFETCH(bool, withTool);
        QFETCH(bool, withWine);
        const QString folder = CaseFolder(dir.path()), archive = folder + "/maps/x.w3x";
        const QString program = folder + "/program files", bin = folder + "/bin";
        if (withTool) WriteFile(program + "/MPQDraft.exe", "MZ");
        WriteFakeWine(bin);
        if (!withWine) qputenv("PATH", "/usr/bin:/bin");
        MakeSelfExecutable(archive, program, folder + "/scratch");
        QStringList values;
        for (const char *name : {"SEMPQ Wizard\\MPQ Path", "SEMPQ Wizard\\SEMPQ Path", "SEMPQ Wizard\\Custom Name", "Patch Wizard\\MPQ Directory"})
            values << ReadRegistry(kWizard + name);
        QCOMPARE(values, QStringList({archive, archive + ".exe", "Arcavera", folder + "/maps/"}));
        const QStringList calls = QString::fromUtf8(ReadFile(bin + "/calls.log")).split('\n', Qt::SkipEmptyParts);
        QCOMPARE(calls.size(), withTool && withWine ? 3 : 0);
        if (calls.isEmpty()) return;
        QVERIFY2(calls[0].startsWith("regedit /S Z:\\"), qPrintable(calls.join(" | ")));
        QCOMPARE(calls.mid(1), QStringList({program + "/MPQDraft.exe", "finished"}));
        const QByteArray bytes = ReadFile(bin + "/imported.reg");
        const QString imported = QString::fromUtf16(reinterpret_cast<const char16_t *>(bytes.constData() + 2), (bytes.size() - 2) / 2);
        QVERIFY2(bytes.startsWith("\xFF\xFE") && imported.startsWith("Windows Registry Editor Version 5.00"), qPrintable(imported));
        QVERIFY(imported.contains("[" + kWizard + "SEMPQ Wizard]\r\n\"MPQ Path\"=\"" + QString("Z:" + archive).replace('/', "\\\\") + "\""));
    }
};

QTEST_GUILESS_MAIN(TestTools)
#include "test_tools.moc"
