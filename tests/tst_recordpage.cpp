// The record page of the main window: building it for a new or an existing
// record, saving (required fields, duplicate identifiers, the user folder,
// id changes), deleting and emptying tables.
#include "app/tessaro.h"
#include "records/inputdataform.h"
#include "storage/dbconnection.h"
#include "testsupport.h"

#include <QAction>
#include <QCheckBox>
#include <QDateEdit>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QStackedWidget>
#include <QtTest>
#include <memory>

namespace {

const QList<ColumnDefinition> ClientiColumns = {
    {"RSTRINGFORMAT_Nome", "text"},        {"NDATEFORMAT_Nascita", "text"},
    {"NINTEGERFORMAT_Eta", "text"},        {"NMONEYFORMAT_Saldo", "text"},
    {"NMAILFORMAT_Posta", "text"},         {"NBOOLFORMAT_Attivo", "text"},
    {"NLONGSTRINGFORMAT_UserPath", ""},    {"NIMAGEFORMAT_Foto", "text"},
    {"NPDFFORMAT_Scheda", "text"},         {"NSUBTABLEFORMAT_Righe", "text"},
    {"NLINKFORMAT_Altra", "text"},
};

// A main window on a fresh database in its own working folder.
struct Session {
    TestFolder folder;
    RecordingMessageHandler messages;
    std::unique_ptr<Tessaro> w;
    DbConnection *db = nullptr;

    Session()
    {
        QFile last(folder.file("lastDb.dat"));
        last.open(QIODevice::WriteOnly);
        last.write(folder.file("test.db").toUtf8());
        last.close();
        w.reset(new Tessaro);
        db = w->connection();
    }
    void table(const QString &name, const QList<ColumnDefinition> &columns)
    {
        QVERIFY(db->createTable(name, columns));
        w->tableNames = db->getTables();
        w->currentTable = name;
    }
    inputDataForm *editor(const QString &column) const
    {
        for (inputDataForm *e : w->inputForms) {
            if (e->columnName() == column)
                return e;
        }
        return nullptr;
    }
    void type(const QString &column, const QString &text) const
    {
        editor(column)->findChild<QLineEdit *>("leData")->setText(text);
    }
    QString page() const { return w->findChild<QStackedWidget *>("stPages")->currentWidget()->objectName(); }
    QString heading() const { return w->findChild<QLabel *>("lbEdit")->text(); }
    void click(const char *button) const { w->findChild<QPushButton *>(button)->click(); }
    QStringList rows(const QString &table) const { return dumpTable(*db, table); }
};

} // namespace

class RecordPageTest : public QObject
{
    Q_OBJECT

private slots:
    void newRecordPageSavesWhatWasTyped();
    void requiredFieldsRefuseTheSave();
    void duplicateIdentifierIsRefused();
    void editPageShowsAttachmentsAndRewritesLinks();
    void editOfMissingRecord();
    void idChangeInTechnicalMode();
    void userPathForPlainAndLookupIdentifiers();
    void lookupComboListsTheOtherTable();
    void failedColumnLeavesPartlyFilledRecord();
    void deleteAndClear();
};

