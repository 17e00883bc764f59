#include "records/recordwriter.h"

#include "storage/columnname.h"
#include "storage/namingscheme.h"
#include "storage/tablename.h"

#include <QHash>
#include <QSqlRecord>
#include <cstring>
#include <limits>
#include <vector>

using Naming::IdColumn;
using Naming::UserPathColumn;

namespace {

QByteArray u8(const QString &text)
{
    return text.toUtf8();
}

} // namespace

QString RecordWriter::foreignTableRefusal(DbConnection &db, const QString &table)
{
    // Tables made by other tools (and the inner tables of a full-text index)
    // have no record ids of ours: their records are only browsed.
    if (!db.tableExists(table) || db.isEditableTable(table))
        return QString();
    return QString::asprintf(
        "ERRORE: La Tabella %s non segue lo schema di questo programma: i suoi Record si possono solo consultare!\n",
        u8(TableName(table).display()).constData());
}

QString RecordWriter::identifierKey(const QString &stored)
{
    return stored.toLower().simplified();
}

QString RecordWriter::userPathFor(const QString &table, const QString &identifier, bool lookupIdentifier)
{
    QString composed = table + "_" + identifier;
    if (!lookupIdentifier)
        composed.replace(' ', '_');
    return tableFolderPath(Naming::DocumentsFolder, composed);
}

int RecordWriter::insert(const QString &table, FieldValueList fields, bool keepGivenId)
{
    refusalText = foreignTableRefusal(db, table);
    duplicate = false;
    if (!refusalText.isEmpty())
        return -1;
    // The first data column identifies a record: no two may share it (in a
    // subtable, the column after the owner, among the owner's rows).
    const int first = fields.size() > 2 && fields.at(1).first == Naming::OwnerColumn ? 2 : 1;
    if (fields.size() > first && db.nameInFirstColumn(table, fields.at(first).second)) {
        duplicate = true;
        refusalText = QString::asprintf("ERRORE: L'identificativo '%s' esiste già nella tabella %s.\n",
                                        u8(fields.at(first).second).constData(),
                                        u8(TableName(table).display()).constData());
        return -1;
    }

    int requestedId = 0;
    bool hasId = false;
    for (const FieldValue &field : qAsConst(fields)) {
        if (field.first == IdColumn) {
            requestedId = field.second.toInt(nullptr, 10);
            hasId = true;
            break;
        }
    }
    // After the id put in front, the identifier of the record's folder.
    const int identifierAt = hasId ? first : 1;
    if (!hasId)
        fields.prepend(FieldValue(IdColumn, "0"));

    // Written whole or not at all: a write that fails (a trigger, a
    // constraint, a full disk) has been told and takes every earlier one back.
    DbTransaction transaction(db);
    const int id = db.insertEmptyRecord(table, keepGivenId, requestedId);
    if (id < 0)
        return -1;
    if (fields.size() < 2)
        return transaction.commit() ? id : -1;

    // The record's own folder for attachments, named after its identifier.
    bool hasUserPath = false;
    for (int i = 1; i < fields.size(); ++i)
        hasUserPath = hasUserPath || fields.at(i).first == UserPathColumn;
    if (hasUserPath) {
        const ColumnName column(fields.at(identifierAt).first);
        QString identifier = fields.at(identifierAt).second;
        if (column.isLookup()) {
            const QSqlRecord other = db.getRecordById(column.lookupTable(), identifier.toInt());
            identifier = db.getFieldValue(column.lookupTable(), other, column.lookupColumn()).toString();
        }
        if (!db.updateField(table, id, UserPathColumn, userPathFor(table, identifier, column.isLookup())))
            return -1;
    }
    for (int i = 1; i < fields.size(); ++i) {
        if (fields.at(i).first != UserPathColumn && !db.updateField(table, id, fields.at(i).first, fields.at(i).second))
            return -1;
    }
    return transaction.commit() ? id : -1;
}

bool RecordWriter::update(const QString &table, int id, const FieldValueList &fields, bool changeId)
{
    duplicate = false;
    refusalText = foreignTableRefusal(db, table);
    if (!refusalText.isEmpty())
        return false;
    if (!db.idExists(table, id)) {
        refusalText = QString::asprintf("L'Id %d non è valido!", id);
        return false;
    }
    // Written whole or not at all: the first write that fails takes back the others.
    DbTransaction transaction(db);
    for (int i = 1; i < fields.size(); ++i) {
        if (!db.updateField(table, id, fields.at(i).first, fields.at(i).second))
            return false;
    }
    // A changed id is applied last, after every other column was written under the old one.
    if (changeId && !fields.isEmpty() && fields.at(0).second.toInt(nullptr, 10) != id
        && !db.updateField(table, id, fields.at(0).first, fields.at(0).second))
        return false;
    return transaction.commit();
}

