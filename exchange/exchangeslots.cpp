// Record files, table structure files and readable text exports.
#include "app/tessaro.h"
#include "ui_tessaro.h"

#include "dialogs/choosenameform.h"
#include "dialogs/listbuttonform.h"
#include "dialogs/progressbarform.h"
#include "exchange/exportfile.h"
#include "exchange/structurefile.h"
#include "dialogs/messagehandler.h"
#include "storage/namingscheme.h"
#include "storage/tablename.h"

#include <QDir>
#include <QFile>

namespace {
const char *const RecordFolder = "TrasvoFiles/";
const char *const ExportFolder = "Exports/";
const char *const CannotWrite = "ERRORE: Impossibile scrivere sul file!";
const char *const CannotOpen = "ERRORE: Impossibile aprire il file!";

// "name.tsc" from a chosen path: the proposed table name.
QString structureName(const QString &path)
{
    QString name = path.mid(path.lastIndexOf('/') + 1);
    const int extension = name.lastIndexOf(".tsc");
    return extension >= 0 ? name.left(extension) : name;
}
} // namespace

QString Tessaro::exchangeFolder(const char *name) const
{
    const QString folder = dbFolder + name;
    QDir().mkpath(folder);
    return folder;
}

void Tessaro::exportWithProgress(const QString &path, const QString &table, int kind, int id, const QString &label,
                                 const QString &title)
{
    progress->setValue(0);
    progress->setLabel(label);
    progress->setWindowTitle(title);
    progress->show();
    const QString problem = writeExportFile(*db, path, table, ExportKind(kind), id,
                                            [this](int step, int total) { reportProgress(step, total); });
    progress->hide();
    if (!problem.isEmpty())
        MessageHandler::current()->warning(problem);
}

void Tessaro::exportToFile()
{
    const QString path = MessageHandler::current()->saveFileName(
        this, "Save File", exchangeFolder(RecordFolder) + currentTable + ".tvf", "Trasvo File (*.tvf)");
    if (!path.isEmpty())
        exportingToFile(path, currentTable);
}

void Tessaro::exportingToFile(const QString &path, const QString &table)
{
    exportWithProgress(path, table, int(ExportKind::Records), 0, "Esportazione " + table, "Esportazione ");
}

void Tessaro::exportSingleToFile()
{
    const QString path = MessageHandler::current()->saveFileName(
        this, "Save File", exchangeFolder(RecordFolder) + currentTable + ".tvf", "Trasvo File (*.tvf)");
    if (!path.isEmpty())
        exportingSingleToFile(path, currentTable, currentId);
}

void Tessaro::exportingSingleToFile(const QString &path, const QString &table, int id)
{
    exportWithProgress(path, table, int(ExportKind::RecordOfTable), id, "Esportazione " + table, "Importazione ");
}

void Tessaro::autoExportAll()
{
    // The folder ends in "/": the paths hold "//", which the file system takes as one.
    const QString folder = exchangeFolder(RecordFolder);
    for (const QString &table : QStringList(tableNames))
        exportingToFile(folder + "/" + table + ".tvf", table);
    MessageHandler::current()->information("Esportazione Completata!");
}

void Tessaro::importFromFile()
{
    const QString path =
        MessageHandler::current()->openFileName(this, "Select File", exchangeFolder(RecordFolder), "tvf (*.tvf)");
    if (!path.isEmpty())
        importingFile(path);
}

void Tessaro::importingFile(const QString &path)
{
    if (readOnly)
        return;
    MessageHandler *messages = MessageHandler::current();
    importFailed = false;
    RecordFileImporter importer(*db);
    if (!importer.open(path)) {
        messages->warning(CannotOpen);
        importFailed = true;
        return;
    }
    const QString table = importer.tableName();
    progress->setValue(0);
    progress->setLabel("Importazione " + table);
    progress->setWindowTitle("Elaborazione");
    if (!db->tableExists(table)) {
        messages->warning("ERRORE: La Tabella non esiste!");
        return;
    }
    if (refuseForeignTable(table))
        return;

    if (!copyBefore("importa"))
        return;
    // Records already present are skipped silently; a line that stops the
    // import keeps the records read before it.
    progress->show();
    const RecordFileImporter::Outcome outcome =
        importer.run([this](int step, int total) { reportProgress(step, total); });

    if (outcome != RecordFileImporter::Imported)
        progress->hide();
    if (outcome == RecordFileImporter::Incompatible)
        messages->warning("ERRORE: Tabella Incompatibile!");
    else if (outcome == RecordFileImporter::WriteFailed || outcome == RecordFileImporter::Refused)
        messages->warning(importer.errorText());
    // The records read before a stop stay, and are listed; the progress dialog
    // stays up while the list is read again.
    if (outcome == RecordFileImporter::Imported || importer.importedCount() > 0)
        changeTable(table);
    progress->hide();
}

