#include "mpq/mpq_isolation.h"

#include <linux/audit.h>
#include <fcntl.h>
#include <linux/filter.h>
#include <linux/landlock.h>
#include <linux/seccomp.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <chrono>
#include <cstdlib>
#include <csignal>
#include <vector>

namespace mpq {

bool ChildChannel::Send(const void *bytes, std::size_t size)
{
    if (size > kMaxRecord) return false;
    for (;;) {
        const ssize_t sent = ::send(socket_, bytes, size, MSG_NOSIGNAL);
        if (sent >= 0) return true;
        if (errno != EINTR) return false;
    }
}

bool ChildChannel::StopAsked()
{
    if (stopped_) return true;
    char byte = 0;
    stopped_ = ::recv(socket_, &byte, 1, MSG_DONTWAIT) == 1;
    return stopped_;
}

namespace {

ChildChannel *g_channel = nullptr;  // in a child: its way to the parent

}  // namespace

void Beat()
{
    // One word in 50 ms is news enough: a beat a sector would cost more
    // than the sector.
    static std::chrono::steady_clock::time_point last;
    const auto now = std::chrono::steady_clock::now();
    if (g_channel == nullptr || now - last < std::chrono::milliseconds(50)) return;
    last = now;
    const char beat = 'h';
    g_channel->Send(&beat, 1);
}

namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kAddressSanitizer = true;
#elif defined(__has_feature)
constexpr bool kAddressSanitizer = __has_feature(address_sanitizer);
#else
constexpr bool kAddressSanitizer = false;
#endif

extern "C" void __sanitizer_set_death_callback(void (*callback)()) __attribute__((weak));

// No network for the child: a socket of any family but the local one is
// refused (EACCES). What the engine reads needs none, and an archive that
// gets code to run in it can reach nothing outside the machine.
void DenyNetwork()
{
#if defined(__x86_64__)
    sock_filter filter[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, arch)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, AUDIT_ARCH_X86_64, 1, 0),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_KILL_PROCESS),  // calls of another architecture
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, __NR_socket, 0, 3),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args[0])),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, AF_UNIX, 1, 0),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EACCES),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    };
    const sock_fprog program{static_cast<unsigned short>(sizeof filter / sizeof filter[0]), filter};
    if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0) ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program);
#endif
}

// Rights of Landlock that later kernels added, for older headers.
#ifndef LANDLOCK_ACCESS_FS_REFER
#define LANDLOCK_ACCESS_FS_REFER (1ULL << 13)
#endif
#ifndef LANDLOCK_ACCESS_FS_TRUNCATE
#define LANDLOCK_ACCESS_FS_TRUNCATE (1ULL << 14)
#endif

int LandlockVersion()
{
    const long version = ::syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION);
    return version > 0 ? static_cast<int>(version) : 0;
}

// Keeps the child's writes below its writable folders: every right that
// makes, changes or removes a file is handled, and granted below those
// folders alone. Files open before it (the socket, a shared memory file)
// stay as they were. A kernel without Landlock leaves the child as it is.
void ConfineWrites(const std::vector<std::string> &folders)
{
    const int version = LandlockVersion();
    if (version < 1) return;
    std::uint64_t writes = LANDLOCK_ACCESS_FS_WRITE_FILE | LANDLOCK_ACCESS_FS_REMOVE_DIR |
                           LANDLOCK_ACCESS_FS_REMOVE_FILE | LANDLOCK_ACCESS_FS_MAKE_CHAR | LANDLOCK_ACCESS_FS_MAKE_DIR |
                           LANDLOCK_ACCESS_FS_MAKE_REG | LANDLOCK_ACCESS_FS_MAKE_SOCK | LANDLOCK_ACCESS_FS_MAKE_FIFO |
                           LANDLOCK_ACCESS_FS_MAKE_BLOCK | LANDLOCK_ACCESS_FS_MAKE_SYM;
    if (version >= 2) writes |= LANDLOCK_ACCESS_FS_REFER;
    if (version >= 3) writes |= LANDLOCK_ACCESS_FS_TRUNCATE;
    landlock_ruleset_attr ruleset{};
    ruleset.handled_access_fs = writes;
    const int rules = static_cast<int>(::syscall(SYS_landlock_create_ruleset, &ruleset, sizeof ruleset, 0));
    if (rules < 0) return;
    for (const std::string &folder : folders) {
        const int fd = ::open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
        if (fd < 0) continue;  // a folder that is not there takes nothing
        landlock_path_beneath_attr beneath{};
        beneath.allowed_access = writes;
        beneath.parent_fd = fd;
        ::syscall(SYS_landlock_add_rule, rules, LANDLOCK_RULE_PATH_BENEATH, &beneath, 0);
        ::close(fd);
    }
    if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0) ::syscall(SYS_landlock_restrict_self, rules, 0);
    ::close(rules);
}

