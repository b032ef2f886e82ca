#include "dialogs/dialogs_qt.h"

#include <QApplication>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QSpinBox>

#include <algorithm>
#include <QDesktopServices>
#include <QDir>
#include <QProcess>
#include <QPushButton>
#include <QWidget>

#include "config/catalogue.h"
#include "editing/helpers/shell_open.h"

namespace {

QMessageBox::StandardButton StandardOf(MessageButton button)
{
    switch (button) {
    case MessageButton::OK: return QMessageBox::Ok;
    case MessageButton::Cancel: return QMessageBox::Cancel;
    case MessageButton::Yes: return QMessageBox::Yes;
    case MessageButton::No: return QMessageBox::No;
    case MessageButton::None: break;
    }
    return QMessageBox::NoButton;
}

MessageButton ButtonOf(QMessageBox::StandardButton button)
{
    switch (button) {
    case QMessageBox::Ok: return MessageButton::OK;
    case QMessageBox::Cancel: return MessageButton::Cancel;
    case QMessageBox::Yes: return MessageButton::Yes;
    case QMessageBox::No: return MessageButton::No;
    default: return MessageButton::None;
    }
}

QMessageBox::Icon IconOf(MessageIcon icon)
{
    switch (icon) {
    case MessageIcon::Question: return QMessageBox::Question;
    case MessageIcon::Exclamation: return QMessageBox::Warning;
    case MessageIcon::Information: return QMessageBox::Information;
    case MessageIcon::Critical: return QMessageBox::Critical;
    case MessageIcon::None: break;
    }
    return QMessageBox::NoIcon;
}

QString TitleOrProgramName(const QString &title)
{
    return title.isEmpty() ? kProgramName : title;
}

// Runs a file dialog; its chosen paths, or none after a cancel.
QStringList RunFileDialog(QObject *owner, FileDialogKind kind, const QString &title,
                          const QStringList &nameFilters, const QString &initialName)
{
    const auto dialog = MakeFileDialog(OwnerWindow(owner), kind, title, nameFilters, initialName);
    if (dialog->exec() != QDialog::Accepted) return {};
    return dialog->selectedFiles();
}

QString FirstOrEmpty(const QStringList &paths)
{
    return paths.isEmpty() ? QString() : paths.front();
}

}  // namespace

QWidget *OwnerWindow(QObject *owner)
{
    for (QObject *o = owner; o; o = o->parent())
        if (auto *widget = qobject_cast<QWidget *>(o)) return widget->window();
    return QApplication::activeWindow();
}

std::unique_ptr<QFileDialog> MakeFileDialog(QWidget *parent, FileDialogKind kind,
                                            const QString &title,
                                            const QStringList &nameFilters,
                                            const QString &initialName)
{
    auto dialog = std::make_unique<QFileDialog>(parent, title, QDir::currentPath());
    dialog->setOption(QFileDialog::DontUseNativeDialog);
    switch (kind) {
    case FileDialogKind::OpenOne:
        dialog->setAcceptMode(QFileDialog::AcceptOpen);
        dialog->setFileMode(QFileDialog::ExistingFile);
        break;
    case FileDialogKind::OpenMany:
        dialog->setAcceptMode(QFileDialog::AcceptOpen);
        dialog->setFileMode(QFileDialog::ExistingFiles);
        break;
    case FileDialogKind::Save:
        dialog->setAcceptMode(QFileDialog::AcceptSave);
        dialog->setFileMode(QFileDialog::AnyFile);
        break;
    case FileDialogKind::Folder:
        dialog->setAcceptMode(QFileDialog::AcceptOpen);
        dialog->setFileMode(QFileDialog::Directory);
        dialog->setOption(QFileDialog::ShowDirsOnly);
        break;
    }
    if (kind != FileDialogKind::Folder && !nameFilters.isEmpty()) {
        // The descriptions are shown as written; the patterns behind them
        // do the filtering.
        dialog->setOption(QFileDialog::HideNameFilterDetails);
        dialog->setNameFilters(nameFilters);
        dialog->selectNameFilter(nameFilters.front());
    }
    if (!initialName.isEmpty()) dialog->selectFile(initialName);
    return dialog;
}

std::unique_ptr<QMessageBox> MakeMessageBox(QWidget *parent, const QString &text,
                                            const QString &title, MessageButtons buttons,
                                            MessageIcon icon, MessageButton defaultButton)
{
    if (buttons == MessageButtons()) buttons = MessageButton::OK;
    QMessageBox::StandardButtons standard;
    for (MessageButton b : {MessageButton::Yes, MessageButton::No, MessageButton::OK,
                            MessageButton::Cancel})
        if (buttons.testFlag(b)) standard |= StandardOf(b);
    auto box = std::make_unique<QMessageBox>(IconOf(icon), TitleOrProgramName(title), text,
                                             standard, parent);
    if (buttons.testFlag(defaultButton)) box->setDefaultButton(StandardOf(defaultButton));
    return box;
}

MessageButton PressedButton(const QMessageBox &box)
{
    const MessageButton pressed = ButtonOf(box.standardButton(box.clickedButton()));
    if (pressed != MessageButton::None) return pressed;
    MessageButtons offered;
    for (QAbstractButton *button : box.buttons())
        offered |= ButtonOf(box.standardButton(button));
    return EscapeAnswer(offered);
}

