#include "boundary/child_work.h"

#include <cstring>

#include "base/text_encoding.h"
#include "mpq/mpq_library.h"

namespace {

template <typename T>
T Number(QByteArrayView bytes)
{
    T value{};
    if (static_cast<std::size_t>(bytes.size()) >= sizeof value) std::memcpy(&value, bytes.data(), sizeof value);
    return value;
}

}  // namespace

// Records go over packed into packets: a packet is 'P' and then records,
// each its length (four bytes), its kind and its bytes. A packet leaves when
// it is full, at least every 20 ms, when a batch begins (a window shows
// its progress at once), at the end of a result, and at an item when items
// go at once: many small files cost few calls and no wake of the
// parent each.
void ChildPorts::Send(char kind, const char *bytes, std::size_t size)
{
    const auto length = static_cast<quint32>(std::min(size, kPacketRoom));
    if (packet_.isEmpty()) packet_.append('P');
    else if (std::size_t(packet_.size()) + 5 + length > mpq::ChildChannel::kMaxRecord) SendPacket();
    if (packet_.isEmpty()) packet_.append('P');
    packet_.append(reinterpret_cast<const char *>(&length), sizeof length).append(kind).append(bytes, length);
    if ((kind == 'i' && itemsAtOnce_) || kind == 'b' || kind == 'e' || !packetSent_.isValid() ||
        packetSent_.elapsed() >= 20)
        SendPacket();
}

void ChildPorts::SendPacket()
{
    packetSent_.start();
    if (packet_.size() > 1) channel_.Send(packet_.constData(), static_cast<std::size_t>(packet_.size()));
    packet_.clear();
}

void ChildPorts::Flush() { SendPacket(); }

bool ChildPorts::Cancelled()
{
    // A Cancel is looked for at most every 20 ms, not at every file.
    if (!stopLooked_.isValid() || stopLooked_.elapsed() >= 20) {
        stopLooked_.start();
        stopAsked_ = channel_.StopAsked();
    }
    return stopAsked_;
}

void ChildPorts::SetStatusText(const QString &text)
{
    Send('s', reinterpret_cast<const char *>(text.constData()), static_cast<std::size_t>(text.size()) * sizeof(QChar));
}
void ChildPorts::SetProgressMax(int max) { Send('m', reinterpret_cast<const char *>(&max), sizeof max); }
void ChildPorts::SetProgressValue(int value) { Send('v', reinterpret_cast<const char *>(&value), sizeof value); }
void ChildPorts::SetProgressVisible(bool visible) { Send(visible ? 'V' : 'H', nullptr, 0); }
void ChildPorts::BeginBatch(int turns) { Send('b', reinterpret_cast<const char *>(&turns), sizeof turns); }
void ChildPorts::Yield() { Send('y', nullptr, 0); }
void ChildPorts::Wait() { Send('w', nullptr, 0); }
void ChildPorts::ItemDone(const QByteArray &outcome) { Send('i', outcome.constData(), static_cast<std::size_t>(outcome.size())); }

void ChildPorts::SendResult(const QByteArray &bytes)
{
    const auto piece = static_cast<qsizetype>(kPacketRoom);
    for (qsizetype at = 0; at < bytes.size(); at += piece)
        Send('r', bytes.constData() + at, static_cast<std::size_t>(std::min(piece, bytes.size() - at)));
    Send('e', nullptr, 0);
}

namespace {

ChildRun RunChild(const std::function<int(ChildPorts &)> &work, StatusPanel &status, ProgressBar *progress,
                  EventQueue &events, const std::function<void(QByteArrayView)> &onItem, const mpq::ChildLimits &limits,
                  QByteArray &resultBytes, bool &resultComplete)
{
    ChildRun run;
    const mpq::ChildResult result = mpq::RunInChild(
        [&](mpq::ChildChannel &channel) {
            ChildPorts ports(channel);
            const int code = work(ports);
            ports.Flush();
            return code;
        },
        [&](std::string_view packet) {
            if (packet.empty()) {  // the child is quiet: the window lives on
                events.Wait();
                return !events.Cancelled();
            }
            // A packet of records; anything else ('h', a beat of the engine) only shows life.
            for (std::size_t at = 1; packet.front() == 'P' && at + 5 <= packet.size();) {
                quint32 length = 0;
                std::memcpy(&length, packet.data() + at, sizeof length);
                const char kind = packet[at + 4];
                at += 5;
                if (length > packet.size() - at) break;
                const QByteArrayView body(packet.data() + at, static_cast<qsizetype>(length));
                at += length;
                switch (kind) {
                case 's': {
                    QString text(body.size() / 2, Qt::Uninitialized);
                    std::memcpy(text.data(), body.data(), static_cast<std::size_t>(text.size()) * sizeof(QChar));
                    status.SetStatusText(text);
                    break;
                }
                case 'm': if (progress) progress->SetProgressMax(Number<int>(body)); break;
                case 'v': if (progress) progress->SetProgressValue(Number<int>(body)); break;
                case 'V': if (progress) progress->SetProgressVisible(true); break;
                case 'H': if (progress) progress->SetProgressVisible(false); break;
                case 'b': events.BeginBatch(Number<int>(body)); break;
                case 'y':
                    ++run.turns;
                    events.Yield();
                    break;
                case 'w': events.Wait(); break;
                case 'i':
                    ++run.items;
                    onItem(body);
                    break;
                case 'r': resultBytes.append(body); break;
                case 'e': resultComplete = true; break;
                default: break;
                }
            }
            return !events.Cancelled();
        },
        limits);
    run.outcome = result.outcome;
    run.status = result.status;
    run.pid = result.pid;
    return run;
}

}  // namespace

ChildRun RunInChildProcess(const std::function<int(ChildPorts &)> &work, StatusPanel &status, ProgressBar *progress,
                           EventQueue &events, const std::function<void(QByteArrayView)> &onItem,
                           const mpq::ChildLimits &limits)
{
    QByteArray unused;
    bool complete = false;
    return RunChild(work, status, progress, events, onItem, limits, unused, complete);
}

std::optional<QByteArray> RunForResult(const std::function<QByteArray(ChildPorts &)> &work, StatusPanel &status,
                                       ProgressBar *progress, EventQueue &events, const mpq::ChildLimits &limits)
{
    QByteArray result;
    bool complete = false;
    const ChildRun run = RunChild(
        [&](ChildPorts &ports) {
            ports.SendResult(work(ports));
            return 0;
        },
        status, progress, events, [](QByteArrayView) {}, limits, result, complete);
    if (!complete || run.Failed()) return std::nullopt;
    return result;
}

mpq::ChildLimits ArchiveLimits(const QString &archivePath)
{
    mpq::ChildLimits limits;
    limits.writableFolders = mpq::ArchiveFolders(PathBytes(archivePath).toStdString());
    return limits;
}
