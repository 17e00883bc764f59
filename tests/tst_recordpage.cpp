#include "app/tessaro.h"
#include "records/dateedit.h"
#include "records/inputdataform.h"
#include "storage/dbconnection.h"
#include "testsupport.h"

#include <QtTest>
#include <QtWidgets>

// A main window on a fresh database in its own working folder.
struct Fixture {
    TestFolder folder;
    RecordingMessageHandler messages;
    Tessaro w;
    DbConnection *db = w.connection();

    Fixture() { w.loadDb(folder.file("test.db")); w.refreshTableList(true); }
    // Creates the table and makes it the current one.
    void table(const QString &name, const QStringList &columns)
    {
        QVERIFY(makeTable(*db, name, columns));
        w.tableNames = db->getTables();
        w.currentTable = name;
        w.updateTableActions();
    }
    int add(const QString &table, const FieldValueList &fields)
    {
        return w.insertRecord(table, FieldValueList{{"RINTEGERFORMAT_Id", "0"}} + fields, false);
    }
    inputDataForm *editor(const QString &column) const
    {
        for (inputDataForm *e : w.inputForms)
            if (e->columnName() == column)
                return e;
        return nullptr;
    }
    void type(const QString &c, const QString &text) const { editor(c)->findChild<QLineEdit *>("leData")->setText(text); }
    void edit(int id) { w.currentId = id; w.updateUser(); }
    void setId(int id) const { editor("RINTEGERFORMAT_Id")->findChild<QSpinBox *>("sbNum")->setValue(id); }
    QStringList hiddenEditors() const
    {
        QStringList hidden;
        for (inputDataForm *e : w.inputForms)
            if (e->isHidden())
                hidden << e->fieldName();
        return hidden;
    }
    void click(const char *button) const { w.findChild<QPushButton *>(button)->click(); }
    QStringList rows(const QString &table) const { return dumpTable(*db, table); }
};

class RecordPageTest : public QObject
{
    Q_OBJECT

private slots:
    void newEditedAndRenumberedRecord();
    void requiredAndDuplicateRefuseTheSave();
    void userPathAndLookupIdentifiers();
    void deleteAndClear();
};