bool RecordWriter::remove(const QString &table, int id)
{
    duplicate = false;
    refusalText = foreignTableRefusal(db, table);
    if (!refusalText.isEmpty())
        return false;
    DbTransaction transaction(db);
    for (const DbConnection::Reference &reference : db.referencesTo(table, id)) {
        if (!db.clearReferences(reference.table, reference.column, id))
            return false;
    }
    return db.deleteRecord(table, id) && transaction.commit();
}

// ---------------------------------------------------------------- many records

namespace {

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

// identifierKey of text given as UTF-8 bytes, in UTF-8; plain ASCII is done
// on the bytes.
void identifierKeyInto(const QByteArray &bytes, QByteArray *key)
{
    key->resize(0);
    for (const char c : bytes) {
        if (c & 0x80) {
            *key = RecordWriter::identifierKey(QString::fromUtf8(bytes)).toUtf8();
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

// "-12", "0", "345": what SQLite keeps as an integer and gives back unchanged,
// with at most maxDigits digits. For a QString or UTF-8 bytes.
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

} // namespace

// What the writer knows of its table, read once before the first record.
struct RecordWriter::Bulk::State {
    enum Kind { Id, WholeNumber, Decimal, Text, UserPath };
    QVector<Kind> kinds;
    IdSet ids;
    qint64 maxId = 0;
    KeySet identifiers;
    bool identifierIsLookup = false; // stored as the column's affinity makes it: read back
    bool userPath = false;
    // Folders of records identified by a lookup are named after the referenced values.
    bool lookupUserPath = false;
    ColumnName identifierColumn;
    int otherColumnIndex = -1; // when the lookup refers to this very table
    int first = 1; // the identifier's column
    QHash<int, QVariant> otherValues;
    QVector<QVariant> row;
    QByteArray key;
};

RecordWriter::Bulk::Bulk(RecordWriter &writer, const QString &table)
    : state(new State), writer(writer), table(table)
{
    DbConnection &db = writer.db;
    refusalText = foreignTableRefusal(db, table);
    if (!refusalText.isEmpty() || !db.tableExists(table))
        return;
    DbConnection::ListColumn list = db.readListColumn(table);
    names = db.getFieldNames(table);
    if (names.value(0) != IdColumn)
        return;

    State &s = *state;
    s.first = db.firstDataColumn(table);
    const int first = s.first;
    for (int i = 0; i < names.size(); ++i) {
        const QString &column = names.at(i);
        if (i == 0)
            s.kinds << State::Id;
        else if (column == UserPathColumn)
            s.kinds << State::UserPath;
        else if (writesAsWholeNumber(column))
            s.kinds << State::WholeNumber;
        else if (writesAsDecimal(column))
            s.kinds << State::Decimal;
        else
            s.kinds << State::Text;
        s.userPath = s.userPath || (i >= 1 && column == UserPathColumn);
    }
    for (int i = 0; i < list.ids.size(); ++i) {
        s.ids.insert(list.ids.at(i));
        s.maxId = qMax<qint64>(s.maxId, list.ids.at(i));
        if (names.size() > first)
            s.identifiers.insert(identifierKey(list.values.at(i).toString()).toUtf8());
    }
    list = DbConnection::ListColumn();

    if (names.size() > first) {
        s.identifierColumn = ColumnName(names.at(first));
        s.identifierIsLookup = s.identifierColumn.isLookup();
        if (s.identifierIsLookup && s.userPath) {
            s.lookupUserPath = true;
            const QString other = s.identifierColumn.lookupTable();
            db.readValuesById(other, s.identifierColumn.lookupColumn(), [&s](int id, const QVariant &value) {
                if (!s.otherValues.contains(id))
                    s.otherValues.insert(id, value);
            });
            if (other == table) {
                for (int i = 0; i < names.size(); ++i) {
                    if (names.at(i).compare(s.identifierColumn.lookupColumn(), Qt::CaseInsensitive) == 0) {
                        s.otherColumnIndex = i;
                        break;
                    }
                }
            }
        }
    }
    s.row.resize(names.size());

    QString error;
    if (!db.prepareRowInsert(table, names, &error)) {
        refusalText = QString::asprintf("ERRORE: Impossibile aggiungere un elemento alla tabella %s!\n%s",
                                        u8(table).constData(), u8(error).constData());
        return;
    }
    transaction = db.beginTransaction();
    if (!transaction) {
        db.finishRowInsert();
        refusalText = "ERRORE: Impossibile salvare le modifiche nel Db!\nImpossibile iniziare la transazione";
        return;
    }
    ready = true;
}

RecordWriter::Bulk::~Bulk()
{
    if (!transaction)
        return;
    writer.db.finishRowInsert();
    writer.db.rollbackTransaction();
}

void RecordWriter::Bulk::reserve(int records)
{
    state->ids.reserve(state->ids.size() + records);
    state->identifiers.reserve(state->identifiers.size() + records);
}

RecordWriter::Bulk::Result RecordWriter::Bulk::add(const QByteArray &requestedId, const QVector<QByteArray> &values)
{
    State &s = *state;
    const int columnCount = names.size();
    if (!ready || values.size() != columnCount)
        return Failed;

    QByteArray &key = s.key;
    const int first = s.first;
    if (columnCount > first) {
        identifierKeyInto(values.at(first), &key);
        if (s.identifiers.contains(key))
            return Duplicate;
    }

    const int requested = isPlainInteger(requestedId) ? requestedId.toInt()
                                                      : QString::fromUtf8(requestedId).toInt(nullptr, 10);
    const qint64 id = requested >= 1 && !s.ids.contains(requested) ? requested : s.maxId + 1;
    if (id > std::numeric_limits<int>::max()) {
        refusalText = QString::asprintf("ERRORE: Impossibile aggiungere un elemento alla tabella %s!\nId %lld fuori intervallo",
                                        u8(table).constData(), id);
        return Failed;
    }

    QVector<QVariant> &row = s.row;
    row[0] = int(id);
    for (int j = 1; j < columnCount; ++j) {
        const QByteArray &value = values.at(j);
        switch (s.kinds.at(j)) {
        case State::WholeNumber:
            // A number already in its stored form goes in as it is.
            row[j] = isPlainInteger(value) ? value
                                           : QByteArray::number(QString::fromUtf8(value).toInt(nullptr, 10));
            break;
        case State::Decimal: {
            QByteArray padded;
            row[j] = paddedReal(value, &padded) ? padded
                                                : QByteArray::number(QString::fromUtf8(value).toDouble(), 'f', 6);
            break;
        }
        case State::UserPath:
            break; // composed below
        default:
            // Text goes in as given, once it is known to be UTF-8; anything
            // else is stored as decoding makes it.
            row[j] = isAscii(value) ? value : QString::fromUtf8(value).toUtf8();
        }
    }
    if (s.userPath) {
        const QString identifier = QString::fromUtf8(values.at(qMin(first, columnCount - 1)));
        const QByteArray path =
            s.lookupUserPath
                ? userPathFor(table, s.otherValues.value(identifier.toInt()).toString(), true).toUtf8()
                : userPathFor(table, identifier, false).toUtf8();
        for (int j = 1; j < columnCount; ++j) {
            if (s.kinds.at(j) == State::UserPath)
                row[j] = path;
        }
    }

    QString error;
    if (!writer.db.insertRow(row, &error)) {
        refusalText = QString::asprintf("ERRORE: Impossibile aggiungere un elemento alla tabella %s!\n%s",
                                        u8(table).constData(), u8(error).constData());
        return Failed;
    }

    const int newId = int(id);
    s.ids.insert(newId);
    s.maxId = qMax(s.maxId, id);
    if (columnCount > first) {
        // A value that went in as given is the identifier already known.
        const QVariant &stored = row.at(first);
        if (!s.identifierIsLookup && stored.type() == QVariant::ByteArray
            && static_cast<const QByteArray *>(stored.constData())->constData() == values.at(first).constData()) {
            s.identifiers.insert(key);
        } else {
            const QString written = QString::fromUtf8(row.at(first).toByteArray());
            // A lookup column keeps numbers as numbers: a plain integer reads back
            // as written, and text without digits stays text; anything else is
            // read back as stored.
            const bool asWritten = !s.identifierIsLookup || isPlainInteger(written) || !hasDigit(written);
            s.identifiers.insert(
                identifierKey(asWritten ? written : writer.db.storedValue(table, names.at(first), newId).toString())
                    .toUtf8());
        }
    }
    if (s.otherColumnIndex >= 0 && !s.otherValues.contains(newId))
        s.otherValues.insert(newId, s.otherColumnIndex == 0
                                        ? row.at(0)
                                        : QString::fromUtf8(row.at(s.otherColumnIndex).toByteArray()));
    return Added;
}

bool RecordWriter::Bulk::commit()
{
    if (!transaction)
        return false;
    transaction = false;
    writer.db.finishRowInsert();
    return writer.db.commitTransaction();
}
