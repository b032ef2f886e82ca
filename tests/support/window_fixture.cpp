#include "support/window_fixture.h"

#include <QDir>
#include <QTest>

#include "config/app_config.h"

namespace fixtures {

StartupPaths WindowPaths(const QString &folder)
{
    StartupPaths paths;
    paths.programFolder = folder + "/program";
    paths.launchFolder = folder;
    paths.iniPath = paths.programFolder + "/Arcavera.ini";
    paths.tempPath = folder + "/scratch";
    QDir().mkpath(paths.programFolder);
    SeedFirstRun(paths.iniPath);
    return paths;
}

std::unique_ptr<frmMain> StartWindow(const StartupPaths &paths, const QString &commandLine, QSize size)
{
    auto window = std::make_unique<frmMain>(paths);
    window->Form_Load(commandLine);
    window->resize(size);
    window->show();
    if (!QTest::qWaitForWindowExposed(window.get())) return nullptr;
    return window;
}

}  // namespace fixtures
