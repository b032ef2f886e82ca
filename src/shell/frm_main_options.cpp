// The main window's Options menu, the configuration, and the "?" menu:
// the home page and the credits.
#include "shell/frm_main.h"

#include <QUrl>

#include "about/frm_credits.h"
#include "config/frm_config.h"
#include "config/startup.h"
#include "editing/helpers/shell_open.h"

void frmMain::mnuConfig_Click() { config_dialog_->exec(); }

void frmMain::mnuHomePage_Click() { ShellOpen(QUrl(QString::fromLatin1(kHomePage))); }

void frmMain::mnuAbout_Click()
{
    frmCredits credits(this);
    credits.exec();
}
