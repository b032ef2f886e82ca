// The reference of the extract benchmark: StormLib's own enumeration of an
// archive, each file read whole and written below a folder, its folders made.
// Usage: arcavera-bench-plain-extract ARCHIVE FOLDER
#include <StormLib.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

int main(int argc, char *argv[])
{
    if (argc != 3) return 1;
    namespace fs = std::filesystem;
    HANDLE archive = nullptr;
    if (!SFileOpenArchive(argv[1], 0, STREAM_FLAG_READ_ONLY, &archive)) return 1;
    SFILE_FIND_DATA data;
    unsigned long count = 0;
    std::vector<char> buffer;
    HANDLE find = SFileFindFirstFile(archive, "*", &data, nullptr);
    if (find != nullptr) {
        do {
            HANDLE file = nullptr;
            if (!SFileOpenFileEx(archive, data.cFileName, 0, &file)) continue;
            const DWORD size = SFileGetFileSize(file, nullptr);
            buffer.resize(size);
            DWORD read = 0;
            SFileReadFile(file, buffer.data(), size, &read, nullptr);
            SFileCloseFile(file);
            std::string name = data.cFileName;
            for (char &c : name)
                if (c == '\\') c = '/';
            const fs::path target = fs::path(argv[2]) / name;
            fs::create_directories(target.parent_path());
            std::ofstream(target, std::ios::binary | std::ios::trunc).write(buffer.data(), read);
            ++count;
        } while (SFileFindNextFile(find, &data));
        SFileFindClose(find);
    }
    SFileCloseArchive(archive);
    std::fprintf(stderr, "%lu files extracted\n", count);
    return 0;
}
