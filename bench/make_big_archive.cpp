// Makes an archive of N small files with an internal list, through
// Arcavera's own engine layer, for the listing benchmarks. Without FOLDERS
// the files lie in 500 folders of 37 subfolders each; with it, directly in
// that many folders.
// Usage: arcavera-bench-make ARCHIVE N [FOLDERS]
#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "mpq/mpq_library.h"

int main(int argc, char *argv[])
{
    if (argc != 3 && argc != 4) {
        std::fputs("usage: arcavera-bench-make ARCHIVE N [FOLDERS]\n", stderr);
        return 1;
    }
    const std::string archive = argv[1];
    const long count = std::strtol(argv[2], nullptr, 10);
    const long folders = argc == 4 ? std::max(1L, std::strtol(argv[3], nullptr, 10)) : 0;
    QTemporaryDir sources;
    std::string sourcePaths[16];
    for (int i = 0; i < 16; ++i) {
        const QString path = sources.filePath(QStringLiteral("s%1.txt").arg(i));
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly)) return 1;
        file.write(QByteArray("benchmark content ").repeated(4 + i * 3));
        sourcePaths[i] = QFile::encodeName(path).toStdString();
    }
    std::remove(archive.c_str());
    mpq::Update update = mpq::MpqOpenArchiveForUpdate(
        archive, mpq::MOAU_CREATE_NEW | mpq::MOAU_MAINTAIN_LISTFILE, static_cast<std::uint32_t>(count + 16));
    if (!update) return 1;
    char name[64];
    for (long i = 0; i < count; ++i) {
        if (folders > 0)
            std::snprintf(name, sizeof name, "folder%04ld\\file%07ld.txt", i % folders, i);
        else
            std::snprintf(name, sizeof name, "folder%03ld\\sub%02ld\\file%06ld.txt", i % 500, i % 37, i);
        if (!mpq::MpqAddFileToArchiveEx(update.get(), sourcePaths[i % 16], name, mpq::MAFA_COMPRESS,
                                        mpq::MAFA_COMPRESS_STANDARD, -1)) {
            std::fprintf(stderr, "add failed at %ld\n", i);
            return 1;
        }
    }
    return update.Close() ? 0 : 1;
}
