// The progress of a long batch of files (an add or an extraction of many):
// a dialog with the file in work, the count and a Cancel button, beside the
// status bar. What was done before Cancel is kept; the batch ends properly.
#pragma once

#include <QString>

#include <memory>

#include "listing/reporting.h"

class QProgressDialog;
class QWidget;
class StatusReport;

// Batches of more files than this get the dialog; shorter ones the status bar alone.
inline constexpr int kCancellableBatch = 300;

class BatchProgress : public StatusPanel, public EventQueue {
public:
    // Shows the dialog over `parent` when the batch, of `count` files or of
    // the count BeginBatch hears later, is longer than kCancellableBatch;
    // either way the status texts also go to `status`.
    BatchProgress(QWidget *parent, StatusReport &status, int count = 0);
    ~BatchProgress() override;

    void SetStatusText(const QString &text) override;
    void BeginBatch(int turns) override;
    void Yield() override;
    void Wait() override;
    bool Cancelled() override;

private:
    QWidget *parent_;
    StatusReport &status_;
    std::unique_ptr<QProgressDialog> dialog_;
    QString label_;  // the last status text, for a dialog that comes later
    int done_ = 0;
};
