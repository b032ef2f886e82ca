#include "boundary/child_work.h"

#include <cstring>

namespace {

template <typename T>
T Number(QByteArrayView bytes)
{
    T value{};
    if (static_cast<std::size_t>(bytes.size()) >= sizeof value) std::memcpy(&value, bytes.data(), sizeof value);
    return value;
}

}  // namespace

void ChildPorts::Send(char kind, const char *bytes, std::size_t size)
{
    QByteArray record(1, kind);
    record.append(bytes, static_cast<qsizetype>(std::min(size, mpq::ChildChannel::kMaxRecord - 1)));
    channel_.Send(record.constData(), static_cast<std::size_t>(record.size()));
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
    constexpr qsizetype kPiece = 60 * 1024;
    for (qsizetype at = 0; at < bytes.size(); at += kPiece)
        Send('r', bytes.constData() + at, static_cast<std::size_t>(std::min(kPiece, bytes.size() - at)));
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
            return work(ports);
        },
        [&](std::string_view record) {
            if (record.empty()) {  // the child is quiet: the window lives on
                events.Wait();
                return !events.Cancelled();
            }
            const QByteArrayView body(record.data() + 1, static_cast<qsizetype>(record.size() - 1));
            switch (record.front()) {
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
            case 'y': events.Yield(); break;
            case 'w': events.Wait(); break;
            case 'i':
                ++run.items;
                onItem(body);
                break;
            case 'r': resultBytes.append(body); break;
            case 'e': resultComplete = true; break;
            default: break;
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
