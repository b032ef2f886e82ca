// The dialogs of the window: QFileDialog, QMessageBox and QInputDialog
// behind the DialogProvider of dialogs.h.
//
// File dialogs are Qt's own (not the desktop's native ones), so that every
// desktop shows the filter descriptions exactly as written. They open in the
// current folder of the process. Message and input boxes without a title of
// their own carry the program's name.
//
// The Make... functions build a dialog ready to run, without running it.
#pragma once

#include <QFileDialog>
#include <QInputDialog>
#include <QMessageBox>

#include <memory>

#include "dialogs/dialogs.h"
#include "editing/helpers/shell_open.h"

class QWidget;

inline const QString kProgramName = QStringLiteral("Arcavera");

enum class FileDialogKind { OpenOne, OpenMany, Save, Folder };

// The window an owner stands for: the owner or its nearest widget parent,
// else the active window; nullptr when there is none.
QWidget *OwnerWindow(QObject *owner);

std::unique_ptr<QFileDialog> MakeFileDialog(QWidget *parent, FileDialogKind kind,
                                            const QString &title,
                                            const QStringList &nameFilters,
                                            const QString &initialName);
std::unique_ptr<QMessageBox> MakeMessageBox(QWidget *parent, const QString &text,
                                            const QString &title, MessageButtons buttons,
                                            MessageIcon icon, MessageButton defaultButton);
// The button that closed the box; EscapeAnswer of its buttons if none did.
MessageButton PressedButton(const QMessageBox &box);
std::unique_ptr<QInputDialog> MakeInputDialog(QWidget *parent, const QString &prompt,
                                              const QString &title, const QString &defaultText);

class QtDialogProvider final : public DialogProvider {
public:
    QString ChooseOpenFile(QObject *owner, const QString &title, const QStringList &nameFilters,
                           const QString &initialName) override;
    QStringList ChooseOpenFiles(QObject *owner, const QString &title,
                                const QStringList &nameFilters,
                                const QString &initialName) override;
    QString ChooseSaveFile(QObject *owner, const QString &title,
                           const QStringList &nameFilters) override;
    QString ChooseFolder(QObject *owner, const QString &title) override;
    MessageButton Message(QObject *owner, const QString &text, const QString &title,
                          MessageButtons buttons, MessageIcon icon,
                          MessageButton defaultButton) override;
    InputAnswer Input(QObject *owner, const QString &prompt, const QString &title,
                      const QString &defaultText) override;
    NewArchiveChoice ChooseNewArchive(QObject *owner, const NewArchiveChoice &preset) override;
};

// Installs one QtDialogProvider for the life of the process, and the
// desktop's opener of files and addresses.
void InstallQtDialogs();

// The desktop's opener (shell_open.h). A local file goes to xdg-open, as
// Qt's own openUrl sends it too; but openUrl answers true once xdg-open has
// started, while xdg-open's end tells whether a program took the file: it
// exits 3 when the desktop knows no program for the file's type, 4 when the
// desktop's own opener failed, and both say "no program". Its end comes
// through a signal, the window never waits for it; a desktop without an
// opener of its own has xdg-open run the program and end with it. Without
// xdg-open, and for other addresses, Qt's openUrl decides, its false saying
// "no program".
void OpenOnDesktop(const QUrl &url, const NoProgram &noProgram);
