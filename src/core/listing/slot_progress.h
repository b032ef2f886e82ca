// The status text and progress bar of a listing that walks the files of an
// archive. Both change only when the percentage shown does: a hundred times
// in all, however many files there are.
#pragma once

#include <QString>

#include <cstdint>

#include "listing/list_row.h"
#include "listing/listing_options.h"
#include "listing/reporting.h"

class SlotProgress {
public:
    SlotProgress(StatusPanel &status, ProgressBar &progress, const ListingOptions &options, std::int64_t n)
        : status_(status), progress_(progress), n_(n), text_(options.opening), ready_(options.ready)
    {
    }

    // "0%", the bar's maximum, the bar shown.
    void Start()
    {
        status_.SetStatusText(ListingOptions::Put(text_, QStringLiteral("0%")));
        progress_.SetProgressMax(static_cast<int>(n_));
        progress_.SetProgressValue(0);
        progress_.SetProgressVisible(true);
    }

    // File i of n is done.
    void Step(std::int64_t i)
    {
        const double fraction = double(i) / double(n_);
        const qint64 percent = qRound64(fraction * 100.0);
        if (percent == shown_) return;
        shown_ = percent;
        status_.SetStatusText(ListingOptions::Put(text_, FormatPercent(fraction)));
        progress_.SetProgressValue(static_cast<int>(i));
    }

    // "Pronto", the bar hidden.
    void Finish()
    {
        status_.SetStatusText(ready_);
        progress_.SetProgressVisible(false);
    }

private:
    StatusPanel &status_;
    ProgressBar &progress_;
    std::int64_t n_;
    QString text_;
    QString ready_;
    qint64 shown_ = 0;
};
