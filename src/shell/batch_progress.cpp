#include "shell/batch_progress.h"

#include <algorithm>

#include <QCoreApplication>
#include <QProgressBar>
#include <QProgressDialog>

#include "config/catalogue.h"
#include "base/text_encoding.h"
#include "shell/window_ports.h"

BatchProgress::BatchProgress(QWidget *parent, StatusReport &status, int count) : parent_(parent), status_(status)
{
    since_.start();
    BeginBatch(count);
}

void BatchProgress::BeginBatch(int turns)
{
    turns_ = turns;
    if (turns > kCancellableBatch) ShowDialog();
}

void BatchProgress::ShowDialog()
{
    if (dialog_) return;
    dialog_ = std::make_unique<QProgressDialog>(QString(), Texts().ConfigCancel, 0, turns_, parent_);
    dialog_->setObjectName(QStringLiteral("dlgBatchProgress"));
    dialog_->setWindowTitle(QStringLiteral("Arcavera"));
    dialog_->setWindowModality(Qt::WindowModal);
    dialog_->setMinimumDuration(0);
    dialog_->setAutoClose(false);
    dialog_->setAutoReset(false);
    auto *bar = new QProgressBar;  // the dialog takes it
    bar->setFormat(turns_ > 0 ? QStringLiteral("%v / %m") : QString());
    dialog_->setBar(bar);
    dialog_->setRange(0, turns_);  // no count: a bar that only moves
    dialog_->setValue(std::min(done_, turns_));
    dialog_->setLabelText(label_);
}

BatchProgress::~BatchProgress() = default;

void BatchProgress::SetStatusText(const QString &text)
{
    status_.SetStatusText(text);
    label_ = MarkControls(text);
    if (dialog_) dialog_->setLabelText(label_);
}

void BatchProgress::Yield()
{
    ++done_;
    if (!dialog_ && since_.elapsed() >= kCancellableAfterMs) ShowDialog();
    if (!dialog_) {
        status_.Yield();
        return;
    }
    // The dialog is modal to the window: only its Cancel takes input.
    if (turns_ > 0) dialog_->setValue(std::min(done_, turns_));
    QCoreApplication::processEvents();
}

void BatchProgress::Wait()
{
    if (!dialog_ && since_.elapsed() >= kCancellableAfterMs) ShowDialog();
    if (dialog_)
        QCoreApplication::processEvents();
    else
        status_.Yield();
}

bool BatchProgress::Cancelled() { return dialog_ && dialog_->wasCanceled(); }
