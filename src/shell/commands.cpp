#include "shell/commands.h"

#include <QAction>
#include <QActionGroup>
#include <QMenu>
#include <QMenuBar>
#include <QToolBar>

#include <algorithm>
#include <vector>

#include "config/catalogue.h"
#include "listing/list_row.h"
#include "shell/frm_main.h"
#include "shell/frm_main_icons.h"

namespace {

using M = MessageStrings;
using W = frmMain;
constexpr Needs N = Needs::Nothing;
constexpr Needs A = Needs::Archive;
constexpr Mark None = Mark::None;
constexpr QKeyCombination NoKey = Qt::Key_unknown;

constexpr Command kCommands[] = {
    // name                 menu          text                     key                    run                          needs  mark          tool
    {"mnuNew",             "mnuFile",    &M::MenuNew,             Qt::CTRL | Qt::Key_N,  &W::mnuNew_Click,            N, None, {"new", 1, &M::ToolBarNew, &M::ToolBarNewToolTip}},
    {"mnuOpen",            "mnuFile",    &M::MenuOpen,            Qt::CTRL | Qt::Key_O,  &W::mnuOpen_Click,           N, None, {"open", 2, &M::ToolBarOpen, &M::ToolBarOpenToolTip}},
    {"mnuClose",           "mnuFile",    &M::MenuClose,           Qt::CTRL | Qt::Key_L,  &W::mnuClose_Click,          A, None, {}},
    {"mnusep0",            "mnuFile",    nullptr,                 NoKey,                 nullptr,                     N, None, {}},
    {"mnuRecent",          "mnuFile",    &M::MenuRecents,         NoKey,                 nullptr,                     N, None, {}},
    {"mnusep1",            "mnuFile",    nullptr,                 NoKey,                 nullptr,                     N, None, {}},
    {"mnuExit",            "mnuFile",    &M::MenuExit,            NoKey,                 &W::mnuExit_Click,           N, None, {"exit", 13, &M::ToolBarExit, &M::ToolBarExitToolTip}},
    {"mnuSelectAll",       "mnuEdit",    &M::MenuSelectAll,       Qt::CTRL | Qt::Key_A,  &W::mnuSelectAll_Click,      A, None, {}},
    {"mnuDeselectAll",     "mnuEdit",    &M::MenuSelectNone,      Qt::CTRL | Qt::Key_U,  &W::mnuDeselectAll_Click,    A, None, {}},
    {"mnuReverse",         "mnuEdit",    &M::MenuInvert,          Qt::CTRL | Qt::Key_I,  &W::mnuReverse_Click,        A, None, {}},
    {"mnusep2",            "mnuEdit",    nullptr,                 NoKey,                 nullptr,                     N, None, {}},
    {"mnuFind",            "mnuEdit",    &M::MenuFind,            Qt::CTRL | Qt::Key_F,  &W::mnuFind_Click,           A, None, {}},
    {"mnuFindNext",        "mnuEdit",    &M::MenuFindNext,        Qt::Key_F3,            &W::mnuFindNext_Click,       Needs::FindText, None, {}},
    {"mnuTools",           "mnuView",    &M::MenuToolBar,         NoKey,                 &W::mnuTools_Click,          N, Mark::Check, {}},
    {"mnuStatus",          "mnuView",    &M::MenuStatusBar,       NoKey,                 &W::mnuStatus_Click,         N, Mark::Check, {}},
    {"mnuPreview",         "mnuView",    &M::MenuPreview,         Qt::Key_F9,            &W::mnuPreview_Click,        N, Mark::Check, {}},
    {"mnusep3",            "mnuView",    nullptr,                 NoKey,                 nullptr,                     N, None, {}},
    {"mnuClassicStyle",    "mnuView",    &M::MenuClassicStyle,    NoKey,                 &W::mnuClassicStyle_Click,   N, Mark::Style, {}},
    {"mnuExplorerStyle",   "mnuView",    &M::MenuExplorerStyle,   NoKey,                 &W::mnuExplorerStyle_Click,  N, Mark::Style, {}},
    {"mnusep8",            "mnuView",    nullptr,                 NoKey,                 nullptr,                     N, None, {}},
    {"mnuArranges",        "mnuView",    &M::MenuSort,            NoKey,                 nullptr,                     N, None, {}},
    {"mnusep4",            "mnuView",    nullptr,                 NoKey,                 nullptr,                     N, None, {}},
    {"mnuRefresh",         "mnuView",    &M::MenuRefresh,         Qt::Key_F5,            &W::mnuRefresh_Click,        A, None, {}},
    {"mnuAdd",             "mnuAction",  &M::MenuAddFiles,        Qt::CTRL | Qt::Key_D,  &W::mnuAdd_Click,            A, None, {"add", 5, &M::ToolBarAdd, &M::ToolBarAddToolTip}},
    {"mnuAddDir",          "mnuAction",  &M::MenuAddDir,          Qt::CTRL | Qt::Key_G,  &W::mnuAddDir_Click,         A, None, {}},
    {"mnuExtract",         "mnuAction",  &M::MenuExtract,         Qt::CTRL | Qt::Key_E,  &W::mnuExtract_Click,        A, None, {"extract", 6, &M::ToolBarExtract, &M::ToolBarExtractToolTip}},
    {"mnuExtractAll",      "mnuAction",  &M::MenuExtractAll,      NoKey,                 &W::mnuExtractAll_Click,     A, None, {}},
    {"mnuRename",          "mnuAction",  &M::MenuRename,          Qt::CTRL | Qt::Key_R,  &W::mnuRename_Click,         A, None, {}},
    {"mnuDelete",          "mnuAction",  &M::MenuDelete,          Qt::Key_Delete,        &W::mnuDelete_Click,         A, None, {"delete", 7, &M::ToolBarDelete, &M::ToolBarDeleteToolTip}},
    {"mnusep10",           "mnuAction",  nullptr,                 NoKey,                 nullptr,                     N, None, {}},
    {"mnuCompact",         "mnuAction",  &M::MenuCompact,         NoKey,                 &W::mnuCompact_Click,        A, None, {}},
    {"mnuUnpack",          "mnuAction",  &M::MenuUnpack,          NoKey,                 &W::mnuUnpack_Click,         A, None, {}},
    {"mnuPack",            "mnuAction",  &M::MenuPack,            NoKey,                 &W::mnuPack_Click,           N, None, {}},
    {"mnuMakeEXE",         "mnuTool",    &M::MenuMakeEXE,         NoKey,                 &W::mnuMakeEXE_Click,        A, None, {"exe", 11, &M::ToolBarMakeEXE, &M::ToolBarMakeEXEToolTip}},
    {"mnuVerify",          "mnuTool",    &M::MenuVerify,          NoKey,                 &W::mnuVerify_Click,         A, None, {}},
    {"mnusep5",            "mnuTool",    nullptr,                 NoKey,                 nullptr,                     N, None, {}},
    {"mnuMPQEm",           "mnuTool",    &M::MenuMPQEmbedder,     NoKey,                 &W::mnuMPQEm_Click,          N, None, {}},
    {"mnuConfig",          "mnuOption",  &M::MenuConfiguration,   NoKey,                 &W::mnuConfig_Click,         N, None, {}},
    {"mnuHomePage",        "mnuInfo",    &M::MenuHomePage,        NoKey,                 &W::mnuHomePage_Click,       N, None, {}},
    {"mnusep9",            "mnuInfo",    nullptr,                 NoKey,                 nullptr,                     N, None, {}},
    {"mnuAbout",           "mnuInfo",    &M::MenuAbout,           NoKey,                 &W::mnuAbout_Click,          N, None, {}},
    {"mnuPopupOpen",       "mnuPopup",   &M::MenuPopupOpen,       NoKey,                 &W::lwMPQ_DblClick,          N, Mark::Default, {}},
    {"mnusep6",            "mnuPopup",   nullptr,                 NoKey,                 nullptr,                     N, None, {}},
    {"mnuPopupExtract",    "mnuPopup",   &M::MenuPopupExtract,    NoKey,                 &W::mnuExtract_Click,        N, None, {}},
    {"mnuPopupRename",     "mnuPopup",   &M::MenuPopupRename,     NoKey,                 &W::mnuRename_Click,         N, None, {}},
    {"mnuPopupDelete",     "mnuPopup",   &M::MenuPopupDelete,     NoKey,                 &W::mnuDelete_Click,         N, None, {}},
    {"mnusep7",            "mnuPopup",   nullptr,                 NoKey,                 nullptr,                     N, None, {}},
    {"mnuPopupInfoFile",   "mnuPopup",   &M::MenuPopupInfoFile,   NoKey,                 &W::mnuPopupInfoFile_Click,  N, None, {}},
    {"mnuPopupCreateDir",  "mnuExplorerPopup", &M::MenuPopupCreateDir, NoKey,            &W::mnuPopupCreateDir_Click, N, None, {}},
    // Buttons without a menu entry.
    {nullptr,              nullptr,      nullptr,                 NoKey,                 &W::ShowArchiveProperties,   A, None, {"infompq", 3, &M::ToolBarInfoMPQ, &M::ToolBarInfoMPQToolTip}},
    {nullptr,              nullptr,      nullptr,                 NoKey,                 &W::lwMPQ_DblClick,          A, None, {"view", 8, &M::ToolBarView, &M::ToolBarViewToolTip}},
    {nullptr,              nullptr,      nullptr,                 NoKey,                 &W::mnuPopupInfoFile_Click,  A, None, {"infofile", 9, &M::ToolBarInfoFile, &M::ToolBarInfoFileToolTip}},
};

// The menus in the bar from left to right, then the two popups.
struct MenuSpec {
    const char *name;
    bool popup;
    QString MessageStrings::*title;  // nullptr: no text of the catalogue
};
constexpr MenuSpec kMenus[] = {
    {"mnuFile", false, &M::MenuFile},     {"mnuEdit", false, &M::MenuEdit},     {"mnuView", false, &M::MenuView},
    {"mnuAction", false, &M::MenuAction}, {"mnuTool", false, &M::MenuTools},    {"mnuOption", false, &M::MenuOptions},
    {"mnuInfo", false, nullptr},          {"mnuPopup", true, nullptr},          {"mnuExplorerPopup", true, nullptr},
};

// The entries of the sort submenu, one per column.
constexpr QString MessageStrings::*kSortTexts[ListRow::ColumnCount] = {
    &M::MenuName, &M::MenuExt, &M::MenuSize, &M::MenuCompressed, &M::MenuRatio, &M::MenuAttribute};

// "&" shows as itself in a caption only when doubled.
QString EscapeMnemonics(const QString &text)
{
    QString escaped = text;
    return escaped.replace(QLatin1Char('&'), QLatin1String("&&"));
}

QString RecentName(int place) { return QStringLiteral("mnuRecents%1").arg(place); }

}  // namespace

