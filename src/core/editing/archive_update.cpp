#include "editing/archive_update.h"

#include <unistd.h>

#include <QFileInfo>

#include <algorithm>

#include "config/catalogue.h"
#include "editing/archive_check.h"
#include "base/text_encoding.h"
#include "mpq/mpq_journal.h"

namespace {

// The largest count the settings dialog lets the user type (six digits).
constexpr qint32 kLargestMaxFiles = 999999;

// The table room asked of the engine for a count of the settings.
std::uint32_t TableRoom(qint32 maxFiles) { return static_cast<std::uint32_t>(std::clamp(maxFiles, 1, kLargestMaxFiles)); }

// The engine's flag for a new archive of `format` (1 to 4; others give 1).
std::uint32_t FormatFlag(int format)
{
    switch (format) {
    case 2: return mpq::MOAU_FORMAT_2;
    case 3: return mpq::MOAU_FORMAT_3;
    case 4: return mpq::MOAU_FORMAT_4;
    default: return 0;
    }
}

}  // namespace

mpq::Update OpenArchiveForUpdate(const QString &archivePath, qint32 defaultMaxFiles, Refusal &why, int format)
{
    // Taken before the attempt, which may leave a file behind.
    const bool hadContent = HasContent(archivePath);
    const std::string archive = PathBytes(archivePath).toStdString();
    // The count matters only when the archive is created. Counts the settings
    // dialog accepts go as they are (0 means the smallest table either way);
    // a hand-edited file may hold any 32-bit number, and StormLib fails to
    // create, or crashes while closing, an archive of 2^27 slots and more.
    const auto maximumFiles = TableRoom(defaultMaxFiles);
    mpq::Update update = mpq::MpqOpenArchiveForUpdate(
        archive, mpq::MOAU_MAINTAIN_LISTFILE | mpq::MOAU_OPEN_EXISTING, maximumFiles);
    // An empty file (what New leaves) or no file at all becomes an archive
    // here; a file of any other content is never written over.
    if (!update)
        update = mpq::MpqOpenArchiveForUpdate(
            archive, mpq::MOAU_MAINTAIN_LISTFILE | mpq::MOAU_CREATE_NEW | FormatFlag(format), maximumFiles);
    why = update ? Refusal::None : WhyUpdateNotOpened(archivePath, hadContent);
    return update;
}

Refusal CreateArchive(const QString &archivePath, int format, qint32 maxFiles)
{
    if (HasContent(archivePath)) return Refusal::NameInUse;
    Refusal why = Refusal::None;
    mpq::Update update = OpenArchiveForUpdate(archivePath, maxFiles, why, format);
    return update && update.Close() ? Refusal::None : Refusal::NotCreatable;
}

mpq::ChildLimits UpdateLimits(const QString &archivePath)
{
    mpq::ChildLimits limits = ArchiveLimits(archivePath);
    limits.stallMilliseconds = 15000;  // the engine tells of every piece of a file it writes
    return limits;
}

void UndoFailedUpdate(const QString &archivePath)
{
    mpq::RecoverInterruptedUpdate(mpq::FollowLinks(PathBytes(archivePath).toStdString()));
}

QString UnchangedArchiveText(Refusal why, const QString &archivePath)
{
    switch (why) {
    case Refusal::Damaged: return ReplaceValue(Texts().StatusBarDamaged, archivePath);
    case Refusal::Malformed: return ReplaceValue(Texts().StatusBarMalformed, archivePath);
    case Refusal::ArchiveNotWritten: return Texts().StatusBarNotWritten;
    case Refusal::NotWritable:
    case Refusal::NotCreatable: return Texts().StatusBarNotWritable;
    default: return ReplaceValue(Texts().StatusBarNotOpened, archivePath);
    }
}

QString UnchangedFileText(Refusal why, const QByteArray &storedName)
{
    const QString name = MarkControls(DecodeBytes(storedName));
    return ReplaceValue(why == Refusal::NotStored ? Texts().StatusBarNotStored : Texts().StatusBarKept, name);
}

bool ArchiveWritable(const QString &archivePath)
{
    // Through a link, the file it points to is the one written.
    const QFileInfo link(archivePath);
    const QFileInfo file(link.isSymLink() && link.exists() ? link.canonicalFilePath() : archivePath);
    if (link.isSymLink() && !link.exists()) return false;
    const auto writable = [](const QString &path) { return ::access(PathBytes(path).constData(), W_OK) == 0; };
    return (!file.exists() || writable(file.filePath())) && writable(file.absolutePath());
}
