// Paths: what a disk path names, stored names split at their "\", and the
// one place where stored names meet disk paths.
//
// Stored names always use "\" between their folders; disk paths are native,
// with "/". GetExtension, GetFileName and GetFolder work on stored names and
// know "\" as their only separator; IsDirectory and IsFile ask the disk.
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

// A path relative to a folder on disk as a stored name: "/" becomes "\".
QString StoredNameFromRelativePath(const QString &relative);

// The disk path of a stored name below `folder`: "\" becomes "/" and the
// name is joined below the folder. An empty `folder` stands for the current
// folder and gives a relative path.
//
// The result never lies outside `folder`. A name is refused, with the empty
// text as result, when it:
//   - is empty, or holds a NUL;
//   - is absolute: begins with "\" or "/", or with a drive such as "C:";
//   - holds a ".." component anywhere ("a\..\b" too);
//   - names nothing once its empty and "." components are dropped.
// "/" inside a stored name counts as a separator as well, since the archive's
// own platform reads it so. Doubled separators are accepted and collapse to
// one ("a\\b" is "a\b"), and so do "." components. A closing "\" is dropped,
// so the folder part of a stored name maps to its folder on disk.
QString DiskPathBelow(const QString &folder, const QString &storedName);