void RecordPageTest::newRecordPageSavesWhatWasTyped()
{
    Session s;
    s.table("Clienti", ClientiColumns);
    s.click("pbNewUser");
    QCOMPARE(s.page(), QString("newUserPage"));
    QCOMPARE(s.heading(), QString("Aggiungi"));
    QCOMPARE(s.w->inputForms.size(), ClientiColumns.size() + 1);
    QVERIFY(!s.w->editMode);

    // Shown: the ordinary fields. Not shown: Id, UserPath, attachments, subtables.
    for (const char *column : {"RINTEGERFORMAT_Id", "NLONGSTRINGFORMAT_UserPath", "NIMAGEFORMAT_Foto",
                               "NPDFFORMAT_Scheda", "NSUBTABLEFORMAT_Righe"})
        QVERIFY2(s.editor(column)->isHidden(), column);
    for (const char *column : {"RSTRINGFORMAT_Nome", "NDATEFORMAT_Nascita", "NMONEYFORMAT_Saldo"})
        QVERIFY2(!s.editor(column)->isHidden(), column);

    s.type("RSTRINGFORMAT_Nome", " Mario  Rossi ");
    s.editor("NINTEGERFORMAT_Eta")->findChild<QSpinBox *>("sbNum")->setValue(42);
    s.type("NMONEYFORMAT_Saldo", "1 234,5");
    s.type("NMAILFORMAT_Posta", "mario@rossi.it");
    s.editor("NBOOLFORMAT_Attivo")->findChild<QCheckBox *>("cbData")->setChecked(true);
    s.click("pbSaveNewUser");

    QCOMPARE(s.messages.said, QStringList());
    QCOMPARE(s.w->currentId, 1);
    QCOMPARE(s.page(), QString("userPage"));
    QCOMPARE(s.rows("Clienti"),
             QStringList("RINTEGERFORMAT_Id=1;RSTRINGFORMAT_Nome=Mario Rossi;NDATEFORMAT_Nascita=;"
                         "NINTEGERFORMAT_Eta=42;NMONEYFORMAT_Saldo=1234.500000;NMAILFORMAT_Posta=mario@rossi.it;"
                         "NBOOLFORMAT_Attivo=TRUE;NLONGSTRINGFORMAT_UserPath=TABLES_DOC/Clienti_Mario_Rossi;"
                         "NIMAGEFORMAT_Foto=;NPDFFORMAT_Scheda=;NSUBTABLEFORMAT_Righe=;NLINKFORMAT_Altra=Altra"));

    // The next new page asks for the id after the largest one.
    s.click("pbNewUser");
    s.type("RSTRINGFORMAT_Nome", "Anna");
    s.click("pbSaveNewUser");
    QCOMPARE(s.w->currentId, 2);
}

void RecordPageTest::requiredFieldsRefuseTheSave()
{
    Session s;
    s.table("Soci", {{"RSTRINGFORMAT_Nome", "text"},
                     {"RDATEFORMAT_Data_di_nascita", "text"},
                     {"RBOOLFORMAT_Iscritto", "text"},
                     {"RSTRINGFORMAT_Citta", "text"}});
    s.w->changeToNewUserPage();
    s.type("RSTRINGFORMAT_Nome", "Mario");
    s.w->newRecord();
    // Two missing: the later one is reported.
    QCOMPARE(s.messages.warnings, QStringList("Compila il campo Citta prima di salvare il nuovo Record!"));
    s.messages.clear();

    s.type("RSTRINGFORMAT_Citta", "Roma");
    s.w->newRecord();
    // A name with underscores is reported by its first word; the date never set is empty.
    QCOMPARE(s.messages.warnings, QStringList("Compila il campo Data prima di salvare il nuovo Record!"));
    QCOMPARE(s.db->countRecords("Soci"), 0);
    QCOMPARE(s.page(), QString("newUserPage"));
    s.messages.clear();

    // The unchecked required check box passes: it reads FALSE.
    s.editor("RDATEFORMAT_Data_di_nascita")->findChild<QDateEdit *>("deData")->setDate(QDate(1980, 2, 1));
    s.w->newRecord();
    QCOMPARE(s.messages.said, QStringList());
    QCOMPARE(s.rows("Soci"), QStringList("RINTEGERFORMAT_Id=1;RSTRINGFORMAT_Nome=Mario;"
                                         "RDATEFORMAT_Data_di_nascita=01/02/1980;RBOOLFORMAT_Iscritto=FALSE;"
                                         "RSTRINGFORMAT_Citta=Roma"));
}

