#include "exchange/csvimport.h"

#include "records/recordwriter.h"
#include "records/tabledesign.h"
#include "storage/columnname.h"
#include "storage/namingscheme.h"
#include "storage/tablename.h"

#include <QHash>
#include <QSet>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <vector>

namespace {

QByteArray u8(const QString &text)
{
    return text.toUtf8();
}

} // namespace

// The looked-up texts of a table's column, each with the id of its record, in
// one block: no allocation per text. A text that several records share is
// ambiguous.
class CsvLookupIndex
{
public:
    static constexpr int Ambiguous = -1;

    void add(const QByteArray &key, int id)
    {
        if ((count + 1) * 2 > cells.size())
            rehash(qMax<size_t>(64, cells.size() * 2));
        const size_t at = find(key);
        if (cells[at] != 0) {
            int known;
            memcpy(&known, arena.constData() + cells[at] - 1 + sizeof(qint32), sizeof known);
            if (known != id) {
                const int ambiguous = Ambiguous;
                memcpy(arena.data() + cells[at] - 1 + sizeof(qint32), &ambiguous, sizeof ambiguous);
            }
            return;
        }
        const qint32 length = key.size();
        cells[at] = quint32(arena.size()) + 1;
        arena.append(reinterpret_cast<const char *>(&length), sizeof length);
        arena.append(reinterpret_cast<const char *>(&id), sizeof id);
        arena.append(key);
        ++count;
    }
    // The id of the record with the text; 0 when none, Ambiguous when several.
    int idOf(const QByteArray &key) const
    {
        if (cells.empty())
            return 0;
        const size_t at = find(key);
        if (cells[at] == 0)
            return 0;
        int id;
        memcpy(&id, arena.constData() + cells[at] - 1 + sizeof(qint32), sizeof id);
        return id;
    }

private:
    size_t find(const QByteArray &key) const
    {
        const size_t mask = cells.size() - 1;
        for (size_t at = qHashBits(key.constData(), size_t(key.size())) & mask;; at = (at + 1) & mask) {
            if (cells[at] == 0 || same(cells[at] - 1, key))
                return at;
        }
    }
    bool same(quint32 offset, const QByteArray &key) const
    {
        qint32 length;
        memcpy(&length, arena.constData() + offset, sizeof length);
        return length == key.size() && memcmp(arena.constData() + offset + 8, key.constData(), size_t(length)) == 0;
    }
    void rehash(size_t size)
    {
        std::vector<quint32> old(size, 0);
        old.swap(cells);
        for (const quint32 entry : old) {
            if (entry == 0)
                continue;
            qint32 length;
            memcpy(&length, arena.constData() + entry - 1, sizeof length);
            const QByteArray key = QByteArray::fromRawData(arena.constData() + entry - 1 + 8, length);
            cells[find(key)] = entry;
        }
    }

    QByteArray arena; // each text: its length, its id, its bytes
    std::vector<quint32> cells; // offset + 1 into arena; 0 is free
    size_t count = 0;
};

