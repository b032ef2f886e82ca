// Makes writes fail as on a full disk, for whoever runs the tests, root
// included: the files this process and the processes it starts write are
// held below a size. Past it a write fails with EFBIG; the signal that would
// end the process is ignored meanwhile.
#pragma once

#include <sys/resource.h>

#include <csignal>

struct FileSizeLimit {
    explicit FileSizeLimit(rlim_t bytes)
    {
        getrlimit(RLIMIT_FSIZE, &previous);
        oldHandler = std::signal(SIGXFSZ, SIG_IGN);
        rlimit limit = previous;
        limit.rlim_cur = bytes;
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &previous);
        std::signal(SIGXFSZ, oldHandler);
    }
    FileSizeLimit(const FileSizeLimit &) = delete;
    FileSizeLimit &operator=(const FileSizeLimit &) = delete;

    rlimit previous{};
    void (*oldHandler)(int) = nullptr;
};
