// What the parts of the engine boundary share behind mpq_library.h: the
// handle, and the helpers more than one operation needs. Private to the
// engine: it includes StormLib.h.
#pragma once

#include "mpq/mpq_journal.h"
#include "mpq/mpq_library.h"

#include <StormLib.h>

#include <unistd.h>

#include <cstdint>
#include <memory>
#include <string>

namespace mpq {

// Makes StormLib's signing of an archive safe to run (mpq_signing.cpp): called
// before any archive is opened for writing.
void PrepareSigning();

struct Handle {
    enum class Kind { Reading, Updating, File };
    Kind kind = Kind::Reading;
    HANDLE storm = nullptr;
    Handle *archive = nullptr;  // a file's archive
    std::string path;           // an archive's path on disk
    int fd = -1;                // an archive's own descriptor, for the checks before a read
    bool keepsList = false;     // an update that keeps "(listfile)" current
    std::unique_ptr<UpdateJournal> journal;  // an update's way back
    bool tailMoved = false;     // a delete since the journal last kept the tail

    Handle(Kind kind_, HANDLE storm_, Handle *archive_, std::string path_, int fd_, bool keepsList_ = false)
        : kind(kind_), storm(storm_), archive(archive_), path(std::move(path_)), fd(fd_), keepsList(keepsList_)
    {
    }
    ~Handle()
    {
        if (fd >= 0) ::close(fd);
    }
    Handle(const Handle &) = delete;
    Handle &operator=(const Handle &) = delete;
};

// StormLib's archive behind a reading or an update handle; null for anything else.
HANDLE StormArchive(MpqHandle handle);

bool IsRegularFile(const std::string &path);
bool EmbeddedZero(const std::string &text);

// A stored name taken apart (SplitLocaleVariant): the name StormLib knows,
// and the locale of the variant it picks. `valid` is false for a name the
// engine cannot take.
struct StoredName {
    std::string name;
    std::uint16_t locale = 0;
    bool valid = false;
    explicit StoredName(const std::string &storedName);
};

// StormLib picks the variant of a name by a locale that is global to the
// process. A scope sets it for the calls made within, under a lock that every
// call naming a variant takes, and sets back the one before at its end.
class LocaleScope {
public:
    explicit LocaleScope(std::uint16_t locale);
    ~LocaleScope();
    LocaleScope(const LocaleScope &) = delete;
    LocaleScope &operator=(const LocaleScope &) = delete;

private:
    LCID previous_ = 0;
};

// Whether the open file `file` is the variant `locale` of its name: StormLib
// falls back to the neutral variant when the one asked for is not stored.
// Files opened by StormLib's pseudo-names are whatever variant they are.
bool IsVariant(HANDLE file, std::uint16_t locale);

// StormLib 9.22 takes the sector size from the header unchecked; a size
// shifted out to zero divides by zero at the first read, and a huge one is
// allocated for every file read. Archives use sectors of a few kilobytes.
bool IsUsableArchive(HANDLE storm);

// The name under which StormLib finds what our name means: the name itself for
// a stored name, StormLib's pseudo-name of the file-table entry for a
// "~unknowns" name (mpq_names.cpp).
std::string EngineName(MpqHandle archive, const std::string &name);

}  // namespace mpq
