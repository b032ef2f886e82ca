// The recursive walk of a folder, and its destructive twin.
//
// Disk paths use "/". A path that does not end in "/" gets one; an empty
// path stands for the current folder, and the paths found are then relative
// to it.
//
// A folder is enumerated with a wildcard pattern and an attribute mask:
//   - the pattern is matched against each name, with "*" for any run of
//     characters and "?" for one character, everything else literal and case
//     sensitive; an empty pattern matches nothing;
//   - plain files always pass the mask; a hidden entry (a name that begins
//     with ".") needs the bit kAttributeHidden, a folder the bit
//     kAttributeFolder, a hidden folder both; there is no system attribute
//     here, so kAttributeSystem changes nothing;
//   - with kAttributeFolder the names "." and ".." are enumerated as well
//     (when the pattern matches them);
//   - a link to a folder counts as a folder, any other entry (a link to a
//     file, a dangling link) as a file;
//   - the names come sorted by their UTF-16 code units, which for plain
//     names is the order of their bytes, so every walk is repeatable;
//   - a folder that cannot be read yields nothing.
#pragma once

#include <QString>

inline constexpr int kAttributeHidden = 2;
inline constexpr int kAttributeSystem = 4;
inline constexpr int kAttributeFolder = 16;

// Every match below `path`, each as its path followed by `separator`.
//
// Without kAttributeFolder the matches are the files; with it, the folders.
// A folder's own matches come first, then each subfolder's whole tree, one
// subfolder after the other. Subfolders are found with the mask
// kAttributeFolder alone, so hidden folders are never entered, whatever
// `attributes` says; links to folders are never entered either, so a link
// loop cannot trap the walk. Only a pattern with "*" or "?" and `recursive`
// look below the top folder. The result ends in `separator` unless it is
// empty.
QString ScanFiles(const QString &path, const QString &pattern, int attributes, bool recursive,
                  const QString &separator);

// Deletes the files that ScanFiles would find with the same arguments, and
// removes each subfolder it walked once it is empty. Failures are ignored
// and the walk goes on: a file that cannot be deleted stays, and so does
// every folder above it. Hidden folders are not walked and stay. `path`
// itself is never removed.
//
// A link is removed as a link, never followed: a link to a file is deleted
// like a file, a link to a folder is removed (when its name matches
// `pattern` and the walk is recursive) without touching what it points to.
void DeleteFiles(const QString &path, const QString &pattern, int attributes, bool recursive);
