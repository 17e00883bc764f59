#include "app/recordlistmodel.h"

#include <QHashFunctions>

#include <algorithm>
#include <vector>

#ifdef __linux__
#include <sys/mman.h>
#endif

namespace {
const QString NoText = QStringLiteral("----");
// The most texts met lately that a list remembers by their hash: 2^RecentBits.
constexpr int RecentBits = 14;

// A text's hash, and its place among 2^bits places: texts alike (numbered
// names, say) have hashes alike, which the multiplication spreads.
uint hashOf(std::string_view text, uint seed = 0)
{
    return qHashBits(text.data(), text.size(), seed);
}
int placeOf(uint hash, int bits)
{
    return int((hash * 0x9E3779B1u) >> (32 - bits));
}

bool isAscii(const QString &text)
{
    for (const QChar c : text) {
        if (c.unicode() >= 128)
            return false;
    }
    return true;
}

bool isAsciiUtf8(std::string_view text)
{
    for (const char c : text) {
        if (uchar(c) >= 0x80)
            return false;
    }
    return true;
}

// A table of zeros made for one piece of work. On Linux a large one is
// mapped in huge pages where the system allows: a page fault per 4 KB
// of a table of many megabytes costs more than the work itself.
template <typename T> class ZeroedTable
{
public:
    explicit ZeroedTable(size_t count) : bytes(count * sizeof(T))
    {
#ifdef __linux__
        if (bytes >= (size_t(4) << 20)) {
            void *mapped = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
            if (mapped != MAP_FAILED) {
                madvise(mapped, bytes, MADV_HUGEPAGE);
                start = static_cast<T *>(mapped);
                return;
            }
        }
#endif
        fallback.assign(count, T());
        start = fallback.data();
    }
    ~ZeroedTable()
    {
#ifdef __linux__
        if (fallback.empty() && start)
            munmap(start, bytes);
#endif
    }
    ZeroedTable(const ZeroedTable &) = delete;
    ZeroedTable &operator=(const ZeroedTable &) = delete;
    T *data() { return start; }

private:
    size_t bytes;
    T *start = nullptr;
    std::vector<T> fallback;
};

QString toQString(std::string_view text)
{
    return QString::fromUtf8(text.data(), int(text.size()));
}

// Texts in the order strings compare them (by their UTF-16 code units), read
// from UTF-8: byte order is the order of the characters, which differs from
// it only where a character above U+FFFF (written with a surrogate pair,
// D800-DFFF) meets one from U+E000 to U+FFFF.
bool lessAsStrings(std::string_view a, std::string_view b)
{
    const size_t common = std::min(a.size(), b.size());
    const size_t at = size_t(std::mismatch(a.begin(), a.begin() + common, b.begin()).first - a.begin());
    if (at == common)
        return a.size() < b.size();
    size_t start = at;
    while (start > 0 && (uchar(a[start]) & 0xC0) == 0x80)
        --start;
    const uchar leadA = uchar(a[start]), leadB = uchar(b[start]);
    const bool pairA = leadA >= 0xF0, pairB = leadB >= 0xF0;
    if (pairA != pairB && (pairA ? leadB : leadA) >= 0xEE)
        return pairA;
    return uchar(a[at]) < uchar(b[at]);
}
} // namespace

QString RecordListModel::shownText(const QString &value)
{
    int end = value.size();
    for (const char *lineEnd : {"\n", "\r"}) {
        const int at = value.indexOf(QLatin1String(lineEnd));
        if (at >= 0)
            end = qMin(end, at);
    }
    return end <= ShownLength && end == value.size() ? value : value.left(qMin(end, ShownLength));
}

QString RecordListModel::folded(const QString &text)
{
    if (isAscii(text))
        return text.toLower();
    const QString decomposed = text.normalized(QString::NormalizationForm_D);
    QString result;
    result.reserve(decomposed.size());
    for (const QChar c : decomposed) {
        if (c.category() != QChar::Mark_NonSpacing)
            result += c;
    }
    return result.toCaseFolded();
}

