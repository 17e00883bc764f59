#include "app/commandline.h"

#include "app/session.h"
#include "exchange/csvexport.h"
#include "exchange/csvimport.h"
#include "exchange/exportfile.h"
#include "storage/backupcopies.h"
#include "storage/databasecheck.h"
#include "exchange/recordfile.h"
#include "storage/dbconnection.h"
#include "storage/tablename.h"

#include <QCommandLineParser>
#include <QFileInfo>
#include <QTextStream>
#include <functional>

namespace {

enum Status { Done = 0, Failed = 1, Wrong = 2 };

// A writer waits this long for another program's write lock.
constexpr int BusyWait = 5000;

struct Verb {
    const char *name;
    QStringList arguments;
    const char *help;
};

const QList<Verb> &verbs()
{
    static const QList<Verb> list = {
        {"tables", {"FILE.db"}, "elenca le tabelle, ciascuna con il numero dei suoi Record"},
        {"export", {"FILE.db", "TABELLA", "FILE.tvf"}, "esporta i Record di una tabella (Trasvo File)"},
        {"export-structure", {"FILE.db", "TABELLA", "FILE.tsc"}, "esporta la Struttura di una tabella"},
        {"export-text", {"FILE.db", "TABELLA", "FILE.txt"}, "esporta una tabella in formato leggibile"},
        {"import", {"FILE.db", "TABELLA", "FILE.tvf"}, "importa i Record di un Trasvo File in una tabella"},
        {"backup", {"FILE.db"}, "copia il Db in Backup/ accanto al file (--to CARTELLA: con allegati e icone)"},
        {"check", {"FILE.db"}, "verifica il Db e i suoi allegati"},
        {"export-csv", {"FILE.db", "TABELLA", "FILE.csv"}, "esporta una tabella per i fogli di calcolo"},
        {"import-csv", {"FILE.db", "TABELLA", "FILE.csv"}, "importa un foglio di calcolo in una tabella"},
        {"export-pdf", {"FILE.db", "TABELLA", "FILE.pdf"}, "stampa in un PDF la lista dei Record di una tabella"},
    };
    return list;
}

const Verb *verbNamed(const QString &name)
{
    for (const Verb &verb : verbs()) {
        if (name == QLatin1String(verb.name))
            return &verb;
    }
    return nullptr;
}

QString usage()
{
    QString text = QString::fromUtf8("Uso: tessaro [FILE.db]\n"
                                     "     tessaro COMANDO ARGOMENTI\n\n"
                                     "Senza comando apre la finestra sul FILE.db indicato, o sull'ultimo Db aperto.\n\n"
                                     "Comandi:\n");
    for (const Verb &verb : verbs()) {
        const QString line = QString("  %1 %2").arg(verb.name, verb.arguments.join(' '))
                             + (QLatin1String(verb.name) == "backup" ? " [--to CARTELLA]" : "");
        text += line.leftJustified(50) + " " + QString::fromUtf8(verb.help) + "\n";
    }
    text += QString::fromUtf8("\nTABELLA è il nome che la finestra mostra. In caso di errore il messaggio va sullo\n"
                              "standard error, lo stato d'uscita non è 0, il Db resta com'era e nessun file\n"
                              "viene scritto.\n\n"
                              "Opzioni:\n");
    text += QString("  --international").leftJustified(50)
            + QString::fromUtf8(" export-csv: forma internazionale (\",\", punto decimale, date ISO)\n");
    text += QString("  --new-table").leftJustified(50)
            + QString::fromUtf8(" import-csv: crea TABELLA con i campi e i tipi letti dal file\n");
    text += QString("  --good-rows").leftJustified(50)
            + QString::fromUtf8(" import-csv: importa le righe valide anche se altre hanno errori\n");
    text += QString("  -h, --help").leftJustified(50) + " mostra questo aiuto\n";
    text += QString("  -v, --version").leftJustified(50) + " mostra la versione\n";
    return text;
}

// The open database of a verb, its failures told on the error stream.
class Database
{
public:
    explicit Database(QTextStream &err) : err(err)
    {
        db.setFailureListener([&err](const QString &message) { err << message.trimmed() << "\n"; });
    }
    bool open(const QString &path, bool writing)
    {
        DbConnection::OpenOptions options;
        options.mustExist = true;
        options.readOnly = !writing;
        options.busyTimeout = writing ? BusyWait : 0;
        if (!db.openDb(path, options))
            return false;
        if (writing && db.isFileReadOnly()) {
            err << QString::fromUtf8("ERRORE: Il Db %1 non si può modificare!").arg(path) << "\n";
            return false;
        }
        return true;
    }
    // The table the window shows as display; told when there is none.
    bool findTable(const QString &display, QString *internal)
    {
        *internal = TableName::fromDisplay(display).internal();
        if (db.tableExists(*internal))
            return true;
        err << QString::fromUtf8("ERRORE: La Tabella '%1' non esiste!").arg(display) << "\n";
        return false;
    }
    DbConnection db;

private:
    QTextStream &err;
};

int listTables(const QStringList &args, QTextStream &out, QTextStream &err)
{
    Database data(err);
    if (!data.open(args.at(0), false))
        return Failed;
    // The tables the window lists: neither the program's own nor hidden ones.
    for (const QString &name : data.db.getTables()) {
        const TableName table(name);
        if (!table.isSystem() && !table.isHidden())
            out << table.display() << "\t" << data.db.countRecords(name) << "\n";
    }
    return Done;
}

int exportTable(const QStringList &args, ExportKind kind, QTextStream &err)
{
    Database data(err);
    QString table;
    if (!data.open(args.at(0), false) || !data.findTable(args.at(1), &table))
        return Failed;
    const QString problem = writeExportFile(data.db, args.at(2), table, kind);
    if (!problem.isEmpty()) {
        err << problem << "\n";
        return Failed;
    }
    return Done;
}

int importRecords(const QStringList &args, QTextStream &out, QTextStream &err)
{
    Database data(err);
    QString table;
    if (!data.open(args.at(0), true) || !data.findTable(args.at(1), &table))
        return Failed;
    RecordFileImporter importer(data.db);
    if (!importer.open(args.at(2))) {
        err << QString::fromUtf8("ERRORE: Impossibile aprire il file!") << "\n";
        return Failed;
    }
    if (importer.tableName() != table) {
        err << QString::fromUtf8("ERRORE: Il file contiene i Record della tabella '%1', non di '%2'!")
                   .arg(TableName(importer.tableName()).display(), args.at(1))
            << "\n";
        return Failed;
    }
    // All or nothing: a stop takes back every record of the file.
    const RecordFileImporter::Outcome outcome = importer.run({}, false);
    if (outcome != RecordFileImporter::Imported && data.db.lastWriteWasBusy()) {
        err << QString::fromUtf8("ERRORE: Il Db è in uso da un altro programma: nulla è stato importato, riprovare più tardi.")
            << "\n";
        return Failed;
    }
    switch (outcome) {
    case RecordFileImporter::Imported:
        out << QString::fromUtf8("Importati %1 Record, saltati %2 già presenti.")
                   .arg(importer.importedCount())
                   .arg(importer.skippedCount())
            << "\n";
        return Done;
    case RecordFileImporter::Incompatible:
        err << QString::fromUtf8("ERRORE: Tabella Incompatibile!") << "\n";
        break;
    case RecordFileImporter::Refused:
    case RecordFileImporter::WriteFailed:
        err << importer.errorText().trimmed() << "\n";
        break;
    default:
        break; // told by the connection
    }
    return Failed;
}

int backup(const QStringList &args, const QString &folder, QTextStream &out, QTextStream &err)
{
    Database data(err);
    if (!data.open(args.at(0), false))
        return Failed;
    BackupCopies copies(data.db, args.at(0));
    if (!folder.isEmpty()) {
        if (!copies.copyWhole(folder)) {
            err << QString::fromUtf8("ERRORE: Impossibile salvare la copia completa del Db!\n") << copies.failure() << "\n";
            return Failed;
        }
        out << QString::fromUtf8("Copia completa salvata in %1").arg(folder) << "\n";
        return Done;
    }
    const QString copy = copies.make("comando");
    if (copy.isEmpty()) {
        err << QString::fromUtf8("ERRORE: Impossibile fare la copia di sicurezza del Db!\n") << copies.failure() << "\n";
        return Failed;
    }
    out << copy << "\n";
    return Done;
}

CommandLine::PdfWriter &pdfWriter()
{
    static CommandLine::PdfWriter writer;
    return writer;
}

int exportPdf(const QStringList &args, QTextStream &err)
{
    Database data(err);
    QString table;
    if (!data.open(args.at(0), false) || !data.findTable(args.at(1), &table))
        return Failed;
    const QString folder = Session::pathsOf(QFileInfo(args.at(0)).absoluteFilePath()).folder;
    const QString problem = pdfWriter() ? pdfWriter()(data.db, folder, table, args.at(2))
                                        : QString::fromUtf8("ERRORE: Impossibile scrivere sul file!");
    if (!problem.isEmpty()) {
        err << problem << "\n";
        return Failed;
    }
    return Done;
}

int check(const QStringList &args, QTextStream &out, QTextStream &err)
{
    Database data(err);
    if (!data.open(args.at(0), false))
        return Failed;
    const DatabaseCheck found = checkDatabase(data.db, Session::pathsOf(QFileInfo(args.at(0)).absoluteFilePath()).folder);
    out << found.report() << "\n";
    return found.isClean() ? Done : Failed;
}

int exportCsv(const QStringList &args, bool international, QTextStream &err)
{
    Database data(err);
    QString table;
    if (!data.open(args.at(0), false) || !data.findTable(args.at(1), &table))
        return Failed;
    const QString problem =
        writeCsvFile(data.db, args.at(2), table, international ? CsvForm::International : CsvForm::Italian);
    if (!problem.isEmpty()) {
        err << problem << "\n";
        return Failed;
    }
    return Done;
}

// The window's rules: every problem is told, one per line; with any of them
// nothing is written, unless the good rows are asked for (the status is then
// still not 0).
int importCsv(const QStringList &args, bool newTable, bool goodRows, QTextStream &out, QTextStream &err)
{
    Database data(err);
    QString table;
    if (!data.open(args.at(0), true) || (!newTable && !data.findTable(args.at(1), &table)))
        return Failed;
    CsvImport import(data.db);
    if (!import.open(args.at(2))) {
        err << import.errorText() << "\n";
        return Failed;
    }
    CsvImport::Plan plan;
    plan.goodRows = goodRows;
    plan.newTable = newTable;
    if (newTable) {
        plan.table = args.at(1);
        plan.newFields = import.guessedFields();
    } else {
        plan.table = table;
        plan.mapping = import.mappingFor(table);
        for (int j = 0; j < plan.mapping.size(); ++j) {
            if (plan.mapping.at(j).isEmpty())
                out << QString::fromUtf8("Colonna '%1' saltata: nessun campo della tabella ha quel nome.")
                           .arg(import.header().at(j))
                    << "\n";
        }
    }
    const CsvImport::Outcome outcome =
        import.run(plan, {}, [&err](const QString &problem) { err << problem << "\n"; });
    if (outcome == CsvImport::Imported) {
        out << QString::fromUtf8("Importati %1 Record.").arg(import.importedCount());
        if (import.leftOutCount() > 0)
            out << QString::fromUtf8(" Righe scartate: %1.").arg(import.leftOutCount());
        out << "\n";
        return import.problemCount() > 0 ? Failed : Done;
    }
    if (data.db.lastWriteWasBusy())
        err << QString::fromUtf8("ERRORE: Il Db è in uso da un altro programma: nulla è stato importato, riprovare più tardi.")
            << "\n";
    else if (outcome == CsvImport::HasProblems)
        err << QString::fromUtf8("ERRORE: Nessun Record importato: %1 problemi.").arg(import.problemCount()) << "\n";
    else if (!import.errorText().isEmpty())
        err << import.errorText().trimmed() << "\n";
    return Failed;
}

} // namespace

