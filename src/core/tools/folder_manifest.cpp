#include "tools/folder_manifest.h"

#include <QStringDecoder>

#include <array>

#include "listing/locale_tags.h"

namespace {

struct FlagWord {
    std::uint32_t bit;
    const char *word;
};
constexpr std::array<FlagWord, 6> kFlagWords = {{
    {0x00000200, "compress"},
    {0x00000100, "implode"},
    {0x00010000, "encrypt"},
    {0x00020000, "fix-key"},
    {0x01000000, "single-unit"},
    {0x04000000, "sector-crc"},
}};
constexpr std::uint32_t kExists = 0x80000000u;

struct AttributeWord {
    std::uint32_t bit;
    const char *word;
};
constexpr std::array<AttributeWord, 4> kAttributeWords = {{{1, "crc32"}, {2, "time"}, {4, "md5"}, {8, "patch-bit"}}};

bool ValidUtf8(const QByteArray &bytes)
{
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    (void)decoder.decode(bytes);
    return !decoder.hasError();
}

QByteArray Hex(std::uint64_t value, int digits)
{
    return QByteArray::number(static_cast<qulonglong>(value), 16).rightJustified(digits, '0');
}

bool ParseHex(const QByteArray &text, std::uint64_t &value, int maxDigits)
{
    QByteArray digits = text;
    if (digits.startsWith("0x")) digits = digits.mid(2);
    if (digits.isEmpty() || digits.size() > maxDigits) return false;
    bool ok = false;
    value = digits.toULongLong(&ok, 16);
    return ok;
}

QByteArray FlagsText(std::uint32_t flags)
{
    flags &= ~kExists;
    QByteArrayList words;
    for (const FlagWord &word : kFlagWords)
        if (flags & word.bit) {
            words << word.word;
            flags &= ~word.bit;
        }
    if (flags != 0) words << "0x" + Hex(flags, 8);
    return words.isEmpty() ? QByteArray("-") : words.join(',');
}

bool ParseFlags(const QByteArray &text, std::uint32_t &flags)
{
    flags = kExists;
    if (text == "-") return true;
    for (const QByteArray &word : text.split(',')) {
        bool known = false;
        for (const FlagWord &flag : kFlagWords)
            if (word == flag.word) {
                flags |= flag.bit;
                known = true;
            }
        std::uint64_t value = 0;
        if (!known && (!word.startsWith("0x") || !ParseHex(word, value, 8))) return false;
        flags |= static_cast<std::uint32_t>(value);
    }
    return true;
}

QByteArray CompressionText(std::uint8_t first, std::uint8_t next)
{
    if (first == 0 && next == 0) return "-";
    QByteArray text = "0x" + Hex(first, 2);
    if (next != 0 && next != first) text += "/0x" + Hex(next, 2);
    return text;
}

bool ParseCompression(const QByteArray &text, std::uint8_t &first, std::uint8_t &next)
{
    first = next = 0;
    if (text == "-") return true;
    const QByteArrayList parts = text.split('/');
    if (parts.size() > 2) return false;
    std::uint64_t value = 0;
    if (!parts[0].startsWith("0x") || !ParseHex(parts[0], value, 2)) return false;
    first = next = static_cast<std::uint8_t>(value);
    if (parts.size() == 2) {
        if (!parts[1].startsWith("0x") || !ParseHex(parts[1], value, 2)) return false;
        next = static_cast<std::uint8_t>(value);
    }
    return true;
}

bool ParseLocaleField(const QByteArray &text, std::uint16_t &locale)
{
    locale = 0;
    return text == "-" || (ParseLocale(QString::fromLatin1(text), locale) && locale != 0);
}

bool ParseDecimal(const QByteArray &text, std::uint32_t &value)
{
    bool ok = false;
    const qulonglong parsed = text.toULongLong(&ok, 10);
    if (!ok || parsed > 0xFFFFFFFFu || text.startsWith('+') || text.startsWith('-')) return false;
    value = static_cast<std::uint32_t>(parsed);
    return true;
}

}  // namespace

namespace {

// Printable ASCII but "%": what a field or a path level keeps as it is.
bool Plain(const QByteArray &bytes)
{
    return std::all_of(bytes.begin(), bytes.end(), [](char c) { return c >= 0x20 && c < 0x7F && c != '%'; });
}

}  // namespace

QByteArray EscapeField(const QByteArray &bytes)
{
    if (Plain(bytes)) return bytes;
    const bool utf8 = ValidUtf8(bytes);
    QByteArray out;
    out.reserve(bytes.size());
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x20 || byte == 0x7F || byte == '%' || (byte >= 0x80 && !utf8))
            out += '%' + Hex(byte, 2).toUpper();
        else
            out += c;
    }
    return out;
}

