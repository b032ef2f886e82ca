// arcavera-cli cat, convert and thumbnail: a look at stored files without
// extracting them.
#pragma once

#include <QString>
#include <QStringList>

#include <optional>

// cat ARCHIVE NAME: the stored file's bytes on standard output.
int CatCommand(const QStringList &arguments);
// convert ARCHIVE NAME OUT.png: a stored image as a PNG of its full size.
int ConvertCommand(const QStringList &arguments);
// thumbnail ARCHIVE OUT.png [--size N]: the map's picture fitted to N
// pixels (256 when `size` is not given).
int ThumbnailCommand(const QStringList &arguments, const std::optional<QString> &size);
