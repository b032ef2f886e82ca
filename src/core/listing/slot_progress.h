// The status text and progress bar of a listing that walks n + 1 hash slots.
#pragma once

#include <QString>

#include <cstdint>

#include "listing/list_row.h"
#include "listing/listing_options.h"
#include "listing/reporting.h"

class SlotProgress {
public:
    SlotProgress(ListingPorts &ports, const ListingOptions &options, std::int64_t n)
        : ports_(ports), n_(n), text_(options.opening), ready_(options.ready)
    {
    }

    // "0%", the bar's maximum, the bar shown.
    void Start()
    {
        ports_.status.SetStatusText(ListingOptions::Put(text_, QStringLiteral("0%")));
        ports_.progress.SetProgressMax(static_cast<int>(n_));
        ports_.progress.SetProgressVisible(true);
    }

    // Slot i, empty or not. The text is made anew only when the percentage
    // changes: a hundred times, not once per slot.
    void Step(std::int64_t i)
    {
        const double fraction = double(i) / double(n_);
        const qint64 percent = qRound64(fraction * 100.0);
        if (percent != shown_) {
            shown_ = percent;
            percentText_ = ListingOptions::Put(text_, FormatPercent(fraction));
        }
        ports_.status.SetStatusText(percentText_);
        ports_.progress.SetProgressValue(static_cast<int>(i));
    }

    // "Pronto", the bar hidden.
    void Finish()
    {
        ports_.status.SetStatusText(ready_);
        ports_.progress.SetProgressVisible(false);
    }

private:
    ListingPorts &ports_;
    std::int64_t n_;
    QString text_;
    QString ready_;
    QString percentText_;
    qint64 shown_ = -1;
};
