#include "exchange/recordfile.h"

#include "storage/namingscheme.h"

#include <QFile>
#include <QHash>
#include <QIODevice>
#include <QTextCodec>
#include <QTextStream>
#include <cstring>
#include <limits>
#include <vector>

namespace {

const char *const IdColumn = "RINTEGERFORMAT_Id";
const char *const UserPathColumn = "NLONGSTRINGFORMAT_UserPath";
const char *const LookupMarker = "_XDTX_";
const char *const RepeatMarker = "_XMLTYX_";
const QString Separator = QStringLiteral("###");

// Identifiers are compared as the uniqueness test of new records compares
// them: in lower case, with runs of blanks as one and none at the ends. The
// key is that text in UTF-8.
QByteArray normalized(const QString &text)
{
    return text.toLower().simplified().toUtf8();
}

// The same key from the bytes of the file; plain ASCII is done in place.
void normalizedInto(const QByteArray &bytes, QByteArray *key)
{
    key->resize(0);
    for (const char c : bytes) {
        if (c & 0x80) {
            *key = normalized(QString::fromUtf8(bytes));
            return;
        }
    }
    bool blank = false;
    for (const char c : bytes) {
        if (c == ' ' || (c >= '\t' && c <= '\r')) {
            blank = !key->isEmpty();
            continue;
        }
        if (blank)
            key->append(' ');
        blank = false;
        key->append(c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c);
    }
}

// A set of ids in one block.
class IdSet
{
public:
    void reserve(int ids)
    {
        if (size_t(ids) * 2 > cells.size())
            rehash(size_t(ids) * 2);
    }
    int size() const { return int(count); }
    bool contains(int id) const
    {
        if (cells.empty())
            return false;
        const size_t mask = cells.size() - 1;
        for (size_t at = hash(id) & mask;; at = (at + 1) & mask) {
            if (cells[at] == Free)
                return false;
            if (cells[at] == id)
                return true;
        }
    }
    void insert(int id)
    {
        if (contains(id))
            return;
        if ((count + 1) * 2 > cells.size())
            rehash(qMax<size_t>(64, cells.size() * 2));
        place(id);
        ++count;
    }

private:
    static constexpr qint64 Free = std::numeric_limits<qint64>::min();
    static size_t hash(int id) { return size_t(quint32(id) * 2654435761u); }
    void place(qint64 id)
    {
        const size_t mask = cells.size() - 1;
        size_t at = hash(int(id)) & mask;
        while (cells[at] != Free)
            at = (at + 1) & mask;
        cells[at] = id;
    }
    void rehash(size_t wanted)
    {
        size_t size = 64;
        while (size < wanted)
            size *= 2;
        std::vector<qint64> old(size, Free);
        old.swap(cells);
        for (const qint64 id : old) {
            if (id != Free)
                place(id);
        }
    }

    std::vector<qint64> cells;
    size_t count = 0;
};

// A set of byte strings kept in one block: no allocation per key.
class KeySet
{
public:
    void reserve(int keys)
    {
        if (size_t(keys) * 2 > cells.size())
            rehash(size_t(keys) * 2);
    }
    int size() const { return int(count); }
    bool contains(const QByteArray &key) const
    {
        if (cells.empty())
            return false;
        const size_t mask = cells.size() - 1;
        for (size_t at = hash(key) & mask;; at = (at + 1) & mask) {
            const quint32 entry = cells[at];
            if (entry == 0)
                return false;
            if (same(entry - 1, key))
                return true;
        }
    }
    void insert(const QByteArray &key)
    {
        if (contains(key))
            return;
        if ((count + 1) * 2 > cells.size())
            rehash(qMax<size_t>(64, cells.size() * 2));
        const int offset = arena.size();
        const qint32 length = key.size();
        arena.append(reinterpret_cast<const char *>(&length), sizeof length);
        arena.append(key);
        place(quint32(offset) + 1, hash(key));
        ++count;
    }

private:
    static size_t hash(const QByteArray &key) { return qHashBits(key.constData(), size_t(key.size())); }
    QByteArray keyAt(quint32 offset) const
    {
        qint32 length;
        memcpy(&length, arena.constData() + offset, sizeof length);
        return QByteArray::fromRawData(arena.constData() + offset + sizeof length, length);
    }
    bool same(quint32 offset, const QByteArray &key) const
    {
        qint32 length;
        memcpy(&length, arena.constData() + offset, sizeof length);
        return length == key.size()
               && memcmp(arena.constData() + offset + sizeof length, key.constData(), size_t(length)) == 0;
    }
    void place(quint32 entry, size_t h)
    {
        const size_t mask = cells.size() - 1;
        size_t at = h & mask;
        while (cells[at] != 0)
            at = (at + 1) & mask;
        cells[at] = entry;
    }
    void rehash(size_t wanted)
    {
        size_t size = 64;
        while (size < wanted)
            size *= 2;
        std::vector<quint32> old(size, 0);
        old.swap(cells);
        for (const quint32 entry : old) {
            if (entry != 0)
                place(entry, hash(keyAt(entry - 1)));
        }
    }

