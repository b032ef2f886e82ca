// Stored names split at their "\", and what a disk path names.
//
// Stored names always use "\" between their folders. GetExtension,
// GetFileName and GetFolder work on stored names and know "\" as their only
// separator; IsDirectory and IsFile ask the disk.
#pragma once

#include <QString>

// What stands between the folders of a stored name.
inline constexpr QChar kStoredSeparator = u'\\';

// True if the path names an existing folder (a link to a folder counts).
// Any failure, an empty or missing path among them, gives false.
bool IsDirectory(const QString &path);
// True if the path names something that exists and is not a folder. Any
// failure gives false, so a path is a folder, a file or neither, never both.
bool IsFile(const QString &path);

// The text behind the last "." of the whole text, without the point; empty
// if there is none. Folders play no part: "dir.x\file" gives "x\file".
QString GetExtension(const QString &name);
// The text behind the last "\", or the whole text if it holds none.
QString GetFileName(const QString &path);
// The text up to and including the last "\", or empty if it holds none.
QString GetFolder(const QString &path);
