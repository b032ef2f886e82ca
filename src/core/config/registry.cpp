#include "config/registry.h"

#include "config/ini_file.h"
#include "base/text_encoding.h"

#include <QFile>
#include <QFileInfo>
#include <QList>
#include <QMimeDatabase>
#include <QMimeType>
#include <QStringList>

#include <optional>
#include <utility>

namespace {

const QLatin1String kClassesRoot("HKEY_CLASSES_ROOT");
const QByteArray kHeader("Windows Registry Editor Version 5.00");

QString &StorePath()
{
    static QString path;
    return path;
}

enum class ValueKind { Text, ExpandText, Dword };

struct RegValue {
    QString name;  // empty for the key's default value
    ValueKind kind = ValueKind::Text;
    QString text;
    quint32 number = 0;
};

struct RegKey {
    QString path;    // hive and subkeys as first written, joined by backslashes
    QString folded;  // the same, case folded, for comparisons
    QList<RegValue> values;
};

// A path taken apart: the key (hive first) and, for a value, its name.
struct RegPath {
    QStringList key;
    bool namesKey = false;
    QString valueName;
};

std::optional<QString> CanonicalHive(const QString &name)
{
    static const QList<std::pair<QLatin1String, QLatin1String>> hives = {
        {QLatin1String("HKEY_CLASSES_ROOT"), QLatin1String("HKCR")},
        {QLatin1String("HKEY_CURRENT_USER"), QLatin1String("HKCU")},
        {QLatin1String("HKEY_LOCAL_MACHINE"), QLatin1String("HKLM")},
        {QLatin1String("HKEY_USERS"), QLatin1String()},
        {QLatin1String("HKEY_CURRENT_CONFIG"), QLatin1String()},
    };
    for (const auto &[full, brief] : hives) {
        if (name.compare(full, Qt::CaseInsensitive) == 0) return QString(full);
        if (!brief.isEmpty() && name.compare(brief, Qt::CaseInsensitive) == 0) return QString(full);
    }
    return std::nullopt;
}

// The hive and the subkeys of a key path without its closing backslash.
std::optional<QStringList> KeyComponents(const QString &text)
{
    QStringList parts = text.split(u'\\');
    if (parts.size() < 2) return std::nullopt;
    for (const QString &part : parts)
        if (part.isEmpty()) return std::nullopt;
    const std::optional<QString> hive = CanonicalHive(parts.front());
    if (!hive) return std::nullopt;
    parts.front() = *hive;
    return parts;
}

std::optional<RegPath> ParsePath(const QString &path)
{
    RegPath parsed;
    QString keyText = path;
    if (path.endsWith(u'\\')) {
        parsed.namesKey = true;
        keyText.chop(1);
    } else {
        const qsizetype last = path.lastIndexOf(u'\\');
        if (last < 0) return std::nullopt;
        parsed.valueName = path.mid(last + 1);
        keyText = path.left(last);
    }
    const std::optional<QStringList> key = KeyComponents(keyText);
    if (!key) return std::nullopt;
    parsed.key = *key;
    return parsed;
}

std::optional<ValueKind> KindOfType(const QString &type)
{
    const QString name = type.trimmed().toUpper();
    if (name.isEmpty() || name == QLatin1String("REG_SZ")) return ValueKind::Text;
    if (name == QLatin1String("REG_EXPAND_SZ")) return ValueKind::ExpandText;
    if (name == QLatin1String("REG_DWORD")) return ValueKind::Dword;
    return std::nullopt;
}

QString ValueText(const RegValue &value)
{
    return value.kind == ValueKind::Dword ? QString::number(value.number) : value.text;
}

// ---- The .reg text form ----

QByteArray Quoted(const QString &text)
{
    QString escaped;
    escaped.reserve(text.size() + 2);
    escaped += u'"';
    for (const QChar c : text) {
        if (c == u'\\' || c == u'"') escaped += u'\\';
        escaped += c;
    }
    escaped += u'"';
    return EncodeText(escaped);
}

// Text as UTF-16 bytes with a closing NUL, in the "hex(n):" notation.
QByteArray HexText(int type, const QString &text)
{
    QByteArray bytes;
    for (const QChar c : text + QChar(0)) {
        bytes += QByteArray::number(c.unicode() & 0xFF, 16).rightJustified(2, '0') + ',';
        bytes += QByteArray::number(c.unicode() >> 8, 16).rightJustified(2, '0') + ',';
    }
    bytes.chop(1);
    return "hex(" + QByteArray::number(type) + "):" + bytes;
}

QByteArray ValueLine(const RegValue &value)
{
    QByteArray line = value.name.isEmpty() ? QByteArray("@") : Quoted(value.name);
    line += '=';
    switch (value.kind) {
    case ValueKind::Dword:
        line += "dword:" + QByteArray::number(value.number, 16).rightJustified(8, '0');
        break;
    case ValueKind::ExpandText:
        line += HexText(2, value.text);
        break;
    case ValueKind::Text:
        if (value.text.contains(u'\n') || value.text.contains(u'\r')) line += HexText(1, value.text);
        else line += Quoted(value.text);
        break;
    }
    return line;
}

// Reads a double-quoted string that starts at `at`; `at` moves past its
// closing quote. Nothing when the string is not closed.
std::optional<QString> ReadQuoted(const QString &line, qsizetype &at)
{
    if (at >= line.size() || line[at] != u'"') return std::nullopt;
    QString text;
    for (qsizetype i = at + 1; i < line.size(); ++i) {
        const QChar c = line[i];
        if (c == u'"') {
            at = i + 1;
            return text;
        }
        if (c == u'\\' && i + 1 < line.size() && (line[i + 1] == u'\\' || line[i + 1] == u'"')) {
            text += line[++i];
            continue;
        }
        text += c;
    }
    return std::nullopt;
}

// "xx,xx,..." as UTF-16 text, closing NULs dropped.
std::optional<QString> ParseHexText(const QString &data)
{
    QByteArray bytes;
    for (const QString &field : data.split(u',', Qt::SkipEmptyParts)) {
        bool ok = false;
        const uint byte = field.trimmed().toUInt(&ok, 16);
        if (!ok || byte > 0xFF) return std::nullopt;
        bytes += static_cast<char>(byte);
    }
    QString text;
    for (qsizetype i = 0; i + 1 < bytes.size(); i += 2)
        text += QChar(static_cast<char16_t>(static_cast<uchar>(bytes[i]) |
                                            (static_cast<uchar>(bytes[i + 1]) << 8)));
    while (text.endsWith(QChar(0))) text.chop(1);
    return text;
}

// One "name=data" line (continuations already joined); nothing when it is
// not one this store reads.
std::optional<RegValue> ParseValueLine(const QString &line)
{
    RegValue value;
    qsizetype at = 0;
    if (line.startsWith(u'@')) {
        at = 1;
    } else {
        const std::optional<QString> name = ReadQuoted(line, at);
        if (!name) return std::nullopt;
        value.name = *name;
    }
    const QString rest = line.mid(at).trimmed();
    if (!rest.startsWith(u'=')) return std::nullopt;
    const QString data = rest.mid(1).trimmed();
    if (data.startsWith(u'"')) {
        qsizetype end = 0;
        const std::optional<QString> text = ReadQuoted(data, end);
        if (!text || !data.mid(end).trimmed().isEmpty()) return std::nullopt;
        value.text = *text;
        return value;
    }
    const QString lower = data.toLower();
    if (lower.startsWith(QLatin1String("dword:"))) {
        const QString digits = data.mid(6).trimmed();
        bool ok = false;
        const qulonglong number = digits.toULongLong(&ok, 16);
        if (!ok || digits.size() > 8) return std::nullopt;
        value.kind = ValueKind::Dword;
        value.number = static_cast<quint32>(number);
        return value;
    }
    for (const auto &[prefix, kind] : {std::pair{QLatin1String("hex(1):"), ValueKind::Text},
                                       std::pair{QLatin1String("hex(2):"), ValueKind::ExpandText}}) {
        if (!lower.startsWith(prefix)) continue;
        const std::optional<QString> text = ParseHexText(data.mid(prefix.size()));
        if (!text) return std::nullopt;
        value.kind = kind;
        value.text = *text;
        return value;
    }
    return std::nullopt;
}

QString DecodeStore(const QByteArray &bytes)
{
    if (bytes.startsWith("\xFF\xFE")) {
        const QByteArray body = bytes.mid(2);
        QString text;
        for (qsizetype i = 0; i + 1 < body.size(); i += 2)
            text += QChar(static_cast<char16_t>(static_cast<uchar>(body[i]) |
                                                (static_cast<uchar>(body[i + 1]) << 8)));
        return text;
    }
    if (bytes.startsWith("\xEF\xBB\xBF")) return DecodeBytes(bytes.mid(3));
    return DecodeBytes(bytes);
}

// ---- The store ----

class Store
{
public:
    // The store in the file; an empty one when the file does not exist, and
    // nothing when it exists but cannot be read.
    static std::optional<Store> Load(const QString &file)
    {
        Store store;
        if (!QFileInfo::exists(file)) return store;
        QFile in(file);
        if (!in.open(QIODevice::ReadOnly)) return std::nullopt;
        const QByteArray bytes = in.readAll();
        if (in.error() != QFileDevice::NoError) return std::nullopt;
        store.Parse(DecodeStore(bytes));
        return store;
    }

