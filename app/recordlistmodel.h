#ifndef RECORDLISTMODEL_H
#define RECORDLISTMODEL_H

#include <QAbstractListModel>
#include <QHash>
#include <QString>
#include <QStringList>
#include <QVector>

// The record list of one table: one row per listed record, its text and its
// id, kept compactly (each distinct text once, in one buffer), shown by a
// view through this model. Rows come in batches, in the table's row order;
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
    // form) one after the other in one string.
    struct Batch {
        QVector<int> ids;
        QString texts;
        QVector<int> ends;      // where each text ends in texts
        QVector<bool> entered;  // whether each text goes into the map
        int size() const { return ids.size(); }
        void add(int id, const QString &text, bool enter)
        {
            ids.append(id);
            texts += text;
            ends.append(texts.size());
            entered.append(enter);
        }
        // A text given as UTF-8, in its shown form already.
        void addUtf8(int id, const char *utf8, int bytes, bool enter)
        {
            ids.append(id);
            int i = 0;
            while (i < bytes && uchar(utf8[i]) < 0x80)
                ++i;
            if (i == bytes) {
                const int at = texts.size();
                texts.resize(at + bytes);
                QChar *to = texts.data() + at;
                for (int k = 0; k < bytes; ++k)
                    to[k] = QLatin1Char(utf8[k]);
            } else {
                texts += QString::fromUtf8(utf8, bytes);
            }
            ends.append(texts.size());
            entered.append(enter);
        }
        QStringView text(int i) const
        {
            const int start = i == 0 ? 0 : ends.at(i - 1);
            return QStringView(texts).mid(start, ends.at(i) - start);
        }
    };

    void clear();
    // Room for rows rows, made once rather than grown step by step.
    void reserve(int rows);
    void append(const Batch &batch);
    bool isSorted() const { return sorted; }
    void setSorted(bool on);

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role = Qt::DisplayRole) const override;

    int size() const { return rowEntry.size(); }
    int idAt(int row) const;
    // The text an item shows: "----" for an empty one.
    QString textAt(int row) const;

    // The map: the id a text names (0 when it names none), the first text in
    // code order that names id (false when none does), and how many texts
    // are entered.
    // A text that names no record is entered with 0, as a map does when a
    // missing key is read.
    int idOf(const QString &text);
    bool textOf(int id, QString *text) const;
    int mapSize() const { return entered + namingNone.size(); }
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

private:
public:
    // One distinct text: 16 bytes, moved as bytes when the table grows.
    struct Entry {
        int offset = 0;  // in the text buffer
        int length : 31;
        uint entered : 1;
        int firstRow = -1; // rows in arrival order
        int lastRow = -1;
        Entry() : length(0), entered(0) {}
    };

private:
    QStringView entryText(int entry) const;
    int findEntry(QStringView text, uint hash) const;
    int addEntry(QStringView text, uint hash);
    void rehash(int capacity);
    void sortOrder();
    void indexIds() const;
    // The entry of the least text naming id; -1 when none does.
    int entryNaming(int id) const;

    QString buffer;             // every distinct text, one after the other
    QVector<Entry> entries;
    // Open addressing: the text's hash above, entry + 1 below; 0 free. A
    // probe compares hashes without reading the entry.
    QVector<quint64> cells;
    QVector<int> rowEntry;      // arrival row -> entry
    QVector<int> rowId;         // arrival row -> record id
    QVector<int> order;         // display row -> arrival row, when sorted
    QVector<int> position;      // arrival row -> display row, when sorted
    bool sorted = false;
    int entered = 0;
    int emptyEntry = -1;        // the entry of the empty text
    int literalDashes = -1;     // the entry of a text that is "----" itself
    // id -> entry of its least text, made when first asked for.
    mutable QHash<int, int> textOfId;
    mutable bool idsIndexed = false;
    QStringList namingNone;     // texts looked up that name no record: they name 0
    // Ids that only grow row by row (as the program hands them out) are each
    // on one row: found by bisection, with no index made.
    bool ascending = true;
};

Q_DECLARE_TYPEINFO(RecordListModel::Entry, Q_PRIMITIVE_TYPE);

#endif // RECORDLISTMODEL_H
