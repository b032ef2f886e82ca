// The progress of a long batch of files (an add or an extraction of many):
// a dialog with the file in work, the count and a Cancel button, beside the
// status bar. What was done before Cancel is kept; the batch ends properly.
#pragma once

#include <memory>

#include "listing/reporting.h"

class QProgressDialog;
class QWidget;
class StatusReport;

// Batches of more files than this get the dialog; shorter ones the status bar alone.
inline constexpr int kCancellableBatch = 300;

class BatchProgress : public StatusPanel, public EventQueue {
public:
    // Shows the dialog over `parent` when `count` is above kCancellableBatch;
    // either way the status texts also go to `status`.
    BatchProgress(QWidget *parent, StatusReport &status, int count);
    ~BatchProgress() override;

    void SetStatusText(const QString &text) override;
    void Yield() override;
    bool Cancelled() override;

private:
    StatusReport &status_;
    std::unique_ptr<QProgressDialog> dialog_;
    int done_ = 0;
};
