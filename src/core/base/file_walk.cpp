#include "base/file_walk.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStringList>

#include <algorithm>

#include "base/paths.h"

namespace {

bool HasWildcard(const QString &pattern)
{
    return pattern.contains(u'*') || pattern.contains(u'?');
}

// "*" is any run of characters, "?" one character, the rest literal.
bool MatchesPattern(QStringView pattern, QStringView name)
{
    qsizetype p = 0;
    qsizetype n = 0;
    qsizetype starAt = -1;  // pattern position behind the last "*"
    qsizetype starName = 0; // name position that "*" has reached
    while (n < name.size()) {
        if (p < pattern.size() && pattern[p] == u'*') {
            starAt = ++p;
            starName = n;
        } else if (p < pattern.size() && (pattern[p] == u'?' || pattern[p] == name[n])) {
            ++p;
            ++n;
        } else if (starAt >= 0) {
            p = starAt;
            n = ++starName;
        } else {
            return false;
        }
    }
    while (p < pattern.size() && pattern[p] == u'*') ++p;
    return p == pattern.size();
}

QString WithSeparator(const QString &path)
{
    if (path.isEmpty() || path.endsWith(u'/')) return path;
    return path + u'/';
}

bool IsDotOrDotDot(const QString &name)
{
    return name == QLatin1String(".") || name == QLatin1String("..");
}

// The names in `folder` (empty or ending in "/") that match `pattern` and
// pass `mask`, sorted.
QStringList Enumerate(const QString &folder, const QString &pattern, int mask)
{
    const QDir dir(folder.isEmpty() ? QStringLiteral(".") : folder);
    const QStringList all =
        dir.entryList(QDir::AllEntries | QDir::Hidden | QDir::System, QDir::NoSort);
    QStringList names;
    for (const QString &name : all) {
        if (!MatchesPattern(pattern, name)) continue;
        int needs = 0;
        if (IsDotOrDotDot(name)) {
            needs = kAttributeFolder;
        } else {
            if (name.startsWith(u'.')) needs |= kAttributeHidden;
            if (QFileInfo(folder + name).isDir()) needs |= kAttributeFolder;
        }
        if ((needs & ~mask) == 0) names.append(name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

// The subfolders of `folder` that a walk goes on with: found with the mask
// of folders alone, without "." and "..".
QStringList Subfolders(const QString &folder)
{
    QStringList names = Enumerate(folder, QStringLiteral("*"), kAttributeFolder);
    names.removeIf(IsDotOrDotDot);
    return names;
}

bool IsLink(const QString &path) { return QFileInfo(path).isSymLink(); }

void ScanInto(QString &result, const QString &path, const QString &pattern, int attributes,
              bool recursive, const QString &separator)
{
    const QString folder = WithSeparator(path);
    const bool wantFolders = (attributes & kAttributeFolder) != 0;
    for (const QString &name : Enumerate(folder, pattern, attributes)) {
        const QString p = folder + name;
        if (IsDirectory(p) == wantFolders) {
            result += p;
            result += separator;
        }
    }
    if (!HasWildcard(pattern) || !recursive) return;

    for (const QString &name : Subfolders(folder)) {
        const QString p = folder + name;
        if (IsDirectory(p) && !IsLink(p)) ScanInto(result, p, pattern, attributes, recursive, separator);
    }
}

}  // namespace

QString ScanFiles(const QString &path, const QString &pattern, int attributes, bool recursive,
                  const QString &separator)
{
    QString result;
    ScanInto(result, path, pattern, attributes, recursive, separator);
    return result;
}

void DeleteFiles(const QString &path, const QString &pattern, int attributes, bool recursive)
{
    const QString folder = WithSeparator(path);
    for (const QString &name : Enumerate(folder, pattern, attributes)) {
        const QString p = folder + name;
        if (!IsDirectory(p)) QFile::remove(p);
    }
    if (!HasWildcard(pattern) || !recursive) return;

    for (const QString &name : Subfolders(folder)) {
        const QString p = folder + name;
        if (IsLink(p)) {
            // Remove the link itself, even one whose target went before it;
            // what it points to is not ours to empty.
            if (MatchesPattern(pattern, name)) QFile::remove(p);
            continue;
        }
        if (!IsDirectory(p)) continue;
        DeleteFiles(p, pattern, attributes, recursive);
        QDir().rmdir(p);
    }
}
