// What a listing needs of the settings and of the language in force. The
// listing reads neither itself: its caller fills this in.
#pragma once

#include <QString>

struct ListingOptions {
    // Status texts; "%v" stands for the value put in.
    QString opening;         // while the slots are walked, with the percentage
    QString readingList;     // the internal list is read, with the archive's path
    QString additionalList;  // no internal list: the external lists alone
    QString ready;           // the listing is done
    QString notOpened;       // the file, "%v", is gone or does not open as an archive
    QString damaged;         // the file, "%v", takes the engine down when it is read
    QString malformed;       // the file, "%v", reads only as a protected map does: read-only
    QString stopped;         // the user stopped the listing of the file, "%v"
    // Settings.
    qint16 useLists = 1;      // 1: skip the external lists when the archive has its own
    QString listFiles;        // the external list files, each followed by "\r\n"
    bool autoDetect = true;   // guess the type of nameless entries
    // Name what the lists leave nameless from the standard names and the
    // archive's own files, and guess types from more than three bytes.
    bool recoverNames = false;
    QString standardNames;    // the file of standard names, one a line

    // `text` with its "%v" replaced by `value`.
    static QString Put(const QString &text, const QString &value)
    {
        return QString(text).replace(QStringLiteral("%v"), value);
    }
};
