#include "config/file_association.h"

#include "config/ini_file.h"
#include "config/registry.h"
#include "config/startup.h"
#include "base/text_encoding.h"

#include <QFile>
#include <QFileInfo>
#include <QList>
#include <QProcess>
#include <QStandardPaths>

#include <utility>

namespace {

const QLatin1String kMimePackageName("io.github.arcavera.Arcavera.xml");
const QLatin1String kThemeIcon("icons/hicolor/scalable/apps/io.github.arcavera.Arcavera.svg");
// What earlier versions wrote, taken away by writing and removing alike.
const QLatin1String kFormerDesktopEntryName("arcavera.desktop");
const QLatin1String kFormerMimePackageName("arcavera-mpq.xml");
const QByteArray kDefaultsSection("[Default Applications]");
constexpr int kMimeUpdateTimeLimitMs = 30000;

QByteArray Latin1(QLatin1String text)
{
    return QByteArray(text.data(), text.size());
}

// A file built into the program: the installed desktop entry and MIME package.
QByteArray BuiltIn(QLatin1String name)
{
    QFile file(QLatin1String(":/desktop/") + name);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QString InFolder(const QString &folder, const QString &name)
{
    return folder.endsWith(u'/') ? folder + name : folder + u'/' + name;
}

// ---- Desktop entry values ----

// A value of type string: backslash and control characters escaped, and a
// leading blank kept.
QString DesktopString(const QString &text)
{
    QString escaped;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        if (c == u'\\') escaped += QLatin1String("\\\\");
        else if (c == u'\n') escaped += QLatin1String("\\n");
        else if (c == u'\r') escaped += QLatin1String("\\r");
        else if (c == u'\t') escaped += QLatin1String("\\t");
        else if (c == u' ' && i == 0) escaped += QLatin1String("\\s");
        else escaped += c;
    }
    return escaped;
}

// One argument of an Exec line: quoted when it holds a reserved character,
// with ", `, $ and \ escaped inside the quotes; a literal % is doubled.
QString ExecArgument(const QString &argument)
{
    static const QString reserved = QStringLiteral(" \t\n\"'\\><~|&;$*?#()`");
    bool quote = argument.isEmpty();
    for (const QChar c : argument)
        if (reserved.contains(c)) quote = true;
    QString result;
    if (quote) result += u'"';
    for (const QChar c : argument) {
        if (quote && (c == u'"' || c == u'`' || c == u'$' || c == u'\\')) result += u'\\';
        if (c == u'%') result += u'%';
        result += c;
    }
    if (quote) result += u'"';
    return result;
}

// The installed desktop entry with the executable's full path in its Exec
// line, the field codes kept, and `icon` in its Icon line unless empty.
QByteArray DesktopEntry(const QString &executable, const QString &icon)
{
    QList<QByteArray> lines = BuiltIn(kDesktopEntryName).split('\n');
    for (QByteArray &line : lines) {
        if (line.startsWith("Exec=")) {
            const qsizetype codes = line.indexOf(' ');
            line = "Exec=" + EncodeText(DesktopString(ExecArgument(executable))) + (codes < 0 ? QByteArray() : line.mid(codes));
        } else if (line.startsWith("Icon=") && !icon.isEmpty()) {
            line = "Icon=" + EncodeText(DesktopString(icon));
        }
    }
    return lines.join('\n');
}

// The types of the MIME package, as the desktop entry's MimeType line names them.
QList<QByteArray> MimeTypes()
{
    for (const QByteArray &line : BuiltIn(kDesktopEntryName).split('\n'))
        if (line.startsWith("MimeType=")) {
            QList<QByteArray> types = line.mid(9).trimmed().split(';');
            types.removeAll(QByteArray());
            return types;
        }
    return {};
}

// ---- Files ----

void UpdateMimeDatabase(const QString &mimeFolder)
{
    const QString program = QStandardPaths::findExecutable(QStringLiteral("update-mime-database"));
    if (program.isEmpty()) return;
    QProcess process;
    process.setStandardOutputFile(QProcess::nullDevice());
    process.setStandardErrorFile(QProcess::nullDevice());
    process.start(program, {mimeFolder});
    if (!process.waitForStarted()) return;
    if (!process.waitForFinished(kMimeUpdateTimeLimitMs)) {
        process.kill();
        process.waitForFinished();
    }
}

// ---- mimeapps.list ----

// The lines of a file without their "\n"; a "\r" before it stays part of the
// line, so that lines nobody touches are written back byte for byte.
struct Lines {
    QList<QByteArray> lines;
    bool endsWithNewline = true;

