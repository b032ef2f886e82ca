#include "listing/row_order.h"

#include <algorithm>
#include <numeric>
#include <string>

namespace {

// Text order without regard to case; plain ASCII letters are folded by hand,
// everything else through Unicode case folding.
int CompareFolded(const QString &a, const QString &b)
{
    const qsizetype n = std::min(a.size(), b.size());
    const QChar *pa = a.constData();
    const QChar *pb = b.constData();
    for (qsizetype i = 0; i < n; ++i) {
        char16_t x = pa[i].unicode(), y = pb[i].unicode();
        if (x == y) continue;
        if (x < 0x80 && y < 0x80) {
            if (x >= 'A' && x <= 'Z') x = char16_t(x + 32);
            if (y >= 'A' && y <= 'Z') y = char16_t(y + 32);
            if (x != y) return x < y ? -1 : 1;
            continue;
        }
        return QStringView(pa + i, a.size() - i).compare(QStringView(pb + i, b.size() - i), Qt::CaseInsensitive);
    }
    return a.size() == b.size() ? 0 : (a.size() < b.size() ? -1 : 1);
}

}  // namespace

std::vector<std::size_t> SortRows(std::vector<ListRow> &rows, int sortKey, int sortOrder)
{
    const int column = std::clamp(sortKey, 0, int(ListRow::ColumnCount) - 1);
    const bool descending = sortOrder == 1;
    // The texts are made once. Plain ASCII texts get a folded byte key for a
    // quick compare; the others compare through Unicode case folding. Then
    // the positions are sorted, and each row moves once.
    std::vector<QString> texts(rows.size());
    std::vector<std::string> keys(rows.size());
    std::vector<char> ascii(rows.size(), 1);
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const QString &text = texts[i] = ColumnText(rows[i], column);
        std::string &key = keys[i];
        key.resize(static_cast<std::size_t>(text.size()));
        for (qsizetype j = 0; j < text.size(); ++j) {
            char16_t u = text[j].unicode();
            if (u >= 0x80) { ascii[i] = 0; break; }
            if (u >= 'A' && u <= 'Z') u = char16_t(u + 32);
            key[static_cast<std::size_t>(j)] = static_cast<char>(u);
        }
    }
    std::vector<std::size_t> order(rows.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
        const int c = ascii[a] && ascii[b] ? keys[a].compare(keys[b]) : CompareFolded(texts[a], texts[b]);
        return descending ? c > 0 : c < 0;
    });
    std::vector<ListRow> sorted;
    sorted.reserve(rows.size());
    for (std::size_t index : order) sorted.push_back(std::move(rows[index]));
    rows = std::move(sorted);
    return order;
}

std::size_t SortedPlace(const std::vector<ListRow> &rows, const ListRow &row, int sortKey, int sortOrder)
{
    const int column = std::clamp(sortKey, 0, int(ListRow::ColumnCount) - 1);
    const bool descending = sortOrder == 1;
    const QString text = ColumnText(row, column);
    const auto place = std::upper_bound(rows.begin(), rows.end(), text, [&](const QString &t, const ListRow &other) {
        const int c = CompareFolded(t, ColumnText(other, column));
        return descending ? c > 0 : c < 0;
    });
    return static_cast<std::size_t>(place - rows.begin());
}
