#ifndef COMMANDLINE_H
#define COMMANDLINE_H

#include <QStringList>
#include <functional>

class DbConnection;
class QTextStream;

// The command line: verbs that run on the core, in a terminal, with no
// window toolkit started.
//   tessaro tables FILE.db
//   tessaro export FILE.db TABLE OUT.tvf
//   tessaro export-structure FILE.db TABLE OUT.tsc
//   tessaro export-text FILE.db TABLE OUT.txt
//   tessaro import FILE.db TABLE IN.tvf
//   tessaro backup FILE.db [--to FOLDER]
//   tessaro check FILE.db
//   tessaro export-csv FILE.db TABLE OUT.csv [--international]
//   tessaro import-csv FILE.db TABLE IN.csv [--new-table] [--good-rows]
//   tessaro export-pdf FILE.db TABLE OUT.pdf
// TABLE is the name the window shows. A failure prints the message on the
// error stream and ends with a status other than 0; a failed run leaves the
// database as it was and writes no output file.
namespace CommandLine {

// Whether the arguments (the program's name left out) ask for the command
// line (a verb, or an option) rather than the window.
bool isCommand(const QStringList &arguments);

// Runs the verb; 0 when it did what was asked, 1 when it failed, 2 when the
// command itself was wrong.
int run(const QStringList &arguments, QTextStream &out, QTextStream &err);

// export-pdf paints its pages with Qt Gui, which the core does not link: the
// program starts Qt Gui (on no display) for that verb alone, and hands over
// the writer, which answers the message to tell when it failed.
bool needsPainting(const QStringList &arguments);
using PdfWriter = std::function<QString(DbConnection &db, const QString &folder, const QString &table,
                                        const QString &path)>;
void setPdfWriter(const PdfWriter &writer);

} // namespace CommandLine

#endif // COMMANDLINE_H
