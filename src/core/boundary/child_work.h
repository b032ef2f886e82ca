// Core routines that read or write an archive run in a child process (see
// mpq/mpq_isolation.h): the child reports to ports that hand every call on
// to the caller's, in order, and tells the outcome of each item of its batch
// as it goes, so that the caller knows what was done when the child is ended
// halfway, and which item the engine failed on.
#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QElapsedTimer>
#include <QString>

#include <functional>
#include <optional>

#include "base/reporting.h"
#include "mpq/mpq_isolation.h"

// The ports of work in a child: each call becomes a record for the parent.
class ChildPorts final : public StatusPanel, public ProgressBar, public EventQueue {
public:
    explicit ChildPorts(mpq::ChildChannel &channel) : channel_(channel) {}
    void SetStatusText(const QString &text) override;
    void SetProgressMax(int max) override;
    void SetProgressValue(int value) override;
    void SetProgressVisible(bool visible) override;
    void BeginBatch(int turns) override;
    void Yield() override;
    void Wait() override;
    // Whether the caller's Cancel reached the child.
    bool Cancelled() override;
    // The outcome of the next item of the batch, as the work words it (at
    // most 60 KiB). It goes with the next packet; with `atOnce` set, at once,
    // so that the caller knows which item the child is at should it die.
    void ItemDone(const QByteArray &outcome);
    void SetItemsAtOnce(bool atOnce) { itemsAtOnce_ = atOnce; }
    // The work's whole result, of any length, for RunForResult.
    void SendResult(const QByteArray &bytes);
    // Sends what waits to go.
    void Flush();

private:
    static constexpr std::size_t kPacketRoom = 60 * 1024;
    void Send(char kind, const char *bytes, std::size_t size);
    void SendPacket();
    mpq::ChildChannel &channel_;
    QByteArray packet_;
    QElapsedTimer packetSent_, stopLooked_;
    bool stopAsked_ = false;
    bool itemsAtOnce_ = false;
};

struct ChildRun {
    mpq::ChildOutcome outcome = mpq::ChildOutcome::NotStarted;
    int status = 0;      // what the work returned, when it returned
    qsizetype items = 0; // the items whose outcome came
    qsizetype turns = 0; // the turns (Yield) that came
    int pid = 0;         // the child's process id
    // The engine failed: the child died or stalled, not asked to.
    bool Failed() const { return outcome == mpq::ChildOutcome::Crashed || outcome == mpq::ChildOutcome::Stalled; }
};

// The limits of a child that works on the archive at `archivePath`: it may
// write only in the folders the engine names for it (mpq::ArchiveFolders).
mpq::ChildLimits ArchiveLimits(const QString &archivePath);

// Runs `work` in a child process and brings back the bytes it returns
// (its report, written with QDataStream); nothing when the engine failed
// there (the child crashed, or stalled past `limits`) or no child could run.
// A Cancel of `events` asks the work to stop, and its report still comes.
std::optional<QByteArray> RunForResult(const std::function<QByteArray(ChildPorts &)> &work, StatusPanel &status,
                                       ProgressBar *progress, EventQueue &events, const mpq::ChildLimits &limits = {});

// Runs `work` in a child process. Its status texts, progress and turns
// reach `status`, `progress` (when given) and `events`; `events`' Cancel asks
// it to stop; each item outcome it tells reaches `onItem` in order.
ChildRun RunInChildProcess(const std::function<int(ChildPorts &)> &work, StatusPanel &status, ProgressBar *progress,
                           EventQueue &events, const std::function<void(QByteArrayView)> &onItem,
                           const mpq::ChildLimits &limits = {});
