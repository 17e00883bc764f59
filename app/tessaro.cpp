#include "app/tessaro.h"
#include "ui_tessaro.h"

#include "app/accessibility.h"
#include "app/resources.h"
#include "dialogs/aboutform.h"
#include "dialogs/choosenameform.h"
#include "dialogs/csvimportform.h"
#include "dialogs/listbuttonform.h"
#include "app/recordlistview.h"
#include "dialogs/progressbarform.h"
#include "records/inputdataform.h"
#include "records/newtableelement.h"
#include "dialogs/messagehandler.h"
#include "storage/tablename.h"

#ifdef __GLIBC__
#include <malloc.h>
#endif
#include <QApplication>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QKeyEvent>
#include <QProgressBar>
#include <QLabel>
#include <QStatusBar>
#include <QStyleFactory>
#include <QTextStream>
#include <cmath>

namespace {
const char *const WindowTitle = "DB Administration Tool";
} // namespace

Tessaro::Tessaro(QWidget *parent, const QString &startFile) : QMainWindow(parent), ui(new Ui::Tessaro)
{
    loadTessaroResources();
    ui->setupUi(this);
    aboutForm = new AboutForm(this);

    if (QStyle *style = QStyleFactory::create("windowsvista"))
        QApplication::setStyle(style);
    setWindowTitle(WindowTitle);

    // Signal-to-slot connections, in the order of the menus and pages.
    loadPending.setSingleShot(true);
    connect(&loadPending, &QTimer::timeout, this, &Tessaro::showLoadedRows);
    connect(ui->actionOpen_Db, &QAction::triggered, this, &Tessaro::openDb);
    connect(ui->actionNew_Db, &QAction::triggered, this, &Tessaro::newDb);
    connect(ui->actionTable, &QAction::triggered, this, &Tessaro::newTable);
    connect(ui->actionAdd_Field, &QAction::triggered, this, &Tessaro::addField);
    connect(ui->actionRemove_Table, &QAction::triggered, this, &Tessaro::removeTable);
    connect(ui->actionDeleteFilter, &QAction::triggered, this, &Tessaro::deleteFilter);
    connect(ui->actionTech_Mod, &QAction::triggered, this, &Tessaro::enableTechMod);
    connect(ui->actionShow_Hidden_Tables, &QAction::triggered, this, &Tessaro::showHiddenTable);
    connect(ui->actionAdministrator_Mode, &QAction::triggered, this, &Tessaro::administratorModeEnabled);
    connect(ui->actionExport, &QAction::triggered, this, &Tessaro::exportToFile);
    connect(ui->actionExport_Selected_Record_To_File, &QAction::triggered, this, &Tessaro::exportSingleToFile);
    connect(ui->actionExport_Selected_Record_To_File_txt, &QAction::triggered, this, &Tessaro::exportSingleToFileTxt);
    connect(ui->actionExport_To_File, &QAction::triggered, this, &Tessaro::exportToFileHumanReading);
    connect(ui->actionAutoExportAll, &QAction::triggered, this, &Tessaro::autoExportAll);
    connect(ui->actionExport_All_Tables_Structures, &QAction::triggered, this, &Tessaro::autoExportAllStructures);
    connect(ui->actionExport_Selected_Tables_Structure, &QAction::triggered, this,
            &Tessaro::exportSelectedStructure);
    connect(ui->actionClear_Selected_List, &QAction::triggered, this, &Tessaro::clearTable);
    connect(ui->actionClear_All_Tables, &QAction::triggered, this, &Tessaro::clearAllTables);
    connect(ui->actionImport_From_File_Trasvo_File, &QAction::triggered, this, &Tessaro::importFromFile);
    connect(ui->actionImport_Table_Structure, &QAction::triggered, this, &Tessaro::importTableStructure);
    connect(ui->actionChange_Table_Icon, &QAction::triggered, this, &Tessaro::changeTableIcon);
    connect(ui->actionSave_Full_Copy, &QAction::triggered, this, &Tessaro::saveFullCopy);
    connect(ui->actionRestore_Copy, &QAction::triggered, this, &Tessaro::restoreCopy);
    connect(ui->actionCheck_Db, &QAction::triggered, this, &Tessaro::checkDb);
    connect(ui->actionExport_Csv, &QAction::triggered, this, &Tessaro::exportCsv);
    connect(ui->actionImport_Csv, &QAction::triggered, this, &Tessaro::importCsv);
    connect(ui->pbNext, &QPushButton::clicked, this, &Tessaro::nextRecord);
    connect(ui->pbPrev, &QPushButton::clicked, this, &Tessaro::prevRecord);
    connect(ui->userSearchEdit, &QLineEdit::textChanged, this, &Tessaro::userSearch);
    connect(ui->pbUserNext, &QPushButton::clicked, this, &Tessaro::userSearchNext);
    connect(ui->pbUserPrev, &QPushButton::clicked, this, &Tessaro::userSearchPrev);
    connect(ui->pbNewUser, &QPushButton::clicked, this, &Tessaro::changeToNewUserPage);
    connect(ui->pbFilter, &QPushButton::clicked, this, &Tessaro::changeToFilterPage);
    connect(ui->userListWidget, &RecordListView::itemSelectionChanged, this, &Tessaro::userSelectionChange);
    connect(ui->pbDeleteUser, &QPushButton::clicked, this, &Tessaro::deleteUser);
    connect(ui->pbSaveNewUser, &QPushButton::clicked, this, &Tessaro::newRecord);
    connect(ui->pbSaveFilters, &QPushButton::clicked, this, &Tessaro::enableFilters);
    connect(ui->pbNewFilter, &QPushButton::clicked, this, &Tessaro::createNewFilter);
    connect(ui->pbResetFilters, &QPushButton::clicked, this, &Tessaro::disableFilters);
    connect(ui->pbEditUser, &QPushButton::clicked, this, &Tessaro::updateUser);
    connect(ui->pbCancelEdit, &QPushButton::clicked, this, &Tessaro::changeToUsersPage);
    connect(ui->pbCancelFilters, &QPushButton::clicked, this, &Tessaro::cancelFilterOperation);
    connect(ui->pbExitCalc, &QPushButton::clicked, this, &Tessaro::changeToUsersPage);
    connect(ui->pbResult, &QPushButton::clicked, this, &Tessaro::calcResult);
    connect(ui->bbNewTable, &QDialogButtonBox::accepted, this, &Tessaro::acceptedNewTable);
    connect(ui->bbNewTable, &QDialogButtonBox::rejected, this, &Tessaro::cancelNewTable);
    connect(ui->pbIconImage, &QPushButton::clicked, this, &Tessaro::addTableIcon);
    connect(ui->pbReturn, &QPushButton::clicked, this, &Tessaro::goBack);
    connect(ui->actionTool, &QAction::triggered, this, &Tessaro::about);
    connect(ui->actionDelete_All_Database, &QAction::triggered, this, &Tessaro::deleteAll);
    connect(ui->actionExit, &QAction::triggered, this, &Tessaro::close);
    connect(ui->pbHideList, &QPushButton::clicked, this, &Tessaro::hideShowList);
    connect(ui->pbDbName, &QPushButton::clicked, this, &Tessaro::showDbPath);
    connect(ui->pbFiltersPage, &QPushButton::clicked, this, &Tessaro::switchToFilters);
    connect(ui->pbCalc, &QPushButton::clicked, this, &Tessaro::changeToCalcPage);
    connect(ui->pbSort, &QPushButton::toggled, this, &Tessaro::sort);
    connect(ui->pbGrid, &QPushButton::toggled, this, &Tessaro::showGrid);

    // Scroll areas get a filled background; run-time widgets stack from the top.
    for (QScrollArea *area : {ui->datiScroll, ui->inputScrollArea, ui->filterScrollArea, ui->newElementScroll}) {
        QPalette palette = area->palette();
        palette.setColor(QPalette::Window, palette.color(QPalette::Base));
        area->setPalette(palette);
        area->setAutoFillBackground(true);
    }
    for (QLayout *layout : {static_cast<QLayout *>(ui->listButtonLayout), static_cast<QLayout *>(ui->filtersButtonLayout),
                            static_cast<QLayout *>(ui->datiLayout), static_cast<QLayout *>(ui->inputLayout),
                            static_cast<QLayout *>(ui->filterLayout), static_cast<QLayout *>(ui->newTableLayout),
                            static_cast<QLayout *>(ui->calcLayout)})
        layout->setAlignment(Qt::AlignTop);

    QToolBar *bar = ui->mainToolBar;
    bar->addActions({ui->actionNew_Db, ui->actionOpen_Db});
    bar->addSeparator();
    bar->addActions({ui->actionTable, ui->actionAdd_Field, ui->actionRemove_Table, ui->actionChange_Table_Icon,
                     ui->actionDeleteFilter});
    bar->addSeparator();
    bar->addActions({ui->actionClear_Selected_List, ui->actionClear_All_Tables});
    bar->addSeparator();
    bar->addActions({ui->actionExport_To_File, ui->actionExport_Selected_Record_To_File_txt});
    bar->addSeparator();
    bar->addActions({ui->actionExport_All_Tables_Structures, ui->actionExport_Selected_Tables_Structure,
                     ui->actionImport_Table_Structure});
    bar->addSeparator();
    bar->addActions({ui->actionExport, ui->actionExport_Selected_Record_To_File,
                     ui->actionImport_From_File_Trasvo_File, ui->actionAutoExportAll});
    bar->addSeparator();
    bar->addActions({ui->actionExport_Csv, ui->actionImport_Csv});
    bar->addSeparator();
    bar->addAction(ui->actionExit);
    bar->addSeparator();
    bar->addAction(ui->actionTool);

    ui->pbReturn->hide();
    ui->leDbName->hide();
    ui->bbNewTable->button(QDialogButtonBox::Ok)->setDefault(true);
    ui->bbNewTable->button(QDialogButtonBox::Cancel)->setText("Annulla");

    // Keys: the desktop's own for the file actions; on the record, designer
    // and filter pages Return confirms and Esc leaves (see eventFilter).
    ui->actionNew_Db->setShortcut(QKeySequence::New);
    ui->actionOpen_Db->setShortcut(QKeySequence::Open);
    // Not every desktop binds a key to Quit: Ctrl+Q then.
    QList<QKeySequence> quitKeys = QKeySequence::keyBindings(QKeySequence::Quit);
    if (!quitKeys.contains(QKeySequence(Qt::CTRL + Qt::Key_Q)))
        quitKeys << QKeySequence(Qt::CTRL + Qt::Key_Q);
    ui->actionExit->setShortcuts(quitKeys);
    for (QWidget *page : {ui->newUserPage, ui->newTable, ui->filterPage})
        page->installEventFilter(this);

    // The record list, kept compactly and shown through a model; a large
    // table's reading shows its progress in the status bar.
#ifdef __GLIBC__
    // Large blocks (a long list's texts and rows) are mapped on their own:
    // they grow without being copied and go back to the system when freed,
    // rather than staying in the heap after a table is left.
    // The heap's free top is given back only past 16 MB: a table left for
    // another is not paid for again, page by page, by the next one.
    static const bool mapped = mallopt(M_MMAP_THRESHOLD, 256 * 1024) && mallopt(M_TRIM_THRESHOLD, 16 * 1024 * 1024);
    Q_UNUSED(mapped)
#endif
    listModel = new RecordListModel(this);
    ui->userListWidget->setListModel(listModel);
    setUpGrid();
    loadProgress = new QProgressBar(statusBar());
    loadProgress->setObjectName("loadProgress");
    loadProgress->setMaximumWidth(200);
    loadProgress->setFormat("%v / %m");
    loadProgress->hide();
    statusBar()->addWidget(loadProgress);

    nameForm = new chooseNameForm(this);
    nameForm->hide();
    connect(nameForm, &QDialog::accepted, this, &Tessaro::waitForName);
    connect(nameForm, &QDialog::rejected, this, [this] { awaitingFilterName = false; });
    connect(nameForm, &QDialog::accepted, this, &Tessaro::waitingForTableStructureName);
    csvForm = new CsvImportForm(this);
    csvForm->hide();
    connect(csvForm, &CsvImportForm::formatChanged, this, &Tessaro::csvFormatChanged);
    connect(csvForm, &CsvImportForm::importRequested, this, &Tessaro::csvImportRequested);

    setReadOnly(false);

    const struct {
        QAction *action;
        const char *text;
        const char *tip;
    } actionTexts[] = {
        {ui->actionOpen_Db, "Apri Db", "Apri Db"},
        {ui->actionNew_Db, "Nuovo Db", "Nuovo Db"},
        {ui->actionTable, "Crea Tabella", "Crea Nuova Tabella"},
        {ui->actionAdd_Field, "Aggiungi Campo", "Aggiungi un campo alla tabella selezionata"},
        {ui->actionDeleteFilter, "Elimina filtro", "Elimina il filtro attivo"},
        {ui->actionRemove_Table, "Elimina Tabella", "Elimina la tabella selezionata"},
        {ui->actionTech_Mod, "Modo Avanzato", "Modo Avanzato"},
        {ui->actionShow_Hidden_Tables, "Mostra Tabelle Nascoste", "Mostra le tabella nascoste"},
        {ui->actionAdministrator_Mode, "Modo Amministratore", "Modo Amministratore"},
        {ui->actionExport, "Esporta su file (Trasvo File)", "Esporta su file (Trasvo File)"},
        {ui->actionExport_Selected_Record_To_File, "Esporta Record su file (Trasvo File)",
         "Esporta il Record Selezionato su file (Trasvo File)"},
        {ui->actionExport_Selected_Record_To_File_txt, "Esporta Record su file (Formato Leggibile)",
         "Esporta il Record Selezionato su file (Formato Leggibile)"},
        {ui->actionExport_To_File, "Esporta su file (Tabella leggibile)", "Esporta su file (Tabella leggibile)"},
        {ui->actionAutoExportAll, "Esporta Tutto (Trasvo File)", "Esporta tutte le tabelle (Trasvo File)"},
        {ui->actionExport_All_Tables_Structures, "Esporta Strutture", "Esporta tutte le Strutture Tabella"},
        {ui->actionExport_Selected_Tables_Structure, "Esporta Struttura Tabella",
         "Esporta la Struttura Tabella selezionata"},
        {ui->actionClear_Selected_List, "Pulisci La Tabella Selezionata", "Pulisci la tabella selezionata"},
        {ui->actionClear_All_Tables, "Pulisci Database", "Cancella tutti i dati del database"},
        {ui->actionImport_From_File_Trasvo_File, "Importa da File (Trasvo File)", "Importa da File (Trasvo File)"},
        {ui->actionImport_Table_Structure, "Importa Strutture", "Importa strutture di tabelle"},
        {ui->actionChange_Table_Icon, "Cambia Icona Tabella", "Cambia l'icona della tabella"},
        {ui->actionExport_Csv, "Esporta CSV", "Esporta la tabella (o la lista filtrata) per i fogli di calcolo"},
        {ui->actionImport_Csv, "Importa CSV", "Importa un foglio di calcolo (CSV)"},
        {ui->actionExit, "Chiudi", "Chiudi il programma"},
        {ui->actionTool, "Info", "Info"},
        {ui->actionDelete_All_Database, "Elimina Tutte Le Tabelle", "Elimina tutte le tabelle dal database"},
        {ui->actionSave_Full_Copy, "Salva Copia Completa...",
         "Salva il Db con i suoi allegati e le icone in una cartella, da aprire altrove"},
        {ui->actionRestore_Copy, "Ripristina Copia...", "Rimette il Db com'era in una delle copie automatiche"},
        {ui->actionCheck_Db, "Verifica Db", "Verifica il file del Db e i suoi allegati"},
    };
    for (const auto &t : actionTexts) {
        t.action->setText(QString::fromUtf8(t.text));
        t.action->setToolTip(QString::fromUtf8(t.tip));
    }
    const struct {
        QAbstractButton *button;
        const char *text;
        const char *tip;
    } buttonTexts[] = {
        {ui->pbNext, "Prossimo", "Prossimo Record"},
        {ui->pbPrev, "Precedente", "Record Precedente"},
        {ui->pbNewUser, "Aggiungi", "Aggiungi un nuovo Record"},
        {ui->pbFilter, "Filtri", "Filtri"},
        {ui->pbDeleteUser, "Elimina", "Elimina Record"},
        {ui->pbSaveNewUser, "Salva", "Salva Record"},
        {ui->pbSaveFilters, "Attiva", "Attiva Filtri"},
        {ui->pbResetFilters, "Resetta", "Resetta i Filtri"},
        {ui->pbEditUser, "Modifica", "Modifica Record"},
        {ui->pbCancelEdit, "Annulla", "Annulla"},
        {ui->pbCancelFilters, "Annulla", "Annulla"},
        {ui->pbIconImage, "Aggiungi/Visualizza", "Aggiungi/Visualizza l' Icona della tabella"},
        {ui->pbReturn, "Ritorna", "Ritorna"},
        {ui->pbHideList, "Mostra Lista", "Mostra la Lista"},
        {ui->pbDbName, "Nessun DataBase Caricato", "Clicca per vedere il path del Db"},
        {ui->pbFiltersPage, "Filtri Salvati", "Vai alla pagina dei filtri salvati"},
        {ui->pbNewFilter, "Salva Filtro", "Salva Filtro con nome"},
        {ui->pbCalc, "Calcolatore", "Vai alla pagina di calcolo"},
        {ui->pbResult, "Ricalcola", "Ricalcola il risultato"},
        {ui->pbExitCalc, "Ritorna", "Ritorna"},
    };
    for (const auto &t : buttonTexts) {
        t.button->setText(QString::fromUtf8(t.text));
        t.button->setToolTip(QString::fromUtf8(t.tip));
    }
    ui->pbUserNext->setToolTip("Vai al prossimo");
    ui->pbUserPrev->setToolTip("Torna al precedente");
    ui->pbSort->setToolTip("Ordina per nome o inserimento");
    ui->pbGrid->setToolTip("Mostra la lista come griglia");
    ui->lbTableName->setText("Nome Tabella");
    ui->lbIcon->setText("Icona");
    ui->lbSearch->setText("Cerca");
    ui->cbHiddenTable->setText("Tabella Nascosta");
    ui->menuNew->setTitle("File");
    ui->menuOptions->setTitle("Opzioni");
    ui->menu->setTitle("About");
    ui->lbEdit->setText("Modifica");
    ui->lbFilter->setText("Filtri");

    progress = new progressBarForm(this);
    progress->setWindowModality(Qt::ApplicationModal);
    progress->hide();
    ui->pbFilter->setIcon(QIcon(":ledOffIcon"));
    currentId = 0;
    currentRow = 0;
    ui->sWControls->setCurrentWidget(ui->tablesPage);
    adminMode = false;
    showHidden = false;
    techMode = false;
    ui->actionTech_Mod->setChecked(false);
    ui->actionRestore_Copy->setVisible(false); // Advanced Mode only
    // Administrator Mode starts off, so its actions start hidden.
    administratorModeEnabled(false);
    aboutForm->setWindowTitle("About");
    aboutForm->setType(WindowTitle);
    aboutForm->setVersion("4.4.5");
    aboutForm->setAutor("Gli sviluppatori di Tessaro");
    setUpPrinting();
    // After every text is set: the menus' mnemonics are chosen from them.
    Accessibility::prepareMainWindow(this);

    db = new DbConnection;
    // The connection's failures and questions are the window's to show.
    db->setFailureListener([](const QString &message) { MessageHandler::current()->warning(message); });
    db->setAnswerer([](const QString &question) { return MessageHandler::current()->question(question); });

    // A file given at start (opened from the desktop) is opened and
    // remembered; otherwise the remembered one.
    const QString remembered = Session::rememberedDb();
    if (!startFile.isEmpty() && loadDb(startFile))
        Session::rememberDb(startFile);
    else
        loadDb(remembered);
    // A remembered file that cannot be opened leaves the session on a private
    // temporary database, as on the very first start.
    if (!db->isOpen())
        loadDb(QString());

    refreshTableList(false);
    recoverAttachments();
    constructing = false;
}

