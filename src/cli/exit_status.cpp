#include "exit_status.h"

#include "cli_words.h"

namespace {

constexpr auto kNothing = static_cast<Say>(-1);

struct StatusRow {
    Refusal why;
    int status;
    Say archive;  // said of an archive, a folder or a file to make
    Say item;     // said of one name or path of a batch
};

// The one place where a reason becomes an exit status and words; the help
// text explains the statuses to the user.
constexpr StatusRow kStatuses[] = {
    {Refusal::None, 0, kNothing, kNothing},
    // 2: a path that does not exist, is the wrong kind, or cannot be made or written.
    {Refusal::Missing, 2, Say::NoSuchFile, Say::NoSuchPath},
    {Refusal::WrongKind, 2, Say::FolderNotArchive, Say::IsTheArchive},
    {Refusal::NotCreatable, 2, Say::ArchiveNotCreatable, Say::NotCreatable},
    {Refusal::NotWritable, 2, Say::ArchiveNotWritable, Say::ArchiveNotWritable},
    {Refusal::Malformed, 2, Say::Malformed, Say::Malformed},
    // 3: the file holds no MPQ archive, and is left as it is.
    {Refusal::EmptyFile, 3, Say::EmptyFile, Say::EmptyFile},
    {Refusal::NotAnArchive, 3, Say::NoArchive, Say::NoArchive},
    // 4: names that could not be added, extracted, deleted or renamed; the others were done.
    {Refusal::ArchiveNotWritten, 4, Say::ArchiveNotWritten, Say::ArchiveNotWritten},
    {Refusal::NotStored, 4, Say::NotStored, Say::NotStored},
    {Refusal::EngineRefused, 4, Say::EngineRefused, Say::EngineRefused},
    {Refusal::UnknownCompression, 4, Say::UnknownCompression, Say::UnknownCompression},
    {Refusal::NotRead, 4, Say::NotRead, Say::NotRead},
    {Refusal::Damaged, 4, Say::ArchiveDamaged, Say::FileDamaged},
    {Refusal::OutsideFolder, 4, Say::Outside, Say::Outside},
    {Refusal::Linked, 4, Say::Linked, Say::Linked},
    {Refusal::DiskFailure, 4, Say::DiskFailure, Say::DiskFailure},
    // 5: rename onto a name that is stored already; create where a file stands.
    {Refusal::NameInUse, 5, Say::FileThere, Say::NameStored},
    // 7: compact: a stored file has no name to be rewritten under.
    {Refusal::Nameless, 7, Say::NotCompacted, Say::Nameless},
};

const StatusRow &RowOf(Refusal why)
{
    for (const StatusRow &row : kStatuses)
        if (row.why == why) return row;
    return kStatuses[0];  // not reached: every reason has its row
}

struct EmbedStatusRow {
    EmbedStatus status;
    int exit;
    Say said;
};

constexpr EmbedStatusRow kEmbedStatuses[] = {
    {EmbedStatus::Done, 0, kNothing},
    {EmbedStatus::SameFile, 2, Say::SameAsSource},
    {EmbedStatus::NotPlainArchive, 3, Say::NotPlainArchive},
    {EmbedStatus::NoEmbeddedArchive, 3, Say::NoArchiveBehind},
    {EmbedStatus::OpenFailed, 5, Say::NotOpened},
    {EmbedStatus::ReadFailed, 5, Say::NotReadable},
    {EmbedStatus::WriteFailed, 5, Say::NotWritten},
};

const EmbedStatusRow &RowOf(EmbedStatus status)
{
    for (const EmbedStatusRow &row : kEmbedStatuses)
        if (row.status == status) return row;
    return kEmbedStatuses[0];  // not reached: every status has its row
}

}  // namespace

int ExitStatus(Refusal why) { return RowOf(why).status; }

int Refuse(Refusal why, About about, const QString &subject, const QString &folder)
{
    const StatusRow &row = RowOf(why);
    const Say said = about == About::Archive ? row.archive : row.item;
    if (said != kNothing) Tell(said, subject, folder);
    return row.status;
}

int ExitStatus(EmbedStatus status) { return RowOf(status).exit; }

int Refuse(EmbedStatus status, const QString &path)
{
    const EmbedStatusRow &row = RowOf(status);
    if (row.said != kNothing) Tell(row.said, path);
    return row.exit;
}
