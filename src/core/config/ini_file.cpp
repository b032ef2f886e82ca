#include "config/ini_file.h"

#include "base/text_encoding.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

namespace {

const QByteArray kByteOrderMark("\xEF\xBB\xBF");

bool IsBlank(char c)
{
    return c == ' ' || c == '\t' || c == '\v' || c == '\f' || c == '\r' || c == '\n';
}

enum class LineKind { Blank, Comment, Section, Key, Other };

struct ParsedLine {
    LineKind kind = LineKind::Other;
    QString name;  // section or key name, as written
};

// What one line of the file is. The first line may start with a byte order
// mark, which is no part of its content.
ParsedLine Classify(const QByteArray &raw, bool firstLine)
{
    QByteArray text = raw;
    if (firstLine && text.startsWith(kByteOrderMark)) text.remove(0, kByteOrderMark.size());
    const QByteArray trimmed = text.trimmed();
    if (trimmed.isEmpty()) return {LineKind::Blank, {}};
    if (trimmed.front() == ';') return {LineKind::Comment, {}};
    if (trimmed.front() == '[') {
        const qsizetype close = trimmed.indexOf(']');
        const QByteArray name = close < 0 ? trimmed.mid(1) : trimmed.mid(1, close - 1);
        return {LineKind::Section, DecodeBytes(name.trimmed())};
    }
    const qsizetype eq = trimmed.indexOf('=');
    if (eq <= 0) return {LineKind::Other, {}};
    const QByteArray key = trimmed.left(eq).trimmed();
    if (key.isEmpty()) return {LineKind::Other, {}};
    return {LineKind::Key, DecodeBytes(key)};
}

// The value of a key line: blanks around it and one pair of enclosing double
// quotes removed.
QString ValueOf(const QByteArray &text)
{
    QByteArray value = text.mid(text.indexOf('=') + 1).trimmed();
    if (value.size() >= 2 && value.front() == '"' && value.back() == '"')
        value = value.mid(1, value.size() - 2);
    return DecodeBytes(value);
}

// The bytes that stand behind "=" for a value, chosen so that ValueOf gives
// the value back: it ends at a line break, and is quoted when reading would
// otherwise strip blanks or quotes from it.
QByteArray ValueBytes(const QString &value)
{
    qsizetype end = 0;
    while (end < value.size() && value[end] != u'\r' && value[end] != u'\n') ++end;
    const QByteArray bytes = EncodeText(value.left(end));
    if (bytes.isEmpty()) return bytes;
    const bool quoted = bytes.size() >= 2 && bytes.front() == '"' && bytes.back() == '"';
    if (IsBlank(bytes.front()) || IsBlank(bytes.back()) || quoted) return '"' + bytes + '"';
    return bytes;
}

}  // namespace

IniDocument::IniDocument() = default;

IniDocument IniDocument::FromBytes(const QByteArray &bytes)
{
    IniDocument doc;
    qsizetype start = 0;
    while (start < bytes.size()) {
        const qsizetype newline = bytes.indexOf('\n', start);
        Line line;
        if (newline < 0) {
            line.text = bytes.mid(start);
            start = bytes.size();
        } else {
            line.text = bytes.mid(start, newline - start);
            line.ending = "\n";
            if (line.text.endsWith('\r')) {
                line.text.chop(1);
                line.ending = "\r\n";
            }
            start = newline + 1;
        }
        doc.lines_.append(line);
    }
    doc.Reindex();
    return doc;
}

IniDocument IniDocument::Load(const QString &file)
{
    if (!QFileInfo::exists(file)) return IniDocument();
    QFile in(file);
    if (!in.open(QIODevice::ReadOnly)) {
        IniDocument doc;
        doc.unreadable_ = true;
        return doc;
    }
    const QByteArray bytes = in.readAll();
    if (in.error() != QFileDevice::NoError) {
        IniDocument doc;
        doc.unreadable_ = true;
        return doc;
    }
    return FromBytes(bytes);
}

