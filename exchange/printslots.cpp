// Printing and PDF: the record shown and the list as it stands (the whole
// table or what a filter left, in its order), through the toolkit's print
// preview or straight into a PDF file.
#include "app/tessaro.h"
#include "ui_tessaro.h"

#include "app/resources.h"
#include "dialogs/messagehandler.h"
#include "dialogs/printform.h"
#include "dialogs/progressbarform.h"
#include "exchange/printedpages.h"
#include "records/inputdataform.h"
#include "storage/columnname.h"
#include "storage/tablename.h"

#include <QPrintPreviewDialog>
#include <QPrinter>
#include <QScreen>
#include <QStatusBar>
#include <QToolBar>

namespace {
const char *const PdfFolder = "Exports/";
const char *const NoTable = "Nessuna Tabella Caricata!";

// Puts actions right after one already in a menu or a tool bar, with a
// separator before them.
void insertAfter(QWidget *bar, QAction *after, const QList<QAction *> &actions)
{
    const QList<QAction *> present = bar->actions();
    const int at = present.indexOf(after);
    QAction *before = at >= 0 && at + 1 < present.size() ? present.at(at + 1) : nullptr;
    auto *separator = new QAction(bar);
    separator->setSeparator(true);
    bar->insertAction(before, separator);
    bar->insertActions(before, actions);
}
} // namespace

void Tessaro::setUpPrinting()
{
    printAction = new QAction(tessaroIcon(":/printIcon"), "Stampa...", this);
    printAction->setObjectName("actionPrint");
    printAction->setToolTip("Stampa il Record o la lista, dopo l'anteprima");
    printAction->setShortcut(QKeySequence(Qt::CTRL + Qt::Key_P));
    pdfAction = new QAction(tessaroIcon(":/exportPdfIcon"), "Esporta PDF...", this);
    pdfAction->setObjectName("actionExport_Pdf");
    pdfAction->setToolTip("Salva il Record o la lista in un file PDF");
    pdfAction->setShortcut(QKeySequence(Qt::CTRL + Qt::SHIFT + Qt::Key_P));
    // Beside the readable exports, in the File menu and on the tool bar.
    insertAfter(ui->menuNew, ui->actionExport_Selected_Record_To_File_txt, {printAction, pdfAction});
    insertAfter(ui->mainToolBar, ui->actionExport_Selected_Record_To_File_txt, {printAction, pdfAction});
    connect(printAction, &QAction::triggered, this, &Tessaro::print);
    connect(pdfAction, &QAction::triggered, this, &Tessaro::exportPdf);
}

void Tessaro::print()
{
    choosePrint(false);
}

void Tessaro::exportPdf()
{
    choosePrint(true);
}

void Tessaro::choosePrint(bool pdf)
{
    MessageHandler *messages = MessageHandler::current();
    if (currentTable.isEmpty() || !db->tableExists(currentTable)) {
        messages->warning(NoTable);
        return;
    }
    const QStringList columns = printableColumns(*db, currentTable);
    // A field added since the last print is printed too.
    const QStringList omitted = omittedColumns.value(currentTable);
    QStringList titles;
    QList<bool> chosen;
    for (const QString &column : columns) {
        titles << printedTitle(ColumnName(column));
        chosen << !omitted.contains(column);
    }
    PrintForm form(this);
    form.setWindowTitle(pdf ? "Esporta PDF" : "Stampa");
    form.setAcceptText(pdf ? "Salva..." : "Anteprima...");
    form.chooseList(printWholeList);
    form.setChoices(recordViewWidgets().isEmpty() ? QString() : ui->lbViewInfo->text(), listedIds().size(),
                    !listFilterText().isEmpty());
    form.setColumns(titles, chosen);
    if (form.exec() != QDialog::Accepted)
        return;

    printWholeList = form.listChosen();
    QStringList picked, left;
    const QList<bool> marks = form.chosenColumns();
    for (int i = 0; i < columns.size(); ++i)
        (marks.value(i) ? picked : left) << columns.at(i);
    if (printWholeList)
        omittedColumns.insert(currentTable, left);
    if (!pdf) {
        if (printWholeList)
            printList(picked);
        else
            printRecord();
        return;
    }
    const QString proposed = exchangeFolder(PdfFolder) + TableName(currentTable).display()
                             + (printWholeList ? QString() : QString("_%1").arg(currentId)) + ".pdf";
    QString path = messages->saveFileName(this, "Esporta PDF", proposed, "PDF (*.pdf)");
    if (path.isEmpty())
        return;
    if (!path.endsWith(".pdf", Qt::CaseInsensitive))
        path += ".pdf";
    if (printWholeList)
        exportingListPdf(path, picked);
    else
        exportingRecordPdf(path, currentTable, currentId);
}