Tessaro::~Tessaro()
{
    // A window that changed its database leaves a copy of it.
    if (db->changeCount() > 0)
        copyBefore("chiusura");
    stopLoading();
    // Only the instance that wrote the lock removes it.
    session.releaseLock();
    discardTableButtons();
    discardFilterButtons();
    delete db;
    delete ui;
}

void Tessaro::newDb()
{
    chooseAndOpenDb(true);
}

void Tessaro::openDb()
{
    chooseAndOpenDb(false);
}

void Tessaro::chooseAndOpenDb(bool create)
{
    MessageHandler *handler = MessageHandler::current();
    const QString caption = tr("Open File");
    const QString previous = dbPath;
    dbPath = create ? handler->saveFileName(this, caption, "/home", "DataBase (*.db)")
                    : handler->openFileName(this, caption, "/home", "DataBase (*.db)");
    if (dbPath.isEmpty())
        return;

    // A new database typed without its ending gets it, so that the open
    // dialog's "*.db" filter finds it again.
    if (create && !dbPath.endsWith(".db", Qt::CaseInsensitive))
        dbPath += ".db";

    // Only a database that opened is remembered: one that failed leaves the
    // previous one open, and remembered for the next start.
    if (!loadDb(dbPath)) {
        dbPath = previous;
        return;
    }
    Session::rememberDb(dbPath);
    refreshTableList(true);
    recoverAttachments();
}

