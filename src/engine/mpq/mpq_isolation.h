// Work on an archive's data in a process of its own. StormLib trusts what an
// archive says of itself: a damaged one can make it assert, fault, allocate
// without end or loop for ever. Work run here cannot take the program with
// it: the child has limits on its memory and processor time, dies with its
// parent, and is ended when it makes no progress for a while; whatever ends
// it comes back as an outcome, and the caller goes on with a fresh child.
//
// The child is forked, so it sees the caller's data as it was at the call
// and needs none sent to it; it sends back small records through a socket,
// one message each, which the caller hears while it waits.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace mpq {

// How a child's records reach its parent.
class ChildChannel {
public:
    explicit ChildChannel(int socket) : socket_(socket) {}
    // Sends one record (at most kMaxRecord bytes); false when the parent is gone.
    bool Send(const void *bytes, std::size_t size);
    // Whether the parent asked the work to stop (a Cancel): work that can
    // stop between two steps does so, and returns as usual.
    bool StopAsked();
    static constexpr std::size_t kMaxRecord = 64 * 1024;

private:
    int socket_;
    bool stopped_ = false;
};

struct ChildLimits {
    std::uint64_t memoryBytes = std::uint64_t{4} << 30;  // address space
    unsigned cpuSeconds = 600;                            // processor time in all
    unsigned stallMilliseconds = 10000;                   // longest wait for a record
    bool stopByKill = false;  // work that cannot stop by itself is ended at a Cancel
    // The folders below which the child may write, make, rename or remove
    // files (and the folders themselves); anywhere else it is refused
    // (EACCES), where the kernel has Landlock. Empty: the child writes
    // nowhere. Reading is not confined.
    std::vector<std::string> writableFolders;
};

enum class ChildOutcome {
    Finished,   // the work returned, unasked; the child's exit status is its value
    Crashed,    // it died of a signal: an assertion, a fault, a limit
    Stalled,    // no record came for too long: it was ended
    Cancelled,  // the caller stopped it
    NotStarted, // no child could be made
};

struct ChildResult {
    ChildOutcome outcome = ChildOutcome::NotStarted;
    int status = 0;  // the work's value, when Finished (or Cancelled and it returned)
    bool returned = false;  // the work returned: it was not ended halfway
    int pid = 0;     // the child's process id, for what it left behind
};

// Whether the children of this process are kept to their writable folders
// (the kernel has Landlock).
bool ChildWritesConfined();

// In a child of RunInChild: tells the parent the work is moving (a record
// of one byte, 'h', at most one in 50 ms), so that a long step is not taken
// for a stalled one. In any other process it does nothing.
void Beat();

// Runs `work` in a child process and hands each record it sends to
// `onRecord`, in order, until the child ends. `onRecord` returning false
// asks the work to stop (ChildChannel::StopAsked), or ends the child at once
// with `stopByKill`; either way the outcome is Cancelled, and a child that
// does not stop within the stall limit is ended. `onRecord` is also called with an empty
// record at least every 50 ms while the child is quiet, so that a caller can
// keep a window alive and hear a Cancel. `limits` are read as the child
// runs: `onRecord` may give the work ahead a longer or shorter stall limit.
ChildResult RunInChild(const std::function<int(ChildChannel &)> &work,
                       const std::function<bool(std::string_view)> &onRecord, const ChildLimits &limits = {});

}  // namespace mpq
