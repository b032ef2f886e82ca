// The reference of the add benchmark: StormLib's own calls, one archive
// made with room for the files, every file below a folder added with the
// standard (PKWARE) compression under its relative name, "\" between
// folders. Nothing more.
// Usage: arcavera-bench-plain-add ARCHIVE FOLDER MAXFILES
#include <StormLib.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

int main(int argc, char *argv[])
{
    if (argc != 4) return 1;
    namespace fs = std::filesystem;
    HANDLE archive = nullptr;
    if (!SFileCreateArchive(argv[1], MPQ_CREATE_ARCHIVE_V1 | MPQ_CREATE_LISTFILE,
                            static_cast<DWORD>(std::strtoul(argv[3], nullptr, 10)), &archive))
        return 1;
    const fs::path folder(argv[2]);
    unsigned long count = 0;
    for (const auto &entry : fs::recursive_directory_iterator(folder)) {
        if (!entry.is_regular_file()) continue;
        std::string name = fs::relative(entry.path(), folder).string();
        for (char &c : name)
            if (c == '/') c = '\\';
        if (SFileAddFileEx(archive, entry.path().c_str(), name.c_str(),
                           MPQ_FILE_COMPRESS | MPQ_FILE_REPLACEEXISTING, MPQ_COMPRESSION_PKWARE,
                           MPQ_COMPRESSION_NEXT_SAME))
            ++count;
    }
    SFileCloseArchive(archive);
    std::fprintf(stderr, "%lu files added\n", count);
    return 0;
}