void Tessaro::showDbPath(bool on)
{
    ui->leDbName->setVisible(on);
}

bool Tessaro::loadDb(const QString &path)
{
    // The database left behind keeps a copy of what this window made of it.
    const int changes = db->changeCount();
    if (changes > 0 && db->filePath() != path)
        copyBefore("chiusura");
    if (!db->openDb(path))
        return false;
    toldFailures.clear();

    discardTableButtons();
    currentTable.clear();
    resetFilters();
    resetRecordList();
    ui->lbViewInfo->clear();
    ui->lbListIcon->clear();
    // Nothing of the previous database stays on screen, and no page that
    // was open on it can write into this one.
    clearRecordView();
    discardRecordPage();
    clearTableDesigner();
    ui->lbListName->setText("----");
    ui->lbToolbar->setText("----");
    ui->pbReturn->hide();
    ui->stPages->setCurrentWidget(ui->userPage);

    const Session::Paths paths = Session::pathsOf(path);
    dbPath = path;
    dbFolder = paths.folder;
    ui->leDbName->setText(path);
    dbFileName = paths.fileName;
    ui->pbDbName->setText(dbFileName);
    tablesDocPath = paths.documents;
    dbDataPath = paths.data;
    QDir().mkpath(tablesDocPath);
    QDir().mkpath(dbDataPath);

    // A file that cannot be written keeps the session read-only while it is
    // open; a writable one opened later makes it writable again, unless the
    // lock of another instance holds it read-only.
    if (!readOnlyByLock && db->isFileReadOnly() != readOnly) {
        setReadOnly(db->isFileReadOnly());
        if (!readOnly)
            setWindowTitle(WindowTitle);
    }

    tableNames = db->getTables();
    updateTableActions();
    return true;
}