namespace {

// A text as records are told apart (RecordWriter::identifierKey), in UTF-8;
// plain ASCII on its bytes.
QByteArray lookupKey(const QByteArray &bytes)
{
    QByteArray key;
    key.reserve(bytes.size());
    bool blank = false;
    for (const char c : bytes) {
        if (c & 0x80)
            return RecordWriter::identifierKey(QString::fromUtf8(bytes)).toUtf8();
        if (c == ' ' || (c >= '\t' && c <= '\r')) {
            blank = !key.isEmpty();
            continue;
        }
        if (blank)
            key.append(' ');
        blank = false;
        key.append(c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c);
    }
    return key;
}

QByteArray trimmed(const QByteArray &bytes)
{
    int from = 0, to = bytes.size();
    while (from < to && (bytes.at(from) == ' ' || bytes.at(from) == '\t'))
        ++from;
    while (to > from && (bytes.at(to - 1) == ' ' || bytes.at(to - 1) == '\t'))
        --to;
    return from == 0 && to == bytes.size() ? bytes : QByteArray(bytes.constData() + from, to - from);
}

// Nothing but white space, as the record page sees an empty field.
bool isBlankText(const QByteArray &bytes)
{
    bool ascii = true;
    for (const char c : bytes) {
        if (c & 0x80)
            ascii = false;
        else if (c != ' ' && (c < '\t' || c > '\r'))
            return false;
    }
    return ascii || QString::fromUtf8(bytes).trimmed().isEmpty();
}

// "-12": at most nine digits, no leading zero.
bool isPlainWhole(const QByteArray &text)
{
    const int sign = text.startsWith('-') ? 1 : 0;
    const int count = text.size() - sign;
    if (count < 1 || count > 9 || (text.at(sign) == '0' && (count > 1 || sign)))
        return false;
    for (int i = sign; i < text.size(); ++i) {
        if (text.at(i) < '0' || text.at(i) > '9')
            return false;
    }
    return true;
}

// "%f", as the record page writes a decimal.
QByteArray decimalText(double value)
{
    char text[400];
    std::snprintf(text, sizeof text, "%f", value);
    return QByteArray(text);
}

// "-12,5" (or "-12.5" with a decimal point): a plain decimal whose "%f" form
// is its own digits padded to six decimals; *stored gets that form.
bool plainDecimal(const QByteArray &text, bool decimalPoint, QByteArray *stored)
{
    const char mark = decimalPoint ? '.' : ',';
    int at = text.indexOf(mark);
    const QByteArray whole = at < 0 ? text : QByteArray::fromRawData(text.constData(), at);
    if (!isPlainWhole(whole) || whole == "-0")
        return false;
    const int decimals = at < 0 ? 0 : text.size() - at - 1;
    if (at >= 0 && (decimals < 1 || decimals > 6))
        return false;
    for (int i = at + 1; at >= 0 && i < text.size(); ++i) {
        if (text.at(i) < '0' || text.at(i) > '9')
            return false;
    }
    stored->reserve(whole.size() + 7);
    stored->append(whole);
    stored->append('.');
    if (decimals > 0)
        stored->append(text.constData() + at + 1, decimals);
    stored->append("000000", 6 - decimals);
    return true;
}

QString shown(const QByteArray &value)
{
    QString text = QString::fromUtf8(trimmed(value)).simplified();
    if (text.size() > 40)
        text = text.left(40) + "...";
    return text;
}

} // namespace

struct CsvImport::Target {
    enum Kind { Composed, Fixed, Text, Whole, Real, Money, Date, YesNo, Lookup };
    Kind kind = Composed;
    int file = -1; // the file column it is read from
    bool required = false;
    bool monthFirst = false;
    bool decimalPoint = false;
    QByteArray fixed;
    std::shared_ptr<CsvLookupIndex> lookup;
    QString lookupTable; // as shown
};

