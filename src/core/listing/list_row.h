// One row of the archive list, in either style, and the texts it shows.
#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <string>

// A row holds what the archive says of one stored file: the bytes of its
// name and three numbers. The texts of its columns, the name's too, are made
// from it when they are shown.
struct ListRow {
    // The columns every list has; the locale of a row's variant is shown
    // after them, where the archive stores one name in several locales.
    enum Column { Name = 0, Ext, Size, Compressed, Ratio, Attribute, ColumnCount, Locale = ColumnCount };
    QByteArray Tag;  // the exact stored name the engine gets back (with the type's extension of a nameless entry,
                     // in the variant form of a locale variant: mpq_library.h, LocaleVariant)
    std::uint32_t FullSize = 0;
    std::uint32_t CompressedSize = 0;
    std::uint32_t Flags = 0;

    // The name as shown: Tag decoded, without the locale of a variant.
    QString text() const;
};

// The text of one column of a row, in the user's locale. The name and the
// extension keep their control characters: the face decides how to show them.
QString ColumnText(const ListRow &row, int column);

// Column texts, in the user's locale (the system's, digits always grouped).
QString FormatSize(std::uint32_t bytes);                                     // whole number with grouping
QString FormatRatio(std::uint32_t fullSize, std::uint32_t compressedSize);  // the saving, "25.00%"
QString FormatPercent(double fraction);                                      // "0%" to "100%", no decimals
QString FormatLength(qint64 bytes);                                          // a file's length, with grouping
QString FormatSaving(double fraction);                                       // 0.75 as "75.00%", negative too
QString AttributeLetters(std::uint32_t flags);                               // "C", "E", "X" or "-" each

// FormatSize and FormatRatio for many rows: the same texts, appended to
// `out` as UTF-8. Where the user's locale writes its numbers with ASCII
// digits in groups of three, as its texts for a few numbers show at the
// start, they are written here by hand, without a text and a locale call
// per number; otherwise through those two.
class NumberTexts {
public:
    NumberTexts();
    void AppendSize(std::string &out, std::uint32_t bytes) const;
    void AppendRatio(std::string &out, std::uint32_t fullSize, std::uint32_t compressedSize) const;

private:
    void AppendGrouped(std::string &out, std::uint64_t value) const;
    bool byHand_ = false;
    std::string group_, point_, percent_, minus_;
};
