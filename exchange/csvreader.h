#ifndef CSVREADER_H
#define CSVREADER_H

#include <QByteArray>
#include <QString>
#include <QVector>
#include <memory>

class QIODevice;
class QTextDecoder;

// Reads a spreadsheet's CSV file record by record, a piece of the file at a
// time, whatever its size:
//  - fields parted by ";", "," or tab, quoted the RFC 4180 way ("a ""b""",
//    line breaks and separators inside quotes); a quote inside an unquoted
//    field, or after a closing quote, is taken as it is;
//  - records end at CR LF, LF or a lone CR; a line break inside quotes is
//    kept as LF;
//  - UTF-8 with or without its byte-order mark, Windows-1252, or UTF-16 with
//    its mark; the fields are handed on in UTF-8.
// The encoding and the separator are found when the file is opened: a mark
// decides the encoding, else the whole file is checked for UTF-8, else it is
// Windows-1252; the separator is the one that parts the first records into
// the same number of fields (";" first, then tab, then ",").
// A quote left open to the end of the file, or a record longer than
// MaxRecordBytes, stops the reading with errorText() saying where.
class CsvReader
{
public:
    enum Encoding { Utf8, Utf8WithMark, Windows1252, Utf16 };
    static constexpr int MaxRecordBytes = 4 << 20;

    CsvReader();
    ~CsvReader();
    CsvReader(const CsvReader &) = delete;
    CsvReader &operator=(const CsvReader &) = delete;

    // Opens the file and finds its encoding and separator; false (with
    // errorText()) when it cannot be read.
    bool open(const QString &path);
    // The same on bytes in memory.
    void openBytes(const QByteArray &bytes);

    Encoding encoding() const { return fileEncoding; }
    char separator() const { return fieldSeparator; }
    // What the user chose instead of what was found; the next record read is
    // the first again.
    void setEncoding(Encoding encoding);
    void setSeparator(char separator);
    static QString encodingName(Encoding encoding);
    static QString separatorName(char separator);

    // Back to the first record; false when the file cannot be read again.
    bool rewind();
    // Reads the next record: false at the end of the file, or when it cannot
    // be read further (errorText() is then set).
    bool next();
    // The record just read: its fields in UTF-8 (valid until the next call),
    // and its row as a spreadsheet numbers it (1 for the first; an empty line
    // is a row too).
    int fieldCount() const { return ends.size(); }
    QByteArray field(int i) const;
    QString text(int i) const { return QString::fromUtf8(field(i)); }
    // Whether every field of the record is empty (an empty line, ";;;").
    bool isBlank() const { return data.isEmpty(); }
    int row() const { return rowNumber; }

    // How far the reading has come, for a progress bar.
    qint64 position() const { return rawRead; }
    qint64 size() const { return rawSize; }
    QString errorText() const { return error; }

private:
    bool start(std::unique_ptr<QIODevice> source);
    void detectEncoding();
    void detectSeparator();
    bool fill();
    bool ensure();
    bool fail(const char *format);

    std::unique_ptr<QIODevice> device;
    std::unique_ptr<QTextDecoder> decoder;
    Encoding fileEncoding = Utf8;
    char fieldSeparator = ';';
    QByteArray raw;   // the piece last read from the device
    QByteArray chunk; // that piece in UTF-8
    int at = 0;       // next byte of chunk
    bool atStart = true;
    qint64 rawRead = 0;
    qint64 rawSize = 0;
    int rowNumber = 0;
    QByteArray data;   // the fields of the record, one after the other
    QVector<int> ends; // where each field ends in data
    QString error;
};

#endif // CSVREADER_H
