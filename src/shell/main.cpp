// arcavera: the window.
#include <QApplication>
#include <QDir>

#include "dialogs/dialogs_qt.h"
#include "shell/frm_main.h"
#include "config/startup.h"

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Arcavera"));
    QApplication::setApplicationVersion(QStringLiteral(ARCAVERA_VERSION));
    InstallQtDialogs();

    StartupPaths paths;
    paths.launchFolder = QDir::currentPath();
    frmMain window(paths);
    window.Form_Load(CommandLineFromArguments(QApplication::arguments().mid(1)));
    window.show();
    return QApplication::exec();
}
