// The undo journal of an archive update.
//
// The engine updates an archive in place: new file data goes where the old
// tables and internal files lay, the tables follow, and the header is
// rewritten last. An update cut off in between (a crash, a kill, a full
// disk) would leave an archive that lists nothing. So before the engine
// writes a byte, every range it may write over is copied to a journal
// beside the archive ("." + name + ".arcavera-journal", or, where that
// folder cannot be written, a file in the user's state folder), and the
// journal is synced to disk. When the update closes well the archive is
// synced and the journal removed; when it fails, or the process never got
// that far, the journal puts the old bytes back and cuts the archive to its
// old length: at once, or at the next open of the archive.
//
// The engine only appends: it never writes below the end of the last file
// it keeps, except the header and, on a rename, the re-encrypted file
// itself. So the journal holds the header and the tail, a few kilobytes for
// most updates, whatever the archive's size.
//
// A running update holds a lock on its journal, so an open of the same
// archive from another process never rolls back an update that is still
// going on.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

namespace mpq {

class UpdateJournal {
public:
    // Starts the journal of an update of `archivePath`: records whether the
    // file exists and its length. Null, with the reason in `why`, when no
    // journal can be written (no room, no folder that takes it) or another
    // update of the same archive is running: the update must not begin.
    static std::unique_ptr<UpdateJournal> Begin(const std::string &archivePath, std::string *why = nullptr);
    ~UpdateJournal();  // an update that neither committed nor rolled back is rolled back

    UpdateJournal(const UpdateJournal &) = delete;
    UpdateJournal &operator=(const UpdateJournal &) = delete;

    // Copies the archive's bytes [offset, offset + length), as far as they lie
    // inside its old length and are not kept already, and syncs the journal.
    // False when the journal cannot take them: the write that needed them
    // must not happen.
    bool Keep(std::uint64_t offset, std::uint64_t length);
    // Everything from `offset` to the old end of the archive.
    bool KeepFrom(std::uint64_t offset);

    // The update closed well: sync the archive, drop the journal.
    bool Commit();
    // Put the archive back as it was before the update, then drop the journal.
    bool RollBack();

    const std::string &Path() const { return journalPath_; }

private:
    UpdateJournal() = default;
    bool Finish();

    std::string archivePath_;
    std::string journalPath_;
    int journalFd_ = -1;
    int archiveFd_ = -1;
    bool existed_ = false;
    std::uint64_t oldSize_ = 0;
    std::uint64_t journalEnd_ = 0;
    // [begin, end) of the archive, and where those bytes stand in the journal
    std::vector<std::tuple<std::uint64_t, std::uint64_t, std::uint64_t>> kept_;
    bool done_ = false;
};

// Puts back an archive whose update was cut off: when a journal of
// `archivePath` is present and no running update holds it, its bytes are
// written back, the archive is cut to its old length (or removed, when the
// update had made it) and the journal is dropped. A journal that was never
// completed (the update had not begun writing) is dropped alone. False only
// when a journal is there and could not be applied (the archive is not
// writable): the archive is then left as it is.
bool RecoverInterruptedUpdate(const std::string &archivePath);

// The file a path names, links followed: an update, a compaction and a read
// of an archive reached through a link work on the file it points to, and
// the link stays a link. A path that is no link, or a link that leads
// nowhere, comes back as it is (a dangling link then opens as nothing).
std::string FollowLinks(const std::string &path);

// The folder of a path ("." for a bare name), and a sync of a folder's
// entries, for a rename or a new file to last.
std::string FolderOf(const std::string &path);
void SyncFolder(const std::string &folder);

// Where the journal of an update of `archivePath` lives: beside the archive,
// or, when `fallback` is set, in the user's state folder.
std::string JournalPath(const std::string &archivePath, bool fallback = false);

}  // namespace mpq
