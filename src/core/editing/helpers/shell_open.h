// Opening a file or an address with the desktop's default application,
// without waiting for it.
//
// The window installs the desktop's opener (dialogs_qt.h); tests install one
// that records; with none installed nothing opens, and nothing is said.
#pragma once

#include <QUrl>

#include <functional>

// Called at most once, after the opening was handed on and maybe long after
// ShellOpen returned, when the desktop says that no program opens the file.
using NoProgram = std::function<void()>;
// Opens the address; calls the NoProgram it is handed (when not empty) if
// no program opens it.
using ShellOpener = std::function<void(const QUrl &, const NoProgram &)>;

// Installs `opener` (empty for none) and returns the one it replaces.
ShellOpener SetShellOpener(ShellOpener opener);
// Hands `url` to the installed opener; `noProgram`, when given, hears that
// no program on the desktop opens it.
void ShellOpen(const QUrl &url, const NoProgram &noProgram = {});
