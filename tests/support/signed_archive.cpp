// Archives written by StormLib itself, as a map maker's tool writes them:
// "(attributes)" with the checksums asked for, and a weak signature.
#include "support/signed_archive.h"

#include <QFile>

#include "mpq/mpq_handle.h"

namespace fixtures {

bool MakeStormArchive(const QString &path, const QList<StoredFile> &files, std::uint32_t attributes, bool sign)
{
    mpq::PrepareSigning();
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
