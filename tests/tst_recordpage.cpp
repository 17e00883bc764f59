// The record page and the record view in the window: what a saved record
// holds, what refuses a save, record folders, lookups, deleting and clearing.
#include "records/dateedit.h"
#include "records/outputdataform.h"
#include "records/recordwriter.h"
#include "testsupport.h"

namespace {

void set(const Window &s, const QString &column, const QString &text)
{
    s.editor(column)->findChild<QLineEdit *>("leData")->setText(text);
}

void setId(const Window &s, int id)
{
    s.editor("RINTEGERFORMAT_Id")->findChild<QSpinBox *>("sbNum")->setValue(id);
}

void edit(const Window &s, int id)
{
    s.w->currentId = id;
    s.w->updateUser();
}

QStringList hiddenEditors(const Window &s)
{
    QStringList hidden;
    for (inputDataForm *e : s.w->inputForms)
        if (e->isHidden())
            hidden << e->fieldName();
    return hidden;
}

int add(DbConnection &db, const QString &table, const FieldValueList &fields)
{
    return RecordWriter(db).insert(table, FieldValueList{{"RINTEGERFORMAT_Id", "0"}} + fields);
}

} // namespace

class RecordPageTest : public QObject
{
    Q_OBJECT

private slots:
    void newEditedAndRenumberedRecord()
    {
        Window s([](DbConnection &db) {
            QVERIFY(makeTable(db, "Clienti", {"RSTRINGFORMAT_Nome", "NDATEFORMAT_Nascita", "NINTEGERFORMAT_Eta",
                                              "NMONEYFORMAT_Saldo", "NBOOLFORMAT_Attivo", "NLONGSTRINGFORMAT_UserPath",
                                              "NIMAGEFORMAT_Foto", "NPDFFORMAT_Scheda", "NSUBTABLEFORMAT_Righe",
                                              "NLINKFORMAT_Altra"}));
        });
        s.click("pbNewUser");
        QCOMPARE(hiddenEditors(s), QStringList({"Id", "UserPath", "Foto", "Scheda", "Righe"}));
        set(s, "RSTRINGFORMAT_Nome", " Mario  Rossi ");
        s.editor("NINTEGERFORMAT_Eta")->findChild<QSpinBox *>("sbNum")->setValue(42);
        set(s, "NMONEYFORMAT_Saldo", "1 234,5");
        s.editor("NBOOLFORMAT_Attivo")->findChild<QCheckBox *>("cbData")->setChecked(true);
        s.click("pbSaveNewUser");
        QString saved = "RINTEGERFORMAT_Id=1;RSTRINGFORMAT_Nome=Mario Rossi;NDATEFORMAT_Nascita=;NINTEGERFORMAT_Eta=42;"
                        "NMONEYFORMAT_Saldo=1234.500000;NBOOLFORMAT_Attivo=TRUE;"
                        "NLONGSTRINGFORMAT_UserPath=TABLES_DOC/Clienti_Mario_Rossi;NIMAGEFORMAT_Foto=;"
                        "NPDFFORMAT_Scheda=;NSUBTABLEFORMAT_Righe=;NLINKFORMAT_Altra=Altra";
        QCOMPARE(s.rows("Clienti"), QStringList(saved));

        // Editing shows the attachments with the record's folder; the subtable
        // editor is never filled, so saving empties that column.
        s.db().updateField("Clienti", 1, "NSUBTABLEFORMAT_Righe", "x");
        s.click("pbEditUser");
        QCOMPARE(hiddenEditors(s), QStringList({"Id", "UserPath", "Righe"}));
        QCOMPARE(s.editor("NIMAGEFORMAT_Foto")->userPath(), QString("TABLES_DOC/Clienti_Mario_Rossi"));
        QCOMPARE(s.editor("NPDFFORMAT_Scheda")->dbFolder(), s.folder.path() + "/");
        set(s, "RSTRINGFORMAT_Nome", "Luigi");
        s.click("pbSaveNewUser");
        QCOMPARE(s.rows("Clienti"), QStringList(saved.replace("Nome=Mario Rossi;", "Nome=Luigi;")));

        // In technical mode the Id can be changed, after a question; the other
        // edited values are written either way.
        s.w->techMode = true;
        edit(s, 1);
        setId(s, 9);
        QCOMPARE(hiddenEditors(s), QStringList("Righe"));
        set(s, "RSTRINGFORMAT_Nome", "Anna");
        s.w->newRecord();
        QCOMPARE(s.messages.questions.size(), 1);
        QCOMPARE(s.rows("Clienti"), QStringList(saved.replace("Id=1;", "Id=9;").replace("Luigi;", "Anna;")));
        edit(s, 9);
        setId(s, 4);
        set(s, "RSTRINGFORMAT_Nome", "Anna'");
        s.messages.answers << false;
        s.w->newRecord();
        QCOMPARE(s.rows("Clienti"), QStringList(saved.replace("Anna;", "Anna';")));
        // Outside technical mode a changed id is ignored without a question.
        s.w->techMode = false;
        edit(s, 9);
        setId(s, 3);
        s.w->newRecord();
        QCOMPARE(s.messages.said.size(), 2); // the two questions, nothing else
        QCOMPARE(s.rows("Clienti"), QStringList(saved));
    }

