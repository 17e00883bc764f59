#ifndef TESSARO_H
#define TESSARO_H

#include "app/recordlistloader.h"
#include "app/recordlistmodel.h"
#include "app/session.h"
#include "records/pendingattachments.h"
#include "filters/recordfilter.h"
#include "records/fieldvaluelist.h"
#include "records/subtables.h"
#include "storage/dbconnection.h"

#include <QElapsedTimer>
#include <QIcon>
#include <QMainWindow>
#include <QTimer>
#include <functional>
#include <memory>

class QIODevice;
class QPagedPaintDevice;

namespace Ui {
class Tessaro;
}
class AboutForm;
class chooseNameForm;
class progressBarForm;
class ListButtonForm;
class newTableElement;
class inputDataForm;
class outputDataForm;
class calcForm;
class CsvImportForm;
class CsvImport;
class RecordGridModel;
struct PageHeading;
struct PrintedList;
struct PrintedRecord;

// The main window and the program's one controller: it owns the database
// connection, every page, the dialogs and the widgets made at run time.
// Its slots are defined in one file per subsystem folder.
class Tessaro : public QMainWindow
{
    Q_OBJECT

public:
    // Opens startFile, when given, instead of the remembered database.
    explicit Tessaro(QWidget *parent = nullptr, const QString &startFile = QString());
    ~Tessaro() override;

    // Database session
    QString dbPath;
    QString dbFolder; // folder of the database file, with a trailing "/"
    QString dbFileName;
    QString tablesDocPath; // dbFolder + "TABLES_DOC"
    QString dbDataPath;    // dbFolder + "DB_DATA"
    QStringList tableNames;
    QString currentTable;
    bool readOnly = false;

    // Modes (never stored; off at every start)
    bool techMode = false;      // Advanced Mode
    bool showHidden = false;    // copy of actionShow_Hidden_Tables at each rebuild
    bool adminMode = false;     // Administrator Mode

    // Current record
    int currentId = 0;
    int currentRow = 0;

    DbConnection *connection() const { return db; }
    const QList<ListButtonForm *> &tableButtonList() const { return tableButtons; }

    // Table-level operations used by several subsystems
    QIcon tableIcon(const QString &table);
    void dropCurrentTable(bool silent);
    bool createNamedTable(const QString &table, const QList<ColumnDefinition> &columns);
    void ensureSystemTables();
    void reportProgress(int step, int total);
    // Copies the database before an action that changes many records or the
    // structure; when no copy can be made, true only if the user goes on
    // without one.
    bool copyBefore(const QString &action);
    void recoverAttachments();
    // Enables the actions that work on the current table only while there is one.
    void updateTableActions();
    void copyIconToDataFolder(const QString &file, QString *storedPath);
    // Makes the subtable a SUBTABLE column was designed with (nothing when
    // the design is empty); a refusal is told.
    void createSubtable(const QString &table, const QString &column, const SubtableDesign &design);
    // The settings row of a new table: its icon, under the id text given.
    void addSettingsRow(const QString &table, const QString &iconPath, const QString &idText);

    // Record page (records/recordslots.cpp)
    int insertRecord(const QString &table, FieldValueList fields, bool importing);
    bool updateRecord(int id, const FieldValueList &fields);
    void buildRecordPage(int id, bool newPage);
    bool showDuplicateError = true;
    bool editMode = false;               // the record page edits an existing record
    QList<inputDataForm *> inputForms;   // one editor per column of the current table
    int columnCount = 0;                 // columns of the current table at the last page build

    // Table designer (records/designerslots.cpp)
    const QList<newTableElement *> &newTableElements() const { return tableElements; }

    // Record list (app/recordlistslots.cpp)
    // Fills userListWidget and the record map with the records of table.
    void loadList(const QString &table);
    // Whether a record of table is listed now: the one question the list and
    // next/previous ask, answered by the filter test.
    bool isRecordListed(const QString &table, int id);
    const RecordListModel &recordList() const { return *listModel; }
    // The records the list shows, in its order, the list read to its end.
    QVector<int> listedIds();
    // Whether a large table's list is still being read.
    bool isLoadingList() const { return loader != nullptr; }
    const QList<outputDataForm *> &recordViewWidgets() const { return outputWidgets; }
    QString previousTableName() const { return previousTable; }
    int previousRecordId() const { return previousId; }

    // Calculator (calc/calcslots.cpp)
    const QList<calcForm *> &calcForms() const { return calcRows; }