void RecordPageTest::duplicateIdentifierIsRefused()
{
    Session s;
    s.table("HIDDENTABLE_Clienti", {{"RSTRINGFORMAT_Nome", "text"}, {"NSTRINGFORMAT_Note", "text"}});
    s.w->changeToNewUserPage();
    s.type("RSTRINGFORMAT_Nome", "Mario Rossi");
    s.w->newRecord();
    const QStringList before = s.rows("HIDDENTABLE_Clienti");
    QCOMPARE(before.size(), 1);

    s.w->changeToNewUserPage();
    s.type("RSTRINGFORMAT_Nome", " mario   ROSSI");
    s.type("NSTRINGFORMAT_Note", "altro");
    s.w->newRecord();
    QCOMPARE(s.messages.warnings,
             QStringList("ERRORE: L'identificativo 'mario ROSSI' esiste già nella tabella #Clienti.\n"));
    QCOMPARE(s.rows("HIDDENTABLE_Clienti"), before);
    QCOMPARE(s.page(), QString("newUserPage"));

    // While importing the duplicate is skipped without a word.
    s.messages.clear();
    s.w->showDuplicateError = false;
    const int id = s.w->insertRecord("HIDDENTABLE_Clienti",
                                     {{"RINTEGERFORMAT_Id", "7"}, {"RSTRINGFORMAT_Nome", "MARIO ROSSI"}}, true);
    QCOMPARE(id, -1);
    QCOMPARE(s.messages.said, QStringList());
    QCOMPARE(s.rows("HIDDENTABLE_Clienti"), before);
}

void RecordPageTest::editPageShowsAttachmentsAndRewritesLinks()
{
    Session s;
    s.table("Clienti", ClientiColumns);
    const int id = s.w->insertRecord("Clienti",
                                     {{"RINTEGERFORMAT_Id", "0"},
                                      {"RSTRINGFORMAT_Nome", "Mario Rossi"},
                                      {"NMONEYFORMAT_Saldo", "1234.5"},
                                      {"NLONGSTRINGFORMAT_UserPath", ""},
                                      {"NIMAGEFORMAT_Foto", "TABLES_DOC/Clienti_Mario_Rossi/pic.png"},
                                      {"NSUBTABLEFORMAT_Righe", "x"},
                                      {"NLINKFORMAT_Altra", "qualcosa"}},
                                     false);
    QCOMPARE(id, 1);
    s.w->currentId = id;
    s.click("pbEditUser");
    QCOMPARE(s.page(), QString("newUserPage"));
    QCOMPARE(s.heading(), QString("Modifica"));
    QVERIFY(s.w->editMode);

    inputDataForm *foto = s.editor("NIMAGEFORMAT_Foto");
    QVERIFY(!foto->isHidden());
    QVERIFY(foto->isImageButtonShown());
    QCOMPARE(foto->userPath(), QString("TABLES_DOC/Clienti_Mario_Rossi"));
    QCOMPARE(foto->dbFolder(), s.w->dbFolder);
    QCOMPARE(foto->dbFolder(), s.folder.path() + "/");
    QVERIFY(s.editor("NPDFFORMAT_Scheda")->isPdfButtonShown());
    QVERIFY(s.editor("NSUBTABLEFORMAT_Righe")->isHidden());
    QVERIFY(s.editor("RINTEGERFORMAT_Id")->isHidden());
    QCOMPARE(s.editor("NMONEYFORMAT_Saldo")->findChild<QLineEdit *>("leData")->text(), QString("1234.50"));

    s.type("RSTRINGFORMAT_Nome", "Mario Rossi'");
    s.click("pbSaveNewUser");
    QCOMPARE(s.messages.said, QStringList());
    QVERIFY(!s.w->editMode);
    QCOMPARE(s.page(), QString("userPage"));
    const QSqlRecord row = s.db->getRecordById("Clienti", 1);
    QCOMPARE(row.value("RSTRINGFORMAT_Nome").toString(), QString("Mario Rossi'"));
    QCOMPARE(row.value("NMONEYFORMAT_Saldo").toString(), QString("1234.500000"));
    QCOMPARE(row.value("NIMAGEFORMAT_Foto").toString(), QString("TABLES_DOC/Clienti_Mario_Rossi/pic.png"));
    QCOMPARE(row.value("NSUBTABLEFORMAT_Righe").toString(), QString()); // never filled
    QCOMPARE(row.value("NLINKFORMAT_Altra").toString(), QString("Altra"));
    // The folder stays the one made at insertion.
    QCOMPARE(row.value("NLONGSTRINGFORMAT_UserPath").toString(), QString("TABLES_DOC/Clienti_Mario_Rossi"));
}

