#include "shell/write_back.h"

#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>

namespace {

QByteArray ContentHash(const QString &path)
{
    QFile file(path);
    QCryptographicHash hash(QCryptographicHash::Sha1);
    if (!file.open(QIODevice::ReadOnly) || !hash.addData(&file)) return {};
    return hash.result();
}

}  // namespace

WriteBackWatcher::WriteBackWatcher(QObject *parent) : QObject(parent)
{
    settle_.setSingleShot(true);
    settle_.setInterval(300);
    connect(&settle_, &QTimer::timeout, this, &WriteBackWatcher::Settle);
    connect(&watcher_, &QFileSystemWatcher::fileChanged, this, [this](const QString &path) {
        if (!touched_.contains(path)) touched_.append(path);
        settle_.start();
    });
}

void WriteBackWatcher::Watch(const QString &copy, const QString &archive, const QByteArray &storedName)
{
    const QFileInfo info(archive);
    origins_.insert(copy, Origin{archive, storedName, info.lastModified(), info.size(), ContentHash(copy)});
    if (!watcher_.files().contains(copy)) watcher_.addPath(copy);
}

const WriteBackWatcher::Origin *WriteBackWatcher::OriginOf(const QString &copy) const
{
    const auto found = origins_.constFind(copy);
    return found == origins_.constEnd() ? nullptr : &found.value();
}

bool WriteBackWatcher::ArchiveUnchanged(const QString &copy) const
{
    const Origin *origin = OriginOf(copy);
    if (!origin) return false;
    const QFileInfo info(origin->archive);
    return info.exists() && info.lastModified() == origin->archiveChanged && info.size() == origin->archiveSize;
}

void WriteBackWatcher::Rebase(const QString &copy)
{
    const auto found = origins_.find(copy);
    if (found == origins_.end()) return;
    const QFileInfo info(found->archive);
    found->archiveChanged = info.lastModified();
    found->archiveSize = info.size();
}

void WriteBackWatcher::Settle()
{
    const QStringList touched = std::exchange(touched_, {});
    for (const QString &copy : touched) {
        // A program that saves by writing a new file and renaming it over
        // the old one ends the watch: it is taken up again.
        if (QFileInfo::exists(copy) && !watcher_.files().contains(copy)) watcher_.addPath(copy);
        const auto found = origins_.find(copy);
        if (found == origins_.end() || !QFileInfo::exists(copy)) continue;
        const QByteArray hash = ContentHash(copy);
        if (hash.isEmpty() || hash == found->contentHash) continue;
        found->contentHash = hash;
        emit Saved(copy);
    }
}
