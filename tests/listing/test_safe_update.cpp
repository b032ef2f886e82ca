// An update either happens whole or leaves the archive as it was: cut off
// at its worst moment, killed at any moment, or out of disk.
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QThread>
#include <QtTest>

#include <fcntl.h>
#include <signal.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <unistd.h>

#include <functional>

#include "mpq/mpq_journal.h"
#include "mpq/mpq_library.h"
#include "support/archive_factory.h"
#include "support/cli_runner.h"

using namespace fixtures;

namespace {

constexpr int kStoppedBeforeCommit = 86;  // the exit status of the fault point

// Runs `work` in a child process, stopped as a crash would stop it where
// the engine has written everything but not yet dropped its journal.
int CutOff(const std::function<void()> &work)
{
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::setenv("ARCAVERA_FAULT", "before-commit", 1);
        work();
        ::_exit(0);
    }
    int status = 0;
    ::waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

QList<StoredFile> Files(int count, const QByteArray &stem = "file")
{
    QList<StoredFile> files;
    for (int n = 0; n < count; ++n) {
        StoredFile file{stem + QByteArray::number(n) + ".txt", TextData(300 + 37 * n, char('a' + n % 20))};
        if (n % 3 == 0) file.flags |= mpq::MAFA_ENCRYPT;
        files.append(file);
    }
    return files;
}

// Every file of `files` is listed in the archive and reads back as it was.
bool Holds(const QString &archive, const QList<StoredFile> &files)
{
    std::string list;
    for (const StoredFile &file : files) list += file.name.toStdString() + "\n";
    const auto entries = List(archive, list);
    for (const StoredFile &file : files) {
        bool ok = false;
        if (ReadStored(archive, file.name.toStdString(), &ok) != file.data || !ok) return false;
    }
    return entries.size() >= static_cast<std::size_t>(files.size());
}

bool Tmpfs(const QString &folder, const QString &size)
{
    QDir().mkpath(folder);
    return ::geteuid() == 0 &&
           QProcess::execute(QStringLiteral("mount"), {"-t", "tmpfs", "-o", "size=" + size, "tmpfs", folder}) == 0;
}

}  // namespace

class TestSafeUpdate : public QObject {
    Q_OBJECT

private:
    QTemporaryDir dir_;
    QString Path(const QString &name) const { return dir_.filePath(name); }

private slots:
    void cutOffUpdateIsUndone_data();
    void cutOffUpdateIsUndone();
    void killedAddKeepsEveryFile();
    void fullDiskAddNamesWhatStayedOut();
};

void TestSafeUpdate::cutOffUpdateIsUndone_data()
{
    QTest::addColumn<QString>("change");
    for (const char *change : {"add", "replace the last file", "delete the last file then add",
                               "rename an encrypted file", "grow the table", "make a new archive",
                               "make an archive over an empty file"})
        QTest::newRow(change) << QString::fromLatin1(change);
}

// The journal must hold every byte the engine writes over: after the cut,
// the next open puts the archive back byte for byte.
void TestSafeUpdate::cutOffUpdateIsUndone()
{
    QFETCH(QString, change);
    const QString folder = CaseFolder(dir_.path());
    const QString archive = folder + QStringLiteral("/a.mpq");
    const QList<StoredFile> files = Files(12);
    const bool fresh = change.startsWith(QLatin1String("make"));
    if (!fresh) QVERIFY(MakeArchive(archive, files, folder + QStringLiteral("/src"), 16));
    if (change.contains(QLatin1String("empty"))) WriteFile(archive, {});
    const QByteArray before = ReadFile(archive);
    const std::string extra = Bytes(WriteFile(folder + QStringLiteral("/extra.bin"), TextData(5000, 'q')));

    const int status = CutOff([&] {
        const auto flags = mpq::MOAU_MAINTAIN_LISTFILE | (fresh ? mpq::MOAU_CREATE_NEW : mpq::MOAU_OPEN_EXISTING);
        mpq::Update update = mpq::MpqOpenArchiveForUpdate(Bytes(archive), flags, 16);
        if (!update) ::_exit(1);
        const auto add = [&](const std::string &name) {
            return mpq::MpqAddFileToArchiveEx(update.get(), extra, name, mpq::MAFA_COMPRESS | mpq::MAFA_REPLACE_EXISTING,
                                              mpq::MAFA_COMPRESS_STANDARD, -1);
        };
        bool ok = true;
        if (change == QLatin1String("add") || fresh) ok = add("new.bin");
        if (change.startsWith(QLatin1String("replace"))) ok = add("file11.txt");
        if (change.startsWith(QLatin1String("delete")))
            ok = mpq::MpqDeleteFile(update.get(), "file11.txt") && mpq::MpqDeleteFile(update.get(), "file10.txt") &&
                 add("x.bin");
        if (change.startsWith(QLatin1String("rename"))) ok = mpq::MpqRenameFile(update.get(), "file3.txt", "moved\\f.txt");
        for (int n = 0; change.startsWith(QLatin1String("grow")) && n < 40; ++n)
            ok = add("grown" + std::to_string(n)) && ok;
        if (!ok) ::_exit(2);
        update.Close();
    });
    QCOMPARE(status, kStoppedBeforeCommit);
    QVERIFY(QFile::exists(QString::fromStdString(mpq::JournalPath(Bytes(archive)))));
    if (!fresh) QVERIFY(ReadFile(archive) != before);

    // Any open of the archive puts it back first.
    mpq::SFileOpenArchive(Bytes(archive));
    QCOMPARE(QFile::exists(archive), change != QLatin1String("make a new archive"));
    if (QFile::exists(archive)) QVERIFY(ReadFile(archive) == before);
    QVERIFY(!QFile::exists(QString::fromStdString(mpq::JournalPath(Bytes(archive)))));
    if (!fresh) QVERIFY(Holds(archive, files));
}

