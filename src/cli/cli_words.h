// What arcavera-cli says, in one language per run.
//
// Every message has its Italian default here, as every text of the window
// has in the catalogue, and a language file translates it in its section
// [Cli], key by key (English.lng holds the English). The run speaks the
// language of the settings file when it names one, else the language of
// the terminal's locale (CommandLineLanguage): so the lines of -v, which the
// core's status texts give, and the errors never mix two languages.
//
// In the texts "%1", "%2" stand for the values, in their order. The keys
// of the section are the names of Say.
#pragma once

#include <QString>

enum class Say {
    // Bad usage.
    UsageHint, NoCommand, UnknownCommand, UnknownOption, NeedsFile, NeedsFolder, NeedsValue, GivenTwice, BelongsTo,
    Takes, NoSuchLocale,
    // An archive or a path that cannot be read or changed.
    NoSuchFile, FolderNotArchive, EmptyFile, NoArchive, ArchiveDamaged, Malformed, ArchiveNotCreatable,
    ArchiveNotWritable, ArchiveNotWritten, FileThere, NotCompacted,
    // One stored file, or one path, of a batch.
    NoSuchPath, IsTheArchive, NotCreatable, NotStored, EngineRefused, UnknownCompression, NotRead, FileDamaged,
    Outside, Linked, DiskFailure, NameStored, Nameless,
    // The reports of commands.
    Compacted, NotAnImage, ImageUnsupported, ImageTooLarge, ImageDamaged, NoMapPicture,
    // embed and split.
    FolderNotFile, SameAsSource, SameOutputs, NoExecutablePart, NoArchiveBehind, NotPlainArchive, NotExecutable,
    HasArchive, NotOpened, NotReadable, NotWritten,
};

// Reads the section [Cli] of the language file `file`; a missing file, or
// a key it leaves out, gives the Italian default.
void LoadCliWords(const QString &file);

// The text of `what` in the run's language, its values put in.
QString Words(Say what, const QString &first = {}, const QString &second = {});

// "arcavera-cli: " and the text on standard error.
void Tell(Say what, const QString &first = {}, const QString &second = {});
// The same for a text of the catalogue, its value put in already.
void Tell(const QString &said);