std::span<const Command> Commands() { return kCommands; }

void WindowCommands::Build(frmMain &window, QMenuBar *bar, QToolBar *toolBar)
{
    for (const MenuSpec &spec : kMenus) {
        auto *menu = new QMenu(spec.popup ? static_cast<QWidget *>(&window) : bar);
        menu->setObjectName(QLatin1String(spec.name));
        menus_.insert(menu->objectName(), menu);
        if (!spec.popup) bar->addMenu(menu);
    }
    QActionGroup *styles = nullptr;
    for (const Command &command : kCommands) {
        if (!command.name) continue;
        const QString name = QLatin1String(command.name);
        QMenu *menu = menus_.value(QLatin1String(command.menu));
        if (!command.text) {
            menu->addSeparator()->setObjectName(name);
            continue;
        }
        if (!command.run) {
            auto *submenu = new QMenu(menu);
            submenu->setObjectName(name);
            menu->addMenu(submenu);
            menus_.insert(name, submenu);
            entries_.insert(name, submenu->menuAction());
            continue;
        }
        QAction *action = menu->addAction(QString());
        action->setObjectName(name);
        if (command.key.key() != Qt::Key_unknown) action->setShortcut(QKeySequence(command.key));
        entries_.insert(name, action);
        action->setCheckable(command.mark == Mark::Check || command.mark == Mark::Style);
        if (command.mark == Mark::Style) {
            if (!styles) styles = new QActionGroup(&window);
            styles->addAction(action);
        }
        if (command.mark == Mark::Default) menu->setDefaultAction(action);
        QObject::connect(action, &QAction::triggered, &window, command.run);
    }

    QMenu *recent = menus_.value(QStringLiteral("mnuRecent"));
    for (int i = 1; i <= 4; ++i) {
        QAction *action = recent->addAction(QString());
        action->setObjectName(RecentName(i));
        action->setEnabled(false);
        action->setVisible(i == 1);
        entries_.insert(action->objectName(), action);
        QObject::connect(action, &QAction::triggered, &window, [&window, i] { window.mnuRecents_Click(i); });
    }
    auto *arranges = new QActionGroup(&window);
    for (int i = 0; i < ListRow::ColumnCount; ++i) {
        QAction *action = menus_.value(QStringLiteral("mnuArranges"))->addAction(QString());
        action->setObjectName(QStringLiteral("mnuArrange%1").arg(i));
        action->setCheckable(true);
        arranges->addAction(action);
        entries_.insert(action->objectName(), action);
        QObject::connect(action, &QAction::triggered, &window, [&window, i] { window.mnuArrange_Click(i); });
    }
    // The commands of the window work wherever the focus is.
    for (QAction *action : std::as_const(entries_)) action->setShortcutContext(Qt::WindowShortcut);

    std::vector<const Command *> buttons;
    for (const Command &command : kCommands)
        if (command.tool.key) buttons.push_back(&command);
    std::sort(buttons.begin(), buttons.end(),
              [](const Command *a, const Command *b) { return a->tool.place < b->tool.place; });
    int place = 1;
    for (const Command *command : buttons) {
        for (; place < command->tool.place; ++place) toolBar->addSeparator();
        ++place;
        const QString key = QLatin1String(command->tool.key);
        QAction *action = toolBar->addAction(ToolIcon(key), QString());
        action->setObjectName(QStringLiteral("tbMenu_") + key);
        action->setData(key);
        if (QWidget *button = toolBar->widgetForAction(action)) button->setObjectName(key);
        buttons_.insert(key, action);
        QObject::connect(action, &QAction::triggered, &window, [&window, key] { window.tbMenu_ButtonClick(key); });
    }
}

