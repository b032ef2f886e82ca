// The reference of the verify benchmark: StormLib's own enumeration of an
// archive, each file read whole in chunks of 1 MiB and the CRC32 (zlib's)
// and the MD5 (libtomcrypt's, as StormLib's own) of its bytes reckoned;
// nothing is compared, no sector checksum checked.
// Usage: arcavera-bench-plain-verify ARCHIVE
//        arcavera-bench-plain-verify --create ARCHIVE N
// The second makes an empty archive of format 1 with room for N files and an
// "(attributes)" of CRC32s, file times and MD5s, which StormLib keeps up to
// date in every later update: the benchmark adds its files with arcavera-cli.
#include <StormLib.h>
#include <tomcrypt.h>
#include <zlib.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

int main(int argc, char *argv[])
{
    if (argc == 4 && std::strcmp(argv[1], "--create") == 0) {
        HANDLE made = nullptr;
        const DWORD flags = MPQ_CREATE_ARCHIVE_V1 | MPQ_CREATE_LISTFILE | MPQ_CREATE_ATTRIBUTES;
        if (!SFileCreateArchive(argv[2], flags, static_cast<DWORD>(std::atoi(argv[3])), &made)) return 1;
        return SFileCloseArchive(made) ? 0 : 1;
    }
    if (argc != 2) return 1;
    HANDLE archive = nullptr;
    if (!SFileOpenArchive(argv[1], 0, STREAM_FLAG_READ_ONLY, &archive)) return 1;
    SFILE_FIND_DATA data;
    unsigned long count = 0;
    std::vector<unsigned char> buffer(1 << 20);
    HANDLE find = SFileFindFirstFile(archive, "*", &data, nullptr);
    if (find != nullptr) {
        do {
            HANDLE file = nullptr;
            if (!SFileOpenFileEx(archive, data.cFileName, 0, &file)) continue;
            uLong crc = crc32(0, nullptr, 0);
            hash_state md5;
            md5_init(&md5);
            for (;;) {
                DWORD read = 0;
                SFileReadFile(file, buffer.data(), static_cast<DWORD>(buffer.size()), &read, nullptr);
                if (read == 0) break;
                crc = crc32(crc, buffer.data(), read);
                md5_process(&md5, buffer.data(), read);
            }
            unsigned char digest[16];
            md5_done(&md5, digest);
            SFileCloseFile(file);
            ++count;
        } while (SFileFindNextFile(find, &data));
        SFileFindClose(find);
    }
    SFileCloseArchive(archive);
    std::fprintf(stderr, "%lu files read\n", count);
    return 0;
}
