// The commands of the main window in one table: each row is a menu entry,
// a toolbar button or both, with its text, shortcut, what it runs and when
// it can run. The menus, the toolbar, their captions, the entries that an
// open archive enables and the toolbar's dispatch all come from it.
#pragma once

#include <QHash>
#include <QKeyCombination>
#include <QString>

#include <span>

struct MessageStrings;
class QAction;
class QMenu;
class QMenuBar;
class QToolBar;
class frmMain;

enum class Needs : unsigned char {
    Nothing,
    Archive,    // enabled while an archive is open
    FindText,   // enabled by a find, disabled when the archive closes
};

enum class Mark : unsigned char { None, Check, Style, Default };

struct ToolButtonSpec {
    const char *key = nullptr;  // "add"; nullptr: no button
    int place = 0;              // from 1, left to right; a place no button takes is a separator
    QString MessageStrings::*text = nullptr;
    QString MessageStrings::*tip = nullptr;
};

struct Command {
    // The menu entry ("mnuAdd"), a separator ("mnusep0") or a submenu
    // ("mnuRecent"); nullptr for a button alone.
    const char *name;
    const char *menu;                 // the menu it stands in
    QString MessageStrings::*text;    // nullptr for a separator
    QKeyCombination key;              // Qt::Key_unknown: none
    void (frmMain::*run)();           // nullptr for a separator or a submenu
    Needs needs;
    Mark mark;
    ToolButtonSpec tool;
};

std::span<const Command> Commands();

// The menus and the toolbar of one window, built from the table.
class WindowCommands {
public:
    void Build(frmMain &window, QMenuBar *bar, QToolBar *toolBar);
    // The captions from the texts in force; a recent entry in use keeps its path.
    void ApplyTexts(const MessageStrings &texts);
    // What needs an archive follows `open`; a close also ends find next.
    void ShowArchiveOpen(bool open);
    // The recent entries in use: enabled, shown, numbered as their access key.
    void ShowRecentFiles(const QStringList &recentFiles);
    // The command of the toolbar button `key`.
    void RunTool(frmMain &window, const QString &key) const;

    QAction *Entry(const QString &name) const { return entries_.value(name); }
    QAction *Button(const QString &key) const { return buttons_.value(key); }
    QMenu *Menu(const QString &name) const { return menus_.value(name); }

private:
    QHash<QString, QAction *> entries_;
    QHash<QString, QAction *> buttons_;
    QHash<QString, QMenu *> menus_;
};
