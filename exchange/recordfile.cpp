#include "exchange/recordfile.h"

#include "records/recordwriter.h"

#include <QBuffer>
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

// The file in pieces: each read as bytes, its "\r" left out (as text mode
// reads), then decoded. A byte-order mark decides the encoding, as a text
// stream decides it; without one the system's code page is used. UTF-8 goes
// on as it is, less its mark; anything else is turned into UTF-8.
class RecordFileImporter::Lines
{
public:
    explicit Lines(std::unique_ptr<QIODevice> source) : device(std::move(source)) {}

    bool restart()
    {
        buffer.clear();
        at = 0;
        ended = false;
        decoder.reset();
        if (!device->seek(0))
            return false;
        // Enough of the file to find its mark.
        while (buffer.size() < 4 && readPiece(&buffer)) {
        }
        QTextCodec *codec = QTextCodec::codecForUtfText(buffer, QTextCodec::codecForLocale());
        if (codec->mibEnum() != 106) {
            decoder.reset(codec->makeDecoder());
            buffer = decoder->toUnicode(buffer).toUtf8();
        } else if (buffer.startsWith("\xEF\xBB\xBF")) {
            at = 3;
        }
        return true;
    }

    // The next line, without its "\n" (valid until the next call); false
    // when nothing is left. *last: nothing follows it.
    bool next(QByteArray *line, bool *last)
    {
        int searched = at; // no line end before this
        for (;;) {
            const char *const from = buffer.constData() + at;
            const int left = buffer.size() - at;
            const char *const end = static_cast<const char *>(
                memchr(buffer.constData() + searched, '\n', size_t(buffer.size() - searched)));
            // A line end at the end of what is read: whether anything follows
            // is known once the next piece is read.
            if (end && (end + 1 < buffer.constData() + buffer.size() || ended)) {
                *line = QByteArray::fromRawData(from, int(end - from));
                at += int(end - from) + 1;
                *last = ended && at >= buffer.size();
                return true;
            }
            if (!end && ended) {
                if (left == 0)
                    return false;
                *line = QByteArray::fromRawData(from, left);
                at = buffer.size();
                *last = true;
                return true;
            }
            // The lines handed out before are done with: only the rest is kept.
            searched = (end ? int(end - buffer.constData()) : buffer.size()) - at;
            buffer.remove(0, at);
            at = 0;
            ended = !readPiece(&buffer);
        }
    }

private:
    // Reads a piece, "\r" left out; false at the end of the file.
    bool readPiece(QByteArray *into)
    {
        piece.resize(int(qMin<qint64>(1 << 20, qMax<qint64>(device->bytesAvailable(), 4096))));
        const qint64 count = device->read(piece.data(), piece.size());
        piece.resize(int(qMax<qint64>(count, 0)));
        if (count <= 0)
            return false;
        if (memchr(piece.constData(), '\r', size_t(piece.size())))
            piece.replace('\r', QByteArray());
        *into += decoder ? decoder->toUnicode(piece).toUtf8() : piece;
        return true;
    }

    std::unique_ptr<QIODevice> device;
    std::unique_ptr<QTextDecoder> decoder;
    QByteArray piece; // read last, keeping its room
    QByteArray buffer;
    int at = 0;
    bool ended = false;
};

RecordFileImporter::RecordFileImporter(DbConnection &db) : db(db) {}
RecordFileImporter::~RecordFileImporter() = default;

bool RecordFileImporter::open(const QString &path)
{
    auto file = std::make_unique<QFile>(path);
    if (!file->open(QIODevice::ReadOnly))
        return false;
    lines = std::make_unique<Lines>(std::move(file));
    survey();
    return true;
}

void RecordFileImporter::load(const QByteArray &bytes)
{
    auto buffer = std::make_unique<QBuffer>();
    buffer->setData(bytes);
    buffer->open(QIODevice::ReadOnly);
    lines = std::make_unique<Lines>(std::move(buffer));
    survey();
}

// The table name (line 1), the line ends after it and every "###",
// overlapping ones included: a run of n "#" holds n - 2 of them.
void RecordFileImporter::survey()
{
    table.clear();
    separators = recordLines = 0;
    if (!lines->restart())
        return;
    QByteArray line;
    bool last = false;
    int run = 0;
    for (int count = 0; lines->next(&line, &last); ++count) {
        if (count == 0)
            table = QString::fromUtf8(line);
        else
            ++recordLines;
        for (const char c : line) {
            run = c == '#' ? run + 1 : 0;
            separators += run >= 3;
        }
        run = 0; // a line end parts runs
    }
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
    QByteArray line;
    bool last = false;
    if (!lines || !lines->restart() || !lines->next(&line, &last) || last)
        return Imported; // no record lines

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
    bulk.reserve(qMin(recordLines, 1 << 20));

    Outcome outcome = Imported;
    int step = 0, lineCount = 0;
    while (lines->next(&line, &last)) {
        int pairs = 0;
        if (!splitLine(line.constData(), line.size(), &pairs)) {
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
        if (progress && (++lineCount % 16 == 0 || last))
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
