// The start-up paths of a benchmark's window: settings of its own in
// `home`, there already, so no first-start question waits for an answer.
#pragma once

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include "shell/frm_main.h"

inline StartupPaths BenchWindowPaths(const QTemporaryDir &home)
{
    StartupPaths paths;
    paths.programFolder = home.path();
    paths.launchFolder = QDir::currentPath();
    paths.iniPath = home.filePath("Arcavera.ini");
    paths.tempPath = home.filePath("scratch");
    (void)QFile(paths.iniPath).open(QIODevice::WriteOnly);
    return paths;
}