// arcavera-cli killed at several moments of a long add: every file the
// archive had is still listed and reads back the same.
void TestSafeUpdate::killedAddKeepsEveryFile()
{
    const QString folder = CaseFolder(dir_.path());
    const QString archive = folder + QStringLiteral("/big.mpq");
    const QList<StoredFile> files = Files(300, "kept");
    QVERIFY(MakeArchive(archive, files, folder + QStringLiteral("/src"), 512));
    for (int n = 0; n < 3000; ++n)
        WriteFile(folder + QStringLiteral("/more/d%1/f%2.txt").arg(n % 30).arg(n), TextData(700 + n % 500));
    const QString ini = WriteFile(folder + QStringLiteral("/a.ini"), "[Config]\nDefaultMaxFiles=64\n");

    for (const int delay : {0, 15, 40, 80, 150, 300, 600, 1200}) {
        QProcess cli;
        cli.start(QStringLiteral(ARCAVERA_CLI_PATH), {"--ini", ini, "add", archive, folder + "/more"});
        QVERIFY(cli.waitForStarted());
        QThread::msleep(static_cast<unsigned long>(delay));
        ::kill(static_cast<pid_t>(cli.processId()), SIGKILL);
        cli.waitForFinished();
        QVERIFY2(Holds(archive, files), qPrintable(QStringLiteral("killed after %1 ms").arg(delay)));
    }
}

// With the disk full at the close, arcavera-cli names every file that did
// not go in, exits with 4 and leaves the archive as it was.
void TestSafeUpdate::fullDiskAddNamesWhatStayedOut()
{
    const QString folder = CaseFolder(dir_.path());
    const QString disk = folder + QStringLiteral("/disk");
    if (!Tmpfs(disk, QStringLiteral("400k"))) QSKIP("a small file system can be mounted only by root");
    const auto unmount = qScopeGuard([&] { QProcess::execute(QStringLiteral("umount"), {disk}); });
    const QString archive = disk + QStringLiteral("/a.mpq");
    const QList<StoredFile> files = Files(40);
    QVERIFY(MakeArchive(archive, files, folder + QStringLiteral("/src"), 64));
    const QByteArray before = ReadFile(archive);
    // Random bytes do not compress: they fill the disk before the tables go in.
    for (int n = 0; n < 400; ++n) {
        QByteArray noise(1000, Qt::Uninitialized);
        for (char &c : noise) c = static_cast<char>(QRandomGenerator::global()->generate());
        WriteFile(folder + QStringLiteral("/more/n%1.bin").arg(n), noise);
    }
    const QString ini = WriteFile(folder + QStringLiteral("/a.ini"), "[Config]\nDefaultMaxFiles=64\n");

    const CliRun run = Cli({"--ini", ini, "add", archive, folder + "/more"});
    QCOMPARE(run.status, 4);
    QVERIFY(run.err.contains("could not be written"));
    QVERIFY(run.err.contains("n399.bin: could not be added"));
    QVERIFY(ReadFile(archive) == before);
    QVERIFY(Holds(archive, files));

    // With a few kilobytes left, the engine's "disk full" is no full table:
    // the table keeps its size (it once doubled at every refusal, to
    // gigabytes).
    struct statvfs room {};
    QVERIFY(::statvfs(QFile::encodeName(disk).constData(), &room) == 0);
    const qint64 free = qint64(room.f_bavail) * qint64(room.f_frsize);
    const int filler = ::open(QFile::encodeName(disk + QStringLiteral("/filler")).constData(), O_CREAT | O_WRONLY, 0600);
    QVERIFY(filler >= 0 && ::posix_fallocate(filler, 0, free - 12 * 1024) == 0);
    ::close(filler);
    mpq::Update update = mpq::MpqOpenArchiveForUpdate(Bytes(archive), mpq::MOAU_OPEN_EXISTING, 64);
    QVERIFY(update);
    int refused = 0;
    for (int n = 0; n < 30; ++n)
        refused += !mpq::MpqAddFileToArchiveEx(update.get(), Bytes(folder + QStringLiteral("/more/n%1.bin").arg(n)),
                                               "n" + std::to_string(n), mpq::MAFA_COMPRESS,
                                               mpq::MAFA_COMPRESS_STANDARD, -1);
    QVERIFY(refused >= 15);
    QCOMPARE(mpq::SFileGetFileInfo(update.get(), mpq::SFILE_INFO_HASH_TABLE_SIZE), 64);
    QVERIFY(!update.Close());
    QVERIFY(ReadFile(archive) == before);
}

QTEST_GUILESS_MAIN(TestSafeUpdate)
#include "test_safe_update.moc"