RecordListModel::RecordListModel(QObject *parent) : QAbstractListModel(parent)
{
}

void RecordListModel::clear()
{
    beginResetModel();
    buffer = QByteArray();
    entries = QVector<Entry>();
    recent = QVector<quint64>();
    recentBits = 0;
    rowEntry = QVector<int>();
    rowId = QVector<int>();
    order = QVector<int>();
    position = QVector<int>();
    enteredRows = keptEnteredRows = 0;
    shown = shownEntries = 0;
    ascending = true;
    namingNone.clear();
    ++version;
    endResetModel();
}

int RecordListModel::addEntry(Utf8 text, bool enter)
{
    Entry e;
    e.offset = buffer.size();
    e.length = uint(text.size());
    e.entered = enter ? 1 : 0;
    buffer.append(text.data(), int(text.size()));
    entries.append(e);
    return entries.size() - 1;
}

void RecordListModel::append(const Batch &batch, bool show)
{
    if (batch.size() == 0)
        return;
    const int first = rowEntry.size();
    if (rowEntry.capacity() < first + batch.size()) {
        const int room = qMax(first + batch.size(), first + first / 2);
        rowEntry.reserve(room);
        rowId.reserve(room);
    }
    // The table of texts met lately grows with the list, up to its most: a
    // short list makes a small one.
    int bits = qMax(recentBits, 6);
    while (bits < RecentBits && (1 << bits) < rowEntry.size() + batch.size())
        ++bits;
    if (bits != recentBits) {
        recent = QVector<quint64>(1 << bits, 0);
        recentBits = bits;
    }
    quint64 *remembered = recent.data();
    for (int i = 0; i < batch.size(); ++i) {
        const Utf8 text = batch.text(i);
        const bool enter = batch.entered.at(i);
        const uint hash = hashOf(text, enter ? 1 : 0);
        quint64 &slot = remembered[placeOf(hash, recentBits)];
        int entry = -1;
        if (slot != 0 && quint32(slot >> 32) == hash) {
            const int known = int(quint32(slot)) - 1;
            if (bool(entries.at(known).entered) == enter && entryText(known) == text)
                entry = known;
        }
        if (entry < 0) {
            entry = addEntry(text, enter);
            slot = (quint64(hash) << 32) | quint32(entry + 1);
        }
        if (enter)
            ++keptEnteredRows;
        const int id = batch.ids.at(i);
        ascending = ascending && (rowId.isEmpty() || id > rowId.last());
        rowEntry.append(entry);
        rowId.append(id);
    }
    if (show || sorted)
        publish();
}

void RecordListModel::publish()
{
    const int first = shown, last = rowEntry.size();
    if (first == last)
        return;
    const auto take = [&] {
        shown = last;
        shownEntries = entries.size();
        enteredRows = keptEnteredRows;
        ++version;
    };
    if (!sorted) {
        beginInsertRows(QModelIndex(), first, last - 1);
        take();
        endInsertRows();
        return;
    }
    emit layoutAboutToBeChanged();
    take();
    // The new rows, sorted among themselves, merged after equal older ones.
    const int old = order.size();
    for (int row = first; row < last; ++row)
        order.append(row);
    const auto byText = [this](int a, int b) { return rowBefore(a, b); };
    std::stable_sort(order.begin() + old, order.end(), byText);
    std::inplace_merge(order.begin(), order.begin() + old, order.end(), byText);
    position.resize(order.size());
    for (int i = 0; i < order.size(); ++i)
        position[order.at(i)] = i;
    emit layoutChanged();
}

bool RecordListModel::rowBefore(int a, int b) const
{
    return rowEntry.at(a) != rowEntry.at(b) && lessAsStrings(entryText(rowEntry.at(a)), entryText(rowEntry.at(b)));
}