    static Lines Of(const QByteArray &bytes)
    {
        Lines result;
        if (bytes.isEmpty()) return result;
        result.lines = bytes.split('\n');
        result.endsWithNewline = bytes.endsWith('\n');
        if (result.endsWithNewline) result.lines.removeLast();
        return result;
    }

    QByteArray Bytes() const
    {
        QByteArray bytes = lines.join('\n');
        if (!lines.isEmpty() && endsWithNewline) bytes += '\n';
        return bytes;
    }
};

qsizetype DefaultsSection(const Lines &file)
{
    for (qsizetype i = 0; i < file.lines.size(); ++i)
        if (file.lines[i].trimmed() == kDefaultsSection) return i;
    return -1;
}

qsizetype SectionEnd(const Lines &file, qsizetype header)
{
    qsizetype end = header + 1;
    while (end < file.lines.size() && !file.lines[end].trimmed().startsWith('[')) ++end;
    return end;
}

QByteArray KeyOf(const QByteArray &line)
{
    const qsizetype eq = line.indexOf('=');
    return eq > 0 ? line.left(eq).trimmed() : QByteArray();
}

// The file with Arcavera as the default application for each of `types`:
// the first line for a type in the section replaced, later ones dropped, or
// a line added at the end of the section (before its closing blank lines),
// or the section added at the end.
QByteArray WithDefaultApplication(const QByteArray &bytes, const QList<QByteArray> &types)
{
    Lines file = Lines::Of(bytes);
    file.endsWithNewline = true;
    qsizetype header = DefaultsSection(file);
    if (header < 0) {
        if (!file.lines.isEmpty() && !file.lines.last().trimmed().isEmpty()) file.lines.append(QByteArray());
        header = file.lines.size();
        file.lines.append(kDefaultsSection);
    }
    const QByteArray lineEnd = file.lines[header].endsWith('\r') ? "\r" : "";
    for (const QByteArray &type : types) {
        const QByteArray ours = type + '=' + Latin1(kDesktopEntryName) + lineEnd;
        bool placed = false;
        qsizetype end = SectionEnd(file, header);
        for (qsizetype i = header + 1; i < end;) {
            if (KeyOf(file.lines[i]) != type) {
                ++i;
            } else if (!placed) {
                file.lines[i++] = ours;
                placed = true;
            } else {
                file.lines.removeAt(i);
                --end;
            }
        }
        if (!placed) {
            qsizetype at = end;
            while (at > header + 1 && file.lines[at - 1].trimmed().isEmpty()) --at;
            file.lines.insert(at, ours);
        }
    }
    return file.Bytes();
}

// The file without the lines that make Arcavera, under this or its former
// entry's name, the default application for one of `types`; a line that
// names another application stays.
QByteArray WithoutDefaultApplication(const QByteArray &bytes, const QList<QByteArray> &types)
{
    Lines file = Lines::Of(bytes);
    const qsizetype header = DefaultsSection(file);
    if (header < 0) return bytes;
    qsizetype end = SectionEnd(file, header);
    for (qsizetype i = header + 1; i < end;) {
        const QByteArray &line = file.lines[i];
        QByteArray value = line.mid(line.indexOf('=') + 1).trimmed();
        while (value.endsWith(';')) value.chop(1);
        if (types.contains(KeyOf(line)) &&
            (value == Latin1(kDesktopEntryName) || value == Latin1(kFormerDesktopEntryName))) {
            file.lines.removeAt(i);
            --end;
        } else {
            ++i;
        }
    }
    return file.Bytes();
}

std::pair<bool, QByteArray> ReadWholeFile(const QString &file)
{
    QFile in(file);
    if (!in.open(QIODevice::ReadOnly)) return {false, {}};
    return {true, in.readAll()};
}

QString MimeAppsList()
{
    const QString config = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
    return config.isEmpty() ? QString() : InFolder(config, QStringLiteral("mimeapps.list"));
}

QString DataHome()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
}

// Removes the desktop entries named and the MIME packages named; true when a
// package was removed.
bool RemoveFromDataHome(const QString &data, const QList<QLatin1String> &entries, const QList<QLatin1String> &packages)
{
    for (const QLatin1String &entry : entries) QFile::remove(InFolder(data, QStringLiteral("applications/")) + entry);
    bool removed = false;
    for (const QLatin1String &package : packages) {
        const QString path = InFolder(data, QStringLiteral("mime/packages/")) + package;
        if (QFileInfo::exists(path) && QFile::remove(path)) removed = true;
    }
    return removed;
}

