// The reference of the compaction benchmark: StormLib's own compaction of an
// archive whose files its internal list names, in place. Nothing more: no
// new file beside it, no child process, no sync.
// Usage: arcavera-bench-plain-compact ARCHIVE
#include <StormLib.h>

int main(int argc, char *argv[])
{
    if (argc != 2) return 1;
    HANDLE archive = nullptr;
    if (!SFileOpenArchive(argv[1], 0, 0, &archive)) return 1;
    const bool compacted = SFileCompactArchive(archive, nullptr, false);
    return SFileCloseArchive(archive) && compacted ? 0 : 1;
}