QString Tessaro::listFilterText()
{
    if (!listFiltered || filterPageStale)
        return QString();
    // The conditions the list was loaded with: the filter page's.
    QList<FilterCondition> conditions;
    for (const inputDataForm *editor : qAsConst(filterForms))
        conditions << editor->filterCondition();
    const QString text = describeFilter(*db, conditions);
    return savedFilterName.isEmpty() || text.isEmpty() ? text : savedFilterName + ": " + text;
}

void Tessaro::previewPrint(const QString &title, const std::function<int(QPagedPaintDevice &)> &paint)
{
    QPrinter printer(QPrinter::HighResolution);
    printer.setPageLayout(rememberedPageLayout());
    printer.setDocName(title);
    QPrintPreviewDialog preview(&printer, this);
    preview.setWindowTitle("Anteprima di stampa - " + title);
    // Large enough to read a page.
    const QRect screen = this->screen()->availableGeometry();
    preview.resize(screen.width() * 3 / 4, screen.height() * 9 / 10);
    connect(&preview, &QPrintPreviewDialog::paintRequested, this, [&paint](QPrinter *device) { paint(*device); });
    preview.exec();
    // What was chosen in the preview's page setup stays for the next print.
    rememberPageLayout(printer.pageLayout());
}

// A record of table and the heading of its page: under the name, the text
// the list shows for it when it is the record shown.
PrintedRecord Tessaro::gatherShownRecord(const QString &table, int id, PageHeading *page)
{
    const PrintedRecord record = gatherRecord(*db, table, id, dbFolder);
    page->icon = tableIconOf(*db, dbFolder, table);
    page->title = record.table;
    page->subtitle = table == currentTable && id == currentId ? ui->lbViewInfo->text() : QString();
    return record;
}

void Tessaro::printRecord()
{
    if (currentTable.isEmpty()) {
        MessageHandler::current()->warning(NoTable);
        return;
    }
    PageHeading page;
    const PrintedRecord record = gatherShownRecord(currentTable, currentId, &page);
    previewPrint(record.table, [&](QPagedPaintDevice &device) { return paintRecord(device, record, page); });
}

// The list as it stands, every record of it, and the heading of its pages.
PrintedList Tessaro::gatherListed(const QStringList &columns, PageHeading *page)
{
    const QVector<int> ids = listedIds();
    const PrintedList list = gatherList(*db, currentTable, columns, &ids);
    page->icon = tableIconOf(*db, dbFolder, currentTable);
    page->title = list.table;
    page->subtitle = listSubtitle(list.rows.size(), listFilterText());
    return list;
}

void Tessaro::printList(const QStringList &columns)
{
    if (currentTable.isEmpty()) {
        MessageHandler::current()->warning(NoTable);
        return;
    }
    PageHeading page;
    const PrintedList list = gatherListed(columns, &page);
    previewPrint(list.table, [&](QPagedPaintDevice &device) { return paintList(device, list, page); });
}

void Tessaro::exportingRecordPdf(const QString &path, const QString &table, int id)
{
    if (table.isEmpty()) {
        MessageHandler::current()->warning(NoTable);
        return;
    }
    PageHeading page;
    const PrintedRecord record = gatherShownRecord(table, id, &page);
    const QString problem = writePdf(path, rememberedPageLayout(), record.table, [&](QPagedPaintDevice &device) {
        return paintRecord(device, record, page);
    });
    if (!problem.isEmpty())
        MessageHandler::current()->warning(problem);
    else
        statusBar()->showMessage("PDF salvato: " + path, 10000);
}

void Tessaro::exportingListPdf(const QString &path, const QStringList &columns)
{
    if (currentTable.isEmpty()) {
        MessageHandler::current()->warning(NoTable);
        return;
    }
    PageHeading page;
    const PrintedList list = gatherListed(columns, &page);
    progress->setValue(0);
    progress->setLabel("Esportazione " + list.table);
    progress->setWindowTitle("Esportazione PDF");
    progress->show();
    reportProgress(0, 1);
    const QString problem =
        writePdf(path, rememberedPageLayout(), list.table, [&](QPagedPaintDevice &device) {
            return paintList(device, list, page, [this](int done, int pages) { reportProgress(done, pages); });
        });
    progress->hide();
    if (!problem.isEmpty())
        MessageHandler::current()->warning(problem);
    else
        statusBar()->showMessage("PDF salvato: " + path, 10000);
}