    // Filters and saved filters (filters/filterslots.cpp)
    // The record test: whether a record of table passes the conditions of
    // the filter page. Reads the table once per list load, not per record.
    bool recordPassesFilter(const QString &table, int id);
    void buildFilterPage();
    void snapshotFilterPage();
    void linkToFilter(const QString &table, int id);
    void applyLinkFilter(int id, const QString &previousTableName, const QString &title);
    void listSavedFilters();
    void removeSavedFilter(const QString &name);
    void removeTableFilters(const QString &table);
    // The filter page's editors, one per column of the current table.
    const QList<inputDataForm *> &filterEditors();
    const QList<ListButtonForm *> &savedFilterButtons() const { return filterButtons; }
    bool filterLampOn() const { return filterLamp; }

public slots:
    // Session (app/tessaro.cpp)
    void newDb();
    void openDb();
    void showDbPath(bool on);
    bool loadDb(const QString &path);
    void refreshTableList(bool skipLockCheck);
    void setReadOnly(bool on);
    void about();

    // Copies and checks (storage/storageslots.cpp)
    void restoreCopy();
    void saveFullCopy();
    void checkDb();

    // Table list and modes (app/tablelistslots.cpp)
    void showHiddenTable();
    void enableTechMod();
    void administratorModeEnabled(bool on);
    void removeTable();
    void deleteAll();
    void changeTableIcon();
    void hideShowList(bool on);

    // Record list, search and navigation, record view (app/recordlistslots.cpp)
    void changeTable(const QString &table);
    void changeToUsersPage();
    void userSelectionChange();
    void vwRecord(int id);
    void nextRecord();
    void prevRecord();
    void userSearch(const QString &text);
    void userSearchNext();
    void userSearchPrev();
    void sort(bool on);
    // The list as a grid, one column per field, or back to the list.
    void showGrid(bool on);
    void goToRequest(const QString &table, int id);
    void goBack();
    // Opens the subtable's rows of the current record (a record view's "Apri").
    void goToSubTableRequest(const QString &table);

    // Table designer (records/designerslots.cpp)
    void newTable();
    void addField();
    void addNewTableElement();
    void changeElementSelectedTable(newTableElement *element, const QString &table);
    void changeElementSelectedSubTable(newTableElement *element, const QString &table);
    void addTableIcon();
    void acceptedNewTable();
    void cancelNewTable();
    // Record page (records/recordslots.cpp)
    void changeToNewUserPage();
    void updateUser();
    void newRecord();
    void deleteUser();
    void clearTable();
    void clearAllTables();

    // Calculator (calc/calcslots.cpp)
    void changeToCalcPage();
    void calcResult();

    // Filters and saved filters (filters/filterslots.cpp)
    void changeToFilterPage();
    void enableFilters();
    void disableFilters();
    void cancelFilterOperation();
    void switchToFilters(bool on);
    void callFilter(const QString &table, int id);
    void createNewFilter();
    void waitForName();
    void changeTableAndFilter(const QString &table, const QString &name);
    void deleteFilter();

    // Record files, structure files and readable text (exchange/exchangeslots.cpp)
    void exportToFile();
    void exportingToFile(const QString &path, const QString &table);
    void exportSingleToFile();
    void exportingSingleToFile(const QString &path, const QString &table, int id);
    void autoExportAll();
    void importFromFile();
    void importingFile(const QString &path);
    void exportSelectedStructure();
    void autoExportAllStructures();
    void exportingStructure(const QString &table, const QStringList &columns);
    void importTableStructure();
    void waitingForTableStructureName();
    void importingStructure(const QString &path, const QString &name);
    void exportToFileHumanReading();
    void exportingToFileHumanReading(const QString &path, const QString &table);
    void exportSingleToFileTxt();
    void exportingSingleToFileHumanReading(const QString &path, const QString &table, int id);

    // Spreadsheets: CSV out and in (exchange/csvslots.cpp)
    void exportCsv();
    void exportingCsv(const QString &path, const QString &table, bool international);
    void importCsv();
    void importingCsv(const QString &path);
    void csvFormatChanged();
    void csvImportRequested(bool goodRows);
    // Printing and PDF of the record shown and of the list (exchange/printslots.cpp)
    void print();
    void exportPdf();
    void printRecord();
    void printList(const QStringList &columns);
    void exportingRecordPdf(const QString &path, const QString &table, int id);
    void exportingListPdf(const QString &path, const QStringList &columns);

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    // Whether the user changed anything on the record, designer or filter page.
    bool pageHasChanges(QWidget *page);
    bool filterPageChanged();
    void chooseAndOpenDb(bool create);
    void rebuildTableButtons();
    // Adds the button of a table at the end of the table list; answers its icon.
    QIcon addTableButton(const QString &name);
    void discardTableButtons();
    void discardFilterButtons();
    void clearRecordView();
    void setTableHeader(const QString &table);
    void discardRecordPage();
    bool refuseForeignTable(const QString &table);
    void resetRecordList();
    int rowOfRecord(int id) const;
    int idOfRow(int row);
    void stepRecord(int direction);
    void selectRow(int row);
    // Selects the first item of the list and shows its record.
    void showFirstRecord();
    void showRecordView(int id);

