// arcavera: the window.
#include <QApplication>
#include <QDir>
#include <QProcess>

#include <cstdio>
#include <cstring>

#include "dialogs/dialogs_qt.h"
#include "shell/frm_main.h"
#include "config/startup.h"

int main(int argc, char *argv[])
{
    // Answered before the window system is asked for anything, so they work
    // without a display too. Another word, or more than one, is the command
    // line of the window, as it always was.
    if (argc == 2 && std::strcmp(argv[1], "--version") == 0) {
        std::printf("arcavera %s\n", ARCAVERA_VERSION);
        return 0;
    }
    if (argc == 2 && std::strcmp(argv[1], "--help") == 0) {
        std::fputs("Usage: arcavera [ARCHIVE]\n"
                   "Opens ARCHIVE, an MPQ archive or a map, in the window.\n"
                   "\n"
                   "  --help     shows this help\n"
                   "  --version  shows the version\n"
                   "\n"
                   "For the command line: arcavera-cli --help.\n",
                   stdout);
        return 0;
    }
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Arcavera"));
    QApplication::setApplicationVersion(QStringLiteral(ARCAVERA_VERSION));
    // The desktop entry's name: the window's app id on Wayland.
    QGuiApplication::setDesktopFileName(QStringLiteral("io.github.arcavera.Arcavera"));
    InstallQtDialogs();

    StartupPaths paths;
    paths.launchFolder = QDir::currentPath();
    // A window shows one archive: further files handed at once get windows of their own.
    const QStringList lines = CommandLinesFromArguments(QApplication::arguments().mid(1), paths.launchFolder);
    for (const QString &line : lines.mid(1)) QProcess::startDetached(QApplication::applicationFilePath(), {line});
    frmMain window(paths);
    window.Form_Load(lines.first());
    window.show();
    return QApplication::exec();
}
