// The main window's View menu: the bars, the preview pane, the styles, the
// sort order (with a click on a column's header) and a new listing.
#include "shell/frm_main.h"

#include <QAction>
#include <QHeaderView>
#include <QLabel>
#include <QStatusBar>
#include <QToolBar>

#include "pane/preview_pane_widget.h"
#include "shell/archive_list_model.h"
#include "shell/archive_list_view.h"
#include "shell/batch_progress.h"
#include "shell/folder_tree_widget.h"

void frmMain::mnuTools_Click()
{
    tbMenu_->setVisible(tbMenu_->isHidden());
    MenuEntry(QStringLiteral("mnuTools"))->setChecked(!tbMenu_->isHidden());
    Form_Resize();
}

void frmMain::mnuStatus_Click()
{
    QStatusBar *statusBar = reports_->Bar();
    statusBar->setVisible(statusBar->isHidden());
    MenuEntry(QStringLiteral("mnuStatus"))->setChecked(!statusBar->isHidden());
    Form_Resize();
}

void frmMain::mnuPreview_Click()
{
    preview_->setVisible(preview_->isHidden());
    MenuEntry(QStringLiteral("mnuPreview"))->setChecked(!preview_->isHidden());
    Form_Resize();
    if (preview_->isHidden()) preview_->Clear();
    else UpdatePreview();
}

void frmMain::UpdatePreview()
{
    if (preview_->isHidden()) return;
    if (session_.FileName.isEmpty()) {
        preview_->Clear();
        return;
    }
    const int row = CurrentRow();
    if (row < 0) preview_->ShowArchive(session_.FileName);
    else preview_->ShowStoredFile(session_.FileName, model_->Row(row).Tag);
}

void frmMain::SetStyle(bool explorer)
{
    session_.ExplorerStyle = explorer;
    tvMPQ_->setVisible(explorer);
    MenuEntry(QStringLiteral("mnuClassicStyle"))->setChecked(!explorer);
    MenuEntry(QStringLiteral("mnuExplorerStyle"))->setChecked(explorer);
    // Out of reach behind the list in Classic style.
    if (explorer) lblSplitter_->raise();
    else lblSplitter_->lower();
    Form_Resize();
    mnuRefresh_Click();
}

void frmMain::mnuClassicStyle_Click() { SetStyle(false); }
void frmMain::mnuExplorerStyle_Click() { SetStyle(true); }

void frmMain::mnuArrange_Click(int index)
{
    if (index < 0 || index >= ListRow::ColumnCount) return;
    // The column in force turns its order; another column sorts ascending.
    const bool turn = model_->SortKey() == index && model_->SortOrder() == 0;
    model_->sort(index, turn ? Qt::DescendingOrder : Qt::AscendingOrder);
    ShowSortOrder();
}

void frmMain::lwMPQ_ColumnClick(int column) { mnuArrange_Click(column - 1); }

// The mark of the menu entry and the arrow of the header follow the list.
void frmMain::ShowSortOrder()
{
    if (QAction *entry = MenuEntry(QStringLiteral("mnuArrange%1").arg(model_->SortKey()))) entry->setChecked(true);
    lwMPQ_->header()->setSortIndicator(model_->SortKey(),
                                       model_->SortOrder() == 1 ? Qt::DescendingOrder : Qt::AscendingOrder);
}

void frmMain::mnuRefresh_Click()
{
    BatchProgress listing(this, *reports_);
    session_.Refresh(config_, Ports(&listing));
}
