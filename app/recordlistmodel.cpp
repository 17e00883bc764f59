#include "app/recordlistmodel.h"

#include <algorithm>

namespace {
const QString NoText = QStringLiteral("----");

bool isAscii(QStringView text)
{
    for (const QChar c : text) {
        if (c.unicode() >= 128)
            return false;
    }
    return true;
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
    buffer = QString();
    entries = QVector<Entry>();
    cells = QVector<quint64>();
    rowEntry = QVector<int>();
    rowId = QVector<int>();
    order = QVector<int>();
    position = QVector<int>();
    entered = 0;
    emptyEntry = literalDashes = -1;
    textOfId = QHash<int, int>();
    idsIndexed = false;
    ascending = true;
    namingNone.clear();
    endResetModel();
}

QStringView RecordListModel::entryText(int entry) const
{
    const Entry &e = entries.at(entry);
    return QStringView(buffer).mid(e.offset, e.length);
}

int RecordListModel::findEntry(QStringView text, uint hash) const
{
    if (cells.isEmpty())
        return -1;
    const int mask = cells.size() - 1;
    const quint64 *cell = cells.constData();
    for (int at = int(hash) & mask;; at = (at + 1) & mask) {
        const quint64 slot = cell[at];
        if (slot == 0)
            return -1;
        const int entry = int(quint32(slot)) - 1;
        if (quint32(slot >> 32) == hash && entryText(entry) == text)
            return entry;
    }
}

void RecordListModel::rehash(int capacity)
{
    const QVector<quint64> old = cells;
    cells = QVector<quint64>(capacity, 0);
    const int mask = capacity - 1;
    quint64 *cell = cells.data();
    for (const quint64 slot : old) {
        if (slot == 0)
            continue;
        int at = int(quint32(slot >> 32)) & mask;
        while (cell[at] != 0)
            at = (at + 1) & mask;
        cell[at] = slot;
    }
}

int RecordListModel::addEntry(QStringView text, uint hash)
{
    if ((entries.size() + 1) * 2 > cells.size())
        rehash(qMax(64, cells.size() * 2));
    Entry e;
    e.offset = buffer.size();
    e.length = int(text.size());
    buffer.append(text.data(), int(text.size()));
    entries.append(e);
    const int mask = cells.size() - 1;
    quint64 *cell = cells.data();
    int at = int(hash) & mask;
    while (cell[at] != 0)
        at = (at + 1) & mask;
    cell[at] = (quint64(hash) << 32) | quint32(entries.size());
    return entries.size() - 1;
}

void RecordListModel::append(const Batch &batch)
{
    if (batch.size() == 0)
        return;
    const int first = rowEntry.size();
    if (!sorted)
        beginInsertRows(QModelIndex(), first, first + batch.size() - 1);
    else
        emit layoutAboutToBeChanged();
    if (rowEntry.capacity() < first + batch.size()) {
        const int room = qMax(first + batch.size(), first + first / 2);
        rowEntry.reserve(room);
        rowId.reserve(room);
    }
    // The texts' hashes first, so that the table's cell of a row a few
    // ahead is on its way from memory while this row is looked up.
    constexpr int Ahead = 8;
    QVector<uint> hashes(batch.size());
    for (int i = 0; i < batch.size(); ++i)
        hashes[i] = qHash(batch.text(i));
    for (int i = 0; i < batch.size(); ++i) {
        if (i + Ahead < batch.size() && !cells.isEmpty())
            __builtin_prefetch(cells.constData() + (int(hashes.at(i + Ahead)) & (cells.size() - 1)));
        const QStringView text = batch.text(i);
        const uint hash = hashes.at(i);
        int entry = findEntry(text, hash);
        if (entry < 0) {
            entry = addEntry(text, hash);
            if (text.isEmpty())
                emptyEntry = entry;
            else if (text == QStringView(NoText))
                literalDashes = entry;
        }
        Entry &e = entries[entry];
        const int row = rowEntry.size();
        if (e.firstRow < 0)
            e.firstRow = row;
        if (batch.entered.at(i)) {
            if (!e.entered)
                ++entered;
            e.entered = 1;
            e.lastRow = row;
        }
        ascending = ascending && (rowId.isEmpty() || batch.ids.at(i) > rowId.last());
        rowEntry.append(entry);
        rowId.append(batch.ids.at(i));
    }
    idsIndexed = false;
    if (!sorted) {
        endInsertRows();
        return;
    }
    // The new rows, sorted among themselves, merged after equal older ones.
    const int old = order.size();
    for (int row = first; row < rowEntry.size(); ++row)
        order.append(row);
    const auto byText = [this](int a, int b) { return entryText(rowEntry.at(a)) < entryText(rowEntry.at(b)); };
    std::stable_sort(order.begin() + old, order.end(), byText);
    std::inplace_merge(order.begin(), order.begin() + old, order.end(), byText);
    position.resize(order.size());
    for (int i = 0; i < order.size(); ++i)
        position[order.at(i)] = i;
    emit layoutChanged();
}

void RecordListModel::setSorted(bool on)
{
    if (on == sorted)
        return;
    emit layoutAboutToBeChanged();
    sorted = on;
    order.clear();
    position.clear();
    if (sorted) {
        order.resize(rowEntry.size());
        for (int i = 0; i < order.size(); ++i)
            order[i] = i;
        std::stable_sort(order.begin(), order.end(),
                         [this](int a, int b) { return entryText(rowEntry.at(a)) < entryText(rowEntry.at(b)); });
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
    return parent.isValid() ? 0 : rowEntry.size();
}

QVariant RecordListModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= rowEntry.size())
        return QVariant();
    if (role == Qt::DisplayRole)
        return textAt(index.row());
    if (role == IdRole)
        return idAt(index.row());
    return QVariant();
}

