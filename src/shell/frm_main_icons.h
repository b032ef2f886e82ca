// The pictures of the main window: the toolbar's and the folder tree's.
// Each comes from the desktop's icon theme when it has one, otherwise from
// the pictures that Qt's own style carries, so the window looks complete on
// any desktop.
#pragma once

#include <QIcon>
#include <QString>

// 32 by 32: "new", "open", "infompq", "add", "extract", "delete", "view",
// "infofile", "exe", "exit".
QIcon ToolIcon(const QString &key);
// 16 by 16: "close", "open" (folders), "mpqfile" (the archive).
QIcon TreeIcon(const QString &key);
