#ifndef RECORDLISTMODEL_H
#define RECORDLISTMODEL_H

#include <QAbstractListModel>
#include <QString>
#include <QStringList>
#include <QVector>

#include <string_view>

// The record list of one table: one row per listed record, its text and its
// id, kept compactly (the texts as UTF-8 in one buffer, a text repeated from
// row to row once), shown by a view through this model. Rows come in batches, in the table's row order;
// sorted, they are shown by their texts (character codes, equal texts in
// row order).
//
// The list also answers as its text-to-record map: a text names the record of
// the last row that showed it. Empty texts are listed as "----" and are not
// entered, except the empty text a lookup gives, which is entered like any
// other (no item shows it). Looking up a text that is not entered gives 0.
class RecordListModel : public QAbstractListModel
{
    Q_OBJECT

public:
    // The display role gives the text; IdRole the row's record id.
    enum { IdRole = Qt::UserRole + 1 };
    // The most a list shows of a value: its first line, at most this long.
    static constexpr int ShownLength = 300;
    static QString shownText(const QString &value);
    // Text made comparable the way searches compare it: lower case, no accents.
    static QString folded(const QString &text);

    explicit RecordListModel(QObject *parent = nullptr);

    // Rows on their way to the list, their texts (already in their shown
    // form) one after the other in one buffer of UTF-8.
    struct Batch {
        QVector<int> ids;
        QByteArray texts;
        QVector<int> ends;      // where each text ends in texts
        QVector<bool> entered;  // whether each text goes into the map
        int size() const { return ids.size(); }
        void add(int id, const QString &text, bool enter)
        {
            const QByteArray utf8 = text.toUtf8();
            append(id, utf8.constData(), utf8.size(), enter);
        }
        // A text given as UTF-8, in its shown form already. Bytes that are
        // no UTF-8 are kept as a string made of them would show them.
        void addUtf8(int id, const char *utf8, int bytes, bool enter)
        {
            int i = 0;
            while (i < bytes && uchar(utf8[i]) < 0x80)
                ++i;
            if (i == bytes)
                append(id, utf8, bytes, enter);
            else
                add(id, QString::fromUtf8(utf8, bytes), enter);
        }
        std::string_view text(int i) const
        {
            const int start = i == 0 ? 0 : ends.at(i - 1);
            return std::string_view(texts.constData() + start, size_t(ends.at(i) - start));
        }

    private:
        void append(int id, const char *utf8, int bytes, bool enter)
        {
            ids.append(id);
            texts.append(utf8, bytes);
            ends.append(texts.size());
            entered.append(enter);
        }
    };

    void clear();
    // Room for rows rows, made once rather than grown step by step.
    void reserve(int rows);
    // Rows read are shown at once, or kept out of sight until publish():
    // the view lays its rows out anew whenever rows are added.
    void append(const Batch &batch, bool show = true);
    void publish();
    bool isSorted() const { return sorted; }
    void setSorted(bool on);

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;

    int size() const { return shown; }
    int idAt(int row) const;
    // The text an item shows: "----" for an empty one.
    QString textAt(int row) const;

    // The map: the id a text names (0 when it names none), the first text in
    // code order that names id (false when none does), and how many texts
    // are entered.
    // A text that names no record is entered with 0, as a map does when a
    // missing key is read. Each answer is looked for in the rows, which keep
    // no index of their texts.
    int idOf(const QString &text);
    bool textOf(int id, QString *text) const;
    int mapSize() const;
    // Whether any text is entered (mapSize() > 0, without counting them).
    bool mapsAny() const { return enteredRows > 0 || !namingNone.isEmpty(); }
    // The row of the first item showing the text that names id: 0 when id
    // has no text, -1 when no item shows its text.
    int rowOf(int id) const;

    // Rows in the order they came (arrival rows) and as shown (display rows).
    int arrivalRow(int row) const { return sorted ? order.at(row) : row; }
    int displayRow(int arrival) const;
    int idOfArrival(int arrival) const { return rowId.at(arrival); }
    // The arrival row of the first row listing id; -1 when none does.
    int arrivalRowOfId(int id) const;
    // Whether the ids only grow row by row in arrival order.
    bool idsAscending() const { return ascending; }

    // Rows whose shown text contains needle, ignoring case and accents, in
    // display order, from row from on.
    QVector<int> search(const QString &needle, int from = 0) const;

    // One text, as it came: texts met again a few rows later are kept once.
    struct Entry {
        int offset = 0;  // in the text buffer
        uint length : 31;
        uint entered : 1;
        Entry() : length(0), entered(0) {}
    };

private:
    using Utf8 = std::string_view;
    Utf8 entryText(int entry) const
    {
        const Entry &e = entries.at(entry);
        return Utf8(buffer.constData() + e.offset, e.length);
    }
    int addEntry(Utf8 text, bool enter);
    // Whether arrival row a comes before b when sorted by their texts.
    bool rowBefore(int a, int b) const;
    // The last row, at or after from, whose text is text and is entered; -1 when none.
    int lastEnteredRow(Utf8 text, int from) const;
    // The first arrival row showing text; -1 when none does.
    int firstRowShowing(Utf8 text) const;
    int countMapped() const;

    QByteArray buffer;          // the texts, UTF-8, one after the other
    QVector<Entry> entries;
    // The entries of texts met lately, by their hash: a text repeated from
    // row to row (a looked-up value, a common name) is kept once.
    QVector<quint64> recent;
    int recentBits = 0;
    QVector<int> rowEntry;      // arrival row -> entry
    QVector<int> rowId;         // arrival row -> record id
    QVector<int> order;         // display row -> arrival row, when sorted
    QVector<int> position;      // arrival row -> display row, when sorted
    bool sorted = false;
    int shown = 0;              // rows shown: those kept beyond are not listed yet
    int shownEntries = 0;       // the entries of the rows shown
    int enteredRows = 0;        // of the rows shown
    int keptEnteredRows = 0;
    QStringList namingNone;     // texts looked up that name no record: they name 0
    // Ids that only grow row by row (as the program hands them out) are each
    // on one row: found by bisection, with no index made.
    bool ascending = true;
    // Grows with every change of the rows: what was worked out for them holds while it stays.
    quint64 version = 0;
    mutable quint64 mappedVersion = ~quint64(0);
    mutable int mapped = 0;
    QByteArray askedText;       // the last text idOf found, and the id it named
    quint64 askedVersion = ~quint64(0);
    int askedId = 0;
};

Q_DECLARE_TYPEINFO(RecordListModel::Entry, Q_PRIMITIVE_TYPE);

#endif // RECORDLISTMODEL_H
