// The questions that the program asks the user: file and folder dialogs,
// message boxes and input boxes.
//
// Core routines ask through the free functions below, which hand the
// question to the installed DialogProvider. The window installs the Qt one
// (dialogs_qt.h); tests install a scripted one; with none installed every
// question is answered as if the user had cancelled.
//
// Owners are QObjects so that this file needs no widgets: the provider
// finds the window in them.
#pragma once

#include <QFlags>
#include <QString>
#include <QStringList>

class QObject;

// Dialog titles and the filter of every file, the same in every language.
inline const QString kOpenFileTitle = QStringLiteral("Apri File");
inline const QString kSaveFileTitle = QStringLiteral("Salva File");
inline const QString kAllFilesDescription = QStringLiteral("Titti i files");
inline const QString kAllFilesPattern = QStringLiteral("*.*");
// The filter of one pair: description, NUL, pattern.
inline const QString kAllFilesFilter = QStringLiteral("Titti i files\0*.*");

enum class MessageButton {
    None = 0x0,
    OK = 0x1,
    Cancel = 0x2,
    Yes = 0x4,
    No = 0x8,
};
Q_DECLARE_FLAGS(MessageButtons, MessageButton)
Q_DECLARE_OPERATORS_FOR_FLAGS(MessageButtons)

enum class MessageIcon { None, Question, Exclamation, Information, Critical };

struct InputAnswer {
    bool accepted = false;  // false after a cancel
    QString text;           // the text typed; empty after a cancel
};

// How a new archive is to be made: its format and the room of its table.
struct NewArchiveChoice {
    bool accepted = false;  // false after a cancel
    int format = 1;         // 1 (WarCraft III and StarCraft maps) or 2 (archives over 4 GiB)
    qint32 maxFiles = 1024;
};

class DialogProvider {
public:
    virtual ~DialogProvider();

    // `nameFilters` come in the form of NameFiltersFromFilter; the dialog
    // opens on the first. Paths are full disk paths; empty means cancelled.
    virtual QString ChooseOpenFile(QObject *owner, const QString &title,
                                   const QStringList &nameFilters, const QString &initialName) = 0;
    // Several existing files of one folder; an empty list means cancelled.
    virtual QStringList ChooseOpenFiles(QObject *owner, const QString &title,
                                        const QStringList &nameFilters,
                                        const QString &initialName) = 0;
    // A file to write; the provider asks before an existing file is
    // overwritten and adds no extension of its own.
    virtual QString ChooseSaveFile(QObject *owner, const QString &title,
                                   const QStringList &nameFilters) = 0;
    // An existing folder; empty means cancelled.
    virtual QString ChooseFolder(QObject *owner, const QString &title) = 0;
    // Shows `text` with `buttons` and `icon`; an empty title stands for the
    // program's name. Returns the button pressed.
    virtual MessageButton Message(QObject *owner, const QString &text, const QString &title,
                                  MessageButtons buttons, MessageIcon icon,
                                  MessageButton defaultButton) = 0;
    // Asks for one line of text, preset with `defaultText`.
    virtual InputAnswer Input(QObject *owner, const QString &prompt, const QString &title,
                              const QString &defaultText) = 0;
    // Asks for the format and table room of a new archive, preset with `preset`.
    virtual NewArchiveChoice ChooseNewArchive(QObject *owner, const NewArchiveChoice &preset) = 0;
};

// Installs `provider` (not owned; nullptr for none) and returns the one it
// replaces.
DialogProvider *SetDialogProvider(DialogProvider *provider);
DialogProvider *CurrentDialogProvider();

// A filter of pairs, "description" NUL "pattern" NUL "description" ..., as
// name filters of a file dialog: each description as written, followed by
// its patterns in parentheses, separated by blanks instead of ";". "*.*"
// becomes "*", since here it must match names without a point as well. A
// description without a pattern behind it is dropped; an empty description
// shows its pattern.
QStringList NameFiltersFromFilter(const QString &filter);

// The three dialogs below open in the process's current folder, and a choice
// moves the current folder to where the user ended: the folder of the chosen
// files, or the chosen folder. A cancel leaves it where it was.
//
// Asks for existing files. The result is empty after a cancel, the full
// path when one file is chosen (with `multiSelect` too), and for several
// files their folder, NUL, the first name, NUL, the second name and so on,
// with no NUL at the end. The folder has no closing "/" unless it is the
// root. Files that do not all lie in one folder cannot take that form and
// give the empty text, as a cancel does.
QString OpenFileDialog(QObject *owner, const QString &title, const QString &filter,
                       const QString &initialName, bool multiSelect);
// Asks for a file to write: its full path, or empty after a cancel.
QString SaveFileDialog(QObject *owner, const QString &title, const QString &filter);
// Asks for a folder: its path without a closing "/" (the root stays "/"),
// or with `returnPath` false its display name, the last part of the path
// ("/" for the root). Empty after a cancel.
QString BrowseForFolder(QObject *owner, const QString &title, bool returnPath);

// The answer that changes nothing: Cancel, else No, else OK, else Yes, as
// far as `buttons` offers them. A box closed without a button gives it.
MessageButton EscapeAnswer(MessageButtons buttons);

// A message box; empty `buttons` means OK alone. With no provider installed
// the answer is EscapeAnswer of the buttons.
MessageButton ShowMessageBox(QObject *owner, const QString &text, const QString &title,
                             MessageButtons buttons, MessageIcon icon,
                             MessageButton defaultButton);
// The new-archive box; with no provider installed it is cancelled.
NewArchiveChoice AskNewArchive(QObject *owner, const NewArchiveChoice &preset);
// An input box; with no provider installed it is cancelled.
InputAnswer ShowInputBox(QObject *owner, const QString &prompt, const QString &title,
                         const QString &defaultText);