namespace {

using Target = CsvImport::Target;

// Reads one value into *stored; answers the problem, empty when there is none.
QString readValue(const Target &t, const QByteArray &value, QByteArray *stored)
{
    const QByteArray text = trimmed(value);
    if (t.kind == Target::Text) {
        if (memchr(value.constData(), 0, size_t(value.size())))
            return "testo con un carattere nullo";
        *stored = value;
        return t.required && isBlankText(value) ? QString("campo obbligatorio vuoto") : QString();
    }
    if (isBlankText(text)) {
        *stored = t.kind == Target::YesNo ? QByteArray("FALSE")
                  : t.kind == Target::Money ? QByteArray("0.000000")
                                            : QByteArray();
        return t.required && t.kind != Target::YesNo ? QString("campo obbligatorio vuoto") : QString();
    }
    switch (t.kind) {
    case Target::Whole: {
        if (isPlainWhole(text)) {
            *stored = text;
            return QString();
        }
        double number;
        if (!readCsvNumber(QString::fromUtf8(text), t.decimalPoint, &number))
            return QString("numero non valido '%1'").arg(shown(value));
        if (number != std::floor(number))
            return QString("numero non intero '%1'").arg(shown(value));
        if (std::fabs(number) > INT_MAX)
            return QString("numero troppo grande '%1'").arg(shown(value));
        *stored = QByteArray::number(int(number));
        return QString();
    }
    case Target::Real:
    case Target::Money: {
        stored->clear();
        if (plainDecimal(text, t.decimalPoint, stored))
            return QString();
        double number;
        if (!readCsvNumber(QString::fromUtf8(text), t.decimalPoint, &number))
            return QString("numero non valido '%1'").arg(shown(value));
        *stored = decimalText(number);
        return QString();
    }
    case Target::Date: {
        bool ambiguous, canonical;
        const QDate date = readCsvDate(text, t.monthFirst, &ambiguous, &canonical);
        if (ambiguous)
            return QString("data ambigua '%1': giorno e mese si possono scambiare").arg(shown(value));
        if (!date.isValid())
            return QString("data non valida '%1'").arg(shown(value));
        *stored = canonical ? text : date.toString("dd/MM/yyyy").toUtf8();
        return QString();
    }
    case Target::YesNo: {
        const int yes = readCsvYesNo(QString::fromUtf8(text));
        if (yes < 0)
            return QString::fromUtf8("valore sì/no non valido '%1'").arg(shown(value));
        *stored = yes ? "TRUE" : "FALSE";
        return QString();
    }
    case Target::Lookup: {
        const int id = t.lookup->idOf(lookupKey(text));
        if (id == CsvLookupIndex::Ambiguous)
            return QString::fromUtf8("'%1' è in più Record di %2").arg(shown(value), t.lookupTable);
        if (id == 0)
            return QString::fromUtf8("'%1' non è tra i Record di %2").arg(shown(value), t.lookupTable);
        *stored = QByteArray::number(id);
        return QString();
    }
    default:
        *stored = t.fixed;
        return QString();
    }
}

Target::Kind kindOf(const ColumnName &name)
{
    if (name.isLookup())
        return Target::Lookup;
    const QString &word = name.typeWord();
    if (word == "INTEGER")
        return Target::Whole;
    if (word == "REAL")
        return Target::Real;
    if (word == "MONEY")
        return Target::Money;
    if (word == "DATE")
        return Target::Date;
    if (word == "BOOL")
        return Target::YesNo;
    return Target::Text;
}

} // namespace

bool CsvImport::open(const QString &path, const ExchangeProgress &progress)
{
    if (!file.open(path)) {
        error = file.errorText();
        return false;
    }
    return survey(progress);
}

bool CsvImport::openBytes(const QByteArray &bytes)
{
    file.openBytes(bytes);
    return survey();
}

bool CsvImport::survey(const ExchangeProgress &progress)
{
    names.clear();
    surveys.clear();
    rows = 0;
    error.clear();
    file.rewind();
    while (file.next()) {
        if (file.isBlank())
            continue;
        if (names.isEmpty() && surveys.isEmpty()) {
            for (int j = 0; j < file.fieldCount(); ++j)
                names << file.text(j).trimmed();
            surveys.resize(names.size());
            continue;
        }
        ++rows;
        const int count = qMin(file.fieldCount(), surveys.size());
        for (int j = 0; j < count; ++j)
            surveys[j].add(file.field(j));
        if (progress && rows % 4096 == 0)
            progress(int(file.position() * 1000 / qMax<qint64>(1, file.size())), 1000);
    }
    if (!file.errorText().isEmpty()) {
        error = "ERRORE: Il file CSV non si può leggere: " + file.errorText();
        return false;
    }
    if (names.isEmpty()) {
        error = QString::fromUtf8("ERRORE: Il file CSV è vuoto!");
        return false;
    }
    return true;
}

QList<QStringList> CsvImport::firstRows(int count)
{
    QList<QStringList> first;
    file.rewind();
    bool header = true;
    while (first.size() < count && file.next()) {
        if (file.isBlank())
            continue;
        if (header) {
            header = false;
            continue;
        }
        QStringList texts;
        for (int j = 0; j < names.size(); ++j)
            texts << (j < file.fieldCount() ? file.text(j) : QString());
        first << texts;
    }
    return first;
}

QStringList CsvImport::fieldColumns(const QString &table)
{
    return csvFieldColumns(db.getFieldNames(table));
}

