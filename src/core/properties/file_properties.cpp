#include "properties/file_properties.h"

#include <QHash>

#include "config/catalogue.h"
#include "config/registry.h"
#include "base/paths.h"
#include "base/text_encoding.h"

QString GameFileTypeName(const QString &name)
{
    using M = MessageStrings;
    // The files of the games' maps, campaigns and data, which the desktop's
    // own types mistake ("Genesis 32X ROM" for a model) or do not know.
    static const QHash<QString, QString M::*> kTypes = {
        {"mdx", &M::FileTypeModel},      {"mdl", &M::FileTypeModelText}, {"blp", &M::FileTypeTexture},
        {"dds", &M::FileTypeDds},        {"j", &M::FileTypeJass},        {"ai", &M::FileTypeAi},
        {"lua", &M::FileTypeLua},        {"galaxy", &M::FileTypeGalaxy}, {"w3e", &M::FileTypeTerrain},
        {"wts", &M::FileTypeStrings},    {"w3u", &M::FileTypeObjects},   {"w3t", &M::FileTypeObjects},
        {"w3b", &M::FileTypeObjects},    {"w3d", &M::FileTypeObjects},   {"w3a", &M::FileTypeObjects},
        {"w3h", &M::FileTypeObjects},    {"w3q", &M::FileTypeObjects},   {"doo", &M::FileTypeDoodads},
        {"w3i", &M::FileTypeMapInfo},    {"wpm", &M::FileTypePathing},   {"shd", &M::FileTypeShadows},
        {"mmp", &M::FileTypeMinimap},    {"w3r", &M::FileTypeRegions},   {"w3c", &M::FileTypeCameras},
        {"w3s", &M::FileTypeSounds},     {"wtg", &M::FileTypeTriggers},  {"wct", &M::FileTypeTriggerText},
        {"imp", &M::FileTypeImports},    {"slk", &M::FileTypeSlk},       {"fdf", &M::FileTypeFrames},
        {"toc", &M::FileTypeFrameList},  {"chk", &M::FileTypeScenario},  {"w3m", &M::FileTypeWc3Map},
        {"w3x", &M::FileTypeWc3Map},     {"w3n", &M::FileTypeCampaign},  {"w3f", &M::FileTypeCampaignInfo},
        {"scm", &M::FileTypeScMap},      {"scx", &M::FileTypeScMap},
    };
    const auto found = kTypes.constFind(GetExtension(name).toLower());
    return found == kTypes.cend() ? QString() : Texts().*found.value();
}

QString GetFileTypeName(const QString &name)
{
    if (QString game = GameFileTypeName(name); !game.isEmpty()) return game;
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
    // A locale variant says which.
    if (const QString tag = ColumnText(row, ListRow::Locale); !tag.isEmpty()) p.name += QStringLiteral(" [%1]").arg(tag);
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
