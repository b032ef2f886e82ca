// One row of the archive list, in either style.
#pragma once

#include <QByteArray>
#include <QString>

#include <array>
#include <cstdint>

struct ListRow {
    enum Column { Name = 0, Ext, Size, Compressed, Ratio, Attribute, ColumnCount };
    std::array<QString, ColumnCount> columns;  // the six texts, as shown
    QByteArray Tag;                            // the exact stored name the engine gets back
    std::uint32_t FullSize = 0;
    std::uint32_t CompressedSize = 0;
    std::uint32_t Flags = 0;

    const QString &text() const { return columns[Name]; }
};
