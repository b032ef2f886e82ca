// The order of the list: by the text of one column, either way.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "listing/list_row.h"
#include "mpq/mpq_library.h"

// Stable, by the column's text as shown (ColumnText: numbers too, in the
// user's locale) compared without regard to case; descending when
// `sortOrder` is 1. Returns where each row came from: entry i is the former
// place of the row that now stands at i.
std::vector<std::size_t> SortRows(std::vector<ListRow> &rows, int sortKey, int sortOrder);

// The same order of the rows of a listing's records, without making them:
// entry i is the record whose row stands at i.
std::vector<std::uint32_t> SortRecords(const mpq::FileList &records, int sortKey, int sortOrder);

// The place of `row` among `rows`, which are sorted so: behind every row
// that sorts before it or with it, where a stable sort would put it last
// in.
std::size_t SortedPlace(const std::vector<ListRow> &rows, const ListRow &row, int sortKey, int sortOrder);
