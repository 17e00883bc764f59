#include "filters/recordfilter.h"

#include "records/typednumber.h"
#include "storage/columnname.h"
#include "storage/dbconnection.h"

#include <QDate>

namespace {
const char *const DateFormat = "dd/MM/yyyy";

template <typename T>
bool compare(RecordFilter::Test::Comparison comparison, const T &record, const T &filter)
{
    switch (comparison) {
    case RecordFilter::Test::Equal:
        return record == filter;
    case RecordFilter::Test::Disequal:
        return record != filter;
    case RecordFilter::Test::Major:
        return record > filter;
    case RecordFilter::Test::Minor:
        return record < filter;
    }
    return true;
}
} // namespace

RecordFilter::Test RecordFilter::prepare(const FilterCondition &condition, const QString &typeWord)
{
    Test test;
    const QString &word = condition.comparison;
    if (word == "Equal")
        test.comparison = Test::Equal;
    else if (word == "Disequal")
        test.comparison = Test::Disequal;
    else if (word == "Major")
        test.comparison = Test::Major;
    else if (word == "Minor")
        test.comparison = Test::Minor;
    else
        return test; // no comparison chosen: nothing is excluded

    const QString &t = typeWord;
    if (t == "BOOL") {
        test.kind = Test::Bool;
        test.checked = condition.checked;
    } else if (t == "DATE") {
        test.kind = Test::Date;
        test.day = QDate::fromString(condition.dateText, DateFormat).toJulianDay();
    } else if (t == "INTEGER") {
        test.kind = Test::Integer;
        test.integer = condition.number;
    } else if (t == "REAL" || t == "MONEY") {
        test.kind = Test::Real;
        // Read as the record page reads it: "1.000" is a thousand.
        readTypedNumber(condition.text, &test.real);
    } else if (t == "IMAGE" || t == "PDF" || t == "SUBTABLE" || t == "LINK") {
        test.kind = Test::Always;
    } else if (t == "STRING" || t == "LONGSTRING" || t == "MAIL" || t == "URL") {
        test.kind = Test::Text;
        test.text = condition.text;
    } else if (ColumnName(condition.column).isLookup()) {
        // A lookup holds the referenced record's id: it is compared with the
        // key of the item chosen on the page.
        test.kind = Test::Integer;
        test.integer = condition.lookupKey.toInt();
    } else {
        test.kind = Test::Text;
        test.text = condition.text;
    }
    return test;
}

bool RecordFilter::Test::passes(const QString &recordText) const
{
    switch (kind) {
    case Always:
        return true;
    case Bool: {
        // "Major" and "Minor" mean "equal" on a check box.
        const bool same = QVariant(recordText).toBool() == checked;
        return comparison == Disequal ? !same : same;
    }
    case Date:
        return compare(comparison, QDate::fromString(recordText, DateFormat).toJulianDay(), day);
    case Integer:
        return compare(comparison, recordText.toInt(), integer);
    case Real:
        return compare(comparison, recordText.toDouble(), real);
    case Text:
        // "Major" and "Minor" both mean "contains", case-sensitive.
        if (comparison == Equal)
            return recordText == text;
        if (comparison == Disequal)
            return recordText != text;
        return recordText.contains(text);
    }
    return true;
}

bool conditionPasses(const FilterCondition &condition, const QString &typeWord, const QString &recordText)
{
    if (!condition.active)
        return true;
    return RecordFilter::prepare(condition, typeWord).passes(recordText);
}

RecordFilter::RecordFilter(const QList<FilterCondition> &conditions, const QStringList &columns)
{
    for (const QString &column : columns) {
        // The id and the record's folder are never tested, nor a lookup
        // showing one of them.
        const ColumnName name(column);
        const QString field = name.bareField();
        if (field == "UserPath" || field == "Id")
            continue;
        const QString &typeWord = name.typeWord();
        for (const FilterCondition &condition : conditions) {
            if (!condition.active || condition.column != column)
                continue;
            if (tested.isEmpty() || tested.last() != column)
                tested << column;
            steps.append({int(tested.size()) - 1, condition.joiner == "Or", prepare(condition, typeWord)});
        }
    }
}

bool RecordFilter::passes(const QVector<QVariant> &values, int from) const
{
    bool result = true;
    bool first = true;
    QString text;
    int textOf = -1;
    for (const Step &step : steps) {
        // Only one of the two joiners looks at the value: a false result
        // stays false under "And", a true one stays true under "Or".
        if (!first && (step.orJoined ? result : !result))
            continue;
        if (step.value != textOf) {
            textOf = step.value;
            const int at = from + step.value;
            text = at < values.size() ? values.at(at).toString() : QString();
            // The record's side is compared with its apostrophes doubled, so
            // O'Brien never equals a filter text typed as O'Brien.
            if (text.contains('\''))
                text.replace("'", "''");
        }
        result = step.test.passes(text);
        first = false;
    }
    return result;
}

FilterResults evaluateFilter(DbConnection &db, const QString &table, const QList<FilterCondition> &conditions)
{
    FilterResults results;
    bool any = false;
    for (const FilterCondition &condition : conditions)
        any = any || condition.active;
    if (!any)
        return results;
    const QStringList names = db.getFieldNames(table);
    const RecordFilter filter(conditions, names);
    if (filter.isEmpty())
        return results;
    results.others = filter.passes({});
    // The id column is always first; the tested values follow it.
    db.readColumns(table, QStringList(db.idColumnOf(table)) + filter.testedColumns(), [&](const QVector<QVariant> &values) {
        const int id = values.at(0).toInt();
        if (id != 0 && !results.byId.contains(id))
            results.byId.insert(id, filter.passes(values, 1));
    });
    return results;
}