void Tessaro::exportSelectedStructure()
{
    exportingStructure(currentTable, db->getFieldNames(currentTable));
}

void Tessaro::autoExportAllStructures()
{
    for (const QString &table : QStringList(tableNames))
        exportingStructure(table, db->getFieldNames(table));
}

void Tessaro::exportingStructure(const QString &table, const QStringList &columns)
{
    Q_UNUSED(columns) // the table's own, read where the file is written
    progress->setLabel("Esportazione ");
    progress->setWindowTitle("Esportazione ");
    const QString problem = writeExportFile(*db, exchangeFolder(RecordFolder) + table + ".tsc", table, ExportKind::Structure);
    if (!problem.isEmpty())
        MessageHandler::current()->warning(problem);
}

void Tessaro::importTableStructure()
{
    if (readOnly)
        return;
    const QStringList files = MessageHandler::current()->openFileNames(this, "Select File",
                                                                        exchangeFolder(RecordFolder), "tsc (*.tsc)");
    if (files.size() == 1) {
        // One file: its table name is confirmed in the name dialog first.
        // A cancelled dialog leaves nothing waiting.
        pendingStructureFile = files.first();
        nameForm->setName(structureName(pendingStructureFile));
        nameForm->exec();
        pendingStructureFile.clear();
        return;
    }
    for (const QString &file : files)
        importingStructure(file, structureName(file));
}

void Tessaro::waitingForTableStructureName()
{
    // The name dialog serves other askers too: act only when a file waits.
    if (pendingStructureFile.isEmpty())
        return;
    const QString file = pendingStructureFile;
    pendingStructureFile.clear();
    // The name is taken as the designer takes a typed one.
    importingStructure(file, toInternalTableName(nameForm->getName()).replace(' ', '_'));
}

void Tessaro::importingStructure(const QString &path, const QString &name)
{
    if (readOnly)
        return;
    MessageHandler *messages = MessageHandler::current();
    if (name.isEmpty()) {
        messages->warning("ERRORE: La Tabella è vuota!");
        return;
    }
    // SQLite does not tell table names apart by case.
    for (const QString &existing : db->getTables()) {
        if (existing.compare(name, Qt::CaseInsensitive) == 0) {
            messages->warning("ERRORE: La Tabella è già presente nel Db!");
            return;
        }
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        messages->warning(CannotOpen);
        return;
    }
    const QByteArray bytes = file.readAll();
    file.close();
    progress->setValue(0);
    progress->setLabel("Importazione Struttura " + name);
    progress->setWindowTitle("Elaborazione");

    const TableStructure structure = readStructure(bytes);
    if (!copyBefore("importa-struttura") || !db->createTable(name, structure.columns))
        return;

    addSettingsRow(name, structure.iconPath, "0");
    for (const auto &subtable : structure.subtables)
        createSubtable(name, subtable.first, subtable.second);
    tableNames << name;
    if (!TableName(name).isHidden()) {
        addTableButton(name);
    }
}

void Tessaro::exportToFileHumanReading()
{
    const QString path = MessageHandler::current()->saveFileName(
        this, "Save File", exchangeFolder(ExportFolder) + currentTable + ".txt", "txt (*.txt)");
    if (!path.isEmpty())
        exportingToFileHumanReading(path, currentTable);
}

void Tessaro::exportingToFileHumanReading(const QString &path, const QString &table)
{
    exportWithProgress(path, table, int(ExportKind::Text), 0, "Exporting " + table, "Importazione ");
}

void Tessaro::exportSingleToFileTxt()
{
    const QString path = MessageHandler::current()->saveFileName(
        this, "Save File", exchangeFolder(ExportFolder) + currentTable + ".txt", "txt (*.txt)");
    if (!path.isEmpty())
        exportingSingleToFileHumanReading(path, currentTable, currentId);
}

void Tessaro::exportingSingleToFileHumanReading(const QString &path, const QString &table, int id)
{
    exportWithProgress(path, table, int(ExportKind::TextOfRecord), id, "Exporting " + table, "Importazione ");
}
