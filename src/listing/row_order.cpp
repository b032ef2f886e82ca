#include "listing/row_order.h"

#include <algorithm>

void SortRows(std::vector<ListRow> &rows, int sortKey, int sortOrder)
{
    const int column = std::clamp(sortKey, 0, int(ListRow::ColumnCount) - 1);
    const bool descending = sortOrder == 1;
    std::stable_sort(rows.begin(), rows.end(), [&](const ListRow &a, const ListRow &b) {
        const int c = QString::compare(a.columns[column], b.columns[column], Qt::CaseInsensitive);
        return descending ? c > 0 : c < 0;
    });
}