    QByteArray arena; // each key: its length, then its bytes
    std::vector<quint32> cells; // offset + 1 into arena; 0 is free
    size_t count = 0;
};

// "-12", "0", "345": what SQLite keeps as an integer and gives back unchanged,
// with at most maxDigits digits. For a QString or the file's bytes.
template <typename Text>
bool isPlainIntegerOf(const Text &text, int maxDigits)
{
    const int sign = text.startsWith('-') ? 1 : 0;
    const int digits = text.size() - sign;
    if (digits < 1 || digits > maxDigits || (text.at(sign) == '0' && (digits > 1 || sign)))
        return false;
    for (int i = sign; i < text.size(); ++i) {
        if (text.at(i) < '0' || text.at(i) > '9')
            return false;
    }
    return true;
}

bool isPlainInteger(const QString &text)
{
    return isPlainIntegerOf(text, 18);
}

bool isPlainInteger(const QByteArray &bytes)
{
    return isPlainIntegerOf(bytes, 9);
}

// "-12.5": a decimal number with few enough digits that "%f" writes it back
// as the same digits, padded to six decimals. *padded gets that text.
bool paddedReal(const QByteArray &bytes, QByteArray *padded)
{
    int point = bytes.indexOf('.');
    if (point < 0)
        point = bytes.size();
    const int decimals = bytes.size() - point - 1;
    if (point < 1 || decimals == 0 || decimals > 6 || !isPlainInteger(QByteArray::fromRawData(bytes.constData(), point)))
        return false;
    for (int i = point + 1; i < bytes.size(); ++i) {
        if (bytes.at(i) < '0' || bytes.at(i) > '9')
            return false;
    }
    if (decimals == 6) {
        *padded = bytes;
        return true;
    }
    padded->reserve(point + 7);
    padded->append(bytes.constData(), point);
    padded->append('.');
    if (decimals > 0)
        padded->append(bytes.constData() + point + 1, decimals);
    padded->append("000000", 6 - qMax(decimals, 0));
    return true;
}

// Number of "\n" from position from on.
int lineEnds(const QByteArray &text, int from)
{
    int count = 0;
    const char *const last = text.constData() + text.size();
    for (const char *at = text.constData() + from; at < last; ++at, ++count) {
        at = static_cast<const char *>(memchr(at, '\n', size_t(last - at)));
        if (!at)
            break;
    }
    return count;
}

bool isAscii(const QByteArray &bytes)
{
    for (const char c : bytes) {
        if (c & 0x80)
            return false;
    }
    return true;
}

bool hasDigit(const QString &text)
{
    for (const QChar c : text) {
        if (c.isDigit())
            return true;
    }
    return false;
}

// Walks the rows of table, writing the lines of the records accepted by wanted.
// The text goes out in the system's code page, as a text stream writes it; in
// UTF-8 the bytes are put together directly.
void writeRecords(DbConnection &db, QIODevice &device, const QString &table, const ExchangeProgress &progress,
                  const std::function<bool(const QVector<QVariant> &, bool *last)> &wanted)
{
    QTextCodec *codec = QTextCodec::codecForLocale();
    const bool utf8 = codec->mibEnum() == 106;
    auto encode = [codec, utf8](const QString &text) { return utf8 ? text.toUtf8() : codec->fromUnicode(text); };

    const int total = db.countRecords(table);
    QByteArray buffer;
    buffer.reserve((1 << 20) + 4096);
    buffer += encode(table + "\n");
    QStringList columns;
    QList<QByteArray> prefixes; // name "###" of each column
    int position = 0;
    db.readRows(table, &columns, [&](const QVector<QVariant> &values) {
        if (prefixes.isEmpty()) {
            for (const QString &column : qAsConst(columns))
                prefixes << encode(column + Separator);
        }
        bool last = false;
        if (wanted(values, &last)) {
            for (int j = 0; j < values.size(); ++j) {
                buffer += prefixes.at(j);
                buffer += encode(values.at(j).toString());
                buffer += "###";
            }
            buffer += '\n';
            if (buffer.size() >= (1 << 20)) {
                device.write(buffer);
                buffer.resize(0); // keeps its room
            }
        }
        ++position;
        if (progress)
            progress(position * int(columns.size()), total * int(columns.size()));
        return !last;
    });
    device.write(buffer);
}

} // namespace

