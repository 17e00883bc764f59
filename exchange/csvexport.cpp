#include "exchange/csvexport.h"

#include "exchange/csvvalues.h"
#include "records/typeddate.h"
#include "storage/columnname.h"

#include <QHash>
#include <QSaveFile>
#include <QSet>
#include <cstdio>
#include <vector>

namespace {

enum Kind { Text, Decimal, Money, Date, YesNo, Lookup };

struct Field {
    int index = 0; // in the table's columns
    Kind kind = Text;
    // A lookup's texts by id: in a vector while the ids are dense (as the
    // program hands them out), else in a hash. A missing record has none.
    std::vector<QByteArray> byId;
    QHash<int, QByteArray> bySparseId;
    const QByteArray &lookedUp(int id) const
    {
        static const QByteArray none;
        if (id >= 0 && size_t(id) < byId.size())
            return byId[size_t(id)];
        const auto found = bySparseId.constFind(id);
        return found == bySparseId.constEnd() ? none : found.value();
    }
};

// The texts of the column a lookup shows, by the id of their record; the
// first row of an id is the one shown.
void readLookup(DbConnection &db, const ColumnName &name, Field *field)
{
    std::vector<QPair<int, QByteArray>> texts;
    int largest = 0;
    db.readValuesById(name.lookupTable(), name.lookupColumn(), [&](int id, const QVariant &value) {
        texts.emplace_back(id, value.toString().toUtf8());
        largest = qMax(largest, id);
    });
    const bool dense = size_t(largest) <= 2 * texts.size() + 1024;
    if (dense)
        field->byId.resize(size_t(largest) + 1);
    for (auto &text : texts) {
        if (dense && text.first >= 0) {
            QByteArray &slot = field->byId[size_t(text.first)];
            if (slot.isNull())
                slot = text.second.isNull() ? QByteArray("") : std::move(text.second);
        } else if (!field->bySparseId.contains(text.first)) {
            field->bySparseId.insert(text.first, text.second);
        }
    }
}

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}

// "-12.500000": an optional sign, digits, and decimals after a point.
bool isPlainDecimal(const QByteArray &text)
{
    int i = text.startsWith('-') ? 1 : 0;
    const int start = i;
    while (i < text.size() && isDigit(text.at(i)))
        ++i;
    if (i == start)
        return false;
    if (i == text.size())
        return true;
    if (text.at(i) != '.' || i + 1 == text.size())
        return false;
    for (++i; i < text.size(); ++i) {
        if (!isDigit(text.at(i)))
            return false;
    }
    return true;
}

// A stored decimal with its trailing zeros left out (at least minDecimals
// kept) and the decimal mark of the form; a stored text that is no number
// goes out as it is.
QByteArray decimalOut(QByteArray text, int minDecimals, char mark)
{
    if (!isPlainDecimal(text)) {
        bool ok = false;
        const double value = QString::fromUtf8(text).toDouble(&ok);
        if (!ok)
            return text;
        char printed[400];
        std::snprintf(printed, sizeof printed, "%f", value);
        text = printed;
    }
    int point = text.indexOf('.');
    if (point < 0) {
        if (minDecimals == 0)
            return text;
        point = text.size();
        text += '.';
    }
    while (text.size() - point - 1 < minDecimals)
        text += '0';
    int end = text.size();
    while (end - point - 1 > minDecimals && text.at(end - 1) == '0')
        --end;
    if (end == point + 1)
        end = point;
    text.truncate(end);
    if (point < text.size())
        text[point] = mark;
    return text;
}

// "dd/MM/yyyy" as "yyyy-MM-dd"; any other stored text read as a date first.
QByteArray isoDate(const QByteArray &stored)
{
    if (stored.size() == 10 && stored.at(2) == '/' && stored.at(5) == '/') {
        QByteArray iso(10, '-');
        memcpy(iso.data(), stored.constData() + 6, 4);
        memcpy(iso.data() + 5, stored.constData() + 3, 2);
        memcpy(iso.data() + 8, stored.constData(), 2);
        if (QDate::fromString(QString::fromLatin1(iso), Qt::ISODate).isValid())
            return iso;
    }
    const QDate date = readTypedDate(QString::fromUtf8(stored));
    return date.isValid() ? date.toString(Qt::ISODate).toUtf8() : stored;
}

// Appends a field, between quotes when it holds the separator, a quote or a line break.
void appendField(QByteArray &line, const QByteArray &value, char separator)
{
    const char *const from = value.constData(), *const end = from + value.size();
    const char *at = from;
    while (at < end && *at != separator && *at != '"' && *at != '\n' && *at != '\r')
        ++at;
    if (at == end) {
        line.append(from, value.size());
        return;
    }
    line += '"';
    for (const char *c = from; c < end; ++c) {
        if (*c == '"')
            line += '"';
        line += *c;
    }
    line += '"';
}

