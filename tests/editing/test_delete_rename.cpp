// Deleting and renaming stored files in real archives.
#include <QDir>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

#include <set>
#include <string>

#include "editing/delete_rename.h"
#include "support/archive_factory.h"

using namespace fixtures;

Q_DECLARE_METATYPE(RenameResult)

namespace {

// The names a listing gives, the archive's internal list the only source.
std::set<std::string> ListedNames(const QString &archive)
{
    std::set<std::string> names;
    for (const auto &entry : List(archive, InternalList(archive))) names.insert(entry.StoredName);
    return names;
}

// The lines of the internal list.
std::set<std::string> InternalListLines(const QString &archive)
{
    std::set<std::string> lines;
    const QByteArray list = QByteArray::fromStdString(InternalList(archive));
    for (QByteArray line : list.split('\n')) {
        line = line.trimmed();
        if (!line.isEmpty()) lines.insert(line.toStdString());
    }
    return lines;
}

bool Opens(const QString &archive, const QByteArray &name)
{
    bool ok = false;
    ReadStored(archive, name.toStdString(), &ok);
    return ok;
}

// The flags of a stored file as a listing that names it shows them; 0 when
// no entry has that name.
std::uint32_t FlagsOf(const QString &archive, const std::string &name)
{
    for (const auto &entry : List(archive, name))
        if (entry.StoredName == name) return entry.Flags;
    return 0;
}

// Distinct contents, some of them longer than a sector.
QByteArray ContentOf(int index) { return TextData(300 + 6000 * index, char('a' + index)); }

}  // namespace

class TestDeleteRename : public QObject {
    Q_OBJECT
    QTemporaryDir dir;
    QString Path(const QString &name) const { return dir.filePath(name); }

    // A new archive of `names`, the i-th holding ContentOf(i).
    QString Archive(const QString &name, const QList<QByteArray> &names, const QList<std::uint32_t> &flags = {})
    {
        QList<StoredFile> files;
        for (int i = 0; i < names.size(); ++i) {
            StoredFile file{names[i], ContentOf(i)};
            if (i < flags.size()) file.flags = flags[i];
            files.append(file);
        }
        const QString path = Path(name);
        QFile::remove(path);
        if (!MakeArchive(path, files, Path("scratch-" + name))) qWarning("archive %s not made", qPrintable(name));
        return path;
    }

private slots:
    void deleteNames_data();
    void deleteNames();
    void deleteFromWhatIsNoArchive();
    void rename_data();
    void rename();
    void smpqArchive();
    void theInternalListIsKept();
};

void TestDeleteRename::deleteNames_data()
{
    QTest::addColumn<QList<QByteArray>>("stored");
    QTest::addColumn<QList<QByteArray>>("toDelete");
    QTest::addColumn<QStringList>("shownAs");  // each name of toDelete as the status shows it
    QTest::addColumn<QList<QByteArray>>("notDeleted");

    const QList<QByteArray> five = {"one.txt", "two.txt", "three.bin", "four.txt", "five.dat"};
    QTest::newRow("two of five") << five << QList<QByteArray>{"two.txt", "four.txt"}
                                 << QStringList{"two.txt", "four.txt"} << QList<QByteArray>{};
    QTest::newRow("a name not stored among them")
        << five << QList<QByteArray>{"one.txt", "gone.txt", "five.dat"}
        << QStringList{"one.txt", "gone.txt", "five.dat"} << QList<QByteArray>{"gone.txt"};
    QTest::newRow("the same name twice") << five << QList<QByteArray>{"three.bin", "three.bin"}
                                         << QStringList{"three.bin", "three.bin"}
                                         << QList<QByteArray>{"three.bin"};
    QTest::newRow("names with folders")
        << QList<QByteArray>{"units\\footman.mdx", "units\\peasant.mdx", "art\\a\\b.blp", "war3map.j"}
        << QList<QByteArray>{"units\\footman.mdx", "art\\a\\b.blp"}
        << QStringList{"units\\footman.mdx", "art\\a\\b.blp"} << QList<QByteArray>{};
    QTest::newRow("non-ascii names")
        << QList<QByteArray>{"musica\\caff\xc3\xa8.wav", "\xe6\x97\xa5\xe6\x9c\xac.txt", "caf\xe9.txt", "plain.txt"}
        << QList<QByteArray>{"musica\\caff\xc3\xa8.wav", "\xe6\x97\xa5\xe6\x9c\xac.txt", "caf\xe9.txt"}
        << QStringList{"musica\\caffè.wav", "日本.txt", "café.txt"} << QList<QByteArray>{};
    QTest::newRow("nothing to delete") << five << QList<QByteArray>{} << QStringList{} << QList<QByteArray>{};
    QTest::newRow("every file") << QList<QByteArray>{"a.txt", "b.txt"} << QList<QByteArray>{"a.txt", "b.txt"}
                                << QStringList{"a.txt", "b.txt"} << QList<QByteArray>{};
}