    Ui::Tessaro *ui;
    DbConnection *db = nullptr;
    bool readOnlyByLock = false; // another instance holds the lock: read-only for the whole run
    Session session;             // removes the lock when this instance took it
    PendingAttachments pendingFiles; // attached on the record page, waiting for its save
    AboutForm *aboutForm = nullptr;
    chooseNameForm *nameForm = nullptr;
    progressBarForm *progress = nullptr;
    QList<ListButtonForm *> tableButtons;
    QList<ListButtonForm *> filterButtons;
    QElapsedTimer progressPump;
    int lastProgressValue = -1;
    int progressCalls = 0;
    bool constructing = true; // the constructor has not returned yet

    // Table designer (records/designerslots.cpp)
    void openTableDesigner();
    void clearTableDesigner();
    QList<newTableElement *> tableElements; // rows on the designer page, in page order
    // Record list state (app/recordlistslots.cpp)
    void stopLoading();
    void takeLoadedRows();
    void showLoadedRows();
    void finishLoading(bool complete);
    void showListCount(bool announce);
    void extendSearch(int from);
    RecordListModel *listModel = nullptr;
    RecordGridModel *gridModel = nullptr;
    void setUpGrid();
    void gridRowChosen(const QModelIndex &current);
    void followListInGrid();
    void sortGrid(int column);
    void fitGridColumns();
    RecordListLoader *loader = nullptr;   // reading a large table's list, while it does
    class QProgressBar *loadProgress = nullptr; // its progress, in the status bar
    int loadTotal = 0;
    QSet<QString> toldFailures;        // told once, of this file
    QString searchText;                // the search in force, for rows still to come
    QString listTable;                 // table whose records are listed
    int listLoads = 0;                 // number of loads so far
    QList<int> searchHits;             // rows, in list order
    int searchPosition = 0;
    QString previousTable;
    int previousId = 0;
    bool openingSubtable = false;      // goToSubTableRequest is making the subtable current
    QString subtableOwnerText;         // the owning record's text, in the title of its rows
    QList<outputDataForm *> outputWidgets;
    QElapsedTimer loadShown; // when the list last grew by what the worker read
    QTimer loadPending;      // its next growth, when rows wait out of sight
    QString recordViewShape; // what outputWidgets were made for
    // The view of the table shown before, out of sight, and what it was made for.
    QList<outputDataForm *> parkedWidgets;
    QString parkedShape;
    // Calculator rows, in the table's column order
    QList<calcForm *> calcRows;

    // Filters (filters/filterslots.cpp)
    void ensureFilterPage();
    void resetFilters();
    void forgetFilterResults();
    void setFilterLamp(bool on);
    void showFilteredList();
    void restoreFilterEditor(inputDataForm *editor, const FilterCondition &kept);
    void addSavedFilterButton(const QString &name, const QString &table);
    QList<inputDataForm *> filterForms;    // the filter page, in column order
    QList<FilterCondition> keptConditions; // the page as last applied or reset
    QString filterPageTable;               // table the page was built for
    bool filterPageStale = true;           // cleared and waiting to be rebuilt
    bool filterLamp = false;
    bool listFiltered = false;             // the list was last loaded with a condition in force
    FilterResults filterResults;           // of filterResultsTable, since the last list load
    QString filterResultsTable;
    bool filterResultsValid = false;
    QString savedFilterName;               // the saved filter last applied
    bool awaitingFilterName = false;       // the name dialog was opened to save a filter

    // Record files, structure files and readable text (exchange/exchangeslots.cpp)
public:
    bool importFailed = false;   // the last record file could not be opened
private:
    QString exchangeFolder(const char *name) const;
    // Writes one export file (an ExportKind) under the progress dialog; a
    // file that cannot be written is told and nothing else happens.
    void exportWithProgress(const QString &path, const QString &table, int kind, int id, const QString &label,
                            const QString &title);
    QString pendingStructureFile; // waits for its table name in the name dialog

    // Spreadsheets (exchange/csvslots.cpp)
public:
    CsvImportForm *csvImportForm() const { return csvForm; }
private:
    void showCsvPreview();
    CsvImportForm *csvForm = nullptr;
    std::shared_ptr<CsvImport> csvImport; // the file the import dialog shows
    QString csvFileName;
    // Printing and PDF (exchange/printslots.cpp)
    void setUpPrinting();
    PrintedList gatherListed(const QStringList &columns, PageHeading *page);
    PrintedRecord gatherShownRecord(const QString &table, int id, PageHeading *page);
    void choosePrint(bool pdf);
    // The filter the list was loaded with, in words; empty when none.
    QString listFilterText();
    void previewPrint(const QString &title, const std::function<int(QPagedPaintDevice &)> &paint);
    QAction *printAction = nullptr;
    QAction *pdfAction = nullptr;
    QHash<QString, QStringList> omittedColumns; // per table, the fields last left out of its list
    bool printWholeList = false;                // the list, rather than the record, was last printed
};

#endif // TESSARO_H