void writeTableRecords(DbConnection &db, QIODevice &device, const QString &table, const ExchangeProgress &progress)
{
    writeRecords(db, device, table, progress, [](const QVector<QVariant> &, bool *) { return true; });
}

void writeSingleRecord(DbConnection &db, QIODevice &device, const QString &table, int id,
                       const ExchangeProgress &progress)
{
    writeRecords(db, device, table, progress, [id](const QVector<QVariant> &values, bool *last) {
        *last = !values.isEmpty() && values.first().toInt() == id;
        return *last;
    });
}

// What the import knows about its table, read once before the first line.
struct RecordFileImporter::TableState {
    enum Kind { Id, Integer, Real, Text, UserPath };
    QStringList columns;
    QVector<Kind> kinds;
    IdSet ids;
    qint64 maxId = 0;
    KeySet identifiers; // first data column, normalized
    bool identifierIsLookup = false; // stored as the column's affinity makes it: read back
    // Record folders named after a lookup identifier: the referenced values.
    bool userPath = false;
    bool lookupUserPath = false;
    QString otherTable, otherColumn;
    int otherColumnIndex = -1; // when the lookup refers to this very table
    QHash<int, QVariant> otherValues;
    QVector<QVariant> row;
    QList<QByteArray> columnBytes; // the column names in UTF-8
    struct Span {
        int from, length;
    };
    QVector<Span> sections; // of the line being read
    QVector<QByteArray> values; // the bytes of the file
    QByteArray key; // of the line's identifier
};

bool RecordFileImporter::open(const QString &path)
{
    // Read as bytes: load() turns the line ends as text mode would.
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return false;
    load(file.readAll());
    return true;
}

void RecordFileImporter::load(const QByteArray &bytes)
{
    text = bytes;
    if (memchr(text.constData(), '\r', size_t(text.size())))
        text.replace('\r', QByteArray()); // text mode
    // A byte-order mark decides the encoding, as the text stream decides it;
    // without one the system's code page is used. The lines are then read as
    // UTF-8 bytes.
    QTextCodec *codec = QTextCodec::codecForUtfText(text, QTextCodec::codecForLocale());
    if (codec->mibEnum() != 106)
        text = codec->toUnicode(text).toUtf8();
    else if (text.startsWith("\xEF\xBB\xBF"))
        text.remove(0, 3);

    // Every "###", overlapping ones included.
    separators = 0;
    const char *const last = text.constData() + text.size();
    for (const char *at = text.constData(); at + 2 < last;) {
        at = static_cast<const char *>(memchr(at, '#', size_t(last - at)));
        if (!at || at + 2 >= last)
            break;
        if (at[1] == '#' && at[2] == '#')
            ++separators;
        ++at;
    }
    int end = text.indexOf('\n');
    if (end < 0)
        end = text.size();
    table = QString::fromUtf8(text.constData(), end);
    body = qMin(end + 1, text.size());
}