    bool Save(const QString &file) const { return WriteWholeFile(file, ToBytes()); }

    const RegValue *FindValue(const QStringList &key, const QString &name) const
    {
        const qsizetype k = IndexOf(key.join(u'\\'));
        if (k < 0) return nullptr;
        const qsizetype v = ValueIndex(keys_[k], name);
        return v < 0 ? nullptr : &keys_[k].values[v];
    }

    void SetValue(const QStringList &key, const RegValue &value)
    {
        RegKey &target = keys_[Ensure(key)];
        const qsizetype v = ValueIndex(target, value.name);
        if (v < 0) {
            target.values.append(value);
        } else {
            RegValue &old = target.values[v];
            old.kind = value.kind;
            old.text = value.text;
            old.number = value.number;
        }
    }

    // False when there was no such value.
    bool RemoveValue(const QStringList &key, const QString &name)
    {
        const qsizetype k = IndexOf(key.join(u'\\'));
        if (k < 0) return false;
        const qsizetype v = ValueIndex(keys_[k], name);
        if (v < 0) return false;
        keys_[k].values.removeAt(v);
        return true;
    }

    // False when there was no such key, or it holds subkeys.
    bool RemoveKey(const QStringList &key)
    {
        const qsizetype k = IndexOf(key.join(u'\\'));
        if (k < 0) return false;
        const QString prefix = keys_[k].folded + u'\\';
        for (const RegKey &other : keys_)
            if (other.folded.startsWith(prefix)) return false;
        keys_.removeAt(k);
        return true;
    }

private:
    qsizetype IndexOf(const QString &path) const
    {
        const QString folded = path.toCaseFolded();
        for (qsizetype i = 0; i < keys_.size(); ++i)
            if (keys_[i].folded == folded) return i;
        return -1;
    }

