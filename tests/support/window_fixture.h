// Main windows for the tests: each on folders of its own, shown offscreen.
#pragma once

#include <QSize>
#include <QString>

#include <memory>

#include "shell/frm_main.h"

namespace fixtures {

// The folders of one window below `folder`: "program" (holding the settings
// file), the launch folder itself, and "scratch". The program and launch
// folders are made, and the settings file as a first start leaves it, so
// that the window does not ask for the language again.
StartupPaths WindowPaths(const QString &folder);

// A window on `paths`, loaded with `commandLine`, shown at `size`; nullptr
// when it never showed.
std::unique_ptr<frmMain> StartWindow(const StartupPaths &paths, const QString &commandLine,
                                     QSize size = QSize(900, 600));

}  // namespace fixtures