QStringList CsvImport::mappingFor(const QString &table)
{
    const QStringList fields = fieldColumns(table);
    const QStringList titles = csvHeaderNames(fields);
    // A header names a field by its title, its stored name, or its column's
    // name; a lookup also by the table it looks into.
    QHash<QString, QString> byKey;
    for (int i = fields.size() - 1; i >= 0; --i) {
        const ColumnName name(fields.at(i));
        if (name.isLookup())
            byKey.insert(csvHeaderKey(TableName(name.lookupTable()).display()), fields.at(i));
    }
    for (int i = fields.size() - 1; i >= 0; --i) {
        const ColumnName name(fields.at(i));
        byKey.insert(csvHeaderKey(fields.at(i)), fields.at(i));
        if (!name.isForeign())
            byKey.insert(csvHeaderKey(name.bareField()), fields.at(i));
    }
    for (int i = fields.size() - 1; i >= 0; --i)
        byKey.insert(csvHeaderKey(titles.at(i)), fields.at(i));
    QStringList mapping;
    QSet<QString> taken;
    for (const QString &header : names) {
        const QString column = byKey.value(csvHeaderKey(header));
        mapping << (taken.contains(column) ? QString() : column);
        taken.insert(column);
    }
    return mapping;
}

QList<CsvImport::NewField> CsvImport::guessedFields() const
{
    QList<NewField> fields;
    QSet<QString> taken;
    for (int j = 0; j < names.size(); ++j) {
        const QString base = csvFieldName(names.at(j), j + 1);
        QString name = base;
        for (int n = 2; taken.contains(name.toLower()); ++n)
            name = QString("%1 %2").arg(base).arg(n);
        taken.insert(name.toLower());
        fields << NewField{name, surveys.at(j).guessedTag(file.separator())};
    }
    return fields;
}

QString CsvImport::newFieldColumn(const NewField &field)
{
    return field.name.isEmpty() ? QString() : makeColumnName("N" + field.tag, QString(field.name).replace(' ', '_'));
}

QList<ColumnDefinition> CsvImport::newTableColumns(const QList<NewField> &fields)
{
    QList<ColumnDefinition> rows;
    for (const NewField &field : fields)
        rows << ColumnDefinition(newFieldColumn(field), "text");
    return ::newTableColumns(rows);
}

QString CsvImport::label(int fileColumn) const
{
    const QString name = names.value(fileColumn);
    return name.isEmpty() ? QString::number(fileColumn + 1) : name;
}

QString CsvImport::prepare(const Plan &plan, QList<Target> *targets)
{
    const QStringList columns = db.getFieldNames(plan.table);
    const QStringList fields = csvFieldColumns(columns);
    const QStringList titles = csvHeaderNames(fields);
    if (plan.mapping.size() != names.size())
        return QString::fromUtf8("ERRORE: Le colonne scelte non sono quelle del file!");
    QHash<QString, int> fileColumnOf; // the table's column -> the file's
    for (int j = 0; j < plan.mapping.size(); ++j) {
        const QString &column = plan.mapping.at(j);
        if (column.isEmpty())
            continue;
        if (!fields.contains(column))
            return QString::fromUtf8("ERRORE: Il campo %1 non è nella tabella %2!")
                .arg(column, TableName(plan.table).display());
        if (fileColumnOf.contains(column))
            return QString::fromUtf8("ERRORE: Il campo %1 è scelto per più colonne del file!")
                .arg(titles.at(fields.indexOf(column)));
        fileColumnOf.insert(column, j);
    }
    const bool any = !fileColumnOf.isEmpty();
    if (!any)
        return QString::fromUtf8("ERRORE: Nessuna colonna del file corrisponde a un campo della tabella!");

    lookups.clear();
    for (int i = 0; i < columns.size(); ++i) {
        const ColumnName name(columns.at(i));
        Target t;
        if (i == 0 || name.isUserPath()) {
            *targets << t; // the writer gives the id and the folder
            continue;
        }
        t.file = fileColumnOf.value(columns.at(i), -1);
        t.required = name.isRequired();
        t.kind = name.isLink() || name.isSubtable() ? Target::Fixed : kindOf(name);
        if (name.isLink())
            t.fixed = u8(name.field()); // a link holds its table's name, as the record page writes it
        if (t.file < 0 && t.kind != Target::Fixed) {
            if (t.required && t.kind != Target::YesNo)
                return QString::fromUtf8("ERRORE: Il campo obbligatorio %1 non ha una colonna nel file!")
                    .arg(titles.value(fields.indexOf(columns.at(i))));
            readValue(t, QByteArray(), &t.fixed); // what an empty field is stored as
            t.kind = Target::Fixed;
        }
        if (t.file >= 0) {
            t.monthFirst = surveys.at(t.file).monthFirst();
            t.decimalPoint = surveys.at(t.file).decimalPoint(file.separator());
        }
        if (t.kind == Target::Lookup)
            prepareLookup(columns.at(i), &t, true);
        *targets << t;
    }
    return QString();
}

