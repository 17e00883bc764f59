#ifndef TESSARO_H
#define TESSARO_H

#include "records/fieldvaluelist.h"
#include "storage/dbconnection.h"

#include <QElapsedTimer>
#include <QIcon>
#include <QMainWindow>

namespace Ui {
class Tessaro;
}
class AboutForm;
class chooseNameForm;
class progressBarForm;
class ListButtonForm;
class newTableElement;
class inputDataForm;

// The main window and the program's one controller: it owns the database
// connection, every page, the dialogs and the widgets made at run time.
// Its slots are defined in one file per subsystem folder.
class Tessaro : public QMainWindow
{
    Q_OBJECT

public:
    explicit Tessaro(QWidget *parent = nullptr);
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
    void copyIconToDataFolder(const QString &file, QString *storedPath);

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

public slots:
    // Session (app/tessaro.cpp)
    void newDb();
    void openDb();
    void showDbPath(bool on);
    void loadDb(const QString &path);
    void refreshTableList(bool skipLockCheck);
    void setReadOnly(bool on);
    void about();

    // Table list and modes (app/tablelistslots.cpp)
    void showHiddenTable();
    void enableTechMod();
    void administratorModeEnabled(bool on);
    void removeTable();
    void deleteAll();
    void changeTableIcon();
    void changeTable(const QString &table);
    void hideShowList(bool on);

    // Record list, search and navigation (app/recordlistslots.cpp)
    void changeToUsersPage();
    void vwRecord(int id);

    // Table designer (records/designerslots.cpp)
    void newTable();
    void addField();
    void addNewTableElement();
    void changeElementSelectedTable(newTableElement *element, const QString &table);
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

private:
    void chooseAndOpenDb(bool create);
    void rebuildTableButtons();
    void discardTableButtons();
    void discardFilterButtons();
    void clearRecordView();
    void setTableHeader(const QString &table);
    void discardRecordPage();

    Ui::Tessaro *ui;
    DbConnection *db = nullptr;
    AboutForm *aboutForm = nullptr;
    chooseNameForm *nameForm = nullptr;
    progressBarForm *progress = nullptr;
    QList<ListButtonForm *> tableButtons;
    QList<ListButtonForm *> filterButtons;
    QElapsedTimer progressPump;
    int lastProgressValue = -1;

    // Table designer (records/designerslots.cpp)
    void openTableDesigner();
    void clearTableDesigner();
    QList<newTableElement *> tableElements; // rows on the designer page, in page order
};

#endif // TESSARO_H
