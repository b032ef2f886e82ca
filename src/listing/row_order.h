// The order of the list: by the text of one column, either way.
#pragma once

#include <vector>

#include "listing/list_row.h"

// Stable, by the column's text compared without regard to case; descending
// when `sortOrder` is 1.
void SortRows(std::vector<ListRow> &rows, int sortKey, int sortOrder);