void RecordPageTest::newEditedAndRenumberedRecord()
{
    Fixture s;
    s.table("Clienti", {"RSTRINGFORMAT_Nome", "NDATEFORMAT_Nascita", "NINTEGERFORMAT_Eta", "NMONEYFORMAT_Saldo",
                        "NBOOLFORMAT_Attivo", "NLONGSTRINGFORMAT_UserPath", "NIMAGEFORMAT_Foto", "NPDFFORMAT_Scheda",
                        "NSUBTABLEFORMAT_Righe", "NLINKFORMAT_Altra"});
    s.click("pbNewUser");
    QCOMPARE(s.hiddenEditors(), QStringList({"Id", "UserPath", "Foto", "Scheda", "Righe"}));
    s.type("RSTRINGFORMAT_Nome", " Mario  Rossi ");
    s.editor("NINTEGERFORMAT_Eta")->findChild<QSpinBox *>("sbNum")->setValue(42);
    s.type("NMONEYFORMAT_Saldo", "1 234,5");
    s.editor("NBOOLFORMAT_Attivo")->findChild<QCheckBox *>("cbData")->setChecked(true);
    s.click("pbSaveNewUser");
    QString saved = "RINTEGERFORMAT_Id=1;RSTRINGFORMAT_Nome=Mario Rossi;NDATEFORMAT_Nascita=;NINTEGERFORMAT_Eta=42;"
                    "NMONEYFORMAT_Saldo=1234.500000;NBOOLFORMAT_Attivo=TRUE;"
                    "NLONGSTRINGFORMAT_UserPath=TABLES_DOC/Clienti_Mario_Rossi;NIMAGEFORMAT_Foto=;"
                    "NPDFFORMAT_Scheda=;NSUBTABLEFORMAT_Righe=;NLINKFORMAT_Altra=Altra";
    QCOMPARE(s.rows("Clienti"), QStringList(saved));

    // Editing shows the attachments with the record's folder; the subtable
    // editor is never filled, so saving empties that column.
    s.db->updateField("Clienti", 1, "NSUBTABLEFORMAT_Righe", "x");
    s.click("pbEditUser");
    QCOMPARE(s.hiddenEditors(), QStringList({"Id", "UserPath", "Righe"}));
    QCOMPARE(s.editor("NIMAGEFORMAT_Foto")->userPath(), QString("TABLES_DOC/Clienti_Mario_Rossi"));
    QCOMPARE(s.editor("NPDFFORMAT_Scheda")->dbFolder(), s.folder.path() + "/");
    s.type("RSTRINGFORMAT_Nome", "Luigi");
    s.click("pbSaveNewUser");
    QCOMPARE(s.rows("Clienti"), QStringList(saved.replace("Nome=Mario Rossi;", "Nome=Luigi;")));

    // In technical mode the Id can be changed, after a question; the other
    // edited values are written either way.
    s.w.techMode = true;
    s.edit(1);
    s.setId(9);
    QCOMPARE(s.hiddenEditors(), QStringList("Righe"));
    s.type("RSTRINGFORMAT_Nome", "Anna");
    s.w.newRecord();
    QCOMPARE(s.messages.questions.size(), 1);
    QCOMPARE(s.rows("Clienti"), QStringList(saved.replace("Id=1;", "Id=9;").replace("Luigi;", "Anna;")));
    s.edit(9);
    s.setId(4);
    s.type("RSTRINGFORMAT_Nome", "Anna'");
    s.messages.answers << false;
    s.w.newRecord();
    QCOMPARE(s.rows("Clienti"), QStringList(saved.replace("Anna;", "Anna';")));
    // Outside technical mode a changed id is ignored without a question.
    s.w.techMode = false;
    s.edit(9);
    s.setId(3);
    s.w.newRecord();
    QCOMPARE(s.messages.said.size(), 2); // the two questions, nothing else
    QCOMPARE(s.rows("Clienti"), QStringList(saved));
}

void RecordPageTest::requiredAndDuplicateRefuseTheSave()
{
    Fixture s;
    s.table("HIDDENTABLE_Soci", {"RSTRINGFORMAT_Nome", "RDATEFORMAT_Data_di_nascita", "RBOOLFORMAT_Iscritto",
                                 "RSTRINGFORMAT_Citta"});
    s.w.changeToNewUserPage();
    s.type("RSTRINGFORMAT_Nome", "Mario Rossi");
    s.w.newRecord(); // two missing: the later one is named
    s.type("RSTRINGFORMAT_Citta", "Roma");
    s.w.newRecord(); // a never-set date is empty; the field is named whole
    s.editor("RDATEFORMAT_Data_di_nascita")->findChild<DateEdit *>("deData")->setDate(QDate(1980, 2, 1));
    s.w.newRecord(); // the unchecked required check box passes: it reads FALSE
    const QStringList saved = s.rows("HIDDENTABLE_Soci"); // one row: the refused saves wrote nothing
    QCOMPARE(saved, QStringList("RINTEGERFORMAT_Id=1;RSTRINGFORMAT_Nome=Mario Rossi;"
                                 "RDATEFORMAT_Data_di_nascita=01/02/1980;RBOOLFORMAT_Iscritto=FALSE;"
                                 "RSTRINGFORMAT_Citta=Roma"));

    // The identifier (first field) is compared ignoring case and extra blanks.
    s.type("RSTRINGFORMAT_Nome", " mario   ROSSI");
    s.w.newRecord();
    QCOMPARE(s.messages.warnings,
             QStringList({"Compila il campo Citta prima di salvare il nuovo Record!",
                          "Compila il campo Data di nascita prima di salvare il nuovo Record!",
                          "ERRORE: L'identificativo 'mario ROSSI' esiste già nella tabella #Soci.\n"}));
    QCOMPARE(s.rows("HIDDENTABLE_Soci"), saved);
}

