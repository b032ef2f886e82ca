#include "shell/batch_progress.h"

#include <QCoreApplication>
#include <QProgressBar>
#include <QProgressDialog>

#include "config/catalogue.h"
#include "listing/text_encoding.h"
#include "shell/window_ports.h"

BatchProgress::BatchProgress(QWidget *parent, StatusReport &status, int count) : status_(status)
{
    if (count <= kCancellableBatch) return;
    dialog_ = std::make_unique<QProgressDialog>(QString(), Texts().ConfigCancel, 0, count, parent);
    dialog_->setObjectName(QStringLiteral("dlgBatchProgress"));
    dialog_->setWindowTitle(QStringLiteral("Arcavera"));
    dialog_->setWindowModality(Qt::WindowModal);
    dialog_->setMinimumDuration(0);
    dialog_->setAutoClose(false);
    dialog_->setAutoReset(false);
    auto *bar = new QProgressBar;  // the dialog takes it
    bar->setFormat(QStringLiteral("%v / %m"));
    dialog_->setBar(bar);
    dialog_->setRange(0, count);
    dialog_->setValue(0);
}

BatchProgress::~BatchProgress() = default;

void BatchProgress::SetStatusText(const QString &text)
{
    status_.SetStatusText(text);
    if (dialog_) dialog_->setLabelText(MarkControls(text));
}

void BatchProgress::Yield()
{
    if (!dialog_) {
        status_.Yield();
        return;
    }
    // The dialog is modal to the window: only its Cancel takes input.
    dialog_->setValue(++done_);
    QCoreApplication::processEvents();
}

bool BatchProgress::Cancelled() { return dialog_ && dialog_->wasCanceled(); }