    void checkBoxPassesDuplicateRefused()
    {
        Window s([](DbConnection &db) {
            QVERIFY(makeTable(db, "HIDDENTABLE_Soci", {"RSTRINGFORMAT_Nome", "RDATEFORMAT_Nascita", "RBOOLFORMAT_Iscritto"}));
        });
        s.w->changeTable("HIDDENTABLE_Soci");
        s.w->changeToNewUserPage();
        set(s, "RSTRINGFORMAT_Nome", "Mario Rossi");
        s.editor("RDATEFORMAT_Nascita")->findChild<DateEdit *>("deData")->setDate(QDate(1980, 2, 1));
        s.w->newRecord(); // the unchecked required check box passes: it reads FALSE
        const QStringList saved = s.rows("HIDDENTABLE_Soci");
        QCOMPARE(saved, QStringList("RINTEGERFORMAT_Id=1;RSTRINGFORMAT_Nome=Mario Rossi;RDATEFORMAT_Nascita=01/02/1980;"
                                    "RBOOLFORMAT_Iscritto=FALSE"));

        // The identifier (first field) is compared ignoring case and extra blanks.
        s.w->changeToNewUserPage();
        set(s, "RSTRINGFORMAT_Nome", " mario   ROSSI");
        s.editor("RDATEFORMAT_Nascita")->findChild<DateEdit *>("deData")->setDate(QDate(1980, 2, 1));
        s.w->newRecord();
        QCOMPARE(s.messages.warnings,
                 QStringList("ERRORE: L'identificativo 'mario ROSSI' esiste già nella tabella #Soci.\n"));
        QCOMPARE(s.rows("HIDDENTABLE_Soci"), saved);
    }

    void userPathAndLookupIdentifiers()
    {
        Window s([](DbConnection &db) {
            QVERIFY(makeTable(db, "Clienti", {"RSTRINGFORMAT_Nome", "NLONGSTRINGFORMAT_UserPath"}));
            QCOMPARE(add(db, "Clienti", {{"RSTRINGFORMAT_Nome", "Mario Rossi"}, {"NLONGSTRINGFORMAT_UserPath", ""}}), 1);
            QCOMPARE(add(db, "Clienti", {{"RSTRINGFORMAT_Nome", "Dr. O''Neil?"}, {"NLONGSTRINGFORMAT_UserPath", ""}}), 2);
            QVERIFY(makeTable(db, "Ordini", {"XClienti_XDTX_RSTRINGFORMAT_Nome", "XClienti_XDTX_RSTRINGFORMAT_Nome",
                                             "NLONGSTRINGFORMAT_UserPath"}));
        });
        // A plain identifier is cleaned into the folder name.
        QCOMPARE(s.db().getRecordById("Clienti", 2).value("NLONGSTRINGFORMAT_UserPath").toString(),
                 QString("TABLES_DOC/Clienti_Dr_ONeil"));

        // A lookup lists the other table's records; the repeated one is suffixed.
        s.w->changeTable("Ordini");
        s.w->changeToNewUserPage();
        inputDataForm *first = s.editor("XClienti_XDTX_RSTRINGFORMAT_Nome");
        QCOMPARE(first->comboItems(), QStringList({"---", "1 Mario Rossi", "2 Dr. O'Neil?"}));
        QCOMPARE(s.editor("XClienti_XDTX_RSTRINGFORMAT_Nome_XMLTYX_2")->comboItems(), first->comboItems());
        first->setComboIndex(1);
        s.w->newRecord();
        // A lookup names the folder after the referenced value, blanks kept; no choice stores nothing.
        QCOMPARE(s.rows("Ordini"), QStringList("RINTEGERFORMAT_Id=1;XClienti_XDTX_RSTRINGFORMAT_Nome=1;"
                                               "XClienti_XDTX_RSTRINGFORMAT_Nome_XMLTYX_2=;"
                                               "NLONGSTRINGFORMAT_UserPath=TABLES_DOC/Ordini_Mario Rossi"));
        edit(s, 1);
        QCOMPARE(s.editor("XClienti_XDTX_RSTRINGFORMAT_Nome")->comboText(), QString("1 Mario Rossi"));
    }

