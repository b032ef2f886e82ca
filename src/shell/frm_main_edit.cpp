// The main window's Edit menu: the selection, find and find next.
#include "shell/frm_main.h"

#include "editing/find_pattern.h"
#include "dialogs/dialogs.h"
#include "shell/archive_list_model.h"
#include "shell/archive_list_view.h"

void frmMain::SelectRowRange(int first, int last, QItemSelectionModel::SelectionFlags how)
{
    if (first > last) return;
    const QItemSelection rows(model_->index(first, 0), model_->index(last, model_->columnCount() - 1));
    lwMPQ_->selectionModel()->select(rows, how | QItemSelectionModel::Rows);
}

void frmMain::mnuSelectAll_Click() { SelectRowRange(0, model_->rowCount() - 1, QItemSelectionModel::Select); }

void frmMain::mnuDeselectAll_Click() { lwMPQ_->selectionModel()->clearSelection(); }

void frmMain::mnuReverse_Click() { SelectRowRange(0, model_->rowCount() - 1, QItemSelectionModel::Toggle); }

void frmMain::FindFrom(int start)
{
    mnuDeselectAll_Click();
    const LikePattern pattern = FindPattern(session_.FindText);
    if (!pattern.IsValid()) return;
    for (int row = std::max(start, 0); row < model_->rowCount(); ++row) {
        if (!StoredNameMatches(pattern, model_->Row(row).Tag)) continue;
        const QModelIndex found = model_->index(row, ListRow::Name);
        lwMPQ_->selectionModel()->setCurrentIndex(found, QItemSelectionModel::Select | QItemSelectionModel::Rows);
        lwMPQ_->scrollTo(found);
        return;
    }
}

void frmMain::mnuFind_Click()
{
    session_.FindText = ShowInputBox(this, QStringLiteral("Trova:"), QString(), session_.FindText).text;
    if (!session_.FindText.isEmpty()) MenuEntry(QStringLiteral("mnuFindNext"))->setEnabled(true);
    FindFrom(0);
}

void frmMain::mnuFindNext_Click()
{
    // Past the last row nothing is selected and the current row stays.
    const int current = CurrentRow();
    mnuDeselectAll_Click();
    if (current < 0) return;
    FindFrom(current + 1);
}
