// The progress of long work (an add or an extraction of many files, a
// listing or a file that takes long): a dialog with the file in work, the
// count when there is one, and a Cancel button, beside the status bar. What
// was done before Cancel is kept; the work ends properly.
#pragma once

#include <QElapsedTimer>
#include <QString>

#include <memory>

#include "listing/reporting.h"

class QProgressDialog;
class QWidget;
class StatusReport;

// Batches of more files than this get the dialog at once; shorter ones, and
// work of no count, get it once they have taken this long.
inline constexpr int kCancellableBatch = 300;
inline constexpr qint64 kCancellableAfterMs = 1000;

class BatchProgress : public StatusPanel, public EventQueue {
public:
    // Shows the dialog over `parent` when the batch, of `count` files or of
    // the count BeginBatch hears later, is longer than kCancellableBatch, or
    // at a turn after kCancellableAfterMs; either way the status texts also
    // go to `status`.
    BatchProgress(QWidget *parent, StatusReport &status, int count = 0);
    ~BatchProgress() override;

    void SetStatusText(const QString &text) override;
    void BeginBatch(int turns) override;
    void Yield() override;
    void Wait() override;
    bool Cancelled() override;

private:
    void ShowDialog();

    QWidget *parent_;
    StatusReport &status_;
    std::unique_ptr<QProgressDialog> dialog_;
    QString label_;  // the last status text, for a dialog that comes later
    int turns_ = 0;  // the batch's length; 0 while none is known
    int done_ = 0;
    QElapsedTimer since_;  // the work began
};
