// Opening, reading and closing a stored file.
#include "mpq/mpq_guards.h"
#include "mpq/mpq_handle.h"
#include "mpq/mpq_library.h"

#include <fcntl.h>

namespace mpq {

StoredFile SFileOpenFileEx(MpqHandle archive, const std::string &storedName)
{
    const StoredName stored(storedName);
    if (StormArchive(archive) == nullptr || !stored.valid) return nullptr;
    HANDLE storm = nullptr;
    {
        const LocaleScope scope(stored.locale);
        // By its name, one look in the hash table; a name that is not stored
        // may stand for a file-table entry ("~unknowns").
        if (!::SFileOpenFileEx(archive->storm, stored.name.c_str(), SFILE_OPEN_FROM_MPQ, &storm)) {
            const std::string engineName = EngineName(archive, stored.name);
            if (engineName == stored.name ||
                !::SFileOpenFileEx(archive->storm, engineName.c_str(), SFILE_OPEN_FROM_MPQ, &storm))
                return nullptr;
        }
    }
    if (!IsVariant(storm, stored.locale)) {
        ::SFileCloseFile(storm);
        return nullptr;
    }
    if (archive->fd < 0) archive->fd = ::open(archive->path.c_str(), O_RDONLY | O_CLOEXEC);
    if (archive->fd < 0 || !guards::ReadIsSafe(archive->fd, storm)) {
        ::SFileCloseFile(storm);
        return nullptr;
    }
    return StoredFile(new Handle{Handle::Kind::File, storm, archive, {}, -1});
}

bool SFileReadFile(MpqHandle file, void *buffer, std::uint32_t count, std::uint32_t *bytesRead,
                   void * /*overlapped*/)
{
    if (bytesRead != nullptr) *bytesRead = 0;
    if (file == nullptr || file->kind != Handle::Kind::File || buffer == nullptr) return false;
    DWORD read = 0;
    const bool ok = ::SFileReadFile(file->storm, buffer, count, &read, nullptr);
    if (bytesRead != nullptr) *bytesRead = read;
    return ok || (GetLastError() == ERROR_HANDLE_EOF && read > 0);
}

void FileCloser::operator()(Handle *file) const
{
    ::SFileCloseFile(file->storm);
    delete file;
}

}  // namespace mpq
