#include "exchange/csvreader.h"

#include <QBuffer>
#include <QFile>
#include <QTextCodec>
#include <QTextDecoder>
#include <cstring>

namespace {

constexpr qint64 PieceBytes = 1 << 20;
const char Utf8Mark[] = "\xEF\xBB\xBF";

// Checks bytes as UTF-8 (no overlong forms, no surrogates). Answers -1 when
// they are not, else how many bytes at the end begin a character that the
// next piece completes.
int checkUtf8(const char *s, int n)
{
    int i = 0;
    while (i < n) {
        while (i + 8 <= n) {
            quint64 word;
            memcpy(&word, s + i, 8);
            if (word & 0x8080808080808080ULL)
                break;
            i += 8;
        }
        if (i >= n)
            break;
        const uchar c = uchar(s[i]);
        if (c < 0x80) {
            ++i;
            continue;
        }
        int length;
        uint code, least;
        if ((c & 0xE0) == 0xC0) {
            length = 2, code = c & 0x1F, least = 0x80;
        } else if ((c & 0xF0) == 0xE0) {
            length = 3, code = c & 0x0F, least = 0x800;
        } else if ((c & 0xF8) == 0xF0) {
            length = 4, code = c & 0x07, least = 0x10000;
        } else {
            return -1;
        }
        for (int k = 1; k < length; ++k) {
            if (i + k >= n)
                return n - i;
            const uchar d = uchar(s[i + k]);
            if ((d & 0xC0) != 0x80)
                return -1;
            code = (code << 6) | (d & 0x3F);
        }
        if (code < least || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF))
            return -1;
        i += length;
    }
    return 0;
}

} // namespace

CsvReader::CsvReader() = default;
CsvReader::~CsvReader() = default;

bool CsvReader::open(const QString &path)
{
    auto file = std::make_unique<QFile>(path);
    if (path.isEmpty() || !file->open(QIODevice::ReadOnly)) {
        error = QString::fromUtf8("ERRORE: Impossibile aprire il file!");
        device.reset();
        return false;
    }
    return start(std::move(file));
}

void CsvReader::openBytes(const QByteArray &bytes)
{
    auto buffer = std::make_unique<QBuffer>();
    buffer->setData(bytes);
    buffer->open(QIODevice::ReadOnly);
    start(std::move(buffer));
}

bool CsvReader::start(std::unique_ptr<QIODevice> source)
{
    device = std::move(source);
    rawSize = device->size();
    error.clear();
    detectEncoding();
    detectSeparator();
    return rewind();
}

void CsvReader::detectEncoding()
{
    const QByteArray head = device->peek(3);
    if (head.startsWith(Utf8Mark)) {
        fileEncoding = Utf8WithMark;
        return;
    }
    if (head.startsWith("\xFF\xFE") || head.startsWith("\xFE\xFF")) {
        fileEncoding = Utf16;
        return;
    }
    // UTF-8 when every byte of the file says so, a piece at a time.
    fileEncoding = Utf8;
    QByteArray carried;
    while (!device->atEnd()) {
        const QByteArray piece = carried + device->read(qMin<qint64>(PieceBytes, qMax<qint64>(device->bytesAvailable(), 4096)));
        if (piece.isEmpty())
            break;
        const int open = checkUtf8(piece.constData(), piece.size());
        if (open < 0) {
            fileEncoding = Windows1252;
            break;
        }
        carried = piece.right(open);
    }
    device->seek(0);
}

void CsvReader::detectSeparator()
{
    // The first records, read with each candidate: the one that parts them
    // all into as many fields as the first, and more than one, wins.
    int bestScore = 0;
    char best = ';';
    for (const char candidate : {';', '\t', ','}) {
        fieldSeparator = candidate;
        if (!rewind())
            return;
        int first = 0, score = 0, records = 0;
        while (records < 50 && next()) {
            if (isBlank())
                continue;
            ++records;
            if (first == 0)
                first = fieldCount();
            if (first > 1 && fieldCount() == first)
                ++score;
        }
        if (score > bestScore) {
            bestScore = score;
            best = candidate;
        }
    }
    fieldSeparator = best;
}

void CsvReader::setEncoding(Encoding encoding)
{
    fileEncoding = encoding;
    rewind();
}

void CsvReader::setSeparator(char separator)
{
    fieldSeparator = separator;
    rewind();
}