    static qsizetype ValueIndex(const RegKey &key, const QString &name)
    {
        const QString folded = name.toCaseFolded();
        for (qsizetype i = 0; i < key.values.size(); ++i)
            if (key.values[i].name.toCaseFolded() == folded) return i;
        return -1;
    }

    // The index of the key, made with the parents it lacks.
    qsizetype Ensure(const QStringList &key)
    {
        qsizetype index = -1;
        for (qsizetype depth = 2; depth <= key.size(); ++depth) {
            const QString path = key.first(depth).join(u'\\');
            index = IndexOf(path);
            if (index < 0) {
                keys_.append(RegKey{path, path.toCaseFolded(), {}});
                index = keys_.size() - 1;
            }
        }
        return index;
    }

    void Parse(const QString &text)
    {
        const QStringList lines = text.split(u'\n');
        qsizetype section = -1;  // none before the first valid section
        for (qsizetype i = 0; i < lines.size(); ++i) {
            QString line = lines[i].trimmed();
            if (line.isEmpty() || line.startsWith(u';')) continue;
            if (line.startsWith(u'[')) {
                section = -1;
                if (!line.endsWith(u']')) continue;
                const std::optional<QStringList> key = KeyComponents(line.mid(1, line.size() - 2));
                if (key) section = Ensure(*key);
                continue;
            }
            // Long hex data goes on over lines that end in a backslash.
            if (line.contains(QLatin1String("=hex"), Qt::CaseInsensitive)) {
                while (line.endsWith(u'\\') && i + 1 < lines.size()) {
                    line.chop(1);
                    line += lines[++i].trimmed();
                }
            }
            if (section < 0) continue;
            if (const std::optional<RegValue> value = ParseValueLine(line)) {
                RegKey &key = keys_[section];
                const qsizetype v = ValueIndex(key, value->name);
                if (v < 0) key.values.append(*value);
                else key.values[v] = *value;
            }
        }
    }