void RecordPageTest::editOfMissingRecord()
{
    Session s;
    s.table("Clienti", {{"RSTRINGFORMAT_Nome", "text"}});
    s.w->currentId = 5;
    s.w->updateUser();
    QCOMPARE(s.messages.warnings, QStringList("ERRORE: Record non trovato!"));
    QVERIFY(s.page() != QString("newUserPage"));
}

void RecordPageTest::idChangeInTechnicalMode()
{
    Session s;
    s.table("Clienti", {{"RSTRINGFORMAT_Nome", "text"}, {"NLONGSTRINGFORMAT_UserPath", ""}});
    s.w->insertRecord("Clienti", {{"RINTEGERFORMAT_Id", "0"}, {"RSTRINGFORMAT_Nome", "Mario"},
                                  {"NLONGSTRINGFORMAT_UserPath", ""}}, false);
    s.w->techMode = true;
    s.w->currentId = 1;
    s.w->updateUser();
    QVERIFY(!s.editor("RINTEGERFORMAT_Id")->isHidden());
    QVERIFY(!s.editor("NLONGSTRINGFORMAT_UserPath")->isHidden());

    s.editor("RINTEGERFORMAT_Id")->findChild<QSpinBox *>("sbNum")->setValue(9);
    s.type("RSTRINGFORMAT_Nome", "Luigi");
    s.messages.answers << true;
    s.w->newRecord();
    QCOMPARE(s.messages.questions,
             QStringList("Vuoi veramente aggiornare l'Id 1 con il nuovo Id 9? Questa operazione può essere molto "
                         "dannosa!"));
    QCOMPARE(s.rows("Clienti"), QStringList("RINTEGERFORMAT_Id=9;RSTRINGFORMAT_Nome=Luigi;"
                                            "NLONGSTRINGFORMAT_UserPath=TABLES_DOC/Clienti_Mario"));

    // Answered No: the id stays, the other edited values are written all the same.
    s.messages.clear();
    s.w->currentId = 9;
    s.w->updateUser();
    s.editor("RINTEGERFORMAT_Id")->findChild<QSpinBox *>("sbNum")->setValue(4);
    s.type("RSTRINGFORMAT_Nome", "Anna");
    s.messages.answers << false;
    s.w->newRecord();
    QCOMPARE(s.messages.questions.size(), 1);
    QCOMPARE(s.rows("Clienti"), QStringList("RINTEGERFORMAT_Id=9;RSTRINGFORMAT_Nome=Anna;"
                                            "NLONGSTRINGFORMAT_UserPath=TABLES_DOC/Clienti_Mario"));

    // Outside technical mode the Id editor is hidden and a changed id is ignored.
    s.messages.clear();
    s.w->techMode = false;
    s.w->updateUser();
    QVERIFY(s.editor("RINTEGERFORMAT_Id")->isHidden());
    s.editor("RINTEGERFORMAT_Id")->findChild<QSpinBox *>("sbNum")->setValue(3);
    s.w->newRecord();
    QCOMPARE(s.messages.said, QStringList());
    QCOMPARE(s.db->getRecordById("Clienti", 9).value(0).toInt(), 9);
}