void TestDeleteRename::deleteNames()
{
    QFETCH(QList<QByteArray>, stored);
    QFETCH(QList<QByteArray>, toDelete);
    QFETCH(QStringList, shownAs);
    QFETCH(QList<QByteArray>, notDeleted);
    const QString archive = Archive("delete-" + DataTagFileName() + ".mpq", stored);
    const std::size_t entriesBefore = List(archive, "").size();

    BatchTrace trace;
    const DeleteReport report = DeleteStoredFiles(archive, toDelete, 64, trace);
    QVERIFY(report.opened);
    QCOMPARE(report.notDeleted, notDeleted);
    QCOMPARE(report.deleted, toDelete.size() - notDeleted.size());

    QStringList expectedEvents;
    for (const QString &name : shownAs) expectedEvents.append("Eliminazione file " + name);
    expectedEvents.append("Pronto");
    QCOMPARE(trace.events, expectedEvents);

    // What stays reads back whole and is named by the internal list; what
    // went opens no more and is named nowhere.
    const std::set<std::string> listed = ListedNames(archive);
    const std::set<std::string> lines = InternalListLines(archive);
    int kept = 0;
    for (int i = 0; i < stored.size(); ++i) {
        const QByteArray &name = stored[i];
        const std::string text = name.toStdString();
        if (toDelete.contains(name)) {
            QVERIFY2(!Opens(archive, name), name.constData());
            QVERIFY2(!listed.count(text) && !lines.count(text), name.constData());
        } else {
            ++kept;
            bool ok = false;
            QCOMPARE(ReadStored(archive, text, &ok), ContentOf(i));
            QVERIFY(ok);
            QVERIFY2(listed.count(text) && lines.count(text), name.constData());
        }
    }
    QCOMPARE(int(lines.size()), kept);
    QCOMPARE(List(archive, "").size(), entriesBefore - std::size_t(report.deleted));
}

void TestDeleteRename::deleteFromWhatIsNoArchive()
{
    QByteArray noise(20000, '\0');
    QRandomGenerator generator(1234);
    for (char &c : noise) c = char(generator.bounded(256));
    noise.replace(0, 4, "xxxx");  // never the archive signature
    const QString path = WriteFile(Path("noise.mpq"), noise);

    BatchTrace trace;
    const DeleteReport report = DeleteStoredFiles(path, {"a.txt", "b.txt"}, 64, trace);
    QVERIFY(!report.opened);
    QCOMPARE(report.deleted, 0);
    QVERIFY(report.notDeleted.isEmpty());
    QVERIFY(trace.events.isEmpty());
    QCOMPARE(ReadFile(path), noise);

    QCOMPARE(RenameStoredFile(path, "a.txt", "b.txt", 64), RenameResult::NotOpened);
    QCOMPARE(ReadFile(path), noise);
}

