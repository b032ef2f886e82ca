// The main window's File menu: which archive is open.
#include "shell/frm_main.h"

#include "config/catalogue.h"
#include "dialogs/dialogs.h"
#include "base/paths.h"
#include "listing/explorer_listing.h"
#include "shell/batch_progress.h"
#include "shell/folder_tree_widget.h"

void frmMain::OpenArchive(const QString &path)
{
    mnuClose_Click();  // find next ends with the archive, whatever comes next
    BatchProgress listing(this, *reports_);  // a long listing can be stopped
    session_.Open(path, config_, Ports(&listing));
    ShowSession();
}

void frmMain::mnuNew_Click()
{
    QString path = SaveFileDialog(this, kSaveFileTitle, Texts().FilterArchives);
    if (path.isEmpty()) return;
    if (GetExtension(path).toLower() != QLatin1String("mpq")) {
        path += QStringLiteral(".mpq");
        // The dialog asked about the name as typed, not about this one.
        if (IsFile(path) &&
            ShowMessageBox(this, ReplaceValue(Texts().MessageFileExists, path), QString(),
                           MessageButton::Yes | MessageButton::No, MessageIcon::Exclamation,
                           MessageButton::No) != MessageButton::Yes)
            return;
    }
    if (!session_.CreateEmpty(path, Ports())) return;  // nowhere to make it: nothing changes
    // The archive itself is made at the first add, as the user asks here;
    // a cancel leaves the settings' table room and format 1.
    newArchive_ = AskNewArchive(this, NewArchiveChoice{true, 1, config_.DefaultMaxFiles});
    newArchivePath_ = newArchive_.accepted ? path : QString();
    ShowSession();
    tvMPQ_->Node(UpperKey(session_.FileName))->setSelected(true);
}

void frmMain::mnuOpen_Click()
{
    mnuClose_Click();
    OpenArchive(OpenFileDialog(this, kOpenFileTitle, Texts().FilterArchives, QString(), false));
}

void frmMain::mnuClose_Click()
{
    session_.Close(Ports());
    ShowSession();
}

// A path that is gone closes the window and stays listed.
void frmMain::mnuRecents_Click(int index)
{
    if (index < 1 || index > session_.RecentFiles.size()) return;
    OpenArchive(session_.RecentFiles[index - 1]);
}

void frmMain::mnuExit_Click() { close(); }