void Tessaro::refreshTableList(bool skipLockCheck)
{
    if (!skipLockCheck && session.takeLock() == Session::HeldByOther) {
        readOnlyByLock = true;
        setReadOnly(true);
    }

    const int loadsBefore = listLoads;
    rebuildTableButtons();

    QString first;
    for (const QString &name : qAsConst(tableNames)) {
        const TableName table(name);
        if (!table.isSystem() && !table.isHidden()) {
            first = name;
            break;
        }
    }
    currentTable = first;
    ui->lbListName->setText(TableName(currentTable).display());

    // A read-only session works with the tables there are.
    if (!readOnly) {
        ensureSystemTables();
        tableNames = db->getTables(); // the system tables may be new
    }

    // A database without user tables opens quietly: there is nothing to list.
    if (tableNames.size() > 1 && !currentTable.isEmpty()) {
        // Pushing the first button has just listed this table: listing it
        // again would give the same list.
        if (listLoads == loadsBefore || listTable != currentTable)
            loadList(currentTable);
        setTableHeader(currentTable);
        const int row = ui->userListWidget->currentRow();
        if (listModel->mapsAny() && row >= 0) {
            currentId = listModel->idOf(listModel->textAt(row));
            vwRecord(currentId);
        }
    }
    listSavedFilters();
    updateTableActions();
}