void RecordPageTest::userPathForPlainAndLookupIdentifiers()
{
    Session s;
    s.table("Clienti", {{"RSTRINGFORMAT_Nome", "text"}, {"NLONGSTRINGFORMAT_UserPath", ""}});
    s.table("Ordini", {{"XClienti_XDTX_RSTRINGFORMAT_Nome", "Integer"}, {"NLONGSTRINGFORMAT_UserPath", ""}});
    s.table("Semplice", {{"RSTRINGFORMAT_Nome", "text"}});
    auto userPath = [&](const QString &table, int id) {
        return s.db->getRecordById(table, id).value("NLONGSTRINGFORMAT_UserPath").toString();
    };

    QCOMPARE(s.w->insertRecord("Clienti", {{"RINTEGERFORMAT_Id", "0"}, {"RSTRINGFORMAT_Nome", "Mario Rossi"},
                                           {"NLONGSTRINGFORMAT_UserPath", ""}}, false), 1);
    QCOMPARE(userPath("Clienti", 1), QString("TABLES_DOC/Clienti_Mario_Rossi"));
    QCOMPARE(s.w->insertRecord("Clienti", {{"RINTEGERFORMAT_Id", "0"}, {"RSTRINGFORMAT_Nome", "Dr. O''Neil?"},
                                           {"NLONGSTRINGFORMAT_UserPath", ""}}, false), 2);
    QCOMPARE(userPath("Clienti", 2), QString("TABLES_DOC/Clienti_Dr_ONeil"));

    // A lookup identifier names the folder after the referenced value; its blanks stay.
    QCOMPARE(s.w->insertRecord("Ordini", {{"RINTEGERFORMAT_Id", "0"}, {"XClienti_XDTX_RSTRINGFORMAT_Nome", "1"},
                                          {"NLONGSTRINGFORMAT_UserPath", ""}}, false), 1);
    QCOMPARE(userPath("Ordini", 1), QString("TABLES_DOC/Ordini_Mario Rossi"));

    // No UserPath column: no folder and no error.
    QCOMPARE(s.w->insertRecord("Semplice", {{"RINTEGERFORMAT_Id", "0"}, {"RSTRINGFORMAT_Nome", "x"}}, false), 1);
    QCOMPARE(s.messages.said, QStringList());
}

void RecordPageTest::lookupComboListsTheOtherTable()
{
    Session s;
    s.table("Clienti", {{"RSTRINGFORMAT_Nome", "text"}, {"NSTRINGFORMAT_Citta", "text"}});
    s.w->insertRecord("Clienti", {{"RINTEGERFORMAT_Id", "0"}, {"RSTRINGFORMAT_Nome", "Mario"}}, false);
    s.w->insertRecord("Clienti", {{"RINTEGERFORMAT_Id", "0"}, {"RSTRINGFORMAT_Nome", "Anna Bianchi"}}, false);
    s.table("Ordini", {{"RSTRINGFORMAT_Codice", "text"},
                       {"XClienti_XDTX_RSTRINGFORMAT_Nome", "Integer"},
                       {"XClienti_XDTX_RSTRINGFORMAT_Nome", "Integer"}});

    s.w->changeToNewUserPage();
    inputDataForm *first = s.editor("XClienti_XDTX_RSTRINGFORMAT_Nome");
    inputDataForm *second = s.editor("XClienti_XDTX_RSTRINGFORMAT_Nome_XMLTYX_2");
    QVERIFY(first && second);
    QCOMPARE(first->comboItems(), QStringList({"---", "1 Mario", "2 Anna Bianchi"}));
    QCOMPARE(second->comboItems(), first->comboItems());
    QCOMPARE(first->findChild<QLabel *>("lbTitle")->text(), QString("Nome"));
    QCOMPARE(second->findChild<QLabel *>("lbTitle")->text(), QString("Nome2"));
    QVERIFY(!first->isHidden());

    s.type("RSTRINGFORMAT_Codice", "A1");
    first->setComboIndex(2);
    s.w->newRecord();
    QCOMPARE(s.rows("Ordini"), QStringList("RINTEGERFORMAT_Id=1;RSTRINGFORMAT_Codice=A1;"
                                           "XClienti_XDTX_RSTRINGFORMAT_Nome=2;"
                                           "XClienti_XDTX_RSTRINGFORMAT_Nome_XMLTYX_2=---"));

    s.w->currentId = 1;
    s.w->updateUser();
    QCOMPARE(s.editor("XClienti_XDTX_RSTRINGFORMAT_Nome")->comboText(), QString("2 Anna Bianchi"));
    QCOMPARE(s.editor("XClienti_XDTX_RSTRINGFORMAT_Nome_XMLTYX_2")->comboText(), QString("---"));
}

