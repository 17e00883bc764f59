// Spreadsheets: a table (or the filtered list) as a CSV file, and CSV files
// into a table or a new one.
#include "app/tessaro.h"
#include "ui_tessaro.h"

#include "dialogs/csvimportform.h"
#include "dialogs/messagehandler.h"
#include "dialogs/progressbarform.h"
#include "exchange/csvexport.h"
#include "exchange/csvimport.h"
#include "records/recordwriter.h"
#include "records/tabledesign.h"
#include "storage/tablename.h"

#include <QFileInfo>

namespace {
const char *const ExportFolder = "Exports/";
const char *const ItalianForm = "CSV per fogli di calcolo italiani (*.csv)";
const char *const InternationalForm = "CSV internazionale (*.csv)";

// A new table's name from the file's: letters, digits and blanks.
QString tableNameFor(const QString &path)
{
    QString name;
    for (const QChar c : QFileInfo(path).completeBaseName())
        name += c.isLetterOrNumber() ? c : QChar(' ');
    name = name.simplified();
    if (!name.isEmpty() && name.at(0).isDigit())
        name.prepend("Tabella ");
    return invalidTableNameReason(name).isEmpty() ? name : QString("Tabella importata");
}
} // namespace

void Tessaro::exportCsv()
{
    if (currentTable.isEmpty())
        return;
    QString chosen;
    QString path = MessageHandler::current()->saveFileNameWithChoice(
        this, "Esporta CSV", exchangeFolder(ExportFolder) + TableName(currentTable).display() + ".csv",
        QString::fromUtf8(ItalianForm) + ";;" + InternationalForm, &chosen);
    if (path.isEmpty())
        return;
    if (QFileInfo(path).suffix().isEmpty())
        path += ".csv";
    exportingCsv(path, currentTable, chosen == InternationalForm);
}

void Tessaro::exportingCsv(const QString &path, const QString &table, bool international)
{
    // With a filter on, the records the list shows, in its order.
    QVector<int> listed;
    const bool filtered = listFiltered && listTable == table;
    if (filtered)
        listed = listedIds();
    progress->setValue(0);
    progress->setLabel("Esportazione " + TableName(table).display());
    progress->setWindowTitle("Esportazione ");
    progress->show();
    const QString problem =
        writeCsvFile(*db, path, table, international ? CsvForm::International : CsvForm::Italian,
                     filtered ? &listed : nullptr, [this](int step, int total) { reportProgress(step, total); });
    progress->hide();
    if (!problem.isEmpty())
        MessageHandler::current()->warning(problem);
}

void Tessaro::importCsv()
{
    if (readOnly)
        return;
    const QString path = MessageHandler::current()->openFileName(
        this, "Importa CSV", exchangeFolder(ExportFolder), "CSV (*.csv *.txt);;Tutti i file (*)");
    if (!path.isEmpty())
        importingCsv(path);
}

void Tessaro::importingCsv(const QString &path)
{
    if (readOnly)
        return;
    auto import = std::make_shared<CsvImport>(*db);
    progress->setValue(0);
    progress->setLabel("Lettura " + QFileInfo(path).fileName());
    progress->setWindowTitle("Elaborazione");
    progress->show();
    const bool opened = import->open(path, [this](int step, int total) { reportProgress(step, total); });
    progress->hide();
    if (!opened) {
        MessageHandler::current()->warning(import->errorText());
        return;
    }
    csvImport = import;
    csvFileName = QFileInfo(path).fileName();
    csvForm->setChecker([import](int fileColumn, const QString &column, const QString &value) {
        return import->valueProblem(fileColumn, column, value.toUtf8());
    });
    showCsvPreview();
    // The records can go into the current table, when the program writes to it.
    const QString table =
        !currentTable.isEmpty() && RecordWriter::foreignTableRefusal(*db, currentTable).isEmpty() ? currentTable : QString();
    const QStringList columns = table.isEmpty() ? QStringList() : import->fieldColumns(table);
    csvForm->setTable(table.isEmpty() ? QString() : TableName(table).display(), columns, csvHeaderNames(columns),
                      table.isEmpty() ? QStringList() : import->mappingFor(table));
    csvForm->setNewTableMode(false);
    csvForm->exec();
    csvForm->setChecker({});
    csvImport.reset();
}

