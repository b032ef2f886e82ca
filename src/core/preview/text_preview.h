// Showing a stored file as text: which files are text, decoding their bytes,
// and a hex dump for the rest.
#pragma once

#include <QByteArray>
#include <QString>

// Whether the stored name marks a text file, by its extension (the game's
// scripts, tables, string and frame files, and common text formats; any
// case) or as the archive's "(listfile)".
bool IsTextName(const QString &storedName);

// Whether bytes read as text: no NULs, at most one control character in a
// hundred besides tab, line feed, carriage return, vertical tab and form feed,
// and valid (or nearly valid) UTF-8 or else mostly ASCII 8-bit text. Only the
// first 64 KB are looked at.
bool LooksLikeText(const QByteArray &bytes);

// The bytes as text: UTF-8 without its byte order mark, each invalid sequence
// shown as U+FFFD. Bytes with no UTF-8 sequence at all and some high bytes
// are older 8-bit text and are read as Windows-1252, as stored names are.
QString DecodePreviewText(const QByteArray &bytes);

// The script language a highlighter colours. Galaxy shares JASS's comments,
// strings and numbers, so it is shown as JASS.
enum class CodeLanguage { None, Jass, Lua };
CodeLanguage LanguageOfName(const QString &storedName);

// A classic hex dump of the first `limit` bytes, one line per 16 bytes: the
// offset in 8 (or more) hex digits, the bytes in hex in two groups of 8, and
// the bytes between bars, printable ASCII as itself and the rest as '.'.
// Lines are joined with '\n'; a short last line is padded up to its first bar.
QString HexDump(const QByteArray &bytes, qsizetype limit = 64 * 1024);