bool UnescapeField(const QByteArray &field, QByteArray &bytes)
{
    bytes.clear();
    for (qsizetype i = 0; i < field.size(); ++i) {
        if (field[i] != '%') {
            bytes += field[i];
            continue;
        }
        std::uint64_t value = 0;
        const QByteArray digits = field.mid(i + 1, 2);
        if (digits.size() != 2 || !ParseHex(digits, value, 2)) return false;
        bytes += static_cast<char>(value);
        i += 2;
    }
    return true;
}

QByteArray WriteManifest(const Manifest &m)
{
    QByteArray out = "arcavera-manifest 1\n";
    out += "# written by arcavera-cli unpack; arcavera-cli pack builds the archive back\n";
    out += "format " + QByteArray::number(m.format) + '\n';
    out += "sector-size " + QByteArray::number(m.sectorSize) + '\n';
    out += "hash-table " + QByteArray::number(m.hashTableSize) + '\n';
    if (m.rawChunkSize != 0) out += "raw-chunk " + QByteArray::number(m.rawChunkSize) + '\n';
    if (!m.front.isEmpty()) out += "front " + EscapeField(m.front.toUtf8()) + '\n';
    out += QByteArray("listfile ") + (m.listfile ? "yes" : "no") + '\n';
    QByteArrayList attributes;
    for (const AttributeWord &word : kAttributeWords)
        if (m.attributes & word.bit) attributes << word.word;
    out += "attributes " + (attributes.isEmpty() ? QByteArray("none") : attributes.join(' ')) + '\n';
    for (std::size_t i = 0; i < m.heldSlots.size(); i += 16) {
        QByteArrayList held;
        for (std::size_t j = i; j < std::min(i + 16, m.heldSlots.size()); ++j) held << QByteArray::number(m.heldSlots[j]);
        out += "held " + held.join(' ') + '\n';
    }
    // A line per file, appended field by field: a million of them are written
    // without a list of fields each.
    out.reserve(out.size() + m.files.size() * 64);
    for (const ManifestFile &f : m.files) {
        out += f.nameless() ? "nameless\t" : "file\t";
        out += (f.slot == kAnySlot ? QByteArray("-") : QByteArray::number(f.slot)) + '\t';
        out += (f.locale == 0 ? QByteArray("-") : LocaleTag(f.locale).toLatin1()) + '\t';
        out += FlagsText(f.flags) + '\t';
        out += CompressionText(f.compression, f.nextCompression) + '\t';
        out += (f.time == 0 ? QByteArray("-") : Hex(f.time, 16)) + '\t';
        out += EscapeField(f.path.toUtf8()) + '\t';
        if (f.nameless())
            out += Hex(f.hashes >> 32, 8) + ':' + Hex(f.hashes & 0xFFFFFFFFu, 8) + '\t' +
                   (f.key == 0 ? QByteArray("-") : Hex(f.key, 8));
        else
            out += EscapeField(f.name);
        out += '\n';
    }
    return out;
}