int RecordListModel::idAt(int row) const
{
    return row >= 0 && row < rowId.size() ? rowId.at(arrivalRow(row)) : 0;
}

QString RecordListModel::textAt(int row) const
{
    if (row < 0 || row >= rowEntry.size())
        return QString();
    const QStringView text = entryText(rowEntry.at(arrivalRow(row)));
    return text.isEmpty() ? NoText : text.toString();
}

int RecordListModel::idOf(const QString &text)
{
    const int entry = findEntry(text, qHash(text));
    if (entry >= 0 && entries.at(entry).entered)
        return rowId.at(entries.at(entry).lastRow);
    if (!namingNone.contains(text))
        namingNone << text;
    return 0;
}

void RecordListModel::indexIds() const
{
    // The least text naming each id: an entry names the id of its last row.
    textOfId.clear();
    textOfId.reserve(entered);
    for (int i = 0; i < entries.size(); ++i) {
        const Entry &e = entries.at(i);
        if (!e.entered)
            continue;
        const int id = rowId.at(e.lastRow);
        const auto known = textOfId.find(id);
        if (known == textOfId.end())
            textOfId.insert(id, i);
        else if (entryText(i) < entryText(known.value()))
            known.value() = i;
    }
    idsIndexed = true;
}

int RecordListModel::entryNaming(int id) const
{
    if (ascending) {
        // Each id on one row: its text names it unless a later row took it.
        const auto at = std::lower_bound(rowId.cbegin(), rowId.cend(), id);
        if (at == rowId.cend() || *at != id)
            return -1;
        const int entry = rowEntry.at(int(at - rowId.cbegin()));
        const Entry &e = entries.at(entry);
        return e.entered && rowId.at(e.lastRow) == id ? entry : -1;
    }
    if (!idsIndexed)
        indexIds();
    return textOfId.value(id, -1);
}

bool RecordListModel::textOf(int id, QString *text) const
{
    const int entry = entryNaming(id);
    bool found = entry >= 0;
    if (found)
        *text = entryText(entry).toString();
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
    const int entry = findEntry(text, qHash(text));
    int row = entry >= 0 && !text.isEmpty() ? displayRow(entries.at(entry).firstRow) : -1;
    if (text == NoText && emptyEntry >= 0 && entries.at(emptyEntry).firstRow >= 0) {
        const int empty = displayRow(entries.at(emptyEntry).firstRow);
        row = row < 0 ? empty : qMin(row, empty);
    }
    return row;
}

QVector<int> RecordListModel::search(const QString &needle, int from) const
{
    QVector<int> hits;
    const QString wanted = folded(needle);
    const bool asciiNeedle = isAscii(wanted);
    // Each distinct text is tested once.
    QVector<char> tested(entries.size(), 0); // 0 not yet, 1 no, 2 yes
    const QString noText = folded(NoText);
    const bool noTextMatches = noText.contains(wanted);
    for (int row = qMax(0, from); row < rowEntry.size(); ++row) {
        const int entry = rowEntry.at(arrivalRow(row));
        char &state = tested[entry];
        if (state == 0) {
            const QStringView text = entryText(entry);
            bool match;
            if (text.isEmpty())
                match = noTextMatches;
            else if (asciiNeedle && isAscii(text))
                match = text.contains(wanted, Qt::CaseInsensitive);
            else
                match = folded(text.toString()).contains(wanted);
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
        const auto at = std::lower_bound(rowId.cbegin(), rowId.cend(), id);
        return at != rowId.cend() && *at == id ? int(at - rowId.cbegin()) : -1;
    }
    return rowId.indexOf(id);
}

void RecordListModel::reserve(int rows)
{
    rowEntry.reserve(rows);
    rowId.reserve(rows);
}
