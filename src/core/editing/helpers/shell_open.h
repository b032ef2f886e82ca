// Opening a file or an address with the desktop's default application,
// without waiting for it.
//
// The window installs the desktop's opener (dialogs_qt.h); tests install one
// that records; with none installed nothing opens.
#pragma once

#include <QUrl>

#include <functional>

using ShellOpener = std::function<void(const QUrl &)>;

// Installs `opener` (empty for none) and returns the one it replaces.
ShellOpener SetShellOpener(ShellOpener opener);
// Hands `url` to the installed opener. The result is not looked at.
void ShellOpen(const QUrl &url);
