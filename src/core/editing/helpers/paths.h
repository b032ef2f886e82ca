// Path tests and path splitting, and the one place where stored names meet
// disk paths.
//
// Stored names always use "\" between their folders. Disk paths are native,
// with "/". The path tests and the splitting of stored names live with the
// listing (listing/names.h), which needs them too.
#pragma once

#include <QString>

#include "listing/names.h"  // IsDirectory, IsFile, GetExtension, GetFileName, GetFolder

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