// The texts a lookup column looks up, read once per import (fresh) or once
// for the preview.
void CsvImport::prepareLookup(const QString &column, Target *target, bool fresh)
{
    const ColumnName name(column);
    target->lookupTable = TableName(name.lookupTable()).display();
    QHash<QString, std::shared_ptr<CsvLookupIndex>> &read = fresh ? lookups : previewLookups;
    const QString key = name.lookupTable() + "\n" + name.lookupColumn();
    if (!read.contains(key)) {
        auto index = std::make_shared<CsvLookupIndex>();
        db.readValuesById(name.lookupTable(), name.lookupColumn(), [&index](int id, const QVariant &value) {
            index->add(lookupKey(value.toString().toUtf8()), id);
        });
        read.insert(key, index);
    }
    target->lookup = read.value(key);
}

QString CsvImport::valueProblem(int fileColumn, const QString &column, const QByteArray &value)
{
    const ColumnName name(column);
    Target t;
    t.kind = kindOf(name);
    t.required = name.isRequired();
    if (t.kind == Target::Lookup)
        prepareLookup(column, &t, false);
    if (fileColumn >= 0 && fileColumn < surveys.size()) {
        t.monthFirst = surveys.at(fileColumn).monthFirst();
        t.decimalPoint = surveys.at(fileColumn).decimalPoint(file.separator());
    }
    QByteArray stored;
    return readValue(t, value, &stored);
}

