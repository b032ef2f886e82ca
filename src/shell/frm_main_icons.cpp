#include "shell/frm_main_icons.h"

#include <QApplication>
#include <QStyle>

namespace {

struct IconSource {
    const char *key;
    const char *themeName;
    QStyle::StandardPixmap fallback;
};

constexpr IconSource kToolIcons[] = {
    {"new", "document-new", QStyle::SP_FileIcon},
    {"open", "document-open", QStyle::SP_DialogOpenButton},
    {"infompq", "document-properties", QStyle::SP_MessageBoxInformation},
    {"add", "list-add", QStyle::SP_FileDialogNewFolder},
    {"extract", "document-save", QStyle::SP_DialogSaveButton},
    {"delete", "edit-delete", QStyle::SP_TrashIcon},
    {"view", "document-preview", QStyle::SP_FileDialogContentsView},
    {"infofile", "dialog-information", QStyle::SP_FileDialogInfoView},
    {"exe", "application-x-executable", QStyle::SP_ComputerIcon},
    {"exit", "application-exit", QStyle::SP_DialogCloseButton},
};

constexpr IconSource kTreeIcons[] = {
    {"close", "folder", QStyle::SP_DirClosedIcon},
    {"open", "folder-open", QStyle::SP_DirOpenIcon},
    {"mpqfile", "package-x-generic", QStyle::SP_DriveHDIcon},
};

template <std::size_t N>
QIcon Lookup(const IconSource (&sources)[N], const QString &key)
{
    for (const IconSource &source : sources) {
        if (key != QLatin1String(source.key)) continue;
        const QIcon themed = QIcon::fromTheme(QLatin1String(source.themeName));
        if (!themed.isNull()) return themed;
        return QApplication::style()->standardIcon(source.fallback);
    }
    return {};
}

}  // namespace

QIcon ToolIcon(const QString &key) { return Lookup(kToolIcons, key); }
QIcon TreeIcon(const QString &key) { return Lookup(kTreeIcons, key); }