bool CommandLine::isCommand(const QStringList &arguments)
{
    if (arguments.isEmpty())
        return false;
    // One database file opens the window on it; anything else is a command
    // (an unknown one is said to be so).
    const QString &first = arguments.first();
    const bool file = arguments.size() == 1 && !first.startsWith('-')
                      && (first.endsWith(".db", Qt::CaseInsensitive) || QFileInfo(first).isFile());
    return !file || verbNamed(first);
}

bool CommandLine::needsPainting(const QStringList &arguments)
{
    for (const QString &argument : arguments) {
        if (!argument.startsWith('-'))
            return argument == QLatin1String("export-pdf");
    }
    return false;
}

void CommandLine::setPdfWriter(const PdfWriter &writer)
{
    pdfWriter() = writer;
}

int CommandLine::run(const QStringList &arguments, QTextStream &out, QTextStream &err)
{
    QCommandLineParser parser;
    const QCommandLineOption help({"h", "help"}, "aiuto");
    const QCommandLineOption version({"v", "version"}, "versione");
    const QCommandLineOption to("to", "cartella", "CARTELLA");
    const QCommandLineOption international("international", "export-csv");
    const QCommandLineOption newTable("new-table", "import-csv");
    const QCommandLineOption goodRows("good-rows", "import-csv");
    parser.addOption(help);
    parser.addOption(version);
    parser.addOptions({to, international, newTable, goodRows});
    if (!parser.parse(QStringList("tessaro") + arguments)) {
        err << parser.errorText() << "\n\n" << usage();
        return Wrong;
    }
    if (parser.isSet(help)) {
        out << usage();
        return Done;
    }
    if (parser.isSet(version)) {
        out << "tessaro " << TESSARO_VERSION << "\n";
        return Done;
    }
    const QStringList words = parser.positionalArguments();
    const Verb *verb = words.isEmpty() ? nullptr : verbNamed(words.first());
    if (!verb || words.size() - 1 != verb->arguments.size()) {
        err << (verb ? QString::fromUtf8("Argomenti sbagliati per %1.").arg(verb->name)
                     : QString::fromUtf8("Comando sconosciuto: %1").arg(words.value(0)))
            << "\n\n"
            << usage();
        return Wrong;
    }
    const QStringList args = words.mid(1);
    const QString name = verb->name;
    // Each option belongs to one verb.
    if ((parser.isSet(international) && name != "export-csv")
        || ((parser.isSet(newTable) || parser.isSet(goodRows)) && name != "import-csv")
        || (parser.isSet(to) && name != "backup")) {
        err << QString::fromUtf8("Opzione non valida per %1.").arg(name) << "\n\n" << usage();
        return Wrong;
    }
    if (name == "tables")
        return listTables(args, out, err);
    if (name == "export")
        return exportTable(args, ExportKind::Records, err);
    if (name == "export-structure")
        return exportTable(args, ExportKind::Structure, err);
    if (name == "export-text")
        return exportTable(args, ExportKind::Text, err);
    if (name == "backup")
        return backup(args, parser.value(to), out, err);
    if (name == "check")
        return check(args, out, err);
    if (name == "export-csv")
        return exportCsv(args, parser.isSet(international), err);
    if (name == "import-csv")
        return importCsv(args, parser.isSet(newTable), parser.isSet(goodRows), out, err);
    if (name == "export-pdf")
        return exportPdf(args, err);
    return importRecords(args, out, err);
}