QString CsvReader::encodingName(Encoding encoding)
{
    switch (encoding) {
    case Utf8:
        return "UTF-8";
    case Utf8WithMark:
        return "UTF-8 con BOM";
    case Windows1252:
        return "Windows-1252";
    case Utf16:
        return "UTF-16";
    }
    return QString();
}

QString CsvReader::separatorName(char separator)
{
    return separator == '\t' ? QString("Tab") : QString(QChar(separator));
}

bool CsvReader::rewind()
{
    raw.resize(0);
    chunk.resize(0);
    at = 0;
    atStart = true;
    rawRead = 0;
    rowNumber = 0;
    data.resize(0);
    ends.resize(0);
    if (!device)
        return false;
    error.clear();
    decoder.reset();
    if (fileEncoding == Windows1252 || fileEncoding == Utf16) {
        QTextCodec *codec = QTextCodec::codecForName(fileEncoding == Utf16 ? "UTF-16" : "windows-1252");
        decoder.reset(codec->makeDecoder());
    }
    if (!device->seek(0)) {
        error = QString::fromUtf8("ERRORE: Impossibile aprire il file!");
        return false;
    }
    return true;
}

// The next piece of the file, in UTF-8; false at its end.
bool CsvReader::fill()
{
    at = 0;
    chunk.resize(0);
    // Read into buffers that keep their room from piece to piece.
    QByteArray &into = decoder ? raw : chunk;
    while (chunk.isEmpty()) {
        into.resize(int(qMin<qint64>(PieceBytes, qMax<qint64>(device->bytesAvailable(), 4096))));
        const qint64 count = device->read(into.data(), into.size());
        into.resize(int(qMax<qint64>(count, 0)));
        if (count <= 0)
            return false;
        rawRead += count;
        if (decoder)
            chunk = decoder->toUnicode(raw).toUtf8();
    }
    if (atStart && chunk.startsWith(Utf8Mark))
        at = 3;
    atStart = false;
    return at < chunk.size() || fill();
}

bool CsvReader::ensure()
{
    return at < chunk.size() || fill();
}

bool CsvReader::fail(const char *reason)
{
    error = QString::asprintf("riga %d: %s", rowNumber, reason);
    data.clear();
    ends.clear();
    return false;
}

QByteArray CsvReader::field(int i) const
{
    const int from = i == 0 ? 0 : ends.at(i - 1);
    return QByteArray::fromRawData(data.constData() + from, ends.at(i) - from);
}

bool CsvReader::next()
{
    data.resize(0);
    ends.resize(0);
    if (!error.isEmpty() || !device || !ensure())
        return false;
    ++rowNumber;
    const char separator = fieldSeparator;
    const auto tooLong = [this] { return data.size() + ends.size() > MaxRecordBytes; };
    for (;;) {
        if (!ensure()) {
            ends << data.size(); // the file ends after a separator
            return true;
        }
        if (chunk.at(at) == '"') {
            // Quoted: up to the lone closing quote, "" standing for one; a
            // line break inside is kept as LF.
            ++at;
            for (;;) {
                if (!ensure())
                    return fail("virgolette aperte e mai chiuse");
                const char *const base = chunk.constData();
                const char *p = base + at, *const end = base + chunk.size();
                const char *s = p;
                while (s < end && *s != '"' && *s != '\r')
                    ++s;
                data.append(p, int(s - p));
                at = int(s - base);
                if (tooLong())
                    return fail("riga troppo lunga");
                if (s == end)
                    continue;
                const char stop = *s;
                ++at;
                const bool more = ensure(); // may replace the piece s points into
                if (stop == '\r') {
                    if (!more || chunk.at(at) != '\n')
                        data += '\n';
                    continue;
                }
                if (more && chunk.at(at) == '"') {
                    data += '"';
                    ++at;
                    continue;
                }
                break;
            }
        }
        // Unquoted, or what follows a closing quote: as it is, up to the
        // separator or the end of the line.
        for (;;) {
            if (!ensure()) {
                ends << data.size();
                return true;
            }
            const char *const base = chunk.constData();
            const char *p = base + at, *const end = base + chunk.size();
            const char *s = p;
            while (s < end && *s != separator && *s != '\n' && *s != '\r')
                ++s;
            data.append(p, int(s - p));
            at = int(s - base);
            if (tooLong())
                return fail("riga troppo lunga");
            if (s < end)
                break;
        }
        const char c = chunk.at(at++);
        ends << data.size();
        if (tooLong())
            return fail("riga troppo lunga");
        if (c == separator)
            continue;
        if (c == '\r' && ensure() && chunk.at(at) == '\n')
            ++at;
        return true;
    }
}