void Tessaro::setReadOnly(bool on)
{
    readOnly = on;
    // The connection itself then refuses to write.
    if (db)
        db->setReadOnly(on);
    if (on)
        setWindowTitle(QString(WindowTitle) + " - READONLY");

    const QList<QWidget *> buttons = {ui->pbNewUser, ui->pbEditUser, ui->pbDeleteUser, ui->pbNewFilter};
    const QList<QAction *> actions = {
        ui->actionAdministrator_Mode, ui->actionNew_Db, ui->actionTable, ui->actionAdd_Field,
        ui->actionRemove_Table, ui->actionChange_Table_Icon, ui->actionDeleteFilter, ui->actionClear_Selected_List,
        ui->actionClear_All_Tables, ui->actionExport_To_File, ui->actionExport_All_Tables_Structures,
        ui->actionExport_Selected_Tables_Structure, ui->actionImport_Table_Structure, ui->actionExport,
        ui->actionExport_Selected_Record_To_File, ui->actionExport_Selected_Record_To_File_txt,
        ui->actionImport_From_File_Trasvo_File, ui->actionAutoExportAll, ui->actionDelete_All_Database,
        ui->actionRestore_Copy};
    for (QWidget *button : buttons)
        button->setEnabled(!on);
    for (QAction *action : actions)
        action->setEnabled(!on);
    // Open, Exit and Info stay usable in both modes.
    for (QAction *action : {ui->actionOpen_Db, ui->actionExit, ui->actionTool})
        action->setEnabled(true);

    // Why the window is read-only, and the way out, in plain sight.
    auto *notice = statusBar()->findChild<QLabel *>("lbReadOnly");
    if (on && !notice) {
        notice = new QLabel(statusBar());
        notice->setObjectName("lbReadOnly");
        notice->setWordWrap(true);
        notice->setStyleSheet("QLabel { background: #fff3c4; color: #3d2e00; padding: 3px; }");
        // The text wraps on two lines instead of widening the window.
        notice->setMinimumWidth(1);
        notice->setMinimumHeight(2 * notice->fontMetrics().lineSpacing() + 8);
        notice->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
        statusBar()->addPermanentWidget(notice, 1);
    }
    if (on) {
        // A file that cannot be written is the other reason.
        notice->setText(Session::readOnlyNotice(readOnlyByLock ? Session::LockedByOther : Session::FileNotWritable));
        notice->setToolTip(notice->text());
        Accessibility::announce(notice, notice->text());
    }
    if (notice)
        notice->setVisible(on);
    updateTableActions();
}