void TestDeleteRename::rename_data()
{
    QTest::addColumn<QList<QByteArray>>("stored");  // the first is the one renamed
    QTest::addColumn<uint>("flags");                // of the first
    QTest::addColumn<QByteArray>("oldName");
    QTest::addColumn<QByteArray>("newName");
    QTest::addColumn<RenameResult>("result");

    const QList<QByteArray> three = {"a.txt", "b.txt", "c.txt"};
    const uint compress = mpq::MAFA_COMPRESS;
    QTest::newRow("plain") << three << compress << QByteArray("a.txt") << QByteArray("z.txt") << RenameResult::Renamed;
    QTest::newRow("into a folder") << three << compress << QByteArray("a.txt") << QByteArray("sub\\a.txt")
                                   << RenameResult::Renamed;
    QTest::newRow("folder to folder") << QList<QByteArray>{"units\\footman.mdx", "units\\peasant.mdx"} << compress
                                      << QByteArray("units\\footman.mdx") << QByteArray("art\\footman.mdx")
                                      << RenameResult::Renamed;
    QTest::newRow("non-ascii new name") << three << compress << QByteArray("a.txt")
                                        << QByteArray("musica\\caff\xc3\xa8.wav") << RenameResult::Renamed;
    QTest::newRow("non-ascii old name") << QList<QByteArray>{"\xe6\x97\xa5\xe6\x9c\xac.txt", "b.txt"} << compress
                                        << QByteArray("\xe6\x97\xa5\xe6\x9c\xac.txt") << QByteArray("nihon.txt")
                                        << RenameResult::Renamed;
    QTest::newRow("stored plain") << three << 0u << QByteArray("a.txt") << QByteArray("z.txt")
                                  << RenameResult::Renamed;
    // The key of an encrypted file comes from its name: the data must be
    // encrypted anew under the new one.
    QTest::newRow("encrypted") << three << (compress | mpq::MAFA_ENCRYPT) << QByteArray("a.txt")
                               << QByteArray("zz.txt") << RenameResult::Renamed;
    QTest::newRow("onto a stored name") << three << compress << QByteArray("a.txt") << QByteArray("c.txt")
                                        << RenameResult::NameInUse;
    QTest::newRow("onto itself") << three << compress << QByteArray("a.txt") << QByteArray("a.txt")
                                 << RenameResult::NameInUse;
    // The engine's names know no case...
    QTest::newRow("onto itself, other case") << three << compress << QByteArray("a.txt") << QByteArray("A.TXT")
                                             << RenameResult::NameInUse;
    QTest::newRow("onto a stored name, other case") << three << compress << QByteArray("a.txt")
                                                    << QByteArray("B.Txt") << RenameResult::NameInUse;
    // ...but "/" and "\" are different bytes to them: "d/e.txt" is a name of
    // its own beside "d\e.txt", which stays as it was.
    QTest::newRow("beside a name with \\") << QList<QByteArray>{"x.txt", "d\\e.txt"} << compress
                                          << QByteArray("x.txt") << QByteArray("d/e.txt") << RenameResult::Renamed;
    QTest::newRow("old name not stored") << three << compress << QByteArray("gone.txt") << QByteArray("z.txt")
                                         << RenameResult::Refused;
    QTest::newRow("empty new name") << three << compress << QByteArray("a.txt") << QByteArray()
                                    << RenameResult::Refused;
}

void TestDeleteRename::rename()
{
    QFETCH(QList<QByteArray>, stored);
    QFETCH(uint, flags);
    QFETCH(QByteArray, oldName);
    QFETCH(QByteArray, newName);
    QFETCH(RenameResult, result);
    const QString archive = Archive("rename-" + DataTagFileName() + ".mpq", stored, {flags});
    const QByteArray before = ReadFile(archive);
    QVERIFY(!before.isEmpty());
    const std::set<std::string> listedBefore = ListedNames(archive);

    QCOMPARE(RenameStoredFile(archive, oldName, newName, 64), result);

    if (result != RenameResult::Renamed) {
        QCOMPARE(ReadFile(archive), before);
        return;
    }
    // The file under its new name, byte for byte, and no more under the old.
    bool ok = false;
    QCOMPARE(ReadStored(archive, newName.toStdString(), &ok), ContentOf(0));
    QVERIFY(ok);
    QVERIFY(!Opens(archive, oldName));
    // The internal list follows, so a fresh listing shows the new name.
    const std::set<std::string> lines = InternalListLines(archive);
    QVERIFY(lines.count(newName.toStdString()));
    QVERIFY(!lines.count(oldName.toStdString()));
    std::set<std::string> expected = listedBefore;
    expected.erase(oldName.toStdString());
    expected.insert(newName.toStdString());
    const std::set<std::string> listed = ListedNames(archive);
    // Unknown entries ((listfile) among them) keep their count.
    auto named = [](const std::set<std::string> &names) {
        std::set<std::string> out;
        for (const std::string &name : names)
            if (name.rfind(mpq::kUnknownPrefix, 0) != 0) out.insert(name);
        return out;
    };
    QCOMPARE(named(listed), named(expected));
    QCOMPARE(listed.size(), expected.size());
    // The others are untouched.
    for (int i = 1; i < stored.size(); ++i) QCOMPARE(ReadStored(archive, stored[i].toStdString()), ContentOf(i));
}

