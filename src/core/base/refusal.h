// Why an archive, or a name of a batch, was refused: what add, extract,
// delete and rename report, and what a face turns into its own words.
#pragma once

#include <QDataStream>

#include <QList>

enum class Refusal {
    None,  // done

    // The archive, or another path the user named; nothing was changed.
    Missing,            // nothing exists at the path
    WrongKind,          // a folder where a file is needed, or the archive named as one of its own sources
    EmptyFile,          // an empty file, which a change would make a new archive of
    NotAnArchive,       // the file holds no MPQ archive; it is left as it is
    NotCreatable,       // there was no archive, and none (or no folder) can be made at the path
    NotWritable,        // the archive reads, but cannot be opened for a change
    Malformed,          // the archive reads only as a protected map does: it is never changed
    ArchiveNotWritten,  // the change could not be written at its end: the archive is as it was before
    Nameless,           // compact: a stored file has no name to be rewritten under; nothing was changed

    // One name of a batch; the others still go on.
    NotStored,           // delete, rename: the archive stores no file of the name
    EngineRefused,       // the engine refused it: a file to add that is gone or unreadable, a stored
                         // name it keeps (the internal list), an empty new name
    UnknownCompression,  // add: the rule of its extension has a compression type this program does not know
    NotRead,             // extract: the archive could not open it or read it whole
    Damaged,             // extract, add, delete, rename: reading it crashed the engine or kept it busy past
                         // its limits; the rest of the batch went on without it
    OutsideFolder,       // extract: its name would climb out of the folder
    Linked,              // extract: a link stands in its place below the folder; nothing went through it
    DiskFailure,         // extract: a folder or the file could not be made; the batch ended there
    NameInUse,           // rename: a file is stored under the new name already (the old one itself too);
                         // create: a file with content stands at the path
};

// A name of a batch and why it was refused: a disk path relative to the
// source folder for an add, a stored name for the others.
template <typename Name>
struct Refused {
    Name name;
    Refusal why;
    friend bool operator==(const Refused &, const Refused &) = default;
};

// A refusal through a stream: how a report comes back from a child process.
template <typename Name>
QDataStream &operator<<(QDataStream &out, const Refused<Name> &refused)
{
    return out << refused.name << refused.why;
}
template <typename Name>
QDataStream &operator>>(QDataStream &in, Refused<Name> &refused)
{
    return in >> refused.name >> refused.why;
}

// The names of `refused` that were refused for `why`, in their order.
template <typename Name>
QList<Name> RefusedFor(const QList<Refused<Name>> &refused, Refusal why)
{
    QList<Name> names;
    for (const Refused<Name> &entry : refused)
        if (entry.why == why) names.append(entry.name);
    return names;
}