// The same for a text: plain ASCII goes in as it is, without a copy in UTF-8 first.
void appendText(QByteArray &line, const QString &text, char separator)
{
    const int start = line.size(), length = text.size();
    line.resize(start + length);
    char *out = line.data() + start;
    const QChar *in = text.constData();
    for (int i = 0; i < length; ++i) {
        const ushort c = in[i].unicode();
        if (c >= 0x80 || c == uchar(separator) || c == '"' || c == '\n' || c == '\r') {
            line.resize(start);
            appendField(line, text.toUtf8(), separator);
            return;
        }
        out[i] = char(c);
    }
}

} // namespace

QString writeCsvFile(DbConnection &db, const QString &path, const QString &table, CsvForm form,
                     const QVector<int> *ids, const ExchangeProgress &progress)
{
    const QString cannotWrite = QString::fromUtf8("ERRORE: Impossibile scrivere sul file!");
    QSaveFile file(path);
    if (path.isEmpty() || !file.open(QIODevice::WriteOnly))
        return cannotWrite;

    const bool italian = form == CsvForm::Italian;
    const char separator = italian ? ';' : ',';
    const char mark = italian ? ',' : '.';
    const QStringList columns = db.getFieldNames(table);
    const QStringList fieldColumns = csvFieldColumns(columns);
    QVector<Field> fields;
    for (const QString &column : fieldColumns) {
        const ColumnName name(column);
        Field field;
        field.index = columns.indexOf(column);
        const QString &word = name.typeWord();
        field.kind = name.isLookup()   ? Lookup
                     : word == "REAL"  ? Decimal
                     : word == "MONEY" ? Money
                     : word == "DATE"  ? Date
                     : word == "BOOL"  ? YesNo
                                       : Text;
        if (field.kind == Lookup)
            readLookup(db, name, &field);
        fields << field;
    }

    QByteArray buffer;
    buffer.reserve((1 << 20) + 4096);
    if (italian)
        buffer += "\xEF\xBB\xBF";
    const QStringList titles = csvHeaderNames(fieldColumns);
    for (int i = 0; i < titles.size(); ++i) {
        if (i > 0)
            buffer += separator;
        appendField(buffer, titles.at(i).toUtf8(), separator);
    }
    buffer += "\r\n";

    const QByteArray yes = QString::fromUtf8("Sì").toUtf8(), no = "No";
    const QVariant none;
    auto lineOf = [&](const QVector<QVariant> &values, QByteArray &line) {
        for (int i = 0; i < fields.size(); ++i) {
            if (i > 0)
                line += separator;
            const Field &field = fields.at(i);
            const QVariant &value = field.index < values.size() ? values.at(field.index) : none;
            switch (field.kind) {
            case Lookup:
                appendField(line, field.lookedUp(value.toInt()), separator);
                break;
            case YesNo:
                line += value.toString() == QLatin1String("TRUE") ? yes : no;
                break;
            case Decimal:
            case Money: {
                const QByteArray stored = value.toString().toUtf8();
                appendField(line, stored.isEmpty() ? stored : decimalOut(stored, field.kind == Money ? 2 : 0, mark),
                            separator);
                break;
            }
            case Date:
                if (italian)
                    appendText(line, value.toString(), separator);
                else
                    appendField(line, isoDate(value.toString().toUtf8()), separator);
                break;
            default:
                appendText(line, value.toString(), separator);
            }
        }
        line += "\r\n";
    };

    const int total = ids ? ids->size() : db.countRecords(table);
    int done = 0;
    if (!ids) {
        db.readRows(table, nullptr, [&](const QVector<QVariant> &values) {
            lineOf(values, buffer);
            if (buffer.size() >= (1 << 20)) {
                file.write(buffer);
                buffer.resize(0); // keeps its room
            }
            if (progress && ++done % 1024 == 0)
                progress(done, total);
            return true;
        });
    } else {
        // The listed records, in the list's order: their lines are made in
        // one pass over the table, then written in that order.
        const QSet<int> wanted(ids->begin(), ids->end());
        QHash<int, QByteArray> lines;
        db.readRows(table, nullptr, [&](const QVector<QVariant> &values) {
            const int id = values.value(0).toInt();
            if (wanted.contains(id) && !lines.contains(id))
                lineOf(values, lines[id]);
            return true;
        });
        for (const int id : *ids) {
            buffer += lines.value(id);
            if (progress && ++done % 1024 == 0)
                progress(done, total);
        }
    }
    file.write(buffer);
    if (progress)
        progress(total, total);
    return file.commit() ? QString() : cannotWrite;
}