void TestDeleteRename::smpqArchive()
{
    if (!HaveSmpq()) QSKIP("smpq is not installed");
    const QString work = Path("smpq");
    const QByteArray a = TextData(9000, 'a'), b = TextData(200, 'b'), c = TextData(40000, 'c');
    WriteFile(work + "/a.txt", a);
    WriteFile(work + "/sub/b.txt", b);
    WriteFile(work + "/c.txt", c);
    QVERIFY(RunSmpq({"-c", "-M", "1", "made.mpq", "a.txt", "sub/b.txt"}, work));
    // Encrypted with the key adjusted to the file's position: a new bare
    // name means a new key.
    QVERIFY(RunSmpq({"-a", "-E", "-F", "made.mpq", "c.txt"}, work));
    const QString archive = work + "/made.mpq";
    QCOMPARE(ReadStored(archive, "sub\\b.txt"), b);
    QCOMPARE(ReadStored(archive, "c.txt"), c);
    const std::uint32_t keyed = mpq::MAFA_FLAG_ENCRYPT | mpq::MAFA_FLAG_MODCRYPTKEY;
    QCOMPARE(FlagsOf(archive, "c.txt") & keyed, keyed);

    BatchTrace trace;
    const DeleteReport report = DeleteStoredFiles(archive, {"sub\\b.txt"}, 64, trace);
    QVERIFY(report.opened);
    QCOMPARE(report.deleted, 1);
    QCOMPARE(trace.events, (QStringList{"Eliminazione file sub\\b.txt", "Pronto"}));
    QVERIFY(!Opens(archive, "sub\\b.txt"));
    QCOMPARE(ReadStored(archive, "a.txt"), a);
    QCOMPARE(ReadStored(archive, "c.txt"), c);

    QCOMPARE(RenameStoredFile(archive, "c.txt", "a.txt", 64), RenameResult::NameInUse);
    QCOMPARE(RenameStoredFile(archive, "c.txt", "moved\\d.txt", 64), RenameResult::Renamed);
    QCOMPARE(ReadStored(archive, "moved\\d.txt"), c);
    QCOMPARE(FlagsOf(archive, "moved\\d.txt") & keyed, keyed);
    QVERIFY(!Opens(archive, "c.txt"));
    const std::set<std::string> listed = ListedNames(archive);
    QVERIFY(listed.count("a.txt") && listed.count("moved\\d.txt"));
    QVERIFY(!listed.count("c.txt") && !listed.count("sub\\b.txt"));
}

// The internal list does not name itself, so the user meets it as an
// unknown entry. Deleting or renaming that entry would cost every name.
void TestDeleteRename::theInternalListIsKept()
{
    const QString archive = Archive("kept-list.mpq", {"a.txt", "units\\b.mdx"});
    std::string listName;
    for (const std::string &name : ListedNames(archive))
        if (name.rfind("~unknowns\\", 0) == 0) listName = name;
    QVERIFY(!listName.empty());
    const QByteArray unknown = QByteArray::fromStdString(listName);
    BatchTrace trace;
    const DeleteReport report = DeleteStoredFiles(archive, {unknown, "a.txt"}, 64, trace);
    QCOMPARE(report.deleted, 1);
    QCOMPARE(report.notDeleted, QList<QByteArray>{unknown});
    QCOMPARE(RenameStoredFile(archive, unknown, "list.txt", 64), RenameResult::Refused);
    // The list still names what is left.
    QVERIFY(ListedNames(archive).count("units\\b.mdx") == 1);
    QVERIFY(InternalListLines(archive).count("units\\b.mdx") == 1);
    QVERIFY(!Opens(archive, "a.txt"));
}

QTEST_GUILESS_MAIN(TestDeleteRename)
#include "test_delete_rename.moc"