void RecordListModel::setSorted(bool on)
{
    if (on == sorted)
        return;
    publish();
    emit layoutAboutToBeChanged();
    sorted = on;
    order.clear();
    position.clear();
    if (sorted) {
        order.resize(shown);
        for (int i = 0; i < order.size(); ++i)
            order[i] = i;
        std::stable_sort(order.begin(), order.end(), [this](int a, int b) { return rowBefore(a, b); });
        position.resize(order.size());
        for (int i = 0; i < order.size(); ++i)
            position[order.at(i)] = i;
    }
    emit layoutChanged();
}

int RecordListModel::displayRow(int arrival) const
{
    return sorted ? position.at(arrival) : arrival;
}

int RecordListModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : shown;
}

QVariant RecordListModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= shown)
        return QVariant();
    if (role == Qt::DisplayRole)
        return textAt(index.row());
    if (role == IdRole)
        return idAt(index.row());
    return QVariant();
}

int RecordListModel::idAt(int row) const
{
    return row >= 0 && row < shown ? rowId.at(arrivalRow(row)) : 0;
}

QString RecordListModel::textAt(int row) const
{
    if (row < 0 || row >= shown)
        return QString();
    const Utf8 text = entryText(rowEntry.at(arrivalRow(row)));
    return text.empty() ? NoText : toQString(text);
}

int RecordListModel::lastEnteredRow(Utf8 text, int from) const
{
    int differs = -1; // an entry known not to hold the text: rows repeat entries
    for (int row = shown - 1; row >= from; --row) {
        const int entry = rowEntry.at(row);
        if (entry == differs)
            continue;
        const Entry &e = entries.at(entry);
        if (e.entered && e.length == text.size() && entryText(entry) == text)
            return row;
        differs = entry;
    }
    return -1;
}

int RecordListModel::firstRowShowing(Utf8 text) const
{
    int differs = -1;
    for (int row = 0; row < shown; ++row) {
        const int entry = rowEntry.at(row);
        if (entry == differs)
            continue;
        if (entries.at(entry).length == text.size() && entryText(entry) == text)
            return row;
        differs = entry;
    }
    return -1;
}

int RecordListModel::idOf(const QString &text)
{
    const QByteArray wanted = text.toUtf8();
    if (askedVersion == version && askedText == wanted)
        return askedId;
    const int row = lastEnteredRow(Utf8(wanted.constData(), size_t(wanted.size())), 0);
    if (row >= 0) {
        askedText = wanted;
        askedVersion = version;
        askedId = rowId.at(row);
        return askedId;
    }
    if (!namingNone.contains(text))
        namingNone << text;
    return 0;
}

bool RecordListModel::textOf(int id, QString *text) const
{
    // The rows listing id: with ids that grow, the one found by bisection.
    QVector<int> rows;
    if (ascending) {
        const auto end = rowId.cbegin() + shown;
        const auto at = std::lower_bound(rowId.cbegin(), end, id);
        if (at != end && *at == id)
            rows << int(at - rowId.cbegin());
    } else {
        for (int row = 0; row < shown; ++row) {
            if (rowId.at(row) == id)
                rows << row;
        }
    }
    // A row's text names id when no later row entered it.
    bool found = false;
    for (const int row : qAsConst(rows)) {
        const int entry = rowEntry.at(row);
        if (!entries.at(entry).entered || lastEnteredRow(entryText(entry), row + 1) >= 0)
            continue;
        const QString named = toQString(entryText(entry));
        if (!found || named < *text)
            *text = named;
        found = true;
    }
    if (id == 0) {
        for (const QString &none : namingNone) {
            if (!found || none < *text)
                *text = none;
            found = true;
        }
    }
    return found;
}

int RecordListModel::rowOf(int id) const
{
    QString text;
    if (!textOf(id, &text))
        return 0;
    // The first item showing that text: "----" is shown by the records
    // without text as well; the empty text of a lookup by no item.
    if (text.isEmpty())
        return -1;
    const QByteArray wanted = text.toUtf8();
    const int arrival = firstRowShowing(Utf8(wanted.constData(), size_t(wanted.size())));
    int row = arrival >= 0 ? displayRow(arrival) : -1;
    if (text == NoText) {
        const int empty = firstRowShowing(Utf8());
        if (empty >= 0)
            row = row < 0 ? displayRow(empty) : qMin(row, displayRow(empty));
    }
    return row;
}

