#include "exchange/printcontent.h"

#include "storage/columnname.h"
#include "storage/dbconnection.h"
#include "storage/namingscheme.h"
#include "storage/tablename.h"

#include <QHash>
#include <QPair>
#include <QSqlRecord>
#include <QVariant>

namespace {

// The looked-up texts of every lookup among columns, by column position: the
// shown column of each record of the other table, by id. Two lookups of the
// same column share one read.
QHash<int, QHash<int, QString>> lookedUpTexts(DbConnection &db, const QStringList &columns)
{
    QHash<QPair<QString, QString>, QHash<int, QString>> read;
    QHash<int, QHash<int, QString>> byPosition;
    for (int j = 0; j < columns.size(); ++j) {
        const ColumnName column(columns.at(j));
        if (!column.isLookup())
            continue;
        const QPair<QString, QString> key(column.lookupTable(), column.lookupColumn());
        if (!read.contains(key)) {
            QHash<int, QString> &texts = read[key];
            db.readValuesById(key.first, key.second, [&texts](int id, const QVariant &value) {
                if (!texts.contains(id)) // the first row of an id is the one a lookup finds
                    texts.insert(id, value.toString());
            });
        }
        byPosition.insert(j, read.value(key));
    }
    return byPosition;
}

QString quoted(const QString &text)
{
    return "\"" + text + "\"";
}

} // namespace

QStringList printableColumns(DbConnection &db, const QString &table)
{
    QStringList printable;
    for (const QString &name : db.getFieldNames(table)) {
        const ColumnName column(name);
        if (!column.isProgramField() && !column.isLink() && !column.isSubtable())
            printable << name;
    }
    return printable;
}

QString printedTitle(const ColumnName &column)
{
    if (column.isForeign())
        return QString(column.name()).remove(Naming::RepeatMarker);
    QString title = column.field();
    if (column.isLookup())
        title = TableName(column.lookupTable()).display() + "_" + title;
    return title.remove(Naming::RepeatMarker).replace('_', ' ');
}

QString printedText(const ColumnName &column, const QVariant &value)
{
    if (column.hasTag("BOOLFORMAT"))
        return value.toBool() ? QString::fromUtf8("Sì") : QString("No");
    if (column.hasTag("MONEYFORMAT"))
        return QString::asprintf("%.2f%s", value.toDouble(), "€");
    if (column.isAttachment())
        return value.toString().section('/', -1);
    return value.toString();
}

PrintedRecord gatherRecord(DbConnection &db, const QString &table, int id, const QString &folder)
{
    PrintedRecord printed;
    printed.table = TableName(table).display();
    const QSqlRecord record = db.getRecordById(table, id);
    printed.found = !record.isEmpty();
    if (!printed.found)
        return printed;
    for (const QString &name : printableColumns(db, table)) {
        const ColumnName column(name);
        QVariant value = db.getFieldValue(table, record, name);
        if (column.isLookup()) {
            const QSqlRecord other = db.getRecordById(column.lookupTable(), value.toInt());
            value = db.getFieldValue(column.lookupTable(), other, column.lookupColumn());
        }
        PrintedField field{printedTitle(column), printedText(column, value), QString()};
        if (column.hasTag("IMAGEFORMAT") && !value.toString().isEmpty())
            field.imageFile = folder + value.toString();
        printed.fields << field;
    }
    return printed;
}

PrintedList gatherList(DbConnection &db, const QString &table, const QStringList &columns, const QVector<int> *ids)
{
    PrintedList printed;
    printed.table = TableName(table).display();
    QVector<ColumnName> named;
    for (const QString &name : columns) {
        named << ColumnName(name);
        printed.titles << printedTitle(named.last());
        printed.numbers << (named.last().hasTag("MONEYFORMAT") || named.last().hasTag("INTEGERFORMAT")
                            || named.last().hasTag("REALFORMAT"));
    }
    const QHash<int, QHash<int, QString>> lookups = lookedUpTexts(db, columns);

    // The listed records are picked out of one read of the table.
    QHash<int, int> wanted; // id -> its row among those read
    if (ids) {
        wanted.reserve(ids->size());
        for (int id : *ids)
            wanted.insert(id, -1);
    }
    QVector<QStringList> read;
    read.reserve(ids ? ids->size() : db.countRecords(table));
    db.readColumns(table, QStringList(db.idColumnOf(table)) + columns, [&](const QVector<QVariant> &values) {
        if (ids) {
            const auto found = wanted.find(values.at(0).toInt());
            if (found == wanted.end() || found.value() >= 0)
                return; // not listed, or a later row of an id already read
            found.value() = read.size();
        }
        QStringList texts;
        texts.reserve(named.size());
        for (int j = 0; j < named.size(); ++j) {
            const QVariant &value = values.at(j + 1);
            const auto lookup = lookups.constFind(j);
            texts << (lookup == lookups.constEnd() ? printedText(named.at(j), value)
                                                   : lookup->value(value.toInt()));
        }
        read << texts;
    });
    if (!ids) {
        printed.rows = std::move(read);
        return printed;
    }
    printed.rows.reserve(ids->size());
    for (int id : *ids) {
        const int row = wanted.value(id, -1);
        if (row >= 0) // a record deleted since it was listed is left out
            printed.rows << read.at(row);
    }
    return printed;
}

QString describeFilter(DbConnection &db, const QList<FilterCondition> &conditions)
{
    QString text;
    for (const FilterCondition &condition : conditions) {
        if (!condition.active)
            continue;
        const ColumnName column(condition.column);
        const RecordFilter::Test test = RecordFilter::prepare(condition, column.typeWord());
        if (test.kind == RecordFilter::Test::Always)
            continue; // attachments and links exclude nothing
        QString sign;
        switch (test.comparison) {
        case RecordFilter::Test::Equal:
            sign = "=";
            break;
        case RecordFilter::Test::Disequal:
            sign = QString::fromUtf8("≠");
            break;
        case RecordFilter::Test::Major:
            sign = ">";
            break;
        case RecordFilter::Test::Minor:
            sign = "<";
            break;
        }
        QString value;
        switch (test.kind) {
        case RecordFilter::Test::Bool:
            // "Major" and "Minor" mean "equal" on a check box.
            if (sign != QString::fromUtf8("≠"))
                sign = "=";
            value = condition.checked ? QString::fromUtf8("Sì") : QString("No");
            break;
        case RecordFilter::Test::Date:
            value = condition.dateText;
            break;
        case RecordFilter::Test::Integer:
            if (column.isLookup()) {
                const QSqlRecord other = db.getRecordById(column.lookupTable(), test.integer);
                value = quoted(db.getFieldValue(column.lookupTable(), other, column.lookupColumn()).toString());
            } else {
                value = QString::number(condition.number);
            }
            break;
        case RecordFilter::Test::Real:
            value = condition.text;
            break;
        default:
            // "Major" and "Minor" both mean "contains" on text.
            if (test.comparison == RecordFilter::Test::Major || test.comparison == RecordFilter::Test::Minor)
                sign = "contiene";
            value = quoted(condition.text);
            break;
        }
        if (!text.isEmpty())
            text += condition.joiner == "Or" ? " o " : " e ";
        text += printedTitle(column) + " " + sign + " " + value;
    }
    return text;
}