CsvImport::Outcome CsvImport::run(const Plan &plan, const ExchangeProgress &progress,
                                  const std::function<void(const QString &)> &told)
{
    imported = leftOut = problemTotal = 0;
    problemList.clear();
    error.clear();
    if (names.isEmpty()) {
        error = QString::fromUtf8("ERRORE: Il file CSV è vuoto!");
        return Failed;
    }
    auto problem = [this, &told](const QString &text) {
        ++problemTotal;
        if (problemList.size() < KeptProblems)
            problemList << text;
        if (told)
            told(text);
    };

    // Everything, the new table included, is written in one transaction.
    DbTransaction transaction(db);
    if (!transaction.isOpen()) {
        error = QString::fromUtf8("ERRORE: Impossibile salvare le modifiche nel Db!");
        return Failed;
    }
    Plan used = plan;
    if (plan.newTable) {
        const QString typed = plan.table;
        QString reason = invalidTableNameReason(typed);
        if (typed.isEmpty())
            reason = QString::fromUtf8("Il nome è vuoto.");
        if (!reason.isEmpty()) {
            error = refusedNameWarning(typed, reason);
            return Failed;
        }
        used.table = QString(typed).replace(' ', '_');
        for (const QString &existing : db.getTables()) {
            if (existing.compare(used.table, Qt::CaseInsensitive) == 0) {
                error = QString::asprintf("ERRORE: Il nome '%s' è già stato usato per una tabella.\n",
                                          u8(TableName(used.table).display()).constData());
                return Failed;
            }
        }
        // SQLite's limit of 2000 columns, the id and the folder of attachments included.
        int fieldCount = 0;
        for (const NewField &field : plan.newFields.mid(0, names.size()))
            fieldCount += field.name.isEmpty() ? 0 : 1;
        if (fieldCount > MaxNewFields) {
            error = QString::fromUtf8("ERRORE: Una tabella può avere al massimo %1 campi: il file ne ha %2!")
                        .arg(MaxNewFields)
                        .arg(fieldCount);
            return Failed;
        }
        QSet<QString> taken;
        used.mapping.clear();
        for (int j = 0; j < names.size(); ++j) {
            const NewField field = plan.newFields.value(j);
            const QString reason = field.name.isEmpty() ? QString() : invalidFieldNameReason(field.name);
            if (!reason.isEmpty()) {
                error = refusedNameWarning(field.name, reason);
                return Failed;
            }
            if (!field.name.isEmpty() && taken.contains(field.name.toLower())) {
                error = QString::fromUtf8("ERRORE: Il campo %1 è ripetuto!").arg(field.name);
                return Failed;
            }
            taken.insert(field.name.toLower());
            used.mapping << newFieldColumn(field);
        }
        if (!db.createTable(used.table, newTableColumns(plan.newFields.mid(0, names.size()))))
            return Failed; // told by the connection
        // The program's row for the table, as the designer adds it.
        if (db.tableExists(Naming::SettingsTable)) {
            RecordWriter(db).insert(Naming::SettingsTable, {FieldValue(Naming::IdColumn, "0"),
                                                             FieldValue(Naming::SettingsNameColumn, used.table),
                                                             FieldValue(Naming::SettingsIconColumn, QString())});
        }
    } else if (!db.tableExists(plan.table)) {
        error = QString::fromUtf8("ERRORE: La Tabella non esiste!");
        return Failed;
    }

    error = RecordWriter::foreignTableRefusal(db, used.table);
    if (!error.isEmpty())
        return Failed;
    QList<Target> targets;
    error = prepare(used, &targets);
    if (!error.isEmpty())
        return Failed;

    {
        RecordWriter writer(db);
        RecordWriter::Bulk bulk(writer, used.table);
        if (!bulk.isReady() || bulk.columns().size() != targets.size()) {
            error = bulk.refusal().isEmpty() ? QString::fromUtf8("ERRORE: La Tabella non esiste!") : bulk.refusal();
            return Failed;
        }
        bulk.reserve(rows);
        const int identifierFile = targets.size() > 1 ? targets.at(1).file : -1;
        QVector<QByteArray> values(targets.size());
        file.rewind();
        bool header = true;
        int seen = 0;
        while (file.next()) {
            if (file.isBlank())
                continue;
            if (header) {
                header = false;
                continue;
            }
            const int row = file.row();
            bool good = true;
            for (int j = names.size(); j < file.fieldCount(); ++j) {
                if (!file.field(j).isEmpty()) {
                    problem(QString::fromUtf8("riga %1: %2 valori, ma le colonne sono %3")
                                .arg(row)
                                .arg(file.fieldCount())
                                .arg(names.size()));
                    good = false;
                    break;
                }
            }
            for (int c = 0; c < targets.size(); ++c) {
                const Target &t = targets.at(c);
                if (t.kind == Target::Composed) {
                    values[c].clear();
                } else if (t.kind == Target::Fixed) {
                    values[c] = t.fixed;
                } else {
                    const QByteArray value = t.file < file.fieldCount() ? file.field(t.file) : QByteArray();
                    const QString why = readValue(t, value, &values[c]);
                    if (!why.isEmpty()) {
                        problem(QString("riga %1, colonna %2: %3").arg(row).arg(label(t.file), why));
                        good = false;
                    }
                }
            }
            if (good) {
                const RecordWriter::Bulk::Result added = bulk.add(QByteArray(), values);
                if (added == RecordWriter::Bulk::Failed) {
                    error = bulk.refusal();
                    return Failed;
                }
                if (added == RecordWriter::Bulk::Duplicate) {
                    const QString why = QString::fromUtf8("l'identificativo '%1' è già presente")
                                            .arg(shown(identifierFile >= 0 && identifierFile < file.fieldCount()
                                                           ? file.field(identifierFile)
                                                           : QByteArray()));
                    problem(identifierFile >= 0 ? QString("riga %1, colonna %2: %3").arg(row).arg(label(identifierFile), why)
                                                : QString("riga %1: %2").arg(row).arg(why));
                    good = false;
                }
            }
            if (good)
                ++imported;
            else
                ++leftOut;
            if (progress && ++seen % 4096 == 0)
                progress(int(file.position() * 1000 / qMax<qint64>(1, file.size())), 1000);
        }
        if (!file.errorText().isEmpty()) {
            error = "ERRORE: Il file CSV non si può leggere: " + file.errorText();
            return Failed;
        }
        if (problemTotal > 0 && !plan.goodRows) {
            imported = 0;
            return HasProblems; // taken back, the new table with it
        }
        if (!bulk.commit()) {
            imported = 0;
            return Failed; // told by the connection
        }
    }
    if (!transaction.commit()) {
        imported = 0;
        return Failed;
    }
    if (progress)
        progress(1000, 1000);
    return Imported;
}