bool RecordFileImporter::prepareTable(TableState &state)
{
    DbConnection::ListColumn list = db.readListColumn(table);
    state.columns = db.getFieldNames(table);
    if (state.columns.value(0) != IdColumn)
        return false;

    for (int i = 0; i < state.columns.size(); ++i) {
        const QString &column = state.columns.at(i);
        if (i == 0)
            state.kinds << TableState::Id;
        else if (column == UserPathColumn)
            state.kinds << TableState::UserPath;
        else if (column.contains("INTEGER"))
            state.kinds << TableState::Integer;
        else if (column.contains("REAL"))
            state.kinds << TableState::Real;
        else
            state.kinds << TableState::Text;
        if (i >= 1 && column == UserPathColumn)
            state.userPath = true;
    }
    for (int i = 0; i < list.ids.size(); ++i) {
        state.ids.insert(list.ids.at(i));
        state.maxId = qMax<qint64>(state.maxId, list.ids.at(i));
        if (state.columns.size() >= 2)
            state.identifiers.insert(normalized(list.values.at(i).toString()));
    }
    list = DbConnection::ListColumn();

    if (state.columns.size() >= 2 && state.columns.at(1).startsWith('X')) {
        state.identifierIsLookup = true;
        if (state.userPath) {
            // The folder of a record identified by a lookup is named after the
            // referenced record's value.
            const QString lookup = state.columns.at(1).mid(1);
            const int markerAt = lookup.indexOf(LookupMarker);
            state.lookupUserPath = true;
            state.otherTable = lookup.left(markerAt);
            state.otherColumn = lookup.mid(markerAt + int(strlen(LookupMarker))).section(RepeatMarker, 0, 0);
            db.readValuesById(state.otherTable, state.otherColumn, [&state](int id, const QVariant &value) {
                if (!state.otherValues.contains(id))
                    state.otherValues.insert(id, value);
            });
            if (state.otherTable == table) {
                for (int i = 0; i < state.columns.size(); ++i) {
                    if (state.columns.at(i).compare(state.otherColumn, Qt::CaseInsensitive) == 0) {
                        state.otherColumnIndex = i;
                        break;
                    }
                }
            }
        }
    }
    state.row.resize(state.columns.size());
    for (const QString &column : qAsConst(state.columns))
        state.columnBytes << column.toUtf8();
    state.sections.reserve(2 * state.columns.size() + 1);
    state.values.reserve(state.columns.size());
    return true;
}

bool RecordFileImporter::importLine(TableState &state, const char *line, int length, int *pairs)
{
    // Pairs of sections: name, value. A name left empty drops its pair.
    // The pairs are counted on every "###", overlapping ones included; the
    // sections lie between the separators found from the left.
    int count = 0;
    QVector<TableState::Span> &sections = state.sections;
    sections.clear();
    const char *const end = line + length;
    int sectionStart = 0;
    for (const char *at = line; at + 2 < end; ++at) {
        at = static_cast<const char *>(memchr(at, '#', size_t(end - at)));
        if (!at || at + 2 >= end)
            break;
        if (at[1] != '#' || at[2] != '#')
            continue;
        ++count;
        const int i = int(at - line);
        if (i >= sectionStart) {
            sections << TableState::Span{sectionStart, i - sectionStart};
            sectionStart = i + 3;
        }
    }
    sections << TableState::Span{sectionStart, length - sectionStart};
    *pairs = (count + 1) / 2;

    const int columnCount = state.columns.size();
    QVector<QByteArray> &values = state.values;
    values.clear();
    int names = 0;
    for (int p = 0; p < count; p += 2) {
        const TableState::Span name = sections.value(p, TableState::Span{0, 0});
        if (name.length == 0)
            continue;
        if (names >= columnCount)
            return false;
        // Names travel quote-doubled, as they would into SQL text.
        const QByteArray &column = state.columnBytes.at(names);
        const char *const nameAt = line + name.from;
        const bool same = memchr(nameAt, '\'', size_t(name.length))
                              ? QByteArray(nameAt, name.length).replace("'", "''") == column
                              : name.length == column.size()
                                    && memcmp(nameAt, column.constData(), size_t(name.length)) == 0;
        if (!same)
            return false;
        ++names;
        const TableState::Span value = sections.value(p + 1, TableState::Span{0, 0});
        values << QByteArray::fromRawData(line + value.from, value.length);
    }
    if (names != columnCount)
        return false;

    // Numbers and identifiers are read from the decoded text.
    QByteArray &key = state.key;
    if (columnCount >= 2)
        normalizedInto(values.at(1), &key);
    if (columnCount >= 2 && state.identifiers.contains(key)) {
        ++skipped;
        return true;
    }

    const int requested = isPlainInteger(values.at(0)) ? values.at(0).toInt()
                                                       : QString::fromUtf8(values.at(0)).toInt(nullptr, 10);
    const qint64 id = requested >= 1 && !state.ids.contains(requested) ? requested : state.maxId + 1;
    if (id > std::numeric_limits<int>::max()) {
        error = QString::asprintf("Id %lld fuori intervallo", id);
        return false;
    }

    QVector<QVariant> &row = state.row;
    row[0] = int(id);
    for (int j = 1; j < columnCount; ++j) {
        switch (state.kinds.at(j)) {
        case TableState::Integer:
            // A number already written as "%d" writes it goes in as it is.
            row[j] = isPlainInteger(values.at(j))
                         ? values.at(j)
                         : QByteArray::number(QString::fromUtf8(values.at(j)).toInt(nullptr, 10));
            break;
        case TableState::Real: {
            // As "%f" writes it.
            QByteArray padded;
            row[j] = paddedReal(values.at(j), &padded)
                         ? padded
                         : QByteArray::number(QString::fromUtf8(values.at(j)).toDouble(), 'f', 6);
            break;
        }
        case TableState::UserPath:
            break; // composed below
        default:
            // Text goes in as the file holds it, once it is known to be UTF-8;
            // anything else is stored as decoding makes it.
            row[j] = isAscii(values.at(j)) ? values.at(j) : QString::fromUtf8(values.at(j)).toUtf8();
        }
    }
    if (state.userPath) {
        const QString identifier = QString::fromUtf8(values.at(1));
        QString composed;
        if (state.lookupUserPath)
            composed = table + "_" + state.otherValues.value(identifier.toInt()).toString();
        else
            composed = QString(table + "_" + identifier).replace(' ', '_');
        const QByteArray path = tableFolderPath("TABLES_DOC", composed).toUtf8();
        for (int j = 1; j < columnCount; ++j) {
            if (state.kinds.at(j) == TableState::UserPath)
                row[j] = path;
        }
    }

    if (!db.insertRow(row, &error))
        return false;
    ++imported;

    const int newId = int(id);
    state.ids.insert(newId);
    state.maxId = qMax(state.maxId, id);
    if (columnCount >= 2) {
        // A value that went in as the file holds it is the identifier already known.
        const QVariant &stored = row.at(1);
        if (!state.identifierIsLookup && stored.type() == QVariant::ByteArray
            && static_cast<const QByteArray *>(stored.constData())->constData() == values.at(1).constData()) {
            state.identifiers.insert(key);
        } else {
            const QString written = QString::fromUtf8(row.at(1).toByteArray());
            // A lookup column keeps numbers as numbers: a plain integer reads back
            // as written, and text without digits stays text; anything else is
            // read back as stored.
            const bool asWritten = !state.identifierIsLookup || isPlainInteger(written) || !hasDigit(written);
            state.identifiers.insert(
                normalized(asWritten ? written : db.storedValue(table, state.columns.at(1), newId).toString()));
        }
    }
    if (state.otherColumnIndex >= 0 && !state.otherValues.contains(newId))
        state.otherValues.insert(newId, state.otherColumnIndex == 0 ? row.at(0)
                                                                 : QString::fromUtf8(row.at(state.otherColumnIndex).toByteArray()));
    return true;
}

