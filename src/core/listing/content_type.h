// Guessing the type of a nameless stored file from more of its first bytes than
// the three-byte signatures look at: longer magic numbers, audio frames, image
// headers and text.
#pragma once

#include <QByteArray>
#include <QString>

// How many leading bytes DetectContentExtension looks at.
inline constexpr qsizetype kContentHeadSize = 512;

// The extension, with its point, that the first bytes of a nameless stored file suggest
// where DetectExtension finds none; empty when nothing fits. `head` is at most the first
// kContentHeadSize bytes of the file (fewer if the file is shorter); `fileSize` its full size.
// Bytes past kContentHeadSize are not looked at, and a size smaller than the head counts
// as the head's own.
QString DetectContentExtension(const QByteArray &head, qint64 fileSize);