void RecordPageTest::failedColumnLeavesPartlyFilledRecord()
{
    Session s;
    s.table("Contatti", {{"RSTRINGFORMAT_Nome", "text"}, {"NMAILFORMAT_Posta", "text"},
                         {"NSTRINGFORMAT_Nota", "text"}});
    s.w->changeToNewUserPage();
    s.type("RSTRINGFORMAT_Nome", "Mario");
    s.type("NMAILFORMAT_Posta", "o'brien@x.it"); // one quote, not doubled for mail
    s.type("NSTRINGFORMAT_Nota", "dopo");
    s.w->newRecord();
    QCOMPARE(s.messages.warnings.size(), 1);
    QVERIFY(s.messages.warnings.first().startsWith("ERRORE: Impossibile aggiornare il Record!\n"));
    QCOMPARE(s.rows("Contatti"), QStringList("RINTEGERFORMAT_Id=1;RSTRINGFORMAT_Nome=Mario;NMAILFORMAT_Posta=0;"
                                             "NSTRINGFORMAT_Nota=dopo"));
}

void RecordPageTest::deleteAndClear()
{
    Session s;
    s.table("Clienti", {{"RSTRINGFORMAT_Nome", "text"}});
    s.table("Fornitori", {{"RSTRINGFORMAT_Nome", "text"}});
    for (const char *name : {"Mario", "Anna"})
        s.w->insertRecord("Clienti", {{"RINTEGERFORMAT_Id", "0"}, {"RSTRINGFORMAT_Nome", name}}, false);
    s.w->insertRecord("Fornitori", {{"RINTEGERFORMAT_Id", "0"}, {"RSTRINGFORMAT_Nome", "Acme"}}, false);
    s.w->insertRecord("settings", {{"RINTEGERFORMAT_Id", QString(QChar(1))},
                                   {"RSTRINGFORMAT_tableName", "Clienti"},
                                   {"RSTRINGFORMAT_iconPath", "DB_DATA/x.png"}}, false);
    s.w->currentTable = "Clienti";
    s.w->currentId = 1;

    s.messages.answers << false;
    s.w->deleteUser();
    QCOMPARE(s.db->countRecords("Clienti"), 2);
    s.messages.answers << true;
    s.w->deleteUser();
    QCOMPARE(s.messages.questions, QStringList({"Eliminare questo elemento?", "Eliminare questo elemento?"}));
    QCOMPARE(s.rows("Clienti"), QStringList("RINTEGERFORMAT_Id=2;RSTRINGFORMAT_Nome=Anna"));

    s.messages.clear();
    s.messages.answers << false << true;
    s.w->findChild<QAction *>("actionClear_Selected_List")->trigger();
    QCOMPARE(s.db->countRecords("Clienti"), 1);
    s.w->clearTable();
    QCOMPARE(s.messages.questions, QStringList({"Eliminare tutti gli elementi di Clienti?",
                                                "Eliminare tutti gli elementi di Clienti?"}));
    QCOMPARE(s.db->countRecords("Clienti"), 0);
    QCOMPARE(s.db->countRecords("Fornitori"), 1);

    s.messages.clear();
    s.messages.answers << false << true;
    s.w->clearAllTables();
    QCOMPARE(s.db->countRecords("Fornitori"), 1);
    s.w->findChild<QAction *>("actionClear_All_Tables")->trigger();
    QCOMPARE(s.messages.questions, QStringList({"Eliminare tutti gli elementi in tutto il database?",
                                                "Eliminare tutti gli elementi in tutto il database?"}));
    QCOMPARE(s.db->countRecords("Fornitori"), 0);
    // The program's own tables keep their rows (the table icons).
    QCOMPARE(s.db->countRecords("settings"), 1);
}

QTEST_MAIN(RecordPageTest)
#include "tst_recordpage.moc"
