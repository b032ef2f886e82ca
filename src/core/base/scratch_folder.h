// Scratch folders: folders of this user's own that the program writes its
// passing files into and empties again.
#pragma once

#include <QString>

// Whether `path` is a folder of this user's own, itself no link: the only
// kind of scratch folder that is ever written to or emptied, so that a link
// or a folder another user put in its place is never followed.
bool IsOwnFolder(const QString &path);
// Makes the scratch folder when it is missing, for this user only. False
// when there is no folder of this user's own at `path` afterwards.
bool EnsureScratchFolder(const QString &path);

// Removes everything below the scratch folder, hidden entries too; links
// are removed, never followed. What cannot be removed stays. The folder
// itself stays. A path that is no folder of this user's own is left alone.
void EmptyScratchFolder(const QString &path);
