// The MPQ engine boundary: the only way into archives for the rest of Arcavera.
//
// The operations keep the shape of the classic MPQ library API that the
// program was designed around (handles, info kinds, flags, "~unknowns" names,
// the update calls), implemented here on StormLib. Stored names are byte
// strings and reach the engine byte for byte; paths are native file-system
// paths in the local 8-bit encoding.
//
// No handle outlives a command: each command opens, works and closes. The
// opening calls give owning handles that close themselves; the other calls
// borrow a handle as MpqHandle (the owner's get()).
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace mpq {

struct Handle;                  // an open archive, update session or stored file
using MpqHandle = Handle *;     // a borrowed handle; nullptr is "no handle"

struct ArchiveCloser { void operator()(Handle *archive) const; };
struct FileCloser { void operator()(Handle *file) const; };
// Closes an update as Update::Close() does, writing it, with nobody to hear
// whether it was written.
struct UpdateCloser { void operator()(Handle *update) const; };

using Archive = std::unique_ptr<Handle, ArchiveCloser>;  // an archive open for reading
using StoredFile = std::unique_ptr<Handle, FileCloser>;  // a stored file open for reading

// An update session. Close() writes the archive and tells whether it was
// written; when it was not, the archive is as it was before the update.
class Update : public std::unique_ptr<Handle, UpdateCloser> {
public:
    using std::unique_ptr<Handle, UpdateCloser>::unique_ptr;
    // Empties the handle. False for an empty handle.
    bool Close();
};

// What the listing asks SFileGetFileInfo for.
enum InfoKind : int {
    SFILE_INFO_BLOCK_SIZE = 1,      // archive: entries of the file table
    SFILE_INFO_HASH_TABLE_SIZE = 2, // archive: number of hash slots
    SFILE_INFO_NUM_FILES = 3,       // archive: number of stored files
    SFILE_INFO_SIZE = 5,            // stored file: full size
    SFILE_INFO_COMPRESSED_SIZE = 6, // stored file: size inside the archive
    SFILE_INFO_FLAGS = 7,           // stored file: flags
    SFILE_INFO_POSITION = 9,        // stored file: offset inside the archive
    SFILE_INFO_LOCALEID = 10,       // stored file: locale
    SFILE_INFO_HASH_INDEX = 12,     // stored file: its hash slot
    SFILE_INFO_MALFORMED = 100,     // archive: 1 when it reads only as a protected map does (fields the
                                    // game ignores hold garbage, tables say more than the file holds):
                                    // it can be read, never changed
};

// Flags of a stored file, as FileListEntry::Flags and SFILE_INFO_FLAGS give them.
inline constexpr std::uint32_t MAFA_FLAG_IMPLODE = 0x100;
inline constexpr std::uint32_t MAFA_FLAG_COMPRESS = 0x200;
inline constexpr std::uint32_t MAFA_FLAG_ENCRYPT = 0x10000;
inline constexpr std::uint32_t MAFA_FLAG_MODCRYPTKEY = 0x20000;

// Flags of MpqAddFileToArchiveEx and MpqAddWaveToArchive.
inline constexpr std::uint32_t MAFA_REPLACE_EXISTING = 0x1;
inline constexpr std::uint32_t MAFA_COMPRESS = 0x200;
inline constexpr std::uint32_t MAFA_ENCRYPT = 0x10000;

// Compression types of MpqAddFileToArchiveEx.
inline constexpr std::uint32_t MAFA_COMPRESS_NONE = 0;
inline constexpr std::uint32_t MAFA_COMPRESS_DEFLATE = 2;
inline constexpr std::uint32_t MAFA_COMPRESS_STANDARD = 8;

// Qualities of MpqAddWaveToArchive.
inline constexpr std::uint32_t MAWA_QUALITY_MEDIUM = 0;  // "Normale"
inline constexpr std::uint32_t MAWA_QUALITY_LOW = 1;     // smallest result
inline constexpr std::uint32_t MAWA_QUALITY_HIGH = 2;    // best quality

// Flags of MpqOpenArchiveForUpdate.
inline constexpr std::uint32_t MOAU_CREATE_NEW = 0x00;         // create; an existing empty file is taken over
inline constexpr std::uint32_t MOAU_MAINTAIN_LISTFILE = 0x01;  // keep "(listfile)" current
inline constexpr std::uint32_t MOAU_OPEN_EXISTING = 0x04;      // open; fail on anything but an archive
inline constexpr std::uint32_t MOAU_CREATE_ALWAYS = 0x08;      // create, replacing whatever is there
inline constexpr std::uint32_t MOAU_OPEN_ALWAYS = 0x20;        // open, or create when absent or empty
// The format a new archive is made in; format 1 without any of these.
inline constexpr std::uint32_t MOAU_FORMAT_2 = 0x1000;         // archives over 4 GiB
inline constexpr std::uint32_t MOAU_FORMAT_3 = 0x2000;         // HET and BET tables
inline constexpr std::uint32_t MOAU_FORMAT_4 = 0x3000;         // and the MD5s of the tables
inline constexpr std::uint32_t MOAU_FORMAT_MASK = 0x3000;

// The marker at the start of the name of a stored file that no list names.
inline constexpr const char *kUnknownPrefix = "~unknowns\\";

// One name may be stored several times, once per locale (a Windows LCID;
// 0 is neutral). A name as the engine takes it picks its neutral variant;
// another variant is picked by the name, a zero byte and the locale as four
// lower-case hex digits, which no stored name can hold. Listings give the
// names of such variants in that form, and every call that takes a stored
// name takes it: a variant that is not stored is not found (never the
// neutral one in its place).
std::string LocaleVariant(std::string_view name, std::uint16_t locale);
// The name and the locale of a stored name in either form; false for an
// empty name, or one holding a zero byte in any other way.
bool SplitLocaleVariant(std::string_view storedName, std::string_view &name, std::uint16_t &locale);

// What a listing finds of one stored file. The bytes of its name stand in
// the FileList that holds it.
struct FileListEntry {
    std::uint32_t CompressedSize = 0;
    std::uint32_t FullSize = 0;
    std::uint32_t Flags = 0;
    std::uint32_t NameAt = 0;  // where its name begins among the list's bytes
    std::uint16_t Locale = 0;  // its locale; its name is then in the variant form (LocaleVariant)
    std::uint16_t Platform = 0;
};

// The records of a listing, one per stored file, and the bytes of all their
// names in two blocks: the list text the names came from, and the names
// added to it (the engine's files, external lists, names given later), each
// closed by a line break. A million names cost no allocation each.
class FileList {
public:
    // The bit of FileListEntry::NameAt that places a name in the added block.
    static constexpr std::uint32_t kAddedBit = 0x80000000u;

    std::size_t size() const { return entries_.size(); }
    bool empty() const { return entries_.empty(); }
    const FileListEntry &operator[](std::size_t i) const { return entries_[i]; }
    // The exact bytes of the name of record i.
    std::string_view Name(std::size_t i) const;
    // Whether record i has a name from the list text, which no "~unknowns"
    // name ever is: known without reading the name.
    bool FromListText(std::size_t i) const { return (entries_[i].NameAt & kAddedBit) == 0; }
    // Gives record i the name `name` (in the variant form of its locale);
    // its old bytes stay, unused. False, with nothing changed, for a name
    // that is empty or holds a line break.
    bool Rename(std::size_t i, std::string_view name);
    // Lets go of everything.
    void Clear();
    // Writes the list to the file `fd` from where it stands, and reads a list
    // so written back in its place: how a listing made in another process
    // comes over. False when the file could not take it, or holds no list.
    bool Save(int fd) const;
    bool Load(int fd);

private:
    friend bool SFileListFiles(MpqHandle archive, std::string listText, FileList &list);
    std::uint32_t Append(std::string_view name);
    std::string text_;
    std::string added_;
    std::vector<FileListEntry> entries_;
};

// Reading. An opening call that fails gives an empty handle.
Archive SFileOpenArchive(const std::string &path);
// Kinds on an archive or a stored file; a negative value when there is no such thing.
std::int64_t SFileGetFileInfo(MpqHandle handle, int kind);
// `archive` may be a reading or an update handle. Takes every listed name,
// also a "~unknowns" name with an extension added behind it.
StoredFile SFileOpenFileEx(MpqHandle archive, const std::string &storedName);
// Reads on from the current position (the start, after the open). Reaching
// the end early is no failure: *bytesRead tells how much came.
bool SFileReadFile(MpqHandle file, void *buffer, std::uint32_t count, std::uint32_t *bytesRead,
                   void *overlapped);
// Makes `list` one record per used hash slot (per stored file of an
// archive with only the newer tables), in slot order, in storage reserved
// once; what `list` held goes, and the list text becomes its names' block.
// Names come from `listText` only: its lines are stored names, and a line
// that is the absolute path of an existing file names an external list file
// whose lines count as well. The engine's own files ("(listfile)",
// "(attributes)", "(signature)", ...) are always named. A stored file that
// nothing names gets a unique name beginning with "~unknowns\". Lines past
// the first 2 GiB of list text, or of external lists, name nothing.
bool SFileListFiles(MpqHandle archive, std::string listText, FileList &list);

// The records of a listing that SFileListFiles left nameless, by what their
// slots hold of a name (its hashes), so that more candidate names can be
// tried on them without reading any file. Lives as long as the listing's
// records and the archive.
class NamelessRecords {
public:
    NamelessRecords(MpqHandle archive, FileList &list);
    ~NamelessRecords();
    NamelessRecords(const NamelessRecords &) = delete;
    NamelessRecords &operator=(const NamelessRecords &) = delete;

    // No record is nameless (any more).
    bool Empty() const;
    // Gives `name` to each nameless record whose slot it hashes to (more than
    // one when the name is stored in several locales) and appends their
    // indices to `named`. False when it names none.
    bool Try(const std::string &name, std::vector<std::size_t> &named);

private:
    struct State;
    std::unique_ptr<State> state_;
};

// Checking. Both open the archive as SFileOpenArchive does, and change nothing.

// The signature an archive carries: a weak one is its "(signature)" file, a
// strong one the block of "NGIS" behind the archive's end.
enum class SignatureKind { None, Weak, Strong };

// How the engine reads an archive's layout.
struct ArchiveLayout {
    int formatVersion = 0;             // 1 to 4
    std::uint64_t headerOffset = 0;    // where its header stands in the file
    std::uint32_t sectorSize = 0;      // in bytes
    std::uint32_t hashTableSize = 0;   // hash slots; 0 when it has no hash table
    std::uint32_t usedSlots = 0;       // slots that point at a stored file
    std::uint32_t blockTableSize = 0;  // entries of the block table
    SignatureKind signature = SignatureKind::None;
};
// False, with `layout` untouched, when the file holds no archive the engine opens.
bool ReadArchiveLayout(const std::string &path, ArchiveLayout &layout);

// What the check of a stored file found wrong, as bits.
inline constexpr std::uint32_t VERIFY_NOT_OPENED = 0x01;    // no stored file opens by the name
inline constexpr std::uint32_t VERIFY_NOT_READ = 0x02;      // it does not read to its full size (a file
                                                            // the guards refuse to read included)
inline constexpr std::uint32_t VERIFY_SECTOR_CRC = 0x04;    // a sector differs from its checksum
inline constexpr std::uint32_t VERIFY_CRC32 = 0x08;         // it differs from its CRC32 in "(attributes)"
inline constexpr std::uint32_t VERIFY_MD5 = 0x10;           // it differs from its MD5 in "(attributes)"
inline constexpr std::uint32_t VERIFY_RAW_MD5 = 0x20;       // its stored bytes differ from their MD5s
                                                            // (format 4), or these are missing
inline constexpr std::uint32_t VERIFY_ENGINE_FAILED = 0x40; // reading it crashed the engine, or kept it
                                                            // busy past its limits: it is damaged

// What the check of the archive's signature found.
enum class SignatureCheck { None, WeakValid, StrongValid, Mismatch };

struct FileVerdict {
    std::string storedName;
    std::uint32_t faults = 0;  // VERIFY_ bits, at least one
};

struct ArchiveVerdict {
    bool opened = false;             // false: no archive, nothing checked
    std::uint32_t filesChecked = 0;
    std::vector<FileVerdict> faulty;  // in the order of the names
    SignatureCheck signature = SignatureCheck::None;
    bool stopped = false;            // `onFile` stopped it; the signature was not checked
};

// Checks each of `storedNames` (names as SFileOpenFileEx takes them) by a
// complete read and by the checksums the archive keeps of it: those of its
// sectors, and its CRC32 and MD5 in "(attributes)" where the archive has
// them; then the archive's signature. A file that the guards refuse to read
// is not checked further and counts as not read. `onFile`, when given, hears
// the index of each name before it is checked, and stops the check by
// returning false.
ArchiveVerdict VerifyArchiveFiles(const std::string &path, const std::vector<std::string> &storedNames,
                                  const std::function<bool(std::size_t)> &onFile = {});

// Updating. A stored name in the variant form adds, deletes or renames that
// variant; a rename keeps the locale.
Update MpqOpenArchiveForUpdate(const std::string &path, std::uint32_t flags,
                                  std::uint32_t maximumFiles);
// `level` is the deflate level (-1 the engine's default, 0 to 9).
bool MpqAddFileToArchiveEx(MpqHandle update, const std::string &sourcePath,
                           const std::string &storedName, std::uint32_t flags,
                           std::uint32_t compressionType, std::int32_t level);
bool MpqAddWaveToArchive(MpqHandle update, const std::string &sourcePath,
                         const std::string &storedName, std::uint32_t flags,
                         std::uint32_t quality);
// Delete and rename refuse the internal list of an update that keeps it
// current (MOAU_MAINTAIN_LISTFILE), under whatever name it is reached: the
// list names every other file.
bool MpqDeleteFile(MpqHandle update, const std::string &storedName);
bool MpqRenameFile(MpqHandle update, const std::string &oldName, const std::string &newName);

// Compaction: the archive rewritten without the room that deleted and
// replaced files left, into a new file beside it that then takes its place,
// so that a failure at any point leaves the archive as it was. The copies a
// killed compaction left in the folder are removed first.
//
// An archive in format 1 or 2 (a map) is written by the engine itself: the
// stored bytes of its files move as they are, and its hash table stays as it
// was, so files that no name covers keep their place in it. `names`, the
// stored names of its files, only give the keys of files encrypted with a
// key that follows their place; such a file that none of them names and
// whose key its first bytes do not give either could not be rewritten
// (Nameless). Its internal files stay as they are: "(listfile)" is not
// rewritten with `names` (the updates keep it current), and a weak signature
// no longer matches, as after any compaction. Formats 3 and 4 are compacted
// by StormLib under `names` and the archive's own list, and a file that none
// of them names could not be rewritten (Nameless). On Nameless, `nameless`
// receives the "~unknowns" names of the files that stopped it, as a listing
// gives them.
enum class CompactResult { Done, NotAnArchive, NotWritable, Nameless, NotWritten, Cancelled };
// Called as files are moved, and at least every 50 ms: bytes done, bytes in
// all. Returning false stops the compaction (Cancelled).
using CompactProgress = bool (*)(void *context, std::uint64_t done, std::uint64_t total);
CompactResult MpqCompactArchive(const std::string &path, const std::vector<std::string> &names,
                                CompactProgress progress = nullptr, void *context = nullptr,
                                std::vector<std::string> *nameless = nullptr);

// The folders that work on the archive at `path` may write in, whether it
// reads, updates or compacts the archive (a read puts back an update that
// was cut off): the archive's folder, its real file's folder when `path` is a
// link, and the folder of its journal when it cannot lie beside it (made
// here when it is not there yet). A child of the engine is confined to
// these (mpq_isolation.h, ChildLimits::writableFolders).
std::vector<std::string> ArchiveFolders(const std::string &path);

// The engine's name and version, cut to fit `length` bytes with the closing
// zero. Returns the length of what was written, the closing zero counted; 0
// when nothing fits.
std::uint32_t SFMpqGetVersionString2(char *buffer, std::uint32_t length);

}  // namespace mpq
