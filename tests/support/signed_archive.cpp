// Archives written by StormLib itself, as a map maker's tool writes them:
// "(attributes)" with the checksums asked for, and a weak signature.
#include "support/signed_archive.h"

#include <QFile>

#include <StormLib.h>
#include <dlfcn.h>
#include <link.h>

#include <cstring>

namespace fixtures {

namespace {

// StormLib signs with libtomcrypt's RSA, whose private-key operation asks the
// math descriptor for random numbers and a pseudo-random generator for its
// blinding. Debian's StormLib copies a descriptor shorter than the one its
// libtomcrypt has, which leaves the random call empty, and registers no
// generator: both are made whole here, as the library's own symbols.
bool PrepareSigning()
{
    void *full = ::dlsym(RTLD_DEFAULT, "ltm_desc");
    void *used = ::dlsym(RTLD_DEFAULT, "ltc_mp");
    void *generator = ::dlsym(RTLD_DEFAULT, "sprng_desc");
    auto registerGenerator = reinterpret_cast<int (*)(const void *)>(::dlsym(RTLD_DEFAULT, "register_prng"));
    Dl_info info{};
    void *entry = nullptr;
    if (!full || !used || !generator || !registerGenerator || !::dladdr1(full, &info, &entry, RTLD_DL_SYMENT) ||
        entry == nullptr)
        return false;
    const auto *symbol = static_cast<const ElfW(Sym) *>(entry);
    std::memcpy(used, full, symbol->st_size);
    return registerGenerator(generator) >= 0;
}

}  // namespace

bool MakeStormArchive(const QString &path, const QList<StoredFile> &files, std::uint32_t attributes, bool sign)
{
    if (sign && !PrepareSigning()) return false;
    QFile::remove(path);
    DWORD flags = MPQ_CREATE_ARCHIVE_V1 | MPQ_CREATE_LISTFILE | (attributes ? MPQ_CREATE_ATTRIBUTES : 0);
    if (sign) flags |= MPQ_CREATE_SIGNATURE;
    HANDLE archive = nullptr;
    if (!SFileCreateArchive(QFile::encodeName(path).constData(), flags, 64, &archive)) return false;
    bool ok = attributes == 0 || SFileSetAttributes(archive, attributes);
    for (const StoredFile &file : files) {
        HANDLE stored = nullptr;
        const DWORD fileFlags = (file.flags & mpq::MAFA_COMPRESS) ? MPQ_FILE_COMPRESS : 0;
        ok = ok && SFileCreateFile(archive, file.name.constData(), 0, DWORD(file.data.size()), 0,
                                   fileFlags | MPQ_FILE_REPLACEEXISTING, &stored);
        ok = ok && SFileWriteFile(stored, file.data.constData(), DWORD(file.data.size()), MPQ_COMPRESSION_ZLIB);
        if (stored != nullptr) ok = SFileFinishFile(stored) && ok;
    }
    return SFileCloseArchive(archive) && ok;
}

}  // namespace fixtures
