// The reference of the listing benchmark: StormLib's own enumeration of an
// archive, names resolved from its internal list, each name and size
// printed. Nothing more.
#include <StormLib.h>

#include <cstdio>

int main(int argc, char *argv[])
{
    if (argc != 2) return 1;
    HANDLE archive = nullptr;
    if (!SFileOpenArchive(argv[1], 0, STREAM_FLAG_READ_ONLY, &archive)) return 1;
    SFILE_FIND_DATA data;
    unsigned long count = 0;
    HANDLE find = SFileFindFirstFile(archive, "*", &data, nullptr);
    if (find != nullptr) {
        do {
            std::printf("%s\t%u\t%u\t%x\n", data.cFileName, data.dwFileSize, data.dwCompSize, data.dwFileFlags);
            ++count;
        } while (SFileFindNextFile(find, &data));
        SFileFindClose(find);
    }
    SFileCloseArchive(archive);
    std::fprintf(stderr, "%lu files\n", count);
    return 0;
}