void RegisterWithDesktop(const QString &executable, const QString &icon)
{
    const QString data = DataHome();
    // The program's icon where an icon theme has it, else the file.
    const QString entryIcon = QStandardPaths::locate(QStandardPaths::GenericDataLocation, kThemeIcon).isEmpty() ? icon : QString();
    if (data.isEmpty() ||
        !WriteWholeFile(InFolder(data, QStringLiteral("applications/")) + kDesktopEntryName, DesktopEntry(executable, entryIcon)))
        return;
    RemoveFromDataHome(data, {kFormerDesktopEntryName}, {kFormerMimePackageName});
    const QString mime = InFolder(data, QStringLiteral("mime"));
    if (WriteWholeFile(InFolder(mime, QStringLiteral("packages/")) + kMimePackageName, BuiltIn(kMimePackageName)))
        UpdateMimeDatabase(mime);
    const QString list = MimeAppsList();
    if (list.isEmpty()) return;
    const auto [exists, before] = ReadWholeFile(list);
    // A list that is there but cannot be read is not replaced.
    if (!exists && QFileInfo::exists(list)) return;
    const QByteArray after = WithDefaultApplication(before, MimeTypes());
    if (!exists || after != before) WriteWholeFile(list, after);
}

void UnregisterFromDesktop()
{
    const QString data = DataHome();
    if (!data.isEmpty() && RemoveFromDataHome(data, {kDesktopEntryName, kFormerDesktopEntryName},
                                              {kMimePackageName, kFormerMimePackageName}))
        UpdateMimeDatabase(InFolder(data, QStringLiteral("mime")));
    const QString list = MimeAppsList();
    if (list.isEmpty()) return;
    const auto [exists, before] = ReadWholeFile(list);
    if (!exists) return;
    const QByteArray after = WithoutDefaultApplication(before, MimeTypes());
    if (after != before) WriteWholeFile(list, after);
}

}  // namespace

QString AssociationIconPath(const QString &programFolder)
{
    // An installed program keeps the icon in its data folder.
    const QString installed = ProgramDataPath(programFolder, QStringLiteral("MPQFile.ico"));
    return installed.isEmpty() ? InFolder(programFolder, QStringLiteral("MPQFile.ico")) : installed;
}

QString AssociationOpenCommand(const QString &programFolder, const QString &executableName)
{
    return u'"' + InFolder(programFolder, executableName) + QLatin1String("\" \"%1\"");
}

void WriteAssociation(const QString &programFolder, const QString &executableName)
{
    const QList<std::pair<QString, QString>> steps = {
        {QStringLiteral("HKEY_CLASSES_ROOT\\.mpq\\"), QStringLiteral("Mpq.Archive")},
        {QStringLiteral("HKEY_CLASSES_ROOT\\.mpq\\ShellNew\\"), QString()},
        {QStringLiteral("HKEY_CLASSES_ROOT\\.mpq\\ShellNew\\NullFile"), QString()},
        {QStringLiteral("HKEY_CLASSES_ROOT\\Mpq.Archive\\"), QStringLiteral("MPQ Archive")},
        {QStringLiteral("HKEY_CLASSES_ROOT\\Mpq.Archive\\DefaultIcon\\"), AssociationIconPath(programFolder)},
        {QStringLiteral("HKEY_CLASSES_ROOT\\Mpq.Archive\\shell\\"), QString()},
        {QStringLiteral("HKEY_CLASSES_ROOT\\Mpq.Archive\\shell\\open\\"), QString()},
        {QStringLiteral("HKEY_CLASSES_ROOT\\Mpq.Archive\\shell\\open\\command\\"),
         AssociationOpenCommand(programFolder, executableName)},
    };
    for (const auto &[key, value] : steps) WriteRegistry(key, value, QString());
    RegisterWithDesktop(InFolder(programFolder, executableName), AssociationIconPath(programFolder));
}

void RemoveAssociation()
{
    static const char *const keys[] = {
        "HKEY_CLASSES_ROOT\\.mpq\\ShellNew\\NullFile",
        "HKEY_CLASSES_ROOT\\.mpq\\ShellNew\\",
        "HKEY_CLASSES_ROOT\\.mpq\\",
        "HKEY_CLASSES_ROOT\\Mpq.Archive\\shell\\open\\command\\",
        "HKEY_CLASSES_ROOT\\Mpq.Archive\\shell\\open\\",
        "HKEY_CLASSES_ROOT\\Mpq.Archive\\shell\\",
        "HKEY_CLASSES_ROOT\\Mpq.Archive\\DefaultIcon\\",
        "HKEY_CLASSES_ROOT\\Mpq.Archive\\",
    };
    for (const char *key : keys) DeleteRegistry(QString::fromLatin1(key));
    UnregisterFromDesktop();
}