    QByteArray ToBytes() const
    {
        QByteArray bytes = kHeader + "\r\n";
        for (const RegKey &key : keys_) {
            bytes += "\r\n[" + EncodeText(key.path) + "]\r\n";
            // The default value comes first, as in an export.
            for (const RegValue &value : key.values)
                if (value.name.isEmpty()) bytes += ValueLine(value) + "\r\n";
            for (const RegValue &value : key.values)
                if (!value.name.isEmpty()) bytes += ValueLine(value) + "\r\n";
        }
        return bytes;
    }

    QList<RegKey> keys_;
};

// What the MIME database says for the one subkey of HKEY_CLASSES_ROOT: the
// type of an extension (".txt"), or the description of a type ("text/plain").
QString FromMimeDatabase(const QString &name)
{
    const QMimeDatabase database;
    if (name.startsWith(u'.')) {
        const QString extension = name.mid(1);
        if (extension.isEmpty() || extension.contains(u'/')) return QString();
        const QMimeType type =
            database.mimeTypeForFile(QLatin1String("x.") + extension, QMimeDatabase::MatchExtension);
        return type.isValid() && !type.isDefault() ? type.name() : QString();
    }
    QMimeType type = database.mimeTypeForName(name);
    if (!type.isValid()) type = database.mimeTypeForName(name.toLower());
    return type.isValid() ? type.comment() : QString();
}

}  // namespace

void SetRegistryStorePath(const QString &path)
{
    StorePath() = path;
}

QString RegistryStorePath()
{
    return StorePath();
}

bool WriteRegistry(const QString &key, const QString &value, const QString &type)
{
    const std::optional<RegPath> path = ParsePath(key);
    const std::optional<ValueKind> kind = KindOfType(type);
    if (!path || !kind || StorePath().isEmpty()) return false;
    RegValue stored;
    stored.name = path->valueName;
    stored.kind = *kind;
    if (*kind == ValueKind::Dword) {
        bool ok = false;
        const qulonglong number = value.trimmed().toULongLong(&ok, 10);
        if (!ok || number > 0xFFFFFFFFull) return false;
        stored.number = static_cast<quint32>(number);
    } else {
        stored.text = value;
    }
    std::optional<Store> store = Store::Load(StorePath());
    if (!store) return false;
    store->SetValue(path->key, stored);
    return store->Save(StorePath());
}

QString ReadRegistry(const QString &key)
{
    const std::optional<RegPath> path = ParsePath(key);
    if (!path) return QString();
    if (!StorePath().isEmpty()) {
        if (const std::optional<Store> store = Store::Load(StorePath())) {
            if (const RegValue *value = store->FindValue(path->key, path->valueName))
                return ValueText(*value);
        }
    }
    if (path->namesKey && path->key.size() == 2 && path->key.front() == kClassesRoot)
        return FromMimeDatabase(path->key.back());
    return QString();
}

void DeleteRegistry(const QString &key)
{
    const std::optional<RegPath> path = ParsePath(key);
    if (!path || StorePath().isEmpty()) return;
    std::optional<Store> store = Store::Load(StorePath());
    if (!store) return;
    const bool changed = path->namesKey ? store->RemoveKey(path->key)
                                        : store->RemoveValue(path->key, path->valueName);
    if (changed) store->Save(StorePath());
}