std::unique_ptr<QInputDialog> MakeInputDialog(QWidget *parent, const QString &prompt,
                                              const QString &title, const QString &defaultText)
{
    auto dialog = std::make_unique<QInputDialog>(parent);
    dialog->setInputMode(QInputDialog::TextInput);
    dialog->setWindowTitle(TitleOrProgramName(title));
    dialog->setLabelText(prompt);
    dialog->setTextValue(defaultText);
    return dialog;
}

QString QtDialogProvider::ChooseOpenFile(QObject *owner, const QString &title,
                                         const QStringList &nameFilters,
                                         const QString &initialName)
{
    return FirstOrEmpty(
        RunFileDialog(owner, FileDialogKind::OpenOne, title, nameFilters, initialName));
}

QStringList QtDialogProvider::ChooseOpenFiles(QObject *owner, const QString &title,
                                              const QStringList &nameFilters,
                                              const QString &initialName)
{
    return RunFileDialog(owner, FileDialogKind::OpenMany, title, nameFilters, initialName);
}

QString QtDialogProvider::ChooseSaveFile(QObject *owner, const QString &title,
                                         const QStringList &nameFilters)
{
    return FirstOrEmpty(RunFileDialog(owner, FileDialogKind::Save, title, nameFilters, {}));
}

QString QtDialogProvider::ChooseFolder(QObject *owner, const QString &title)
{
    return FirstOrEmpty(RunFileDialog(owner, FileDialogKind::Folder, title, {}, {}));
}

MessageButton QtDialogProvider::Message(QObject *owner, const QString &text,
                                        const QString &title, MessageButtons buttons,
                                        MessageIcon icon, MessageButton defaultButton)
{
    const auto box = MakeMessageBox(OwnerWindow(owner), text, title, buttons, icon, defaultButton);
    box->exec();
    return PressedButton(*box);
}

InputAnswer QtDialogProvider::Input(QObject *owner, const QString &prompt, const QString &title,
                                    const QString &defaultText)
{
    const auto dialog = MakeInputDialog(OwnerWindow(owner), prompt, title, defaultText);
    if (dialog->exec() != QDialog::Accepted) return InputAnswer{};
    return InputAnswer{true, dialog->textValue()};
}

NewArchiveChoice QtDialogProvider::ChooseNewArchive(QObject *owner, const NewArchiveChoice &preset)
{
    const MessageStrings &t = Texts();
    QDialog dialog(OwnerWindow(owner));
    dialog.setObjectName(QStringLiteral("dlgNewArchive"));
    dialog.setWindowTitle(t.NewArchiveTitle);
    auto *format = new QComboBox(&dialog);
    format->addItems({t.NewArchiveFormat1, t.NewArchiveFormat2, t.NewArchiveFormat3, t.NewArchiveFormat4});
    format->setCurrentIndex(std::clamp(preset.format, 1, 4) - 1);
    auto *maxFiles = new QSpinBox(&dialog);
    maxFiles->setRange(1, 999999);
    maxFiles->setValue(std::clamp<qint32>(preset.maxFiles, 1, 999999));
    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, &dialog);
    buttons->button(QDialogButtonBox::Ok)->setText(t.ConfigOk);
    buttons->button(QDialogButtonBox::Cancel)->setText(t.ConfigCancel);
    QObject::connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
    QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    auto *form = new QFormLayout(&dialog);
    form->addRow(t.NewArchiveFormat, format);
    form->addRow(t.NewArchiveMaxFiles, maxFiles);
    form->addRow(buttons);
    if (dialog.exec() != QDialog::Accepted) return NewArchiveChoice{false, preset.format, preset.maxFiles};
    return NewArchiveChoice{true, format->currentIndex() + 1, maxFiles->value()};
}

void InstallQtDialogs()
{
    static QtDialogProvider provider;
    SetDialogProvider(&provider);
    SetShellOpener(OpenOnDesktop);
}

void OpenOnDesktop(const QUrl &url, const NoProgram &noProgram)
{
    const auto sayNoProgram = [noProgram] {
        if (noProgram) noProgram();
    };
    if (!url.isLocalFile()) {
        if (!QDesktopServices::openUrl(url)) sayNoProgram();
        return;
    }
    // Kept by the application, not by a window: a window that closes leaves
    // xdg-open at work; at the program's end xdg-open is stopped, and a
    // program it ran and waits for lives on.
    auto *xdgOpen = new QProcess(QCoreApplication::instance());
    xdgOpen->setProcessChannelMode(QProcess::ForwardedChannels);
    xdgOpen->setStandardInputFile(QProcess::nullDevice());
    QObject::connect(xdgOpen, &QProcess::finished, xdgOpen,
                     [xdgOpen, sayNoProgram](int code, QProcess::ExitStatus how) {
                         xdgOpen->deleteLater();
                         if (how == QProcess::NormalExit && (code == 3 || code == 4)) sayNoProgram();
                     });
    QObject::connect(xdgOpen, &QProcess::errorOccurred, xdgOpen,
                     [xdgOpen, url, sayNoProgram](QProcess::ProcessError error) {
                         if (error != QProcess::FailedToStart) return;  // the end comes through finished
                         xdgOpen->deleteLater();
                         if (!QDesktopServices::openUrl(url)) sayNoProgram();
                     });
    xdgOpen->start(QStringLiteral("xdg-open"), {url.toLocalFile()});
}