    void deleteAndClear()
    {
        Window s([](DbConnection &db) {
            QVERIFY(makeTable(db, "Clienti", {"RSTRINGFORMAT_Nome"}, {"Mario", "Anna"}));
            QVERIFY(makeTable(db, "Fornitori", {"RSTRINGFORMAT_Nome"}, {"Acme"}));
        });
        s.messages.fileAnswers << QString();
        s.w->changeTableIcon(); // a settings row
        s.w->currentId = 1;
        s.messages.answers << false << true;
        s.w->deleteUser(); // No: nothing goes
        s.w->deleteUser();
        QCOMPARE(s.rows("Clienti"), QStringList("RINTEGERFORMAT_Id=2;RSTRINGFORMAT_Nome=Anna"));
        // The first listed record becomes current and is shown.
        QCOMPARE(s.w->currentId, 2);
        QCOMPARE(s.label("lbViewInfo"), QString("Anna"));
        s.child<QAction>("actionClear_Selected_List")->trigger();
        QVERIFY(s.db().countRecords("Clienti") == 0 && s.db().countRecords("Fornitori") == 1);
        s.child<QAction>("actionClear_All_Tables")->trigger();
        QCOMPARE(s.db().countRecords("Fornitori"), 0);
        QCOMPARE(s.db().countRecords("settings"), 1); // the program's own tables keep their rows
        QCOMPARE(s.messages.questions, QStringList({"Eliminare questo elemento?", "Eliminare questo elemento?",
                                                    "Eliminare tutti gli elementi di Clienti?",
                                                    "Eliminare tutti gli elementi in tutto il database?"}));
    }

    void recordInTheView()
    {
        Window s([](DbConnection &db) {
            QVERIFY(makeTable(db, "Persone",
                              {"NSTRINGFORMAT_Data_di_nascita_XMLTYX_2", "NLONGSTRINGFORMAT_UserPath", "NIMAGEFORMAT_Foto",
                               "NSUBTABLEFORMAT_Righe__mese", "NLINKFORMAT_Clienti", "XCitta_XDTX_RSTRINGFORMAT_Nome"},
                              {"Anna|TABLES_DOC/Persone_Anna|TABLES_DOC/Persone_Anna/foto.png|cfg 1|x|2"}));
            QVERIFY(makeTable(db, "Citta", {"RSTRINGFORMAT_Nome"}, {"", "Roma"}));
            QDir().mkpath("TABLES_DOC/Persone_Anna");
            QImage(50, 80, QImage::Format_RGB32).save("TABLES_DOC/Persone_Anna/foto.png");
        });
        // Titles without the repeat marker and with blanks for "_"; Id and UserPath are shown in
        // advanced mode only; every display knows the shown record.
        auto visibleTitles = [&s] {
            QStringList titles;
            for (outputDataForm *widget : s.w->recordViewWidgets()) {
                if (!widget->isHidden())
                    titles << widget->title() + (widget->searchRecordId() == 1 ? "" : " (wrong record)");
            }
            return titles;
        };
        QCOMPARE(visibleTitles(), QStringList({"Data di nascita2", "Foto", "Righe  mese", "Clienti", "Citta Nome"}));
        // Showing an id that is gone: the link write-back says so.
        s.w->vwRecord(99);
        QCOMPARE(s.messages.warnings, QStringList({"L'Id 99 non è valido!"}));
        s.w->techMode = true;
        s.w->vwRecord(1);
        QCOMPARE(visibleTitles().size(), 7);
        const QList<outputDataForm *> view = s.w->recordViewWidgets();
        // The image under the database folder; the subtable of this table, its blanks made single
        // and then "_"; the link written back.
        QVERIFY(!view.at(3)->findChild<QLabel *>("lbImage")->pixmap()->isNull());
        QCOMPARE(view.at(4)->subTableName(), QString("HIDDENTABLE_Persone_XSBTX_SUBTABLEFORMAT_Righe_mese_XSBTUSRX_cfg_1"));
        QCOMPARE(s.db().getRecordById("Persone", 1).value("NLINKFORMAT_Clienti").toString(), QString("Clienti"));
        QCOMPARE(view.at(5)->searchTable(), QString("Clienti"));
        // The lookup shows the referenced value and leads to its record.
        QCOMPARE(view.at(6)->findChild<QLineEdit *>("leData")->text(), QString("Roma"));
        view.at(6)->findChild<QPushButton *>("pbXView")->click();
        QCOMPARE(s.w->currentTable + " " + QString::number(s.w->currentId), QString("Citta 2"));
        QCOMPARE(s.messages.warnings.size(), 1);
    }
};

QTEST_MAIN(RecordPageTest)
#include "tst_recordpage.moc"
