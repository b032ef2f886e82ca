// The one road by which files enter an archive.
#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <cstdint>

#include "base/refusal.h"
#include "listing/reporting.h"

struct AppConfig;

// How one file goes into the archive, chosen from its extension.
struct AddMethod {
    enum Kind { Skip, File, Wave };
    Kind kind = Skip;                 // Skip: a rule of an unknown type leaves the file out
    std::uint32_t flags = 0;          // MAFA_* flags for the engine
    std::uint32_t compressionType = 0;  // MAFA_COMPRESS_*, for File
    std::int32_t level = 0;           // deflate level for File, wave quality for Wave

    friend bool operator==(const AddMethod &, const AddMethod &) = default;
};

// The rule that decides a name's compression: the first rule whose
// extension, without its leading point, equals the name's extension, both
// lower-cased; entry 0, the spare, is never looked at. Without a rule the
// default compression applies: standard, or deflate at the configured level
// minus one, held to -1..9 (a deflate rule takes that same level). "Encrypt"
// adds encryption.
AddMethod ChooseAddMethod(const QString &name, const AppConfig &config);

// What an add did, for faces that report it. The window looks only at
// whether the archive was opened and written, and how many files the engine
// refused: the new listing is its report.
struct AddReport {
    // NotCreatable, NotWritable, NotAnArchive: the archive was not opened and
    // nothing happened. ArchiveNotWritten: the batch could not be written at
    // the end (a full disk, ...) and the archive is as it was before.
    Refusal archive = Refusal::None;
    int added = 0;  // files the engine took
    // In batch order: EngineRefused (missing, unreadable, ...), or, when the
    // archive was not written, ArchiveNotWritten; UnknownCompression for an
    // entry left out by a rule of an unknown type.
    QList<Refused<QString>> refused;
    // The user stopped the batch: the files before that point went in and
    // the archive was written with them; the rest was not tried.
    bool cancelled = false;

    bool opened() const { return archive == Refusal::None || archive == Refusal::ArchiveNotWritten; }
    bool written() const { return archive == Refusal::None; }
};

// Adds a batch to the archive at `archivePath`, opening it for update (or
// creating it when it is an empty file or absent) with room for
// config.DefaultMaxFiles files (held to 1..999999, what the settings dialog
// takes: larger tables break the engine), and closing it at the end. A file
// that holds anything but an archive is left alone: `archive` tells why and
// nothing else happens.
//
// `names` are paths relative to `sourceFolder`, with "/" between levels, as
// the file system gives them. Each file is read from `sourceFolder` + "/" +
// name and stored as `prefix` followed by the name with "/" turned into "\".
// `prefix` is a stored-name prefix: empty or ending in "\".
//
// Per file: the status text "Aggiunta file %v" (the texts in force) with the
// name, the compression of ChooseAddMethod, then a turn of `events`. A name
// already stored is replaced. A file the engine refuses does not stop the
// batch. An archive that the batch makes is in `newFormat` (1 to 4). The
// files go in as the variants of `locale` (0: neutral), replacing only
// variants of that locale.
AddReport AddFiles(const QString &archivePath, const QStringList &names, const QString &sourceFolder,
                   const QByteArray &prefix, const AppConfig &config, StatusPanel &status,
                   EventQueue &events, int newFormat = 1, std::uint16_t locale = 0);