RecordFileImporter::Outcome RecordFileImporter::run(const ExchangeProgress &progress)
{
    imported = skipped = 0;
    error.clear();
    if (!db.tableExists(table))
        return NoTable;
    if (body >= text.size())
        return Imported;

    TableState state;
    // Records go only into tables laid out as the program lays them out.
    if (!db.isEditableTable(table) || !prepareTable(state))
        return Incompatible;
    // Room for the file's records in the sets of ids and identifiers (a file
    // of empty lines is refused at its first one: it gets no more than a million).
    const int records = qMin(lineEnds(text, body), 1 << 20);
    state.ids.reserve(state.ids.size() + records);
    state.identifiers.reserve(state.identifiers.size() + records);
    if (!db.prepareRowInsert(table, state.columns, &error))
        return WriteFailed;
    if (!db.beginTransaction()) {
        db.finishRowInsert();
        error = "Impossibile iniziare la transazione";
        return WriteFailed;
    }

    Outcome outcome = Imported;
    int step = 0, lineCount = 0;
    for (int start = body; start < text.size();) {
        const char *const lineEnd =
            static_cast<const char *>(memchr(text.constData() + start, '\n', size_t(text.size() - start)));
        const int end = lineEnd ? int(lineEnd - text.constData()) : text.size();
        const int from = start;
        start = end + 1;
        int pairs = 0;
        if (!importLine(state, text.constData() + from, end - from, &pairs)) {
            outcome = error.isEmpty() ? Incompatible : WriteFailed;
            break;
        }
        step += 2 * pairs;
        // The bar moves by whole percents: a few lines at a time are enough.
        if (progress && (++lineCount % 16 == 0 || start >= text.size()))
            progress(step, separators);
    }
    db.finishRowInsert();
    if (!db.commitTransaction()) {
        // Reported where the commit failed; nothing of this import was kept.
        imported = 0;
        return NotSaved;
    }
    return outcome;
}
