#include "dialogs/dialogs.h"

#include <QDir>

namespace {

DialogProvider *g_provider = nullptr;

const QChar kNul = QChar(0);

// Patterns of the filter's platform ("*.mpq;*.exe") as dialog patterns.
QString DialogPatterns(const QString &patterns)
{
    QStringList out;
    for (const QString &raw : patterns.split(u';', Qt::SkipEmptyParts)) {
        const QString pattern = raw.trimmed();
        if (pattern.isEmpty()) continue;
        out.append(pattern == QLatin1String("*.*") ? QStringLiteral("*") : pattern);
    }
    return out.join(u' ');
}

QString Absolute(const QString &path)
{
    return !path.isEmpty() && QDir::isRelativePath(path) ? QDir::current().absoluteFilePath(path) : path;
}

// The folder of a full path, without a closing "/" unless it is the root.
QString FolderOf(const QString &path)
{
    const qsizetype slash = path.lastIndexOf(u'/');
    return slash == 0 ? QStringLiteral("/") : path.left(slash);
}

QString WithoutClosingSlashes(const QString &path)
{
    QString out = path;
    while (out.size() > 1 && out.endsWith(u'/')) out.chop(1);
    return out;
}

// Several chosen files as folder, NUL, names; empty if they span folders.
QString JoinSelection(const QStringList &chosen)
{
    if (chosen.isEmpty()) return QString();
    if (chosen.size() == 1) return Absolute(chosen.front());

    QString folder;
    QString result;
    for (const QString &entry : chosen) {
        const QString path = Absolute(entry);
        const QString own = FolderOf(path);
        const QString name = path.mid(path.lastIndexOf(u'/') + 1);
        if (name.isEmpty()) return QString();
        if (result.isEmpty()) {
            folder = own;
            result = folder;
        } else if (own != folder) {
            return QString();
        }
        result += kNul;
        result += name;
    }
    return result;
}

// The next dialog opens where this one ended: in the folder of a chosen
// file, or in a chosen folder.
QString MovedTo(const QString &folder, const QString &result)
{
    if (!result.isEmpty()) QDir::setCurrent(folder);
    return result;
}

}  // namespace

DialogProvider::~DialogProvider() = default;

DialogProvider *SetDialogProvider(DialogProvider *provider)
{
    DialogProvider *previous = g_provider;
    g_provider = provider;
    return previous;
}

DialogProvider *CurrentDialogProvider() { return g_provider; }

MessageButton EscapeAnswer(MessageButtons buttons)
{
    for (MessageButton b : {MessageButton::Cancel, MessageButton::No, MessageButton::OK,
                            MessageButton::Yes})
        if (buttons.testFlag(b)) return b;
    return MessageButton::OK;
}

QStringList NameFiltersFromFilter(const QString &filter)
{
    QStringList result;
    if (filter.isEmpty()) return result;
    const QStringList parts = filter.split(kNul);
    for (qsizetype i = 0; i + 1 < parts.size(); i += 2) {
        const QString patterns = DialogPatterns(parts[i + 1]);
        if (patterns.isEmpty()) continue;
        const QString description = parts[i].isEmpty() ? parts[i + 1] : parts[i];
        result.append(description + QStringLiteral(" (") + patterns + u')');
    }
    return result;
}

QString OpenFileDialog(QObject *owner, const QString &title, const QString &filter,
                       const QString &initialName, bool multiSelect)
{
    if (!g_provider) return QString();
    const QStringList nameFilters = NameFiltersFromFilter(filter);
    if (!multiSelect) {
        const QString chosen = Absolute(g_provider->ChooseOpenFile(owner, title, nameFilters, initialName));
        return MovedTo(FolderOf(chosen), chosen);
    }
    const QString chosen = JoinSelection(g_provider->ChooseOpenFiles(owner, title, nameFilters, initialName));
    return MovedTo(chosen.contains(kNul) ? chosen.section(kNul, 0, 0) : FolderOf(chosen), chosen);
}

QString SaveFileDialog(QObject *owner, const QString &title, const QString &filter)
{
    if (!g_provider) return QString();
    const QString chosen = Absolute(g_provider->ChooseSaveFile(owner, title, NameFiltersFromFilter(filter)));
    return MovedTo(FolderOf(chosen), chosen);
}

QString BrowseForFolder(QObject *owner, const QString &title, bool returnPath)
{
    if (!g_provider) return QString();
    const QString chosen = g_provider->ChooseFolder(owner, title);
    if (chosen.isEmpty()) return QString();
    const QString path = WithoutClosingSlashes(Absolute(chosen));
    MovedTo(path, path);
    if (returnPath || path == QLatin1String("/")) return path;
    return path.mid(path.lastIndexOf(u'/') + 1);
}

MessageButton ShowMessageBox(QObject *owner, const QString &text, const QString &title,
                             MessageButtons buttons, MessageIcon icon,
                             MessageButton defaultButton)
{
    if (buttons == MessageButtons()) buttons = MessageButton::OK;
    if (!g_provider) return EscapeAnswer(buttons);
    return g_provider->Message(owner, text, title, buttons, icon, defaultButton);
}

InputAnswer ShowInputBox(QObject *owner, const QString &prompt, const QString &title,
                         const QString &defaultText)
{
    if (!g_provider) return InputAnswer{};
    return g_provider->Input(owner, prompt, title, defaultText);
}

NewArchiveChoice AskNewArchive(QObject *owner, const NewArchiveChoice &preset)
{
    if (!g_provider) return NewArchiveChoice{false, preset.format, preset.maxFiles};
    return g_provider->ChooseNewArchive(owner, preset);
}
