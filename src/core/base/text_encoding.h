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
// A text with its control characters written out, for a terminal: the C0
// controls (tab and line ends among them), DEL and the C1 controls
// U+0080..U+009F each as "\x" and two lower-case hex digits ("\x1b"); the
// rest unchanged. Nothing in the result can move the cursor, ring or break
// a line or a column.
QString EscapeControls(const QString &text);
// A text as the window shows it: each C0 control as its visible mark, U+2400
// plus its code (ESC as U+241B), and DEL as U+2421; the rest unchanged. The
// result is exactly as long as the text.
QString MarkControls(const QString &text);
// The text that an edit of MarkControls(original) into `edited` stands for.
// What the edit left alone at the front and at the back is taken from
// `original`, so the controls shown there as marks come back; what lies
// between is taken as typed. An unchanged edit gives `original` itself.
QString UnmarkEdit(const QString &original, const QString &edited);
// A disk path as the file system takes it, and back.
QByteArray PathBytes(const QString &path);
QString PathFromBytes(const QByteArray &bytes);