bool ReadManifest(const QByteArray &text, Manifest &m, FolderProblem &problem)
{
    m = Manifest{};
    m.listfile = false;
    problem = FolderProblem{};
    const QByteArrayList lines = text.split('\n');
    bool started = false;
    auto fail = [&](FolderProblem::Kind kind, int line) {
        problem.kind = kind;
        problem.line = line;
        return false;
    };
    for (int number = 1; number <= lines.size(); ++number) {
        QByteArray line = lines[number - 1];
        if (line.endsWith('\r')) line.chop(1);
        if (line.isEmpty() || line.startsWith('#')) continue;
        if (!started) {
            if (line != "arcavera-manifest 1") return fail(FolderProblem::BadLine, number);
            started = true;
            continue;
        }
        const qsizetype space = line.indexOf(' ');
        const QByteArray key = line.left(space), value = space < 0 ? QByteArray() : line.mid(space + 1);
        std::uint32_t number32 = 0;
        if (key == "format") {
            if (!ParseDecimal(value, number32) || number32 < 1 || number32 > 4) return fail(FolderProblem::BadLine, number);
            m.format = static_cast<int>(number32);
        } else if (key == "sector-size") {
            // 512 bytes shifted by 0 to 15, as the header stores it.
            if (!ParseDecimal(value, number32) || number32 < 512 || number32 > (512u << 15) ||
                (number32 & (number32 - 1)) != 0)
                return fail(FolderProblem::BadLine, number);
            m.sectorSize = number32;
        } else if (key == "hash-table") {
            if (!ParseDecimal(value, number32) || number32 > (1u << 20) || (number32 & (number32 - 1)) != 0)
                return fail(FolderProblem::BadLine, number);
            m.hashTableSize = number32;
        } else if (key == "raw-chunk") {
            if (!ParseDecimal(value, number32) || number32 > (1u << 24)) return fail(FolderProblem::BadLine, number);
            m.rawChunkSize = number32;
        } else if (key == "front") {
            QByteArray path;
            if (!UnescapeField(value, path) || path.isEmpty()) return fail(FolderProblem::BadLine, number);
            m.front = QString::fromUtf8(path);
            if (PathClimbs(m.front)) return fail(FolderProblem::Climbs, number);
        } else if (key == "listfile") {
            if (value != "yes" && value != "no") return fail(FolderProblem::BadLine, number);
            m.listfile = value == "yes";
        } else if (key == "attributes") {
            m.attributes = 0;
            if (value != "none")
                for (const QByteArray &word : value.split(' ')) {
                    const auto known = std::find_if(kAttributeWords.begin(), kAttributeWords.end(),
                                                    [&](const AttributeWord &a) { return word == a.word; });
                    if (known == kAttributeWords.end()) return fail(FolderProblem::BadLine, number);
                    m.attributes |= known->bit;
                }
        } else if (key == "held") {
            for (const QByteArray &slot : value.split(' ')) {
                if (!ParseDecimal(slot, number32)) return fail(FolderProblem::BadLine, number);
                m.heldSlots.push_back(number32);
            }
        } else if (line.startsWith("file\t") || line.startsWith("nameless\t")) {
            const QByteArrayList fields = line.split('\t');
            const bool nameless = fields[0] == "nameless";
            if (fields.size() != (nameless ? 9 : 8)) return fail(FolderProblem::BadLine, number);
            ManifestFile f;
            std::uint64_t time = 0;
            QByteArray path;
            if (fields[1] != "-" && !ParseDecimal(fields[1], f.slot)) return fail(FolderProblem::BadLine, number);
            if (!ParseLocaleField(fields[2], f.locale)) return fail(FolderProblem::UnknownLocale, number);
            if (!ParseFlags(fields[3], f.flags) || !ParseCompression(fields[4], f.compression, f.nextCompression) ||
                (fields[5] != "-" && !ParseHex(fields[5], time, 16)) || !UnescapeField(fields[6], path) ||
                path.isEmpty())
                return fail(FolderProblem::BadLine, number);
            f.time = time;
            f.path = QString::fromUtf8(path);
            if (PathClimbs(f.path)) return fail(FolderProblem::Climbs, number);
            if (nameless) {
                const QByteArrayList hashes = fields[7].split(':');
                std::uint64_t a = 0, b = 0, fileKey = 0;
                if (hashes.size() != 2 || hashes[0].size() != 8 || hashes[1].size() != 8 || !ParseHex(hashes[0], a, 8) ||
                    !ParseHex(hashes[1], b, 8) || (fields[8] != "-" && !ParseHex(fields[8], fileKey, 8)))
                    return fail(FolderProblem::BadLine, number);
                f.hashes = a << 32 | b;
                f.key = static_cast<std::uint32_t>(fileKey);
            } else if (!UnescapeField(fields[7], f.name) || f.name.isEmpty() || f.name.contains('\0')) {
                return fail(FolderProblem::BadLine, number);
            }
            m.files.append(f);
        } else {
            return fail(FolderProblem::BadLine, number);
        }
    }
    if (!started) return fail(FolderProblem::BadLine, 1);
    return true;
}

QString PathForName(const QByteArray &name)
{
    // Most names: printable levels that are neither empty nor dots.
    if (Plain(name) && !name.contains('/') && !name.startsWith(".arcavera-") && !name.startsWith('\\') &&
        !name.endsWith('\\') && !name.contains("\\\\") && name != "." && name != ".." && !name.startsWith(".\\") &&
        !name.startsWith("..\\") && !name.contains("\\.\\") && !name.contains("\\..\\") && !name.endsWith("\\.") &&
        !name.endsWith("\\.."))
        return QString::fromLatin1(name).replace(QLatin1Char('\\'), QLatin1Char('/'));
    const bool utf8 = ValidUtf8(name);
    QStringList levels;
    const QByteArrayList parts = name.split('\\');
    for (qsizetype i = 0; i < parts.size(); ++i) {
        const QByteArray &part = parts[i];
        QByteArray level;
        if (part.isEmpty() || part == "." || part == ".." || part.contains('/') || part.contains('\0') || !utf8) {
            for (const char c : part) {
                const auto byte = static_cast<unsigned char>(c);
                level += (byte < 0x20 || byte == '/' || byte == '.' || byte == '%' || byte >= 0x7F)
                             ? '%' + Hex(byte, 2).toUpper()
                             : QByteArray(1, c);
            }
            if (level.isEmpty()) level = "%";  // stands for an empty level; "%" alone is no escape
        } else {
            level = EscapeField(part);
        }
        if (i == 0 && level.startsWith(".arcavera-")) level = "%2E" + level.mid(1);
        levels << QString::fromUtf8(level);
    }
    return levels.join(QLatin1Char('/'));
}

bool PathClimbs(const QString &path)
{
    if (path.startsWith(QLatin1Char('/'))) return true;
    for (const QString &level : path.split(QLatin1Char('/')))
        if (level == QLatin1String("..") || level == QLatin1String(".") || level.isEmpty()) return true;
    return false;
}
