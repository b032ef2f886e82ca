#include "listing/list_row.h"

#include <QLocale>

#include <array>

#include "listing/locale_tags.h"
#include "base/paths.h"
#include "base/text_encoding.h"
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

namespace {

// The saving exactly: (full - compressed) / full in hundredths of a percent,
// rounded half away from zero. `grew` tells a file that grew by less than a
// hundredth, which keeps its sign: "-0.00%".
std::int64_t SavingHundredths(std::uint32_t fullSize, std::uint32_t compressedSize, bool &grew)
{
    grew = false;
    if (fullSize == 0) return 0;
    const std::int64_t numerator = (std::int64_t{fullSize} - std::int64_t{compressedSize}) * 10000;
    const std::int64_t full = fullSize;
    grew = numerator < 0;
    return numerator >= 0 ? (numerator + full / 2) / full : -((-numerator + full / 2) / full);
}

}  // namespace

QString FormatRatio(std::uint32_t fullSize, std::uint32_t compressedSize)
{
    const QLocale &locale = UserLocale();
    bool grew = false;
    const std::int64_t rounded = SavingHundredths(fullSize, compressedSize, grew);
    // Only then a number for the locale to write.
    const double value = rounded != 0 ? static_cast<double>(rounded) / 100.0 : (grew ? -0.001 : 0.0);
    return locale.toString(value, 'f', 2) + locale.percent();
}

NumberTexts::NumberTexts()
{
    const QLocale &locale = UserLocale();
    auto plain = [](const QString &text) { return text == EscapeControls(text) && !text.isEmpty(); };
    if (locale.zeroDigit() != QLatin1String("0") || !plain(locale.groupSeparator()) ||
        !plain(locale.decimalPoint()) || !plain(locale.percent()) || !plain(locale.negativeSign()))
        return;
    group_ = locale.groupSeparator().toStdString();
    point_ = locale.decimalPoint().toStdString();
    percent_ = locale.percent().toStdString();
    minus_ = locale.negativeSign().toStdString();
    byHand_ = true;
    // The locale must write these as the hand does, or it keeps the work.
    std::string ours;
    for (std::uint32_t value : {0u, 7u, 999u, 1000u, 12345u, 1234567u, 4294967295u}) {
        ours.clear();
        AppendSize(ours, value);
        byHand_ = byHand_ && ours == FormatSize(value).toStdString();
    }
    const std::uint32_t ratios[][2] = {{0, 16}, {3, 1}, {100, 150}, {1000000, 1000001}, {1, 1000}, {10000, 0}, {7, 8}};
    for (const auto &[full, compressed] : ratios) {
        ours.clear();
        AppendRatio(ours, full, compressed);
        byHand_ = byHand_ && ours == FormatRatio(full, compressed).toStdString();
    }
}

void NumberTexts::AppendGrouped(std::string &out, std::uint64_t value) const
{
    char digits[24];
    int n = 0;
    do {
        digits[n++] = static_cast<char>('0' + value % 10);
        value /= 10;
    } while (value != 0);
    while (n > 0) {
        out.push_back(digits[--n]);
        if (n > 0 && n % 3 == 0) out += group_;
    }
}

void NumberTexts::AppendSize(std::string &out, std::uint32_t bytes) const
{
    if (!byHand_) {
        out += FormatSize(bytes).toStdString();
        return;
    }
    AppendGrouped(out, bytes);
}

void NumberTexts::AppendRatio(std::string &out, std::uint32_t fullSize, std::uint32_t compressedSize) const
{
    if (!byHand_) {
        out += FormatRatio(fullSize, compressedSize).toStdString();
        return;
    }
    bool grew = false;
    const std::int64_t rounded = SavingHundredths(fullSize, compressedSize, grew);
    if (rounded < 0 || (rounded == 0 && grew)) out += minus_;
    const std::uint64_t magnitude = static_cast<std::uint64_t>(rounded < 0 ? -rounded : rounded);
    AppendGrouped(out, magnitude / 100);
    out += point_;
    out.push_back(static_cast<char>('0' + magnitude % 100 / 10));
    out.push_back(static_cast<char>('0' + magnitude % 10));
    out += percent_;
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

QString ListRow::text() const { return DecodeBytes(Tag.contains('\0') ? BareName(Tag) : Tag); }

QString ColumnText(const ListRow &row, int column)
{
    switch (column) {
    case ListRow::Name: return row.text();
    case ListRow::Ext: return GetExtension(row.text());
    case ListRow::Size: return FormatSize(row.FullSize);
    case ListRow::Compressed: return FormatSize(row.CompressedSize);
    case ListRow::Ratio: return FormatRatio(row.FullSize, row.CompressedSize);
    case ListRow::Attribute: return AttributeLetters(row.Flags);
    case ListRow::Locale: return LocaleTag(NameLocale(row.Tag));
    default: return {};
    }
}
