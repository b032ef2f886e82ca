#include "editing/extract_files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <memory>
#include <new>
#include <string>

#include "config/catalogue.h"
#include "editing/helpers/paths.h"
#include "listing/mpq_library.h"
#include "listing/text_encoding.h"

namespace {

// Makes the folders of `target` that lie below `base` (which ends in "/"),
// from the top down; folders that exist are left alone. False, with the
// failing level in `failed`, when a level cannot be made, such as when a
// plain file stands in its place.
bool MakeFoldersBelow(const QString &base, const QString &target, QString &failed)
{
    for (qsizetype slash = target.indexOf(QLatin1Char('/'), base.size()); slash >= 0;
         slash = target.indexOf(QLatin1Char('/'), slash + 1)) {
        const QString level = target.left(slash);
        if (IsDirectory(level)) continue;
        if (::mkdir(PathBytes(level).constData(), 0777) != 0) {
            failed = level;
            return false;
        }
    }
    return true;
}

// Writes `size` bytes as the whole content of `path`, replacing any file of
// that name. A short write (a full disk) is a failure like any other.
bool WriteWholeFile(const QString &path, const char *data, std::size_t size)
{
    const int fd = ::open(PathBytes(path).constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (fd < 0) return false;
    std::size_t done = 0;
    while (done < size) {
        const ssize_t wrote = ::write(fd, data + done, size - done);
        if (wrote < 0 && errno == EINTR) continue;
        if (wrote <= 0) break;
        done += static_cast<std::size_t>(wrote);
    }
    const bool closed = ::close(fd) == 0;
    return done == size && closed;
}

// The whole stored file in one buffer of exactly its size, or null when the
// engine cannot give all of it. `size` is the file's full size.
std::unique_ptr<char[]> ReadWholeStoredFile(mpq::MpqHandle file, std::uint32_t size)
{
    // At least one byte, so that an empty file has a buffer as well. A size
    // that a damaged archive inflates must not end the program: no memory
    // counts as unreadable.
    std::unique_ptr<char[]> buffer(new (std::nothrow) char[size == 0 ? 1 : size]);
    if (buffer == nullptr || size == 0) return buffer;
    std::uint32_t read = 0;
    if (!mpq::SFileReadFile(file, buffer.get(), size, &read, nullptr) || read != size) return nullptr;
    return buffer;
}

}  // namespace

ExtractReport ExtractFiles(const QString &archivePath, const QList<QByteArray> &names, const QString &folder,
                           StatusPanel &status, EventQueue &events)
{
    ExtractReport report;
    if (folder.isEmpty()) return report;
    const QString base = folder.endsWith(QLatin1Char('/')) ? folder : folder + QLatin1Char('/');

    // Not checked: an archive that does not open makes every name missing.
    mpq::MpqHandle archive = nullptr;
    mpq::SFileOpenArchive(PathBytes(archivePath).toStdString(), 0, 0, &archive);

    // Names of one folder follow each other: its levels are checked once.
    QString madeFolder;
    for (const QByteArray &name : names) {
        const QString shown = DecodeBytes(name);
        status.SetStatusText(ReplaceValue(Texts().StatusBarExtract, shown));
        // Only names that stay below the folder are written; "..", "\x" and
        // "C:x" would reach elsewhere.
        const QString target = DiskPathBelow(base, shown);
        if (target.isEmpty()) {
            report.refused.append(name);
            events.Yield();
            continue;
        }

        mpq::MpqHandle file = nullptr;
        const bool opened = mpq::SFileOpenFileEx(archive, name.toStdString(), 0, &file);
        const std::int64_t size = opened ? mpq::SFileGetFileInfo(file, mpq::SFILE_INFO_SIZE) : -1;
        const std::unique_ptr<char[]> data =
            size >= 0 ? ReadWholeStoredFile(file, static_cast<std::uint32_t>(size)) : nullptr;
        if (data == nullptr) {
            report.missing.append(name);
        } else {
            QString failedPath = target;
            const QString targetFolder = target.left(target.lastIndexOf(QLatin1Char('/')));
            const bool foldersReady = targetFolder == madeFolder || MakeFoldersBelow(base, target, failedPath);
            if (foldersReady) madeFolder = targetFolder;
            if (!foldersReady ||
                !WriteWholeFile(target, data.get(), static_cast<std::size_t>(size))) {
                // The disk ends the batch. The status keeps this entry's text,
                // so the user sees where it stopped.
                report.diskFailure = true;
                report.failedPath = failedPath;
                if (opened) mpq::SFileCloseFile(file);
                mpq::SFileCloseArchive(archive);
                return report;
            }
            ++report.extracted;
        }
        if (opened) mpq::SFileCloseFile(file);
        events.Yield();
    }
    status.SetStatusText(Texts().StatusBarReady);
    mpq::SFileCloseArchive(archive);
    return report;
}
