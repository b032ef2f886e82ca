// Archives and files that the tests make for themselves: through our own
// engine layer, through Debian's smpq (an archive tool that is not ours), and
// byte by byte for layouts no tool writes (one hash slot, broken tables).
#pragma once

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>

#include <cstdint>
#include <string>
#include <vector>

#include "mpq/mpq_library.h"
#include "listing/reporting.h"

namespace fixtures {

// The current data row's tag, fit for a file name.
QString DataTagFileName();

// Writes bytes to a file, making its folders; returns the path.
QString WriteFile(const QString &path, const QByteArray &bytes);
QByteArray ReadFile(const QString &path);
std::string Bytes(const QString &path);  // a disk path as the engine takes it

// A folder below `root` for the current test function and data row, made.
QString CaseFolder(const QString &root);

// An executable's bytes: "MZ", then a pattern that holds no signature.
QByteArray ExeBytes(qint64 size);
// An archive's bytes as the header scan sees them: a header at 0, then a
// pattern.
QByteArray ArchiveBytes(qint64 size);

// Data that compresses well, of the given size.
QByteArray TextData(int size, char seed = 'a');
// A 16-bit PCM wave of the given length, mono.
QByteArray WaveData(int samples);

struct StoredFile {
    QByteArray name;
    QByteArray data;
    std::uint32_t flags = mpq::MAFA_COMPRESS;
    std::uint32_t type = mpq::MAFA_COMPRESS_STANDARD;
};

// A new archive made through our layer, with an internal list. Source files
// are written to `scratch` first.
bool MakeArchive(const QString &path, const QList<StoredFile> &files, const QString &scratch,
                 std::uint32_t maximumFiles = 64);

// An archive named `name` in `folder`, made anew through MakeArchive with a
// scratch folder beside it; its path (a warning when it could not be made).
QString ArchiveIn(const QString &folder, const QString &name, const QList<StoredFile> &files);

// Runs smpq with the arguments in `workDir`; true when it exits with 0.
bool RunSmpq(const QStringList &arguments, const QString &workDir);
bool HaveSmpq();

// A version 1 archive written byte by byte: files stored plain, tables
// encrypted as the format wants. `slotCount` must be a power of two, or is
// written as given for broken layouts.
struct HandFile {
    QByteArray name;
    QByteArray data;
    std::uint32_t blockIndexOverride = 0xFFFFFFFF;  // a broken hash entry when set
    std::uint32_t flags = 0x80000000;               // as the block table says
    std::uint32_t storedSizeOverride = 0;           // a lying stored size when set
    std::uint32_t fullSizeOverride = 0;             // the full size of compressed data when set
};
QByteArray HandMadeArchive(std::uint32_t slotCount, const QList<HandFile> &files, QByteArray prefix = {});

// A record that a listing makes, with its name.
struct ListedFile {
    std::uint32_t CompressedSize = 0;
    std::uint32_t FullSize = 0;
    std::uint32_t Flags = 0;
    std::string StoredName;  // empty: no such record
};
// What a listing sees: the records SFileListFiles makes.
std::vector<ListedFile> List(const QString &archive, const std::string &listText);
// The internal list of an archive, or an empty text.
std::string InternalList(const QString &archive);
// The bytes of a stored file; `ok` false when it cannot be opened or read.
QByteArray ReadStored(const QString &archive, const std::string &name, bool *ok = nullptr);

// What a batch reported, in order: each status text as it was set, and
// "<yield>" for each turn of the event queue.
struct BatchTrace : StatusPanel, EventQueue {
    QStringList events;
    void SetStatusText(const QString &text) override { events.append(text); }
    void Yield() override { events.append(QStringLiteral("<yield>")); }
};

// Every file below `folder`, as "relative/path" -> bytes; folders as "relative/path/" -> "<dir>".
QMap<QString, QByteArray> Tree(const QString &folder);

}  // namespace fixtures

namespace fixtures {

// A hand-made archive (header at `headerAt`) with block table entry `index`
// written anew: position (relative to the header), stored and full size, flags.
QByteArray WithBlockEntry(QByteArray archive, int headerAt, int index, std::uint32_t position,
                          std::uint32_t storedSize, std::uint32_t fullSize, std::uint32_t flags);

}  // namespace fixtures

// Archives of formats 3 and 4 as StormLib writes them, with HET and BET
// tables beside the classic ones, and those tables changed afterwards.
namespace fixtures {

// The bytes of an archive of `formatVersion` (3 or 4) that StormLib makes at
// `path` with `files` and a list file; empty when it could not.
QByteArray StormArchiveBytes(const QString &path, int formatVersion, const QList<StoredFile> &files);
// The bytes of a format 1 archive that StormLib makes at `path` as a map
// whose list was stripped is: no "(listfile)", an "(attributes)" with CRC32s
// and MD5s, and `files`, each with its flags as StormLib takes them (0x200
// compressed with zlib, 0x10000 encrypted, 0x20000 with a key that follows
// its place, 0x04000000 with sector checksums); empty when it could not.
QByteArray ListlessArchiveBytes(const QString &path, const QList<StoredFile> &files);
// The archive (header at 0) with the 32-bit word at `offset` in its HET table
// (or BET table), counted from the table's start, set to `value`.
QByteArray WithExtTableWord(QByteArray archive, bool bet, int offset, std::uint32_t value);
// A format 4 archive (header at 0) whose BET table is stored compressed, at
// the end of the file; empty when the table does not compress enough for
// StormLib to take it as compressed.
QByteArray WithCompressedBet(QByteArray archive);

}  // namespace fixtures