void WindowCommands::ApplyTexts(const MessageStrings &texts)
{
    for (const MenuSpec &spec : kMenus)
        if (spec.title) menus_.value(QLatin1String(spec.name))->setTitle(texts.*spec.title);
    menus_.value(QStringLiteral("mnuInfo"))->setTitle(QStringLiteral("&?"));
    for (const Command &command : kCommands) {
        if (command.name && command.text) entries_.value(QLatin1String(command.name))->setText(texts.*command.text);
        if (QAction *button = command.tool.key ? Button(QLatin1String(command.tool.key)) : nullptr) {
            button->setText(texts.*command.tool.text);
            button->setToolTip(texts.*command.tool.tip);
        }
    }
    for (int i = 0; i < ListRow::ColumnCount; ++i)
        Entry(QStringLiteral("mnuArrange%1").arg(i))->setText(texts.*kSortTexts[i]);
    for (int i = 1; i <= 4; ++i) {
        QAction *entry = Entry(RecentName(i));
        if (!entry->isEnabled()) entry->setText(texts.MenuNoRecents);
    }
}

void WindowCommands::ShowArchiveOpen(bool open)
{
    for (const Command &command : kCommands) {
        if (command.needs == Needs::Archive) {
            if (command.name) Entry(QLatin1String(command.name))->setEnabled(open);
            if (command.tool.key) Button(QLatin1String(command.tool.key))->setEnabled(open);
        } else if (command.needs == Needs::FindText && !open) {
            Entry(QLatin1String(command.name))->setEnabled(false);
        }
    }
}

void WindowCommands::ShowRecentFiles(const QStringList &recentFiles)
{
    for (int i = 1; i <= 4 && i <= recentFiles.size(); ++i) {
        const QString &path = recentFiles[i - 1];
        if (path.isEmpty()) continue;
        QAction *entry = Entry(RecentName(i));
        entry->setEnabled(true);
        entry->setVisible(true);
        entry->setText(QStringLiteral("&%1  %2").arg(i).arg(EscapeMnemonics(path)));
    }
}

void WindowCommands::RunTool(frmMain &window, const QString &key) const
{
    for (const Command &command : kCommands)
        if (command.tool.key && key == QLatin1String(command.tool.key)) (window.*command.run)();
}
