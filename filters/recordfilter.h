#ifndef RECORDFILTER_H
#define RECORDFILTER_H

#include <QHash>
#include <QList>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVector>

class DbConnection;

// The condition one filter-page editor carries, as plain values: what the
// record test needs, and what the page keeps to be put back on "Annulla".
struct FilterCondition {
    QString column;                       // full column name the editor stands for
    QString type;                         // the editor's type word ("STRING", "_XDTX_", ...)
    bool active = false;                  // takes part in the filter
    QString comparison = "NoCondition";   // "Equal", "Disequal", "Major", "Minor" or "NoCondition"
    QString joiner = "And";               // "And" or "Or": how it joins the conditions before it
    QString text;                         // the line edit's text
    QString dateText;                     // the date edit's text, "dd/MM/yyyy"
    int number = 0;                       // the spin box's value
    bool checked = false;                 // the check box's state
    QString lookupKey;                    // the chosen lookup item's key (its text before the first blank)
};

// Whether a record's value passes one condition. typeWord comes from the
// record's column ("STRING", "DATE", ...; "_XDTX_" for a lookup, whose value
// is the referenced record's id). recordText is the value as text with every
// apostrophe doubled, as the record test hands it over. On text columns
// "Major" and "Minor" both mean "contains", on check boxes both mean "equal";
// image, PDF, subtable and link columns never exclude a record.
bool conditionPasses(const FilterCondition &condition, const QString &typeWord, const QString &recordText);

// The record test of one table: the active conditions, taken in the table's
// column order (and in page order within a column), joined strictly left to
// right with no precedence: A Or B And C is (A Or B) And C. The joiner of the
// first condition is not used. The Id and UserPath columns are never tested.
class RecordFilter
{
public:
    RecordFilter(const QList<FilterCondition> &conditions, const QStringList &columns);

    // True when no condition takes part: every record passes.
    bool isEmpty() const { return steps.isEmpty(); }
    // The columns whose values passes() takes, in that order.
    QStringList testedColumns() const { return tested; }
    // values: the record's values of testedColumns(), from position from on;
    // missing ones count as empty.
    bool passes(const QVector<QVariant> &values, int from = 0) const;

private:
public:
    // One condition made ready for a column's type: how it compares, and the
    // editor's value already read as the type needs it.
    struct Test {
        enum Kind { Always, Bool, Date, Integer, Real, Text };
        enum Comparison { Equal, Disequal, Major, Minor };
        Kind kind = Always;
        Comparison comparison = Equal;
        bool checked = false;
        qint64 day = 0;
        int integer = 0;
        double real = 0;
        QString text;
        bool passes(const QString &recordText) const;
    };
    static Test prepare(const FilterCondition &condition, const QString &typeWord);

private:
    struct Step {
        int value; // index into testedColumns()
        bool orJoined;
        Test test;
    };
    QStringList tested;
    QVector<Step> steps;
};

// Which records of a table pass: one read of the table for all of them.
struct FilterResults {
    QHash<int, bool> byId; // id -> passes, from the first row with that id
    bool others = true;    // a record the table does not hold (and id 0) is tested with empty values
    bool passes(int id) const { return id == 0 ? others : byId.value(id, others); }
};
FilterResults evaluateFilter(DbConnection &db, const QString &table, const QList<FilterCondition> &conditions);

#endif // RECORDFILTER_H