void Tessaro::updateTableActions()
{
    // Before the session has a database, the designed states stand.
    if (!db)
        return;
    const bool table = !currentTable.isEmpty() && db->tableExists(currentTable);
    for (QWidget *button : {static_cast<QWidget *>(ui->pbNewUser), static_cast<QWidget *>(ui->pbEditUser),
                            static_cast<QWidget *>(ui->pbDeleteUser)})
        button->setEnabled(table && !readOnly);
    ui->pbFilter->setEnabled(table);
    ui->pbCalc->setEnabled(table);
    for (QAction *action : {ui->actionExport, ui->actionExport_Selected_Record_To_File,
                            ui->actionExport_Selected_Record_To_File_txt, ui->actionExport_To_File,
                            ui->actionExport_Selected_Tables_Structure, ui->actionAdd_Field, ui->actionRemove_Table,
                            ui->actionChange_Table_Icon, ui->actionClear_Selected_List})
        action->setEnabled(table && !readOnly);
    // Writing a spreadsheet reads only; reading one may make a new table.
    ui->actionExport_Csv->setEnabled(table);
    ui->actionImport_Csv->setEnabled(!readOnly);
}

// Return and Esc on the record, designer and filter pages. They reach a page
// only when the control that has the focus leaves them alone: a drop-down
// list or a calendar that is open keeps them for itself (choosing or
// closing), and so they never save or leave the page.
bool Tessaro::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() != QEvent::KeyPress)
        return QMainWindow::eventFilter(watched, event);
    const auto *key = static_cast<QKeyEvent *>(event);
    if (key->modifiers() & ~(Qt::KeypadModifier))
        return false;
    QAbstractButton *accept = nullptr, *leave = nullptr;
    if (watched == ui->newUserPage) {
        accept = ui->pbSaveNewUser;
        leave = ui->pbCancelEdit;
    } else if (watched == ui->newTable) {
        accept = ui->bbNewTable->button(QDialogButtonBox::Ok);
        leave = ui->bbNewTable->button(QDialogButtonBox::Cancel);
    } else if (watched == ui->filterPage) {
        accept = ui->pbSaveFilters;
        leave = ui->pbCancelFilters;
    } else {
        return false;
    }
    QAbstractButton *button = nullptr;
    if (key->key() == Qt::Key_Return || key->key() == Qt::Key_Enter)
        button = accept;
    else if (key->key() == Qt::Key_Escape)
        button = leave;
    if (!button || !button->isVisible() || !button->isEnabled())
        return false;
    // Changes made on the page are not thrown away by a stray Esc.
    if (button == leave && pageHasChanges(static_cast<QWidget *>(watched))
        && !MessageHandler::current()->question("Scartare le modifiche?"))
        return true;
    button->click();
    return true;
}

