// The stored files the user opened in the desktop's programs, watched while
// the window runs, so that a save there can go back into the archive.
#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QFileSystemWatcher>
#include <QHash>
#include <QObject>
#include <QString>
#include <QTimer>

class WriteBackWatcher : public QObject {
    Q_OBJECT
public:
    // What a watched copy came from, and how the archive stood then.
    struct Origin {
        QString archive;
        QByteArray storedName;
        QDateTime archiveChanged;  // the archive's time and length when the copy was made
        qint64 archiveSize = -1;
        QByteArray contentHash;    // the copy's content as last seen, so that a touch is no save
    };

    explicit WriteBackWatcher(QObject *parent = nullptr);

    // Watches the copy at `copy` of `storedName` from `archive`, as it is now.
    void Watch(const QString &copy, const QString &archive, const QByteArray &storedName);
    // The origin of a watched copy; null when it is not watched.
    const Origin *OriginOf(const QString &copy) const;
    // Whether the archive still stands as it did when the copy was made.
    bool ArchiveUnchanged(const QString &copy) const;
    // The archive as it stands now becomes the copy's reference (after the
    // copy was put back, which changed it).
    void Rebase(const QString &copy);

signals:
    // The copy was saved with new content: once per save, after the saving
    // program is done writing.
    void Saved(const QString &copy);

private:
    void Settle();

    QFileSystemWatcher watcher_;
    QTimer settle_;  // editors write a file in several steps: wait until they stop
    QHash<QString, Origin> origins_;
    QStringList touched_;
};