// The file as read now, in the dialog: its rows and the fields a new table would get.
void Tessaro::showCsvPreview()
{
    CsvImport &import = *csvImport;
    CsvReader &file = import.reader();
    csvForm->setFile(csvFileName, import.rowCount(), file.separator(), file.encoding());
    csvForm->setPreview(import.header(), import.firstRows(CsvImportForm::PreviewRows));
    QStringList names, tags;
    for (const CsvImport::NewField &field : import.guessedFields()) {
        names << field.name;
        tags << field.tag;
    }
    csvForm->setNewTable(tableNameFor(csvFileName), names, tags);
}

void Tessaro::csvFormatChanged()
{
    if (!csvImport)
        return;
    const bool newTable = csvForm->isNewTable();
    CsvReader &file = csvImport->reader();
    file.setSeparator(csvForm->separator());
    file.setEncoding(CsvReader::Encoding(csvForm->encoding()));
    progress->setValue(0);
    progress->show();
    const bool read = csvImport->survey([this](int step, int total) { reportProgress(step, total); });
    progress->hide();
    if (!read)
        MessageHandler::current()->warning(csvImport->errorText());
    showCsvPreview();
    const QString table =
        !currentTable.isEmpty() && RecordWriter::foreignTableRefusal(*db, currentTable).isEmpty() ? currentTable : QString();
    const QStringList columns = table.isEmpty() ? QStringList() : csvImport->fieldColumns(table);
    csvForm->setTable(table.isEmpty() ? QString() : TableName(table).display(), columns, csvHeaderNames(columns),
                      table.isEmpty() ? QStringList() : csvImport->mappingFor(table));
    csvForm->setNewTableMode(newTable);
}

void Tessaro::csvImportRequested(bool goodRows)
{
    if (!csvImport || readOnly)
        return;
    CsvImport::Plan plan;
    plan.goodRows = goodRows;
    plan.newTable = csvForm->isNewTable();
    if (plan.newTable) {
        plan.table = csvForm->newTableName();
        const QStringList names = csvForm->newFieldNames(), tags = csvForm->newFieldTags();
        for (int j = 0; j < names.size(); ++j)
            plan.newFields << CsvImport::NewField{names.at(j), tags.at(j)};
    } else {
        plan.table = currentTable;
        plan.mapping = csvForm->mapping();
    }

    if (!copyBefore("importa-csv"))
        return;
    progress->setValue(0);
    progress->setLabel("Importazione " + csvFileName);
    progress->setWindowTitle("Elaborazione");
    progress->show();
    const CsvImport::Outcome outcome =
        csvImport->run(plan, [this](int step, int total) { reportProgress(step, total); });
    progress->hide();

    MessageHandler *messages = MessageHandler::current();
    if (outcome == CsvImport::Failed) {
        if (!csvImport->errorText().isEmpty())
            messages->warning(csvImport->errorText());
        return;
    }
    if (outcome == CsvImport::HasProblems) {
        const int total = csvImport->problemCount();
        QString summary = QString::fromUtf8("ERRORE: %1 problemi, nulla è stato importato. Correggi il file e "
                                            "importalo di nuovo, oppure importa solo le righe valide.")
                              .arg(total);
        if (total > csvImport->problems().size())
            summary += QString::fromUtf8(" Sono mostrati i primi %1.").arg(csvImport->problems().size());
        csvForm->showProblems(summary, csvImport->problems());
        return;
    }

    const QString table = plan.newTable ? QString(plan.table).replace(' ', '_') : plan.table;
    csvForm->accept();
    if (plan.newTable) {
        tableNames << table;
        addTableButton(table);
    }
    changeTable(table);
    QString done = QString::fromUtf8("Importati %1 Record.").arg(csvImport->importedCount());
    if (csvImport->leftOutCount() > 0)
        done += QString::fromUtf8(" Righe scartate: %1.").arg(csvImport->leftOutCount());
    messages->information(done);
}
