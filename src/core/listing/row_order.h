// The order of the list: by the text of one column, either way.
#pragma once

#include <cstddef>
#include <vector>

#include "listing/list_row.h"

// Stable, by the column's text as shown (ColumnText: numbers too, in the
// user's locale) compared without regard to case; descending when
// `sortOrder` is 1. Returns where each row came from: entry i is the former
// place of the row that now stands at i.
std::vector<std::size_t> SortRows(std::vector<ListRow> &rows, int sortKey, int sortOrder);

// The place of `row` among `rows`, which are sorted so: behind every row
// that sorts before it or with it, where a stable sort would put it last
// in.
std::size_t SortedPlace(const std::vector<ListRow> &rows, const ListRow &row, int sortKey, int sortOrder);
