#include "exit_status.h"

namespace {

struct StatusRow {
    Refusal why;
    int status;
};

// The one place where a reason becomes an exit status; the help text
// explains them to the user.
constexpr StatusRow kStatuses[] = {
    {Refusal::None, 0},
    // 2: a path that does not exist, is the wrong kind, or cannot be made or written.
    {Refusal::Missing, 2},
    {Refusal::WrongKind, 2},
    {Refusal::NotCreatable, 2},
    {Refusal::NotWritable, 2},
    {Refusal::Malformed, 2},
    // 3: the file holds no MPQ archive, and is left as it is.
    {Refusal::EmptyFile, 3},
    {Refusal::NotAnArchive, 3},
    // 4: names that could not be added, extracted, deleted or renamed; the others were done.
    {Refusal::ArchiveNotWritten, 4},
    {Refusal::NotStored, 4},
    {Refusal::EngineRefused, 4},
    {Refusal::UnknownCompression, 4},
    {Refusal::NotRead, 4},
    {Refusal::Damaged, 4},
    {Refusal::OutsideFolder, 4},
    {Refusal::Linked, 4},
    {Refusal::DiskFailure, 4},
    // 5: rename onto a name that is stored already; create where a file stands.
    {Refusal::NameInUse, 5},
    // 7: compact: a stored file has no name to be rewritten under.
    {Refusal::Nameless, 7},
};

struct EmbedStatusRow {
    EmbedStatus status;
    int exit;
};

constexpr EmbedStatusRow kEmbedStatuses[] = {
    {EmbedStatus::Done, 0},
    {EmbedStatus::SameFile, 2},
    {EmbedStatus::NotPlainArchive, 3},
    {EmbedStatus::NoEmbeddedArchive, 3},
    {EmbedStatus::OpenFailed, 5},
    {EmbedStatus::ReadFailed, 5},
    {EmbedStatus::WriteFailed, 5},
};

}  // namespace

int ExitStatus(EmbedStatus status)
{
    for (const EmbedStatusRow &row : kEmbedStatuses)
        if (row.status == status) return row.exit;
    return 5;  // not reached: every status has its row
}

int ExitStatus(Refusal why)
{
    for (const StatusRow &row : kStatuses)
        if (row.why == why) return row.status;
    return 4;  // not reached: every reason has its row
}
