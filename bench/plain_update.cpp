// The reference of the update benchmark: StormLib's own calls to add one
// file to an archive that exists, compressed with the standard (PKWARE)
// compression, and close it. Nothing more: no journal, no sync.
// Usage: arcavera-bench-plain-update ARCHIVE FILE NAME
#include <StormLib.h>

int main(int argc, char *argv[])
{
    if (argc != 4) return 1;
    HANDLE archive = nullptr;
    if (!SFileOpenArchive(argv[1], 0, 0, &archive)) return 1;
    const bool added = SFileAddFileEx(archive, argv[2], argv[3], MPQ_FILE_COMPRESS | MPQ_FILE_REPLACEEXISTING,
                                      MPQ_COMPRESSION_PKWARE, MPQ_COMPRESSION_NEXT_SAME);
    return SFileCloseArchive(archive) && added ? 0 : 1;
}