void LimitChild(const ChildLimits &limits)
{
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    // A fault ends the child, and quietly: no handler of the program (a test
    // framework's, say) or of a sanitizer runtime reports it as its own.
    if (__sanitizer_set_death_callback != nullptr) __sanitizer_set_death_callback(nullptr);
    for (int signal : {SIGSEGV, SIGBUS, SIGABRT, SIGFPE, SIGILL}) std::signal(signal, SIG_DFL);
    // AddressSanitizer reserves terabytes of address space: no limit fits it.
    if (!kAddressSanitizer) {
        const rlimit memory{limits.memoryBytes, limits.memoryBytes};
        ::setrlimit(RLIMIT_AS, &memory);
    }
    const rlimit cpu{limits.cpuSeconds, limits.cpuSeconds + 1};
    ::setrlimit(RLIMIT_CPU, &cpu);
    // A fault writes no core file for every damaged archive.
    const rlimit core{0, 0};
    ::setrlimit(RLIMIT_CORE, &core);
    DenyNetwork();
    ConfineWrites(limits.writableFolders);
}

}  // namespace

bool ChildWritesConfined() { return LandlockVersion() >= 1; }

ChildResult RunInChild(const std::function<int(ChildChannel &)> &work,
                       const std::function<bool(std::string_view)> &onRecord, const ChildLimits &limits)
{
    ChildResult result;
    int sockets[2];
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, sockets) != 0) return result;
    const pid_t parent = ::getpid();
    const pid_t child = ::fork();
    if (child < 0) {
        ::close(sockets[0]);
        ::close(sockets[1]);
        return result;
    }
    if (child == 0) {
        ::close(sockets[0]);
        LimitChild(limits);
        if (::getppid() != parent) ::_exit(127);
        ChildChannel channel(sockets[1]);
        g_channel = &channel;
        // Nothing the work throws (an allocation past the limit) may unwind
        // into the caller's frames, which are the parent's: it is a crash.
        int status = 0;
        try {
            status = work(channel);
        } catch (...) {
            std::abort();
        }
        ::_exit(status);
    }
    ::close(sockets[1]);
    result.pid = child;
    using Clock = std::chrono::steady_clock;
    auto lastHeard = Clock::now();
    std::vector<char> record(ChildChannel::kMaxRecord);
    bool cancelled = false, killed = false;
    const auto cancel = [&] {
        if (!cancelled) {
            cancelled = true;
            lastHeard = Clock::now();  // it has a stall limit's time to stop
            const char stop = 's';
            killed = limits.stopByKill || ::send(sockets[0], &stop, 1, MSG_NOSIGNAL) != 1;
        }
    };
    while (!killed) {
        pollfd waiting{sockets[0], POLLIN, 0};
        const int ready = ::poll(&waiting, 1, 50);
        if (ready < 0 && errno != EINTR) break;
        if (ready > 0) {
            const ssize_t got = ::recv(sockets[0], record.data(), record.size(), 0);
            if (got < 0 && errno == EINTR) continue;
            if (got <= 0) break;  // the child is gone
            lastHeard = Clock::now();
            if (!onRecord(std::string_view(record.data(), static_cast<std::size_t>(got)))) cancel();
            continue;
        }
        if (!cancelled && !onRecord({})) cancel();
        if (!killed && Clock::now() - lastHeard > std::chrono::milliseconds(limits.stallMilliseconds)) {
            if (!cancelled) result.outcome = ChildOutcome::Stalled;
            killed = true;
        }
    }
    if (killed) ::kill(child, SIGKILL);
    ::close(sockets[0]);
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    result.returned = WIFEXITED(status);
    if (result.returned) result.status = WEXITSTATUS(status);
    if (cancelled) result.outcome = ChildOutcome::Cancelled;
    else if (!killed) result.outcome = result.returned ? ChildOutcome::Finished : ChildOutcome::Crashed;
    return result;
}

}  // namespace mpq
