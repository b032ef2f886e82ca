#include "properties/file_properties.h"

#include "config/registry.h"
#include "editing/helpers/paths.h"
#include "listing/text_encoding.h"

QString GetFileTypeName(const QString &name)
{
    const QString extension = GetExtension(name);
    const QString classKey = ReadRegistry(QStringLiteral("HKEY_CLASSES_ROOT\\.") + extension + QLatin1Char('\\'));
    if (classKey.isEmpty()) return QStringLiteral("File ") + extension;
    return ReadRegistry(QStringLiteral("HKEY_CLASSES_ROOT\\") + classKey + QLatin1Char('\\'));
}

FileProperties ReadFileProperties(const ListRow &row)
{
    const qsizetype nul = row.Tag.indexOf('\0');
    const QString name = DecodeBytes(nul < 0 ? row.Tag : row.Tag.left(nul));

    FileProperties p;
    // Shown with the control characters of the name as marks.
    p.name = MarkControls(GetFileName(name));
    p.path = MarkControls(GetFolder(name));
    p.type = MarkControls(GetFileTypeName(name));
    p.size = ColumnText(row, ListRow::Size);
    p.compressed = ColumnText(row, ListRow::Compressed);
    p.ratio = ColumnText(row, ListRow::Ratio);
    p.attributes = ColumnText(row, ListRow::Attribute);
    if (row.FullSize > 0)
        p.share = 1.0 - static_cast<double>(row.CompressedSize) / static_cast<double>(row.FullSize);
    return p;
}