bool Tessaro::pageHasChanges(QWidget *page)
{
    if (page == ui->newUserPage) {
        for (const inputDataForm *editor : qAsConst(inputForms)) {
            if (ui->inputLayout->indexOf(const_cast<inputDataForm *>(editor)) >= 0 && editor->isEdited())
                return true;
        }
        return false;
    }
    if (page == ui->newTable) {
        if ((ui->leTableName->isEnabled() && !ui->leTableName->text().trimmed().isEmpty())
            || !ui->leIconData->text().isEmpty())
            return true;
        for (const newTableElement *element : qAsConst(tableElements)) {
            if (element->hasInput())
                return true;
        }
        return false;
    }
    if (page == ui->filterPage)
        return filterPageChanged();
    return false;
}

void Tessaro::recoverAttachments()
{
    // Attachments a stopped program left waiting are put in place or removed;
    // never by a read-only session, which may run beside the one saving them.
    if (!readOnly && !db->isReadOnly())
        PendingAttachments::recover(*db, dbFolder);
}

void Tessaro::about()
{
    aboutForm->setModal(true);
    aboutForm->show();
}

void Tessaro::reportProgress(int step, int total)
{
    const double ratio = double(step) / double(total) * 100.0;
    const int value = std::isfinite(ratio) ? int(ratio) : 0;
    // The bar always shows the value; pending events (its repaint among
    // them) are let through every few tens of milliseconds, so that long
    // loops stay responsive without spending their time repainting, and
    // short ones are not slowed at all. The clock is read only every few
    // dozen steps.
    progress->setValue(value);
    if (value == lastProgressValue && (++progressCalls & 63) != 0)
        return;
    lastProgressValue = value;
    if (progressPump.isValid() && progressPump.elapsed() < 30)
        return;
    progressPump.start();
    QEventLoop loop;
    loop.processEvents();
}
