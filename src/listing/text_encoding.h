// Bytes on disk and in archives, text on screen.
//
// Stored names, list files, settings and language files are bytes. Text is
// shown decoded as UTF-8 where the bytes are valid UTF-8, else as
// Windows-1252; text that goes back to bytes is written as UTF-8.
#pragma once

#include <QByteArray>
#include <QString>

// UTF-8 where valid, else Windows-1252.
QString DecodeBytes(const QByteArray &bytes);
// The bytes of a text as this program writes it (UTF-8).
QByteArray EncodeText(const QString &text);
// A disk path as the file system takes it, and back.
QByteArray PathBytes(const QString &path);
QString PathFromBytes(const QByteArray &bytes);
