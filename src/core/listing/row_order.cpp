#include "listing/row_order.h"

#include <algorithm>
#include <cstdint>
#include <climits>
#include <cstring>
#include <numeric>
#include <string>
#include <string_view>


namespace {

char16_t FoldAscii(char16_t u) { return u >= 'A' && u <= 'Z' ? char16_t(u + 32) : u; }

// Text order without regard to case; plain ASCII letters are folded by hand,
// everything else through Unicode case folding.
int CompareFolded(QStringView a, QStringView b)
{
    const qsizetype n = std::min(a.size(), b.size());
    for (qsizetype i = 0; i < n; ++i) {
        char16_t x = a[i].unicode(), y = b[i].unicode();
        if (x == y) continue;
        if (x < 0x80 && y < 0x80) {
            x = FoldAscii(x);
            y = FoldAscii(y);
            if (x != y) return x < y ? -1 : 1;
            continue;
        }
        return a.mid(i).compare(b.mid(i), Qt::CaseInsensitive);
    }
    return a.size() == b.size() ? 0 : (a.size() < b.size() ? -1 : 1);
}

// The same order on texts of plain ASCII bytes. Names of one archive share
// long beginnings: equal bytes are skipped eight at a time.
int CompareFoldedAscii(const char *a, std::size_t an, const char *b, std::size_t bn)
{
    const std::size_t n = std::min(an, bn);
    std::size_t i = 0;
    for (std::uint64_t x = 0, y = 0; i + 8 <= n; i += 8) {
        std::memcpy(&x, a + i, 8);
        std::memcpy(&y, b + i, 8);
        if (x != y) break;
    }
    for (; i < n; ++i) {
        if (a[i] == b[i]) continue;
        const char16_t x = FoldAscii(char16_t(a[i])), y = FoldAscii(char16_t(b[i]));
        if (x != y) return x < y ? -1 : 1;
    }
    return an == bn ? 0 : (an < bn ? -1 : 1);
}

bool IsAsciiBytes(const char *data, std::size_t size)
{
    for (std::size_t i = 0; i < size; ++i)
        if (static_cast<unsigned char>(data[i]) >= 0x80) return false;
    return true;
}

// The rows a sort reads: a vector of rows, or a listing's records with
// their rows made on the fly. A row's name stays where it is while the
// sort runs.
struct VectorRows {
    const std::vector<ListRow> &rows;
    std::size_t size() const { return rows.size(); }
    QByteArrayView Tag(std::size_t i) const { return rows[i].Tag; }
    const ListRow &Row(std::size_t i) const { return rows[i]; }
};

struct RecordRows {
    const mpq::FileList &records;
    std::size_t size() const { return records.size(); }
    QByteArrayView Tag(std::size_t i) const
    {
        const std::string_view name = records.Name(i);
        return QByteArrayView(name.data(), static_cast<qsizetype>(name.size()));
    }
    ListRow Row(std::size_t i) const
    {
        const QByteArrayView name = Tag(i);
        ListRow row;
        row.Tag = QByteArray::fromRawData(name.data(), name.size());
        row.FullSize = records[i].FullSize;
        row.CompressedSize = records[i].CompressedSize;
        row.Flags = records[i].Flags;
        return row;
    }
};

// The key of a named column: the name, or the extension behind its last dot.
QByteArrayView NamedKey(QByteArrayView tag, int column)
{
    if (column != ListRow::Ext) return tag;
    const qsizetype dot = tag.lastIndexOf('.');
    return dot < 0 ? QByteArrayView() : tag.sliced(dot + 1);
}

bool IsNamedColumn(int column) { return column == ListRow::Name || column == ListRow::Ext; }

bool IsAsciiText(const QString &text)
{
    for (QChar c : text)
        if (c.unicode() >= 0x80) return false;
    return true;
}

// The sort keys of one column where some key is not plain ASCII, made once
// per sort and for that column only. A plain ASCII key is a run of bytes:
// of the row's stored name for the name and the extension, of one buffer
// for the numbers' texts. Any other key is a text of its own, compared
// through Unicode case folding.
class ColumnKeys {
public:
    template <typename Rows>
    ColumnKeys(const Rows &rows, int column) : keys_(rows.size())
    {
        const bool named = IsNamedColumn(column);
        std::vector<std::size_t> starts;  // of the numbers' texts in `buffer_`, which grows meanwhile
        if (!named) starts.reserve(rows.size());
        for (std::size_t i = 0; i < rows.size(); ++i) {
            const QByteArrayView tag = rows.Tag(i);
            if (named && IsAsciiBytes(tag.data(), static_cast<std::size_t>(tag.size()))) {
                const QByteArrayView key = NamedKey(tag, column);
                keys_[i] = {key.data(), static_cast<std::size_t>(key.size()), -1};
                continue;
            }
            const QString text = ColumnText(rows.Row(i), column);
            if (!named && IsAsciiText(text)) {
                starts.push_back(buffer_.size());
                for (QChar c : text) buffer_.push_back(static_cast<char>(c.unicode()));
                keys_[i] = {nullptr, static_cast<std::size_t>(text.size()), -1};
                continue;
            }
            keys_[i] = {nullptr, 0, static_cast<qsizetype>(wide_.size())};
            wide_.push_back(text);
        }
        // The buffer is whole now: the numbers' keys point into it.
        std::size_t next = 0;
        if (!named)
            for (Key &key : keys_)
                if (key.wide < 0) key.data = buffer_.data() + starts[next++];
    }