int RecordListModel::countMapped() const
{
    // The distinct entered texts, gathered in a table made for the count:
    // each place holds a text's hash above its entry + 1 (0: free), so that
    // a probe compares texts only when their hashes agree. The hash of a text
    // a few ahead is worked out first, so that its place is on its way from
    // memory when it is needed.
    int candidates = 0;
    for (int entry = 0; entry < shownEntries; ++entry)
        candidates += entries.at(entry).entered;
    int bits = 6;
    while ((1 << bits) < 2 * candidates)
        ++bits;
    const int mask = (1 << bits) - 1;
    ZeroedTable<quint64> table(size_t(1) << bits);
    quint64 *place = table.data();
    constexpr int Ahead = 8;
    uint ahead[Ahead] = {};
    const auto hashAt = [this](int entry) { return entry < shownEntries ? hashOf(entryText(entry)) : 0u; };
    for (int entry = 0; entry < Ahead; ++entry)
        ahead[entry] = hashAt(entry);
    int count = 0;
    for (int entry = 0; entry < shownEntries; ++entry) {
        const uint hash = ahead[entry % Ahead];
        ahead[entry % Ahead] = hashAt(entry + Ahead);
        __builtin_prefetch(place + placeOf(ahead[entry % Ahead], bits));
        if (!entries.at(entry).entered)
            continue;
        for (int at = placeOf(hash, bits);; at = (at + 1) & mask) {
            const quint64 held = place[at];
            if (held == 0) {
                place[at] = (quint64(hash) << 32) | quint32(entry + 1);
                ++count;
                break;
            }
            if (quint32(held >> 32) == hash && entryText(int(quint32(held)) - 1) == entryText(entry))
                break;
        }
    }
    return count;
}

int RecordListModel::mapSize() const
{
    if (enteredRows == 0)
        return namingNone.size();
    if (mappedVersion != version) {
        mapped = countMapped();
        mappedVersion = version;
    }
    return mapped + namingNone.size();
}

QVector<int> RecordListModel::search(const QString &needle, int from) const
{
    QVector<int> hits;
    const QString wanted = folded(needle);
    const QByteArray wantedUtf8 = wanted.toUtf8();
    const QLatin1String wantedAscii(wantedUtf8);
    const bool asciiNeedle = isAscii(wanted);
    // Each text kept is tested once.
    QVector<char> tested(entries.size(), 0); // 0 not yet, 1 no, 2 yes
    const bool noTextMatches = folded(NoText).contains(wanted);
    for (int row = qMax(0, from); row < shown; ++row) {
        const int entry = rowEntry.at(arrivalRow(row));
        char &state = tested[entry];
        if (state == 0) {
            const Utf8 text = entryText(entry);
            bool match;
            if (text.empty())
                match = noTextMatches;
            else if (asciiNeedle && isAsciiUtf8(text))
                match = QLatin1String(text.data(), int(text.size())).contains(wantedAscii, Qt::CaseInsensitive);
            else
                match = folded(toQString(text)).contains(wanted);
            state = match ? 2 : 1;
        }
        if (state == 2)
            hits << row;
    }
    return hits;
}

int RecordListModel::arrivalRowOfId(int id) const
{
    if (ascending) {
        const auto end = rowId.cbegin() + shown;
        const auto at = std::lower_bound(rowId.cbegin(), end, id);
        return at != end && *at == id ? int(at - rowId.cbegin()) : -1;
    }
    const int at = rowId.indexOf(id);
    return at < shown ? at : -1;
}

void RecordListModel::reserve(int rows)
{
    rowEntry.reserve(rows);
    rowId.reserve(rows);
}
