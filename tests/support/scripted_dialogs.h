// A dialog provider for tests of the window: every question takes the next
// answer the test queued, and is noted with its title and filters.
#pragma once

#include <QDir>
#include <QList>
#include <QStringList>

#include "dialogs/dialogs.h"

struct ScriptedDialogs final : DialogProvider {
    struct Question {
        QString kind;  // "open", "open many", "save", "folder", "message", "input"
        QString title;
        QStringList nameFilters;
        QString text;
        QString folder = QDir::currentPath();  // where the question found the current folder
    };
    QList<QStringList> answers;           // one per file or folder question; empty = cancel
    QList<MessageButton> messageAnswers;  // one per message box; none queued = No
    QList<NewArchiveChoice> newArchiveAnswers;  // one per new-archive box; none queued = cancel
    QList<Question> asked;
    DialogProvider *previous = nullptr;

    ScriptedDialogs() { previous = SetDialogProvider(this); }
    ~ScriptedDialogs() override { SetDialogProvider(previous); }

    QString ChooseOpenFile(QObject *, const QString &t, const QStringList &f, const QString &) override
    {
        return Next("open", t, f).value(0);
    }
    QStringList ChooseOpenFiles(QObject *, const QString &t, const QStringList &f, const QString &) override
    {
        return Next("open many", t, f);
    }
    QString ChooseSaveFile(QObject *, const QString &t, const QStringList &f) override
    {
        return Next("save", t, f).value(0);
    }
    QString ChooseFolder(QObject *, const QString &t) override { return Next("folder", t, {}).value(0); }
    MessageButton Message(QObject *, const QString &text, const QString &t, MessageButtons, MessageIcon,
                          MessageButton) override
    {
        asked.append({"message", t, {}, text});
        return messageAnswers.isEmpty() ? MessageButton::No : messageAnswers.takeFirst();
    }
    InputAnswer Input(QObject *, const QString &prompt, const QString &t, const QString &) override
    {
        asked.append({"input", t, {}, prompt});
        const QStringList answer = answers.isEmpty() ? QStringList() : answers.takeFirst();
        return InputAnswer{!answer.isEmpty(), answer.value(0)};
    }

    NewArchiveChoice ChooseNewArchive(QObject *, const NewArchiveChoice &preset) override
    {
        asked.append({"new archive", QString::number(preset.format) + " " + QString::number(preset.maxFiles), {}, {}});
        return newArchiveAnswers.isEmpty() ? NewArchiveChoice{false, preset.format, preset.maxFiles}
                                           : newArchiveAnswers.takeFirst();
    }

private:
    QStringList Next(const char *kind, const QString &title, const QStringList &filters)
    {
        asked.append({kind, title, filters, {}});
        return answers.isEmpty() ? QStringList() : answers.takeFirst();
    }
};
