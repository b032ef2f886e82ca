#include "listing/row_order.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <string>


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

// The sort keys of one column, made once per sort and for that column only.
// A plain ASCII key is a run of bytes: of the row's stored name for the name
// and the extension, of one buffer for the numbers' texts. Any other key is
// a text of its own, compared through Unicode case folding.
class ColumnKeys {
public:
    ColumnKeys(const std::vector<ListRow> &rows, int column) : keys_(rows.size())
    {
        const bool named = column == ListRow::Name || column == ListRow::Ext;
        std::vector<std::size_t> starts;  // of the numbers' texts in `buffer_`, which grows meanwhile
        if (!named) starts.reserve(rows.size());
        for (std::size_t i = 0; i < rows.size(); ++i) {
            const QByteArray &tag = rows[i].Tag;
            if (named && IsAsciiBytes(tag.constData(), static_cast<std::size_t>(tag.size()))) {
                std::size_t from = 0;
                if (column == ListRow::Ext) {
                    const qsizetype dot = tag.lastIndexOf('.');
                    from = dot < 0 ? static_cast<std::size_t>(tag.size()) : static_cast<std::size_t>(dot + 1);
                }
                keys_[i] = {tag.constData() + from, static_cast<std::size_t>(tag.size()) - from, -1};
                continue;
            }
            const QString text = ColumnText(rows[i], column);
            if (!named && IsAscii(text)) {
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

    // Whether every key is a run of ASCII bytes.
    bool AllAscii() const { return wide_.empty(); }

    // The eight bytes of key `i` behind the first `from`, folded, in one
    // number that orders as they do (zeros behind a shorter key); it orders
    // two keys whenever it differs, which spares reaching their bytes.
    std::uint64_t Head(std::size_t i, std::size_t from) const
    {
        const Key &key = keys_[i];
        std::uint64_t head = 0;
        for (std::size_t k = from; k < from + 8; ++k)
            head = head << 8 | (k < key.size ? static_cast<unsigned char>(FoldAscii(char16_t(key.data[k]))) : 0u);
        return head;
    }

    // How many folded bytes all keys begin with alike (ASCII keys only).
    std::size_t CommonStart() const
    {
        if (keys_.empty()) return 0;
        const Key &first = keys_.front();
        std::size_t common = first.size;
        for (const Key &key : keys_) {
            std::size_t k = 0;
            while (k < common && k < key.size && FoldAscii(char16_t(key.data[k])) == FoldAscii(char16_t(first.data[k])))
                ++k;
            common = k;
            if (common == 0) break;
        }
        return common;
    }

    std::size_t Size(std::size_t i) const { return keys_[i].size; }

    // Compare() of two ASCII keys that begin with the same `from` folded bytes.
    int CompareAsciiFrom(std::size_t a, std::size_t b, std::size_t from) const
    {
        const Key &x = keys_[a], &y = keys_[b];
        return CompareFoldedAscii(x.data + from, x.size - from, y.data + from, y.size - from);
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

    static bool IsAscii(const QString &text)
    {
        for (QChar c : text)
            if (c.unicode() >= 0x80) return false;
        return true;
    }

    std::vector<Key> keys_;
    std::vector<char> buffer_;
    std::vector<QString> wide_;
};

// A place in a sort of ASCII keys, beside eight bytes of its key.
struct SortItem {
    std::uint64_t head = 0;
    std::size_t place = 0;
};

// Sorts the places `first` to `last`, whose keys all begin with the same
// `from` folded bytes, by the eight bytes behind them, held beside each
// place: most comparisons end there, in memory read in order. Places whose
// eight bytes are alike are sorted by the eight behind those, and so on,
// until one of their keys ends: those are compared whole.
void SortAsciiRun(const ColumnKeys &keys, SortItem *first, SortItem *last, std::size_t from, bool descending)
{
    for (SortItem *item = first; item != last; ++item) item->head = keys.Head(item->place, from);
    std::sort(first, last, [&](const SortItem &a, const SortItem &b) {
        if (a.head != b.head) return descending ? a.head > b.head : a.head < b.head;
        return a.place < b.place;
    });
    for (SortItem *run = first; run != last;) {
        SortItem *end = run + 1;
        while (end != last && end->head == run->head) ++end;
        if (end - run > 1) {
            if (std::all_of(run, end, [&](const SortItem &item) { return keys.Size(item.place) > from + 8; })) {
                SortAsciiRun(keys, run, end, from + 8, descending);
            } else {
                std::sort(run, end, [&](const SortItem &a, const SortItem &b) {
                    const int c = keys.CompareAsciiFrom(a.place, b.place, from);
                    return c != 0 ? (descending ? c > 0 : c < 0) : a.place < b.place;
                });
            }
        }
        run = end;
    }
}

}  // namespace

std::vector<std::size_t> SortRows(std::vector<ListRow> &rows, int sortKey, int sortOrder)
{
    const int column = std::clamp(sortKey, 0, int(ListRow::ColumnCount) - 1);
    const bool descending = sortOrder == 1;
    std::vector<std::size_t> order(rows.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    {
        // Equal keys keep their order by their places: a stable order.
        const ColumnKeys keys(rows, column);
        if (keys.AllAscii()) {
            std::vector<SortItem> items(rows.size());
            for (std::size_t i = 0; i < items.size(); ++i) items[i].place = i;
            SortAsciiRun(keys, items.data(), items.data() + items.size(), keys.CommonStart(), descending);
            for (std::size_t i = 0; i < items.size(); ++i) order[i] = items[i].place;
        } else {
            std::sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
                const int c = keys.Compare(a, b);
                return c != 0 ? (descending ? c > 0 : c < 0) : a < b;
            });
        }
    }
    // Each row moves once, along the cycles of the order, in place.
    std::vector<char> placed(rows.size(), 0);
    for (std::size_t start = 0; start < rows.size(); ++start) {
        if (placed[start]) continue;
        ListRow held = std::move(rows[start]);
        std::size_t at = start;
        for (std::size_t from = order[at]; from != start; from = order[at]) {
            rows[at] = std::move(rows[from]);
            placed[at] = 1;
            at = from;
        }
        rows[at] = std::move(held);
        placed[at] = 1;
    }
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