void IniDocument::Reindex()
{
    sections_.clear();
    // Folded name of the section whose lines are being read; none before the
    // first section and inside a repeated section, which is kept but not read.
    std::optional<QString> open;
    for (qsizetype i = 0; i < lines_.size(); ++i) {
        const ParsedLine parsed = Classify(lines_[i].text, i == 0);
        if (parsed.kind == LineKind::Section) {
            open.reset();
            const QString folded = parsed.name.toCaseFolded();
            if (!sections_.contains(folded)) {
                sections_.insert(folded, SectionIndex{i, i + 1, {}, {}});
                open = folded;
            }
            continue;
        }
        if (!open) continue;
        SectionIndex &index = sections_[*open];
        index.end = i + 1;
        if (parsed.kind != LineKind::Key) continue;
        const QString folded = parsed.name.toCaseFolded();
        if (!index.keys.contains(folded)) {
            index.keys.insert(folded, i);
            index.names.append(parsed.name);
        }
    }
}

std::optional<QString> IniDocument::Value(const QString &section, const QString &key) const
{
    const auto s = sections_.constFind(section.toCaseFolded());
    if (s == sections_.constEnd()) return std::nullopt;
    const auto k = s->keys.constFind(key.toCaseFolded());
    if (k == s->keys.constEnd()) return std::nullopt;
    return ValueOf(lines_[*k].text);
}

QString IniDocument::Get(const QString &section, const QString &key,
                         const QString &defaultValue) const
{
    return Value(section, key).value_or(defaultValue);
}

QStringList IniDocument::Keys(const QString &section) const
{
    const auto s = sections_.constFind(section.toCaseFolded());
    return s == sections_.constEnd() ? QStringList() : s->names;
}

QByteArray IniDocument::NewLine() const
{
    for (const Line &line : lines_)
        if (!line.ending.isEmpty()) return line.ending;
    return QByteArrayLiteral("\r\n");
}

void IniDocument::EndLastLine()
{
    if (!lines_.isEmpty() && lines_.last().ending.isEmpty()) lines_.last().ending = NewLine();
}

void IniDocument::Set(const QString &section, const QString &key, const QString &value)
{
    const QByteArray valueBytes = ValueBytes(value);
    const auto s = sections_.constFind(section.toCaseFolded());
    if (s != sections_.constEnd()) {
        const auto k = s->keys.constFind(key.toCaseFolded());
        if (k != s->keys.constEnd()) {
            // In place: the key keeps its spelling and indentation.
            Line &line = lines_[*k];
            QByteArray prefix = line.text.left(line.text.indexOf('='));
            while (!prefix.isEmpty() && IsBlank(prefix.back())) prefix.chop(1);
            line.text = prefix + '=' + valueBytes;
            return;
        }
        qsizetype at = s->end;
        while (at > s->header + 1 && lines_[at - 1].text.trimmed().isEmpty()) --at;
        const QByteArray newline = NewLine();
        if (lines_[at - 1].ending.isEmpty()) lines_[at - 1].ending = newline;
        lines_.insert(at, Line{EncodeText(key) + '=' + valueBytes, newline});
        Reindex();
        return;
    }
    EndLastLine();
    const QByteArray newline = NewLine();
    lines_.append(Line{'[' + EncodeText(section) + ']', newline});
    lines_.append(Line{EncodeText(key) + '=' + valueBytes, newline});
    Reindex();
}

QByteArray IniDocument::ToBytes() const
{
    QByteArray bytes;
    for (const Line &line : lines_) bytes += line.text + line.ending;
    return bytes;
}

bool IniDocument::Save(const QString &file) const
{
    // A file that is there but could not be read is never replaced by what
    // little this document knows.
    if (unreadable_) return false;
    return WriteWholeFile(file, ToBytes());
}

bool WriteWholeFile(const QString &file, const QByteArray &bytes)
{
    if (!QDir().mkpath(QFileInfo(file).absolutePath())) return false;
    QSaveFile out(file);
    // Unbuffered, so that a write the disk cuts short is seen here and the
    // old file stays.
    if (!out.open(QIODevice::WriteOnly | QIODevice::Unbuffered)) return false;
    if (out.write(bytes) != bytes.size()) {
        out.cancelWriting();
        return false;
    }
    return out.commit();
}

QString ReadIni(const QString &section, const QString &key, const QString &file,
                const QString &defaultValue)
{
    return IniDocument::Load(file).Get(section, key, defaultValue);
}

void WriteIni(const QString &section, const QString &key, const QString &value,
              const QString &file)
{
    IniDocument doc = IniDocument::Load(file);
    doc.Set(section, key, value);
    doc.Save(file);
}