void RecordPageTest::userPathAndLookupIdentifiers()
{
    Fixture s;
    s.table("Clienti", {"RSTRINGFORMAT_Nome", "NLONGSTRINGFORMAT_UserPath"});
    QCOMPARE(s.add("Clienti", {{"RSTRINGFORMAT_Nome", "Mario Rossi"}, {"NLONGSTRINGFORMAT_UserPath", ""}}), 1);
    QCOMPARE(s.add("Clienti", {{"RSTRINGFORMAT_Nome", "Dr. O''Neil?"}, {"NLONGSTRINGFORMAT_UserPath", ""}}), 2);
    s.table("Ordini", {"XClienti_XDTX_RSTRINGFORMAT_Nome", "XClienti_XDTX_RSTRINGFORMAT_Nome",
                       "NLONGSTRINGFORMAT_UserPath"});

    // A lookup lists the other table's records; the repeated one is suffixed.
    s.w.changeToNewUserPage();
    inputDataForm *first = s.editor("XClienti_XDTX_RSTRINGFORMAT_Nome");
    QCOMPARE(first->comboItems(), QStringList({"---", "1 Mario Rossi", "2 Dr. O'Neil?"}));
    QCOMPARE(s.editor("XClienti_XDTX_RSTRINGFORMAT_Nome_XMLTYX_2")->comboItems(), first->comboItems());
    first->setComboIndex(1);
    s.w.newRecord();
    // A plain identifier is cleaned into the folder name; a lookup names it
    // after the referenced value, blanks kept.
    QCOMPARE(s.db->getRecordById("Clienti", 2).value("NLONGSTRINGFORMAT_UserPath").toString(),
             QString("TABLES_DOC/Clienti_Dr_ONeil"));
    QCOMPARE(s.rows("Ordini"), QStringList("RINTEGERFORMAT_Id=1;XClienti_XDTX_RSTRINGFORMAT_Nome=1;"
                                           "XClienti_XDTX_RSTRINGFORMAT_Nome_XMLTYX_2=;"
                                           "NLONGSTRINGFORMAT_UserPath=TABLES_DOC/Ordini_Mario Rossi"));
    s.edit(1);
    QCOMPARE(s.editor("XClienti_XDTX_RSTRINGFORMAT_Nome")->comboText(), QString("1 Mario Rossi"));
}

void RecordPageTest::deleteAndClear()
{
    Fixture s;
    s.table("Fornitori", {"RSTRINGFORMAT_Nome"});
    s.add("Fornitori", {{"RSTRINGFORMAT_Nome", "Acme"}});
    s.table("Clienti", {"RSTRINGFORMAT_Nome"});
    s.add("settings", {{"RSTRINGFORMAT_tableName", "Clienti"}, {"RSTRINGFORMAT_iconPath", "DB_DATA/x.png"}});
    s.add("Clienti", {{"RSTRINGFORMAT_Nome", "Mario"}});
    s.add("Clienti", {{"RSTRINGFORMAT_Nome", "Anna"}});
    s.w.currentId = 1;
    s.messages.answers << false << true;
    s.w.deleteUser(); // No: nothing goes
    s.w.deleteUser();
    QCOMPARE(s.rows("Clienti"), QStringList("RINTEGERFORMAT_Id=2;RSTRINGFORMAT_Nome=Anna"));
    // The first listed record becomes current and is shown.
    QCOMPARE(s.w.currentId, 2);
    QCOMPARE(s.w.findChild<QLabel *>("lbViewInfo")->text(), QString("Anna"));
    s.w.findChild<QAction *>("actionClear_Selected_List")->trigger();
    QCOMPARE(s.db->countRecords("Clienti"), 0);
    QCOMPARE(s.db->countRecords("Fornitori"), 1);
    s.w.findChild<QAction *>("actionClear_All_Tables")->trigger();
    QCOMPARE(s.db->countRecords("Fornitori"), 0);
    QCOMPARE(s.db->countRecords("settings"), 1); // the program's own tables keep their rows
    QCOMPARE(s.messages.questions, QStringList({"Eliminare questo elemento?", "Eliminare questo elemento?",
                                                "Eliminare tutti gli elementi di Clienti?",
                                                "Eliminare tutti gli elementi in tutto il database?"}));
}

QTEST_MAIN(RecordPageTest)
#include "tst_recordpage.moc"