    int Compare(std::size_t a, std::size_t b) const
    {
        const Key &x = keys_[a], &y = keys_[b];
        if (x.wide < 0 && y.wide < 0) return CompareFoldedAscii(x.data, x.size, y.data, y.size);
        return CompareFolded(Text(x), Text(y));
    }

private:
    struct Key {
        const char *data = nullptr;
        std::size_t size = 0;
        qsizetype wide = -1;  // the text's place in `wide_`, or -1 for a run of ASCII bytes
    };

    QString Text(const Key &key) const
    {
        if (key.wide >= 0) return wide_[static_cast<std::size_t>(key.wide)];
        return QString::fromLatin1(key.data, static_cast<qsizetype>(key.size));
    }

    std::vector<Key> keys_;
    std::vector<char> buffer_;
    std::vector<QString> wide_;
};

// A place in a sort of ASCII keys, beside its key's bytes and eight of
// them in one number.
struct SortItem {
    std::uint64_t head = 0;
    const char *data = nullptr;
    std::uint32_t size = 0;
    std::uint32_t place = 0;
};

// The eight bytes of an ASCII key behind its first `from`, folded, in one
// number that orders as they do (zeros behind a shorter key): two keys whose
// numbers differ are ordered by them alone.
std::uint64_t HeadOf(const SortItem &item, std::size_t from)
{
    unsigned char bytes[8] = {};
    if (from < item.size) std::memcpy(bytes, item.data + from, std::min<std::size_t>(8, item.size - from));
    std::uint64_t head = 0;
    for (unsigned char b : bytes) head = head << 8 | b;
    // Each byte below 0x80: adding keeps within it. A byte from 'A' to 'Z'
    // gets the bit of its lower case.
    constexpr std::uint64_t ones = 0x0101010101010101ull, highs = ones * 0x80;
    const std::uint64_t fromA = (head + ones * (0x80 - 'A')) & highs;
    const std::uint64_t pastZ = (head + ones * (0x80 - 'Z' - 1)) & highs;
    return head | (fromA & ~pastZ) >> 2;
}

// Sorts the places `first` to `last`, whose keys all begin with the same
// `from` folded bytes, by the eight bytes behind them, held beside each
// place: most comparisons end there, in memory read in order. Places whose
// eight bytes are alike are sorted by the eight behind those, and so on,
// until one of their keys ends: those are compared whole.
void SortAsciiRun(SortItem *first, SortItem *last, std::size_t from, bool descending)
{
    for (SortItem *item = first; item != last; ++item) item->head = HeadOf(*item, from);
    std::sort(first, last, [&](const SortItem &a, const SortItem &b) {
        if (a.head != b.head) return descending ? a.head > b.head : a.head < b.head;
        return a.place < b.place;
    });
    for (SortItem *run = first; run != last;) {
        SortItem *end = run + 1;
        while (end != last && end->head == run->head) ++end;
        if (end - run > 1) {
            if (std::all_of(run, end, [&](const SortItem &item) { return item.size > from + 8; })) {
                SortAsciiRun(run, end, from + 8, descending);
            } else {
                std::sort(run, end, [&](const SortItem &a, const SortItem &b) {
                    const int c = CompareFoldedAscii(a.data + from, a.size - from, b.data + from, b.size - from);
                    return c != 0 ? (descending ? c > 0 : c < 0) : a.place < b.place;
                });
            }
        }
        run = end;
    }
}

// The ASCII keys of a column as sort items, in `buffer` for the numbers'
// texts; none when some key is not plain ASCII.
template <typename Rows>
std::vector<SortItem> AsciiItems(const Rows &rows, int column, std::vector<char> &buffer)
{
    std::vector<SortItem> items(rows.size());
    const bool named = IsNamedColumn(column);
    for (std::size_t i = 0; i < items.size(); ++i) {
        if (named) {
            const QByteArrayView tag = rows.Tag(i);
            if (!IsAsciiBytes(tag.data(), static_cast<std::size_t>(tag.size()))) return {};
            const QByteArrayView key = NamedKey(tag, column);
            items[i] = {0, key.data(), static_cast<std::uint32_t>(key.size()), static_cast<std::uint32_t>(i)};
            continue;
        }
        const QString text = ColumnText(rows.Row(i), column);
        if (!IsAsciiText(text)) return {};
        // Where the text starts, until the buffer is whole.
        items[i] = {buffer.size(), nullptr, static_cast<std::uint32_t>(text.size()), static_cast<std::uint32_t>(i)};
        for (QChar c : text) buffer.push_back(static_cast<char>(c.unicode()));
    }
    if (!named)
        for (SortItem &item : items) item.data = buffer.data() + item.head;
    return items;
}

// How many folded bytes all the items' keys begin with alike.
std::size_t CommonStart(const std::vector<SortItem> &items)
{
    if (items.empty()) return 0;
    const SortItem &first = items.front();
    std::size_t common = first.size;
    for (const SortItem &item : items) {
        std::size_t k = 0;
        while (k < common && k < item.size && FoldAscii(char16_t(item.data[k])) == FoldAscii(char16_t(first.data[k])))
            ++k;
        common = k;
        if (common == 0) break;
    }
    return common;
}

// Where each row of the sorted order comes from. Equal keys keep their
// order by their places: a stable order.
template <typename Rows>
std::vector<std::uint32_t> SortOrder(const Rows &rows, int sortKey, int sortOrder)
{
    const int column = std::clamp(sortKey, 0, int(ListRow::ColumnCount) - 1);
    const bool descending = sortOrder == 1;
    std::vector<std::uint32_t> order(rows.size());
    {
        std::vector<char> buffer;
        std::vector<SortItem> items = AsciiItems(rows, column, buffer);
        if (items.size() == rows.size()) {
            SortAsciiRun(items.data(), items.data() + items.size(), CommonStart(items), descending);
            for (std::size_t i = 0; i < items.size(); ++i) order[i] = items[i].place;
            return order;
        }
    }
    std::iota(order.begin(), order.end(), std::uint32_t{0});
    const ColumnKeys keys(rows, column);
    std::sort(order.begin(), order.end(), [&](std::uint32_t a, std::uint32_t b) {
        const int c = keys.Compare(a, b);
        return c != 0 ? (descending ? c > 0 : c < 0) : a < b;
    });
    return order;
}

}  // namespace

std::vector<std::size_t> SortRows(std::vector<ListRow> &rows, int sortKey, int sortOrder)
{
    const std::vector<std::uint32_t> order = SortOrder(VectorRows{rows}, sortKey, sortOrder);
    // The rows moved into their places in their own array, a cycle of the
    // order at a time: no second array of rows stands beside the first.
    std::vector<bool> placed(rows.size());
    for (std::size_t start = 0; start < rows.size(); ++start) {
        if (placed[start] || order[start] == start) continue;
        ListRow held = std::move(rows[start]);
        std::size_t at = start;
        for (std::size_t from = order[at]; from != start; at = from, from = order[at]) {
            rows[at] = std::move(rows[from]);
            placed[at] = true;
        }
        rows[at] = std::move(held);
        placed[at] = true;
    }
    return std::vector<std::size_t>(order.begin(), order.end());
}

std::vector<std::uint32_t> SortRecords(const mpq::FileList &records, int sortKey, int sortOrder)
{
    return SortOrder(RecordRows{records}, sortKey, sortOrder);
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
