// Opening an archive for reading, and what it and its files tell of
// themselves. The archive is opened without StormLib's own list loading:
// names come from the listing's list text alone (mpq_names.cpp).
#include "mpq/mpq_guards.h"
#include "mpq/mpq_handle.h"
#include "mpq/mpq_journal.h"
#include "mpq/mpq_library.h"
#include "mpq/mpq_storm.h"

#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <mutex>

namespace mpq {

HANDLE StormArchive(MpqHandle handle)
{
    if (handle == nullptr || handle->kind == Handle::Kind::File || handle->storm == nullptr)
        return nullptr;
    return handle->storm;
}

bool IsRegularFile(const std::string &path)
{
    struct stat st {};
    return ::stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode);
}

bool EmbeddedZero(const std::string &text) { return text.find('\0') != std::string::npos; }

std::string LocaleVariant(std::string_view name, std::uint16_t locale)
{
    std::string variant(name);
    if (locale == 0) return variant;
    char digits[8];
    std::snprintf(digits, sizeof digits, "%04x", locale);
    variant.push_back('\0');
    return variant.append(digits, 4);
}

bool SplitLocaleVariant(std::string_view storedName, std::string_view &name, std::uint16_t &locale)
{
    const std::size_t zero = storedName.find('\0');
    name = storedName.substr(0, zero);
    locale = 0;
    if (name.empty()) return false;
    if (zero == std::string_view::npos) return true;
    const std::string_view digits = storedName.substr(zero + 1);
    if (digits.size() != 4) return false;
    for (const char c : digits) {
        const int value = c >= '0' && c <= '9' ? c - '0' : c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
        if (value < 0) return false;
        locale = static_cast<std::uint16_t>(locale << 4 | value);
    }
    return locale != 0;
}

StoredName::StoredName(const std::string &storedName)
{
    std::string_view bare;
    valid = SplitLocaleVariant(storedName, bare, locale);
    if (valid) name.assign(bare);
}

namespace {
// A child forked while another thread held the lock would never get it: the
// child starts with a lock of its own.
std::recursive_mutex *localeLock = nullptr;

std::recursive_mutex &LocaleLock()
{
    static const bool made = [] {
        localeLock = new std::recursive_mutex;
        ::pthread_atfork(nullptr, nullptr, [] { localeLock = new std::recursive_mutex; });
        return true;
    }();
    (void)made;
    return *localeLock;
}
}  // namespace

LocaleScope::LocaleScope(std::uint16_t locale)
{
    LocaleLock().lock();
    previous_ = ::SFileGetLocale();
    ::SFileSetLocale(locale);
}

LocaleScope::~LocaleScope()
{
    ::SFileSetLocale(previous_);
    LocaleLock().unlock();
}

bool IsVariant(HANDLE file, std::uint16_t locale)
{
    if (locale == 0) return true;
    DWORD found = 0;
    return ::SFileGetFileInfo(file, SFileInfoLocale, &found, sizeof found, nullptr) && found == locale;
}

bool IsUsableArchive(HANDLE storm)
{
    constexpr DWORD kLargestSector = 1u << 24;
    const DWORD sectorSize = stormlib::Facts(storm).sectorSize;
    return sectorSize != 0 && sectorSize <= kLargestSector;
}

Archive SFileOpenArchive(const std::string &givenPath)
{
    if (givenPath.empty() || EmbeddedZero(givenPath)) return nullptr;
    const std::string path = FollowLinks(givenPath);
    // An update that was cut off is undone before anyone reads the archive.
    RecoverInterruptedUpdate(path);
    if (!IsRegularFile(path)) return nullptr;
    // An archive that StormLib would abort on unless some entries are
    // screened out is opened as a screened copy, which the handle's
    // descriptor keeps.
    std::string enginePath = path;
    int screened = -1;
    switch (guards::CheckOpen(path)) {
    case guards::OpenVerdict::Safe: break;
    case guards::OpenVerdict::Unsafe: return nullptr;
    case guards::OpenVerdict::Screened:
        if ((screened = guards::ScreenedCopy(path)) < 0) return nullptr;
        enginePath = "/proc/self/fd/" + std::to_string(screened);
        break;
    }
    HANDLE storm = nullptr;
    const DWORD openFlags = STREAM_FLAG_READ_ONLY | MPQ_OPEN_NO_LISTFILE | MPQ_OPEN_NO_ATTRIBUTES;
    if (!::SFileOpenArchive(enginePath.c_str(), 0, openFlags, &storm) || !IsUsableArchive(storm)) {
        if (storm != nullptr) ::SFileCloseArchive(storm);
        if (screened >= 0) ::close(screened);
        return nullptr;
    }
    return Archive(new Handle{Handle::Kind::Reading, storm, nullptr, enginePath, screened});
}

void ArchiveCloser::operator()(Handle *archive) const
{
    ::SFileCloseArchive(archive->storm);
    delete archive;
}

std::int64_t SFileGetFileInfo(MpqHandle handle, int kind)
{
    if (handle == nullptr || handle->storm == nullptr) return -1;
    if (handle->kind != Handle::Kind::File) {
        const stormlib::ArchiveFacts facts = stormlib::Facts(StormArchive(handle));
        switch (kind) {
        case SFILE_INFO_BLOCK_SIZE: return facts.fileTableSize;
        case SFILE_INFO_HASH_TABLE_SIZE:
            return facts.hasHashTable ? std::int64_t{facts.hashTableSize} : std::int64_t{facts.fileTableSize};
        case SFILE_INFO_MALFORMED:
            // A screened copy, or what StormLib itself had to bend to read.
            return handle->fd >= 0 && handle->path.rfind("/proc/self/fd/", 0) == 0 ? 1
                   : facts.malformed || facts.blockTableCut || facts.hashTableCut;
        case SFILE_INFO_NUM_FILES: {
            DWORD count = 0;
            if (!::SFileGetFileInfo(handle->storm, SFileMpqNumberOfFiles, &count, sizeof count, nullptr))
                return -1;
            return count;
        }
        default: return -1;
        }
    }
    SFileInfoClass infoClass;
    switch (kind) {
    case SFILE_INFO_SIZE: infoClass = SFileInfoFileSize; break;
    case SFILE_INFO_COMPRESSED_SIZE: infoClass = SFileInfoCompressedSize; break;
    case SFILE_INFO_FLAGS: infoClass = SFileInfoFlags; break;
    case SFILE_INFO_LOCALEID: infoClass = SFileInfoLocale; break;
    case SFILE_INFO_HASH_INDEX: infoClass = SFileInfoHashIndex; break;
    case SFILE_INFO_POSITION: {
        ULONGLONG position = 0;
        if (!::SFileGetFileInfo(handle->storm, SFileInfoByteOffset, &position, sizeof position, nullptr))
            return -1;
        return static_cast<std::int64_t>(position);
    }
    default: return -1;
    }
    DWORD value = 0;
    if (!::SFileGetFileInfo(handle->storm, infoClass, &value, sizeof value, nullptr)) return -1;
    return value;
}

std::uint32_t SFMpqGetVersionString2(char *buffer, std::uint32_t length)
{
    if (buffer == nullptr || length == 0) return 0;
    std::snprintf(buffer, length, "StormLib %s", STORMLIB_VERSION_STRING);
    return static_cast<std::uint32_t>(std::strlen(buffer)) + 1;
}

}  // namespace mpq
