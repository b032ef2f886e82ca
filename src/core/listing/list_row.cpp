#include "listing/list_row.h"

#include <QLocale>

#include <array>

#include "listing/names.h"
#include "listing/text_encoding.h"
#include "mpq/mpq_library.h"

namespace {

const QLocale &UserLocale()
{
    static const QLocale locale = [] {
        QLocale l = QLocale::system();
        l.setNumberOptions(l.numberOptions() & ~QLocale::OmitGroupSeparator);
        return l;
    }();
    return locale;
}

}  // namespace

QString FormatSize(std::uint32_t bytes) { return UserLocale().toString(qulonglong{bytes}); }

QString FormatRatio(std::uint32_t fullSize, std::uint32_t compressedSize)
{
    const QLocale &locale = UserLocale();
    if (fullSize == 0) return locale.toString(0.0, 'f', 2) + locale.percent();
    // Exact: (full - compressed) / full in hundredths of a percent, rounded
    // half away from zero, and only then a number for the locale to write.
    const std::int64_t numerator = (std::int64_t{fullSize} - std::int64_t{compressedSize}) * 10000;
    const std::int64_t full = fullSize;
    const std::int64_t rounded = numerator >= 0 ? (numerator + full / 2) / full : -((-numerator + full / 2) / full);
    // A file that grew by less than a hundredth keeps its sign: "-0.00%".
    const double value = rounded != 0 ? static_cast<double>(rounded) / 100.0 : (numerator < 0 ? -0.001 : 0.0);
    return locale.toString(value, 'f', 2) + locale.percent();
}

QString FormatPercent(double fraction)
{
    return UserLocale().toString(fraction * 100.0, 'f', 0) + UserLocale().percent();
}

QString FormatLength(qint64 bytes) { return UserLocale().toString(bytes); }

QString FormatSaving(double fraction)
{
    return UserLocale().toString(fraction * 100.0, 'f', 2) + UserLocale().percent();
}

QString AttributeLetters(std::uint32_t flags)
{
    // Eight possible texts, made once and shared by every row.
    static const std::array<QString, 8> texts = [] {
        std::array<QString, 8> t;
        for (int i = 0; i < 8; ++i) {
            t[static_cast<std::size_t>(i)] = QString::fromLatin1(i & 1 ? "C" : "-") +
                                             QLatin1String(i & 2 ? "E" : "-") + QLatin1String(i & 4 ? "X" : "-");
        }
        return t;
    }();
    const int index = ((flags & (mpq::MAFA_FLAG_IMPLODE | mpq::MAFA_FLAG_COMPRESS)) ? 1 : 0) |
                      ((flags & mpq::MAFA_FLAG_ENCRYPT) ? 2 : 0) | ((flags & mpq::MAFA_FLAG_MODCRYPTKEY) ? 4 : 0);
    return texts[static_cast<std::size_t>(index)];
}

QString ListRow::text() const { return DecodeBytes(Tag); }

QString ColumnText(const ListRow &row, int column)
{
    switch (column) {
    case ListRow::Name: return row.text();
    case ListRow::Ext: return GetExtension(row.text());
    case ListRow::Size: return FormatSize(row.FullSize);
    case ListRow::Compressed: return FormatSize(row.CompressedSize);
    case ListRow::Ratio: return FormatRatio(row.FullSize, row.CompressedSize);
    case ListRow::Attribute: return AttributeLetters(row.Flags);
    default: return {};
    }
}
