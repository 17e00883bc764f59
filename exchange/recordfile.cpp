#include "exchange/recordfile.h"

#include "records/recordwriter.h"

#include <QFile>
#include <QHash>
#include <QIODevice>
#include <QTextCodec>
#include <QTextStream>
#include <cstring>
#include <limits>
#include <vector>

namespace {

const QString Separator = QStringLiteral("###");

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

// Splits one record line into its values, in the table's column order: the
// pairs of sections are name, value; a name left empty drops its pair; the
// names must be the table's, in its order. The pairs are counted on every
// "###", overlapping ones included; the sections lie between the separators
// found from the left.
bool RecordFileImporter::splitLine(const char *line, int length, int *pairs)
{
    struct Span {
        int from, length;
    };
    QVector<Span> sections;
    sections.reserve(2 * columnBytes.size() + 1);
    int count = 0;
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
            sections << Span{sectionStart, i - sectionStart};
            sectionStart = i + 3;
        }
    }
    sections << Span{sectionStart, length - sectionStart};
    *pairs = (count + 1) / 2;

    const int columnCount = columnBytes.size();
    lineValues.clear();
    int names = 0;
    for (int p = 0; p < count; p += 2) {
        const Span name = sections.value(p, Span{0, 0});
        if (name.length == 0)
            continue;
        if (names >= columnCount)
            return false;
        // Names travel quote-doubled, as they would into SQL text.
        const QByteArray &column = columnBytes.at(names);
        const char *const nameAt = line + name.from;
        const bool same = memchr(nameAt, '\'', size_t(name.length))
                              ? QByteArray(nameAt, name.length).replace("'", "''") == column
                              : name.length == column.size()
                                    && memcmp(nameAt, column.constData(), size_t(name.length)) == 0;
        if (!same)
            return false;
        ++names;
        const Span value = sections.value(p + 1, Span{0, 0});
        lineValues << QByteArray::fromRawData(line + value.from, value.length);
    }
    return names == columnCount;
}

RecordFileImporter::Outcome RecordFileImporter::run(const ExchangeProgress &progress, bool keepReadRecords)
{
    imported = skipped = 0;
    error.clear();
    if (!db.tableExists(table))
        return NoTable;
    if (body >= text.size())
        return Imported;

    // Records go only into tables laid out as the program lays them out.
    error = RecordWriter::foreignTableRefusal(db, table);
    if (!error.isEmpty())
        return Refused;
    RecordWriter writer(db);
    RecordWriter::Bulk bulk(writer, table);
    if (!bulk.isReady()) {
        error = bulk.refusal();
        return error.isEmpty() ? Incompatible : WriteFailed;
    }
    columnBytes.clear();
    for (const QString &column : bulk.columns())
        columnBytes << column.toUtf8();
    // Room for the file's records in the sets of ids and identifiers (a file
    // of empty lines is refused at its first one: it gets no more than a million).
    bulk.reserve(qMin(lineEnds(text, body), 1 << 20));

    Outcome outcome = Imported;
    int step = 0, lineCount = 0;
    for (int start = body; start < text.size();) {
        const char *const lineEnd =
            static_cast<const char *>(memchr(text.constData() + start, '\n', size_t(text.size() - start)));
        const int end = lineEnd ? int(lineEnd - text.constData()) : text.size();
        const int from = start;
        start = end + 1;
        int pairs = 0;
        if (!splitLine(text.constData() + from, end - from, &pairs)) {
            outcome = Incompatible;
            break;
        }
        const RecordWriter::Bulk::Result added = bulk.add(lineValues.at(0), lineValues);
        if (added == RecordWriter::Bulk::Failed) {
            error = bulk.refusal();
            outcome = WriteFailed;
            break;
        }
        if (added == RecordWriter::Bulk::Added)
            ++imported;
        else
            ++skipped;
        step += 2 * pairs;
        // The bar moves by whole percents: a few lines at a time are enough.
        if (progress && (++lineCount % 16 == 0 || start >= text.size()))
            progress(step, separators);
    }
    if (outcome != Imported && !keepReadRecords) {
        imported = 0; // taken back with the transaction
        return outcome;
    }
    if (!bulk.commit()) {
        // Told where the commit failed; nothing of this import was kept.
        imported = 0;
        return NotSaved;
    }
    return outcome;
}
