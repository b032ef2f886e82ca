// The flat listing of an archive: one row per stored file.
#pragma once

#include <QByteArray>
#include <QString>

#include <vector>

#include "listing/list_row.h"
#include "listing/mpq_library.h"
#include "listing/reporting.h"

struct AppConfig;

// The row of a record under its display name.
ListRow MakeListRow(const mpq::FileListEntry &record, const QByteArray &displayName);

// Column texts, in the user's locale.
QString FormatSize(std::uint32_t bytes);       // whole number with grouping
QString FormatRatio(std::uint32_t fullSize, std::uint32_t compressedSize);  // the saving, "25.00%"
QString FormatPercent(double fraction);        // "0%" to "100%", no decimals
QString AttributeLetters(std::uint32_t flags);  // "C", "E", "X" or "-" each

// Lists the archive at `path` into `ports.rows`, with status and progress.
// False only when the path is empty or names no file; an empty file, or one
// that holds no archive, lists nothing and succeeds. `totalSize` becomes the
// sum of the listed sizes.
bool LoadArchiveClassic(const QString &path, const AppConfig &config, ListingPorts &ports,
                        qint64 &totalSize);
